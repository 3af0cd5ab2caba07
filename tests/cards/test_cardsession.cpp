// SPDX-License-Identifier: GPL-3.0-or-later
// A whole session shot and planned: frames made here, capture times written
// and read by the real exiftool, codes decoded, the plan printed.
#include "cardimages.h"
#include "cardplansketch.h"

#include "cards/cardplanformat.h"
#include "cards/cardsession.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;

namespace {

class CardSession : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!QFileInfo(installedExiftoolPath()).isExecutable())
            GTEST_SKIP() << "exiftool is not installed";
        m_paths = shoot(m_dir.path(), schoolShoot());
        ASSERT_EQ(m_paths.size(), 15);
        // Half copied when the plan is made.
        const QString torn = m_dir.filePath("IMG_0016.JPG");
        QFile::copy(m_paths.last(), torn);
        QFile(torn).resize(200);
        m_paths << torn << m_dir.filePath("IMG_0017.JPG"); // and one removed by now
    }

    CardPlan plan(const CardPlanOptions& options, int hoursOff = 0)
    {
        if (hoursOff != 0) {
            EXPECT_EQ(shoot(m_dir.path(), schoolShoot(), hoursOff * 3600).size(), 15);
        }
        QThreadPool pool;
        pool.setMaxThreadCount(2);
        auto frames = readCardFrames(m_paths, ExifTool(installedExiftoolPath(), {}),
                                     std::make_shared<BarcodeDecoder>(nullptr), &pool);
        EXPECT_TRUE(frames.has_value());
        CardPlanOptions withFix = options;
        withFix.fixes = parseCardFixes("IMG_0014.JPG,1238").value();
        return makeCardPlan(frames.value_or(std::vector<CardFrame>()), sketchRows(), withFix);
    }

    QTemporaryDir m_dir;
    QStringList m_paths;
};

QString names(const CardPlan& plan)
{
    QStringList result;
    for (const PlannedFrame& frame : plan.frames)
        result << frame.name.mid(4, 4);
    return result.join(' ');
}

// The plan's text and its options are the command line's tests; here what
// only the library sees: the order of a burst, and frames that can't be read.
TEST_F(CardSession, plansTheShootAndNamesTheFramesThatCouldNotBeRead)
{
    const CardPlan forward = plan({});
    EXPECT_EQ(names(forward), "0001 0002 0004 0005 0003 0006 0007 0008 0009 0010 0011 0012 0013 "
                              "0014 0015 0016 0017");
    EXPECT_EQ(framesSketch(forward), "-b c:1234 1234 1234 1234 c:1235 1235 1235 c?9999 ?9999 "
                                     "g:1236+1237 1236+1237 1236+1237 c:1238 1238 1238 1238");
    const QStringList lines = planText(forward).split('\n');
    const auto unread = lines.indexOf("Could not be read (a card among them is missed)");
    ASSERT_GT(unread, 0);
    EXPECT_TRUE(lines[unread + 1].startsWith("  IMG_0016.JPG: ")); // Qt's words for it
    EXPECT_EQ(lines[unread + 2], "  IMG_0017.JPG: There is no file at " + m_paths.last() + ".");
    const nlohmann::ordered_json json = planJson(forward);
    EXPECT_EQ(json["frames"][2]["time"], "2024-05-01 10:00:20.07");
    EXPECT_EQ(json["frames"][13]["fix"], "markedAsCard");
    EXPECT_EQ(json["rowsWithoutFrames"], nlohmann::ordered_json({"José"}));
}

// A camera whose clock is off by years still orders its own frames.
TEST_F(CardSession, cameraClockOffChangesNothing)
{
    const CardPlan off = plan({}, -26'300);
    EXPECT_EQ(framesSketch(off), "-b c:1234 1234 1234 1234 c:1235 1235 1235 c?9999 ?9999 "
                                 "g:1236+1237 1236+1237 1236+1237 c:1238 1238 1238 1238");
    EXPECT_EQ(off.frames[2].captureTime->text(), "2021-05-01 14:00:20.07");
}

} // namespace
