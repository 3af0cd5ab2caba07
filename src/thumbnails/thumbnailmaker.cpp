// SPDX-License-Identifier: GPL-3.0-or-later
#include "thumbnailmaker.h"

#include "exif/embeddedpreview.h"

#include <QBuffer>
#include <QImageReader>

namespace qb {

namespace {

std::expected<QImage, QString> decodeScaled(QImageReader& reader, int size)
{
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid() && (full.width() > size || full.height() > size))
        reader.setScaledSize(full.scaled(size, size, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return std::unexpected(reader.errorString());
    // A decoder without scaling hands the whole picture back.
    if (image.width() > size || image.height() > size)
        image = image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace

ThumbnailMaker::ThumbnailMaker(std::shared_ptr<ProcessRunner> runner, QString exiftool)
    : m_runner(std::move(runner))
    , m_exiftool(std::move(exiftool))
{
}

std::expected<QImage, QString> ThumbnailMaker::make(const QString& path, int size) const
{
    if (!isRawImagePath(path)) {
        QImageReader reader(path);
        return decodeScaled(reader, size);
    }
    if (!m_runner)
        return std::unexpected(QStringLiteral("Raw files need exiftool for their preview."));
    const std::expected<QByteArray, QString> preview =
        readEmbeddedPreview(*m_runner, m_exiftool, path, size);
    if (!preview)
        return std::unexpected(preview.error());
    if (preview->isEmpty())
        return std::unexpected(QStringLiteral("The raw file carries no preview."));
    QBuffer buffer;
    buffer.setData(*preview);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "jpeg");
    return decodeScaled(reader, size);
}

} // namespace qb
