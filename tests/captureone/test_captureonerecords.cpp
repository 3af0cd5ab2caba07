// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureonerecords.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using D = AppleEventDescriptor;
using Kind = CaptureOneCollection::Kind;
using Information = CaptureOneCollection::Information;

const QUrl folder = QUrl::fromLocalFile("/Shoots/Day 1/Capture/Look 1");

D infoList(const char* kind, D third = D::missingValue(), D fourth = D::missingValue())
{
    return D::list(
        {D::text("Look 1"), D::text(kind), std::move(third), std::move(fourth), D::int32(12)});
}

TEST(CollectionInformation, ReadsFiveItemsAndNeedsOnlyNameKindAndCount)
{
    EXPECT_EQ(Information::fromDescriptor(infoList("CCsm", D::fileURL(folder), D::text("r > 3"))),
              (Information{"Look 1", Kind::smartAlbum, 12, "r > 3", folder}));
    EXPECT_EQ(Information::fromDescriptor(infoList("CCfv")),
              (Information{"Look 1", Kind::favorite, 12, std::nullopt, std::nullopt}));

    const std::pair<const char*, D> failing[] = {
        {"unknown kind", infoList("CCxx")},
        {"four items",
         D::list({D::text("a"), D::text("CCal"), D::missingValue(), D::missingValue()})},
        {"name is not text", D::list({D::missingValue(), D::text("CCal"), D::missingValue(),
                                      D::missingValue(), D::int32(1)})},
        {"not a list", D::text("Look 1")},
    };
    for (const auto& [name, list] : failing) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Information::fromDescriptor(list));
    }
}

TEST(CaptureNaming, ReadsFormatThenNameAndSendsAbsentPartsAsMissingValue)
{
    EXPECT_EQ(CaptureNaming::fromDescriptor(D::textList({"[Capture Name]_[Counter]", "Look"})),
              (CaptureNaming{"[Capture Name]_[Counter]", "Look"}));
    EXPECT_FALSE(CaptureNaming::fromDescriptor(D::textList({"only one"})));

    EXPECT_EQ(CaptureNaming::Request{}.arguments(),
              (D::List{D::missingValue(), D::missingValue()}));
    EXPECT_EQ((CaptureNaming::Request{std::nullopt, "Look"}.arguments()),
              (D::List{D::missingValue(), D::text("Look")}));
    EXPECT_EQ((CreateFavorites{{"A", "B"}, true}.arguments()),
              (D::List{D::textList({"A", "B"}), D::boolean(true)}));
}

TEST(RecordJson, KeysAreTheFieldNames)
{
    EXPECT_EQ((Information{"Look 1", Kind::favorite, 3, std::nullopt, folder}.toJson().dump()),
              R"({"collectionName":"Look 1","kind":"CCfv","variantCount":3,)"
              R"("folder":"file:///Shoots/Day%201/Capture/Look%201"})");
    EXPECT_EQ(CaptureOneCollection{"Selects"}.toJson().dump(), R"({"collectionName":"Selects"})");
    EXPECT_EQ(CaptureNaming::Request{}.toJson().dump(), "{}");
    EXPECT_EQ((CaptureOneValidation::Request{"Selects", {"S1"}, true}.toJson().dump()),
              R"({"comparitorCollection":"Selects","collections":["S1"],"includeFavorites":true})");
    EXPECT_EQ((CaptureOneValidation::Result{"Selects", {{"S1", 2}, {"S10", 1}}}.toJson().dump()),
              R"({"comparitorCollection":"Selects","result":{"S1":2,"S10":1}})");
}

TEST(RecordJson, EveryRecordRoundTrips)
{
    for (const Information& information :
         {Information{"Look 1", Kind::smartAlbum, -1, "rules", folder},
          Information{"Look 2", Kind::group, 0, std::nullopt, std::nullopt}})
        EXPECT_EQ(Information::decode(information.toJson()), information);
    const CaptureNaming naming{"f", "n"};
    EXPECT_EQ(CaptureNaming::decode(naming.toJson()), naming);
    const CaptureNaming::Request request{"f", std::nullopt};
    EXPECT_EQ(CaptureNaming::Request::decode(request.toJson()), request);
    const CreateFavorites favorites{{"Look 1", "Look 2"}, true};
    EXPECT_EQ(CreateFavorites::decode(favorites.toJson()), favorites);
    const CaptureOneValidation::Request validation{"Selects", {"S1", "S2"}, false};
    EXPECT_EQ(CaptureOneValidation::Request::decode(validation.toJson()), validation);
    const CaptureOneValidation::Result result{"Selects", {{"S1", 4}}};
    EXPECT_EQ(CaptureOneValidation::Result::decode(result.toJson()), result);
}

TEST(RecordJson, KindsTravelAsTheirFourCharacters)
{
    const std::pair<Kind, const char*> kinds[] = {
        {Kind::album, "CCal"}, {Kind::catalogFolder, "CCff"}, {Kind::favorite, "CCfv"},
        {Kind::group, "CCgp"}, {Kind::project, "CCpj"},       {Kind::smartAlbum, "CCsm"}};
    for (const auto& [kind, code] : kinds) {
        SCOPED_TRACE(code);
        EXPECT_EQ(toJson(kind), Json(code));
        EXPECT_EQ(decodeCollectionKind(Json(code)), kind);
    }
    EXPECT_FALSE(decodeCollectionKind(Json("CCxx")));
    EXPECT_FALSE(collectionKindFromRawValue("ccal"));
}

TEST(RecordJson, MissingRequiredKeysFailWithTheirPlace)
{
    const auto noCount =
        Information::decode(Json::parse(R"({"collectionName":"a","kind":"CCal"})"));
    ASSERT_FALSE(noCount);
    EXPECT_TRUE(noCount.error().failureReason.contains("variantCount"));
    EXPECT_FALSE(CaptureOneValidation::Request::decode(
        Json::parse(R"({"comparatorCollection":"a","collections":[],"includeFavorites":true})")));
    EXPECT_FALSE(CreateFavorites::decode(Json::parse(R"({"dirNames":["a",1],"setCapture":true})")));
    EXPECT_FALSE(Information::decode(
        Json::parse(R"({"collectionName":"a","kind":"CCal","variantCount":4294967296})")));
}

} // namespace
} // namespace qb
