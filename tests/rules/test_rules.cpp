// SPDX-License-Identifier: GPL-3.0-or-later
#include "rules/conversionmodes.h"
#include "rules/destinationtable.h"
#include "rules/rowconversion.h"

#include "extensions/log.h"
#include "extensions/notificationcenter.h"

#include "../support/capturedoutput.h"
#include "../support/printing.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using Mappers = std::vector<std::shared_ptr<const ValueMapper>>;

QStringList displayNames(const Criteria& criteria)
{
    QStringList names;
    for (const CriterionPtr& criterion : criteria) {
        const DisplayValue value = criterion->displayValue();
        switch (value.kind) {
        case DisplayValue::Kind::text:
            names << value.text;
            break;
        case DisplayValue::Kind::separator:
            names << QStringLiteral("-");
            break;
        case DisplayValue::Kind::textField:
            names << QLatin1Char('[') + value.textField->stringValue() + QLatin1Char(']');
            break;
        }
    }
    return names;
}

TEST(DestinationTable, OrderSeparatorsAndComputedNames)
{
    const auto& table = destinationTable();
    ASSERT_EQ(table.size(), 49u);
    Criteria all(table.begin(), table.end());
    const QStringList names = displayNames(destinationsFor(std::nullopt));
    QList<int> separators;
    for (int i = 0; i < names.size(); ++i)
        if (names[i] == "-")
            separators << i + 1;
    EXPECT_EQ(separators, (QList<int>{4, 15, 22, 30, 38, 42}));

    // Names taken from the tag keep runs of capitals after the second letter.
    const std::pair<const char*, const char*> computed[] = {
        {"XMP:Rating", "Rating"},
        {"XMP:CreatorWorkURL", "Creator Work URL"},
        {"XMP:CreatorPostalCode", "Creator Postal Code"},
        {"XMP:SupplementalCategories", "Supplemental Categories"},
        {"XMP:IntellectualGenre", "Intellectual Genre"},
        {"XMP:CreatorRegion", "Creator State/ Province"},
        {"XMP:UsageTerms", "Right Usage Terms"},
        {"EXIF:ISO", "ISO"},
    };
    for (const auto& [tag, name] : computed) {
        SCOPED_TRACE(tag);
        const auto entry = findDestination(all, tag);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->displayName, name);
    }

    EXPECT_EQ(*table[3], *table[14]); // separators equal one another
    EXPECT_FALSE(*table[0] == *table[1]);
    EXPECT_TRUE(*table[1] < *table[0]); // "Color Tag" before "Rating"
}

TEST(DestinationTable, ModesFilterTheDestinations)
{
    EXPECT_EQ(displayNames(destinationsFor(MapperType::array)),
              (QStringList{"Keywords", "Supplemental Categories", "Subject Code", "Image Scene",
                           "Getty Personality"}));
    for (MapperType mode : {MapperType::string, MapperType::stringCase, MapperType::boolean,
                            MapperType::stringReplacement, MapperType::booleanValue,
                            MapperType::date, MapperType::dateComparison})
        EXPECT_EQ(destinationsFor(mode).size(), 49u);
    const auto creator = findDestination(destinationsFor(std::nullopt), "XMP:Creator");
    ASSERT_TRUE(creator);
    EXPECT_FALSE(creator->supports(MapperType::array));
}

struct RowCase {
    const char* name;
    QString key;
    QString tag;
    Mappers mappers;
    QStringList row;                     // what the row shows
    std::optional<MetadataMapping> back; // what the row gives when read again
};

