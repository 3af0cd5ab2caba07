// SPDX-License-Identifier: GPL-3.0-or-later
#include "writechecks.h"

#include "extensions/plainorder.h"

#include <QFileInfo>
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

// The first group a tag is named with, lower case, without its family
// number; empty for a tag without one.
QString groupOf(const QString& tag)
{
    if (!tag.contains(QLatin1Char(':')))
        return {};
    QString group = tag.section(QLatin1Char(':'), 0, 0).toLower();
    while (!group.isEmpty() && group.front().isDigit())
        group.remove(0, 1);
    return group;
}

bool isExifGroup(const QString& group)
{
    static const QSet<QString> groups{QStringLiteral("exif"),   QStringLiteral("ifd0"),
                                      QStringLiteral("ifd1"),   QStringLiteral("exififd"),
                                      QStringLiteral("gps"),    QStringLiteral("interopifd"),
                                      QStringLiteral("subifd"), QStringLiteral("globparamifd")};
    return groups.contains(group);
}

// The bytes a value takes in a file: each text in UTF-8.
QList<qsizetype> byteSizes(const DynamicValue& value)
{
    if (value.isList()) {
        QList<qsizetype> sizes;
        for (const DynamicValue& element : value.toList())
            sizes << byteSizes(element);
        return sizes;
    }
    if (value.isAbsent() || value.isDictionary())
        return {};
    return {value.description().toUtf8().size()};
}

QString fileNameOf(const ExifImage& image)
{
    return image.url().value_or(QUrl()).fileName(QUrl::FullyDecoded);
}

QString ruleOf(const ExifImage& image, const QString& tag)
{
    const auto it = image.notes.ruleOf.find(tag);
    return it == image.notes.ruleOf.end()
               ? QStringLiteral("the rule for %1").arg(tag)
               : QStringLiteral("the rule for \u201c%1\u201d").arg(it->second);
}

Error tooLarge(const ExifImage& image, const QString& tag, qsizetype size, const QString& limit)
{
    Error error;
    error.domain = checkDomain;
    error.code = 3;
    error.errorDescription =
        QStringLiteral("The value of %1 for \u201c%2\u201d (%3) takes %4 bytes; %5.")
            .arg(tag, fileNameOf(image), ruleOf(image, tag))
            .arg(size)
            .arg(limit);
    error.failureReason = QStringLiteral("Nothing was written: the file would not hold it as the "
                                         "formats define, and other programs would read it "
                                         "cut short or not at all.");
    error.recoverySuggestion = QStringLiteral("Shorten the value, or write it to an XMP tag, "
                                              "which holds text of any length.");
    error.userInfo.insert(QStringLiteral("tag"), tag);
    error.userInfo.insert(QStringLiteral("bytes"), size);
    return error;
}

// The most that one JPEG segment holds for EXIF, its header and one
// directory entry aside, as exiftool counts it.
constexpr qsizetype jpegExifSegment = 65533;
constexpr qsizetype jpegExifValue = 65436;

bool isJpeg(const ExifImage& image)
{
    const QString suffix = QFileInfo(image.url().value_or(QUrl()).path()).suffix().toLower();
    return suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg") ||
           suffix == QLatin1String("jpe");
}

std::expected<void, Error> checkSizes(const ExifImage& image, const WritableTags& writable,
                                      bool sidecars)
{
    if (sidecars)
        return {}; // XMP holds text of any length
    const bool jpeg = isJpeg(image);
    qsizetype exifTotal = 0;
    QString largestExif;
    qsizetype largestExifSize = 0;
    for (const auto& [tag, value] : image.metadata) {
        const QString group = groupOf(tag);
        const QList<qsizetype> sizes = byteSizes(value);
        if (group == QLatin1String("iptc")) {
            const auto limit = writable.iptcTextLimit(tag.section(QLatin1Char(':'), -1));
            for (const qsizetype size : sizes) {
                if (limit && size > *limit)
                    return std::unexpected(tooLarge(
                        image, tag, size, QStringLiteral("IPTC holds %1 there").arg(*limit)));
            }
        } else if (jpeg && isExifGroup(group)) {
            for (const qsizetype size : sizes) {
                exifTotal += size;
                if (size > largestExifSize) {
                    largestExifSize = size;
                    largestExif = tag;
                }
            }
        }
    }
    if (largestExifSize > jpegExifValue || exifTotal > jpegExifSegment)
        return std::unexpected(
            tooLarge(image, largestExif, largestExifSize,
                     QStringLiteral("a JPEG holds all its EXIF in one segment of %1 bytes")
                         .arg(jpegExifSegment)));
    return {};
}

} // namespace

bool sidecarCanHold(const QString& tag)
{
    // Without a group, exiftool chooses one, an XMP one for a sidecar.
    const QString group = groupOf(tag);
    return !tag.contains(QLatin1Char(':')) || group == QLatin1String("xmp") ||
           group.startsWith(QLatin1String("xmp-"));
}

std::expected<void, Error> checkBatch(const ExifImages& images, const WritableTags* writable,
                                      bool sidecars)
{
    std::set<QString> unknown;
    for (const auto& image : images) {
        if (writable) {
            if (auto sized = checkSizes(*image, *writable, sidecars); !sized)
                return sized;
        }
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
