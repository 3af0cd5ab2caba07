// SPDX-License-Identifier: GPL-3.0-or-later
#include "mapping/metadataassignment.h"
#include "sources/filenamedatasource.h"
#include "sources/shotlistcoordinator.h"

#include "extensions/log.h"
#include "extensions/regex.h"
#include "extensions/texthelpers.h"

#include <gtest/gtest.h>

#include <functional>

using namespace qb;

namespace {

QUrl image(const char* path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

TEST(MapImages, KeepsImagesWithARowInProviderOrder)
{
    FileNameDataSource source(
        {{"B", {{"title", "b"}}}, {"A", {{"title", "a"}}}, {"E", {}}, {"U", {{"unmapped", "x"}}}});
    EXPECT_TRUE(mapImages(URLListProvider({}), source, {}).empty());

    const auto images =
        mapImages(URLListProvider({image("/x/B1.jpg"), image("/x/C.jpg"), image("/x/A1.jpg"),
                                   image("/x/E.jpg"), image("/x/U.jpg")}),
                  source, {{"title", "XMP:Title"}});
    ASSERT_EQ(images.size(), 3u);
    EXPECT_EQ(images[0]->url(), image("/x/B1.jpg"));
    EXPECT_EQ(images[0]->metadata.at("XMP:Title"), "b");
    EXPECT_EQ(images[1]->metadata.at("SourceFile"), DynamicValue(image("/x/A1.jpg")));
    EXPECT_EQ(images[2]->metadata.size(), 1u); // a row of unmapped fields: SourceFile only
}

TEST(ApplyMappings, TagValuesFromOneRow)
{
    const auto upper =
        std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase);
    const auto date = std::make_shared<DateMapper>("yyyy-MM-dd");
    const auto boolean = std::make_shared<BooleanMapper>();
    const auto split = std::make_shared<ArrayMapper>(";");
    const DynamicValue emptyList{DynamicValue::List{}};
    const struct {
        const char* name;
        MetadataRow row;
        std::vector<MetadataMapping> mappings;
        EmptyCells emptyCells;
        ExifImage::Metadata expected;
    } cases[] = {
        {"every rule of a field acts",
         {{"title", "fjord"}},
         {{"title", "XMP:Title", {upper}}, {"title", "IPTC:Headline"}, {"title", "EXIF:Artist"}},
         EmptyCells::keep,
         {{"XMP:Title", "FJORD"}, {"IPTC:Headline", "fjord"}, {"EXIF:Artist", "fjord"}}},
        {"the upper row's value stands, whichever field comes first",
         {{"a", "1"}, {"b", "2"}},
         {{"b", "XMP:Tag"}, {"a", "xmp:tag"}},
         EmptyCells::keep,
         {{"XMP:Tag", "2"}}},
        {"an upper row without a value gives way",
         {{"a", "2021-13-45"}, {"b", "2"}},
         {{"a", "XMP:Tag", {date}}, {"b", "XMP:Tag"}},
         EmptyCells::keep,
         {{"XMP:Tag", "2"}}},
        {"empty and blank cells keep the file's value",
         {{"city", ""}, {"title", "   "}, {"tags", " ; "}},
         {{"city", "XMP:City"}, {"title", "XMP:Title"}, {"tags", "XMP:Subject", {split}}},
         EmptyCells::keep,
         {}},
        {"empty and blank cells clear the tag",
         {{"city", ""}, {"title", "   "}, {"tags", ""}},
         {{"city", "XMP:City"}, {"title", "XMP:Title"}, {"tags", "XMP:Subject", {split}}},
         EmptyCells::clear,
         {{"XMP:City", emptyList}, {"XMP:Title", emptyList}, {"XMP:Subject", emptyList}}},
        {"absent result leaves the tag out",
         {{"date", "2021-13-45"}, {"flag", "soon"}},
         {{"date", "EXIF:DateTimeOriginal", {date}}, {"flag", "XMP:Flag", {date, boolean}}},
         EmptyCells::keep,
         {{"XMP:Flag", false}}},
        {"canonical equivalence",
         {{"Caf\u00e9", "x"}},
         {{"Cafe\u0301", "XMP:Place"}},
         EmptyCells::keep,
         {{"XMP:Place", "x"}}},
        {"no case folding", {{"Title", "x"}}, {{"title", "XMP:Title"}}, EmptyCells::keep, {}},
        {"no mappings", {{"Title", "x"}}, {}, EmptyCells::keep, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(applyMappings(c.row, c.mappings, c.emptyCells), c.expected);
    }
}

TEST(MapImages, NotesEachTagsRuleAndWhatEmptyCellsLeaveAlone)
{
    FileNameDataSource source({{"A", {{"title", "t"}, {"caption", " "}, {"city", ""}}}});
    const std::vector<MetadataMapping> rules{{"title", "XMP-dc:Title"},
                                             {"caption", "XMP-dc:Description"},
                                             {"city", "XMP-dc:Title"},
                                             {"caption", "IPTC:Caption-Abstract"}};
    const auto images = mapImages(URLListProvider({image("/x/A1.jpg")}), source, rules);
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0]->notes.ruleOf.at("XMP-dc:Title"), "title");
    EXPECT_EQ(images[0]->notes.leftAlone,
              QStringList({"IPTC:Caption-Abstract", "XMP-dc:Description"}));
    // Row 3 writes the tag row 1 writes: it is named, and gives way.
    const auto overruled = overruledRules(rules);
    ASSERT_EQ(overruled.size(), 1u);
    EXPECT_EQ(overruled[0].row, 2);
    EXPECT_EQ(overruled[0].upper, 0);
    EXPECT_EQ(overruledRuleWarnings(rules),
              QStringList({"The rule for \u201ccity\u201d (row 3) writes XMP-dc:Title, as the "
                           "rule for \u201ctitle\u201d (row 1) does: the upper row\u2019s value "
                           "stands."}));
}

