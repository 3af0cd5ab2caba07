// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardplansketch.h"

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;

namespace {

// "backward write name gap=600 pattern=REGEX fix=F03,1235 fix=F03,1236
// subject=1235"
CardPlanOptions settings(const QString& words)
{
    CardPlanOptions options;
    QStringList fixes;
    for (const QString& word : words.split(' ', Qt::SkipEmptyParts)) {
        const QString value = word.section('=', 1);
        if (word == "backward")
            options.cardOrder = CardOrder::backward;
        else if (word == "write")
            options.cardFrames = CardFrames::write;
        else if (word == "name")
            options.order = FrameOrder::name;
        else if (word.startsWith("gap="))
            options.gapSeconds = value.toDouble();
        else if (word.startsWith("pattern="))
            options.keyPattern = CardKeyPattern::compile(value).value();
        else if (word.startsWith("fix="))
            fixes << value;
        else if (word.startsWith("subject="))
            options.currentSubject << value;
    }
    options.fixes = parseCardFixes(fixes.join('\n')).value();
    return options;
}

TEST(CardPlan, givesEachFrameItsSubject)
{
    const QString three = "1234 . . . 1235 . . . 1236 . . . 1237 ";
    const struct {
        const char* name;
        QString settings;
        QString session;
        QString frames; // not checked when empty
        QString subjects;
    } cases[] = {
        {"forward", "", ". 1234 . . 1235 .", "-b c:1234 1234 1234 c:1235 1235", "1234:2 1235:1"},
        {"backward", "backward", ". . 1234 . 1235 .", "1234 1234 c:1234 1235 c:1235 -a",
         "1234:2 1235:1"},
        {"card frames written", "write", "1234 . .", "C:1234 1234 1234", "1234:2"},
        {"unknown code", "", "1234 . 9999 . .", "c:1234 1234 c?9999 ?9999 ?9999", "1234:1 ?9999:2"},
        {"unknown code, backward", "backward", ". 9999 . 1234", "?9999 c?9999 1234 c:1234",
         "?9999:1 1234:1"},
        {"group card", "", "1234+1235 . .", "g:1234+1235 1234+1235 1234+1235", "1234+1235:2"},
        {"group card written", "write", "1235+1234 .", "G:1235+1234 1235+1234", "1235+1234:1"},
        {"one known code of two", "", "1234+9999 .", "c:1234 1234", "1234:1"},
        {"card shot twice", "", "1234 . 1234 .", "c:1234 1234 c:1234 1234", "1234:2"},
        {"no card at all", "", ". . .", "-b -b -b", ""},
        {"unreadable card fixed", "fix=F03,1235", "1234 . ! . .", "c:1234 1234 c:1235 1235 1235",
         "1234:1 1235:2"},
        {"card un-marked", "fix=F03,-", "1234 . 1235 .", "c:1234 1234 1234 1234", "1234:3"},
        {"group set by hand", "fix=F03,1235 fix=F03,1236", "1234 . ! .",
         "c:1234 1234 g:1235+1236 1235+1236", "1234:1 1235+1236:1"},
        {"fix with an unknown key", "fix=F03,4444", "1234 . .", "c:1234 1234 c?4444",
         "1234:1 ?4444:0"},
        {"scanned subject", "subject=1235", ". . 1234 .", "1235 1235 c:1234 1234", "1235:2 1234:1"},
        {"scanned subject, card first", "subject=1235", "1234 .", "c:1234 1234", "1234:1"},
        {"scanned subject of the first card", "subject=1234", ". 1234 .", "1234 c:1234 1234",
         "1234:2"},
        {"scanned subject, backward", "backward subject=1235", ". 1234 . .",
         "1234 c:1234 1235 1235", "1234:1 1235:2"},
        {"canonically equal key", "", "Jose\u0301 .", "c:José José", "José:1"},
        {"key pattern", "pattern=id=(\\d+)", "s?id=1234 . other .", "c:1234 1234 1234 1234",
         "1234:3"},
        {"gap", "", "1234 . .>300 .", "", "1234:3!gap"},
        {"gap across the card", "", "1234 .>121", "", "1234:1!gap"},
        {"gap within a longer limit", "gap=600", "1234 . .>300 .", "", "1234:3"},
        {"no gap checked for an unknown code", "", "9999 .>300", "", "?9999:1"},
        {"gap by name order", "name", "1234 . .>300", "", "1234:2!gap"},
        {"count", "", three + QStringList(10, ".").join(' '), "",
         "1234:3 1235:3 1236:3 1237:10!count"},
        {"count within reason", "", three + QStringList(9, ".").join(' '), "",
         "1234:3 1235:3 1236:3 1237:9"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CardPlan plan =
            makeCardPlan(sketchedFrames(c.session), sketchRows(), settings(c.settings));
        if (!c.frames.isEmpty()) {
            EXPECT_EQ(framesSketch(plan), c.frames);
        }
        EXPECT_EQ(subjectsSketch(plan), c.subjects);
    }
}

TEST(CardPlan, listsTheRowsThatGetNoFrame)
{
    const RowKeys rows(QStringList{"1234", "1235", "1236", "1237"});
    EXPECT_EQ(makeCardPlan(sketchedFrames("1234 . 1235 1236+1234 ."), rows, {}).rowsWithoutFrames,
              (QStringList{"1235", "1237"}));
    EXPECT_EQ(
        makeCardPlan(sketchedFrames("1234 . 1235"), rows, settings("write")).rowsWithoutFrames,
        (QStringList{"1236", "1237"}));
}

TEST(CardPlan, ordersFramesByTimeThenName)
{
    // Frames as "NAME@HH:MM:SS[+HH:MM]", or "NAME" without a time.
    const struct {
        const char* settings;
        QString frames;
        QString expected;
    } cases[] = {
        {"", "B2@10:00:00 B1@10:00:00", "B1 B2"},
        {"", "A1@10:00:05 A2 A3@10:00:01 A0", "A0 A3 A1 A2"},
        {"", "X1@10:00:00+02:00 X2@09:30:00+00:00", "X1 X2"},
        {"name", "IMG_10@09:00:00 IMG_2@10:00:00 IMG_1@11:00:00", "IMG_1 IMG_2 IMG_10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.frames.toStdString());
        std::vector<CardFrame> frames;
        for (const QString& token : c.frames.split(' ')) {
            const QString time = token.section('@', 1);
            frames.push_back({"/shoot/" + token.section('@', 0, 0),
                              {},
                              CaptureTime::fromExif("2024:05:01 " + time.left(8), {}, time.mid(8)),
                              std::vector<DecodedCode>()});
        }
        QStringList names;
        for (const PlannedFrame& frame :
             makeCardPlan(frames, RowKeys(), settings(c.settings)).frames)
            names << frame.name;
        EXPECT_EQ(names.join(' '), c.expected);
    }
}

TEST(CardPlan, namesTheFixesThatFitNoFrameOrMany)
{
    std::vector<CardFrame> frames = sketchedFrames("1234 . .");
    frames[1].path = "/shoot/A/F03"; // the same name from a second camera
    const CardPlan plan =
        makeCardPlan(frames, sketchRows(), settings("fix=F03,1235 fix=F09,1235 fix=A/F03,1236"));
    EXPECT_EQ(plan.fixProblems,
              (QStringList{"cards file line 1: 2 frames are named F03; give its folder too, as in "
                           "Camera2/F03",
                           "cards file line 2: no frame is named F09"}));
    EXPECT_EQ(framesSketch(plan), "c:1234 c:1236 1236");
}

} // namespace
