// SPDX-License-Identifier: GPL-3.0-or-later
#include "appdelegate.h"

#include "kit/preferences.h"

#include <QApplication>
#include <QDesktopServices>

namespace qb {

AppDelegate::AppDelegate(Preferences& preferences, NotificationCenter& center, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
{
    WindowServices services;
    services.preferences = &preferences;
    services.center = &center;
    services.openUrl = [](const QUrl& url) {
        QDesktopServices::openUrl(url);
    };
    m_documents =
        std::make_unique<DocumentController>(services, *this, preferences.settings(), this);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    m_preferences.registerDefaults();
}

void AppDelegate::openStartupDocuments(const QStringList& paths)
{
    for (const QString& path : paths)
        m_documents->openDocument(path);
    if (m_documents->windows().isEmpty())
        m_documents->newDocument();
}

void AppDelegate::newDocument()
{
    m_documents->newDocument();
}

void AppDelegate::openDocument()
{
    m_documents->openDialog(QApplication::activeWindow());
}

void AppDelegate::openDocumentAt(const QString& path)
{
    m_documents->openDocument(path);
}

QStringList AppDelegate::recentDocuments() const
{
    return m_documents->recentDocuments();
}

void AppDelegate::clearRecentDocuments()
{
    m_documents->clearRecentDocuments();
}

void AppDelegate::noteRecentDocument(const QString& path)
{
    m_documents->noteRecentDocument(path);
}

QList<QMainWindow*> AppDelegate::documentWindows() const
{
    return m_documents->windows();
}

void AppDelegate::quit()
{
    if (m_documents->closeAll())
        QApplication::quit();
}

void AppDelegate::showPreferences() {}

void AppDelegate::showWebsite() {}

void AppDelegate::showStudioWebsite() {}

void AppDelegate::showOnlineHelp() {}

void AppDelegate::sendFeedback() {}

} // namespace qb
