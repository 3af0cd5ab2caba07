// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/exiftool.h"

#include "fakeprocessrunner.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace qb;
using qb::testing::ExecutableFile;
using qb::testing::FakeProcessRunner;

namespace {

using Result = std::expected<ProcessResult, ExiftoolError>;

struct Traced {
    std::optional<QString> text;
    std::optional<QByteArray> buffer;
};

// One run through a fake runner, with what was traced and what was completed.
struct Harness {
    ExecutableFile executable;
    std::shared_ptr<FakeProcessRunner> runner = std::make_shared<FakeProcessRunner>();
    std::vector<Traced> traced;
    std::vector<std::size_t> runsWhenTraced;
    ExifTool exiftool{
        executable.path(),
        [this](const std::optional<QString>& text, const std::optional<QByteArray>& buffer) {
            traced.push_back({text, buffer});
            runsWhenTraced.push_back(runner->runs.size());
        },
        runner};

    std::vector<Result> run(const QStringList& arguments)
    {
        std::vector<Result> results;
        exiftool.run(arguments, [&](Result result) { results.push_back(std::move(result)); });
        return results;
    }
};

struct AssemblyRow {
    const char* name;
    ExiftoolConfig config;
    bool overwrite;
    QStringList arguments;
    QStringList expected;
};

TEST(ExifTool, AssemblesConfigInFrontAndOverwriteAtTheEnd)
{
    const AssemblyRow rows[] = {
        {"plain", ExiftoolConfig::none(), false, {"-n", "/a b/c.jpg"}, {"-n", "/a b/c.jpg"}},
        {"empty with overwrite", ExiftoolConfig::none(), true, {}, {"-overwrite_original"}},
        {"path",
         ExiftoolConfig::path("/cfg/x.config"),
         true,
         {"-json", "/a.jpg"},
         {"-config", "/cfg/x.config", "-json", "/a.jpg", "-overwrite_original"}},
        {"url",
         ExiftoolConfig::url(QUrl::fromLocalFile("/c fg/y.config")),
         false,
         {"-n"},
         {"-config", "/c fg/y.config", "-n"}},
        {"standard takes the first argument as its value",
         ExiftoolConfig::standard(),
         true,
         {"/mine.config", "-n"},
         {"-config", "/mine.config", "-n", "-overwrite_original"}},
    };
    for (const AssemblyRow& row : rows) {
        SCOPED_TRACE(row.name);
        Harness harness;
        harness.exiftool.setConfig(row.config);
        harness.exiftool.setOverwriteOriginal(row.overwrite);
        const std::vector<Result> results = harness.run(row.arguments);

        ASSERT_EQ(results.size(), 1u);
        ASSERT_EQ(harness.runner->runs.size(), 1u);
        EXPECT_EQ(harness.runner->runs[0].program, harness.executable.path());
        EXPECT_EQ(harness.runner->runs[0].arguments, row.expected);
        // Traced once, before the launch, unquoted, with no buffer.
        ASSERT_EQ(harness.traced.size(), 1u);
        EXPECT_EQ(harness.runsWhenTraced[0], 0u);
        EXPECT_EQ(harness.traced[0].text, harness.executable.path() + " " + row.expected.join(' '));
        EXPECT_FALSE(harness.traced[0].buffer.has_value());
    }
}

TEST(ExifTool, ReportsAMissingOrNonExecutableProgramWithoutRunning)
{
    QTemporaryDir dir;
    const QString plainFile = dir.filePath("exiftool");
    QFile file(plainFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);

    for (const QString& location : {dir.filePath("missing/exiftool"), plainFile}) {
        SCOPED_TRACE(location.toStdString());
        Harness harness;
        harness.exiftool.setExiftoolLocation(location);
        const std::vector<Result> results = harness.run({"-ver"});

        ASSERT_EQ(results.size(), 1u);
        ASSERT_FALSE(results[0].has_value());
        const ExiftoolError& error = results[0].error();
        EXPECT_EQ(error.kind(), ExiftoolError::Case::exiftoolNotFound);
        EXPECT_EQ(error.at(), location);
        EXPECT_EQ(error.summary(), "Exiftool could not be launched");
        EXPECT_EQ(error.failureReason(), "exiftool not found at " + location);
        const Error presented = error.toError();
        EXPECT_EQ(presented.errorDescription, "Exiftool could not be launched.");
        EXPECT_EQ(presented.failureReason, "exiftool not found at " + location);
        EXPECT_TRUE(harness.runner->runs.empty());
        EXPECT_TRUE(harness.traced.empty());
    }
}

struct OutcomeRow {
    const char* name;
    ProcessRunResult outcome;
    std::optional<ExiftoolError::Case> failure; // none: success
    std::optional<QString> stdErr;
    QString summary;
    QString presentedReason;
};

TEST(ExifTool, TurnsTheWayTheProcessEndedIntoTheResult)
{
    const QByteArray notFound = "Error: File not found - /x.jpg\n";
    const OutcomeRow rows[] = {
        {"status zero drops warnings",
         ProcessOutcome{0, false, "out", "Warning: minor\n"},
         std::nullopt,
         std::nullopt,
         {},
         {}},
        {"status one keeps standard error", ProcessOutcome{1, false, "dropped", notFound},
         ExiftoolError::Case::responseNotZero, QString::fromUtf8(notFound),
         "exiftool exited normally", QString::fromUtf8(notFound)},
        {"standard error that is not UTF-8", ProcessOutcome{1, false, {}, "\xff\xfe bad"},
         ExiftoolError::Case::responseNotZero, std::nullopt, "exiftool exited normally",
         "exiftool exited normally with status 1"},
        {"killed by a signal", ProcessOutcome{9, true, {}, {}},
         ExiftoolError::Case::responseNotZero, QString(), "exiftool exited with uncaught signal",
         "exiftool exited with uncaught signal 9"},
        {"launch failure", std::unexpected(ProcessFailure{"Permission denied"}),
         ExiftoolError::Case::couldNotRun, "Permission denied", "Exiftool could not be launched",
         "Permission denied"},
    };
    for (const OutcomeRow& row : rows) {
        SCOPED_TRACE(row.name);
        Harness harness;
        harness.runner->result = row.outcome;
        const std::vector<Result> results = harness.run({"-n", "/x.jpg"});
        ASSERT_EQ(results.size(), 1u);
        if (!row.failure) {
            ASSERT_TRUE(results[0].has_value());
            EXPECT_EQ(results[0]->terminationStatus, 0);
            EXPECT_EQ(results[0]->response, "out");
            continue;
        }
        ASSERT_FALSE(results[0].has_value());
        const ExiftoolError& error = results[0].error();
        EXPECT_EQ(error.kind(), *row.failure);
        EXPECT_EQ(error.stdErr(), row.stdErr);
        EXPECT_EQ(error.summary(), row.summary);
        EXPECT_EQ(error.at(), harness.executable.path());
        const Error presented = error.toError();
        EXPECT_EQ(presented.failureReason, row.presentedReason);
        EXPECT_EQ(presented.domain, "qb.ExiftoolError");
        if (*row.failure == ExiftoolError::Case::responseNotZero) {
            EXPECT_EQ(error.process().arguments, QStringList({"-n", "/x.jpg"}));
            EXPECT_EQ(presented.errorDescription, "exiftool could not write the metadata.");
            EXPECT_EQ(error.toError(ExiftoolTask::read).errorDescription,
                      "exiftool could not read the metadata.");
        }
    }
}

TEST(ExifTool, ATooLongCommandLineGoesThroughAnArgumentFile)
{
    Harness harness;
    harness.runner->limit = 200;
    harness.exiftool.setConfig(ExiftoolConfig::path("/cfg/x.config"));
    harness.exiftool.setOverwriteOriginal(true);
    const QStringList arguments = {"-json=/tmp/in.json",
                                   "/shots/a b.jpg",
                                   "two\nlines",
                                   "  lead\\ing",
                                   "#hash",
                                   "-XMP:Title= x",
                                   ""};
    const std::vector<Result> results = harness.run(arguments);

    ASSERT_EQ(results.size(), 1u);
    EXPECT_TRUE(results[0].has_value());
    ASSERT_EQ(harness.runner->runs.size(), 1u);
    const FakeProcessRunner::Run& run = harness.runner->runs[0];
    // -config only works as the first argument of the real command line.
    ASSERT_EQ(run.arguments.size(), 4);
    EXPECT_EQ(run.arguments.mid(0, 3), QStringList({"-config", "/cfg/x.config", "-@"}));
    EXPECT_EQ(run.argumentFile, "#[CSTR]-json=/tmp/in.json\n"
                                "#[CSTR]/shots/a b.jpg\n"
                                "#[CSTR]two\\nlines\n"
                                "#[CSTR]  lead\\\\ing\n"
                                "#[CSTR]#hash\n"
                                "#[CSTR]-XMP:Title= x\n"
                                "#[CSTR]\n"
                                "#[CSTR]-overwrite_original\n");
    EXPECT_FALSE(QFileInfo::exists(run.arguments[3])) << "the argument file is removed";
    // The trace shows what exiftool receives, not the file's name.
    EXPECT_EQ(harness.traced.at(0).text, harness.executable.path() + " -config /cfg/x.config " +
                                             arguments.join(' ') + " -overwrite_original");
}

TEST(ExifTool, StandardConfigKeepsItsValueOnTheCommandLine)
{
    Harness harness;
    harness.runner->limit = 0;
    harness.exiftool.setConfig(ExiftoolConfig::standard());
    harness.run({"/mine.config", "/a.jpg"});
    ASSERT_EQ(harness.runner->runs.size(), 1u);
    EXPECT_EQ(harness.runner->runs[0].arguments.mid(0, 3),
              QStringList({"-config", "/mine.config", "-@"}));
    EXPECT_EQ(harness.runner->runs[0].argumentFile, "#[CSTR]/a.jpg\n");
}

TEST(ExifTool, OnlyBatchesBeyondTheSystemLimitUseAnArgumentFile)
{
    const SystemProcessRunner system;
    const QString folder = "/" + QString(200, 'd') + "/" + QString(200, 'e') + "/";
    QStringList thousands;
    for (int i = 0; i < 5000; ++i)
        thousands << folder + QString::number(i) + QString(100, 'f') + ".jpg";
    const QStringList few = thousands.mid(0, 20);

    EXPECT_FALSE(system.fitsCommandLine("/usr/bin/exiftool", thousands));
    EXPECT_TRUE(system.fitsCommandLine("/usr/bin/exiftool", few));
    // Linux refuses a single argument of 32 pages whatever the total.
    EXPECT_FALSE(system.fitsCommandLine("/usr/bin/exiftool", {QString(32 * 4096, 'x')}));

    Harness harness;
    harness.runner->limit = system.commandLineLimit();
    harness.run(few);
    harness.run(thousands);
    ASSERT_EQ(harness.runner->runs.size(), 2u);
    EXPECT_EQ(harness.runner->runs[0].arguments, few);
    EXPECT_EQ(harness.runner->runs[1].arguments.size(), 2);
    EXPECT_EQ(harness.runner->runs[1].argumentFile.count('\n'), 5000);
}

TEST(ExifTool, RefusesAnArgumentWithANulCharacter)
{
    Harness harness;
    const std::vector<Result> results = harness.run({QString("a") + QChar(0) + "b"});
    ASSERT_EQ(results.size(), 1u);
    ASSERT_FALSE(results[0].has_value());
    EXPECT_EQ(results[0].error().kind(), ExiftoolError::Case::couldNotRun);
    EXPECT_TRUE(harness.runner->runs.empty());
}

TEST(ExifTool, RunDecodingDecodesStandardOutputOrSaysWhyNot)
{
    Harness harness;
    std::vector<std::expected<std::vector<int>, Error>> results;
    const auto collect = [&](std::expected<std::vector<int>, Error> result) {
        results.push_back(std::move(result));
    };
    harness.runner->result = ProcessOutcome{0, false, "[1, 2]", {}};
    harness.exiftool.runDecoding<std::vector<int>>({}, collect);
    harness.runner->result = ProcessOutcome{0, false, "[1, ", {}};
    harness.exiftool.runDecoding<std::vector<int>>({}, collect);
    harness.runner->result = ProcessOutcome{2, false, {}, "bad"};
    harness.exiftool.runDecoding<std::vector<int>>({}, collect);

    ASSERT_EQ(results.size(), 3u);
    ASSERT_TRUE(results[0].has_value());
    EXPECT_EQ(*results[0], (std::vector<int>{1, 2}));
    ASSERT_FALSE(results[1].has_value());
    EXPECT_EQ(results[1].error().errorDescription, "exiftool's answer could not be read.");
    ASSERT_FALSE(results[2].has_value());
    EXPECT_EQ(results[2].error().failureReason, "bad");
}

TEST(ExifTool, InstalledExiftoolIsLookedForOnThePath)
{
    if (QFileInfo::exists("/usr/local/bin/exiftool"))
        GTEST_SKIP() << "/usr/local/bin/exiftool exists and always wins";
    ExecutableFile onPath;
    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", QFileInfo(onPath.path()).path().toLocal8Bit());
    const QString found = installedExiftoolPath();
    qputenv("PATH", QDir::tempPath().toLocal8Bit() + "/no-such-folder");
    const QString fallback = installedExiftoolPath();
    qputenv("PATH", savedPath);

    EXPECT_EQ(found, onPath.path());
    EXPECT_EQ(fallback, "/usr/local/bin/exiftool");
}

} // namespace
