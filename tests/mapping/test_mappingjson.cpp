// SPDX-License-Identifier: GPL-3.0-or-later
#include "mapping/metadatamapping.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

TEST(MappingJson, EveryMapperTypeRoundTripsWithItsExactForm)
{
    const char* forms[] = {
        R"({"attributes":{"delimiter":";"},"type":"array"})",
        R"({"attributes":{},"type":"string"})",
        R"({"attributes":{"transformation":"capitalize"},"type":"stringCase"})",
        R"j({"attributes":{"target":"(\\d+)","replacement":"$1","isRegex":true},"type":"stringReplacement"})j",
        R"({"attributes":{},"type":"boolean"})",
        R"({"attributes":{"trueValue":"Yes","falseValue":"No"},"type":"booleanValue"})",
        R"({"attributes":{"format":"yyyy-MM-dd"},"type":"date"})",
        R"({"attributes":{"comparison":{"type":"isInTheNext","interval":-3,"unit":"month"}},"type":"dateComparison"})",
    };
    for (std::size_t i = 0; i < std::size(forms); ++i) {
        SCOPED_TRACE(forms[i]);
        const Json json = Json::parse(forms[i]);
        const MappingContainer container = MappingContainer::fromJson(JsonObject(json, {}));
        EXPECT_EQ(static_cast<std::size_t>(container.type()), i);
        EXPECT_EQ(container.toJson().dump(), json.dump()); // key order too
        const auto again = MappingContainer::make(*container.mapper());
        ASSERT_TRUE(again.has_value());
        EXPECT_EQ(again->toJson(), json);
    }
}

TEST(MappingJson, MappingWritesKeysInOrderAndDescribesItself)
{
    MetadataMapping mapping(
        QStringLiteral("Title"), QStringLiteral("IPTC:Headline"),
        {std::make_shared<ArrayMapper>(QStringLiteral(";")),
         std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase)});
    EXPECT_EQ(mapping.toJson().dump(),
              R"({"keyName":"Title","destTag":"IPTC:Headline","actions":{"mappers":[)"
              R"({"attributes":{"delimiter":";"},"type":"array"},)"
              R"({"attributes":{"transformation":"uppercase"},"type":"stringCase"}]}})");
    EXPECT_EQ(mapping.description(), "Mapping 'Title' -> 2 actions -> 'IPTC:Headline'");

    const auto decoded = MetadataMapping::decode(mapping.toJson());
    ASSERT_TRUE(decoded.has_value()) << decoded.error().message().toStdString();
    EXPECT_EQ(*decoded, mapping);

    // An empty chain survives the round trip; a copy shares its chain.
    MetadataMapping none(QStringLiteral("A"), QStringLiteral("XMP:B"));
    EXPECT_EQ(none.description(), "Mapping 'A' -> 0 actions -> 'XMP:B'");
    const auto empty = MetadataMapping::decode(none.toJson());
    ASSERT_TRUE(empty.has_value());
    EXPECT_EQ(empty->toJson()["actions"].dump(), R"({"mappers":[]})");
    MetadataMapping copy = none;
    copy.actions->mappers.push_back(std::make_shared<StringMapper>());
    EXPECT_EQ(none.description(), "Mapping 'A' -> 1 action -> 'XMP:B'");
}

TEST(MappingJson, DescriptionKeepsUserTextAsWritten)
{
    const struct {
        const char* keyName;
        const char* destTag;
        const char* expected;
    } cases[] = {
        {"Rate %2", "XMP:Rating", "Mapping 'Rate %2' -> 0 actions -> 'XMP:Rating'"},
        {"%1%3", "XMP:%4", "Mapping '%1%3' -> 0 actions -> 'XMP:%4'"},
        {"100%", "%L1", "Mapping '100%' -> 0 actions -> '%L1'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.keyName);
        EXPECT_EQ(MetadataMapping(c.keyName, c.destTag).description(), c.expected);
    }
}

TEST(MappingJson, DecodingErrorsNameTheProblemAndThePlace)
{
    const struct {
        const char* name;
        const char* json;
        const char* reason; // the failure reason must say what and where
    } cases[] = {
        {"unknown_type",
         R"({"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"rot13","attributes":{}}]}})",
         "At actions.mappers[0].type: unknown mapper type \"rot13\"."},
        {"missing_key_name", R"({"destTag":"b","actions":{"mappers":[]}})",
         "At top level: the key \"keyName\" is missing."},
        {"wrong_kind", R"({"keyName":1,"destTag":"b","actions":{"mappers":[]}})",
         "At keyName: expected a string, found an integer."},
        {"mappers_not_array", R"({"keyName":"a","destTag":"b","actions":{"mappers":{}}})",
         "At actions.mappers: expected an array, found an object."},
        {"missing_attributes",
         R"({"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"string"}]}})",
         "At actions.mappers[0]: the key \"attributes\" is missing."},
        {"missing_attribute",
         R"({"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"array","attributes":{}}]}})",
         "At actions.mappers[0].attributes: the key \"delimiter\" is missing."},
        {"unknown_transformation",
         R"({"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"stringCase","attributes":{"transformation":"shout"}}]}})",
         "At actions.mappers[0].attributes.transformation: \"shout\" is not a known value."},
        {"interval_not_integer",
         R"({"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"dateComparison","attributes":{"comparison":{"type":"isInTheLast","interval":1.5,"unit":"day"}}}]}})",
         "At actions.mappers[0].attributes.comparison.interval: expected an integer, found a "
         "number."},
        {"not_an_object", R"([1])", "At top level: expected an object, found an array."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto decoded = MetadataMapping::decode(Json::parse(c.json));
        ASSERT_FALSE(decoded.has_value());
        EXPECT_EQ(decoded.error().failureReason.toStdString(), c.reason);
        EXPECT_EQ(decoded.error().domain, "QuillbrookKit.DecodingError");
    }
}

TEST(MappingJson, ListDecodingFailsWhole)
{
    const auto ok = MetadataMapping::decodeList(
        Json::parse(R"([{"keyName":"a","destTag":"b","actions":{"mappers":[]}}])"));
    ASSERT_TRUE(ok.has_value());
    EXPECT_EQ(ok->size(), 1u);
    const auto bad = MetadataMapping::decodeList(
        Json::parse(R"([{"keyName":"a","destTag":"b","actions":{"mappers":[]}},{"keyName":"a"}])"));
    ASSERT_FALSE(bad.has_value());
    EXPECT_EQ(bad.error().failureReason, "At [1]: the key \"destTag\" is missing.");
}

} // namespace
