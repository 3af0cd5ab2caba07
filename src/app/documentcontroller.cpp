// SPDX-License-Identifier: GPL-3.0-or-later
#include "documentcontroller.h"

#include "app/errorpresenter.h"

#include "widgets/fileandfolderdialog.h"

#include "documents/mappingsdoc.h"
#include "documents/packagestore.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace qb {

namespace {

const QString recentKey = QStringLiteral("recentDocuments");

QString canonicalPackage(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

} // namespace

DocumentController::DocumentController(WindowServices services, ApplicationActions& actions,
                                       QSettings& store, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_actions(actions)
    , m_store(store)
{
}

DocumentWindow* DocumentController::show(std::unique_ptr<MappingsDoc> document, int untitledNumber)
{
    auto* window = new DocumentWindow(std::move(document), m_services, m_actions, untitledNumber);
    m_windows << window;
    connect(window, &QObject::destroyed, this,
            [this] { m_windows.removeIf([](const auto& w) { return w.isNull(); }); });
    window->show();
    return window;
}

DocumentWindow* DocumentController::newDocument()
{
    return show(std::make_unique<MappingsDoc>(), ++m_untitledCount);
}

DocumentWindow* DocumentController::windowFor(const QString& packagePath) const
{
    for (const auto& window : m_windows)
        if (window && !window->packagePath().isEmpty() &&
            canonicalPackage(window->packagePath()) == packagePath)
            return window;
    return nullptr;
}

DocumentWindow* DocumentController::openDocument(const QString& path)
{
    const auto package = packagePathForOpening(path);
    if (package) {
        if (DocumentWindow* open = windowFor(canonicalPackage(*package))) {
            open->showNormal();
            open->raise();
            open->activateWindow();
            return open;
        }
    }
    auto document = MappingsDoc::open(path);
    if (!document) {
        presentError(nullptr, document.error());
        return nullptr;
    }
    noteRecentDocument((*document)->fileName());
    return show(std::move(*document), 0);
}

void DocumentController::openDialog(QWidget* parent)
{
    auto* dialog = new FileAndFolderDialog(parent);
    dialog->setWindowTitle(QStringLiteral("Open"));
    dialog->setNameFilters({QStringLiteral("Quillbrook documents (*.qbmap mapping.json)"),
                            QStringLiteral("All files (*)")});
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        for (const QUrl& url : dialog->chosenUrls())
            openDocument(url.toLocalFile());
    });
    dialog->open();
}

QStringList DocumentController::recentDocuments() const
{
    QStringList recent;
    for (const QString& path : m_store.value(recentKey).toStringList())
        if (QFileInfo::exists(path))
            recent << path;
    return recent;
}

void DocumentController::noteRecentDocument(const QString& path)
{
    if (path.isEmpty())
        return;
    QStringList recent = m_store.value(recentKey).toStringList();
    recent.removeAll(path);
    recent.prepend(path);
    while (recent.size() > recentLimit)
        recent.removeLast();
    m_store.setValue(recentKey, recent);
}

void DocumentController::clearRecentDocuments()
{
    m_store.remove(recentKey);
}

QList<QMainWindow*> DocumentController::windows() const
{
    QList<QMainWindow*> windows;
    for (const auto& window : m_windows)
        if (window)
            windows << window;
    return windows;
}

bool DocumentController::closeAll()
{
    for (QMainWindow* window : windows())
        if (!window->close())
            return false;
    return true;
}

} // namespace qb
