// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardimages.h"

#include "exif/exiftool.h"

#include <QDateTime>
#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryFile>

#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

namespace qb::testing {

namespace {

QImage codeImage(const QString& text, ZXing::BarcodeFormat format, int width)
{
    const bool linear = ZXing::BarcodeFormats(ZXing::BarcodeFormat::LinearCodes).testFlag(format);
    const ZXing::BitMatrix matrix = ZXing::MultiFormatWriter(format).setMargin(0).encode(
        text.toStdString(), width, linear ? width / 3 : width);
    QImage image(matrix.width(), matrix.height(), QImage::Format_Grayscale8);
    for (int y = 0; y < matrix.height(); ++y) {
        uchar* line = image.scanLine(y);
        for (int x = 0; x < matrix.width(); ++x)
            line[x] = matrix.get(x, y) ? 0 : 255;
    }
    return image;
}

void blur(QImage& image, int radius)
{
    const QSize size = image.size();
    image = image.scaled(size / (radius + 1), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

QImage sceneFrame(int seed, int width, int height)
{
    QRandomGenerator random{quint32(seed)};
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, width * 0.3, height);
    sky.setColorAt(0, QColor::fromHsv(random.bounded(360), 60, 230));
    sky.setColorAt(1, QColor::fromHsv(random.bounded(360), 120, 70));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 12; ++i) {
        painter.setBrush(
            QColor::fromHsv(random.bounded(360), random.bounded(256), random.bounded(256)));
        const QRectF shape(random.bounded(width), random.bounded(height),
                           width * 0.05 + random.bounded(width / 4),
                           height * 0.05 + random.bounded(height / 4));
        i % 2 ? painter.drawEllipse(shape) : painter.drawRect(shape);
    }
    return image;
}

QImage cardFrame(const CardLook& look, int seed, int width, int height)
{
    QImage image = sceneFrame(seed, width, height);
    const int codeSide = int(look.codeWidth * width);
    std::vector<QImage> codes;
    for (const QString& text : look.texts)
        codes.push_back(codeImage(text, look.format, codeSide));
    const int gap = codeSide / 3;
    const int cardWidth = int(codes.size()) * (codeSide + gap) + gap;
    const int cardHeight = codes.front().height() + 2 * gap;

    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(width / 2.0, height / 2.0);
    painter.rotate(look.turn);
    painter.shear(look.skew, 0);
    painter.translate(-cardWidth / 2.0, -cardHeight / 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(248, 248, 244));
    painter.drawRoundedRect(QRectF(0, 0, cardWidth, cardHeight), gap / 4.0, gap / 4.0);
    for (size_t i = 0; i < codes.size(); ++i)
        painter.drawImage(QPointF(gap + double(i) * (codeSide + gap), gap), codes[i]);
    painter.end();
    if (look.blur > 0)
        blur(image, look.blur);
    addGrain(image, look.noise, seed);
    return image;
}

void addGrain(QImage& image, int amount, int seed)
{
    if (amount <= 0)
        return;
    image = image.convertToFormat(QImage::Format_RGB32);
    QRandomGenerator random{quint32(seed)};
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int grain = random.bounded(2 * amount + 1) - amount;
            const auto add = [grain](int v) {
                return std::clamp(v + grain, 0, 255);
            };
            line[x] = qRgb(add(qRed(line[x])), add(qGreen(line[x])), add(qBlue(line[x])));
        }
    }
}

bool saveJpeg(const QImage& image, const QString& path, int quality)
{
    return image.save(path, "JPEG", quality);
}

bool stampCaptureTimes(const std::vector<CaptureStamp>& stamps)
{
    // One exiftool for all files: each file's arguments end in -execute.
    QTemporaryFile arguments;
    if (!arguments.open())
        return false;
    for (const CaptureStamp& stamp : stamps) {
        QStringList lines{"-overwrite_original", "-DateTimeOriginal=" + stamp.dateTime};
        if (!stamp.subSeconds.isEmpty())
            lines << "-SubSecTimeOriginal=" + stamp.subSeconds;
        lines << stamp.path << "-execute";
        for (const QString& line : lines)
            arguments.write(exiftoolArgumentLine(line));
    }
    arguments.flush();
    QProcess exiftool;
    exiftool.start(installedExiftoolPath(), {"-q", "-@", arguments.fileName()});
    return exiftool.waitForFinished(60000) && exiftool.exitCode() == 0;
}

QStringList shoot(const QString& folder, const std::vector<Shot>& shots, qint64 clockOff, int width,
                  int height)
{
    const QString format = QStringLiteral("yyyy:MM:dd HH:mm:ss");
    QDir().mkpath(folder);
    QStringList paths;
    std::vector<CaptureStamp> stamps;
    for (size_t i = 0; i < shots.size(); ++i) {
        const QString path =
            folder + QStringLiteral("/IMG_%1.JPG").arg(i + 1, 4, 10, QLatin1Char('0'));
        const CardLook& card = shots[i].card;
        QImage frame = card.texts.isEmpty() ? sceneFrame(int(i), width, height)
                                            : cardFrame(card, int(i), width, height);
        addGrain(frame, shots[i].grain, int(i));
        if (!saveJpeg(frame, path))
            return {};
        paths << path;
        if (!shots[i].time.isEmpty())
            stamps.push_back({path,
                              QDateTime::fromString("2024:05:01 " + shots[i].time, format)
                                  .addSecs(clockOff)
                                  .toString(format),
                              shots[i].subSeconds});
    }
    return stampCaptureTimes(stamps) ? paths : QStringList();
}

std::vector<Shot> schoolShoot()
{
    using F = ZXing::BarcodeFormat;
    return {
        {{}, "10:00:00"},
        {{{"1234"}}, "10:00:10"},
        {{}, "10:00:20", "5"}, // a burst within one second, out of name order
        {{}, "10:00:20", "07"},
        {{}, "10:00:20", "45"},
        {{{"1235"}, F::DataMatrix, 0.15, 0, 0, 1, 10}, "10:01:00"},
        {{}, ""},
        {{}, "10:01:10"},
        {{{"9999"}}, "10:02:00"},
        {{}, "10:02:10"},
        {{{"1236", "1237"}}, "10:03:00"},
        {{}, "10:03:10"},
        {{}, "10:09:00"},
        {{{"1238"}, F::QRCode, 0.03, 0, 0, 4}, "10:10:00"}, // small and blurred past reading
        {{}, "10:10:10"},
    };
}

} // namespace qb::testing
