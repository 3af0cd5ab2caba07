// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/plaintextexchange.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

// Title is no list, Subject is one, as exiftool's tag database says.
WritableTags tagDatabase()
{
    return *WritableTags::fromTagDatabase(
        "<taginfo><table name='XMP::dc' g0='XMP' g1='XMP-dc' g2='Other'>"
        "<tag id='title' name='Title' type='lang-alt' writable='true'/>"
        "<tag id='subject' name='Subject' type='string' writable='true' flags='Bag,List'/>"
        "</table><table name='XMP::xmp' g0='XMP' g1='XMP-xmp' g2='Image'>"
        "<tag id='Rating' name='Rating' type='real' writable='true'/>"
        "</table></taginfo>");
}

std::shared_ptr<ExifImage> image(const QString& path, const ExifImage::Metadata& values)
{
    auto made = std::make_shared<ExifImage>(QUrl::fromLocalFile(path));
    made->merge(values, true);
    return made;
}

DynamicValue items(const QStringList& texts)
{
    return DynamicValue::stringList(texts);
}

TEST(PlainTextExchange, QuotesEveryFieldAndLeavesAbsentTagsEmpty)
{
    const auto csv = plainTextExchange(
        {image("/p/a \"1\", b.jpg", {{"XMP-dc:Title", "Say \"hi\", then\nleave"}}),
         image("/p/b.jpg", {{"XMP-dc:Subject", items({"studio", "東京"})}})},
        tagDatabase());
    ASSERT_TRUE(csv);
    EXPECT_EQ(QString::fromUtf8(*csv),
              QString::fromUtf8("\"SourceFile\",\"XMP-dc:Title\",\"XMP-dc:Subject\"\n"
                                "\"/p/a \"\"1\"\", b.jpg\",\"Say \"\"hi\"\", then\nleave\",\"\"\n"
                                "\"/p/b.jpg\",\"\",\"studio, 東京\"\n"));
}

// What the CSV import would set otherwise than the JSON import sends the
// batch as JSON.
TEST(PlainTextExchange, GoesAsJsonWhenAnyValueIsNotPlainText)
{
    const struct {
        const char* why;
        ExifImage::Metadata values;
    } rows[] = {
        {"a number", {{"XMP-xmp:Rating", 3}}},
        {"an empty text, which an empty cell can't carry", {{"XMP-dc:Title", ""}}},
        {"an empty list", {{"XMP-dc:Subject", DynamicValue(DynamicValue::List{})}}},
        {"an empty item", {{"XMP-dc:Subject", items({"a", ""})}}},
        {"exiftool's mark for binary data", {{"XMP-dc:Title", "base64:aGk="}}},
        {"a structure's brackets", {{"XMP-dc:Title", "{City=Oslo}"}}},
        {"a comma in a text for a list", {{"XMP-dc:Subject", "one, two"}}},
        {"a comma in a lone item", {{"XMP-dc:Subject", items({"one,two"})}}},
        {"a comma in an item", {{"XMP-dc:Subject", items({"one, two", "three"})}}},
        {"a blank in front of a later item", {{"XMP-dc:Subject", items({"a", " b"})}}},
        {"an item that isn't text", {{"XMP-dc:Subject", DynamicValue(DynamicValue::List{1, 2})}}},
        {"a deletion", {{"XMP-dc:Title", DynamicValue()}}},
        {"two spellings of one tag", {{"XMP-dc:Title", "a"}, {"xmp-dc:title", "b"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        // One such image is enough to send the whole batch as JSON.
        EXPECT_FALSE(plainTextExchange(
            {image("/p/a.jpg", {{"XMP-dc:Title", "plain"}}), image("/p/b.jpg", row.values)},
            tagDatabase()));
    }
    EXPECT_FALSE(
        plainTextExchange({image("/p/a\nb.jpg", {{"XMP-dc:Title", "plain"}})}, tagDatabase()));
}

} // namespace
