// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/dynamicvalue.h"

#include <QUrl>

#include <optional>

namespace qb {

// One image's metadata in memory: tag name ("GROUP:Name", or the groupless
// "SourceFile") to value. Shared by reference between the queue and the
// writers, so a change one holder makes is seen by all.
class ExifImage {
public:
    using Metadata = DynamicValue::Dictionary;

    static inline const QString sourceFileKey = QStringLiteral("SourceFile");

    explicit ExifImage(Metadata metadata)
        : metadata(std::move(metadata))
    {
    }
    // SourceFile holds the URL itself, not its path.
    explicit ExifImage(const QUrl& url)
        : metadata{{sourceFileKey, DynamicValue(url)}}
    {
    }

    // The location read from SourceFile: a URL as it is, a text as a file path.
    std::optional<QUrl> url() const;

    // Adds every entry of `other`; where both have a key, `overwrite` decides
    // whose value stays.
    void merge(const Metadata& other, bool overwrite);

    Metadata metadata;
};

} // namespace qb
