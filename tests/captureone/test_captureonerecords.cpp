// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureonerecords.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using D = AppleEventDescriptor;
using Kind = CaptureOneCollection::Kind;
using Information = CaptureOneCollection::Information;

const QUrl folder = QUrl::fromLocalFile(QStringLiteral("/Shoots/Day 1/Capture/Look 1"));

D infoList(const char* kind, D third, D fourth)
{
    return D::list({D::text(QStringLiteral("Look 1")), D::text(QString::fromUtf8(kind)),
                    std::move(third), std::move(fourth), D::int32(12)});
}

TEST(CollectionInformation, ReadsTheFiveItemsOfTheScriptsList)
{
    const auto information = Information::fromDescriptor(
        infoList("CCsm", D::fileURL(folder), D::text(QStringLiteral("rating > 3"))));
    ASSERT_TRUE(information);
    EXPECT_EQ(*information, (Information{QStringLiteral("Look 1"), Kind::smartAlbum, 12,
                                         QStringLiteral("rating > 3"), folder}));
}

struct ShapeRow {
    const char* name;
    D list;
    bool converts;
};

TEST(CollectionInformation, NeedsNameKindAndCountButNotFolderOrRules)
{
    const ShapeRow rows[] = {
        {"missing values for folder and rules",
         infoList("CCfv", D::missingValue(), D::missingValue()), true},
        {"unknown kind", infoList("CCxx", D::missingValue(), D::missingValue()), false},
        {"four items",
         D::list({D::text(QStringLiteral("a")), D::text(QStringLiteral("CCal")), D::missingValue(),
                  D::missingValue()}),
         false},
        {"name is not text",
         D::list({D::missingValue(), D::text(QStringLiteral("CCal")), D::missingValue(),
                  D::missingValue(), D::int32(1)}),
         false},
        {"not a list", D::text(QStringLiteral("Look 1")), false},
    };
    for (const ShapeRow& row : rows) {
        SCOPED_TRACE(row.name);
        const auto information = Information::fromDescriptor(row.list);
        EXPECT_EQ(information.has_value(), row.converts);
        if (information) {
            EXPECT_FALSE(information->folder);
            EXPECT_FALSE(information->rules);
        }
    }
}

TEST(CaptureNaming, ReadsFormatThenName)
{
    EXPECT_EQ(CaptureNaming::fromDescriptor(D::textList(
                  {QStringLiteral("[Capture Name]_[Counter]"), QStringLiteral("Look")})),
              (CaptureNaming{QStringLiteral("[Capture Name]_[Counter]"), QStringLiteral("Look")}));
    EXPECT_FALSE(CaptureNaming::fromDescriptor(D::textList({QStringLiteral("only one")})));
}

TEST(ScriptArguments, AbsentNamingPartsGoAsMissingValue)
{
    EXPECT_EQ(CaptureNaming::Request{}.arguments(),
              (D::List{D::missingValue(), D::missingValue()}));
    EXPECT_EQ((CaptureNaming::Request{std::nullopt, QStringLiteral("Look")}.arguments()),
              (D::List{D::missingValue(), D::text(QStringLiteral("Look"))}));
    EXPECT_EQ((CreateFavorites{{"A", "B"}, true}.arguments()),
              (D::List{D::textList({"A", "B"}), D::boolean(true)}));
}

TEST(RecordJson, KeysAreTheFieldNames)
{
    const Information information{QStringLiteral("Look 1"), Kind::favorite, 3, std::nullopt,
                                  folder};
    EXPECT_EQ(information.toJson().dump(),
              R"({"collectionName":"Look 1","kind":"CCfv","variantCount":3,)"
              R"("folder":"file:///Shoots/Day%201/Capture/Look%201"})");
    EXPECT_EQ(CaptureOneCollection{QStringLiteral("Selects")}.toJson().dump(),
              R"({"collectionName":"Selects"})");
    EXPECT_EQ(CaptureNaming::Request{}.toJson().dump(), "{}");
    EXPECT_EQ(
        (CaptureOneValidation::Request{QStringLiteral("Selects"), {"S1"}, true}.toJson().dump()),
        R"({"comparitorCollection":"Selects","collections":["S1"],"includeFavorites":true})");
    EXPECT_EQ((CaptureOneValidation::Result{QStringLiteral("Selects"), {{"S1", 2}, {"S10", 1}}}
                   .toJson()
                   .dump()),
              R"({"comparitorCollection":"Selects","result":{"S1":2,"S10":1}})");
}

TEST(RecordJson, EveryRecordRoundTrips)
{
    const Information full{QStringLiteral("Look 1"), Kind::smartAlbum, -1, QStringLiteral("rules"),
                           folder};
    const Information bare{QStringLiteral("Look 2"), Kind::group, 0, std::nullopt, std::nullopt};
    for (const Information& information : {full, bare})
        EXPECT_EQ(Information::decode(information.toJson()), information);
    const CaptureNaming naming{QStringLiteral("f"), QStringLiteral("n")};
    EXPECT_EQ(CaptureNaming::decode(naming.toJson()), naming);
    const CaptureNaming::Request request{QStringLiteral("f"), std::nullopt};
    EXPECT_EQ(CaptureNaming::Request::decode(request.toJson()), request);
    const CreateFavorites favorites{{"Look 1", "Look 2"}, true};
    EXPECT_EQ(CreateFavorites::decode(favorites.toJson()), favorites);
    const CaptureOneValidation::Request validation{QStringLiteral("Selects"), {"S1", "S2"}, false};
    EXPECT_EQ(CaptureOneValidation::Request::decode(validation.toJson()), validation);
    const CaptureOneValidation::Result result{QStringLiteral("Selects"), {{"S1", 4}}};
    EXPECT_EQ(CaptureOneValidation::Result::decode(result.toJson()), result);
}

TEST(RecordJson, KindsTravelAsTheirFourCharacters)
{
    for (Kind kind : {Kind::album, Kind::catalogFolder, Kind::favorite, Kind::group, Kind::project,
                      Kind::smartAlbum}) {
        SCOPED_TRACE(rawValue(kind).toStdString());
        EXPECT_EQ(rawValue(kind).size(), 4);
        EXPECT_EQ(decodeCollectionKind(toJson(kind)), kind);
    }
    EXPECT_EQ(toJson(Kind::catalogFolder), Json("CCff"));
    EXPECT_FALSE(decodeCollectionKind(Json("CCxx")));
    EXPECT_FALSE(collectionKindFromRawValue(QStringLiteral("ccal")));
}

TEST(RecordJson, MissingRequiredKeysFailWithTheirPlace)
{
    const auto noCount =
        Information::decode(Json::parse(R"({"collectionName":"a","kind":"CCal"})"));
    ASSERT_FALSE(noCount);
    EXPECT_TRUE(noCount.error().failureReason.contains(QStringLiteral("variantCount")));
    EXPECT_FALSE(CaptureOneValidation::Request::decode(
        Json::parse(R"({"comparatorCollection":"a","collections":[],"includeFavorites":true})")));
    EXPECT_FALSE(CreateFavorites::decode(Json::parse(R"({"dirNames":["a",1],"setCapture":true})")));
    EXPECT_FALSE(Information::decode(
        Json::parse(R"({"collectionName":"a","kind":"CCal","variantCount":4294967296})")));
}

} // namespace
} // namespace qb
