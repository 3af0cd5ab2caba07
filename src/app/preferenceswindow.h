// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

class QListWidget;
class QStackedWidget;

namespace qb {

struct AppInfo;
class GeneralPreferenceViewController;
class Preferences;
class Updater;
class UpdatesViewController;

// The preferences window: a list of the General and Updates pages beside
// the page chosen. Changes apply at once, so it has only a Close button.
// Its owner makes it on first use and keeps it, so that it opens again
// on the page last shown.
class PreferencesWindow final : public QDialog {
    Q_OBJECT

public:
    // `updater` may be null. The feed base defaults to the deployed one.
    PreferencesWindow(Preferences& preferences, Updater* updater, const AppInfo& info,
                      QWidget* parent = nullptr);
    PreferencesWindow(Preferences& preferences, Updater* updater, const AppInfo& info,
                      const QUrl& feedBase, QWidget* parent = nullptr);

    // Shows the window, or brings it to the front when it is open already.
    void showPreferences();

    // Selects a page: 0 General, 1 Updates.
    void showPage(int index);
    int currentPage() const;

    GeneralPreferenceViewController* generalPage() const { return m_general; }
    UpdatesViewController* updatesPage() const { return m_updates; }

private:
    QListWidget* m_pageList = nullptr;
    QStackedWidget* m_pages = nullptr;
    GeneralPreferenceViewController* m_general = nullptr;
    UpdatesViewController* m_updates = nullptr;
};

} // namespace qb
