// SPDX-License-Identifier: GPL-3.0-or-later
#include "writepreview.h"

#include "exif/fileoutcomes.h"
#include "exif/metadatareader.h"
#include "extensions/dynamicvaluejson.h"

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace qb {

namespace {

QStringList texts(const DynamicValue& value)
{
    if (value.isAbsent())
        return {};
    if (!value.isList())
        return {value.description()};
    QStringList result;
    for (const DynamicValue& element : value.toList())
        result << element.description();
    return result;
}

QString pathOf(const ExifImage& image)
{
    return image.url().value_or(QUrl()).toLocalFile();
}

// exiftool's own reason for a file it couldn't read, asked for with the
// values.
const QString errorTag = QStringLiteral("ExifTool:Error");

// A date or time as exiftool stores it, whichever separators it came with.
const QRegularExpression dateForm(QStringLiteral(
    "^(\\d{4})[:-](\\d{2})[:-](\\d{2})(?:[ T](\\d{2}):(\\d{2})(?::(\\d{2})(\\.\\d+)?)?)?"
    "(Z|[+-]\\d{2}:?\\d{2})?$"));

QString normalised(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (const auto date = dateForm.match(trimmed); date.hasMatch()) {
        QString form =
            QStringLiteral("%1:%2:%3").arg(date.captured(1), date.captured(2), date.captured(3));
        if (date.capturedLength(4) > 0)
            form += QStringLiteral(" %1:%2:%3%4")
                        .arg(date.captured(4), date.captured(5),
                             date.capturedLength(6) > 0 ? date.captured(6) : QStringLiteral("00"),
                             date.captured(7));
        QString zone = date.captured(8);
        if (zone == QLatin1String("Z"))
            zone = QStringLiteral("+00:00");
        else if (zone.size() == 5)
            zone.insert(3, QLatin1Char(':'));
        return form + zone;
    }
    bool number = false;
    const double value = trimmed.toDouble(&number);
    if (number)
        return QString::number(value, 'g', 15);
    return text;
}

QStringList normalisedTexts(const DynamicValue& value)
{
    QStringList result;
    for (const QString& text : texts(value))
        result << normalised(text);
    return result;
}

// The reason exiftool gave for each file of `paths` it couldn't read.
QHash<QString, QString> unreadableFiles(const QStringList& paths, const CurrentValues& current,
                                        const QString& standardError)
{
    QHash<QString, QString> reasons;
    for (const FileMessage& message : fileMessages(standardError, paths)) {
        if (message.isError && !current.contains(message.path))
            reasons.insert(message.path, message.text);
    }
    for (const auto& [path, values] : current) {
        if (const auto error = values.find(errorTag); error != values.end())
            reasons.insert(path, error->second.description());
    }
    return reasons;
}

} // namespace

QString previewText(const DynamicValue& value)
{
    if (value.isAbsent())
        return QStringLiteral("(absent)");
    return texts(value).join(QStringLiteral(", "));
}

bool sameTagValue(const DynamicValue& current, const DynamicValue& next)
{
    // exiftool reads a list of one element as that element.
    return current.isAbsent() == next.isAbsent() &&
           normalisedTexts(current) == normalisedTexts(next);
}

QStringList destinationTags(const ExifImages& images)
{
    QStringList tags;
    for (const auto& image : images) {
        for (const auto& [tag, value] : image->metadata) {
            if (tag != ExifImage::sourceFileKey && !tags.contains(tag))
                tags << tag;
        }
    }
    return tags;
}

WritePreview buildPreview(const ExifImages& images, const CurrentValues& current,
                          const QList<QUrl>& unmatched, const QStringList& readPaths,
                          const QString& standardError)
{
    QStringList paths = readPaths;
    for (qsizetype i = paths.size(); i < qsizetype(images.size()); ++i)
        paths << pathOf(*images[std::size_t(i)]);
    const QHash<QString, QString> unreadable = unreadableFiles(paths, current, standardError);
    WritePreview preview;
    for (std::size_t i = 0; i < images.size(); ++i) {
        const ExifImage& image = *images[i];
        PreviewImage entry{
            pathOf(image), {}, image.notes.leftAlone, unreadable.value(paths[qsizetype(i)])};
        const auto found = current.find(paths[qsizetype(i)]);
        const auto valueOf = [&](const QString& tag) {
            if (found != current.end()) {
                if (const auto it = found->second.find(tag); it != found->second.end())
                    return it->second;
            }
            return DynamicValue();
        };
        for (const auto& [tag, next] : image.exiftoolRepresentation()) {
            if (tag == ExifImage::sourceFileKey)
                continue;
            DynamicValue now = valueOf(tag);
            const bool same = sameTagValue(now, next);
            entry.fields.push_back({tag, std::move(now), next, !same});
        }
        for (const QString& tag : image.notes.leftAlone)
            entry.fields.push_back({tag, valueOf(tag), DynamicValue(), false});
        preview.images.push_back(std::move(entry));
    }
    for (const QUrl& url : unmatched)
        preview.unmatched << url.toLocalFile();
    return preview;
}

QList<QUrl> unmatchedImages(const QList<QUrl>& found, const ExifImages& mapped)
{
    QSet<QUrl> matched;
    for (const auto& image : mapped) {
        if (const auto url = image->url())
            matched.insert(*url);
    }
    QList<QUrl> rest;
    for (const QUrl& url : found) {
        if (!matched.contains(url))
            rest << url;
    }
    return rest;
}

std::expected<WritePreview, Error> previewWrite(const ExifTool& exiftool, const ExifImages& images,
                                                const QList<QUrl>& unmatched, int parts,
                                                const PreviewSource& source)
{
    QStringList paths;
    SidecarFinder sidecars(source.naming);
    for (const auto& image : images) {
        const QUrl url = image->url().value_or(QUrl());
        const QString sidecar = source.sidecars ? sidecars.sidecarOf(url).toLocalFile() : QString();
        paths << (QFileInfo::exists(sidecar) ? sidecar : url.toLocalFile());
    }
    QStringList tags = destinationTags(images);
    for (const auto& image : images) {
        for (const QString& tag : image->notes.leftAlone) {
            if (!tags.contains(tag))
                tags << tag;
        }
    }
    ExifTool reader = exiftool;
    reader.setTrace({});
    const auto current = readCurrent(reader, paths, tags + QStringList{errorTag}, true, parts);
    if (!current)
        return std::unexpected(current.error());
    return buildPreview(images, current->values, unmatched, paths, current->standardError);
}

nlohmann::ordered_json WritePreview::toJson() const
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const PreviewImage& image : images) {
        nlohmann::ordered_json fields = nlohmann::ordered_json::array();
        for (const PreviewField& field : image.fields) {
            nlohmann::ordered_json entry;
            entry["tag"] = field.tag.toStdString();
            entry["current"] = toJsonValue(field.current);
            entry["new"] = toJsonValue(field.next);
            entry["changes"] = field.changes;
            if (image.leftAlone.contains(field.tag))
                entry["emptyCell"] = true;
            fields.push_back(std::move(entry));
        }
        nlohmann::ordered_json entry;
        entry["file"] = image.path.toStdString();
        entry["fields"] = std::move(fields);
        if (!image.unreadable.isEmpty())
            entry["unreadable"] = image.unreadable.toStdString();
        list.push_back(std::move(entry));
    }
    nlohmann::ordered_json json;
    json["images"] = std::move(list);
    nlohmann::ordered_json rest = nlohmann::ordered_json::array();
    for (const QString& path : unmatched)
        rest.push_back(path.toStdString());
    json["unmatched"] = std::move(rest);
    return json;
}

QString WritePreview::text() const
{
    QString out;
    for (const PreviewImage& image : images) {
        out += image.path + QLatin1Char('\n');
        if (!image.unreadable.isEmpty())
            out += QStringLiteral("  exiftool can\u2019t read it: %1\n").arg(image.unreadable);
        for (const PreviewField& field : image.fields) {
            out += QStringLiteral("  %1: %2").arg(field.tag, previewText(field.current));
            if (image.leftAlone.contains(field.tag))
                out += QStringLiteral(" (empty cell: left as it is)\n");
            else if (field.changes)
                out += QStringLiteral(" \u2192 %1\n").arg(previewText(field.next));
            else
                out += QStringLiteral(" (unchanged)\n");
        }
    }
    if (!unmatched.isEmpty()) {
        out += QStringLiteral("matched no row:\n");
        for (const QString& path : unmatched)
            out += QStringLiteral("  %1\n").arg(path);
    }
    return out;
}

} // namespace qb
