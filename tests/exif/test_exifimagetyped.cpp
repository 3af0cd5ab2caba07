// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/exifimage.h"
#include "exif/tagcatalogue.h"

#include <gtest/gtest.h>

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <memory>
#include <vector>

using namespace qb;

namespace {

const QDateTime someDate = QDateTime::fromMSecsSinceEpoch(1614834367000, Qt::UTC);

// One catalogue tag of each declared type.
QString tagNameOf(TagValueType type)
{
    switch (type) {
    case TagValueType::String:
        return TagGroup::XMP::Title().name();
    case TagValueType::Int:
        return TagGroup::XMP::Rating().name();
    case TagValueType::Double:
        return TagGroup::EXIF::ExposureTime().name();
    case TagValueType::Date:
        return TagGroup::EXIF::CreateDate().name();
    case TagValueType::Url:
        return TagGroup::File::Directory().name();
    case TagValueType::StringList:
        return TagGroup::XMP::Subject().name();
    }
    return {};
}

bool typedReadFinds(const ExifImage& image, TagValueType type)
{
    switch (type) {
    case TagValueType::String:
        return image.typedValue(TagGroup::XMP::Title()).has_value();
    case TagValueType::Int:
        return image.typedValue(TagGroup::XMP::Rating()).has_value();
    case TagValueType::Double:
        return image.typedValue(TagGroup::EXIF::ExposureTime()).has_value();
    case TagValueType::Date:
        return image.typedValue(TagGroup::EXIF::CreateDate()).has_value();
    case TagValueType::Url:
        return image.typedValue(TagGroup::File::Directory()).has_value();
    case TagValueType::StringList:
        return image.typedValue(TagGroup::XMP::Subject()).has_value();
    }
    return false;
}

TEST(ExifImageTyped, ReadsOnlyTheDeclaredKind)
{
    struct Row {
        const char* what;
        DynamicValue stored;
        TagValueType type;
        bool found;
    };
    const std::vector<Row> rows = {
        {"text under Int", "5", TagValueType::Int, false},
        {"integer under String", 5, TagValueType::String, false},
        {"integer under Int", 5, TagValueType::Int, true},
        {"fraction under Int", 2.5, TagValueType::Int, false},
        {"boolean under Int", true, TagValueType::Int, false},
        {"fraction under Double", 2.5, TagValueType::Double, true},
        {"whole number under Double", 1, TagValueType::Double, true},
        {"text under Double", "0.5", TagValueType::Double, false},
        {"date under Date", someDate, TagValueType::Date, true},
        {"wire text under plain Date read", "2021:03:63 05:06:25", TagValueType::Date, false},
        {"URL under URL", QUrl::fromLocalFile("/a"), TagValueType::Url, true},
        {"path under plain URL read", "/a", TagValueType::Url, false},
        {"texts under [String]", DynamicValue::stringList({"a", "b"}), TagValueType::StringList,
         true},
        {"empty list under [String]", DynamicValue::List{}, TagValueType::StringList, true},
        {"mixed list under [String]", DynamicValue::List{"a", 1}, TagValueType::StringList, false},
        {"text under plain [String] read", "a, b", TagValueType::StringList, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ExifImage image(ExifImage::Metadata{{tagNameOf(row.type), row.stored}});
        EXPECT_EQ(typedReadFinds(image, row.type), row.found);
        EXPECT_FALSE(typedReadFinds(ExifImage(ExifImage::Metadata{}), row.type));
    }
}

TEST(ExifImageTyped, WritesStoreTheMatchingKindAndReadBack)
{
    ExifImage image(ExifImage::Metadata{});
    image.setTypedValue(TagGroup::XMP::Rating(), 4);
    image.setTypedValue(TagGroup::XMP::Subject(), QStringList{"sea", "ice"});
    image.setTypedValue(TagGroup::EXIF::CreateDate(), someDate);
    image.setTypedValue(TagGroup::File::Directory(), QUrl::fromLocalFile("/shots"));

    EXPECT_EQ(image.metadata.at("XMP:Rating"), DynamicValue(4));
    EXPECT_EQ(image.metadata.at("XMP:Subject"), DynamicValue::stringList({"sea", "ice"}));
    EXPECT_TRUE(image.metadata.at("EXIF:CreateDate").isDate());
    EXPECT_TRUE(image.metadata.at("File:Directory").isUrl());

    EXPECT_EQ(image.typedValue(TagGroup::XMP::Rating()), 4);
    EXPECT_EQ(image.typedValue(TagGroup::XMP::Subject()), (QStringList{"sea", "ice"}));
    EXPECT_EQ(image.typedValue(TagGroup::EXIF::CreateDate()), someDate);
    EXPECT_EQ(image.value(TagGroup::File::Directory()),
              DynamicValue(QUrl::fromLocalFile("/shots")));
    EXPECT_TRUE(image.value(TagGroup::XMP::Title()).isAbsent());

    image.setTypedValue(TagGroup::XMP::Rating(), 1); // replaces
    EXPECT_EQ(image.typedValue(TagGroup::XMP::Rating()), 1);
}

TEST(ExifImageTyped, SettingNothingRemovesTheKey)
{
    ExifImage image(QUrl::fromLocalFile("/shots/a.jpg"));
    image.setTypedValue(TagGroup::XMP::Title(), QStringLiteral("Fjord"));
    image.setTypedValue(TagGroup::EXIF::CreateDate(), someDate);
    ASSERT_EQ(image.exiftoolRepresentation().count("XMP:Title"), 1u);

    image.setTypedValue(TagGroup::XMP::Title(), std::nullopt);
    image.setTypedValue(TagGroup::EXIF::CreateDate(), std::nullopt);
    image.setTypedValue(TagGroup::XMP::Rating(), std::nullopt); // never there: harmless

    EXPECT_EQ(image.metadata.count("XMP:Title"), 0u);
    const ExifImage::Metadata representation = image.exiftoolRepresentation();
    EXPECT_EQ(representation, (ExifImage::Metadata{{"SourceFile", "/shots/a.jpg"}}));
}

TEST(ExifImageTyped, StringListReadSplitsTextAtCommaBlank)
{
    struct Row {
        const char* what;
        DynamicValue stored;
        QStringList expected;
    };
    const std::vector<Row> rows = {
        {"comma and blank", "a, b", {"a", "b"}},
        {"comma alone", "a,b", {"a,b"}},
        {"empty parts kept", "a, , b, ", {"a", "", "b", ""}},
        {"empty text", "", {""}},
        {"list of texts", DynamicValue::stringList({"x, y", "z"}), {"x, y", "z"}},
        {"mixed list", DynamicValue::List{"a", 1}, {}},
        {"number", 3, {}},
        {"absent", DynamicValue(), {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ExifImage image(ExifImage::Metadata{});
        if (row.stored.isPresent())
            image.metadata["IPTC:Keywords"] = row.stored;
        EXPECT_EQ(image.strings(TagGroup::IPTC::Keywords()), row.expected);
    }
}

TEST(ExifImageTyped, UrlReadTakesUrlsAndPaths)
{
    ExifImage image(ExifImage::Metadata{{"File:Directory", "/shots/day 1"}});
    EXPECT_EQ(image.url(TagGroup::File::Directory()), QUrl::fromLocalFile("/shots/day 1"));
    image.metadata["File:Directory"] = QUrl::fromLocalFile("/x");
    EXPECT_EQ(image.url(TagGroup::File::Directory()), QUrl::fromLocalFile("/x"));
    image.metadata["File:Directory"] = 7;
    EXPECT_FALSE(image.url(TagGroup::File::Directory()).has_value());
    EXPECT_EQ(ExifImage(QUrl::fromLocalFile("/a.jpg")).url(TagGroup::SourceFile()),
              QUrl::fromLocalFile("/a.jpg"));
}

// Date reads follow the process's locale and time zone; pin both and put
// them back so other tests see what they expect.
class ExifImageDateRead : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_zone.reset(icu::TimeZone::createDefault());
        useZone("UTC");
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
        ASSERT_TRUE(U_SUCCESS(status));
    }
    void TearDown() override
    {
        icu::TimeZone::setDefault(*m_zone);
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(m_locale, status);
    }
    static void useZone(const char* id)
    {
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(id));
    }
    static std::optional<QDateTime> readDate(const DynamicValue& stored)
    {
        return ExifImage(ExifImage::Metadata{{"EXIF:CreateDate", stored}})
            .date(TagGroup::EXIF::CreateDate());
    }

private:
    std::unique_ptr<icu::TimeZone> m_zone;
    icu::Locale m_locale = icu::Locale::getDefault();
};

TEST_F(ExifImageDateRead, ParsesTheWirePatternLetterForLetter)
{
    // DD is the day of the year and SS hundredths: 63rd day, 0.25 s, seconds 0.
    const QDateTime expected = QDateTime::fromString("2021-03-04T05:06:00.250Z", Qt::ISODateWithMs);
    EXPECT_EQ(readDate("2021:03:63 05:06:25"), expected);

    useZone("Europe/Berlin");
    EXPECT_EQ(readDate("2021:03:63 05:06:25"), expected.addSecs(-3600));
}

TEST_F(ExifImageDateRead, DatesPassAndOtherValuesGiveNothing)
{
    EXPECT_EQ(readDate(someDate), someDate);
    struct Row {
        const char* what;
        DynamicValue stored;
    };
    const std::vector<Row> rows = {
        {"not a date", "yesterday"},
        {"month out of range, not rolled over", "2021:13:63 05:06:25"},
        {"hour out of range", "2021:03:63 25:06:25"},
        {"trailing text", "2021:03:63 05:06:25 UTC"},
        {"other separators", "2021-03-63 05:06:25"},
        {"empty text", ""},
        {"number", 1614834367},
        {"absent", DynamicValue()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_FALSE(readDate(row.stored).has_value());
    }
}

} // namespace
