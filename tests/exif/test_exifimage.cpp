// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/exifimage.h"
#include "exif/tagcatalogue.h"

#include <gtest/gtest.h>

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <functional>
#include <memory>

using namespace qb;

namespace {

const QDateTime someDate = QDateTime::fromMSecsSinceEpoch(1614834367000, Qt::UTC);

// Whether the typed read of `tag` finds a value stored under its name.
template <typename Value>
std::function<bool(const DynamicValue&)> finds(const Exiftag<Value>& tag)
{
    return [&tag](const DynamicValue& stored) {
        return ExifImage(ExifImage::Metadata{{tag.name(), stored}}).typedValue(tag).has_value();
    };
}

TEST(ExifImageTyped, ReadsOnlyTheDeclaredKind)
{
    const auto asInt = finds(TagGroup::XMP::Rating());
    const auto asDouble = finds(TagGroup::EXIF::ExposureTime());
    const auto asDate = finds(TagGroup::EXIF::CreateDate());
    const auto asUrl = finds(TagGroup::File::Directory());
    const auto asList = finds(TagGroup::XMP::Subject());
    const std::tuple<const char*, std::function<bool(const DynamicValue&)>, DynamicValue, bool>
        rows[] = {
            {"text under Int", asInt, "5", false},
            {"integer under String", finds(TagGroup::XMP::Title()), 5, false},
            {"integer under Int", asInt, 5, true},
            {"fraction under Int", asInt, 2.5, false},
            {"boolean under Int", asInt, true, false},
            {"fraction under Double", asDouble, 2.5, true},
            {"whole number under Double", asDouble, 1, true},
            {"date under Date", asDate, someDate, true},
            {"wire text under plain Date read", asDate, "2021:03:63 05:06:25", false},
            {"URL under URL", asUrl, QUrl::fromLocalFile("/a"), true},
            {"path under plain URL read", asUrl, "/a", false},
            {"texts under [String]", asList, DynamicValue::stringList({"a", "b"}), true},
            {"mixed list under [String]", asList, DynamicValue::List{"a", 1}, false},
            {"text under plain [String] read", asList, "a, b", false},
        };
    for (const auto& [what, read, stored, found] : rows) {
        SCOPED_TRACE(what);
        EXPECT_EQ(read(stored), found);
    }
    EXPECT_FALSE(ExifImage(ExifImage::Metadata{}).typedValue(TagGroup::XMP::Rating()));
}

TEST(ExifImageTyped, WritesStoreTheMatchingKindAndNothingRemovesTheKey)
{
    ExifImage image(QUrl::fromLocalFile("/shots/a.jpg"));
    image.setTypedValue(TagGroup::XMP::Subject(), QStringList{"sea", "ice"});
    image.setTypedValue(TagGroup::EXIF::CreateDate(), someDate);
    image.setTypedValue(TagGroup::File::Directory(), QUrl::fromLocalFile("/shots"));
    EXPECT_EQ(image.value(TagGroup::XMP::Subject()), DynamicValue::stringList({"sea", "ice"}));
    EXPECT_EQ(image.value(TagGroup::File::Directory()),
              DynamicValue(QUrl::fromLocalFile("/shots")));

    image.setTypedValue(TagGroup::EXIF::CreateDate(), std::nullopt);
    image.setTypedValue(TagGroup::XMP::Title(), std::nullopt); // never there: harmless
    EXPECT_EQ(image.metadata.count("EXIF:CreateDate"), 0u);
    EXPECT_EQ(image.exiftoolRepresentation().count("EXIF:CreateDate"), 0u);
}

TEST(ExifImageTyped, StringListReadSplitsTextAtCommaBlank)
{
    const std::pair<DynamicValue, QStringList> rows[] = {
        {"a, b", {"a", "b"}},
        {"a,b", {"a,b"}},
        {"a, , b, ", {"a", "", "b", ""}},
        {DynamicValue::stringList({"x, y", "z"}), {"x, y", "z"}},
        {DynamicValue::List{"a", 1}, {}},
        {DynamicValue(), {}},
    };
    for (const auto& [stored, expected] : rows) {
        SCOPED_TRACE(stored.description().toStdString());
        ExifImage image(ExifImage::Metadata{});
        if (stored.isPresent())
            image.metadata["IPTC:Keywords"] = stored;
        EXPECT_EQ(image.strings(TagGroup::IPTC::Keywords()), expected);
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
}

// Dates follow the process's locale and time zone; pin both and put them
// back so other tests see what they expect.
class ExifImageDates : public ::testing::Test {
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

TEST_F(ExifImageDates, RepresentationWritesTheWirePatternLetterForLetter)
{
    // 2021-03-04 05:06:07.250 UTC: day 63 of the year, 25 hundredths.
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1614834367250, Qt::UTC);
    ExifImage image(QUrl::fromLocalFile("/shots/A 1.CR3"));
    image.metadata["EXIF:CreateDate"] = date;
    image.metadata["XMP:Custom"] = QUrl::fromLocalFile("/x/y.txt");
    image.metadata["XMP:Dates"] = DynamicValue(DynamicValue::List{date});
    image.metadata["XMP:Rating"] = 5;

    const ExifImage::Metadata representation = image.exiftoolRepresentation();
    EXPECT_EQ(representation.at("EXIF:CreateDate"), "2021:03:63 05:06:25");
    EXPECT_EQ(representation.at("SourceFile"), "/shots/A 1.CR3");
    EXPECT_EQ(representation.at("XMP:Custom"), "/x/y.txt");
    EXPECT_TRUE(representation.at("XMP:Dates").toList().front().isDate()); // lists stay as they are
    EXPECT_EQ(representation.at("XMP:Rating"), 5);
    EXPECT_TRUE(image.metadata.at("EXIF:CreateDate").isDate()); // the image itself is unchanged
    EXPECT_EQ(image.exiftoolJson().begin().key(), "SourceFile");
}

TEST_F(ExifImageDates, ReadParsesTheWirePatternLetterForLetter)
{
    // DD is the day of the year and SS hundredths: 63rd day, 0.25 s, seconds 0.
    const QDateTime expected = QDateTime::fromString("2021-03-04T05:06:00.250Z", Qt::ISODateWithMs);
    EXPECT_EQ(readDate("2021:03:63 05:06:25"), expected);
    EXPECT_EQ(readDate(someDate), someDate);
    useZone("Europe/Berlin");
    EXPECT_EQ(readDate("2021:03:63 05:06:25"), expected.addSecs(-3600));
}

TEST_F(ExifImageDates, ReadOfAnythingElseGivesNothing)
{
    for (const DynamicValue& stored :
         {DynamicValue("yesterday"), DynamicValue("2021:13:63 05:06:25") /* not rolled over */,
          DynamicValue("2021:03:63 05:06:25 UTC"), DynamicValue("2021-03-63 05:06:25"),
          DynamicValue(1614834367), DynamicValue()}) {
        SCOPED_TRACE(stored.description().toStdString());
        EXPECT_FALSE(readDate(stored).has_value());
    }
}

} // namespace
