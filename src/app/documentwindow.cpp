// SPDX-License-Identifier: GPL-3.0-or-later
#include "documentwindow.h"

#include "app/errorpresenter.h"

#include "documents/mappingsdoc.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QUndoStack>

namespace qb {

namespace {

QMessageBox::StandardButton askToSave(DocumentWindow& window)
{
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Quillbrook"),
                    QStringLiteral("Do you want to save the changes made to the document "
                                   "\u201c%1\u201d?")
                        .arg(window.displayName()),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, &window);
    box.setObjectName(QStringLiteral("saveChangesAlert"));
    box.setInformativeText(
        QStringLiteral("Your changes will be lost if you don\u2019t save them."));
    box.button(QMessageBox::Discard)->setText(QStringLiteral("Don\u2019t Save"));
    box.setDefaultButton(QMessageBox::Save);
    return QMessageBox::StandardButton(box.exec());
}

} // namespace

DocumentWindow::DocumentWindow(std::unique_ptr<MappingsDoc> document, WindowServices services,
                               ApplicationActions& actions, int untitledNumber)
    : m_services(std::move(services))
    , m_actions(actions)
    , m_untitledNumber(untitledNumber)
    , m_saveQuestion(askToSave)
{
    setObjectName(QStringLiteral("documentWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    resize(980, 640);
    installDocument(std::move(document));
    buildMenus();
}

DocumentWindow::~DocumentWindow()
{
    // The controller refers to the document; it goes first.
    delete m_controller;
}

void DocumentWindow::installDocument(std::unique_ptr<MappingsDoc> document)
{
    if (m_controller) {
        // Revert: the window stays, its content is made anew.
        delete m_controller;
        m_controller = nullptr;
    }
    m_document = std::move(document);
    m_controller = new ViewController(*m_document, m_services, this);
    setCentralWidget(m_controller);
    connect(m_document.get(), &MappingsDoc::documentEditedChanged, this,
            &DocumentWindow::setWindowModified);
    connect(m_document.get(), &MappingsDoc::fileNameChanged, this, [this](const QString& path) {
        updateTitle();
        emit packagePathChanged(path);
    });
    setWindowModified(m_document->isDocumentEdited());
    updateTitle();
}

QString DocumentWindow::packagePath() const
{
    return m_document->fileName();
}

QString DocumentWindow::displayName() const
{
    if (!m_document->fileName().isEmpty())
        return QFileInfo(m_document->fileName()).completeBaseName();
    return m_untitledNumber > 1 ? QStringLiteral("Untitled %1").arg(m_untitledNumber)
                                : QStringLiteral("Untitled");
}

void DocumentWindow::updateTitle()
{
    setWindowFilePath(m_document->fileName());
    setWindowTitle(displayName() + QStringLiteral("[*] \u2014 Quillbrook"));
}

QAction* DocumentWindow::addMenuItem(QMenu& menu, const QString& name, const QString& text,
                                     const QKeySequence& shortcut, std::function<void()> handler)
{
    QAction* item = menu.addAction(text);
    item->setObjectName(name);
    item->setShortcut(shortcut);
    connect(item, &QAction::triggered, this, [handler = std::move(handler)] { handler(); });
    return item;
}

QAction* DocumentWindow::action(const QString& name) const
{
    for (QMenu* menu : m_menus)
        if (auto* found = menu->findChild<QAction*>(name))
            return found;
    return nullptr;
}

// Built again on revert: the edit menu works on the document's undo stack.
void DocumentWindow::buildMenus()
{
    QMenuBar* bar = menuBar();
    bar->clear();
    for (QMenu* old : m_menus)
        old->deleteLater();
    m_menus.clear();
    bar->addMenu(buildFileMenu());
    bar->addMenu(buildEditMenu());
    bar->addMenu(buildDataSourceMenu());
    bar->addMenu(buildWindowMenu());
    bar->addMenu(buildHelpMenu());
    for (QAction* item : bar->actions())
        m_menus << item->menu();
}

QMenu* DocumentWindow::buildFileMenu()
{
    auto* menu = new QMenu(QStringLiteral("&File"), this);
    addMenuItem(*menu, "newAction", "&New", QKeySequence::New, [this] { m_actions.newDocument(); });
    addMenuItem(*menu, "openAction", "&Open\u2026", QKeySequence::Open,
                [this] { m_actions.openDocument(); });
    QMenu* recent = menu->addMenu(QStringLiteral("Open &Recent"));
    recent->setObjectName(QStringLiteral("openRecentMenu"));
    connect(recent, &QMenu::aboutToShow, this, [this, recent] { fillRecentMenu(*recent); });
    menu->addSeparator();
    addMenuItem(*menu, "closeAction", "&Close", QKeySequence::Close, [this] { close(); });
    addMenuItem(*menu, "saveAction", "&Save", QKeySequence::Save, [this] { save(); });
    addMenuItem(*menu, "saveAsAction", "Save &As\u2026", QKeySequence::SaveAs,
                [this] { saveAs(); });
    addMenuItem(*menu, "revertAction", "Re&vert to Saved", {}, [this] { revertToSaved(); });
    menu->addSeparator();
    addMenuItem(*menu, "selectImagesAction", "Select &Images\u2026",
                QKeySequence(Qt::CTRL | Qt::Key_I), [this] { m_controller->selectImagesAction(); });
    addMenuItem(*menu, "exportCaptureFoldersAction", "&Export Capture Folders\u2026", {},
                [this] { m_controller->exportCaptureFolders(); });
    addMenuItem(*menu, "restoreLastWriteAction", "Restore Values Before Last Write\u2026", {},
                [this] { m_controller->restoreLastWrite(); });
    menu->addSeparator();
    addMenuItem(*menu, "quitAction", "&Quit", QKeySequence::Quit, [this] { m_actions.quit(); });
    connect(menu, &QMenu::aboutToShow, this, [this] {
        action("restoreLastWriteAction")->setEnabled(m_controller->canRestoreLastWrite());
        action("revertAction")
            ->setEnabled(!packagePath().isEmpty() && m_document->isDocumentEdited());
    });
    return menu;
}

void DocumentWindow::fillRecentMenu(QMenu& menu)
{
    menu.clear();
    const QStringList recent = m_actions.recentDocuments();
    for (const QString& path : recent)
        addMenuItem(menu, {},
                    QFileInfo(path).completeBaseName() + QStringLiteral("  \u2014  ") + path, {},
                    [this, path] { m_actions.openDocumentAt(path); });
    if (recent.isEmpty())
        menu.addAction(QStringLiteral("No Recent Documents"))->setEnabled(false);
    menu.addSeparator();
    addMenuItem(menu, "clearRecentAction", "Clear Menu", {}, [this] {
        m_actions.clearRecentDocuments();
    })->setEnabled(!recent.isEmpty());
}

QMenu* DocumentWindow::buildEditMenu()
{
    m_editMenu = new QMenu(QStringLiteral("&Edit"), this);
    m_undoAction = m_document->undoStack().createUndoAction(m_editMenu, QStringLiteral("&Undo"));
    m_undoAction->setObjectName(QStringLiteral("undoAction"));
    m_undoAction->setShortcut(QKeySequence::Undo);
    m_redoAction = m_document->undoStack().createRedoAction(m_editMenu, QStringLiteral("&Redo"));
    m_redoAction->setObjectName(QStringLiteral("redoAction"));
    m_redoAction->setShortcut(QKeySequence::Redo);
    m_editMenu->addAction(m_undoAction);
    m_editMenu->addAction(m_redoAction);
    m_editMenu->addSeparator();
    QAction* lock = addMenuItem(*m_editMenu, "toggleIsEditableAction", "&Lock Rules", {},
                                [this] { m_document->toggleIsEditable(); });
    lock->setCheckable(true);
    // Checked means locked.
    const auto showLock = [this, lock] {
        lock->setChecked(!m_document->isEditable());
    };
    showLock();
    connect(m_document.get(), &MappingsDoc::isEditableChanged, lock, showLock);
    m_editMenu->addSeparator();
    addMenuItem(*m_editMenu, "preferencesAction", "Pre&ferences\u2026",
                QKeySequence(Qt::CTRL | Qt::Key_Comma), [this] { m_actions.showPreferences(); })
        ->setMenuRole(QAction::PreferencesRole);
    return m_editMenu;
}

QMenu* DocumentWindow::buildDataSourceMenu()
{
    auto* menu = new QMenu(QStringLiteral("&Data Source"), this);
    const std::pair<const char*, QString> sources[] = {{"CSV File", MappingsDoc::csvSource()},
                                                       {"Images", MappingsDoc::imageSource()}};
    for (const auto& [text, identifier] : sources) {
        QAction* item =
            addMenuItem(*menu, identifier + QStringLiteral("Action"), text, {},
                        [this, identifier] { m_controller->setDatasource(identifier); });
        item->setData(identifier);
        item->setCheckable(true);
    }
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        for (QAction* item : menu->actions())
            m_controller->validateUserInterfaceItem(item);
    });
    return menu;
}

