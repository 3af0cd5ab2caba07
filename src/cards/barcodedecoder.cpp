// SPDX-License-Identifier: GPL-3.0-or-later
#include "barcodedecoder.h"

#include "framepreviews.h"

#include "exif/embeddedpreview.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QPolygonF>
#include <QSet>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentMap>

#include <ZXing/ReadBarcode.h>

#include <algorithm>

namespace qb {

namespace {

// A code found, with the vertical extent it takes, for the reading order.
struct Found {
    DecodedCode code;
    double top = 0;
    double bottom = 0;
};

using Formats = ZXing::BarcodeFormats;
using ZXing::BarcodeFormat;

// Two-dimensional codes, which zxing finds all of in one search.
const Formats matrixFormats = BarcodeFormat::QRCode | BarcodeFormat::DataMatrix |
                              BarcodeFormat::Aztec | BarcodeFormat::PDF417;
const Formats linearFormats = BarcodeFormat::Code39 | BarcodeFormat::Code128 | BarcodeFormat::EAN8 |
                              BarcodeFormat::EAN13 | BarcodeFormat::UPCA | BarcodeFormat::UPCE |
                              BarcodeFormat::ITF;
// Linear codes are read one at a time, their area blanked between reads:
// zxing 1.4 asserts, and so ends the process, when its search for several
// symbols finds one linear code on more than one line.
constexpr int maximumLinearCodes = 4;

ZXing::DecodeHints hints(Formats formats)
{
    return ZXing::DecodeHints()
        .setFormats(formats)
        .setTryHarder(true)
        .setTryRotate(true)
        .setTryDownscale(true);
}

ZXing::ImageView viewOf(const QImage& grey)
{
    return {grey.constBits(), grey.width(), grey.height(), ZXing::ImageFormat::Lum,
            int(grey.bytesPerLine())};
}

QPolygonF cornersOf(const ZXing::Result& result)
{
    QPolygonF corners;
    for (const ZXing::PointI& corner : result.position())
        corners << QPointF(corner.x, corner.y);
    return corners;
}

// Covers a linear code with white, reaching across its bars as far as the
// code is long (its position is only the lines it was read on), but not
// along them, where a second code may sit beside it.
void blank(QImage& grey, const QPolygonF& corners)
{
    const QRectF box = corners.boundingRect();
    const QPointF along = corners.value(1) - corners.value(0);
    const bool horizontal = std::abs(along.x()) >= std::abs(along.y());
    const double length = horizontal ? box.width() : box.height();
    const double reach = length * 0.6;
    const double margin = length * 0.05;
    QPainter painter(&grey);
    painter.fillRect(horizontal ? box.adjusted(-margin, -reach, margin, reach)
                                : box.adjusted(-reach, -margin, reach, margin),
                     Qt::white);
}

// The codes in a greyscale image; `toFrame` maps a point of this image to
// the frame's own coordinates, as fractions of its size.
std::vector<Found> readCodes(const QImage& grey, const std::function<QPointF(QPointF)>& toFrame)
{
    std::vector<Found> found;
    const auto add = [&](const ZXing::Result& result) {
        double top = 1;
        double bottom = 0;
        QPointF sum;
        for (const QPointF& corner : cornersOf(result)) {
            const QPointF point = toFrame(corner);
            top = std::min(top, point.y());
            bottom = std::max(bottom, point.y());
            sum += point;
        }
        found.push_back(
            {DecodedCode{QString::fromStdString(result.text()),
                         QString::fromLatin1(ZXing::ToString(result.format())), sum / 4.0},
             top, bottom});
    };
    for (const ZXing::Result& result : ZXing::ReadBarcodes(viewOf(grey), hints(matrixFormats))) {
        if (result.isValid())
            add(result);
    }
    QImage rest = grey;
    QStringList linear;
    for (int i = 0; i < maximumLinearCodes; ++i) {
        const ZXing::Result result = ZXing::ReadBarcode(viewOf(rest), hints(linearFormats));
        const QString text = QString::fromStdString(result.text());
        if (!result.isValid() || linear.contains(text))
            break;
        linear << text;
        add(result);
        blank(rest, cornersOf(result));
    }
    return found;
}

// Top to bottom by lines, left to right within a line. A code belongs to
// the line above when its centre lies within that line's height, so that two
// codes side by side on one card read left to right even when one sits a
// little lower.
std::vector<DecodedCode> inReadingOrder(std::vector<Found> found)
{
    std::ranges::sort(found, {}, [](const Found& f) { return f.code.centre.y(); });
    std::vector<std::vector<Found>> lines;
    for (Found& f : found) {
        if (!lines.empty()) {
            const Found& first = lines.back().front();
            if (f.code.centre.y() <= first.bottom) {
                lines.back().push_back(std::move(f));
                continue;
            }
        }
        lines.push_back({std::move(f)});
    }
    std::vector<DecodedCode> codes;
    QSet<QString> seen;
    for (std::vector<Found>& line : lines) {
        std::ranges::sort(line, {}, [](const Found& f) { return f.code.centre.x(); });
        for (Found& f : line) {
            // Two passes, or a code seen in two rotations, report it twice.
            const QString identity = f.code.format + QChar(0) + f.code.text;
            if (!seen.contains(identity)) {
                seen.insert(identity);
                codes.push_back(std::move(f.code));
            }
        }
    }
    return codes;
}

// The size to decode an image of `size` at. A JPEG decodes at n/8 of its
// size at a fraction of the cost, so it is taken at the smallest such size
// no shorter than three quarters of `longSide`: any other size is decoded
// larger and then scaled, which costs a quarter more for a 24 MP frame.
QSize decodingSize(QSize size, int longSide, bool jpeg)
{
    const int side = std::max(size.width(), size.height());
    if (side <= longSide)
        return size;
    if (!jpeg)
        return size.scaled(longSide, longSide, Qt::KeepAspectRatio);
    int eighths = 1;
    while (eighths < 8 && side * eighths < longSide * 6)
        ++eighths;
    const auto scaled = [eighths](int length) {
        return (length * eighths + 7) / 8;
    };
    return {scaled(size.width()), scaled(size.height())};
}

std::expected<QImage, QString> readScaled(QImageReader& reader, int longSide)
{
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid())
        reader.setScaledSize(decodingSize(size, longSide, reader.format() == "jpeg"));
    QImage image = reader.read();
    if (image.isNull())
        return std::unexpected(reader.errorString());
    return image;
}

} // namespace

