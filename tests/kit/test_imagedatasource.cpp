// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/imagedatasource.h"

#include "../exif/fakeprocessrunner.h"

#include "exif/exiftool.h"
#include "extensions/log.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using Outcome = std::expected<QString, Error>;

class ImageDataSourceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        setPrintSink([this](const QString& text) { m_printed << text; });
    }
    void TearDown() override { setPrintSink({}); }

    // Each load's reader runs the fake at m_location, as it stands then.
    ImageDataSource source()
    {
        return ImageDataSource([this] {
            auto reader = std::make_unique<MetadataReader>(m_runner);
            reader->setVerbose(false); // no command-line trace among the messages
            reader->exiftool().setExiftoolLocation(m_location);
            return reader;
        });
    }
    void answer(const QByteArray& json) { m_runner->result = ProcessOutcome{0, false, json, {}}; }

    static Outcome load(ImageDataSource& source, const QList<QUrl>& urls)
    {
        std::optional<Outcome> outcome;
        source.loadImages(urls, [&](const Outcome& result) {
            EXPECT_FALSE(outcome.has_value()) << "completion called twice";
            outcome = result;
        });
        EXPECT_TRUE(outcome.has_value()) << "no completion";
        return outcome.value_or(std::unexpected(Error{}));
    }

    // The message, or the error's, so that either can be compared.
    static QString text(const Outcome& outcome)
    {
        return outcome ? *outcome : QStringLiteral("error: ") + outcome.error().message();
    }

    std::shared_ptr<qb::testing::FakeProcessRunner> m_runner =
        std::make_shared<qb::testing::FakeProcessRunner>();
    qb::testing::ExecutableFile m_executable;
    QString m_location = m_executable.path();
    QStringList m_printed;
};

TEST_F(ImageDataSourceTest, ReadsAllTagsAndStoresARowPerImageName)
{
    ImageDataSource images = source();
    EXPECT_EQ(images.matchingStyle(), FileNameDataSource::MatchingStyle::prefix);
    answer(R"([{"SourceFile": "/shots/A1.jpg", "EXIF:Make": "Canon", "File:FileSize": 1234},
               {"SourceFile": "/other/B2 %1.CR3", "XMP:Title": "Red"},
               {"EXIF:Make": "no source file"}])");
    const QList<QUrl> urls{QUrl::fromLocalFile("/shots/A1.jpg"),
                           QUrl::fromLocalFile("/other/B2 %1.CR3")};
    const Outcome outcome = load(images, urls);
    ASSERT_TRUE(outcome.has_value()) << outcome.error().message().toStdString();
    EXPECT_EQ(*outcome, "Imorted 2 images");

    ASSERT_EQ(m_runner->runs.size(), 1u);
    EXPECT_EQ(m_runner->runs[0].program, m_executable.path());
    EXPECT_EQ(m_runner->runs[0].arguments,
              QStringList({"-groupNames", "-json", "-ignoreMinorErrors", "-n", "/shots/A1.jpg",
                           "/other/B2 %1.CR3", "-overwrite_original"}));
    EXPECT_EQ(m_printed, QStringList({"Storing metadata for B2 %1. Metadata: 2",
                                      "Storing metadata for A1. Metadata: 3"}));
    const MetadataTable expected{
        {"A1", {{"SourceFile", "/shots/A1.jpg"}, {"EXIF:Make", "Canon"}, {"File:FileSize", 1234}}},
        {"B2 %1", {{"SourceFile", "/other/B2 %1.CR3"}, {"XMP:Title", "Red"}}},
    };
    EXPECT_EQ(images.metadata(), expected);
    EXPECT_EQ(images.keyNames(),
              QStringList({"EXIF:Make", "File:FileSize", "SourceFile", "XMP:Title"}));
}