TEST(RegexTimeLimit, PatternThatRunsOutOfTimeMatchesNothingAndIsToldOncePerRun)
{
    // Backtracks without end on a run of a's that ends in something else.
    const QString catastrophic = QStringLiteral("(a+)+$");
    const QString name = QString(30, QLatin1Char('a')) + QLatin1Char('b');
    auto source = std::make_shared<FileNameDataSource>(
        MetadataTable{{catastrophic, {{"title", "bad"}}}, {"^a+b$", {{"title", "good"}}}});
    source->setMatchingStyle(FileNameDataSource::MatchingStyle::regex);
    auto provider = std::make_shared<URLListProvider>(
        QList<QUrl>{image(qPrintable("/x/" + name)), image(qPrintable("/y/" + name + ".tif"))});
    const StringReplacementMapper replacement(catastrophic, "x", true);

    const struct {
        const char* name;
        std::function<bool()> answersNoMatch; // and the run goes on
    } cases[] = {
        {"keys of an assignment",
         [&] {
             const auto images = mapImages(*provider, *source, {{"title", "XMP:Title"}});
             return images.size() == 2 && images[1]->metadata.at("XMP:Title") == "good";
         }},
        {"keys of a shot list",
         [&] {
             ShotlistCoordinator coordinator(provider, source);
             coordinator.setRequireMatchingFolder(false);
             const auto shots = coordinator.shotRequests();
             return shots.size() == 2 && shots[0].images.isEmpty() && shots[1].images.size() == 2;
         }},
        {"replacement mapper",
         [&] {
             return replacement.map(name) == name;
         }},
        {"first capture",
         [&] {
             return !firstCapture(catastrophic, name).has_value();
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QStringList logged;
        setLogSink([&](const QString& line) { logged << line; });
        {
            const RegexTimeouts run;
            EXPECT_TRUE(c.answersNoMatch());
            EXPECT_EQ(run.patterns(), QStringList{catastrophic});
        }
        setLogSink({});
        EXPECT_EQ(logged, QStringList{RegexTimeouts::message(catastrophic)});
    }
}

TEST(ExifImageRecord, UrlAndMerge)
{
    EXPECT_EQ(ExifImage(image("/a/b.jpg")).url(), image("/a/b.jpg"));
    EXPECT_EQ(ExifImage(ExifImage::Metadata{{"SourceFile", "/a/b c.jpg"}}).url(),
              image("/a/b c.jpg"));
    EXPECT_FALSE(ExifImage(ExifImage::Metadata{{"SourceFile", 3}}).url().has_value());
    EXPECT_FALSE(ExifImage(ExifImage::Metadata{}).url().has_value());

    ExifImage record(ExifImage::Metadata{{"a", "1"}, {"b", "2"}});
    record.merge({{"a", "x"}, {"c", "3"}}, false);
    EXPECT_EQ(record.metadata, (ExifImage::Metadata{{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    record.merge({{"a", "x"}}, true);
    EXPECT_EQ(record.metadata.at("a"), "x");
    record.merge({}, true);
    EXPECT_EQ(record.metadata.size(), 3u);
}

} // namespace
