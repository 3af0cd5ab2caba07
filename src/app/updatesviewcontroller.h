// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QString>
#include <QUrl>
#include <QWidget>

namespace qb {

class Preferences;
class Updater;

// The Updates page: whether beta releases are offered. While the page is
// shown, the update feed follows that choice; opening the page is what
// applies it.
class UpdatesViewController final : public QWidget {
    Q_OBJECT

public:
    // Without an updater the feed is logged but given to no one.
    UpdatesViewController(Preferences& preferences, Updater* updater, QString bundleID,
                          QUrl feedBase, QWidget* parent = nullptr);

    static QString preferencePaneTitle() { return QStringLiteral("Updates"); }
    static QString preferencePaneIdentifier() { return QStringLiteral("updates"); }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void setFeed(bool includeBetaReleases);

    Preferences& m_preferences;
    Updater* m_updater;
    QString m_bundleID;
    QUrl m_feedBase;
    QMetaObject::Connection m_includeBetareleasesObserver;
};

} // namespace qb
