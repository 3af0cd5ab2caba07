// SPDX-License-Identifier: GPL-3.0-or-later
#include "exif/tagcatalogue.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <thread>
#include <vector>

using namespace qb;

namespace {

QString groupOf(const TagEntry& entry)
{
    const QString name = entry.tagName();
    return name.contains(QLatin1Char(':')) ? name.section(QLatin1Char(':'), 0, 0) : QString();
}

TEST(TagCatalogue, CountsPerGroupAndType)
{
    struct Row {
        const char* group;
        TagValueType type;
        int count;
    };
    const std::vector<Row> rows = {
        {"", TagValueType::Url, 1},
        {"Composite", TagValueType::String, 4},
        {"Composite", TagValueType::Double, 8},
        {"Composite", TagValueType::Date, 1},
        {"EXIF", TagValueType::String, 35},
        {"EXIF", TagValueType::Int, 53},
        {"EXIF", TagValueType::Double, 7},
        {"EXIF", TagValueType::Date, 3},
        {"File", TagValueType::String, 5},
        {"File", TagValueType::Int, 2},
        {"File", TagValueType::Date, 3},
        {"File", TagValueType::Url, 1},
        {"IPTC", TagValueType::String, 4},
        {"IPTC", TagValueType::StringList, 1},
        {"XMP", TagValueType::String, 31},
        {"XMP", TagValueType::Int, 3},
        {"XMP", TagValueType::StringList, 6},
    };
    std::map<std::pair<QString, TagValueType>, int> counted;
    std::set<QString> names;
    for (const TagEntry& entry : TagGroup::entries()) {
        ++counted[{groupOf(entry), entry.type}];
        names.insert(entry.tagName());
    }
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.group) + " " + valueTypeName(row.type).toStdString());
        const auto key = std::make_pair(QString::fromLatin1(row.group), row.type);
        EXPECT_EQ(counted[key], row.count);
    }
    EXPECT_EQ(counted.size(), rows.size()); // no group or type beyond the table
    EXPECT_EQ(TagGroup::entries().size(), 168u);
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
    expectListedAs(TagGroup::SourceFile(), "SourceFile");
    expectListedAs(TagGroup::IPTC::SubLocation(), "IPTC:Sub-location");
    expectListedAs(TagGroup::IPTC::ProvinceState(), "IPTC:Province-State");
    expectListedAs(TagGroup::IPTC::CountryPrimaryLocationName(),
                   "IPTC:Country-PrimaryLocationName");
    expectListedAs(TagGroup::EXIF::TIFFEPStandardID(), "EXIF:TIFF-EPStandardID");
    expectListedAs(TagGroup::EXIF::ApertureValue(), "EXIF:ApertureValue");
    expectListedAs(TagGroup::EXIF::GPSTimeStamp(), "EXIF:GPSTimeStamp");
    expectListedAs(TagGroup::EXIF::GPSDateStamp(), "EXIF:GPSDateStamp");
    expectListedAs(TagGroup::XMP::IntellectualGenre(), "XMP:IntellectualGenre");
    expectListedAs(TagGroup::File::Directory(), "File:Directory");
    expectListedAs(TagGroup::IPTC::Keywords(), "IPTC:Keywords");
    expectListedAs(TagGroup::Composite::FocalLength35efl(), "Composite:FocalLength35efl");
    expectListedAs(TagGroup::XMP::City(), "XMP:City");
    expectListedAs(TagGroup::IPTC::City(), "IPTC:City");
}

TEST(TagCatalogue, EveryReadReturnsTheSameObject)
{
    EXPECT_EQ(&TagGroup::XMP::Rating(), &TagGroup::XMP::Rating());
    EXPECT_EQ(&TagGroup::SourceFile(), &TagGroup::SourceFile());
    EXPECT_NE(static_cast<const void*>(&TagGroup::XMP::City()),
              static_cast<const void*>(&TagGroup::IPTC::City()));
}

TEST(TagCatalogue, ConcurrentFirstUseCreatesOneObject)
{
    std::vector<const Exiftag<qint64>*> seen(8, nullptr);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&seen, i] { seen[i] = &TagGroup::XMP::Urgency(); });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto* tag : seen)
        EXPECT_EQ(tag, seen.front());
    EXPECT_EQ(seen.front()->name(), "XMP:Urgency");
}

TEST(TagDisplayName, SplitsTheNameAfterTheGroup)
{
    struct Row {
        const char* name;
        const char* expected;
    };
    const std::vector<Row> rows = {
        {"SourceFile", "SourceFile"},
        {"EXIF:", ""},
        {"A:B:C", "A:B:C"},
        {"EXIF:X", "X"},
        {"EXIF:ExifImageHeight", "Exif Image Height"},
        {"Composite:LensID", "Lens ID"},
        {"EXIF:GPSLatitude", "G PSLatitude"},
        {"EXIF:ISO", "I SO"},
        {"EXIF:CFAPattern2", "C FAPattern2"},
        {"IPTC:Province-State", "Province- State"},
        {"IPTC:Sub-location", "Sub-location"},
        {"XMP:CreatorWorkURL", "Creator Work URL"},
        {"XMP:Ümlaut", "Ümlaut"},
        {"XMP:ÉtatÉlu", "État Élu"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Exiftag<QString>(QString::fromUtf8(row.name)).displayName(),
                  QString::fromUtf8(row.expected));
    }
    EXPECT_EQ(TagGroup::IPTC::SubLocation().displayName(), "Sub-location");
    EXPECT_EQ(TagGroup::SourceFile().displayName(), "SourceFile");
}

TEST(TagValues, BoxingKeepsTheValueKind)
{
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1614834367000, Qt::UTC);
    const MetadataValueBox box = TagGroup::EXIF::CreateDate().boxed(date);
    EXPECT_EQ(box.tag(), "EXIF:CreateDate");
    ASSERT_TRUE(box.value().isDate());
    EXPECT_EQ(box.value().toDate(), date);

    const MetadataValueBox keywords = TagGroup::XMP::Subject().boxed({"sea", "ice"});
    EXPECT_TRUE(keywords.value().isStringList());
    EXPECT_EQ(keywords.value().toList().size(), 2u);
}

TEST(TagValues, TagValueBoxesItsCurrentValue)
{
    ExifTagValue<qint64> rating(TagGroup::XMP::Rating(), 3);
    EXPECT_EQ(&rating.tag(), &TagGroup::XMP::Rating());
    rating.setValue(5);
    EXPECT_EQ(rating.boxed(), MetadataValueBox("XMP:Rating", 5));
}

} // namespace
