// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>

#include <nlohmann/json.hpp>

#include <expected>
#include <stdexcept>

namespace qb {

using Json = nlohmann::ordered_json;

// Thrown while decoding our own JSON forms and caught by decodeJson() at the
// entry point, so that a deep decoder reads like the shape it expects.
class JsonDecodeFailure : public std::runtime_error {
public:
    JsonDecodeFailure(const QString& path, const QString& reason);
    QString path;
    QString reason;
};

// A view of one JSON object during decoding. It knows where it sits in the
// document, so every failure names the place.
class JsonObject {
public:
    JsonObject(const Json& json, QString path);

    const Json& json() const { return m_json; }
    const QString& path() const { return m_path; }
    bool contains(const char* key) const { return m_json.contains(key); }

    QString string(const char* key) const;
    bool boolean(const char* key) const;
    qint64 integer(const char* key) const;
    JsonObject object(const char* key) const;
    // The member, which must be an array; elements are visited by the caller.
    const Json& array(const char* key) const;
    QString pathOf(const char* key) const;
    [[noreturn]] void fail(const QString& reason) const;

private:
    const Json& member(const char* key) const;
    const Json& m_json;
    QString m_path;
};

JsonObject jsonObjectAt(const Json& json, const QString& path);
QString jsonKindName(const Json& json);
QString fromJsonString(const Json& json);
Json toJson(const QString& text);

Error decodingError(const JsonDecodeFailure& failure);

// A JSON library exception's message without its internal tag such as
// "[json.exception.parse_error.101] "; the rest reads well on its own.
QString jsonExceptionText(const char* what);

// Runs a decoder that throws JsonDecodeFailure and turns the failure into our
// error value. Nothing else is caught: any other exception is a bug.
template <class Decoder>
auto decodeJson(Decoder&& decoder) -> std::expected<decltype(decoder()), Error>
{
    try {
        return decoder();
    } catch (const JsonDecodeFailure& failure) {
        return std::unexpected(decodingError(failure));
    }
}

} // namespace qb
