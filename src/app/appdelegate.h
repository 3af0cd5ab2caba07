// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/documentcontroller.h"

#include "app/updater.h"

#include <QObject>

#include <functional>
#include <memory>

namespace qb {

class ContactForm;
class InterruptionListener;
class NotificationCenter;
class Preferences;
class PreferencesWindow;

// The application object's side of the desktop: the defaults registered at
// launch, the documents, and what the menus open beyond a document.
class AppDelegate final : public QObject, public ApplicationActions {
    Q_OBJECT

public:
    using UrlOpener = std::function<void(const QUrl&)>;

    // `openUrl` opens web pages and folders; by default in the desktop's
    // default application.
    AppDelegate(Preferences& preferences, NotificationCenter& center, UrlOpener openUrl = {},
                QObject* parent = nullptr);
    ~AppDelegate() override;

    // Registers the preference defaults.
    void applicationDidFinishLaunching();
    // Opens each package named on the command line, or a new document.
    void openStartupDocuments(const QStringList& paths);
    // From now on SIGINT and SIGTERM end the application as Quit does,
    // once the running exiftool has stopped cleanly: nothing is asked
    // unless a document has unsaved changes.
    void listenForInterruptions();
    void terminate(int signal);
    // What ends the event loop; tests put their own.
    void setQuitApplication(std::function<void()> quit) { m_quitApplication = std::move(quit); }

    DocumentController& documents() { return *m_documents; }
    // Made on first use and kept; null before.
    PreferencesWindow* preferencesWindow() const { return m_preferencesWindow.get(); }
    ContactForm* contactForm() const { return m_contactForm.get(); }
    const RecordingUpdater& updater() const { return m_updater; }

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
    UrlOpener m_openUrl;
    // No update is downloaded here: the updater only keeps the feed.
    RecordingUpdater m_updater;
    std::unique_ptr<DocumentController> m_documents;
    std::unique_ptr<PreferencesWindow> m_preferencesWindow;
    std::unique_ptr<ContactForm> m_contactForm;
    InterruptionListener* m_interruptions = nullptr;
    std::function<void()> m_quitApplication;
};

} // namespace qb
