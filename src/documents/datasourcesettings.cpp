// SPDX-License-Identifier: GPL-3.0-or-later
#include "datasourcesettings.h"

#include "documents/documentjson.h"

#include <limits>

namespace qb {

namespace {

std::optional<FileNameDataSource::MatchingStyle> styleFromRaw(qint64 raw)
{
    if (raw < std::numeric_limits<int>::min() || raw > std::numeric_limits<int>::max())
        return std::nullopt;
    return matchingStyleFromRawValue(int(raw));
}

template <class Settings>
std::expected<Settings, Error> decodeBytes(const QByteArray& bytes, auto&& decoder)
{
    const auto json = parseDocumentJson(bytes);
    if (!json)
        return std::unexpected(json.error());
    return decodeJson([&] { return decoder(JsonObject(*json, QString())); });
}

std::expected<FileWrapper, Error> wrapperOf(const std::expected<Json, Error>& json,
                                            const QString& name)
{
    if (!json)
        return std::unexpected(json.error());
    const auto bytes = encodeDocumentJson(*json);
    if (!bytes)
        return std::unexpected(bytes.error());
    return FileWrapper::regularFile(*bytes, name);
}

} // namespace

std::optional<FileNameDataSource::MatchingStyle> CSVDatasourceSettings::matchingStyle() const
{
    return styleFromRaw(selectedMatchStyle);
}

CSVDataSource::FieldDelimiter CSVDatasourceSettings::delimiter() const
{
    const auto named =
        fieldDelimiter ? CSVDataSource::fieldDelimiterNamed(*fieldDelimiter) : std::nullopt;
    return named.value_or(CSVDataSource::FieldDelimiter::comma);
}

void CSVDatasourceSettings::setDelimiter(CSVDataSource::FieldDelimiter delimiter)
{
    if (delimiter == CSVDataSource::FieldDelimiter::comma)
        fieldDelimiter.reset();
    else
        fieldDelimiter = CSVDataSource::fieldDelimiterName(delimiter);
}

std::expected<Json, Error> CSVDatasourceSettings::toJson() const
{
    Json names = Json::array();
    for (const QString& name : keyNames)
        names.push_back(qb::toJson(name));
    Json json = Json::object();
    json["keyNames"] = std::move(names);
    if (selectedHeader)
        json["selectedHeader"] = qb::toJson(*selectedHeader);
    json["selectedMatchStyle"] = selectedMatchStyle;
    if (currentURL) {
        auto bookmark = currentURL->toJson();
        if (!bookmark)
            return std::unexpected(bookmark.error());
        json["currentURL"] = std::move(*bookmark);
    } else if (unresolvedURL) {
        json["currentURL"] = *unresolvedURL;
    }
    if (fieldDelimiter)
        json["fieldDelimiter"] = qb::toJson(*fieldDelimiter);
    if (sheetName)
        json["sheetName"] = qb::toJson(*sheetName);
    if (keyTag)
        json["keyTag"] = qb::toJson(*keyTag);
    if (cardMode)
        json["cardMode"] = true;
    if (!cardFixes.empty()) {
        Json fixes = Json::array();
        for (const CardFixSetting& fix : cardFixes)
            fixes.push_back(Json{{"frame", qb::toJson(fix.frame)},
                                 {"key", fix.key ? qb::toJson(*fix.key) : Json()}});
        json["cardFixes"] = std::move(fixes);
    }
    return json;
}

CSVDatasourceSettings CSVDatasourceSettings::fromJson(const JsonObject& object,
                                                      const QString& relativeTo)
{
    CSVDatasourceSettings settings;
    const Json& names = object.array("keyNames");
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!names[i].is_string())
            throw JsonDecodeFailure(
                object.pathOf("keyNames") + QStringLiteral("[%1]").arg(i),
                QStringLiteral("expected a string, found %1").arg(jsonKindName(names[i])));
        settings.keyNames << fromJsonString(names[i]);
    }
    settings.selectedHeader = optionalString(object, "selectedHeader");
    settings.selectedMatchStyle = object.integer("selectedMatchStyle");
    settings.fieldDelimiter = optionalString(object, "fieldDelimiter");
    settings.sheetName = optionalString(object, "sheetName");
    settings.keyTag = optionalString(object, "keyTag");
    settings.cardMode = object.contains("cardMode") && object.boolean("cardMode");
    if (object.contains("cardFixes")) {
        const Json& fixes = object.array("cardFixes");
        for (std::size_t i = 0; i < fixes.size(); ++i) {
            const JsonObject fix =
                jsonObjectAt(fixes[i], object.pathOf("cardFixes") + QStringLiteral("[%1]").arg(i));
            settings.cardFixes.push_back({fix.string("frame"), optionalString(fix, "key")});
        }
    }
    if (object.contains("currentURL") && !object.json().at("currentURL").is_null())
        settings.currentURL = BookmarkURL::fromJson(object.json().at("currentURL"),
                                                    object.pathOf("currentURL"), relativeTo);
    return settings;
}

std::expected<CSVDatasourceSettings, Error> CSVDatasourceSettings::decode(const QByteArray& bytes,
                                                                          const QString& relativeTo)
{
    return decodeBytes<CSVDatasourceSettings>(
        bytes, [&](const JsonObject& object) { return fromJson(object, relativeTo); });
}

std::expected<FileWrapper, Error> CSVDatasourceSettings::fileWrapper() const
{
    return wrapperOf(toJson(), memberName());
}

std::expected<CSVDatasourceSettings::Decoded, Error>
CSVDatasourceSettings::decodeKeepingColumns(const QByteArray& bytes, const QString& relativeTo)
{
    auto whole = decode(bytes, relativeTo);
    if (whole)
        return Decoded{std::move(*whole), std::nullopt};
    auto json = parseDocumentJson(bytes);
    if (!json || !json->is_object() || !json->contains("currentURL"))
        return std::unexpected(whole.error());
    Json unresolved = json->at("currentURL");
    json->erase("currentURL");
    auto rest = decodeJson([&] { return fromJson(JsonObject(*json, QString()), relativeTo); });
    if (!rest)
        return std::unexpected(whole.error());
    rest->unresolvedURL = std::move(unresolved);
    return Decoded{std::move(*rest), whole.error()};
}

std::optional<FileNameDataSource::MatchingStyle> ImageDatasourceSettings::matchingStyle() const
{
    return styleFromRaw(selectedMatchStyle);
}

Json ImageDatasourceSettings::toJson() const
{
    Json json = Json::object();
    json["selectedMatchStyle"] = selectedMatchStyle;
    return json;
}

ImageDatasourceSettings ImageDatasourceSettings::fromJson(const JsonObject& object)
{
    ImageDatasourceSettings settings;
    settings.selectedMatchStyle = object.integer("selectedMatchStyle");
    return settings;
}

std::expected<ImageDatasourceSettings, Error>
ImageDatasourceSettings::decode(const QByteArray& bytes)
{
    return decodeBytes<ImageDatasourceSettings>(bytes, &ImageDatasourceSettings::fromJson);
}

std::expected<FileWrapper, Error> ImageDatasourceSettings::fileWrapper() const
{
    return wrapperOf(toJson(), memberName());
}

} // namespace qb