std::vector<RowCase> rowCases()
{
    const auto array = std::make_shared<ArrayMapper>(";");
    const auto upper =
        std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase);
    const auto string = std::make_shared<StringMapper>();
    const auto regexReplace = std::make_shared<StringReplacementMapper>("a+", "b", true);
    const auto literalReplace = std::make_shared<StringReplacementMapper>("a+", "b", false);
    const auto date = std::make_shared<DateMapper>("yyyy-MM-dd");
    const auto boolean = std::make_shared<BooleanMapper>();
    return {
        {"source_value",
         "Title",
         "XMP:Title",
         {},
         {"Title", "use source value", "Title"},
         MetadataMapping("Title", "XMP:Title")},
        {"array",
         "Keywords",
         "XMP:Subject",
         {array},
         {"Keywords", "convert to an array", "with delimiter", "[;]", "Keywords"},
         MetadataMapping("Keywords", "XMP:Subject", {array})},
        {"string_case",
         "City",
         "XMP:City",
         {upper},
         {"City", "modify string case", "Uppercase", "Image City"},
         MetadataMapping("City", "XMP:City", {upper})},
        {"string",
         "Shot",
         "XMP:TransmissionReference",
         {string},
         {"Shot", "convert to a string", "Job Identifier"},
         MetadataMapping("Shot", "XMP:TransmissionReference", {string})},
        {"replacement_loses_regex",
         "Title",
         "XMP:Headline",
         {regexReplace},
         {"Title", "replace occurences", "of", "[a+]", "with", "[b]", "Headline"},
         MetadataMapping("Title", "XMP:Headline", {literalReplace})},
        {"date",
         "Title",
         "XMP:Description",
         {date},
         {"Title", "convert to date", "[yyyy-MM-dd]", "Description"},
         MetadataMapping("Title", "XMP:Description", {date})},
        {"second_mapper_dropped",
         "Title",
         "XMP:Title",
         {string, array},
         {"Title", "convert to a string", "Title"},
         MetadataMapping("Title", "XMP:Title", {string})},
        {"tag_not_offered_ends_row",
         "Keywords",
         "XMP:Creator",
         {array},
         {"Keywords", "convert to an array", "with delimiter", "[;]"},
         std::nullopt},
        {"tag_not_in_table_ends_row",
         "Title",
         "EXIF:Artist",
         {},
         {"Title", "use source value"},
         std::nullopt},
        // Kept whole in a row of their own, as the document has them.
        {"key_not_in_source",
         "Missing",
         "XMP:Title",
         {date, string},
         {"Missing \u25b8 convert to date \u25b8 Title"},
         MetadataMapping("Missing", "XMP:Title", {date, string})},
        {"mapper_without_place",
         "Title",
         "XMP:Label",
         {boolean},
         {"Title \u25b8 Map to a bool \u25b8 Color Tag"},
         MetadataMapping("Title", "XMP:Label", {boolean})},
        {"neither_column_nor_tag_known",
         "Missing",
         "XMP:Nothing",
         {},
         {"Missing \u25b8 use source value \u25b8 XMP:Nothing"},
         MetadataMapping("Missing", "XMP:Nothing")},
    };
}

TEST(RowConversion, MappingsBecomeRowsAndRowsMappings)
{
    NotificationCenter center;
    for (const RowCase& c : rowCases()) {
        SCOPED_TRACE(c.name);
        const auto sources = makeSourceTagCriteria({"Title", "Keywords", "City", "Shot"}, &center);
        const auto row = rowForMapping(MetadataMapping(c.key, c.tag, c.mappers), 0, sources);
        EXPECT_EQ(displayNames(row), c.row);
        // Only a row kept whole says why it can't act.
        EXPECT_EQ(row.front()->unfinishedReason().isEmpty(), c.row.size() > 1);
        const auto back = mappingForRow(row, 0);
        EXPECT_EQ(back.has_value(), c.back.has_value());
        if (back && c.back) {
            EXPECT_EQ(*back, *c.back) << back->description().toStdString();
        }
    }
}

TEST(RowConversion, AnUnplacedRowSaysWhatIsMissing)
{
    const auto sources = makeSourceTagCriteria({"Title"}, nullptr);
    const auto missing = rowForMapping(MetadataMapping("Caption", "XMP:Title"), 0, sources);
    EXPECT_EQ(missing.front()->unfinishedReason(), "The data has no column \u201cCaption\u201d");
    const auto boolean = rowForMapping(
        MetadataMapping("Title", "XMP:Label", {std::make_shared<BooleanMapper>()}), 0, sources);
    EXPECT_EQ(boolean.front()->unfinishedReason(),
              "No rule can show the conversion \u201cMap to a bool\u201d");
}