TEST_F(ImageDataSourceTest, LoadsAddUpAndTheCountCoversTheWholeTable)
{
    ImageDataSource images = source();
    answer(R"([{"SourceFile": "/a/A1.jpg", "EXIF:Make": "Canon"},
               {"SourceFile": "/a/B2.jpg"}])");
    ASSERT_EQ(text(load(images, {})), "Imorted 2 images");
    // Another A1, in another folder with another extension, replaces the first.
    answer(R"([{"SourceFile": "/b/A1.tif", "EXIF:Make": "Nikon"},
               {"SourceFile": "/b/C3.jpg"}])");
    ASSERT_EQ(text(load(images, {})), "Imorted 3 images");
    EXPECT_EQ(images.keys(), QStringList({"A1", "B2", "C3"}));
    EXPECT_EQ(images.metadata().at("A1").at("EXIF:Make"), "Nikon");
    EXPECT_EQ(images.metadata().at("A1").at("SourceFile"), "/b/A1.tif");
    // An empty read still reports the table.
    answer("[]");
    EXPECT_EQ(text(load(images, {})), "Imorted 3 images");
}

TEST_F(ImageDataSourceTest, FailuresArePrintedAndLeaveTheTableAlone)
{
    const struct {
        const char* name;
        QString location;
        ProcessRunResult result;
    } rows[] = {
        {"exit status", {}, ProcessOutcome{1, false, {}, "Error: File not found - x.jpg\n"}},
        {"not JSON", {}, ProcessOutcome{0, false, "Warning: nonsense", {}}},
        {"no exiftool", "/nonexistent/bin/exiftool", ProcessOutcome{}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ImageDataSource images = source();
        m_location = m_executable.path();
        answer(R"([{"SourceFile": "/a/A1.jpg"}])");
        ASSERT_TRUE(load(images, {}).has_value());
        m_printed.clear();

        m_runner->result = row.result;
        if (!row.location.isEmpty())
            m_location = row.location;
        const Outcome outcome = load(images, {QUrl::fromLocalFile("/a/x.jpg")});
        ASSERT_FALSE(outcome.has_value());
        EXPECT_FALSE(outcome.error().errorDescription.isEmpty());
        EXPECT_EQ(m_printed, QStringList{outcome.error().message()});
        EXPECT_EQ(images.keys(), QStringList{"A1"});
    }
}

TEST_F(ImageDataSourceTest, ReadsJpegsWithTheRealExiftool)
{
    if (!QFileInfo(installedExiftoolPath()).isExecutable())
        GTEST_SKIP() << "exiftool is not installed";
    QTemporaryDir dir;
    QList<QUrl> urls;
    for (const char* name : {"shots/A1.jpg", "shots/B 2.jpg", "more/A1.jpeg"}) {
        const QString path = dir.filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QImage image(16, 8, QImage::Format_RGB32);
        image.fill(Qt::darkMagenta);
        ASSERT_TRUE(image.save(path, "JPEG")) << name;
        urls << QUrl::fromLocalFile(path);
    }
    ImageDataSource images; // the installed exiftool, as the application uses it
    const Outcome outcome = load(images, urls);
    ASSERT_TRUE(outcome.has_value()) << outcome.error().message().toStdString();
    EXPECT_EQ(*outcome, "Imorted 2 images"); // the two A1 images make one row
    ASSERT_EQ(images.keys(), QStringList({"A1", "B 2"}));

    const MetadataRow& row = images.metadata().at("B 2");
    EXPECT_EQ(row.at("SourceFile"), dir.filePath("shots/B 2.jpg"));
    EXPECT_EQ(row.at("File:FileName"), "B 2.jpg");
    EXPECT_EQ(row.at("File:ImageWidth"), 16); // numbers come without print conversion
    EXPECT_TRUE(images.keyNames().contains("File:MIMEType"));
    EXPECT_TRUE(m_printed.contains(
        QStringLiteral("Storing metadata for B 2. Metadata: %1").arg(row.size())));
    // The image data source matches by prefix: "A1_crop" takes A1's row.
    EXPECT_EQ(images.metadataForImage(QUrl::fromLocalFile("/x/A1_crop.tif")).size(),
              images.metadata().at("A1").size());
}

} // namespace
