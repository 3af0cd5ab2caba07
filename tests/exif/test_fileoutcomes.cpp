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
