// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/viewcontroller.h"

#include <QMainWindow>
#include <QMessageBox>

#include <functional>
#include <memory>

class QMenu;

namespace qb {

class MappingsDoc;

// What a window's menus reach beyond the window itself.
class ApplicationActions {
public:
    virtual ~ApplicationActions() = default;
    virtual void newDocument() = 0;
    virtual void openDocument() = 0;
    virtual void openDocumentAt(const QString& path) = 0;
    virtual QStringList recentDocuments() const = 0;
    virtual void clearRecentDocuments() = 0;
    virtual void noteRecentDocument(const QString& path) = 0;
    virtual QList<QMainWindow*> documentWindows() const = 0;
    virtual void quit() = 0;
    virtual void showPreferences() = 0;
    virtual void showWebsite() = 0;
    virtual void showStudioWebsite() = 0;
    virtual void showOnlineHelp() = 0;
    virtual void sendFeedback() = 0;
};

// One window per mappings document: its menus, its title with the modified
// marker, and the question before unsaved changes are closed away.
class DocumentWindow final : public QMainWindow {
    Q_OBJECT

public:
    // How a question about unsaved changes is answered: Save, Discard or Cancel.
    using SaveQuestion = std::function<QMessageBox::StandardButton(DocumentWindow&)>;

    DocumentWindow(std::unique_ptr<MappingsDoc> document, WindowServices services,
                   ApplicationActions& actions, int untitledNumber = 0);
    ~DocumentWindow() override;

    MappingsDoc& document() const { return *m_document; }
    ViewController& viewController() const { return *m_controller; }
    // The package's folder, empty while the document has never been saved.
    QString packagePath() const;
    QString displayName() const;

    // Saves where the document was opened, or asks where for a new one.
    // False when nothing was saved (failed or cancelled).
    bool save();
    bool saveAs();
    bool saveTo(const QString& path);
    void revertToSaved();
    // Asks about unsaved changes; true when the window may close.
    bool maybeSave();
    void setSaveQuestion(SaveQuestion question) { m_saveQuestion = std::move(question); }

    QAction* action(const QString& name) const;

signals:
    void packagePathChanged(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QMenu* buildFileMenu();
    QMenu* buildEditMenu();
    QMenu* buildDataSourceMenu();
    QMenu* buildWindowMenu();
    QMenu* buildHelpMenu();
    void fillRecentMenu(QMenu& menu);
    void installDocument(std::unique_ptr<MappingsDoc> document);
    void updateTitle();
    QAction* addMenuItem(QMenu& menu, const QString& name, const QString& text,
                         const QKeySequence& shortcut, std::function<void()> handler);

    std::unique_ptr<MappingsDoc> m_document;
    WindowServices m_services;
    ApplicationActions& m_actions;
    int m_untitledNumber;
    ViewController* m_controller = nullptr;
    QList<QMenu*> m_menus;
    QMenu* m_editMenu = nullptr;
    QAction* m_undoAction = nullptr;
    QAction* m_redoAction = nullptr;
    SaveQuestion m_saveQuestion;
};

} // namespace qb
