// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/documentwindow.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

class QSettings;

namespace qb {

// The application's documents: one window per package, new and opened
// documents, and the recent documents kept in the preferences file.
class DocumentController final : public QObject {
    Q_OBJECT

public:
    static constexpr int recentLimit = 10;

    DocumentController(WindowServices services, ApplicationActions& actions, QSettings& store,
                       QObject* parent = nullptr);

    DocumentWindow* newDocument();
    // The window of the package at `path` (the folder or the mapping.json
    // in it): raised when it is open already, opened otherwise. Null when it
    // can't be opened; the error has been shown then.
    DocumentWindow* openDocument(const QString& path);
    // Asks for a package folder or a mapping.json in one dialog.
    void openDialog(QWidget* parent);

    QStringList recentDocuments() const;
    void noteRecentDocument(const QString& path);
    void clearRecentDocuments();

    QList<QMainWindow*> windows() const;
    // Closes every window, asking about each changed document; false when
    // the user kept one open.
    bool closeAll();

private:
    DocumentWindow* show(std::unique_ptr<MappingsDoc> document, int untitledNumber);
    DocumentWindow* windowFor(const QString& packagePath) const;

    WindowServices m_services;
    ApplicationActions& m_actions;
    QSettings& m_store;
    QList<QPointer<DocumentWindow>> m_windows;
    int m_untitledCount = 0;
};

} // namespace qb
