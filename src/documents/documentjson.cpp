// SPDX-License-Identifier: GPL-3.0-or-later
#include "documentjson.h"

#include "extensions/jsondecode.h"

namespace qb {

std::expected<QByteArray, Error> encodeDocumentJson(const Json& json)
{
    try {
        const std::string text = json.dump(2);
        return QByteArray(text.data(), qsizetype(text.size()));
    } catch (const Json::type_error& failure) {
        // Only text that isn't valid UTF-8 can't be written.
        Error error;
        error.domain = QStringLiteral("QuillbrookKit.EncodingError");
        error.code = 1;
        error.errorDescription =
            QStringLiteral("The data couldn't be written because it isn't in the correct format.");
        error.failureReason = jsonExceptionText(failure.what());
        return std::unexpected(error);
    }
}

Error dataCorruptedError(const QString& description)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.DecodingError");
    error.code = 1;
    error.errorDescription = description;
    error.userInfo.insert(QStringLiteral("debugDescription"), description);
    return error;
}

std::expected<Json, Error> parseDocumentJson(const QByteArray& bytes)
{
    try {
        return Json::parse(bytes.cbegin(), bytes.cend());
    } catch (const Json::parse_error& failure) {
        Error error = dataCorruptedError(
            QStringLiteral("The data couldn't be read because it isn't in the correct format."));
        error.failureReason = QStringLiteral("The given data was not valid JSON: %1")
                                  .arg(jsonExceptionText(failure.what()));
        return std::unexpected(error);
    }
}

std::expected<QByteArray, Error> regularMemberContents(const FileWrapper& package,
                                                       const QString& name)
{
    const FileWrapper* member = package.member(name);
    if (member == nullptr)
        return std::unexpected(
            dataCorruptedError(QStringLiteral("File with name '%1' was not found").arg(name)));
    if (!member->regularFileContents())
        return std::unexpected(dataCorruptedError(QStringLiteral("Regular file contents was nil")));
    return *member->regularFileContents();
}

std::optional<QString> optionalString(const JsonObject& object, const char* key)
{
    if (!object.contains(key) || object.json().at(key).is_null())
        return std::nullopt;
    return object.string(key);
}

} // namespace qb
