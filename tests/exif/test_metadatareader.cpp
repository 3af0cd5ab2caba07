// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/metadatareader.h"

#include "extensions/jsonfile.h"
#include "fakeprocessrunner.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::testing::ExecutableFile;
using qb::testing::FakeProcessRunner;

namespace {

using Completed = std::vector<std::expected<QString, Error>>;

QUrl file(const char* path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

std::shared_ptr<ExifImage> imageAt(const char* path, ExifImage::Metadata more = {})
{
    auto image = std::make_shared<ExifImage>(file(path));
    image->merge(more, true);
    return image;
}

struct ReaderHarness {
    ExecutableFile executable;
    std::shared_ptr<FakeProcessRunner> runner = std::make_shared<FakeProcessRunner>();
    MetadataReader reader{runner};
    Completed completed;
    MetadataCompletion collect = [this](std::expected<QString, Error> result) {
        completed.push_back(std::move(result));
    };

    ReaderHarness()
    {
        reader.exiftool().setExiftoolLocation(executable.path());
        reader.setVerbose(false);
        runner->result = ProcessOutcome{0, false, "[]", {}};
    }
    void answer(const QByteArray& json) { runner->result = ProcessOutcome{0, false, json, {}}; }
};

struct CommandRow {
    const char* name;
    std::function<void(ReaderHarness&)> act;
    QStringList expected;
    QString message;
};

TEST(MetadataReader, RunsExiftoolWithTheseCommandLines)
{
    const auto twoImages = [](ReaderHarness& h) {
        h.reader.addImages({imageAt("/s/b.jpg"), imageAt("/s/a.jpg")});
    };
    const CommandRow rows[] = {
        {"read everything of nothing",
         [](ReaderHarness& h) { h.reader.read({}, {}, h.collect); },
         {"-groupNames", "-json", "-ignoreMinorErrors", "-n", "-overwrite_original"},
         "Read 0 new images"},
        {"read tags of files in the order given",
         [](ReaderHarness& h) {
             h.reader.read({"EXIF:Make", "XMP:Title"}, {file("/s/b 1.jpg"), file("/s/a,2.jpg")},
                           h.collect);
         },
         {"-groupNames", "-json", "-ignoreMinorErrors", "-n", "/s/b 1.jpg", "/s/a,2.jpg",
          "-EXIF:Make", "-XMP:Title", "-overwrite_original"},
         "Read 0 new images"},
        {"write images in URL order",
         [&](ReaderHarness& h) {
             twoImages(h);
             h.reader.writeImages("/tmp/Q M.json", h.collect);
         },
         {"-json=/tmp/Q M.json", "-struct", "-ignoreMinorErrors", "/s/a.jpg", "/s/b.jpg",
          "-overwrite_original"},
         "Finished writing images."},
        {"write sidecars",
         [&](ReaderHarness& h) {
             twoImages(h);
             h.reader.writeSidecars("/tmp/Q.json", h.collect);
         },
         {"-json=/tmp/Q.json", "-srcfile", "%d%f.xmp", "/s/a.jpg", "/s/b.jpg",
          "-overwrite_original"},
         "Finished writing XMP sidecar files."},
        {"write no images",
         [](ReaderHarness& h) { h.reader.writeImages("/tmp/Q.json", h.collect); },
         {"-json=/tmp/Q.json", "-struct", "-ignoreMinorErrors", "-overwrite_original"},
         "Finished writing images."},
    };
    for (const CommandRow& row : rows) {
        SCOPED_TRACE(row.name);
        ReaderHarness harness;
        row.act(harness);
        ASSERT_EQ(harness.runner->runs.size(), 1u);
        EXPECT_EQ(harness.runner->runs[0].arguments, row.expected);
        ASSERT_EQ(harness.completed.size(), 1u);
        EXPECT_EQ(harness.completed[0], row.message);
    }
}

TEST(MetadataReader, ReadKeepsOneImagePerSourceFileAndCountsEveryObject)
{
    ReaderHarness harness;
    harness.answer(R"([
        {"SourceFile": "/s/a.jpg", "EXIF:Make": "Canon"},
        {"SourceFile": "/s/a.jpg", "EXIF:Make": "Nikon", "EXIF:ISO": 200,
         "XMP:Subject": ["x", "y"], "Composite:Aperture": 2.8},
        {"File:FileName": "no source"},
        {"SourceFile": 5}
    ])");
    harness.reader.read({}, {file("/s/a.jpg"), file("/s/a.jpg")}, harness.collect);

    ASSERT_EQ(harness.completed.size(), 1u);
    EXPECT_EQ(harness.completed[0], "Read 2 new images");
    ASSERT_EQ(harness.reader.urls(), QList<QUrl>{file("/s/a.jpg")});
    const ExifImage::Metadata& metadata = harness.reader.image(file("/s/a.jpg"))->metadata;
    EXPECT_EQ(metadata.at("SourceFile"), "/s/a.jpg"); // stays a text
    EXPECT_EQ(metadata.at("EXIF:Make"), "Nikon");
    EXPECT_EQ(metadata.at("EXIF:ISO"), 200);
    EXPECT_EQ(metadata.at("Composite:Aperture"), 2.8);
    EXPECT_EQ(metadata.at("XMP:Subject"), DynamicValue::stringList({"x", "y"}));
}

TEST(MetadataReader, ReadOfAnotherShapeStoresNothingAndBadJsonFails)
{
    for (const QByteArray answer :
         {"{\"SourceFile\": \"/s/a.jpg\"}", "[1, {\"SourceFile\": \"/a\"}]"}) {
        ReaderHarness harness;
        harness.answer(answer);
        harness.reader.read({}, {}, harness.collect);
        ASSERT_EQ(harness.completed.size(), 1u);
        EXPECT_EQ(harness.completed[0], "Read 0 new images");
        EXPECT_TRUE(harness.reader.loadedImages().empty());
    }
    ReaderHarness harness;
    harness.answer("[{\"SourceFile\": ");
    harness.reader.read({}, {}, harness.collect);
    ASSERT_EQ(harness.completed.size(), 1u);
    ASSERT_FALSE(harness.completed[0].has_value());
    EXPECT_EQ(harness.completed[0].error().errorDescription,
              "exiftool's answer could not be read.");
    EXPECT_TRUE(harness.reader.loadedImages().empty());
}

TEST(MetadataReader, AFailedRunIsReportedAndChangesNothing)
{
    ReaderHarness harness;
    harness.reader.addURLs({file("/s/kept.jpg")});
    harness.runner->result = ProcessOutcome{1, false, "[{\"SourceFile\": \"/s/new.jpg\"}]",
                                            "Error: File not found - /s/new.jpg\n"};
    harness.reader.read({}, {file("/s/new.jpg")}, harness.collect);
    harness.reader.writeImages("/tmp/Q.json", harness.collect);

    ASSERT_EQ(harness.completed.size(), 2u);
    ASSERT_FALSE(harness.completed[0].has_value());
    EXPECT_EQ(harness.completed[0].error().errorDescription,
              "exiftool could not read the metadata.");
    EXPECT_EQ(harness.completed[0].error().failureReason, "Error: File not found - /s/new.jpg\n");
    ASSERT_FALSE(harness.completed[1].has_value());
    EXPECT_EQ(harness.completed[1].error().errorDescription,
              "exiftool could not write the metadata.");
    EXPECT_EQ(harness.reader.urls(), QList<QUrl>{file("/s/kept.jpg")});
}

TEST(MetadataReader, SidecarExchangeFileNamesTheSidecarsOnTheSharedImages)
{
    QTemporaryDir dir;
    const QString jsonPath = dir.filePath("new/folder/QuillbrookMetadata.json");
    ReaderHarness harness;
    const auto raw = imageAt("/shots/A1.CR3", {{"XMP:Title", "T"}, {"XMP:Rating", 3}});
    const auto bare = imageAt("/shots/noext");
    const auto hidden = imageAt("/shots/.hidden");
    const auto read = std::make_shared<ExifImage>(ExifImage::Metadata{{"SourceFile", "/r/B.jpg"}});
    harness.reader.addImages({raw, bare, hidden, read});

    ASSERT_TRUE(harness.reader.writeJSON(jsonPath, true).has_value());

    EXPECT_EQ(raw->metadata.at("SourceFile"), file("/shots/A1.xmp"));
    EXPECT_EQ(raw->metadata.at("XMP:Title"), "T");
    EXPECT_EQ(raw->metadata.at("XMP:Rating"), 3);
    EXPECT_EQ(bare->metadata.at("SourceFile"), file("/shots/noext.xmp"));
    EXPECT_EQ(hidden->metadata.at("SourceFile"), file("/shots/.hidden.xmp"));
    EXPECT_EQ(read->metadata.at("SourceFile"), file("/r/B.xmp"));

    const auto json = readJsonFile(jsonPath);
    ASSERT_TRUE(json.has_value());
    EXPECT_EQ(*json, nlohmann::ordered_json::parse(R"([
        {"SourceFile": "/r/B.xmp"},
        {"SourceFile": "/shots/.hidden.xmp"},
        {"SourceFile": "/shots/A1.xmp", "XMP:Rating": 3, "XMP:Title": "T"},
        {"SourceFile": "/shots/noext.xmp"}
    ])"));

    // The keys don't follow: the command line still names the images.
    harness.reader.writeSidecars(jsonPath, harness.collect);
    EXPECT_EQ(harness.runner->runs.at(0).arguments.mid(3, 4),
              QStringList({"/r/B.jpg", "/shots/.hidden", "/shots/A1.CR3", "/shots/noext"}));
    MetadataReader again(harness.runner);
    again.addImages({raw});
    EXPECT_EQ(again.urls(), QList<QUrl>{file("/shots/A1.xmp")});
}

TEST(MetadataReader, WritesAnEmptyArrayOrSaysWhyItCouldNot)
{
    QTemporaryDir dir;
    ReaderHarness harness;
    ASSERT_TRUE(harness.reader.writeJSON(dir.filePath("empty.json"), false).has_value());
    QFile written(dir.filePath("empty.json"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "[]");

    // A folder can't be made inside a file.
    const auto failed = harness.reader.writeJSON(dir.filePath("empty.json/x/y.json"), false);
    ASSERT_FALSE(failed.has_value());
    EXPECT_TRUE(failed.error().errorDescription.contains("y.json"));
}

TEST(MetadataReader, KeepsTheLastImageForEachLocation)
{
    ReaderHarness harness;
    const auto first = imageAt("/s/a.jpg");
    const auto second = imageAt("/s/a.jpg");
    const auto nowhere = std::make_shared<ExifImage>(ExifImage::Metadata{{"XMP:Title", "x"}});
    harness.reader.addImages({first, nowhere, second, imageAt("/t/a.jpg")});

    EXPECT_EQ(harness.reader.urls(), QList<QUrl>({file("/s/a.jpg"), file("/t/a.jpg")}));
    EXPECT_EQ(harness.reader.image(file("/s/a.jpg")), second);
    EXPECT_EQ(harness.reader.imageNamed("a.jpg"), second); // the first in URL order
    EXPECT_EQ(harness.reader.imageNamed("A.jpg"), nullptr);

    harness.reader.setImageNamed("none.jpg", first);
    harness.reader.setImageNamed("a.jpg", nullptr);
    EXPECT_EQ(harness.reader.urls(), QList<QUrl>{file("/t/a.jpg")});
    harness.reader.setImage(file("/t/a.jpg"), nullptr);
    EXPECT_TRUE(harness.reader.loadedImages().empty());
}

TEST(MetadataReader, VerboseSwitchesTheTrace)
{
    MetadataReader reader(std::make_shared<FakeProcessRunner>());
    EXPECT_TRUE(reader.exiftool().overwriteOriginal());
    EXPECT_FALSE(reader.verbose());
    EXPECT_TRUE(bool(reader.exiftool().trace())) << "traces until verbose is first set";
    reader.setVerbose(false);
    EXPECT_FALSE(bool(reader.exiftool().trace()));
    reader.setVerbose(true);
    EXPECT_TRUE(bool(reader.exiftool().trace()));
}

} // namespace
