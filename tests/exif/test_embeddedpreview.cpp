// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/embeddedpreview.h"

#include "exif/exiftool.h"
#include "exif/stayopenexiftool.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

using namespace qb;

namespace {

QByteArray jpegOfWidth(int width)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImage(width, width * 2 / 3, QImage::Format_RGB32).save(&buffer, "JPEG", 50);
    return bytes;
}

// Answers "-b -TAG -- path" with the image it holds for TAG, nothing for the
// others, as exiftool does; records the tags asked for.
class PreviewAnswers : public ProcessRunner {
public:
    ProcessRunResult run(const QString&, const QStringList& arguments) override
    {
        const QString tag = arguments.value(1).mid(1);
        asked << tag;
        if (failing)
            return std::unexpected(ProcessFailure{QStringLiteral("no exiftool here"), false});
        const auto it = images.find(tag);
        return ProcessOutcome{0, false, it == images.end() ? QByteArray() : it->second, {}};
    }
    qint64 commandLineLimit() const override { return 1 << 20; }

    std::map<QString, QByteArray> images;
    QStringList asked;
    bool failing = false;
};

TEST(EmbeddedPreview, takesTheFirstLargeEnoughElseTheLargestAskingNoFurther)
{
    struct Row {
        const char* name;
        std::map<QString, QByteArray> images;
        int longSide;
        int width; // of the preview read; 0 for none
        const char* asked;
    };
    const Row rows[] = {
        {"a screen's preview is enough",
         {{"PreviewImage", jpegOfWidth(1620)}, {"JpgFromRaw", jpegOfWidth(6000)}},
         1600,
         1620,
         "PreviewImage"},
        {"a small preview, then the full-size JPEG",
         {{"PreviewImage", jpegOfWidth(640)}, {"JpgFromRaw", jpegOfWidth(6000)}},
         1600,
         6000,
         "PreviewImage,JpgFromRaw"},
        {"none large enough: the largest",
         {{"PreviewImage", jpegOfWidth(640)}, {"ThumbnailImage", jpegOfWidth(160)}},
         1600,
         640,
         "PreviewImage,JpgFromRaw,OtherImage,ThumbnailImage"},
        {"any size: the first there is",
         {{"OtherImage", jpegOfWidth(300)}, {"ThumbnailImage", jpegOfWidth(160)}},
         0,
         300,
         "PreviewImage,JpgFromRaw,OtherImage"},
        {"a message is no picture",
         {{"PreviewImage", "Warning: bad PreviewImage"}},
         0,
         0,
         "PreviewImage,JpgFromRaw,OtherImage,ThumbnailImage"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PreviewAnswers exiftool;
        exiftool.images = row.images;
        const auto preview =
            readEmbeddedPreview(exiftool, QStringLiteral("exiftool"), "a.nef", row.longSide);
        ASSERT_TRUE(preview);
        EXPECT_EQ(preview->isEmpty() ? 0 : QImage::fromData(*preview).width(), row.width);
        EXPECT_EQ(exiftool.asked.join(','), QString::fromLatin1(row.asked));
    }
    PreviewAnswers missing;
    missing.failing = true;
    const auto failed = readEmbeddedPreview(missing, QStringLiteral("exiftool"), "a.nef", 1600);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error(), QStringLiteral("no exiftool here"));
}

// The real exiftool, kept running as the window keeps it, on a name that
// begins with a dash: the request must end, and the name stay a name.
TEST(EmbeddedPreview, aLongLivedExiftoolAnswersForANameBeginningWithADash)
{
    QTemporaryDir dir;
    const QString saved = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(dir.path()));
    QImage(2400, 1600, QImage::Format_RGB32).save("-frame.jpg", "JPEG", 50);
    QImage(600, 400, QImage::Format_RGB32).save("small.jpg", "JPEG", 50);
    QProcess embed;
    embed.start(installedExiftoolPath(),
                {"-q", "-q", "-overwrite_original", "-ThumbnailImage<=small.jpg", "./-frame.jpg"});
    ASSERT_TRUE(embed.waitForFinished(30000));
    StayOpenExiftool exiftool(std::chrono::seconds(20));
    const auto preview = readEmbeddedPreview(exiftool, installedExiftoolPath(), "-frame.jpg", 1600);
    QDir::setCurrent(saved);
    ASSERT_TRUE(preview) << preview.error().toStdString();
    EXPECT_EQ(QImage::fromData(*preview).width(), 600);
}

} // namespace
