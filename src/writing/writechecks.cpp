// SPDX-License-Identifier: GPL-3.0-or-later
#include "writechecks.h"

#include "extensions/plainorder.h"

#include <QSet>

#include <algorithm>
#include <set>

namespace qb {

namespace {

const QString checkDomain = QStringLiteral("QuillbrookKit.WriteCheck");

bool holdsNul(const DynamicValue& value)
{
    if (value.isString())
        return value.toString().contains(QChar(0));
    if (value.isList())
        return std::ranges::any_of(value.toList(), holdsNul);
    if (value.isDictionary())
        return std::ranges::any_of(value.toDictionary(),
                                   [](const auto& entry) { return holdsNul(entry.second); });
    return false;
}

QString quotedList(const QStringList& items)
{
    QStringList quoted;
    for (const QString& item : items)
        quoted << QStringLiteral("\u201c%1\u201d").arg(item);
    return quoted.join(QStringLiteral(", "));
}

Error unwritableTags(const QStringList& tags)
{
    Error error;
    error.domain = checkDomain;
    error.code = 1;
    error.errorDescription = QStringLiteral("exiftool doesn\u2019t know %1 as %2 it can write.")
                                 .arg(quotedList(tags), tags.size() == 1 ? QStringLiteral("a tag")
                                                                         : QStringLiteral("tags"));
    error.failureReason = QStringLiteral("Nothing was written.");
    error.recoverySuggestion =
        QStringLiteral("Check the spelling and the group of the destination tag.");
    error.userInfo.insert(QStringLiteral("tags"), tags);
    return error;
}

Error nulInValue(const ExifImage& image, const QString& tag)
{
    Error error;
    error.domain = checkDomain;
    error.code = 2;
    const QString name = image.url().value_or(QUrl()).fileName(QUrl::FullyDecoded);
    error.errorDescription =
        QStringLiteral("The value of %1 for \u201c%2\u201d holds a NUL character.").arg(tag, name);
    error.failureReason = QStringLiteral("Nothing was written: no file format keeps one, and "
                                         "exiftool would cut the value short.");
    error.recoverySuggestion = QStringLiteral("Remove the character from the data.");
    return error;
}

bool sidecarCanHold(const QString& tag)
{
    if (!tag.contains(QLatin1Char(':')))
        return true; // exiftool chooses the group, an XMP one for a sidecar
    QString group = tag.section(QLatin1Char(':'), 0, 0).toLower();
    while (!group.isEmpty() && group.front().isDigit())
        group.remove(0, 1);
    return group == QLatin1String("xmp") || group.startsWith(QLatin1String("xmp-"));
}

} // namespace

std::expected<void, Error> checkBatch(const ExifImages& images, const WritableTags* writable)
{
    std::set<QString> unknown;
    for (const auto& image : images) {
        for (const auto& [tag, value] : image->metadata) {
            if (tag == ExifImage::sourceFileKey)
                continue;
            if (holdsNul(value))
                return std::unexpected(nulInValue(*image, tag));
            if (writable && !writable->canWrite(tag))
                unknown.insert(tag);
        }
    }
    if (!unknown.empty())
        return std::unexpected(unwritableTags(QStringList(unknown.begin(), unknown.end())));
    return {};
}

QStringList tagsSidecarsCantHold(const ExifImages& images)
{
    std::set<QString> tags;
    for (const auto& image : images) {
        for (const auto& entry : image->metadata) {
            if (entry.first != ExifImage::sourceFileKey && !sidecarCanHold(entry.first))
                tags.insert(entry.first);
        }
    }
    QStringList sorted(tags.begin(), tags.end());
    sortPlain(sorted);
    return sorted;
}

QString sidecarWarning(const QStringList& tags)
{
    return QStringLiteral("XMP sidecars can\u2019t hold %1: left out.")
        .arg(tags.join(QStringLiteral(", ")));
}

QStringList missingColumnWarnings(const std::vector<MetadataMapping>& mappings,
                                  const QStringList& columns)
{
    QSet<QString> known;
    for (const QString& column : columns)
        known.insert(canonical(column));
    QStringList lines;
    for (const MetadataMapping& mapping : mappings) {
        if (!known.contains(canonical(mapping.keyName)))
            lines << QStringLiteral("The rule for \u201c%1\u201d writes nothing: the data has no "
                                    "column of that name.")
                         .arg(mapping.keyName);
    }
    return lines;
}

} // namespace qb
