// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariantMap>

#include <memory>

namespace qb {

// The one error value that reaches callers and the user. Each library keeps
// its own typed error enums and converts them to this for presentation.
struct Error {
    QString domain;
    int code = 0;
    QString errorDescription;
    QString failureReason;
    QString recoverySuggestion;
    QString helpAnchor;
    QVariantMap userInfo;
    std::shared_ptr<const Error> underlying;

    // One line for a terminal or a log: the description, then the reason and
    // the suggestion where they add something.
    QString message() const;
};

} // namespace qb
