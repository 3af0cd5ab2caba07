// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneadjustment.h"

#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>

namespace qb {
namespace {

using A = CaptureOneAdjustment;

// Capture One's terms, as its scripting dictionary spells them.
const char* const dictionaryTerms[] = {
    "black and white of adjustments",
    "black and white blue sensitivity of adjustments",
    "black and white cyan sensitivity of adjustments",
    "black and white green sensitivity of adjustments",
    "black and white magenta sensitivity of adjustments",
    "black and white red sensitivity of adjustments",
    "black and white split highlight hue of adjustments",
    "black and white split highlight saturation of adjustments",
    "black and white split shadow hue of adjustments",
    "black and white split shadow saturation of adjustments",
    "black and white yellow sensitivity of adjustments",
    "black recovery of adjustments",
    "blue curve of adjustments",
    "brightness of adjustments",
    "clarity amount of adjustments",
    "clarity method of adjustments",
    "clarity structure of adjustments",
    "color balance highlight hue of adjustments",
    "color balance highlight lightness of adjustments",
    "color balance highlight saturation of adjustments",
    "color balance master hue of adjustments",
    "color balance master saturation of adjustments",
    "color balance midtone hue of adjustments",
    "color balance midtone lightness of adjustments",
    "color balance midtone saturation of adjustments",
    "color balance shadow hue of adjustments",
    "color balance shadow lightness of adjustments",
    "color balance shadow saturation of adjustments",
    "color editor settings of adjustments",
    "color profile of adjustments",
    "contrast of adjustments",
    "exposure of adjustments",
    "film curve of adjustments",
    "film grain granularity of adjustments",
    "film grain impact of adjustments",
    "film grain type of adjustments",
    "flip of adjustments",
    "green curve of adjustments",
    "highlight adjustment of adjustments",
    "highlight recovery of adjustments",
    "level highlight blue of adjustments",
    "level highlight green of adjustments",
    "level highlight red of adjustments",
    "level highlight rgb of adjustments",
    "level midtone blue of adjustments",
    "level midtone green of adjustments",
    "level midtone red of adjustments",
    "level midtone rgb of adjustments",
    "level shadow blue of adjustments",
    "level shadow green of adjustments",
    "level shadow red of adjustments",
    "level shadow rgb of adjustments",
    "level target highlight blue of adjustments",
    "level target highlight green of adjustments",
    "level target highlight red of adjustments",
    "level target highlight rgb of adjustments",
    "level target shadow blue of adjustments",
    "level target shadow green of adjustments",
    "level target shadow red of adjustments",
    "level target shadow rgb of adjustments",
    "luma curve of adjustments",
    "moire amount of adjustments",
    "moire pattern of adjustments",
    "noise reduction color of adjustments",
    "noise reduction details of adjustments",
    "noise reduction luminance of adjustments",
    "noise reduction single pixel of adjustments",
    "orientation of adjustments",
    "red curve of adjustments",
    "rgb curve of adjustments",
    "rotation of adjustments",
    "saturation of adjustments",
    "shadow recovery of adjustments",
    "sharpening amount of adjustments",
    "sharpening halo suppression of adjustments",
    "sharpening radius of adjustments",
    "sharpening threshold of adjustments",
    "temperature of adjustments",
    "tint of adjustments",
    "vignetting amount of adjustments",
    "vignetting method of adjustments",
    "white balance preset of adjustments",
    "white recovery of adjustments",
    "adjustments",
    "color tag",
    "contact address",
    "contact city",
    "contact country",
    "contact creator",
    "contact creator job title",
    "contact email",
    "contact phone",
    "contact postal code",
    "contact state",
    "contact website",
    "content category",
    "content description",
    "content description writer",
    "content headline",
    "content subject codes",
    "content supplemental categories",
    "crop",
    "crop center",
    "crop centerX",
    "crop centerY",
    "crop height",
    "crop size",
    "crop width",
    "current layer",
    "Getty original filename",
    "Getty parent MEID",
    "Getty personalities",
    "image city",
    "image country",
    "image country code",
    "image intellectual genre",
    "image location",
    "image scenes",
    "image state",
    "LCC color cast",
    "LCC dust removal",
    "LCC uniform light",
    "LCC uniform light amount",
    "lens correction",
    "pick",
    "rating",
    "status copyright notice",
    "status instructions",
    "status job identifier",
    "status provider",
    "status rights usage terms",
    "status source",
    "status title",
    "styles",
};

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

TEST(CaptureOneAdjustment, TheCatalogueHoldsEveryTermOnce)
{
    const auto all = allCaptureOneAdjustments();
    ASSERT_EQ(all.size(), 134u);
    ASSERT_EQ(std::size(dictionaryTerms), 134u);

    QSet<QString> terms;
    for (const char* term : dictionaryTerms)
        terms.insert(QString::fromUtf8(term));
    QSet<QString> catalogued;
    for (A adjustment : all)
        catalogued.insert(rawValue(adjustment));
    EXPECT_EQ(catalogued, terms);
}

TEST(CaptureOneAdjustment, CasesAreNamedAfterTheirTermsInAlphabeticalOrder)
{
    QStringList names;
    for (A adjustment : allCaptureOneAdjustments()) {
        SCOPED_TRACE(rawValue(adjustment).toStdString());
        EXPECT_EQ(caseName(adjustment), expectedCaseName(rawValue(adjustment)));
        names << caseName(adjustment);
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(allCaptureOneAdjustments().front(), A::adjustments);
    EXPECT_EQ(rawValue(A::adjustments), QStringLiteral("adjustments"));
}

TEST(CaptureOneAdjustment, RawValuesAndJsonRoundTrip)
{
    for (A adjustment : allCaptureOneAdjustments()) {
        SCOPED_TRACE(rawValue(adjustment).toStdString());
        EXPECT_EQ(captureOneAdjustmentFromRawValue(rawValue(adjustment)), adjustment);
        const Json json = toJson(adjustment);
        EXPECT_EQ(json, Json(rawValue(adjustment).toStdString()));
        EXPECT_EQ(decodeCaptureOneAdjustment(Json::parse(json.dump())), adjustment);
    }
}

TEST(CaptureOneAdjustment, TextsThatAreNoTermGiveNothing)
{
    for (const char* text : {"", "crop centerx", "Rating", "rating ", "contactCity", "LCC"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(captureOneAdjustmentFromRawValue(QString::fromUtf8(text)));
    }
    const auto decoded = decodeCaptureOneAdjustment(Json("stars"));
    ASSERT_FALSE(decoded);
    EXPECT_TRUE(decoded.error().failureReason.contains(QStringLiteral("stars")));
    EXPECT_FALSE(decodeCaptureOneAdjustment(Json(3)));
}

const QString c1 = QStringLiteral("com.captureone.captureone13");

TEST(PathScript, SetsEachValueOnTheFirstVariantOfEachPath)
{
    const CaptureOneAdjustments adjustments{{A::rating, QStringLiteral("3")},
                                            {A::contactCity, QStringLiteral("\"Rome\"")}};
    EXPECT_EQ(buildPathScript(adjustments, c1),
              QStringLiteral(
                  "use application \"com.captureone.captureone13\"\n"
                  "\n"
                  "on makeAdjustments(thePaths)\n"
                  "repeat with thePath in thePaths\n"
                  "set contact city of first variant of (every image whose path is thePath) to "
                  "\"Rome\"\n"
                  "set rating of first variant of (every image whose path is thePath) to 3\n"
                  "end repeat\n"
                  "end makeAdjustments"));
}

TEST(PathScript, StatementsAreSortedAsTextNotByCase)
{
    // By case colorTag comes first; as text the capital G of "Getty" sorts
    // before the small c.
    const CaptureOneAdjustments adjustments{{A::colorTag, QStringLiteral("2")},
                                            {A::gettyParentMeid, QStringLiteral("\"x\"")},
                                            {A::cropCenterx, QStringLiteral("10")}};
    const QStringList lines = buildPathScript(adjustments, c1).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 9);
    EXPECT_TRUE(lines[4].startsWith(QStringLiteral("set Getty parent MEID of ")));
    EXPECT_TRUE(lines[5].startsWith(QStringLiteral("set color tag of ")));
    EXPECT_TRUE(lines[6].startsWith(QStringLiteral("set crop centerX of ")));
}

TEST(PathScript, AnEmptyDictionaryKeepsTheFrame)
{
    EXPECT_EQ(buildPathScript({}, QStringLiteral("com.phaseone.captureone12")),
              QStringLiteral("use application \"com.phaseone.captureone12\"\n\non "
                             "makeAdjustments(thePaths)\nrepeat with thePath in thePaths\n\nend "
                             "repeat\nend makeAdjustments"));
}

struct AdjustmentScriptRow {
    bool primary;
    bool selected;
    const char* expected;
};

TEST(AdjustmentScript, TargetsAndFramesFollowTheFlags)
{
    const CaptureOneAdjustments adjustments{{A::rating, QStringLiteral("3")},
                                            {A::blackAndWhite, QStringLiteral("true")}};
    const AdjustmentScriptRow rows[] = {
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
    for (const AdjustmentScriptRow& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << "primary " << row.primary << " selected " << row.selected);
        EXPECT_EQ(buildAdjustmentScript(adjustments, c1, row.primary, row.selected),
                  QString::fromUtf8(row.expected));
    }
}

TEST(AdjustmentScript, TextPropertiesAreAddedTooAndAnEmptyDictionaryGivesAnEmptyBody)
{
    EXPECT_EQ(
        buildAdjustmentScript({{A::contactCity, QStringLiteral("\"Rome\"")}}, c1, false, false)
            .split(QLatin1Char('\n'))[2],
        QStringLiteral("set contact city of theVariant to contact city of theVariant + "
                       "\"Rome\""));
    EXPECT_EQ(buildAdjustmentScript({}, c1, false, false),
              QStringLiteral("use application \"com.captureone.captureone13\"\nrepeat with "
                             "theVariant in (variants whose selected is true)\n\nend repeat"));
}

} // namespace
} // namespace qb
