// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/filewrapper.h"

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <QByteArray>
#include <QString>

#include <expected>
#include <optional>
#include <utility>

// The one encoder and decoder that every member of a document package goes
// through, so that mapping.json and the panel settings read and write alike.
namespace qb {

// Pretty-printed, keys in the order they were set, slashes as they are.
std::expected<QByteArray, Error> encodeDocumentJson(const Json& json);
std::expected<Json, Error> parseDocumentJson(const QByteArray& bytes);

// The decoding error for a document whose data is damaged, described by
// `description` as it stands.
Error dataCorruptedError(const QString& description);

// The bytes of the regular member `name` of `package`, or the error that
// says why there are none.
std::expected<QByteArray, Error> regularMemberContents(const FileWrapper& package,
                                                       const QString& name);

// An optional member: absent and null both count as missing.
std::optional<QString> optionalString(const JsonObject& object, const char* key);

// The member `name` of `package` parsed and handed, as an object, to
// `decoder`, which throws JsonDecodeFailure on a wrong shape.
template <class Decoder>
auto decodeMember(const FileWrapper& package, const QString& name, Decoder&& decoder)
    -> std::expected<decltype(decoder(std::declval<const JsonObject&>())), Error>
{
    const auto bytes = regularMemberContents(package, name);
    if (!bytes)
        return std::unexpected(bytes.error());
    const auto json = parseDocumentJson(*bytes);
    if (!json)
        return std::unexpected(json.error());
    return decodeJson([&] { return decoder(JsonObject(*json, QString())); });
}

} // namespace qb
