// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardimages.h"

#include "cards/barcodedecoder.h"
#include "cards/embeddedpreview.h"
#include "exif/exiftool.h"
#include "exif/stayopenexiftool.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;
using F = ZXing::BarcodeFormat;

namespace {

QStringList texts(const FrameDecoding& decoding)
{
    QStringList result;
    for (const DecodedCode& code : decoding.value_or(std::vector<DecodedCode>()))
        result << code.text;
    return result;
}

QByteArray jpegBytes(const QImage& image, int quality = 85)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", quality);
    return bytes;
}

// Hands out one preview, or none, for every file.
class FakePreviews : public PreviewSource {
public:
    std::expected<std::optional<QByteArray>, Error> preview(const QString& path, int) override
    {
        asked << path;
        return bytes;
    }
    std::optional<QByteArray> bytes;
    QStringList asked;
};

struct Look {
    const char* name;
    CardLook look;
    int quality;
    QStringList expected;
};

class DecodingTest : public ::testing::Test {
protected:
    QString save(const QImage& image, const QString& name, int quality = 90)
    {
        const QString path = m_dir.filePath(name);
        EXPECT_TRUE(saveJpeg(image, path, quality));
        return path;
    }
    QTemporaryDir m_dir;
};

TEST_F(DecodingTest, readsEveryLookOfCard)
{
    const std::vector<Look> looks{
        {"QR code", {{"1234"}}, 90, {"1234"}},
        {"small code", {{"S-1234"}, F::QRCode, 0.15}, 90, {"S-1234"}},
        {"turned and skewed", {{"1234"}, F::QRCode, 0.25, 90, 0.12}, 90, {"1234"}},
        {"Code 128 turned", {{"CARD1234"}, F::Code128, 0.4, 90, 0.05}, 90, {"CARD1234"}},
        {"blur and grain", {{"1234"}, F::QRCode, 0.2, 8, 0, 2, 40}, 90, {"1234"}},
        {"JPEG quality 60",
         {{"https://school.example/s?id=77"}, F::QRCode, 0.2},
         60,
         {"https://school.example/s?id=77"}},
        {"Data Matrix", {{"1234"}, F::DataMatrix, 0.15}, 80, {"1234"}},
        {"group of two", {{"1234", "5678"}}, 85, {"1234", "5678"}},
        {"group of two Code 128", {{"A-1", "B-2"}, F::Code128, 0.3}, 85, {"A-1", "B-2"}},
        {"no card", {}, 85, {}},
    };
    const BarcodeDecoder decoder(nullptr);
    for (const Look& row : looks) {
        SCOPED_TRACE(row.name);
        const QImage frame = row.look.texts.isEmpty() ? sceneFrame(3) : cardFrame(row.look, 3);
        const FrameDecoding decoded = decoder.decodeFile(save(frame, "frame.jpg", row.quality));
        ASSERT_TRUE(decoded.has_value()) << decoded.error().message().toStdString();
        EXPECT_EQ(texts(decoded), row.expected);
    }
}

