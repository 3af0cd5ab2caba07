// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/exiftool.h"
#include "exif/writabletags.h"

#include "fakeprocessrunner.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::testing::anyProgram;
using qb::testing::arguments;
using qb::testing::FakeProcessRunner;

namespace {

using Result = std::expected<ProcessResult, ExiftoolError>;

// Runs through a fake runner, keeping what was traced and how many runs
// had started by then.
struct Harness {
    std::shared_ptr<FakeProcessRunner> runner = std::make_shared<FakeProcessRunner>();
    std::vector<std::pair<std::optional<QString>, std::size_t>> traced;
    ExifTool exiftool{
        anyProgram,
        [this](const std::optional<QString>& text, const std::optional<QByteArray>& buffer) {
            EXPECT_FALSE(buffer.has_value());
            traced.emplace_back(text, runner->runs.size());
        },
        runner};

    Result run(const QStringList& arguments)
    {
        std::vector<Result> results;
        exiftool.run(arguments, [&](Result result) { results.push_back(std::move(result)); });
        EXPECT_EQ(results.size(), 1u) << "one completion per run";
        return results.empty() ? Result() : results.front();
    }
};

TEST(ExifTool, AssemblesConfigInFrontAndOverwriteAtTheEnd)
{
    struct Row {
        ExiftoolConfig config;
        bool overwrite;
        const char* arguments;
        const char* expected;
    };
    const Row rows[] = {
        {ExiftoolConfig::none(), true, "", "-overwrite_original"},
        {ExiftoolConfig::path("/cfg/x.config"), true, "-json|/a.jpg",
         "-config|/cfg/x.config|-json|/a.jpg|-overwrite_original"},
        {ExiftoolConfig::url(QUrl::fromLocalFile("/c fg/y.config")), false, "-n",
         "-config|/c fg/y.config|-n"},
        // The caller's first argument becomes the option's value.
        {ExiftoolConfig::standard(), true, "/mine.config|-n",
         "-config|/mine.config|-n|-overwrite_original"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        Harness harness;
        harness.exiftool.setConfig(row.config);
        harness.exiftool.setOverwriteOriginal(row.overwrite);
        harness.run(arguments(row.arguments));
        ASSERT_EQ(harness.runner->runs.size(), 1u);
        EXPECT_EQ(harness.runner->runs[0].program, anyProgram);
        EXPECT_EQ(harness.runner->runs[0].arguments, arguments(row.expected));
        // Traced once, before the launch, unquoted.
        const auto expectedTrace = std::make_pair(
            std::optional(anyProgram + " " + arguments(row.expected).join(' ')), std::size_t(0));
        EXPECT_EQ(harness.traced, decltype(harness.traced){expectedTrace});
    }
}

TEST(ExifTool, RefusesToRunAMissingProgramOrAnImpossibleArgument)
{
    QTemporaryDir dir;
    QFile plain(dir.filePath("exiftool"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly)); // made without execute permission
    plain.close();

    for (const QString& location : {dir.filePath("missing/exiftool"), plain.fileName()}) {
        SCOPED_TRACE(location.toStdString());
        Harness harness;
        harness.exiftool.setExiftoolLocation(location);
        const Result result = harness.run({"-ver"});
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(result.error().kind(), ExiftoolError::Case::exiftoolNotFound);
        EXPECT_EQ(result.error().summary(), "Exiftool could not be launched");
        const Error presented = result.error().toError();
        EXPECT_EQ(presented.errorDescription, "Exiftool could not be launched.");
        EXPECT_EQ(presented.failureReason, "exiftool not found at " + location);
        EXPECT_TRUE(harness.runner->runs.empty());
        EXPECT_TRUE(harness.traced.empty());
    }
    Harness harness; // nor is an argument that no command line can carry
    const Result refused = harness.run({QString("a") + QChar(0) + "b"});
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().kind(), ExiftoolError::Case::couldNotRun);
    EXPECT_TRUE(harness.runner->runs.empty());
}

TEST(ExifTool, TurnsTheWayTheProcessEndedIntoTheResult)
{
    Harness success;
    success.runner->result = ProcessOutcome{0, false, "out", "Warning: minor\n"};
    const Result succeeded = success.run({});
    ASSERT_TRUE(succeeded.has_value()) << "warnings are dropped";
    EXPECT_EQ(succeeded->response, "out");

    using enum ExiftoolError::Case;
    struct Row {
        ProcessRunResult outcome;
        ExiftoolError::Case kind;
        std::optional<QString> stdErr;
        QString summary;
        QString reason;
    };
    const QString notFound = "Error: File not found - /x.jpg\n";
    const Row rows[] = {
        {ProcessOutcome{1, false, "dropped", notFound.toUtf8()}, responseNotZero, notFound,
         "exiftool exited normally", notFound},
        {ProcessOutcome{1, false, {}, "\xff\xfe not UTF-8"}, responseNotZero, std::nullopt,
         "exiftool exited normally", "exiftool exited normally with status 1"},
        {ProcessOutcome{9, true, {}, {}}, responseNotZero, QString(),
         "exiftool exited with uncaught signal", "exiftool exited with uncaught signal 9"},
        {std::unexpected(ProcessFailure{"Permission denied"}), couldNotRun, "Permission denied",
         "Exiftool could not be launched", "Permission denied"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason.toStdString());
        Harness harness;
        harness.runner->result = row.outcome;
        const Result result = harness.run({"-n", "/x.jpg"});
        ASSERT_FALSE(result.has_value());
        const ExiftoolError& error = result.error();
        EXPECT_EQ(error.kind(), row.kind);
        EXPECT_EQ(error.stdErr(), row.stdErr);
        EXPECT_EQ(error.summary(), row.summary);
        EXPECT_EQ(error.at(), anyProgram);
        const Error presented = error.toError();
        EXPECT_EQ(presented.failureReason, row.reason);
        EXPECT_EQ(presented.domain, "qb.ExiftoolError");
        if (row.kind == responseNotZero) {
            EXPECT_EQ(error.process().arguments, QStringList({"-n", "/x.jpg"}));
            EXPECT_EQ(presented.errorDescription, "exiftool could not write the metadata.");
            EXPECT_EQ(error.toError(ExiftoolTask::read).errorDescription,
                      "exiftool could not read the metadata.");
        }
    }
}

TEST(ExifTool, ATooLongCommandLineGoesThroughAnArgumentFile)
{
    struct Row {
        ExiftoolConfig config;
        const char* arguments;
        const char* commandLine; // less the file's name
        QByteArray file;
        QString traced;
    };
    // -config only works as the first argument of the real command line.
    const Row rows[] = {
        {ExiftoolConfig::path("/cfg/x.config"), "/shots/a b.jpg|two\nlines",
         "-config|/cfg/x.config|-@",
         "#[CSTR]/shots/a b.jpg\n#[CSTR]two\\nlines\n#[CSTR]-overwrite_original\n",
         " -config /cfg/x.config /shots/a b.jpg two\nlines -overwrite_original"},
        {ExiftoolConfig::standard(), "/mine.config|/a.jpg", "-config|/mine.config|-@",
         "#[CSTR]/a.jpg\n#[CSTR]-overwrite_original\n",
         " -config /mine.config /a.jpg -overwrite_original"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.commandLine);
        Harness harness;
        harness.runner->limit = 0;
        harness.exiftool.setConfig(row.config);
        harness.exiftool.setOverwriteOriginal(true);
        EXPECT_TRUE(harness.run(arguments(row.arguments)).has_value());
        ASSERT_EQ(harness.runner->runs.size(), 1u);
        const FakeProcessRunner::Run& run = harness.runner->runs[0];
        ASSERT_EQ(run.arguments.size(), 4);
        EXPECT_EQ(run.arguments.mid(0, 3), arguments(row.commandLine));
        EXPECT_EQ(run.argumentFile, row.file);
        EXPECT_FALSE(QFileInfo::exists(run.arguments[3])) << "the argument file is removed";
        // The trace shows what exiftool receives, not the file's name.
        EXPECT_EQ(harness.traced.at(0).first, anyProgram + row.traced);
    }
}

TEST(ExifTool, OnlyBatchesBeyondTheSystemLimitNeedAnArgumentFile)
{
    const SystemProcessRunner system;
    const QString folder = "/" + QString(200, 'd') + "/" + QString(200, 'e') + "/";
    QStringList thousands;
    for (int i = 0; i < 5000; ++i)
        thousands << folder + QString::number(i) + QString(100, 'f') + ".jpg";
    EXPECT_FALSE(system.fitsCommandLine("/usr/bin/exiftool", thousands));
    EXPECT_TRUE(system.fitsCommandLine("/usr/bin/exiftool", thousands.mid(0, 20)));
    // Linux refuses a single argument of 32 pages whatever the total.
    EXPECT_FALSE(system.fitsCommandLine("/usr/bin/exiftool", {QString(32 * 4096, 'x')}));
}

TEST(ExifTool, RunDecodingDecodesStandardOutputOrSaysWhyNot)
{
    Harness harness;
    std::vector<std::expected<std::vector<int>, Error>> results;
    for (const ProcessOutcome& outcome :
         {ProcessOutcome{0, false, "[1, 2]", {}}, ProcessOutcome{0, false, "[1, ", {}},
          ProcessOutcome{2, false, {}, "bad"}}) {
        harness.runner->result = outcome;
        harness.exiftool.runDecoding<std::vector<int>>(
            {}, [&](auto result) { results.push_back(std::move(result)); });
    }
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0], (std::vector<int>{1, 2}));
    ASSERT_FALSE(results[1].has_value());
    EXPECT_EQ(results[1].error().errorDescription, "exiftool's answer could not be read.");
    ASSERT_FALSE(results[2].has_value());
    EXPECT_EQ(results[2].error().failureReason, "bad");
}