std::vector<DecodedCode> decodeCodes(const QImage& image)
{
    if (image.isNull())
        return {};
    const QImage grey = image.convertToFormat(QImage::Format_Grayscale8);
    const double width = grey.width();
    const double height = grey.height();
    // No second search in the frame turned by 90°: matrix codes are found
    // in any orientation and tryRotate turns the linear ones, so on 192
    // cards turned and skewed every way it read one more (a badly sheared
    // Aztec), while it doubled the time of every frame without a card,
    // which is most of a session.
    std::vector<Found> found =
        readCodes(grey, [&](QPointF p) { return QPointF(p.x() / width, p.y() / height); });
    return inReadingOrder(std::move(found));
}

Error frameReadError(FrameReadFailure failure, const QString& path, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.CardFrame");
    error.code = int(failure);
    error.errorDescription = QStringLiteral("\u201c%1\u201d could not be read for a card.")
                                 .arg(QFileInfo(path).fileName());
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

BarcodeDecoder::BarcodeDecoder(std::shared_ptr<FramePreviews> previews, DecoderOptions options)
    : m_previews(std::move(previews))
    , m_options(options)
{
}

FrameDecoding BarcodeDecoder::decodeFile(const QString& path) const
{
    std::expected<QImage, Error> frame = loadFrame(path);
    if (!frame)
        return std::unexpected(frame.error());
    return decodeCodes(*frame);
}

std::expected<QImage, Error> BarcodeDecoder::loadFrame(const QString& path) const
{
    if (!QFileInfo(path).isFile())
        return std::unexpected(frameReadError(FrameReadFailure::unreadableFile, path,
                                              QStringLiteral("There is no file at %1.").arg(path)));
    const bool raw = isRawImagePath(path);
    if (raw || (m_options.preferEmbeddedPreview && m_previews)) {
        std::expected<QImage, Error> preview = loadPreview(path);
        if (preview || raw)
            return preview;
    }
    QImageReader reader(path);
    const bool known = reader.canRead();
    std::expected<QImage, QString> image = readScaled(reader, m_options.longSide);
    if (image)
        return *image;
    // A format Qt doesn't know (HEIF, a raw under an odd name) may still
    // carry a preview.
    if (!known && m_previews && !m_options.preferEmbeddedPreview) {
        if (std::expected<QImage, Error> preview = loadPreview(path))
            return preview;
    }
    return std::unexpected(frameReadError(FrameReadFailure::unreadableFile, path, image.error()));
}

std::expected<QImage, Error> BarcodeDecoder::loadPreview(const QString& path) const
{
    if (!m_previews)
        return std::unexpected(frameReadError(
            FrameReadFailure::noEmbeddedPreview, path,
            QStringLiteral("Embedded previews are not read here, and a raw file is never "
                           "decoded in full.")));
    const auto preview = m_previews->preview(path, m_options.longSide);
    if (!preview)
        return std::unexpected(
            frameReadError(FrameReadFailure::unreadableFile, path, preview.error()));
    if (preview->isEmpty())
        return std::unexpected(frameReadError(
            FrameReadFailure::noEmbeddedPreview, path,
            QStringLiteral("The file holds no embedded preview, and a raw file is never "
                           "decoded in full.")));
    QBuffer buffer;
    buffer.setData(*preview);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    std::expected<QImage, QString> image = readScaled(reader, m_options.longSide);
    if (!image)
        return std::unexpected(frameReadError(
            FrameReadFailure::unreadableFile, path,
            QStringLiteral("Its embedded preview is damaged: %1").arg(image.error())));
    return *image;
}

QFuture<FrameDecoding> decodeFrames(std::shared_ptr<const BarcodeDecoder> decoder,
                                    const QStringList& paths, QThreadPool* pool)
{
    // The lambda holds the decoder, and QtConcurrent holds the lambda and
    // its own copy of the paths until the last frame is done.
    return QtConcurrent::mapped(
        pool ? pool : QThreadPool::globalInstance(), QStringList(paths),
        [decoder = std::move(decoder)](const QString& path) { return decoder->decodeFile(path); });
}

} // namespace qb