QMenu* DocumentWindow::buildWindowMenu()
{
    auto* menu = new QMenu(QStringLiteral("&Window"), this);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        menu->clear();
        addMenuItem(*menu, "minimizeAction", "Mi&nimize", QKeySequence(Qt::CTRL | Qt::Key_M),
                    [this] { showMinimized(); });
        menu->addSeparator();
        for (QMainWindow* window : m_actions.documentWindows()) {
            QAction* item = menu->addAction(window->windowTitle().remove(QStringLiteral("[*]")));
            item->setCheckable(true);
            item->setChecked(window == this);
            connect(item, &QAction::triggered, window, [window] {
                window->showNormal();
                window->raise();
                window->activateWindow();
            });
        }
    });
    return menu;
}

QMenu* DocumentWindow::buildHelpMenu()
{
    auto* menu = new QMenu(QStringLiteral("&Help"), this);
    addMenuItem(*menu, "showOnlineHelpAction", "Quillbrook &Help", QKeySequence::HelpContents,
                [this] { m_actions.showOnlineHelp(); });
    addMenuItem(*menu, "showWbsiteAction", "Quillbrook &Website", {},
                [this] { m_actions.showWebsite(); });
    addMenuItem(*menu, "showStudioWebsiteAction", "The &Studio\u2019s Website", {},
                [this] { m_actions.showStudioWebsite(); });
    menu->addSeparator();
    addMenuItem(*menu, "sendFeedbackAction", "Send &Feedback\u2026", {},
                [this] { m_actions.sendFeedback(); });
    return menu;
}

