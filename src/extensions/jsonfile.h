// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>

#include <nlohmann/json.hpp>

#include <expected>

namespace qb {

enum class JsonFileErrorCode {
    fileMissing = 1,
    unreadable = 2,
    notJson = 3,
    unwritable = 4,
    notEncodable = 5,
    notDecodable = 6,
};

// The whole file at `path`, parsed as JSON with its key order kept.
std::expected<nlohmann::ordered_json, Error> readJsonFile(const QString& path);

// `value` pretty-printed into the file at `path`, replacing what was there.
// Written in place, not atomically: a failure midway can leave a partial file.
std::expected<void, Error> writeJsonFile(const nlohmann::ordered_json& value, const QString& path);

Error jsonFileError(JsonFileErrorCode code, const QString& path, const QString& reason);

// A value of a type that nlohmann can decode, read from the file at `path`.
template <typename T>
std::expected<T, Error> decodeJsonFile(const QString& path)
{
    auto json = readJsonFile(path);
    if (!json)
        return std::unexpected(json.error());
    try {
        return json->get<T>();
    } catch (const nlohmann::ordered_json::exception& failure) {
        return std::unexpected(jsonFileError(JsonFileErrorCode::notDecodable, path,
                                             QString::fromUtf8(failure.what())));
    }
}

// A value of a type that nlohmann can encode, written to the file at `path`.
template <typename T>
std::expected<void, Error> encodeJsonFile(const T& value, const QString& path)
{
    nlohmann::ordered_json json;
    try {
        json = value;
    } catch (const nlohmann::ordered_json::exception& failure) {
        return std::unexpected(jsonFileError(JsonFileErrorCode::notEncodable, path,
                                             QString::fromUtf8(failure.what())));
    }
    return writeJsonFile(json, path);
}

} // namespace qb
