// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftag.h"
#include "extensions/dynamicvalue.h"

#include <QStringList>
#include <QUrl>

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <type_traits>

namespace qb {

// One image's metadata in memory: tag name ("GROUP:Name", or the groupless
// "SourceFile") to value. Shared by reference between the queue and the
// writers, so a change one holder makes is seen by all.
class ExifImage {
public:
    using Metadata = DynamicValue::Dictionary;

    static inline const QString sourceFileKey = QStringLiteral("SourceFile");

    // What the mapping knew of the values, for messages and the preview;
    // never written.
    struct Notes {
        // Each tag's rule, by the column it reads.
        std::map<QString, QString> ruleOf;
        // The tags that empty cells leave as the file has them.
        QStringList leftAlone;
    };

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

    // The metadata in the form exiftool's JSON import reads: dates as text
    // in the wire pattern, URLs as plain file paths, everything else as it is.
    Metadata exiftoolRepresentation() const;
    // The representation as one object of exiftool's JSON, SourceFile first
    // as exiftool itself writes it. A text that begins with "base64:" goes
    // in exiftool's base64 form of itself, since the import would decode it.
    nlohmann::ordered_json exiftoolJson() const;

    // The stored value under the tag's name, of whatever kind; absent when
    // there is none.
    template <TagValue Value>
    DynamicValue value(const Exiftag<Value>& tag) const
    {
        const auto it = metadata.find(tag.name());
        return it == metadata.end() ? DynamicValue() : it->second;
    }

    // The stored value when it is of the tag's declared type. Nothing is
    // converted: an Int tag over the text "5" gives nothing.
    template <TagValue Value>
    std::optional<Value> typedValue(const Exiftag<Value>& tag) const
    {
        const auto it = metadata.find(tag.name());
        if (it == metadata.end())
            return std::nullopt;
        return TagValueTraits<Value>::fromDynamic(it->second);
    }

    // A present value replaces or adds the entry; nothing removes it.
    template <TagValue Value>
    void setTypedValue(const Exiftag<Value>& tag,
                       const std::type_identity_t<std::optional<Value>>& value)
    {
        if (value)
            metadata.insert_or_assign(tag.name(), TagValueTraits<Value>::toDynamic(*value));
        else
            metadata.erase(tag.name());
    }

    // The reads callers use for tags of these three types; each accepts the
    // text form that exiftool's JSON delivers as well.
    // A URL as it is, a text as a file path.
    std::optional<QUrl> url(const Exiftag<QUrl>& tag) const;
    // A date as it is, a text parsed with the wire pattern in the current
    // locale and time zone; a text that does not parse wholly gives nothing.
    std::optional<QDateTime> date(const Exiftag<QDateTime>& tag) const;
    // A list of texts as it is, a text split at each ", ". Anything else,
    // absence included, gives the empty list.
    QStringList strings(const Exiftag<QStringList>& tag) const;

    // The wire pattern of dates towards exiftool, kept letter for letter:
    // in Unicode patterns YYYY is the week year, DD the day of the year and
    // SS fractions of a second.
    static inline const QString datePattern = QStringLiteral("YYYY:MM:DD HH:mm:SS");

    Metadata metadata;
    Notes notes;
};

} // namespace qb
