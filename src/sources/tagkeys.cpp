// SPDX-License-Identifier: GPL-3.0-or-later
#include "tagkeys.h"

#include <QRegularExpression>

namespace qb {

namespace {

// A key as the user sees the value: a list as exiftool prints it.
QString keyText(const DynamicValue& value)
{
    if (!value.isList())
        return value.description();
    QStringList items;
    for (const DynamicValue& item : value.toList())
        items << item.description();
    return items.join(QStringLiteral(", "));
}

} // namespace

bool isTagName(const QString& tag)
{
    static const QRegularExpression name(
        QStringLiteral("^[A-Za-z0-9_][A-Za-z0-9_-]*(:[A-Za-z0-9_][A-Za-z0-9_-]*)*$"));
    return name.match(tag).hasMatch();
}

QHash<QUrl, QString> tagKeysOf(const CurrentValues& values, const QList<QUrl>& images,
                               const QString& tag)
{
    QHash<QUrl, QString> keys;
    for (const QUrl& image : images) {
        const auto file = values.find(image.toLocalFile());
        if (file == values.end())
            continue;
        const auto value = file->second.find(tag);
        if (value == file->second.end())
            continue;
        const QString text = keyText(value->second);
        if (!text.isEmpty())
            keys.insert(image, text);
    }
    return keys;
}

std::expected<QHash<QUrl, QString>, Error>
readTagKeys(const ExifTool& exiftool, const QList<QUrl>& images, const QString& tag, int parts)
{
    QStringList paths;
    paths.reserve(images.size());
    for (const QUrl& image : images)
        paths << image.toLocalFile();
    paths.removeDuplicates();
    auto values = readCurrentValues(exiftool, paths, {tag}, false, parts);
    if (!values)
        return std::unexpected(values.error());
    return tagKeysOf(*values, images, tag);
}

} // namespace qb
