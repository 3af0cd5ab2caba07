// SPDX-License-Identifier: GPL-3.0-or-later
// Undo after the files went on living: edits, newer writes, other
// programs' sidecars and a camera's Latin-1, with the real exiftool.
#include "../support/jpeg.h"
#include "../support/testsupport.h"

#include "writing/journalrestore.h"
#include "writing/metadataqueue.h"
#include "writing/privatefolder.h"

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

#include <unistd.h>

using namespace qb;
using Method = MetadataQueue::WriteMethod;

namespace {

const QString exiftoolPath = QStringLiteral("/usr/bin/exiftool");

// exiftool on the test's files, as another program would run it; its
// standard output.
QByteArray exiftool(const QStringList& arguments)
{
    QProcess process;
    process.start(exiftoolPath, arguments);
    process.waitForFinished(60000);
    return process.readAllStandardOutput();
}

using Values = std::vector<std::pair<const char*, ExifImage::Metadata>>;
using Commands = std::vector<std::pair<const char*, QStringList>>;

struct UndoCase {
    const char* name;
    Method method;
    Commands before;     // exiftool on the images before the write
    Values written;      // what the write sets, by image
    Commands afterwards; // another program on the written files
    Values newerWrite;   // a newer write of ours, with its own journal
    bool force;
    // File, tag and the bytes exiftool reads (-b) after the undo.
    std::vector<std::tuple<const char*, const char*, QByteArray>> expected;
    QStringList notes;
    QStringList gone;
};

// gtest prints a row by its name.
void PrintTo(const UndoCase& row, std::ostream* out)
{
    *out << row.name;
}

const QByteArray latin1Artist("J\xfcrgen \xd6ster");

const UndoCase undoCases[] = {
    {"ALaterTitleStays",
     Method::direct,
     {{"A.jpg", {"-XMP-dc:Title=Before"}}},
     {{"A.jpg",
       {{"XMP-dc:Title", DynamicValue("After")}, {"IPTC:City", DynamicValue("Malm\u00f6")}}}},
     {{"A.jpg", {"-XMP-dc:Title=Retouched"}}},
     {},
     false,
     {{"A.jpg", "XMP-dc:Title", "Retouched"}, {"A.jpg", "IPTC:City", ""}},
     {"A.jpg XMP-dc:Title changed since the write; left as it is"},
     {}},
    {"ForceRestoresItAnyway",
     Method::direct,
     {{"A.jpg", {"-XMP-dc:Title=Before"}}},
     {{"A.jpg", {{"XMP-dc:Title", DynamicValue("After")}}}},
     {{"A.jpg", {"-XMP-dc:Title=Retouched"}}},
     {},
     true,
     {{"A.jpg", "XMP-dc:Title", "Before"}},
     {"A.jpg XMP-dc:Title changed since the write; restored anyway"},
     {}},
    {"ATagTheWriteDidntSetOnAFileIsNeverTouched",
     Method::direct,
     {{"B.jpg", {"-XMP-dc:Title=Own"}}},
     {{"A.jpg", {{"XMP-dc:Title", DynamicValue("After")}}},
      {"B.jpg", {{"XMP-dc:Creator", DynamicValue("Ann")}}}},
     {{"B.jpg", {"-XMP-dc:Title=Edited"}}},
     {},
     false,
     {{"A.jpg", "XMP-dc:Title", ""},
      {"B.jpg", "XMP-dc:Title", "Edited"},
      {"B.jpg", "XMP-dc:Creator", ""}},
     {},
     {}},
    {"UndoingAnOlderWriteKeepsTheNewerOnesValues",
     Method::direct,
     {},
     {{"A.jpg",
       {{
            "XMP-dc:Title",
            DynamicValue("First"),
        },
        {"XMP-dc:Creator", DynamicValue("Ann")}}}},
     {},
     {{"A.jpg", {{"XMP-dc:Title", DynamicValue("Second")}}}},
     false,
     {{"A.jpg", "XMP-dc:Title", "Second"}, {"A.jpg", "XMP-dc:Creator", ""}},
     {"A.jpg XMP-dc:Title changed since the write; left as it is"},
     {}},
    {"Latin1BytesComeBackByteForByte",
     Method::direct,
     {{"A.jpg", {"-charset", "exif=latin1", "-EXIF:Artist=J\u00fcrgen \u00d6ster"}}},
     {{"A.jpg", {{"EXIF:Artist", DynamicValue("New")}}}},
     {},
     {},
     false,
     {{"A.jpg", "EXIF:Artist", latin1Artist}},
     {},
     {}},
    {"ASidecarItMadeGoesWhileItHoldsNothingElse",
     Method::xmp,
     {},
     {{"A.jpg", {{"XMP-dc:Title", DynamicValue("After")}}}},
     {},
     {},
     false,
     {{"A.jpg", "XMP-dc:Title", ""}},
     {},
     {"A.xmp"}},
    {"ASidecarItMadeThatARawConverterEditedKeepsTheirs",
     Method::xmp,
     {},
     {{"A.jpg", {{"XMP-dc:Title", DynamicValue("After")}}}},
     {{"A.xmp", {"-XMP-crs:Exposure2012=+0.5", "-XMP-xmp:Rating=4"}}},
     {},
     false,
     {{"A.xmp", "XMP-dc:Title", ""},
      {"A.xmp", "XMP-xmp:Rating", "4"},
      {"A.xmp", "XMP-crs:Exposure2012", "+0.5"}},
     {},
     {}},
};

class UndoTest : public ::testing::TestWithParam<UndoCase> {
protected:
    void SetUp() override { qb::testing::ensureApplication(); }

