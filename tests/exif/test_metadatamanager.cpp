// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/metadatabatchwriter.h"
#include "exif/metadatareader.h"

#include "extensions/jsonfile.h"
#include "fakeprocessrunner.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::testing::anyProgram;
using qb::testing::arguments;
using qb::testing::FakeProcessRunner;

namespace {

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

// Both managers over one fake runner, which answers an empty JSON array.
struct Harness {
    std::shared_ptr<FakeProcessRunner> runner = std::make_shared<FakeProcessRunner>();
    MetadataReader reader{runner};
    MetadataBatchWriter writer{{}, {{"XMP:Title", "T"}}, runner};
    std::vector<std::expected<QString, Error>> completed;
    MetadataCompletion collect = [this](std::expected<QString, Error> result) {
        completed.push_back(std::move(result));
    };

    Harness()
    {
        for (MetadataManager* manager : std::initializer_list<MetadataManager*>{&reader, &writer}) {
            manager->exiftool().setExiftoolLocation(anyProgram);
            manager->setVerbose(false);
        }
        answer("[]");
    }
    void answer(const QByteArray& json) { runner->result = ProcessOutcome{0, false, json, {}}; }
};

TEST(MetadataManager, RunsExiftoolWithTheseCommandLines)
{
    Harness h;
    h.reader.read({}, {}, h.collect);
    h.reader.read({"EXIF:Make", "XMP:Title"}, {file("/s/b 1.jpg"), file("/s/a,2.jpg")}, h.collect);
    h.reader.addImages({imageAt("/s/b.jpg"), imageAt("/s/a.jpg")}); // held in URL order
    h.reader.writeImages("/tmp/Q M.json", h.collect);
    h.reader.writeSidecars("/tmp/Q.json", h.collect);
    const auto image = imageAt("/s/a, b.jpg");
    h.writer.addImages({image});
    h.writer.addImages({image, std::make_shared<ExifImage>(ExifImage::Metadata{})});
    h.writer.writeImages("/tmp/Q.json", h.collect);
    h.writer.setUrls({file("/s/z.jpg"), file("/s/a.jpg")});
    h.writer.writeSidecars("/tmp/Q.json", h.collect);
    h.writer.setSidecarNaming(SidecarNaming::nameWithExtension);
    h.writer.writeSidecars("/tmp/Q.json", h.collect);
    h.writer.clear(); // forgets the files, not the tags
    h.writer.writeImages("/tmp/Q.json", h.collect);

    const std::pair<const char*, const char*> expected[] = {
        {"-groupNames|-json|-ignoreMinorErrors|-n|-overwrite_original", "Read 0 new images"},
        {"-groupNames|-json|-ignoreMinorErrors|-n|/s/b 1.jpg|/s/a,2.jpg|-EXIF:Make|-XMP:Title|"
         "-overwrite_original",
         "Read 0 new images"},
        {"-json=/tmp/Q M.json|-struct|-ignoreMinorErrors|/s/a.jpg|/s/b.jpg|-overwrite_original",
         "Finished writing images."},
        {"-json=/tmp/Q.json|-srcfile|%d%f.xmp|/s/a.jpg|/s/b.jpg|-overwrite_original",
         "Finished writing XMP sidecar files."},
        {"-json=/tmp/Q.json|/s/a, b.jpg|/s/a, b.jpg|-overwrite_original",
         "Finished writing images."},
        {"-json=/tmp/Q.json|-srcfile|%d%f.xmp|/s/z.jpg|/s/a.jpg|-overwrite_original",
         "Finished writing XMP sidecar files."},
        {"-json=/tmp/Q.json|-srcfile|%d%f.%e.xmp|/s/z.jpg|/s/a.jpg|-overwrite_original",
         "Finished writing XMP sidecar files."},
        {"-json=/tmp/Q.json|-overwrite_original", "Finished writing images."},
    };
    ASSERT_EQ(h.runner->runs.size(), std::size(expected));
    ASSERT_EQ(h.completed.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(expected[i].first);
        EXPECT_EQ(h.runner->runs[i].arguments, arguments(expected[i].first));
        EXPECT_EQ(h.completed[i], QString::fromUtf8(expected[i].second));
    }
    EXPECT_EQ(h.writer.tags().size(), 1u);
}

TEST(MetadataReader, ReadKeepsOneImagePerSourceFileAndCountsEveryObject)
{
    Harness harness;
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
    EXPECT_EQ(harness.reader.image(file("/s/a.jpg"))->metadata,
              (ExifImage::Metadata{{"SourceFile", "/s/a.jpg"}, // stays a text
                                   {"EXIF:Make", "Nikon"},
                                   {"EXIF:ISO", 200},
                                   {"Composite:Aperture", 2.8},
                                   {"XMP:Subject", DynamicValue::stringList({"x", "y"})}}));
}

TEST(MetadataReader, ReadOfAnotherShapeStoresNothingAndBadJsonFails)
{
    const std::pair<QByteArray, bool> answers[] = {{"{\"SourceFile\": \"/s/a.jpg\"}", false},
                                                   {"[1, {\"SourceFile\": \"/a\"}]", false},
                                                   {"[{\"SourceFile\": ", true}};
    for (const auto& [answer, unreadable] : answers) {
        SCOPED_TRACE(answer.toStdString());
        Harness harness;
        harness.answer(answer);
        harness.reader.read({}, {}, harness.collect);
        ASSERT_EQ(harness.completed.size(), 1u);
        EXPECT_TRUE(harness.reader.loadedImages().empty());
        if (!unreadable) {
            EXPECT_EQ(harness.completed[0], "Read 0 new images");
            continue;
        }
        ASSERT_FALSE(harness.completed[0].has_value());
        EXPECT_EQ(harness.completed[0].error().errorDescription,
                  "exiftool's answer could not be read.");
    }
}

TEST(MetadataReader, AFailedRunIsReportedAndChangesNothing)
{
    Harness harness;
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
    Harness harness;
    const auto raw = imageAt("/shots/A1.CR3", {{"XMP:Title", "T"}, {"XMP:Rating", 3}});
    const auto bare = imageAt("/shots/noext");
    const auto hidden = imageAt("/shots/.hidden");
    const auto read = std::make_shared<ExifImage>(ExifImage::Metadata{{"SourceFile", "/r/B.jpg"}});
    harness.reader.addImages({raw, bare, hidden, read});

    ASSERT_TRUE(harness.reader.writeJSON(jsonPath, true).has_value());
    EXPECT_EQ(raw->metadata.at("SourceFile"), file("/shots/A1.xmp"));
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

    // Kept extensions, with exiftool's empty one between two dots.
    const auto rawAgain = imageAt("/shots/A1.CR3");
    bare->metadata.insert_or_assign("SourceFile", file("/shots/noext"));
    hidden->metadata.insert_or_assign("SourceFile", file("/shots/.hidden"));
    harness.reader.clear();
    harness.reader.addImages({rawAgain, bare, hidden});
    harness.reader.setSidecarNaming(SidecarNaming::nameWithExtension);
    ASSERT_TRUE(harness.reader.writeJSON(jsonPath, true).has_value());
    EXPECT_EQ(rawAgain->metadata.at("SourceFile"), file("/shots/A1.CR3.xmp"));
    EXPECT_EQ(bare->metadata.at("SourceFile"), file("/shots/noext..xmp"));
    EXPECT_EQ(hidden->metadata.at("SourceFile"), file("/shots/.hidden.xmp"));
    harness.reader.writeSidecars(jsonPath, harness.collect);
    EXPECT_EQ(harness.runner->runs.back().arguments.mid(1, 2),
              QStringList({"-srcfile", "%d%f.%e.xmp"}));
}

TEST(MetadataReader, KeepsTheLastImageForEachLocation)
{
    Harness harness;
    const auto first = imageAt("/s/a.jpg");
    const auto second = imageAt("/s/a.jpg");
    const auto nowhere = std::make_shared<ExifImage>(ExifImage::Metadata{{"XMP:Title", "x"}});
    harness.reader.addImages({first, nowhere, second, imageAt("/t/a.jpg")});

    EXPECT_EQ(harness.reader.urls(), QList<QUrl>({file("/s/a.jpg"), file("/t/a.jpg")}));
    EXPECT_EQ(harness.reader.imageNamed("a.jpg"), second); // the first in URL order
    EXPECT_EQ(harness.reader.imageNamed("A.jpg"), nullptr);
    harness.reader.setImageNamed("none.jpg", first);
    harness.reader.setImageNamed("a.jpg", nullptr);
    EXPECT_EQ(harness.reader.urls(), QList<QUrl>{file("/t/a.jpg")});
}

TEST(MetadataManager, WritesTheExchangeFileOrSaysWhyItCouldNot)
{
    QTemporaryDir dir;
    Harness harness;
    ASSERT_TRUE(harness.reader.writeJSON(dir.filePath("empty.json"), false).has_value());
    EXPECT_EQ(readJsonFile(dir.filePath("empty.json")), nlohmann::ordered_json::array());
    // The batch writer's file is one object, where the later value of a tag wins.
    harness.writer.setTags({{"XMP:Title", "first"},
                            {"XMP:Subject", DynamicValue::stringList({"a", "b"})},
                            {"XMP:Rating", 4},
                            {"XMP:Title", "second"}});
    ASSERT_TRUE(harness.writer.writeJSON(dir.filePath("deep/er/batch.json"), true).has_value());
    EXPECT_EQ(readJsonFile(dir.filePath("deep/er/batch.json")),
              nlohmann::ordered_json::parse(
                  R"({"XMP:Title": "second", "XMP:Subject": ["a", "b"], "XMP:Rating": 4})"));

    // A folder can't be made inside a file.
    const auto noFolder = harness.reader.writeJSON(dir.filePath("empty.json/x/y.json"), false);
    ASSERT_FALSE(noFolder.has_value());
    EXPECT_TRUE(noFolder.error().errorDescription.contains("y.json"));
    harness.writer.setTags({{"XMP:Dates", DynamicValue::List{QDateTime::currentDateTimeUtc()}}});
    const auto noJson = harness.writer.writeJSON(dir.filePath("dates.json"), false);
    ASSERT_FALSE(noJson.has_value());
    EXPECT_TRUE(noJson.error().failureReason.contains("XMP:Dates"));
    EXPECT_FALSE(QFile::exists(dir.filePath("dates.json")));
}

TEST(MetadataManager, ReportsExiftoolsCountsAndWarnings)
{
    const struct {
        const char* name;
        ProcessOutcome outcome;
        const char* counts;
        QStringList warnings;
    } cases[] = {
        // With -json= exiftool prints its counts on standard error.
        {"counts on stderr",
         {0, false, {}, "    2 image files updated\n    1 image files unchanged\n"},
         "2 written, 1 unchanged, 0 failed",
         {}},
        {"sidecars created",
         {0, false, "    1 image files created\n", {}},
         "1 written, 0 unchanged, 0 failed",
         {}},
        {"warning beside counts",
         {0, false, {}, "Warning: [minor] Bad MakerNotes - a.jpg\n    1 image files updated\n"},
         "1 written, 0 unchanged, 0 failed",
         {"Warning: [minor] Bad MakerNotes - a.jpg"}},
        // The failure itself carries exiftool's words; the counts stay.
        {"failed file",
         {1,
          false,
          {},
          "Error: Not a valid JPG - b.jpg\n    1 image files updated\n"
          "    1 files weren't updated due to errors\n"},
         "1 written, 0 unchanged, 1 failed",
         {}},
        {"stopped before counting", {2, true, {}, {}}, "", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Harness h;
        h.runner->result = c.outcome;
        h.reader.addImages({imageAt("/s/a.jpg")});
        h.reader.writeImages("/tmp/Q.json", h.collect);
        ASSERT_EQ(h.completed.size(), 1u);
        EXPECT_EQ(h.completed.front().has_value(), c.outcome.exitStatus == 0);
        EXPECT_EQ(h.reader.lastWriteReport().countsText(), QString::fromUtf8(c.counts));
        EXPECT_EQ(h.reader.lastWriteReport().warnings, c.warnings);
    }
}

} // namespace