TEST(RowConversion, EveryStepIsLogged)
{
    NotificationCenter center;
    const auto sources = makeSourceTagCriteria({"City"}, &center);
    const auto upper =
        std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase);
    qb::testing::CapturedOutput lines;
    const auto row = rowForMapping(MetadataMapping("City", "XMP:City", {upper}), 3, sources);
    mappingForRow(row, 3);
    rowForMapping(MetadataMapping("City", "XMP:City", {std::make_shared<BooleanMapper>()}), 4,
                  sources);
    const QString mapping = "Mapping 'City' -> 1 action -> 'XMP:City'";
    EXPECT_EQ(lines.all, (QStringList{
                             "Adding row for '" + mapping + "' at 3",
                             "Adding SourceTagCriterion(City) to row",
                             "Adding ConversionModeCriterion(modify string case) to row",
                             "Adding TransformationCriterion(uppercase) to row",
                             "Adding ExifTagCriterion(XMP:City) to row",
                             "Row for SourceTagCriterion(City) has 4 criteria",
                             "Created mapper from row: " + mapping,
                             "Created " + mapping + " from RuleEditor row 3",
                             "Adding row for '" + mapping + "' at 4",
                             "Skipping '" + mapping +
                                 "': a rule row has no place for the mapper \"Map to a bool\"",
                         }));
}

TEST(RowConversion, ModesNeverOfferedKeepTheirRowForms)
{
    NotificationCenter center;
    BooleanValueCriterion values(&center);
    values.setParameters(BooleanValueMapper("Yes", "No"));
    EXPECT_EQ(displayNames(values.rowCriteria("XMP:Label")),
              (QStringList{"if true", "[Yes]", "if false", "[No]", "Color Tag"}));

    DateComparisonMapperCriterion comparison(&center);
    comparison.setParameters(DateComparisonMapper(
        {DateComparison::Type::isInTheNext, 3, DateComparison::Component::month}));
    EXPECT_EQ(displayNames(comparison.rowCriteria("XMP:Title")),
              (QStringList{"isInTheNext", "[3]", "month", "Title"}));
    const auto mapper =
        std::dynamic_pointer_cast<const DateComparisonMapper>(comparison.mapper({}));
    ASSERT_TRUE(mapper);
    EXPECT_EQ(mapper->comparison.interval, 3);
    comparison.intervalCriterion->setStringValue("three");
    EXPECT_EQ(std::dynamic_pointer_cast<const DateComparisonMapper>(comparison.mapper({}))
                  ->comparison.interval,
              0);
}

TEST(TextFields, RowsOfOneKeyAndModeShareThem)
{
    static int argc = 1;
    static char name[] = "qb_rules_tests";
    static char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    NotificationCenter center;
    int posted = 0;
    QObject observer;
    center.addObserver(ruleTextChangeNotification, nullptr, &observer,
                       [&](const QObject*) { ++posted; });
    const auto sources = makeSourceTagCriteria({"Shot Date"}, &center);
    const auto first = rowForMapping(
        MetadataMapping("Shot Date", "XMP:Title", {std::make_shared<DateMapper>("yyyy")}), 0,
        sources);
    const auto second = rowForMapping(
        MetadataMapping("Shot Date", "XMP:Description", {std::make_shared<DateMapper>("dd.MM")}), 1,
        sources);
    // The later row's loading wins for both.
    EXPECT_EQ(displayNames(first)[2], "[dd.MM]");

    auto* field = dynamic_cast<TextFieldCriterion*>(second[2].get());
    ASSERT_TRUE(field);
    EXPECT_EQ(field->editorChanged("yyyy-MM"), "yyyy-MM");
    EXPECT_EQ(displayNames(first)[2], "[yyyy-MM]");
    // An emptied field keeps the text it had.
    EXPECT_EQ(field->editorChanged(""), "yyyy-MM");
    // Only once the field's signal has returned: an observer that saves the
    // rows rebuilds the tree the field's criterion belongs to.
    EXPECT_EQ(posted, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(posted, 2);

    // A new row's delimiter reads ", ".
    const auto array = std::static_pointer_cast<ArrayMapperCriterion>(sources[0]->children()[1]);
    EXPECT_EQ(array->textField->stringValue(), ", ");
}

} // namespace
