// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/exifimage.h"

#include <gtest/gtest.h>

#include <unicode/locid.h>

using namespace qb;

namespace {

TEST(ExiftoolRepresentation, DatesUseTheWirePatternLetterForLetter)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
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

} // namespace
