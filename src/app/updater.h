// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

namespace qb {

// Whatever checks for new versions. Only the feed it reads is decided
// here; fetching and installing updates is not built.
class Updater {
public:
    virtual ~Updater() = default;
    virtual void setFeedURL(const QUrl& url) = 0;
};

// Keeps the feed it is given, for whoever asks later.
class RecordingUpdater final : public Updater {
public:
    void setFeedURL(const QUrl& url) override { m_feedURL = url; }
    QUrl feedURL() const { return m_feedURL; }

private:
    QUrl m_feedURL;
};

// base + "applications/" + bundleID + "/betas/appcast.xml", or
// "/releases/appcast.xml" without betas. Empty without a bundle identifier.
QUrl updateFeedURL(const QUrl& base, const QString& bundleID, bool includeBetaReleases);

} // namespace qb
