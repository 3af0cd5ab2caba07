// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/documentcontroller.h"

#include <QObject>

#include <memory>

namespace qb {

class NotificationCenter;
class Preferences;

// The application object's side of the desktop: the defaults registered at
// launch, the documents, and what the menus open beyond a document.
class AppDelegate final : public QObject, public ApplicationActions {
    Q_OBJECT

public:
    AppDelegate(Preferences& preferences, NotificationCenter& center, QObject* parent = nullptr);
    ~AppDelegate() override;

    // Registers the preference defaults.
    void applicationDidFinishLaunching();
    // Opens each package named on the command line, or a new document.
    void openStartupDocuments(const QStringList& paths);

    DocumentController& documents() { return *m_documents; }

    void newDocument() override;
    void openDocument() override;
    void openDocumentAt(const QString& path) override;
    QStringList recentDocuments() const override;
    void clearRecentDocuments() override;
    void noteRecentDocument(const QString& path) override;
    QList<QMainWindow*> documentWindows() const override;
    void quit() override;
    void showPreferences() override;
    void showWebsite() override;
    void showStudioWebsite() override;
    void showOnlineHelp() override;
    void sendFeedback() override;

private:
    Preferences& m_preferences;
    std::unique_ptr<DocumentController> m_documents;
};

} // namespace qb
