// SPDX-License-Identifier: GPL-3.0-or-later
#include "jsonfile.h"
#include "jsondecode.h"

#include "extensions/regularfile.h"

#include <QFile>
#include <QFileInfo>

namespace qb {

namespace {

QString descriptionFor(JsonFileErrorCode code, const QString& path)
{
    switch (code) {
    case JsonFileErrorCode::fileMissing:
    case JsonFileErrorCode::unreadable:
    case JsonFileErrorCode::notJson:
        return QStringLiteral("The file “%1” could not be read as JSON.").arg(path);
    case JsonFileErrorCode::notDecodable:
        return QStringLiteral("The JSON file “%1” does not have the expected form.").arg(path);
    case JsonFileErrorCode::unwritable:
    case JsonFileErrorCode::notEncodable:
        break;
    }
    return QStringLiteral("The file “%1” could not be written as JSON.").arg(path);
}

} // namespace

Error jsonFileError(JsonFileErrorCode code, const QString& path, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.JsonFile");
    error.code = static_cast<int>(code);
    error.errorDescription = descriptionFor(code, path);
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

std::expected<nlohmann::ordered_json, Error> readJsonFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return std::unexpected(jsonFileError(JsonFileErrorCode::fileMissing, path,
                                             QStringLiteral("There is no such file.")));
    if (info.isDir())
        return std::unexpected(jsonFileError(JsonFileErrorCode::unreadable, path,
                                             QStringLiteral("It is a folder, not a file.")));
    QFile file(path);
    if (auto opened = openRegularFile(file); !opened)
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unreadable, path, opened.error().failureReason));
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unreadable, path, file.errorString()));
    try {
        return nlohmann::ordered_json::parse(bytes.cbegin(), bytes.cend());
    } catch (const nlohmann::ordered_json::parse_error& failure) {
        return std::unexpected(jsonFileError(
            JsonFileErrorCode::notJson, path,
            QStringLiteral("It is not valid JSON: %1").arg(jsonExceptionText(failure.what()))));
    }
}

std::expected<void, Error> writeJsonFile(const nlohmann::ordered_json& value, const QString& path)
{
    std::string text;
    try {
        text = value.dump(2);
    } catch (const nlohmann::ordered_json::type_error& failure) {
        // Strings that are not valid UTF-8 can't be written as JSON.
        return std::unexpected(jsonFileError(JsonFileErrorCode::notEncodable, path,
                                             jsonExceptionText(failure.what())));
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unwritable, path, file.errorString()));
    const qint64 written = file.write(text.data(), static_cast<qint64>(text.size()));
    // Closing flushes; a full disk may only show here.
    file.close();
    if (written != static_cast<qint64>(text.size()) || file.error() != QFileDevice::NoError)
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unwritable, path, file.errorString()));
    return {};
}

} // namespace qb
