// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneadjustment.h"

#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>

namespace qb {
namespace {

using A = CaptureOneAdjustment;

// The case name is the term in camel case without " of adjustments"; words
// that are capitals in the term ("LCC", "MEID", "centerX") become lower case.
QString expectedCaseName(QString term)
{
    term.remove(QStringLiteral(" of adjustments"));
    const QStringList words = term.toLower().split(QLatin1Char(' '));
    QString name = words.front();
    for (qsizetype i = 1; i < words.size(); ++i)
        name += words[i].front().toUpper() + words[i].mid(1);
    return name;
}

TEST(CaptureOneAdjustment, EveryTermOnceNamedAfterItAndRoundTripping)
{
    const auto all = allCaptureOneAdjustments();
    ASSERT_EQ(all.size(), 134u);
    QSet<QString> terms;
    QStringList names;
    int relative = 0;
    for (A adjustment : all) {
        const QString term = rawValue(adjustment);
        SCOPED_TRACE(term.toStdString());
        terms.insert(term);
        names << caseName(adjustment);
        relative += term.endsWith(QStringLiteral(" of adjustments"));
        EXPECT_EQ(caseName(adjustment), expectedCaseName(term));
        EXPECT_EQ(captureOneAdjustmentFromRawValue(term), adjustment);
        EXPECT_EQ(toJson(adjustment), Json(term.toStdString()));
        EXPECT_EQ(decodeCaptureOneAdjustment(Json::parse(toJson(adjustment).dump())), adjustment);
    }
    EXPECT_EQ(terms.size(), 134);
    EXPECT_EQ(relative, 83);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(all.front(), A::adjustments);
}

TEST(CaptureOneAdjustment, ParticularSpellingsAreKeptAndOtherTextsGiveNothing)
{
    const std::pair<A, const char*> rows[] = {
        {A::adjustments, "adjustments"},
        {A::blackAndWhite, "black and white of adjustments"},
        {A::cropCenterx, "crop centerX"},
        {A::cropCentery, "crop centerY"},
        {A::gettyParentMeid, "Getty parent MEID"},
        {A::lccUniformLightAmount, "LCC uniform light amount"},
        {A::levelTargetShadowRgb, "level target shadow rgb of adjustments"},
    };
    for (const auto& [adjustment, term] : rows)
        EXPECT_EQ(rawValue(adjustment), term);
    for (const char* text : {"", "crop centerx", "Rating", "rating ", "contactCity", "LCC"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(captureOneAdjustmentFromRawValue(text));
    }
    const auto decoded = decodeCaptureOneAdjustment(Json("stars"));
    ASSERT_FALSE(decoded);
    EXPECT_TRUE(decoded.error().failureReason.contains(QStringLiteral("stars")));
    EXPECT_FALSE(decodeCaptureOneAdjustment(Json(3)));
}

const QString c1 = QStringLiteral("com.captureone.captureone13");

TEST(PathScript, SetsEachValueOnTheFirstVariantOfEachPathSortedAsText)
{
    // By case contactCity comes first; as text the capital G of "Getty"
    // sorts before the small c.
    const CaptureOneAdjustments adjustments{{A::rating, "3"},
                                            {A::contactCity, "\"Rome\""},
                                            {A::gettyParentMeid, "\"x\""},
                                            {A::cropCenterx, "10"}};
    const QString of = QStringLiteral(" of first variant of (every image whose path is thePath)");
    EXPECT_EQ(buildPathScript(adjustments, c1),
              "use application \"com.captureone.captureone13\"\n\n"
              "on makeAdjustments(thePaths)\nrepeat with thePath in thePaths\n"
              "set Getty parent MEID" +
                  of + " to \"x\"\n" + "set contact city" + of + " to \"Rome\"\n" +
                  "set crop centerX" + of + " to 10\n" + "set rating" + of + " to 3\n" +
                  "end repeat\nend makeAdjustments");
}

TEST(AdjustmentScript, TargetsAndFramesFollowTheFlags)
{
    const CaptureOneAdjustments adjustments{{A::rating, "3"}, {A::blackAndWhite, "true"}};
    const struct {
        bool primary;
        bool selected;
        const char* expected;
    } rows[] = {
        {false, false,
         "use application \"com.captureone.captureone13\"\n"
         "repeat with theVariant in (variants whose selected is true)\n"
         "set black and white of adjustments of theVariant to true\n"
         "set rating of theVariant to rating of theVariant + 3\n"
         "end repeat"},
        {false, true,
         "use application \"com.captureone.captureone13\"\n"
         "set black and white of adjustments of every variant whose selected is true to true\n"
         "set rating of every variant whose selected is true to 3"},
        {true, false,
         "use application \"com.captureone.captureone13\"\n"
         "if primary variant is not missing value then\n"
         "set black and white of adjustments of primary variant to true\n"
         "set rating of primary variant to rating of primary variant + 3\n"
         "end if"},
        {true, true,
         "use application \"com.captureone.captureone13\"\n"
         "if primary variant is not missing value then\n"
         "set black and white of adjustments of primary variant to true\n"
         "set rating of primary variant to 3\n"
         "end if"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << "primary " << row.primary << " selected " << row.selected);
        EXPECT_EQ(buildAdjustmentScript(adjustments, c1, row.primary, row.selected), row.expected);
    }
}

TEST(AdjustmentScript, TextPropertiesAreAddedTooAndAnEmptyDictionaryGivesAnEmptyBody)
{
    EXPECT_EQ(buildAdjustmentScript({{A::contactCity, "\"Rome\""}}, c1, false, false)
                  .split(QLatin1Char('\n'))[2],
              "set contact city of theVariant to contact city of theVariant + \"Rome\"");
    EXPECT_EQ(buildAdjustmentScript({}, c1, false, false),
              "use application \"com.captureone.captureone13\"\nrepeat with "
              "theVariant in (variants whose selected is true)\n\nend repeat");
}

} // namespace
} // namespace qb
