// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferenceswindow.h"

#include "appinfo.h"
#include "deploymentsettings.h"
#include "generalpreferenceviewcontroller.h"
#include "updatesviewcontroller.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace qb {

PreferencesWindow::PreferencesWindow(Preferences& preferences, Updater* updater,
                                     const AppInfo& info, QWidget* parent)
    : PreferencesWindow(preferences, updater, info, deployment::updateFeedBase(), parent)
{
}

PreferencesWindow::PreferencesWindow(Preferences& preferences, Updater* updater,
                                     const AppInfo& info, const QUrl& feedBase, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("preferencesWindow"));
    setWindowTitle(QStringLiteral("Preferences"));
    setMinimumSize(520, 320);

    m_general = new GeneralPreferenceViewController(preferences, this);
    m_updates = new UpdatesViewController(preferences, updater, info.bundleID, feedBase, this);
    m_pages = new QStackedWidget(this);
    m_pageList = new QListWidget(this);
    m_pageList->setObjectName(QStringLiteral("preferencePages"));
    m_pageList->setAccessibleName(QStringLiteral("Preference pages"));
    const std::pair<QWidget*, QString> pages[] = {
        {m_general, GeneralPreferenceViewController::preferencePaneTitle()},
        {m_updates, UpdatesViewController::preferencePaneTitle()},
    };
    for (const auto& [page, title] : pages) {
        m_pages->addWidget(page);
        m_pageList->addItem(title);
    }
    m_pageList->setSpacing(3);
    m_pageList->setFixedWidth(m_pageList->sizeHintForColumn(0) + 48);
    connect(m_pageList, &QListWidget::currentRowChanged, m_pages, &QStackedWidget::setCurrentIndex);
    m_pageList->setCurrentRow(0);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* body = new QHBoxLayout;
    body->addWidget(m_pageList);
    body->addWidget(m_pages, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(body, 1);
    layout->addWidget(buttons);
}

void PreferencesWindow::showPreferences()
{
    show();
    raise();
    activateWindow();
}

void PreferencesWindow::showPage(int index)
{
    m_pageList->setCurrentRow(index);
}

int PreferencesWindow::currentPage() const
{
    return m_pages->currentIndex();
}

} // namespace qb
