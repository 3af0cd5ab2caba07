// SPDX-License-Identifier: GPL-3.0-or-later
#include "exifimage.h"

#include "extensions/dynamicvaluejson.h"
#include "extensions/icustring.h"

#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <cmath>
#include <memory>

namespace qb {

std::optional<QUrl> ExifImage::url() const
{
    const auto it = metadata.find(sourceFileKey);
    if (it == metadata.end())
        return std::nullopt;
    if (it->second.isUrl())
        return it->second.toUrl();
    if (it->second.isString())
        return QUrl::fromLocalFile(it->second.toString());
    return std::nullopt;
}

void ExifImage::merge(const Metadata& other, bool overwrite)
{
    for (const auto& [key, value] : other) {
        if (overwrite)
            metadata.insert_or_assign(key, value);
        else
            metadata.try_emplace(key, value);
    }
}

ExifImage::Metadata ExifImage::exiftoolRepresentation() const
{
    std::unique_ptr<icu::SimpleDateFormat> formatter;
    Metadata representation;
    for (const auto& [key, value] : metadata) {
        if (value.isDate()) {
            if (!formatter) {
                UErrorCode status = U_ZERO_ERROR;
                formatter = std::make_unique<icu::SimpleDateFormat>(
                    toIcu(datePattern), icu::Locale::getDefault(), status);
                // ICU without its locale data can't build any formatter;
                // then the plain description is the best text there is.
                if (U_FAILURE(status))
                    formatter.reset();
            }
            if (!formatter) {
                representation.emplace(key, value.description());
                continue;
            }
            icu::UnicodeString text;
            formatter->format(UDate(value.toDate().toMSecsSinceEpoch()), text);
            representation.emplace(key, fromIcu(text));
        } else if (value.isUrl()) {
            representation.emplace(key, value.toUrl().toLocalFile());
        } else {
            representation.emplace(key, value);
        }
    }
    return representation;
}

namespace {

// exiftool's JSON import reads a text that begins with "base64:" as binary
// data in base64. A text of that form from the user is sent in that very
// form, so that it arrives as written.
void keepLiteral(nlohmann::ordered_json& value)
{
    static const std::string prefix = "base64:";
    if (value.is_string()) {
        const std::string& text = value.get_ref<const std::string&>();
        if (text.starts_with(prefix))
            value = prefix + QByteArray::fromStdString(text).toBase64().toStdString();
    } else if (value.is_structured()) {
        for (auto& element : value)
            keepLiteral(element);
    }
}

} // namespace

nlohmann::ordered_json ExifImage::exiftoolJson() const
{
    const Metadata representation = exiftoolRepresentation();
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    if (const auto it = representation.find(sourceFileKey); it != representation.end())
        object[sourceFileKey.toStdString()] = toJsonValue(it->second);
    for (const auto& [key, value] : representation) {
        if (key == sourceFileKey)
            continue;
        nlohmann::ordered_json json = toJsonValue(value);
        keepLiteral(json);
        object[key.toStdString()] = std::move(json);
    }
    return object;
}

namespace {

// Strict, as DateFormatter parses: not lenient, and the whole text must be
// taken up.
std::optional<QDateTime> parseWireDate(const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(toIcu(ExifImage::datePattern), icu::Locale::getDefault(),
                                    status);
    if (U_FAILURE(status))
        return std::nullopt;
    formatter.setLenient(false);
    const icu::UnicodeString source = toIcu(text);
    icu::ParsePosition position(0);
    const UDate date = formatter.parse(source, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length())
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(date)), Qt::UTC);
}

// Saves copying lists and dictionaries just to look at their kind.
const DynamicValue& storedValue(const ExifImage::Metadata& metadata, const QString& name)
{
    static const DynamicValue absent;
    const auto it = metadata.find(name);
    return it == metadata.end() ? absent : it->second;
}

} // namespace

std::optional<QUrl> ExifImage::url(const Exiftag<QUrl>& tag) const
{
    const DynamicValue& stored = storedValue(metadata, tag.name());
    if (stored.isUrl())
        return stored.toUrl();
    if (stored.isString())
        return QUrl::fromLocalFile(stored.toString());
    return std::nullopt;
}

std::optional<QDateTime> ExifImage::date(const Exiftag<QDateTime>& tag) const
{
    const DynamicValue& stored = storedValue(metadata, tag.name());
    if (stored.isDate())
        return stored.toDate();
    if (stored.isString())
        return parseWireDate(stored.toString());
    return std::nullopt;
}

QStringList ExifImage::strings(const Exiftag<QStringList>& tag) const
{
    const DynamicValue& stored = storedValue(metadata, tag.name());
    if (stored.isStringList())
        return *TagValueTraits<QStringList>::fromDynamic(stored);
    if (stored.isString())
        return stored.toString().split(QStringLiteral(", "));
    return {};
}

} // namespace qb
