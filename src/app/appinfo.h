// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace qb {

// Who the application is, as the feedback form and the update feed tell
// the makers. A value that is unknown is the empty string.
struct AppInfo {
    QString name;
    QString version;      // the build's version
    QString shortVersion; // the version shown to users
    QString bundleID;     // reverse-domain identifier, "org.quillbrook.Quillbrook"

    // The running application's name and version, and the deployed
    // identifier. Linux knows one version, so both version fields hold it.
    static AppInfo fromApplication();

    // name + " " + shortVersion + " (" + version + ")"
    QString versionString() const;

    // The sender of feedback that gives no address: the name in lower case
    // at "feedback." and the identifier's domain, all pieces but the last
    // in reverse: "quillbrook@feedback.quillbrook.org".
    QString fallbackSender() const;
};

} // namespace qb
