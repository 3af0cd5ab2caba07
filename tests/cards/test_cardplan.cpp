// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardplansketch.h"

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;

namespace {

QString dots(int count)
{
    return QStringList(count, QStringLiteral(".")).join(' ');
}

CardPlanOptions options(CardOrder order, CardFrames cardFrames = CardFrames::skip, double gap = 120)
{
    CardPlanOptions result;
    result.cardOrder = order;
    result.cardFrames = cardFrames;
    result.gapSeconds = gap;
    return result;
}

struct PlanCase {
    const char* name;
    QString session;
    QString expectedFrames;
    QString expectedSubjects;
    CardPlanOptions options = {};
    const char* fixes = "";
    const char* pattern = "";
};

TEST(CardPlan, givesEachFrameItsSubject)
{
    using enum CardOrder;
    const CardPlanOptions backwards = options(backward);
    const CardPlanOptions writeCards = options(forward, CardFrames::write);
    const CardPlanOptions longGap = options(forward, CardFrames::skip, 600);
    const std::vector<PlanCase> cases{
        {"forward", ". 1234 . . 1235 .", "-b c:1234 1234 1234 c:1235 1235", "1234:2 1235:1"},
        {"backward", ". . 1234 . 1235 .", "1234 1234 c:1234 1235 c:1235 -a", "1234:2 1235:1",
         backwards},
        {"card frames written", "1234 . .", "C:1234 1234 1234", "1234:2", writeCards},
        {"unknown code", "1234 . 9999 . .", "c:1234 1234 c?9999 ?9999 ?9999", "1234:1 ?9999:2"},
        {"unknown code, backward", ". 9999 . 1234", "?9999 c?9999 1234 c:1234", "?9999:1 1234:1",
         backwards},
        {"group card", "1234+1235 . .", "g:1234+1235 1234+1235 1234+1235", "1234+1235:2"},
        {"group card written", "1235+1234 .", "G:1235+1234 1235+1234", "1235+1234:1", writeCards},
        {"one known code of two", "1234+9999 .", "c:1234 1234", "1234:1"},
        {"card shot twice", "1234 . 1234 .", "c:1234 1234 c:1234 1234", "1234:2"},
        {"no card at all", ". . .", "-b -b -b", ""},
        {"unreadable card fixed",
         "1234 . ! . .",
         "c:1234 1234 c:1235 1235 1235",
         "1234:1 1235:2",
         {},
         "F03,1235"},
        {"card un-marked", "1234 . 1235 .", "c:1234 1234 1234 1234", "1234:3", {}, "F03,-"},
        {"group set by hand",
         "1234 . ! .",
         "c:1234 1234 g:1235+1236 1235+1236",
         "1234:1 1235+1236:1",
         {},
         "F03,1235\nF03,1236"},
        {"fix with an unknown key",
         "1234 . .",
         "c:1234 1234 c?4444",
         "1234:1 ?4444:0",
         {},
         "F03,4444"},
        {"canonically equal key", "Jose\u0301 .", "c:José José", "José:1"},
        {"key pattern",
         "s?id=1234 . other .",
         "c:1234 1234 1234 1234",
         "1234:3",
         {},
         "",
         "id=(\\d+)"},
        {"gap", "1234 . .>300 .", "c:1234 1234 1234 1234", "1234:3!gap"},
        {"gap across the card", "1234 .>121", "c:1234 1234", "1234:1!gap"},
        {"gap within a longer limit", "1234 . .>300 .", "c:1234 1234 1234 1234", "1234:3", longGap},
        {"no gap checked for an unknown code", "9999 .>300", "c?9999 ?9999", "?9999:1"},
        {"count", "1234 . . . 1235 . . . 1236 . . . 1237 " + dots(10),
         "c:1234 1234 1234 1234 c:1235 1235 1235 1235 c:1236 1236 1236 1236 c:1237 " +
             QStringList(10, "1237").join(' '),
         "1234:3 1235:3 1236:3 1237:10!count"},
        {"count within reason", "1234 . . . 1235 . . . 1236 . . . 1237 " + dots(9),
         "c:1234 1234 1234 1234 c:1235 1235 1235 1235 c:1236 1236 1236 1236 c:1237 " +
             QStringList(9, "1237").join(' '),
         "1234:3 1235:3 1236:3 1237:9"},
    };
    for (const PlanCase& c : cases) {
        SCOPED_TRACE(c.name);
        CardPlanOptions o = c.options;
        o.fixes = parseCardFixes(QString::fromUtf8(c.fixes)).value();
        if (*c.pattern)
            o.keyPattern = CardKeyPattern::compile(c.pattern).value();
        const CardPlan plan = makeCardPlan(sketchedFrames(c.session), sketchRows(), o);
        EXPECT_EQ(framesSketch(plan), c.expectedFrames);
        EXPECT_EQ(subjectsSketch(plan), c.expectedSubjects);
    }
}

TEST(CardPlan, listsTheRowsThatGetNoFrame)
{
    const RowKeys rows(QStringList{"1234", "1235", "1236", "1237"});
    const CardPlanOptions writeCards = options(CardOrder::forward, CardFrames::write);
    EXPECT_EQ(makeCardPlan(sketchedFrames("1234 . 1235 1236+1234 ."), rows, {}).rowsWithoutFrames,
              (QStringList{"1235", "1237"}));
    EXPECT_EQ(makeCardPlan(sketchedFrames("1234 . 1235"), rows, writeCards).rowsWithoutFrames,
              (QStringList{"1236", "1237"}));
}

TEST(CardPlan, ordersFramesByTimeThenName)
{
    struct Frame {
        const char* name;
        const char* time; // "" for none
        const char* subSeconds;
    };
    const struct {
        const char* name;
        std::vector<Frame> frames;
        FrameOrder order;
        QString expected;
    } cases[] = {
        {"burst within a second",
         {{"F1", "10:00:00", "5"}, {"F2", "10:00:00", "07"}, {"F3", "10:00:00", "45"}},
         FrameOrder::time,
         "F2 F3 F1"},
        {"equal times by name",
         {{"B2", "10:00:00", ""}, {"B1", "10:00:00", ""}},
         FrameOrder::time,
         "B1 B2"},
        {"frames without a time stay by their name's neighbour",
         {{"A1", "10:00:05", ""}, {"A2", "", ""}, {"A3", "10:00:01", ""}, {"A0", "", ""}},
         FrameOrder::time,
         "A0 A3 A1 A2"},
        {"offsets compare instants",
         {{"X1", "10:00:00+02:00", ""}, {"X2", "09:30:00+00:00", ""}},
         FrameOrder::time,
         "X1 X2"},
        {"by name, numbers by value",
         {{"IMG_10", "09:00:00", ""}, {"IMG_2", "10:00:00", ""}, {"IMG_1", "11:00:00", ""}},
         FrameOrder::name,
         "IMG_1 IMG_2 IMG_10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<CardFrame> frames;
        for (const Frame& f : c.frames) {
            const QString time = QString::fromLatin1(f.time);
            frames.push_back({QStringLiteral("/shoot/") + f.name,
                              {},
                              CaptureTime::fromExif("2024:05:01 " + time.left(8),
                                                    QString::fromLatin1(f.subSeconds), time.mid(8)),
                              std::vector<DecodedCode>()});
        }
        CardPlanOptions o;
        o.order = c.order;
        const CardPlan plan = makeCardPlan(frames, RowKeys(), o);
        QStringList names;
        for (const PlannedFrame& frame : plan.frames)
            names << frame.name;
        EXPECT_EQ(names.join(' '), c.expected);
    }
}

TEST(CardPlan, namesTheFixesThatFitNoFrameOrMany)
{
    std::vector<CardFrame> frames = sketchedFrames("1234 . .");
    frames[1].path = QStringLiteral("/shoot/A/F03"); // the same name from a second camera
    CardPlanOptions options;
    options.fixes = parseCardFixes("F03,1235\nF09,1235\nA/F03,1236").value();
    const CardPlan plan = makeCardPlan(frames, sketchRows(), options);
    EXPECT_EQ(plan.fixProblems,
              (QStringList{"cards file line 1: 2 frames are named F03; give its folder too, as in "
                           "Camera2/F03",
                           "cards file line 2: no frame is named F09"}));
    EXPECT_EQ(framesSketch(plan), "c:1234 c:1236 1236");
}

} // namespace
