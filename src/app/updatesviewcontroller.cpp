// SPDX-License-Identifier: GPL-3.0-or-later
#include "updatesviewcontroller.h"

#include "updater.h"

#include "extensions/log.h"
#include "preferences/preferences.h"
#include "widgets/controlbindings.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QShowEvent>
#include <QVBoxLayout>

namespace qb {

UpdatesViewController::UpdatesViewController(Preferences& preferences, Updater* updater,
                                             QString bundleID, QUrl feedBase, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_updater(updater)
    , m_bundleID(std::move(bundleID))
    , m_feedBase(std::move(feedBase))
{
    setObjectName(preferencePaneIdentifier());
    setAccessibleName(preferencePaneTitle());
    auto* group = new QGroupBox(QStringLiteral("New versions"), this);
    group->setAccessibleName(group->title());
    auto* groupLayout = new QVBoxLayout(group);

    const QString text = QStringLiteral("Include beta releases");
    auto* box = new QCheckBox(text, group);
    box->setObjectName(QStringLiteral("includeBetaReleases"));
    box->setAccessibleName(text);
    new CheckboxBinding(box, &m_preferences, "includeBetaReleases");
    connect(&m_preferences, &Preferences::includeBetaReleasesChanged, box, &QCheckBox::setChecked);
    groupLayout->addWidget(box);

    auto* note = new QLabel(
        QStringLiteral("Beta releases bring new features sooner, but may still have rough edges."),
        group);
    note->setObjectName(QStringLiteral("includeBetaReleasesNote"));
    note->setWordWrap(true);
    groupLayout->addWidget(note);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(group);
    layout->addStretch();
}

void UpdatesViewController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_includeBetareleasesObserver)
        return;
    m_includeBetareleasesObserver =
        connect(&m_preferences, &Preferences::includeBetaReleasesChanged, this,
                &UpdatesViewController::setFeed);
    setFeed(m_preferences.includeBetaReleases());
}

void UpdatesViewController::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    // A minimised window hides its pages spontaneously; they are still open.
    if (!event->spontaneous()) {
        disconnect(m_includeBetareleasesObserver);
        m_includeBetareleasesObserver = {};
    }
}

void UpdatesViewController::setFeed(bool includeBetaReleases)
{
    const QUrl feed = updateFeedURL(m_feedBase, m_bundleID, includeBetaReleases);
    if (!feed.isValid()) // no identifier, or a base that was deployed broken
        return;
    qbLog(QStringLiteral("Setting Sparkle feed to ") + feed.toString());
    if (m_updater)
        m_updater->setFeedURL(feed);
}

} // namespace qb