TEST(ExifTool, InstalledExiftoolIsLookedForOnThePath)
{
    if (QFileInfo::exists("/usr/local/bin/exiftool"))
        GTEST_SKIP() << "/usr/local/bin/exiftool exists and always wins";
    QTemporaryDir dir;
    ASSERT_TRUE(QFile::link(anyProgram, dir.filePath("exiftool")));
    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", dir.path().toLocal8Bit());
    const QString found = installedExiftoolPath();
    qputenv("PATH", QDir::tempPath().toLocal8Bit() + "/no-such-folder");
    const QString fallback = installedExiftoolPath();
    qputenv("PATH", savedPath);
    EXPECT_EQ(found, dir.filePath("exiftool"));
    EXPECT_EQ(fallback, "/usr/local/bin/exiftool");
}

} // namespace

TEST(WritableTags, TakesTagNamesAsExiftoolDoesAndKnowsWhichHoldLists)
{
    const auto tags = qb::WritableTags::fromTagDatabase(R"(<?xml version='1.0'?><taginfo>
        <table name='XMP::dc' g0='XMP' g1='XMP-dc' g2='Other'>
         <tag id='title' name='Title' type='lang-alt' writable='true' g2='Image'/>
         <tag id='subject' name='Subject' type='string' writable='true' flags='Bag,List'/>
         <tag id='creator' name='Creator' type='string' writable='true' flags='List,Seq'/>
        </table>
        <table name='Exif::Main' g0='EXIF' g1='IFD0' g2='Image'>
         <tag id='271' name='Make' type='string' writable='true' g2='Camera'/>
         <tag id='36867' name='DateTimeOriginal' type='string' writable='true' g1='ExifIFD'/>
        </table>
        <table name='XMP::pdf' g0='XMP' g1='XMP-pdf' g2='Image'>
         <tag id='Keywords' name='Keywords' type='string' writable='true'/>
        </table>
        <table name='IPTC::ApplicationRecord' g0='IPTC' g1='IPTC' g2='Other'>
         <tag id='25' name='Keywords' type='string' count='64' writable='true' flags='List'/>
        </table>
        <table name='PDF::Info' g0='PDF' g1='PDF' g2='Document'>
         <tag id='Subject' name='Subject' type='string' writable='true' flags='Avoid'/>
        </table>
        <table name='XMP::xmpDM' g0='XMP' g1='XMP-xmpDM' g2='Audio'>
         <tag id='tracks' name='Tracks' type='struct' writable='true' flags='Alt'/>
        </table>
        <table name='Composite' g0='Composite' g1='Composite' g2='Other'>
         <tag id='ImageSize' name='ImageSize' type='?' writable='false'/>
        </table></taginfo>)");
    ASSERT_TRUE(tags.has_value());
    const auto again = qb::WritableTags::fromSerialized(tags->serialized());
    ASSERT_TRUE(again.has_value());
    const struct {
        const char* tag;
        bool writable;
        bool list; // a list in one of the groups given, or in any
    } cases[] = {
        {"XMP-dc:Title", true, false},
        {"xmp:title", true, false},
        {"Title", true, false},
        {"1XMP-dc:Title", true, false},
        {"XMP-dc:Title-fr", true, false},
        {"Image:Title", true, false},
        {"EXIF:ExifIFD:DateTimeOriginal", true, false},
        {"EXIF:Make#", true, false},
        {"XMP-dc:Titel", false, false},
        {"XMP-dc:Make", false, false},
        {"Composite:ImageSize", false, false},
        {"IPTC:Title", false, false},
        {"Subject", true, true},
        {"XMP-dc:Subject", true, true},
        {"xmp:subject", true, true},
        {"PDF:Subject", true, false},
        {"Keywords", true, true},
        {"1IPTC:Keywords#", true, true},
        {"All:Keywords", true, true},
        {"XMP-pdf:Keywords", true, false},
        {"Creator", true, true},
        {"Tracks", true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tag);
        for (const auto* read : {&*tags, &*again}) {
            EXPECT_EQ(read->canWrite(QString::fromUtf8(c.tag)), c.writable);
            EXPECT_EQ(read->isList(QString::fromUtf8(c.tag)), c.list);
        }
    }
}
