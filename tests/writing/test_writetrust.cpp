// SPDX-License-Identifier: GPL-3.0-or-later
// The preview, the per-file report and the journal, on JPEGs made here and
// the real exiftool.
#include "../support/testsupport.h"

#include "../support/jpeg.h"

#include "exif/currentvalues.h"
#include "exif/metadatareader.h"
#include "writing/journalrestore.h"
#include "writing/metadataqueue.h"
#include "writing/writejournal.h"
#include "writing/writepreview.h"

#include <QEventLoop>
#include <QTimer>

#include <unistd.h>

using namespace qb;

namespace {

const QString exiftoolPath = QStringLiteral("/usr/bin/exiftool");

std::shared_ptr<ExifImage> imageWith(const QString& path, const ExifImage::Metadata& values)
{
    auto image = std::make_shared<ExifImage>(QUrl::fromLocalFile(path));
    image->merge(values, true);
    return image;
}

// Every tag exiftool reads from the file, less those of the file system.
DynamicValue::Dictionary allTags(const QString& path)
{
    DynamicValue::Dictionary tags;
    MetadataReader reader;
    reader.exiftool().setExiftoolLocation(exiftoolPath);
    reader.setVerbose(false);
    reader.read({}, {QUrl::fromLocalFile(path)}, [](auto) {});
    for (const auto& image : reader.images()) {
        for (const auto& [key, value] : image->metadata) {
            if (!key.startsWith("File:") && !key.startsWith("ExifTool:") &&
                key != ExifImage::sourceFileKey)
                tags.emplace(key, value);
        }
    }
    return tags;
}

class WriteTrust : public ::testing::Test {
protected:
    void SetUp() override { qb::testing::ensureApplication(); }

    QString jpeg(const QString& name) { return qb::testing::makeJpeg(m_dir.filePath(name)); }

