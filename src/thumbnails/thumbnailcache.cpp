// SPDX-License-Identifier: GPL-3.0-or-later
#include "thumbnailcache.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>
#include <QStandardPaths>

#include <sys/stat.h>

namespace qb {

namespace {

const QString uriKey = QStringLiteral("Thumb::URI");
const QString mtimeKey = QStringLiteral("Thumb::MTime");
const QString sizeKey = QStringLiteral("Thumb::Size");
const QString mimeKey = QStringLiteral("Thumb::Mime");
// Our own key, on failure marks only: what the decoder said.
const QString reasonKey = QStringLiteral("Quillbrook::Reason");

// Seconds, as the cache keeps them; nothing for a file that isn't there.
std::optional<qint64> modificationTime(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return qint64(info.st_mtime);
}

QString folderName(ThumbnailCache::Flavour flavour)
{
    return flavour == ThumbnailCache::Flavour::large ? QStringLiteral("large")
                                                     : QStringLiteral("normal");
}

Error storeError(const QString& file, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("Quillbrook.ThumbnailCache");
    error.errorDescription =
        QStringLiteral("The thumbnail of \u201c%1\u201d couldn\u2019t be stored.")
            .arg(QFileInfo(file).fileName());
    error.failureReason = reason;
    return error;
}

} // namespace

ThumbnailCache::ThumbnailCache(QString root)
    : m_root(std::move(root))
{
}

QString ThumbnailCache::defaultRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/thumbnails");
}

QByteArray ThumbnailCache::uriOf(const QString& path)
{
    // GLib leaves letters, digits and these alone and escapes every other
    // byte of the name, so a name that isn't UTF-8 has a URI too.
    static const QByteArray kept = "!$&'()*+,-./:;=@_~";
    const QByteArray bytes = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    QByteArray uri = "file://";
    uri.reserve(uri.size() + bytes.size() * 3);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) && byte < 0x80)
            uri += c;
        else if (kept.contains(c))
            uri += c;
        else
            uri += '%' + QByteArray::number(byte, 16).toUpper().rightJustified(2, '0');
    }
    return uri;
}

QString ThumbnailCache::pathFor(const QString& file, Flavour flavour) const
{
    const QByteArray md5 = QCryptographicHash::hash(uriOf(file), QCryptographicHash::Md5).toHex();
    return m_root + QLatin1Char('/') + folderName(flavour) + QLatin1Char('/') +
           QString::fromLatin1(md5) + QStringLiteral(".png");
}

QString ThumbnailCache::failurePathFor(const QString& file) const
{
    const QByteArray md5 = QCryptographicHash::hash(uriOf(file), QCryptographicHash::Md5).toHex();
    return m_root + QStringLiteral("/fail/quillbrook-") + QCoreApplication::applicationVersion() +
           QLatin1Char('/') + QString::fromLatin1(md5) + QStringLiteral(".png");
}

std::optional<QImage> ThumbnailCache::find(const QString& file, Flavour flavour) const
{
    const QImage image(pathFor(file, flavour), "png");
    if (image.isNull() || !describes(image, file))
        return std::nullopt;
    return image;
}

bool ThumbnailCache::describes(const QImage& image, const QString& file)
{
    // Read from the decoded image: Qt's reader splits text keys at their
    // colon before that, and every key here has two.
    const std::optional<qint64> mtime = modificationTime(file);
    if (!mtime || image.text(uriKey).toLatin1() != uriOf(file) ||
        image.text(mtimeKey) != QString::number(*mtime))
        return false;
    const QString size = image.text(sizeKey);
    return size.isEmpty() || size == QString::number(QFileInfo(file).size());
}

std::expected<void, Error> ThumbnailCache::store(const QString& file, const QImage& image,
                                                 Flavour flavour, const QString& mimeType) const
{
    return write(file, image, pathFor(file, flavour), {{mimeKey, mimeType}});
}

std::optional<QString> ThumbnailCache::failure(const QString& file) const
{
    const QImage mark(failurePathFor(file), "png");
    if (mark.isNull() || !describes(mark, file))
        return std::nullopt;
    return mark.text(reasonKey);
}

void ThumbnailCache::storeFailure(const QString& file, const QString& reason) const
{
    QImage mark(1, 1, QImage::Format_ARGB32);
    mark.fill(Qt::transparent);
    // A failure that can't be remembered is only tried again next time.
    (void)write(file, mark, failurePathFor(file), {{reasonKey, reason}});
}

std::expected<void, Error>
ThumbnailCache::write(const QString& file, QImage image, const QString& destination,
                      const std::vector<std::pair<QString, QString>>& texts) const
{
    const std::optional<qint64> mtime = modificationTime(file);
    if (!mtime)
        return std::unexpected(storeError(file, QStringLiteral("The file is gone.")));
    const QString folder = QFileInfo(destination).path();
    if (!QDir().mkpath(folder))
        return std::unexpected(storeError(file, QStringLiteral("%1 can't be made.").arg(folder)));
    QFile::setPermissions(m_root, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    image.setText(uriKey, QString::fromLatin1(uriOf(file)));
    image.setText(mtimeKey, QString::number(*mtime));
    image.setText(sizeKey, QString::number(QFileInfo(file).size()));
    for (const auto& [key, text] : texts) {
        if (!text.isEmpty())
            image.setText(key, text);
    }
    image.setText(QStringLiteral("Software"), QStringLiteral("Quillbrook"));
    // QSaveFile writes beside the destination and renames it in, so a file
    // manager reading the cache never sees half a thumbnail.
    QSaveFile out(destination);
    if (!out.open(QIODevice::WriteOnly))
        return std::unexpected(storeError(file, out.errorString()));
    out.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    QImageWriter writer(&out, "png");
    if (!writer.write(image)) {
        out.cancelWriting();
        return std::unexpected(storeError(file, writer.errorString()));
    }
    if (!out.commit())
        return std::unexpected(storeError(file, out.errorString()));
    return {};
}

} // namespace qb