TEST_F(DecodingTest, tellsUnreadableFramesFromFramesWithoutCode)
{
    QFile damaged(m_dir.filePath("damaged.jpg"));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write(jpegBytes(cardFrame({{"1234"}})).left(300));
    damaged.close();
    const QString raw = m_dir.filePath("IMG_0001.CR3");
    QFile(damaged.fileName()).copy(raw); // never opened by us, only asked for its preview

    auto previews = std::make_shared<FakePreviews>();
    const BarcodeDecoder decoder(previews);
    const struct {
        QString path;
        std::optional<QByteArray> preview;
        std::optional<FrameReadFailure> failure;
        QStringList codes;
    } rows[] = {
        {m_dir.filePath("missing.jpg"), {}, FrameReadFailure::unreadableFile, {}},
        {damaged.fileName(), {}, FrameReadFailure::unreadableFile, {}},
        {raw, {}, FrameReadFailure::noEmbeddedPreview, {}},
        {raw, QByteArray("not a JPEG"), FrameReadFailure::unreadableFile, {}},
        {raw, jpegBytes(cardFrame({{"4321"}})), {}, {"4321"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path.toStdString());
        previews->bytes = row.preview;
        const FrameDecoding decoded = decoder.decodeFile(row.path);
        if (row.failure) {
            ASSERT_FALSE(decoded.has_value());
            EXPECT_EQ(decoded.error().code, int(*row.failure));
            EXPECT_FALSE(decoded.error().failureReason.isEmpty());
        } else {
            EXPECT_EQ(texts(decoded), row.codes);
        }
    }
    EXPECT_FALSE(previews->asked.contains(damaged.fileName())) << "a JPEG is decoded itself";
}

TEST_F(DecodingTest, choosesThePreviewClosestAboveTheDecodingSize)
{
    const auto json = [](std::initializer_list<std::pair<const char*, int>> images) {
        QByteArray object = "[{\"SourceFile\": \"a.nef\"";
        for (const auto& [tag, side] : images)
            object += QByteArray(", \"") + tag + "\": \"base64:" +
                      jpegBytes(QImage(side, side * 2 / 3, QImage::Format_RGB32)).toBase64() + "\"";
        return object + "}]";
    };
    const struct {
        QByteArray answer;
        int expectedSide; // 0: none
    } rows[] = {
        {json({{"JpgFromRaw", 6000}, {"PreviewImage", 1620}, {"ThumbnailImage", 160}}), 1620},
        {json({{"PreviewImage", 640}, {"ThumbnailImage", 160}}), 640},
        {json({{"JpgFromRaw", 6000}, {"OtherImage", 2000}}), 2000},
        {json({}), 0},
    };
    for (const auto& row : rows) {
        const auto chosen = choosePreview(row.answer, 1600);
        ASSERT_TRUE(chosen.has_value());
        const QImage image = chosen->has_value() ? QImage::fromData(**chosen) : QImage();
        EXPECT_EQ(image.isNull() ? 0 : image.width(), row.expectedSide);
    }
    EXPECT_FALSE(choosePreview("Error: not JSON", 1600).has_value());
}

// The real exiftool, reading a card from the preview a large JPEG carries.
TEST_F(DecodingTest, decodesTheEmbeddedPreviewThroughExiftool)
{
    const QString path = save(sceneFrame(5, 2400, 1600), "large.jpg");
    const QString preview = save(cardFrame({{"P-55"}}, 5, 900, 600), "preview.jpg", 70);
    QProcess exiftool;
    exiftool.start(installedExiftoolPath(),
                   {"-q", "-q", "-overwrite_original", "-ThumbnailImage<=" + preview, path});
    ASSERT_TRUE(exiftool.waitForFinished(30000));
    auto source = std::make_shared<ExiftoolPreviewSource>(
        installedExiftoolPath(),
        std::vector<std::shared_ptr<ProcessRunner>>{std::make_shared<StayOpenExiftool>()});
    EXPECT_EQ(texts(BarcodeDecoder(source, {1600, true}).decodeFile(path)), QStringList{"P-55"});
    EXPECT_EQ(texts(BarcodeDecoder(source).decodeFile(path)), QStringList());
}

TEST_F(DecodingTest, decodesManyFramesInTheirOrder)
{
    QStringList paths;
    for (int i = 0; i < 6; ++i)
        paths << save(i % 2 ? sceneFrame(i) : cardFrame({{QString::number(i)}}, i),
                      QStringLiteral("f%1.jpg").arg(i));
    paths << m_dir.filePath("gone.jpg");
    QThreadPool pool;
    pool.setMaxThreadCount(2);
    QFuture<FrameDecoding> future =
        decodeFrames(std::make_shared<BarcodeDecoder>(nullptr), paths, &pool);
    future.waitForFinished();
    const QList<FrameDecoding> results = future.results();
    ASSERT_EQ(results.size(), paths.size());
    const QStringList expected{"0", "", "2", "", "4", ""};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(texts(results[i]).join(','), expected[i]) << i;
    EXPECT_FALSE(results.last().has_value());
}

} // namespace