bool DocumentWindow::save()
{
    if (packagePath().isEmpty())
        return saveAs();
    return saveTo(packagePath());
}

bool DocumentWindow::saveAs()
{
    QFileDialog dialog(this, QStringLiteral("Save As"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilter(QStringLiteral("Quillbrook documents (*.qbmap)"));
    dialog.setDefaultSuffix(QStringLiteral("qbmap"));
    dialog.selectFile(displayName() + QStringLiteral(".qbmap"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return false;
    return saveTo(dialog.selectedFiles().front());
}

bool DocumentWindow::saveTo(const QString& path)
{
    const bool sameName = path == packagePath();
    auto saved = sameName ? m_document->save() : m_document->saveAs(path);
    if (!saved) {
        presentError(this, saved.error());
        return false;
    }
    m_actions.noteRecentDocument(packagePath());
    return true;
}

void DocumentWindow::revertToSaved()
{
    if (packagePath().isEmpty())
        return;
    auto reopened = MappingsDoc::open(packagePath());
    if (!reopened) {
        presentError(this, reopened.error());
        return;
    }
    installDocument(std::move(*reopened));
    buildMenus();
    m_controller->show();
}

bool DocumentWindow::maybeSave()
{
    if (!m_document->isDocumentEdited())
        return true;
    switch (m_saveQuestion(*this)) {
    case QMessageBox::Save:
        return save();
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void DocumentWindow::closeEvent(QCloseEvent* event)
{
    if (maybeSave())
        event->accept();
    else
        event->ignore();
}

} // namespace qb
