// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/metadatabatchwriter.h"

#include "extensions/jsonfile.h"
#include "fakeprocessrunner.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::testing::ExecutableFile;
using qb::testing::FakeProcessRunner;

namespace {

QUrl file(const char* path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

struct WriterHarness {
    ExecutableFile executable;
    std::shared_ptr<FakeProcessRunner> runner = std::make_shared<FakeProcessRunner>();
    MetadataBatchWriter writer{{}, {{"XMP:Title", "T"}}, runner};
    std::vector<std::expected<QString, Error>> completed;
    MetadataCompletion collect = [this](std::expected<QString, Error> result) {
        completed.push_back(std::move(result));
    };

    WriterHarness()
    {
        writer.exiftool().setExiftoolLocation(executable.path());
        writer.setVerbose(false);
    }
};

struct CommandRow {
    const char* name;
    std::function<void(WriterHarness&)> act;
    QStringList expected;
    QString message;
};

TEST(MetadataBatchWriter, RunsExiftoolWithTheseCommandLines)
{
    const auto image = std::make_shared<ExifImage>(file("/s/a, b.jpg"));
    const CommandRow rows[] = {
        {"no files",
         [](WriterHarness& h) { h.writer.writeImages("/tmp/Q.json", h.collect); },
         {"-json=/tmp/Q.json", "-overwrite_original"},
         "Finished writing images."},
        {"an image added twice is named twice",
         [&](WriterHarness& h) {
             h.writer.addImages({image});
             h.writer.addImages({image, std::make_shared<ExifImage>(ExifImage::Metadata{})});
             h.writer.writeImages("/tmp/Q.json", h.collect);
         },
         {"-json=/tmp/Q.json", "/s/a, b.jpg", "/s/a, b.jpg", "-overwrite_original"},
         "Finished writing images."},
        {"sidecars, in the order given",
         [](WriterHarness& h) {
             h.writer.setUrls({file("/s/z.jpg"), file("/s/a.jpg")});
             h.writer.writeSidecars("/tmp/Q.json", h.collect);
         },
         {"-json=/tmp/Q.json", "-srcfile", "%d%f.xmp", "/s/z.jpg", "/s/a.jpg",
          "-overwrite_original"},
         "Finished writing XMP sidecar files."},
        {"clear forgets the files",
         [](WriterHarness& h) {
             h.writer.setUrls({file("/s/z.jpg")});
             h.writer.clear();
             h.writer.writeImages("/tmp/Q.json", h.collect);
         },
         {"-json=/tmp/Q.json", "-overwrite_original"},
         "Finished writing images."},
    };
    for (const CommandRow& row : rows) {
        SCOPED_TRACE(row.name);
        WriterHarness harness;
        row.act(harness);
        ASSERT_EQ(harness.runner->runs.size(), 1u);
        EXPECT_EQ(harness.runner->runs[0].arguments, row.expected);
        ASSERT_EQ(harness.completed.size(), 1u);
        EXPECT_EQ(harness.completed[0], row.message);
        EXPECT_EQ(harness.writer.tags().size(), 1u) << "tags stay";
    }
}

TEST(MetadataBatchWriter, WritesOneObjectWhereTheLaterValueOfATagWins)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("deep/er/batch.json");
    WriterHarness harness;
    harness.writer.setTags({{"XMP:Title", "first"},
                            {"XMP:Subject", DynamicValue::stringList({"a", "b"})},
                            {"XMP:Rating", 4},
                            {"XMP:Title", "second"}});
    ASSERT_TRUE(harness.writer.writeJSON(path, true).has_value());
    const auto json = readJsonFile(path);
    ASSERT_TRUE(json.has_value());
    EXPECT_EQ(*json, nlohmann::ordered_json::parse(
                         R"({"XMP:Title": "second", "XMP:Subject": ["a", "b"], "XMP:Rating": 4})"));
}

TEST(MetadataBatchWriter, RefusesValuesThatJsonCannotHold)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("batch.json");
    WriterHarness harness;
    harness.writer.setTags(
        {{"XMP:Title", "ok"},
         {"XMP:Dates", DynamicValue::List{QDateTime::fromSecsSinceEpoch(0, Qt::UTC)}}});
    const auto result = harness.writer.writeJSON(path, false);
    ASSERT_FALSE(result.has_value());
    EXPECT_TRUE(result.error().failureReason.contains("XMP:Dates"));
    EXPECT_FALSE(QFile::exists(path));
}

} // namespace
