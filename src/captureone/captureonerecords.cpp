// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureonerecords.h"

#include <array>
#include <limits>
#include <utility>

namespace qb {

namespace {

using Kind = CaptureOneCollection::Kind;

constexpr std::array<std::pair<Kind, const char*>, 6> kindCodes{{
    {Kind::album, "CCal"},
    {Kind::catalogFolder, "CCff"},
    {Kind::favorite, "CCfv"},
    {Kind::group, "CCgp"},
    {Kind::project, "CCpj"},
    {Kind::smartAlbum, "CCsm"},
}};

// Absent and null both mean "not there", as an optional field decodes.
std::optional<QString> optionalString(const JsonObject& object, const char* key)
{
    if (!object.contains(key) || object.json().at(key).is_null())
        return std::nullopt;
    return object.string(key);
}

QStringList stringArray(const JsonObject& object, const char* key)
{
    QStringList texts;
    const Json& array = object.array(key);
    for (size_t i = 0; i < array.size(); ++i) {
        if (!array[i].is_string())
            throw JsonDecodeFailure(
                object.pathOf(key) + QStringLiteral("[%1]").arg(i),
                QStringLiteral("expected a string, found %1").arg(jsonKindName(array[i])));
        texts << fromJsonString(array[i]);
    }
    return texts;
}

Json stringArray(const QStringList& texts)
{
    Json array = Json::array();
    for (const QString& text : texts)
        array.push_back(toJson(text));
    return array;
}

Kind kindAt(const JsonObject& object, const char* key)
{
    const QString raw = object.string(key);
    const auto kind = collectionKindFromRawValue(raw);
    if (!kind)
        throw JsonDecodeFailure(object.pathOf(key),
                                QStringLiteral("\"%1\" is not a collection kind").arg(raw));
    return *kind;
}

qint32 int32At(const JsonObject& object, const char* key)
{
    const qint64 number = object.integer(key);
    if (number < std::numeric_limits<qint32>::min() || number > std::numeric_limits<qint32>::max())
        throw JsonDecodeFailure(object.pathOf(key),
                                QStringLiteral("%1 does not fit in 32 bits").arg(number));
    return qint32(number);
}

std::optional<QString> stringItem(const AppleEventDescriptor& list, qsizetype index)
{
    const auto item = list.descriptorAtIndex(index);
    return item ? item->stringValue() : std::nullopt;
}

template <typename Record>
std::expected<Record, Error> decodeRecord(const Json& json)
{
    return decodeJson([&json] { return Record::fromJson(jsonObjectAt(json, QString())); });
}

} // namespace

QString rawValue(CaptureOneCollection::Kind kind)
{
    for (const auto& [candidate, code] : kindCodes) {
        if (candidate == kind)
            return QString::fromLatin1(code);
    }
    return {};
}

std::optional<CaptureOneCollection::Kind> collectionKindFromRawValue(const QString& raw)
{
    for (const auto& [kind, code] : kindCodes) {
        if (raw == QLatin1String(code))
            return kind;
    }
    return std::nullopt;
}

Json toJson(CaptureOneCollection::Kind kind)
{
    return toJson(rawValue(kind));
}

std::expected<CaptureOneCollection::Kind, Error> decodeCollectionKind(const Json& json)
{
    return decodeJson([&json] {
        const Json wrapped = {{"kind", json}};
        return kindAt(jsonObjectAt(wrapped, QString()), "kind");
    });
}

Json CaptureOneCollection::toJson() const
{
    return {{"collectionName", qb::toJson(collectionName)}};
}

CaptureOneCollection CaptureOneCollection::fromJson(const JsonObject& object)
{
    return {object.string("collectionName")};
}

std::expected<CaptureOneCollection, Error> CaptureOneCollection::decode(const Json& json)
{
    return decodeRecord<CaptureOneCollection>(json);
}

std::optional<CaptureOneCollection::Information>
CaptureOneCollection::Information::fromDescriptor(const AppleEventDescriptor& list)
{
    const std::optional<QString> name = stringItem(list, 1);
    const std::optional<QString> kindText = stringItem(list, 2);
    if (!name || !kindText)
        return std::nullopt;
    const auto count = list.descriptorAtIndex(5);
    if (!count)
        return std::nullopt;
    const auto kind = collectionKindFromRawValue(*kindText);
    if (!kind)
        return std::nullopt;
    Information information{*name, *kind, count->int32Value(), std::nullopt, std::nullopt};
    if (const auto folder = list.descriptorAtIndex(3))
        information.folder = folder->fileURLValue();
    information.rules = stringItem(list, 4);
    return information;
}

Json CaptureOneCollection::Information::toJson() const
{
    Json json = {{"collectionName", qb::toJson(collectionName)},
                 {"kind", qb::toJson(kind)},
                 {"variantCount", variantCount}};
    if (rules)
        json["rules"] = qb::toJson(*rules);
    if (folder)
        json["folder"] = qb::toJson(folder->toString(QUrl::FullyEncoded));
    return json;
}

CaptureOneCollection::Information
CaptureOneCollection::Information::fromJson(const JsonObject& object)
{
    Information information{object.string("collectionName"), kindAt(object, "kind"),
                            int32At(object, "variantCount"), optionalString(object, "rules"),
                            std::nullopt};
    if (const auto folder = optionalString(object, "folder")) {
        const QUrl url(*folder, QUrl::StrictMode);
        if (!url.isValid())
            throw JsonDecodeFailure(object.pathOf("folder"),
                                    QStringLiteral("\"%1\" is not a URL").arg(*folder));
        information.folder = url;
    }
    return information;
}

std::expected<CaptureOneCollection::Information, Error>
CaptureOneCollection::Information::decode(const Json& json)
{
    return decodeRecord<Information>(json);
}

AppleEventDescriptor::List CaptureNaming::Request::arguments() const
{
    return {AppleEventDescriptor::optionalText(captureFormat),
            AppleEventDescriptor::optionalText(captureName)};
}

Json CaptureNaming::Request::toJson() const
{
    Json json = Json::object();
    if (captureFormat)
        json["captureFormat"] = qb::toJson(*captureFormat);
    if (captureName)
        json["captureName"] = qb::toJson(*captureName);
    return json;
}

CaptureNaming::Request CaptureNaming::Request::fromJson(const JsonObject& object)
{
    return {optionalString(object, "captureFormat"), optionalString(object, "captureName")};
}

std::expected<CaptureNaming::Request, Error> CaptureNaming::Request::decode(const Json& json)
{
    return decodeRecord<Request>(json);
}

std::optional<CaptureNaming> CaptureNaming::fromDescriptor(const AppleEventDescriptor& list)
{
    const std::optional<QString> format = stringItem(list, 1);
    const std::optional<QString> name = stringItem(list, 2);
    if (!format || !name)
        return std::nullopt;
    return CaptureNaming{*format, *name};
}

Json CaptureNaming::toJson() const
{
    return {{"captureFormat", qb::toJson(captureFormat)}, {"captureName", qb::toJson(captureName)}};
}

CaptureNaming CaptureNaming::fromJson(const JsonObject& object)
{
    return {object.string("captureFormat"), object.string("captureName")};
}

std::expected<CaptureNaming, Error> CaptureNaming::decode(const Json& json)
{
    return decodeRecord<CaptureNaming>(json);
}

AppleEventDescriptor::List CreateFavorites::arguments() const
{
    return {AppleEventDescriptor::textList(dirNames), AppleEventDescriptor::boolean(setCapture)};
}

Json CreateFavorites::toJson() const
{
    return {{"dirNames", stringArray(dirNames)}, {"setCapture", setCapture}};
}

CreateFavorites CreateFavorites::fromJson(const JsonObject& object)
{
    return {stringArray(object, "dirNames"), object.boolean("setCapture")};
}

std::expected<CreateFavorites, Error> CreateFavorites::decode(const Json& json)
{
    return decodeRecord<CreateFavorites>(json);
}

namespace CaptureOneValidation {

Json Request::toJson() const
{
    return {{"comparitorCollection", qb::toJson(comparitorCollection)},
            {"collections", stringArray(collections)},
            {"includeFavorites", includeFavorites}};
}

Request Request::fromJson(const JsonObject& object)
{
    return {object.string("comparitorCollection"), stringArray(object, "collections"),
            object.boolean("includeFavorites")};
}

std::expected<Request, Error> Request::decode(const Json& json)
{
    return decodeRecord<Request>(json);
}

Json Result::toJson() const
{
    Json counts = Json::object();
    for (const auto& [name, count] : result)
        counts[name.toStdString()] = count;
    return {{"comparitorCollection", qb::toJson(comparitorCollection)}, {"result", counts}};
}

Result Result::fromJson(const JsonObject& object)
{
    Result decoded{object.string("comparitorCollection"), {}};
    const JsonObject counts = object.object("result");
    for (const auto& [key, value] : counts.json().items()) {
        const QString name = QString::fromStdString(key);
        decoded.result[name] = counts.integer(key.c_str());
    }
    return decoded;
}

std::expected<Result, Error> Result::decode(const Json& json)
{
    return decodeRecord<Result>(json);
}

} // namespace CaptureOneValidation

} // namespace qb
