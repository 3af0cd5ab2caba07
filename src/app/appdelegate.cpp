// SPDX-License-Identifier: GPL-3.0-or-later
#include "appdelegate.h"

#include "app/appinfo.h"
#include "app/contactform.h"
#include "app/deploymentsettings.h"
#include "app/feedbackrequest.h"
#include "app/interruptionlistener.h"
#include "app/preferenceswindow.h"

#include "exif/stayopenexiftool.h"
#include "extensions/interruption.h"
#include "extensions/log.h"
#include "preferences/preferences.h"
#include "writing/metadataqueue.h"

#include <QApplication>
#include <QDesktopServices>

namespace qb {

AppDelegate::AppDelegate(Preferences& preferences, NotificationCenter& center, UrlOpener openUrl,
                         QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_openUrl(openUrl ? std::move(openUrl)
                        : [](const QUrl& url) { QDesktopServices::openUrl(url); })
    , m_quitApplication([] { QApplication::quit(); })
{
    WindowServices services;
    services.preferences = &preferences;
    services.center = &center;
    services.openUrl = m_openUrl;
    m_documents =
        std::make_unique<DocumentController>(services, *this, preferences.settings(), this);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    m_preferences.registerDefaults();
    // One exiftool kept running serves the window's small writes, so that an
    // assignment doesn't wait for exiftool's start-up; it ends with the queues.
    const auto exiftool = std::make_shared<StayOpenExiftool>();
    for (const auto method : {MetadataQueue::WriteMethod::direct, MetadataQueue::WriteMethod::xmp})
        MetadataQueue::shared(method).setLongLivedExiftool(exiftool);
}

void AppDelegate::openStartupDocuments(const QStringList& paths)
{
    for (const QString& path : paths)
        m_documents->openDocument(path);
    if (m_documents->windows().isEmpty())
        m_documents->newDocument();
}

void AppDelegate::listenForInterruptions()
{
    if (m_interruptions)
        return;
    m_interruptions = new InterruptionListener(this);
    connect(m_interruptions, &InterruptionListener::interrupted, this, &AppDelegate::terminate);
}

// The write in hand has seen the flag and is stopping its exiftool; the
// queues wait for it as the application object goes.
void AppDelegate::terminate(int signal)
{
    qbLog(QStringLiteral("Quitting on signal %1").arg(signal));
    if (m_documents->closeAll()) {
        m_quitApplication();
        return;
    }
    // The user kept a document open: carry on, and hear the next signal.
    clearInterruption();
    if (m_interruptions)
        m_interruptions->rearm();
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
        m_quitApplication();
}

void AppDelegate::showPreferences()
{
    if (!m_preferencesWindow)
        m_preferencesWindow = std::make_unique<PreferencesWindow>(m_preferences, &m_updater,
                                                                  AppInfo::fromApplication());
    m_preferencesWindow->showPreferences();
}

void AppDelegate::showWebsite()
{
    m_openUrl(deployment::productWebsite());
}

void AppDelegate::showStudioWebsite()
{
    m_openUrl(deployment::studioWebsite());
}

void AppDelegate::showOnlineHelp()
{
    m_openUrl(deployment::onlineHelp());
}

void AppDelegate::sendFeedback()
{
    if (!m_contactForm)
        m_contactForm = std::make_unique<ContactForm>(
            AppInfo::fromApplication(), feedbackEndpoint(m_preferences.value(feedbackEndpointKey)));
    m_contactForm->sendFeedback();
}

} // namespace qb
