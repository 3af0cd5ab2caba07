// SPDX-License-Identifier: GPL-3.0-or-later
#include "bookmarkurl.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

#include <optional>

namespace qb {

namespace {

struct FileIdentity {
    qint64 device = 0;
    qint64 inode = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

std::optional<FileIdentity> identityOf(const QString& path)
{
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return FileIdentity{qint64(status.st_dev), qint64(status.st_ino)};
}

Error bookmarkError(const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.BookmarkURL");
    error.code = 1;
    error.errorDescription = QStringLiteral("The file reference could not be resolved.");
    error.failureReason = reason;
    return error;
}

std::expected<Json, Error> decodePayload(const QString& bookmarkData)
{
    const auto decoded = QByteArray::fromBase64Encoding(bookmarkData.toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || bookmarkData.isEmpty())
        return std::unexpected(bookmarkError(QStringLiteral("The bookmark is not base64 text.")));
    const Json payload = Json::parse(decoded.decoded.cbegin(), decoded.decoded.cend(), nullptr,
                                     /*allow_exceptions=*/false);
    if (!payload.is_object() || !payload.contains("path") || !payload.at("path").is_string())
        return std::unexpected(bookmarkError(QStringLiteral("The bookmark is damaged.")));
    return payload;
}

std::optional<FileIdentity> recordedIdentity(const Json& payload)
{
    const auto device = payload.find("device");
    const auto inode = payload.find("inode");
    if (device == payload.end() || inode == payload.end() || !device->is_number_integer() ||
        !inode->is_number_integer())
        return std::nullopt;
    return FileIdentity{device->get<qint64>(), inode->get<qint64>()};
}

} // namespace

std::expected<QString, Error> BookmarkURL::bookmarkData() const
{
    if (!url.isLocalFile())
        return std::unexpected(
            bookmarkError(QStringLiteral("“%1” is not a file URL.").arg(url.toDisplayString())));
    const QString path = QFileInfo(url.toLocalFile()).absoluteFilePath();
    const std::optional<FileIdentity> identity = identityOf(path);
    if (!identity)
        return std::unexpected(
            bookmarkError(QStringLiteral("There is no file at “%1”.").arg(path)));
    Json payload = Json::object();
    payload["path"] = qb::toJson(path);
    payload["device"] = identity->device;
    payload["inode"] = identity->inode;
    return QString::fromLatin1(QByteArray::fromStdString(payload.dump()).toBase64());
}

std::expected<BookmarkURL::Resolution, Error> BookmarkURL::resolve(const QString& bookmarkData,
                                                                   const QString& relativeTo)
{
    const auto payload = decodePayload(bookmarkData);
    if (!payload)
        return std::unexpected(payload.error());
    const QString recorded = fromJsonString(payload->at("path"));
    if (recorded.isEmpty())
        return std::unexpected(bookmarkError(QStringLiteral("The bookmark names no file.")));
    QString path = recorded;
    if (QDir::isRelativePath(recorded)) {
        if (relativeTo.isEmpty())
            return std::unexpected(bookmarkError(
                QStringLiteral("The relative path “%1” has no document folder to start from.")
                    .arg(recorded)));
        path = QDir(relativeTo).absoluteFilePath(recorded);
    }
    path = QDir::cleanPath(path);
    const std::optional<FileIdentity> found = identityOf(path);
    if (!found)
        return std::unexpected(
            bookmarkError(QStringLiteral("There is no file at “%1”.").arg(path)));
    const std::optional<FileIdentity> expected = recordedIdentity(*payload);
    return Resolution{QUrl::fromLocalFile(path), expected.has_value() && *expected != *found};
}

std::expected<Json, Error> BookmarkURL::toJson() const
{
    const auto data = bookmarkData();
    if (!data)
        return std::unexpected(data.error());
    return qb::toJson(*data);
}

BookmarkURL BookmarkURL::fromJson(const Json& json, const QString& path, const QString& relativeTo)
{
    if (!json.is_string())
        throw JsonDecodeFailure(
            path, QStringLiteral("expected a string, found %1").arg(jsonKindName(json)));
    const auto resolution = resolve(fromJsonString(json), relativeTo);
    if (!resolution) {
        QString reason = resolution.error().failureReason;
        if (reason.endsWith(QLatin1Char('.')))
            reason.chop(1);
        if (!reason.isEmpty())
            reason[0] = reason[0].toLower();
        throw JsonDecodeFailure(path, reason);
    }
    return BookmarkURL(resolution->url);
}

} // namespace qb
