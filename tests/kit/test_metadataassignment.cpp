// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/filenamedatasource.h"
#include "kit/metadataassignment.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

QUrl image(const char* path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

// Counts calls, so that a test can see the source was never asked.
class CountingSource : public FileNameDataSource {
public:
    using FileNameDataSource::FileNameDataSource;
    std::vector<MetadataRow> metadataForImages(const QList<QUrl>& urls) const override
    {
        ++calls;
        return FileNameDataSource::metadataForImages(urls);
    }
    mutable int calls = 0;
};

std::shared_ptr<const ValueMapper> upper()
{
    return std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase);
}

TEST(MapImages, EmptyProviderAsksNothing)
{
    CountingSource source(MetadataTable{{"A", {{"t", "x"}}}});
    EXPECT_TRUE(mapImages(URLListProvider({}), source, {}).empty());
    EXPECT_EQ(source.calls, 0);
}

TEST(MapImages, DropsImagesWithoutRowsAndKeepsProviderOrder)
{
    FileNameDataSource source({{"B", {{"title", "b"}}}, {"A", {{"title", "a"}}}, {"E", {}}});
    const std::vector<MetadataMapping> mappings = {{"title", "XMP:Title", {upper()}}};
    const auto images = mapImages(URLListProvider({image("/x/B1.jpg"), image("/x/C.jpg"),
                                                   image("/x/A1.jpg"), image("/x/E.jpg")}),
                                  source, mappings);
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(images[0]->url(), image("/x/B1.jpg"));
    EXPECT_EQ(images[0]->metadata.at("XMP:Title"), "B");
    EXPECT_EQ(images[1]->metadata.at("XMP:Title"), "A");
    // SourceFile holds the URL itself.
    EXPECT_EQ(images[1]->metadata.at("SourceFile"), DynamicValue(image("/x/A1.jpg")));
}

TEST(MapImages, RowWithoutMappedFieldsStillQueuesTheImage)
{
    FileNameDataSource source({{"A", {{"unmapped", "x"}}}});
    const auto images =
        mapImages(URLListProvider({image("/x/A.jpg")}), source, {{"other", "XMP:Title"}});
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0]->metadata.size(), 1u); // only SourceFile
}

TEST(ApplyMappings, FirstMappingOfAFieldWins)
{
    const std::vector<MetadataMapping> mappings = {
        {"title", "XMP:Title", {upper()}},
        {"title", "IPTC:Headline"},
        {"city", "XMP:City"},
    };
    const auto tags = applyMappings({{"title", "fjord"}, {"city", ""}}, mappings);
    const ExifImage::Metadata expected = {{"XMP:Title", "FJORD"}, {"XMP:City", ""}};
    EXPECT_EQ(tags, expected);
}

TEST(ApplyMappings, AbsentResultLeavesTheTagOut)
{
    const std::vector<MetadataMapping> mappings = {
        {"date", "EXIF:DateTimeOriginal", {std::make_shared<DateMapper>("yyyy-MM-dd")}},
        {"flag",
         "XMP:Flag",
         {std::make_shared<DateMapper>("yyyy"), std::make_shared<BooleanMapper>()}},
    };
    const auto tags = applyMappings({{"date", "2021-13-45"}, {"flag", "soon"}}, mappings);
    const ExifImage::Metadata expected = {{"XMP:Flag", false}};
    EXPECT_EQ(tags, expected);
}

TEST(ApplyMappings, FieldNamesCompareUnderCanonicalEquivalence)
{
    const auto tags = applyMappings({{QStringLiteral("Caf\u00e9"), "x"}},
                                    {{QStringLiteral("Cafe\u0301"), "XMP:Place"}});
    EXPECT_EQ(tags.size(), 1u);
    EXPECT_TRUE(applyMappings({{"Title", "x"}}, {{"title", "XMP:Title"}}).empty());
    EXPECT_TRUE(applyMappings({{"Title", "x"}}, {}).empty());
}

TEST(ApplyMappings, TwoFieldsIntoOneTagNeverCombine)
{
    const auto tags = applyMappings({{"a", "1"}, {"b", "2"}}, {{"a", "XMP:Tag"}, {"b", "XMP:Tag"}});
    ASSERT_EQ(tags.size(), 1u);
    const DynamicValue& value = tags.at("XMP:Tag");
    EXPECT_TRUE(value == DynamicValue("1") || value == DynamicValue("2"));
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
