// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

// The addresses a build is deployed with. Each is a CMake cache variable
// (see src/app/CMakeLists.txt), so a studio or a distribution can point
// the application at its own servers without changing code.
namespace qb::deployment {

// The reverse-domain identifier of the application: it names the update
// feed and builds the feedback form's fallback sender.
QString applicationID();

// The update server; the feed's path is appended to it.
QUrl updateFeedBase();

// The product's web site, its online help page ("/help/" on that site),
// and the maker's web site: the Help menu's three pages.
QUrl productWebsite();
QUrl onlineHelp();
QUrl studioWebsite();

// The built-in feedback endpoint: the feedback host with the path
// "/email/app-feedback".
QUrl feedbackEndpoint();

} // namespace qb::deployment
