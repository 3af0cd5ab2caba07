// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardimages.h"

#include "cards/barcodedecoder.h"
#include "cards/framepreviews.h"
#include "exif/exiftool.h"
#include "exif/stayopenexiftool.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;
using F = ZXing::BarcodeFormat;

namespace {

// The codes read, comma-separated, or which failure it was.
QString outcome(const FrameDecoding& decoding)
{
    if (!decoding)
        return decoding.error().code == int(FrameReadFailure::noEmbeddedPreview) ? "no preview"
                                                                                 : "unreadable";
    QStringList texts;
    for (const DecodedCode& code : *decoding)
        texts << code.text;
    return texts.join(',');
}

QByteArray jpegBytes(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

class FakePreviews : public FramePreviews {
public:
    std::expected<QByteArray, QString> preview(const QString& path, int) override
    {
        asked << path;
        return bytes;
    }
    QByteArray bytes;
    QStringList asked;
};

class Decoding : public ::testing::Test {
protected:
    QString save(const QImage& image, const QString& name, int quality = 90)
    {
        EXPECT_TRUE(saveJpeg(image, m_dir.filePath(name), quality));
        return m_dir.filePath(name);
    }
    QTemporaryDir m_dir;
};

TEST_F(Decoding, readsEveryLookOfCard)
{
    const struct {
        const char* name;
        CardLook look;
        int quality;
        const char* expected;
    } looks[] = {
        {"QR code", {{"1234"}}, 90, "1234"},
        {"small code", {{"S-1234"}, F::QRCode, 0.15}, 90, "S-1234"},
        {"turned and skewed", {{"1234"}, F::QRCode, 0.25, 90, 0.12}, 90, "1234"},
        {"Code 128 turned", {{"CARD1234"}, F::Code128, 0.4, 90, 0.05}, 90, "CARD1234"},
        {"blur and grain", {{"1234"}, F::QRCode, 0.2, 8, 0, 2, 40}, 90, "1234"},
        {"JPEG quality 60",
         {{"https://school.example/s?id=77"}, F::QRCode, 0.2},
         60,
         "https://school.example/s?id=77"},
        {"Data Matrix", {{"1234"}, F::DataMatrix, 0.15}, 80, "1234"},
        {"group of two", {{"1234", "5678"}}, 85, "1234,5678"},
        {"group of two Code 128", {{"A-1", "B-2"}, F::Code128, 0.3}, 85, "A-1,B-2"},
        {"no card", {}, 85, ""},
    };
    const BarcodeDecoder decoder(nullptr);
    for (const auto& row : looks) {
        SCOPED_TRACE(row.name);
        const QImage frame = row.look.texts.isEmpty() ? sceneFrame(3) : cardFrame(row.look, 3);
        EXPECT_EQ(outcome(decoder.decodeFile(save(frame, "frame.jpg", row.quality))), row.expected);
    }
    for (const char* name : {"frame.png", "frame.tif"}) {
        ASSERT_TRUE(cardFrame({{"1234"}}, 4, 2400, 1600).save(m_dir.filePath(name)));
        EXPECT_EQ(outcome(decoder.decodeFile(m_dir.filePath(name))), "1234") << name;
    }
}

TEST_F(Decoding, tellsUnreadableFramesFromFramesWithoutCode)
{
    const QString torn = save(cardFrame({{"1234"}}), "torn.jpg");
    QFile(torn).resize(300);
    const QString raw = m_dir.filePath("IMG_0001.CR3");
    QFile::copy(torn, raw); // never opened by us, only asked for its preview
    auto previews = std::make_shared<FakePreviews>();
    const struct {
        QString path;
        QByteArray preview;
        const char* expected;
    } rows[] = {
        {m_dir.filePath("missing.jpg"), {}, "unreadable"},
        {torn, {}, "unreadable"},
        {raw, {}, "no preview"},
        {raw, QByteArray("not a JPEG"), "unreadable"},
        {raw, jpegBytes(cardFrame({{"4321"}})), "4321"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path.toStdString());
        previews->bytes = row.preview;
        EXPECT_EQ(outcome(BarcodeDecoder(previews).decodeFile(row.path)), row.expected);
    }
    EXPECT_EQ(previews->asked, QStringList(3, raw));
}

// Frames decode off the calling thread, and a cancel leaves those not begun.
TEST_F(Decoding, cancellingStopsTheFramesNotBegun)
{
    class Blocking : public FramePreviews {
    public:
        std::expected<QByteArray, QString> preview(const QString&, int) override
        {
            entered.release();
            go.acquire();
            ++calls;
            return QByteArray();
        }
        QSemaphore entered, go;
        std::atomic<int> calls = 0;
    };
    auto source = std::make_shared<Blocking>();
    QStringList paths;
    for (int i = 0; i < 6; ++i) {
        paths << m_dir.filePath(QStringLiteral("IMG_%1.NEF").arg(i));
        QFile(paths.last()).open(QIODevice::WriteOnly);
    }
    QThreadPool pool;
    pool.setMaxThreadCount(1);
    QFuture<FrameDecoding> future =
        decodeFrames(std::make_shared<BarcodeDecoder>(source), paths, &pool);
    source->entered.acquire(); // the calling thread goes on while a frame decodes
    future.cancel();
    source->go.release(paths.size());
    future.waitForFinished();
    EXPECT_LT(source->calls, paths.size());
}

// The real exiftool, reading a card from the preview a large JPEG carries.
TEST_F(Decoding, decodesTheEmbeddedPreviewThroughExiftool)
{
    const QString path = save(sceneFrame(5, 2400, 1600), "large.jpg");
    const QString preview = save(cardFrame({{"P-55"}}, 5, 900, 600), "preview.jpg", 70);
    QProcess exiftool;
    exiftool.start(installedExiftoolPath(),
                   {"-q", "-q", "-overwrite_original", "-ThumbnailImage<=" + preview, path});
    ASSERT_TRUE(exiftool.waitForFinished(30000));
    auto source = std::make_shared<ExiftoolFramePreviews>(
        installedExiftoolPath(),
        std::vector<std::shared_ptr<ProcessRunner>>{std::make_shared<StayOpenExiftool>()});
    EXPECT_EQ(outcome(BarcodeDecoder(source, {1600, true}).decodeFile(path)), "P-55");
    EXPECT_EQ(outcome(BarcodeDecoder(source).decodeFile(path)), "");
}

} // namespace