    QString path(const char* name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    // Writes through a queue as the window and the command line do; the
    // journal it kept.
    QString write(Method method, const Values& values)
    {
        MetadataQueue queue(method, 60.0, false);
        queue.setExiftoolLocation(exiftoolPath);
        queue.setWriterLockPath(m_dir.filePath("write.lock"));
        queue.setJournalDirectory(m_dir.filePath("journal"));
        for (const auto& [name, metadata] : values) {
            auto image = std::make_shared<ExifImage>(QUrl::fromLocalFile(path(name)));
            image->merge(metadata, true);
            queue.enqueue({image});
        }
        QString journal;
        QObject::connect(&queue, &MetadataQueue::writeReported,
                         [&journal](const WriteReport& report) { journal = report.journalPath; });
        QEventLoop loop;
        queue.write([&](const MetadataQueue::WriteResult& result) {
            EXPECT_TRUE(result) << result.error().message().toStdString();
            loop.quit();
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        loop.exec();
        return journal;
    }

    UndoOptions options(bool force = false) const
    {
        UndoOptions options;
        options.exiftool = exiftoolPath;
        options.force = force;
        options.writerLockPath = m_dir.filePath("write.lock");
        options.journalDirectory = m_dir.filePath("journal");
        return options;
    }

    QTemporaryDir m_dir;
};

TEST_P(UndoTest, RestoresOnlyWhatTheWritePutThere)
{
    const UndoCase& row = GetParam();
    for (const char* name : {"A.jpg", "B.jpg"})
        qb::testing::makeJpeg(path(name));
    for (const auto& [name, arguments] : row.before)
        exiftool(QStringList{"-q", "-overwrite_original"} + arguments + QStringList{path(name)});
    const QString journal = write(row.method, row.written);
    ASSERT_FALSE(journal.isEmpty());
    for (const auto& [name, arguments] : row.afterwards)
        exiftool(QStringList{"-q", "-overwrite_original"} + arguments + QStringList{path(name)});
    if (!row.newerWrite.empty())
        write(row.method, row.newerWrite);

    const auto undone = undoWrite(journal, options(row.force));
    ASSERT_TRUE(undone.has_value()) << undone.error().message().toStdString();
    EXPECT_EQ(countOutcomes(undone->outcomes).failed, 0);
    EXPECT_EQ(undone->notes, row.notes);
    for (const auto& [name, tag, bytes] : row.expected) {
        SCOPED_TRACE(std::string(name) + " " + tag);
        EXPECT_EQ(exiftool({"-b", QLatin1Char('-') + QLatin1String(tag), path(name)}), bytes);
    }
    for (const QString& name : row.gone)
        EXPECT_FALSE(QFileInfo::exists(m_dir.filePath(name))) << name.toStdString();
}

INSTANTIATE_TEST_SUITE_P(AfterTheWrite, UndoTest, ::testing::ValuesIn(undoCases),
                         [](const auto& info) { return std::string(info.param.name); });

class UndoOfUndo : public UndoTest {};

TEST_F(UndoOfUndo, AnUndoKeepsAJournalThatPutsTheWriteBack)
{
    qb::testing::makeJpeg(path("A.jpg"));
    exiftool({"-q", "-overwrite_original", "-XMP-dc:Title=Before", path("A.jpg")});
    const QString journal = write(Method::xmp, {{"A.jpg", {{"XMP-dc:Title", DynamicValue("X")}}}});
    const QString image =
        write(Method::direct, {{"A.jpg", {{"XMP-dc:Title", DynamicValue("After")}}}});
    ASSERT_TRUE(QFileInfo::exists(path("A.xmp")));

    // The sidecar goes and the image's title comes back; then both return.
    for (const QString& written : {journal, image}) {
        const auto undone = undoWrite(written, options());
        ASSERT_TRUE(undone.has_value()) << undone.error().message().toStdString();
        ASSERT_FALSE(undone->journalPath.isEmpty());
        const auto redone = undoWrite(undone->journalPath, options());
        ASSERT_TRUE(redone.has_value()) << redone.error().message().toStdString();
        EXPECT_EQ(countOutcomes(redone->outcomes).written, 1);
    }
    EXPECT_EQ(exiftool({"-b", "-XMP-dc:Title", path("A.jpg")}), "After");
    EXPECT_EQ(exiftool({"-b", "-XMP-dc:Title", path("A.xmp")}), "X");
}

TEST(JournalTags, OnlyOneWritableTagPassesAsOne)
{
    const std::pair<const char*, bool> rows[] = {
        {"XMP-dc:Title", true},
        {"IPTC:City", true},
        {"Title", true},
        {"XMP:XMP-dc:Title", true},
        {"Title-fr", true},
        {"1IPTC:Keywords", true},
        {"all", false},
        {"XMP-dc:all", false},
        {"All:Title", false},
        {"XMP", false},
        {"EXIF", false},
        {"XMP-dc", false},
        {"XMP-dc:", false},
        {"-XMP-dc:Title", false},
        {"XMP-dc:Title#", false},
        {"XMP-dc:*", false},
        {"File:FileName", false},
        {"Directory", false},
        {"", false},
        {"XMP-dc:Title XMP", false},
    };
    for (const auto& [tag, single] : rows) {
        SCOPED_TRACE(tag);
        EXPECT_EQ(isSingleTagName(QString::fromUtf8(tag)), single);
    }
}

TEST(PrivateFolders, OnlyThoseOfProcessesThatEndedGo)
{
    QTemporaryDir temporary;
    // A process that has ended, and one that holds our id but started at
    // another time: both were killed long ago.
    QProcess ended;
    ended.start(QStringLiteral("/bin/sh"), {"-c", "exit 0"});
    ASSERT_TRUE(ended.waitForStarted());
    const qint64 endedPid = ended.processId();
    ended.waitForFinished();
    const QString dead = QStringLiteral("quillbrook-%1-12345-abcdef").arg(endedPid);
    const QString reused = QStringLiteral("quillbrook-%1-1-abcdef").arg(::getpid());
    const auto ours = makePrivateFolder(temporary.path());
    ASSERT_TRUE(ours->isValid());
    const QString unrelated = QStringLiteral("quillbrook-XyZ123");
    for (const QString& name : {dead, reused, unrelated}) {
        QDir(temporary.path()).mkpath(name + QStringLiteral("/inside"));
        QFile file(temporary.filePath(name + QStringLiteral("/inside/values.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(removeAbandonedFolders(temporary.path()), 2);
    EXPECT_FALSE(QFileInfo::exists(temporary.filePath(dead)));
    EXPECT_FALSE(QFileInfo::exists(temporary.filePath(reused)));
    EXPECT_TRUE(QFileInfo::exists(temporary.filePath(unrelated)));
    EXPECT_TRUE(QFileInfo::exists(ours->path()));
}

} // namespace