    // Writes the images through a queue with a journal; the report it gave.
    std::pair<MetadataQueue::WriteResult, WriteReport> write(const ExifImages& images)
    {
        MetadataQueue queue(MetadataQueue::WriteMethod::direct, 60.0, false);
        queue.setExiftoolLocation(exiftoolPath);
        queue.setWriterLockPath(m_dir.filePath("write.lock"));
        queue.setJournalDirectory(m_dir.filePath("journal"));
        queue.setWriteJobs(m_jobs);
        queue.setParallelThreshold(2);
        queue.enqueue(images);
        std::optional<MetadataQueue::WriteResult> outcome;
        WriteReport report;
        QEventLoop loop;
        QObject::connect(&queue, &MetadataQueue::writeReported,
                         [&report](const WriteReport& said) { report = said; });
        queue.write([&](const MetadataQueue::WriteResult& result) {
            outcome = result;
            loop.quit();
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        loop.exec();
        EXPECT_TRUE(outcome.has_value());
        return {outcome.value_or(std::unexpected(Error{})), report};
    }

    QTemporaryDir m_dir;
    int m_jobs = 1;
};

// With two jobs the batch is split, and the journal read with it.
class WriteTrustJobs : public WriteTrust, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(OneAndTwoExiftools, WriteTrustJobs, ::testing::Values(1, 2));

TEST(WritePreview, MarksUnchangedValuesAbsentOnesAndUnmatchedImages)
{
    const auto image = imageWith("/s/A1.jpg", {{"XMP-dc:Title", DynamicValue("New")},
                                               {"XMP-dc:Subject", DynamicValue::stringList({"a"})},
                                               {"IPTC:City", DynamicValue("Paris")},
                                               {"EXIF:Artist", DynamicValue("Me")}});
    const CurrentValues current{{"/s/A1.jpg",
                                 {{"XMP-dc:Title", DynamicValue("Old")},
                                  {"XMP-dc:Subject", DynamicValue("a")},
                                  {"IPTC:City", DynamicValue("Paris")}}}};
    const WritePreview preview = buildPreview({image}, current, {QUrl::fromLocalFile("/s/C3.jpg")});
    struct Row {
        const char* tag;
        const char* current;
        const char* next;
        bool changes;
    };
    const Row rows[] = {{"EXIF:Artist", "(absent)", "Me", true},
                        {"IPTC:City", "Paris", "Paris", false},
                        {"XMP-dc:Subject", "a", "a", false},
                        {"XMP-dc:Title", "Old", "New", true}};
    ASSERT_EQ(preview.images.size(), 1u);
    ASSERT_EQ(preview.images[0].fields.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(rows[i].tag);
        const PreviewField& field = preview.images[0].fields[i];
        EXPECT_EQ(field.tag, rows[i].tag);
        EXPECT_EQ(previewText(field.current), rows[i].current);
        EXPECT_EQ(previewText(field.next), rows[i].next);
        EXPECT_EQ(field.changes, rows[i].changes);
    }
    EXPECT_EQ(preview.unmatched, QStringList{"/s/C3.jpg"});
    EXPECT_TRUE(preview.text().contains("  XMP-dc:Title: Old \u2192 New\n"));
    EXPECT_TRUE(preview.text().contains("  IPTC:City: Paris (unchanged)\n"));
    EXPECT_TRUE(preview.text().endsWith("matched no row:\n  /s/C3.jpg\n"));
    EXPECT_TRUE(preview.toJson()["images"][0]["fields"][0]["current"].is_null());
}

TEST_F(WriteTrust, ReportNamesEachFailedFileWithItsOwnReason)
{
    const QString good = jpeg("a.jpg");
    const QString damaged = m_dir.filePath("damaged.jpg");
    {
        QFile file(jpeg("damaged.jpg"));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.resize(200);
    }
    const QString missing = m_dir.filePath("missing.jpg");
    const QString locked = jpeg("locked/c.jpg");
    const bool canLock = ::geteuid() != 0; // root writes into any folder
    QFile::setPermissions(m_dir.filePath("locked"), QFile::ReadOwner | QFile::ExeOwner);
    const ExifImage::Metadata values{{"XMP-dc:Title", DynamicValue("T")}};
    const auto [result, report] = write({imageWith(good, values), imageWith(damaged, values),
                                         imageWith(missing, values), imageWith(locked, values)});
    QFile::setPermissions(m_dir.filePath("locked"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_FALSE(result.has_value());
    std::map<QString, FileOutcome> byPath;
    for (const FileOutcome& outcome : report.outcomes)
        byPath[outcome.path] = outcome;
    ASSERT_EQ(byPath.size(), 4u);
    EXPECT_EQ(byPath[good].kind, FileOutcomeKind::written);
    EXPECT_EQ(byPath[damaged].kind, FileOutcomeKind::failed);
    EXPECT_FALSE(byPath[damaged].message.isEmpty());
    EXPECT_EQ(byPath[missing].kind, FileOutcomeKind::failed);
    EXPECT_EQ(byPath[missing].message, "File not found");
    EXPECT_EQ(byPath[locked].kind, canLock ? FileOutcomeKind::failed : FileOutcomeKind::written);
    if (canLock) {
        EXPECT_NE(byPath[locked].message, byPath[damaged].message);
    }
    EXPECT_EQ(countOutcomes(report.outcomes).written, canLock ? 1 : 2);
}

TEST_P(WriteTrustJobs, UndoPutsBackEveryValueAndDeletesTagsThatWereAbsent)
{
    m_jobs = GetParam();
    const QString first = jpeg("first.jpg");
    const QString second = jpeg("second.jpg");
    const QString gone = jpeg("gone.jpg");
    // Values of their own before the write: a list, a number, a text.
    MetadataReader seed;
    seed.exiftool().setExiftoolLocation(exiftoolPath);
    seed.setVerbose(false);
    for (const QString& path : {first, second, gone})
        seed.addImages({imageWith(path, {{"XMP-dc:Subject", DynamicValue::stringList({"x", "y"})},
                                         {"EXIF:Orientation", DynamicValue(qint64(6))},
                                         {"XMP-dc:Title", DynamicValue("Before")}})});
    ASSERT_TRUE(seed.writeJSON(m_dir.filePath("seed.json"), false));
    seed.writeImages(m_dir.filePath("seed.json"), [](auto result) { ASSERT_TRUE(result); });
    const auto before = allTags(first);
    ASSERT_EQ(before.at("XMP:Title").description(), "Before");

    const ExifImage::Metadata values{{"XMP-dc:Title", DynamicValue("After")},
                                     {"XMP-dc:Subject", DynamicValue::stringList({"z"})},
                                     {"IPTC:City", DynamicValue("Malm\u00f6, \u6771\u4eac")},
                                     {"XMP-dc:Creator", DynamicValue("New")}};
    const auto [result, report] =
        write({imageWith(first, values), imageWith(second, values), imageWith(gone, values)});
    ASSERT_TRUE(result.has_value()) << result.error().message().toStdString();
    EXPECT_EQ(allTags(first).at("IPTC:City").description(), "Malm\u00f6, \u6771\u4eac");
    ASSERT_FALSE(report.journalPath.isEmpty());
    EXPECT_EQ(journalPaths(m_dir.filePath("journal")), QStringList{report.journalPath});

    ASSERT_TRUE(QFile::remove(gone));
    UndoOptions options;
    options.exiftool = exiftoolPath;
    options.writerLockPath = m_dir.filePath("write.lock");
    const auto restored = undoWrite(report.journalPath, options);
    ASSERT_TRUE(restored.has_value()) << restored.error().message().toStdString();
    const OutcomeCounts counts = countOutcomes(restored->outcomes);
    EXPECT_EQ(counts.written, 2);
    EXPECT_EQ(counts.failed, 1);
    for (const FileOutcome& outcome : restored->outcomes) {
        if (outcome.path == gone) {
            EXPECT_EQ(outcome.message, "File not found");
        }
    }
    for (const QString& path : {first, second}) {
        SCOPED_TRACE(path.toStdString());
        const auto after = allTags(path);
        for (const auto& [tag, value] : before) {
            SCOPED_TRACE(tag.toStdString());
            ASSERT_TRUE(after.contains(tag));
            EXPECT_EQ(after.at(tag).description(), value.description());
        }
        for (const auto& [tag, value] : after)
            EXPECT_TRUE(before.contains(tag)) << "left behind: " << tag.toStdString();
    }
}

} // namespace
