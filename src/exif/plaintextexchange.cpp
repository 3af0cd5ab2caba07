// SPDX-License-Identifier: GPL-3.0-or-later
#include "plaintextexchange.h"

#include <QHash>

namespace qb {

namespace {

// exiftool splits a list tag's text at each comma, taking the blanks after
// it along; a tag that is no list keeps the text whole, as it keeps the
// items of a JSON list joined by this very separator.
const QString separator = QStringLiteral(", ");

bool plainText(const QString& text)
{
    return !text.isEmpty() && !text.startsWith(QLatin1String("base64:")) &&
           !text.startsWith(QLatin1Char('{')) && !text.startsWith(QLatin1Char('['));
}

// The cell that sets `value` of `tag` as JSON sets it; nothing when there
// is none.
std::optional<QString> cellOf(const QString& tag, const DynamicValue& value,
                              const WritableTags& tags)
{
    const bool single = value.isString() || (value.isList() && value.toList().size() == 1 &&
                                             value.toList().front().isString());
    if (single) {
        const QString& text =
            value.isString() ? value.toString() : value.toList().front().toString();
        if (!plainText(text) || (text.contains(QLatin1Char(',')) && tags.isList(tag)))
            return std::nullopt;
        return text;
    }
    if (!value.isList() || value.toList().empty())
        return std::nullopt;
    QStringList items;
    for (const DynamicValue& item : value.toList()) {
        // Taken apart again exactly: no comma inside, and no blank in front
        // that the split would take as part of the separator.
        if (!item.isString() || !plainText(item.toString()) ||
            item.toString().contains(QLatin1Char(',')) ||
            (!items.isEmpty() && item.toString().front().isSpace()))
            return std::nullopt;
        items << item.toString();
    }
    return items.join(separator);
}

void addField(QByteArray& line, const QString& text)
{
    if (!line.isEmpty() && !line.endsWith('\n'))
        line += ',';
    QByteArray bytes = text.toUtf8();
    bytes.replace('"', "\"\"");
    line += '"' + bytes + '"';
}

} // namespace

std::optional<QByteArray> plainTextExchange(const std::vector<std::shared_ptr<ExifImage>>& images,
                                            const WritableTags& tags)
{
    std::vector<ExifImage::Metadata> rows;
    QStringList columns;
    QHash<QString, QString> spellings; // each column by its lower-case name
    for (const auto& image : images) {
        ExifImage::Metadata values = image->exiftoolRepresentation();
        const auto source = values.find(ExifImage::sourceFileKey);
        if (source == values.end() || !source->second.isString() ||
            source->second.toString().contains(QLatin1Char('\n')) ||
            source->second.toString().contains(QLatin1Char('\r')))
            return std::nullopt;
        for (const auto& entry : values) {
            if (entry.first == ExifImage::sourceFileKey)
                continue;
            const QString lower = entry.first.toLower();
            const auto known = spellings.constFind(lower);
            if (known == spellings.cend()) {
                spellings.insert(lower, entry.first);
                columns << entry.first;
            } else if (*known != entry.first) {
                return std::nullopt;
            }
        }
        rows.push_back(std::move(values));
    }
    QByteArray text;
    addField(text, ExifImage::sourceFileKey);
    for (const QString& column : columns)
        addField(text, column);
    text += '\n';
    for (const ExifImage::Metadata& values : rows) {
        addField(text, values.at(ExifImage::sourceFileKey).toString());
        for (const QString& column : columns) {
            const auto value = values.find(column);
            std::optional<QString> cell;
            if (value != values.end()) {
                cell = cellOf(column, value->second, tags);
                if (!cell)
                    return std::nullopt;
            }
            // An empty cell sets nothing, as a tag absent from JSON.
            addField(text, cell.value_or(QString()));
        }
        text += '\n';
    }
    return text;
}

QStringList plainTextExchangeOptions(const QString& path)
{
    return {QStringLiteral("-csv=") + path, QStringLiteral("-sep"), separator};
}

} // namespace qb
