// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/tagcatalogue.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

using namespace qb;

namespace {

TEST(TagCatalogue, HoldsEachNameOnceInItsGroup)
{
    std::map<QString, int> perGroup;
    std::set<QString> names;
    for (const TagEntry& entry : TagGroup::entries()) {
        const QString name = entry.tagName();
        ++perGroup[name.contains(':') ? name.section(':', 0, 0) : QString()];
        names.insert(name);
    }
    const std::map<QString, int> expected{{"", 1},      {"Composite", 13}, {"EXIF", 98},
                                          {"File", 11}, {"IPTC", 5},       {"XMP", 40}};
    EXPECT_EQ(perGroup, expected);
    EXPECT_EQ(names.size(), 168u);
    EXPECT_EQ(TagGroup::entries().front().tagName(), "SourceFile");
}

template <typename Value>
void expectListedAs(const Exiftag<Value>& tag, const char* name)
{
    SCOPED_TRACE(name);
    EXPECT_EQ(tag.name(), QLatin1String(name));
    int found = 0;
    for (const TagEntry& entry : TagGroup::entries()) {
        if (entry.tagName() == tag.name()) {
            ++found;
            EXPECT_EQ(entry.type, TagValueTraits<Value>::type);
        }
    }
    EXPECT_EQ(found, 1);
}

// The entries whose type or spelling is easy to get wrong.
TEST(TagCatalogue, AccessorsCarryExiftoolsSpelling)
{
    expectListedAs(TagGroup::IPTC::SubLocation(), "IPTC:Sub-location");
    expectListedAs(TagGroup::IPTC::CountryPrimaryLocationName(),
                   "IPTC:Country-PrimaryLocationName");
    expectListedAs(TagGroup::EXIF::TIFFEPStandardID(), "EXIF:TIFF-EPStandardID");
    expectListedAs(TagGroup::EXIF::GPSTimeStamp(), "EXIF:GPSTimeStamp");
    expectListedAs(TagGroup::XMP::IntellectualGenre(), "XMP:IntellectualGenre");
    expectListedAs(TagGroup::IPTC::Keywords(), "IPTC:Keywords");
    expectListedAs(TagGroup::Composite::FocalLength35efl(), "Composite:FocalLength35efl");
    EXPECT_EQ(&TagGroup::XMP::Urgency(), &TagGroup::XMP::Urgency());
    EXPECT_NE(static_cast<const void*>(&TagGroup::XMP::City()),
              static_cast<const void*>(&TagGroup::IPTC::City()));
}

TEST(TagDisplayName, SplitsTheNameAfterTheGroup)
{
    const std::pair<const char*, const char*> rows[] = {
        {"SourceFile", "SourceFile"},
        {"EXIF:", ""},
        {"A:B:C", "A:B:C"},
        {"EXIF:ExifImageHeight", "Exif Image Height"},
        {"Composite:LensID", "Lens ID"},
        {"EXIF:GPSLatitude", "G PSLatitude"},
        {"IPTC:Province-State", "Province- State"},
        {"XMP:ÉtatÉlu", "État Élu"},
    };
    for (const auto& [name, expected] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Exiftag<QString>(QString::fromUtf8(name)).displayName(),
                  QString::fromUtf8(expected));
    }
}

TEST(TagValues, BoxingKeepsTheValueKind)
{
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1614834367000, Qt::UTC);
    const MetadataValueBox box = TagGroup::EXIF::CreateDate().boxed(date);
    EXPECT_EQ(box.tag(), "EXIF:CreateDate");
    EXPECT_EQ(box.value(), DynamicValue(date));

    ExifTagValue<QStringList> keywords(TagGroup::XMP::Subject(), {});
    keywords.setValue({"sea", "ice"});
    EXPECT_EQ(keywords.boxed(),
              MetadataValueBox("XMP:Subject", DynamicValue::stringList({"sea", "ice"})));
}

} // namespace
