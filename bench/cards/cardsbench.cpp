// SPDX-License-Identifier: GPL-3.0-or-later
// How fast card mode reads a shoot, on frames made here:
//  1. frames per second decoded from 24-megapixel JPEGs (6000 x 4000), once
//     scaled on decode and once from a 1600 px preview they carry, taken
//     out through long-lived exiftools;
//  2. a session of 2,000 frames with 100 cards, from the files to the
//     printed plan: capture times, decoding and the plan.
// Usage: qb_cards_bench [THREADS=2] [LARGE_FRAMES=12] [SESSION_FRAMES=2000] [CARDS=100]
#include "cardimages.h"

#include "cards/cardplanformat.h"
#include "cards/cardsession.h"
#include "cards/framepreviews.h"
#include "exif/stayopenexiftool.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimeZone>

#include <cstdio>

using namespace qb;
using namespace qb::testing;

namespace {

QByteArray jpegBytes(const QImage& image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", quality);
    return bytes;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Every fourth frame a card. The grain makes it compress as a camera's
// frame does, to some megabytes, rather than to a drawing's few hundred kB.
QImage frameImage(int i, int width, int height)
{
    QImage image = i % 4 == 0 ? cardFrame({{QStringLiteral("S-%1").arg(i)}}, i, width, height)
                              : sceneFrame(i % 3, width, height);
    addGrain(image, 10, i);
    return image;
}

// Decodes `paths` on `threads` threads; frames per second, and how many
// frames held a code.
std::pair<double, int> decodingRate(const std::shared_ptr<const BarcodeDecoder>& decoder,
                                    const QStringList& paths, int threads)
{
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    QElapsedTimer timer;
    timer.start();
    QFuture<FrameDecoding> future = decodeFrames(decoder, paths, &pool);
    future.waitForFinished();
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    int cards = 0;
    for (const FrameDecoding& decoding : future.results())
        cards += decoding && !decoding->empty();
    return {double(paths.size()) / seconds, cards};
}

bool runExiftool(const QStringList& arguments)
{
    QProcess exiftool;
    exiftool.start(installedExiftoolPath(), arguments);
    return exiftool.waitForFinished(-1) && exiftool.exitCode() == 0;
}

void benchDecoding(const QString& folder, int threads, int count)
{
    std::printf("Making %d frames of 6000 x 4000 (every fourth a card)...\n", count);
    QStringList plain;
    QStringList withPreview;
    for (int i = 0; i < count; ++i) {
        const QImage frame = frameImage(i, 6000, 4000);
        const QString path = folder + QStringLiteral("/large_%1.jpg").arg(i);
        const QString preview = folder + QStringLiteral("/large_%1_preview.jpg").arg(i);
        const QString carrier = folder + QStringLiteral("/large_%1_with_preview.jpg").arg(i);
        writeFile(path, jpegBytes(frame, 90));
        writeFile(preview, jpegBytes(frame.scaled(1600, 1067, Qt::IgnoreAspectRatio,
                                                  Qt::SmoothTransformation),
                                     75));
        QFile::copy(path, carrier);
        plain << path;
        withPreview << carrier;
        if (!runExiftool(
                {"-q", "-q", "-overwrite_original", "-ThumbnailImage<=" + preview, carrier}))
            std::printf("exiftool could not embed the preview in %s\n", qPrintable(carrier));
    }
    std::printf("  JPEG %.1f MB, its preview %.0f kB\n", QFileInfo(plain[0]).size() / 1e6,
                QFileInfo(folder + "/large_0_preview.jpg").size() / 1e3);

    const auto scaled = std::make_shared<BarcodeDecoder>(nullptr);
    decodingRate(scaled, plain.mid(0, 2), threads); // the page cache, the plugin
    const auto [scaledRate, scaledCards] = decodingRate(scaled, plain, threads);
    std::printf(
        "Decoding 24 MP JPEGs scaled on decode, %d threads: %.1f frames/s (%d cards read)\n",
        threads, scaledRate, scaledCards);

    std::vector<std::shared_ptr<ProcessRunner>> runners;
    for (int i = 0; i < threads; ++i)
        runners.push_back(std::make_shared<StayOpenExiftool>());
    const auto previews = std::make_shared<BarcodeDecoder>(
        std::make_shared<ExiftoolFramePreviews>(installedExiftoolPath(), runners),
        DecoderOptions{1600, true});
    decodingRate(previews, withPreview.mid(0, 2), threads); // starts the exiftools
    const auto [previewRate, previewCards] = decodingRate(previews, withPreview, threads);
    std::printf("Decoding 24 MP JPEGs from their 1600 px preview through exiftool, %d threads: "
                "%.1f frames/s (%d cards read)\n",
                threads, previewRate, previewCards);
}

void benchSession(const QString& folder, int threads, int frameCount, int cardCount)
{
    std::printf("Making a session of %d frames of 1600 x 1067 with %d cards...\n", frameCount,
                cardCount);
    std::vector<QByteArray> scenes;
    for (int i = 0; i < 5; ++i)
        scenes.push_back(jpegBytes(sceneFrame(i, 1600, 1067), 88));
    QStringList paths;
    QStringList keys;
    std::vector<CaptureStamp> stamps;
    const int every = frameCount / cardCount;
    const QDateTime start(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc());
    for (int i = 0; i < frameCount; ++i) {
        const QString path = folder + QStringLiteral("/IMG_%1.JPG").arg(i + 1, 4, 10, QChar('0'));
        const bool card = i % every == 0 && i / every < cardCount;
        const QString key = QString::number(1000 + i / every);
        if (card)
            keys << key;
        writeFile(path, card ? jpegBytes(cardFrame({{key}}, i, 1600, 1067), 88)
                             : scenes[size_t(i) % scenes.size()]);
        paths << path;
        stamps.push_back(
            {path, start.addSecs(i * 4).toString("yyyy:MM:dd HH:mm:ss"), QString::number(i % 100)});
    }
    stampCaptureTimes(stamps);

    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    QElapsedTimer timer;
    timer.start();
    const auto frames = readCardFrames(paths, ExifTool(installedExiftoolPath(), {}),
                                       std::make_shared<BarcodeDecoder>(nullptr), &pool);
    if (!frames) {
        std::printf("%s\n", qPrintable(frames.error().message()));
        return;
    }
    const double read = double(timer.nsecsElapsed()) / 1e9;
    const CardPlan plan = makeCardPlan(*frames, RowKeys(keys), {});
    const QString text = planText(plan);
    const double total = double(timer.nsecsElapsed()) / 1e9;
    std::printf("Session of %d frames, %d cards, %d threads: %.2f s from the files to the plan "
                "(%.2f s reading times and codes, %.3f s the plan and its text); %zu subjects, "
                "%lld rows without frames\n",
                frameCount, cardCount, threads, total, read, total - read, plan.subjects.size(),
                qlonglong(plan.rowsWithoutFrames.size()));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const auto argument = [&](int i, int fallback) {
        return argc > i ? QString::fromLocal8Bit(argv[i]).toInt() : fallback;
    };
    const int threads = argument(1, 2);
    QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    benchDecoding(folder.path(), threads, argument(2, 12));
    benchSession(folder.path(), threads, argument(3, 2000), argument(4, 100));
    return 0;
}
