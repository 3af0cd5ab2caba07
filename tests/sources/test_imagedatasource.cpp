// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/imagedatasource.h"

#include "../support/testsupport.h"

#include "exif/exiftool.h"
#include "extensions/log.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using Outcome = std::expected<QString, Error>;

class ImageDataSourceTest : public qb::testing::FileTree {
protected:
    void SetUp() override
    {
        setPrintSink([this](const QString& text) { m_printed << text; });
    }
    void TearDown() override { setPrintSink({}); }

    // Each load's reader runs the fake, with the exiftool at m_location as it stands then.
    ImageDataSource source()
    {
        return ImageDataSource([this] {
            auto reader = std::make_unique<MetadataReader>(m_runner);
            reader->setVerbose(false); // no command-line trace among the messages
            reader->exiftool().setExiftoolLocation(m_location);
            return reader;
        });
    }
    void answer(const QByteArray& json) { m_runner->outcome = ProcessOutcome{0, false, json, {}}; }

    static Outcome load(ImageDataSource& source, const QList<QUrl>& urls = {})
    {
        std::optional<Outcome> outcome;
        source.loadImages(urls, [&](const Outcome& result) {
            EXPECT_FALSE(outcome.has_value()) << "completion called twice";
            outcome = result;
        });
        EXPECT_TRUE(outcome.has_value()) << "no completion";
        return outcome.value_or(std::unexpected(Error{}));
    }

    std::shared_ptr<qb::testing::FakeExiftool> m_runner =
        std::make_shared<qb::testing::FakeExiftool>();
    QString m_location = QStringLiteral("/bin/true"); // exists; the fake runs instead
    QStringList m_printed;
};

TEST_F(ImageDataSourceTest, ReadsAllTagsAndStoresARowPerImageName)
{
    ImageDataSource images = source();
    answer(R"([{"SourceFile": "/shots/A1.jpg", "EXIF:Make": "Canon", "File:FileSize": 1234},
               {"SourceFile": "/other/B2 %1.CR3", "XMP:Title": "Red"},
               {"EXIF:Make": "no source file"}])");
    const Outcome outcome = load(images, {QUrl::fromLocalFile("/shots/A1.jpg")});
    ASSERT_TRUE(outcome.has_value()) << outcome.error().message().toStdString();
    EXPECT_EQ(*outcome, "Imorted 2 images");
    EXPECT_EQ(m_runner->calls().at(0), QStringList({"-groupNames", "-json", "-ignoreMinorErrors",
                                                    "-n", "/shots/A1.jpg", "-overwrite_original"}));
    EXPECT_EQ(m_printed, QStringList({"Storing metadata for B2 %1. Metadata: 2",
                                      "Storing metadata for A1. Metadata: 3"}));
    EXPECT_EQ(images.metadata().at("A1").at("File:FileSize"), 1234);

    // Another load adds up; another A1, elsewhere, replaces the first.
    answer(R"([{"SourceFile": "/b/A1.tif", "EXIF:Make": "Nikon"}, {"SourceFile": "/b/C3.jpg"}])");
    EXPECT_EQ(load(images).value_or("failed"), "Imorted 3 images");
    EXPECT_EQ(images.keys(), QStringList({"A1", "B2 %1", "C3"}));
    EXPECT_EQ(images.metadata().at("A1").at("SourceFile"), "/b/A1.tif");
}

TEST_F(ImageDataSourceTest, FailuresArePrintedAndLeaveTheTableAlone)
{
    const struct {
        const char* name;
        QString location;
        ProcessRunResult result;
    } rows[] = {
        {"exit status", "/bin/true", ProcessOutcome{1, false, {}, "Error: File not found\n"}},
        {"not JSON", "/bin/true", ProcessOutcome{0, false, "Warning: nonsense", {}}},
        {"no exiftool", "/nonexistent/bin/exiftool", ProcessOutcome{}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ImageDataSource images = source();
        answer(R"([{"SourceFile": "/a/A1.jpg"}])");
        m_location = QStringLiteral("/bin/true");
        ASSERT_TRUE(load(images).has_value());
        m_printed.clear();

        m_runner->outcome = row.result;
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
    for (const char* name : {"shots/A1.jpg", "shots/B 2.jpg", "more/A1.jpeg"}) {
        QImage image(16, 8, QImage::Format_RGB32);
        image.fill(Qt::darkMagenta);
        touch(name);
        ASSERT_TRUE(image.save(path(name), "JPEG")) << name;
    }
    ImageDataSource images; // the installed exiftool, as the application uses it
    const Outcome outcome = load(images, urls({"shots/A1.jpg", "shots/B 2.jpg", "more/A1.jpeg"}));
    ASSERT_TRUE(outcome.has_value()) << outcome.error().message().toStdString();
    EXPECT_EQ(*outcome, "Imorted 2 images"); // the two A1 images make one row
    ASSERT_EQ(images.keys(), QStringList({"A1", "B 2"}));

    // The table is made on each call: the row is kept from a copy of it.
    const auto table = images.metadata();
    const MetadataRow& row = table.at("B 2");
    EXPECT_EQ(row.at("SourceFile"), path("shots/B 2.jpg"));
    EXPECT_EQ(row.at("File:FileName"), "B 2.jpg");
    EXPECT_EQ(row.at("File:ImageWidth"), 16); // numbers come without print conversion
    EXPECT_TRUE(m_printed.contains(
        QStringLiteral("Storing metadata for B 2. Metadata: %1").arg(row.size())));
    // The image data source matches by prefix: "A1_crop" takes A1's row.
    EXPECT_EQ(images.metadataForImage(QUrl::fromLocalFile("/x/A1_crop.tif")).size(),
              images.metadata().at("A1").size());
}

} // namespace
