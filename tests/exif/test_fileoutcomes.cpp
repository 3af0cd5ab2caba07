// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/fileoutcomes.h"

#include <gtest/gtest.h>

using namespace qb;

TEST(FileOutcomes, EachFileGetsItsOwnReasonFromExiftoolsLines)
{
    const QStringList paths{"/s/a.jpg", "/s/b - c.jpg", "/s/gone.jpg", "/s/d.jpg"};
    const QString standardError = "Warning: [minor] Odd IFD - /s/a.jpg\n"
                                  "Error: Corrupted JPEG image - /s/b - c.jpg\n"
                                  "Error: File not found - /s/gone.jpg\n"
                                  "Error: Something - /elsewhere/x.jpg\n"
                                  "    1 image files updated\n";
    const FileOutcomes outcomes =
        fileOutcomes(paths, fileMessages(standardError, paths),
                     [](const QString& path) { return path == "/s/a.jpg"; });
    const FileOutcomes expected{
        {"/s/a.jpg", FileOutcomeKind::written, "[minor] Odd IFD"},
        {"/s/b - c.jpg", FileOutcomeKind::failed, "Corrupted JPEG image"},
        {"/s/gone.jpg", FileOutcomeKind::failed, "File not found"},
        {"/s/d.jpg", FileOutcomeKind::unchanged, ""},
    };
    EXPECT_EQ(outcomes, expected);
    EXPECT_EQ(outcomeCountsText(countOutcomes(outcomes)), "1 written, 1 unchanged, 2 failed");
    // Reports of parts of a batch add up by concatenation.
    FileOutcomes both = outcomes;
    both.insert(both.end(), outcomes.begin(), outcomes.end());
    EXPECT_EQ(countOutcomes(both).failed, 4);
    EXPECT_EQ(fileOutcomesJson(outcomes)[1]["outcome"], "failed");
}

// exiftool's lines that don't follow "Error: REASON - FILE", and what the
// run as a whole says, decide what became of a file.
TEST(FileOutcomes, AFileIsWrittenOnlyWhenExiftoolWroteIt)
{
    const QString a = "/s/a b.jpg";
    const struct {
        const char* name;
        QString standardError;
        RunFacts facts;
        FileOutcomeKind kind;
        const char* message;
    } cases[] = {
        {"a temporary file that exists",
         "Error: Temporary file already exists: /s/a b.jpg_exiftool_tmp\n",
         {},
         FileOutcomeKind::failed,
         "Temporary file already exists: /s/a b.jpg_exiftool_tmp"},
        {"a refused rename",
         "Error renaming temporary file to /s/a b.jpg\n",
         {},
         FileOutcomeKind::failed,
         "Error renaming temporary file to /s/a b.jpg"},
        {"a file that can't be opened",
         "Error opening /s/a b.jpg for writing\n",
         {},
         FileOutcomeKind::failed,
         "Error opening /s/a b.jpg for writing"},
        {"a killed run", "", RunFacts{{}, {}, false, false, false, "exiftool was killed", {}},
         FileOutcomeKind::failed, "exiftool was killed"},
        {"a killed run's own last words", "Out of memory!\n",
         RunFacts{{}, {}, false, false, false, "exiftool was killed", {}}, FileOutcomeKind::failed,
         "Out of memory!"},
        {"a refusal at warning level",
         "Warning: Can't yet write SD9 or SD10 X3F images - /s/a b.jpg\n",
         RunFacts{{}, [](const QString&) { return true; }, true, true, false, {}, {}},
         FileOutcomeKind::failed, "Can't yet write SD9 or SD10 X3F images"},
        {"a format that holds nothing", "    1 image files unchanged\n",
         RunFacts{{}, [](const QString&) { return true; }, true, true, false, {}, {}},
         FileOutcomeKind::failed, "exiftool wrote none of the values"},
        {"nothing to set stays unchanged", "Warning: [minor] Odd - /s/a b.jpg\n",
         RunFacts{{}, [](const QString&) { return false; }, true, true, false, {}, {}},
         FileOutcomeKind::unchanged, "[minor] Odd"},
        {"a minor warning on a written file", "Warning: [minor] Odd - /s/a b.jpg\n",
         RunFacts{[](const QString&) { return true; }, {}, true, true, false, {}, {}},
         FileOutcomeKind::written, "[minor] Odd"},
        {"a stop before the file", "", RunFacts{{}, {}, false, false, true, "Interrupted", {}},
         FileOutcomeKind::notWritten, "the write was stopped first"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ExiftoolLines lines = exiftoolLines(c.standardError, {a});
        RunFacts facts = c.facts;
        facts.unattributed = lines.unattributed;
        const FileOutcomes outcomes = fileOutcomes({a}, lines.messages, facts);
        ASSERT_EQ(outcomes.size(), 1u);
        EXPECT_EQ(outcomes[0].kind, c.kind);
        EXPECT_TRUE(outcomes[0].message.contains(QLatin1String(c.message)))
            << outcomes[0].message.toStdString();
    }
    FileOutcomes all{{a, FileOutcomeKind::notWritten, {}},
                     {a, FileOutcomeKind::leftOut, leftOutReason::stillBeingWritten()}};
    EXPECT_EQ(outcomeCountsText(countOutcomes(all)),
              "0 written, 0 unchanged, 0 failed, 1 not written, 1 left out");
    EXPECT_EQ(fileOutcomesJson(all)[1]["outcome"], "left out");
    EXPECT_EQ(fileOutcomeKindNamed(u"not written"), FileOutcomeKind::notWritten);
}
