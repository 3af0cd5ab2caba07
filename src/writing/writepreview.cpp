// SPDX-License-Identifier: GPL-3.0-or-later
#include "writepreview.h"

#include "extensions/dynamicvaluejson.h"

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
    return current.isAbsent() == next.isAbsent() && texts(current) == texts(next);
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
                          const QList<QUrl>& unmatched)
{
    WritePreview preview;
    for (const auto& image : images) {
        PreviewImage entry{pathOf(*image), {}};
        const auto found = current.find(entry.path);
        for (const auto& [tag, next] : image->exiftoolRepresentation()) {
            if (tag == ExifImage::sourceFileKey)
                continue;
            DynamicValue now;
            if (found != current.end()) {
                if (const auto it = found->second.find(tag); it != found->second.end())
                    now = it->second;
            }
            const bool same = sameTagValue(now, next);
            entry.fields.push_back({tag, std::move(now), next, !same});
        }
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
                                                const QList<QUrl>& unmatched, int parts)
{
    QStringList paths;
    for (const auto& image : images)
        paths << pathOf(*image);
    ExifTool reader = exiftool;
    reader.setTrace({});
    const auto current = readCurrentValues(reader, paths, destinationTags(images), false, parts);
    if (!current)
        return std::unexpected(current.error());
    return buildPreview(images, *current, unmatched);
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
            fields.push_back(std::move(entry));
        }
        nlohmann::ordered_json entry;
        entry["file"] = image.path.toStdString();
        entry["fields"] = std::move(fields);
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
        for (const PreviewField& field : image.fields) {
            out += QStringLiteral("  %1: %2").arg(field.tag, previewText(field.current));
            out += field.changes ? QStringLiteral(" \u2192 %1\n").arg(previewText(field.next))
                                 : QStringLiteral(" (unchanged)\n");
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
