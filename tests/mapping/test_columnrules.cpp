// SPDX-License-Identifier: GPL-3.0-or-later
#include "mapping/columnrules.h"
#include "mapping/metadataassignment.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

// A few tags as exiftool's -listx -f describes them.
WritableTags someTags()
{
    return *WritableTags::fromTagDatabase(R"(<?xml version='1.0'?><taginfo>
        <table name='XMP::dc' g0='XMP' g1='XMP-dc' g2='Other'>
         <tag id='subject' name='Subject' type='string' writable='true' flags='Bag,List'/>
         <tag id='title' name='Title' type='lang-alt' writable='true'/>
        </table>
        <table name='IPTC::ApplicationRecord' g0='IPTC' g1='IPTC' g2='Other'>
         <tag id='25' name='Keywords' type='string' count='64' writable='true' flags='List'/>
        </table>
        <table name='Extra' g0='File' g1='System' g2='Other'>
         <tag id='FileName' name='FileName' type='?' writable='true'/>
         <tag id='Directory' name='Directory' type='?' writable='true'/>
         <tag id='HardLink' name='HardLink' type='?' writable='true'/>
        </table>
        <table name='Composite' g0='Composite' g1='Composite' g2='Other'>
         <tag id='ImageSize' name='ImageSize' type='?' writable='false'/>
        </table></taginfo>)");
}

TEST(ColumnRules, EachColumnNamedAfterAWritableTagWritesItAndListsSplitAsExiftoolSplits)
{
    const QStringList headers = {"SourceFile", "Title",    "XMP-dc:Subject",   "IPTC:Keywords",
                                 "Notes",      "FileName", "System:Directory", "HardLink",
                                 "ImageSize",  ""};
    const ColumnRules made = columnRules(headers, someTags());
    QStringList written;
    for (const MetadataMapping& rule : made.rules) {
        EXPECT_EQ(rule.keyName, rule.destTag);
        written << rule.destTag;
    }
    EXPECT_EQ(written, QStringList({"Title", "XMP-dc:Subject", "IPTC:Keywords"}));
    // The file's own columns go silently, as in exiftool's import.
    EXPECT_EQ(made.otherColumns, QStringList({"Notes", "ImageSize", ""}));

    const struct {
        const char* name;
        QString title;
        QString subject;
        std::optional<DynamicValue> titleWritten;
        std::optional<DynamicValue> subjectWritten;
    } cases[] = {
        {"as exiftool -csv writes them", "Hello, world", "one, two, three",
         DynamicValue("Hello, world"), DynamicValue::stringList({"one", "two", "three"})},
        {"edited by hand", "Zeile 1\nZeile 2 \u65e5\u672c", "a,b,\n c, \u0141\u00f3d\u017a",
         DynamicValue("Zeile 1\nZeile 2 \u65e5\u672c"),
         DynamicValue::stringList({"a", "b", "c", "\u0141\u00f3d\u017a"})},
        {"one item", "", "solo", std::nullopt, DynamicValue::stringList({"solo"})},
        {"empty cells keep what the file has", "", "", std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const MetadataRow row = {{"SourceFile", DynamicValue("a.jpg")},
                                 {"Title", DynamicValue(c.title)},
                                 {"XMP-dc:Subject", DynamicValue(c.subject)},
                                 {"IPTC:Keywords", DynamicValue(c.subject)}};
        const ExifImage::Metadata tags = applyMappings(row, made.rules);
        const auto valueOf = [&tags](const char* tag) -> std::optional<DynamicValue> {
            const auto it = tags.find(QString::fromLatin1(tag));
            return it == tags.end() ? std::nullopt : std::optional(it->second);
        };
        EXPECT_EQ(valueOf("Title"), c.titleWritten);
        EXPECT_EQ(valueOf("XMP-dc:Subject"), c.subjectWritten);
        EXPECT_EQ(valueOf("IPTC:Keywords"), c.subjectWritten);
    }
}

TEST(ColumnRules, MakingThemAgainAddsOnlyTagsNoRowWritesYet)
{
    const ColumnRules made = columnRules({"Title", "XMP-dc:Subject"}, someTags());
    // The user's own Title rule, from another column, stands; a Subject in
    // another group is another tag.
    const std::vector<MetadataMapping> own = {MetadataMapping("Caption", "XMP:title"),
                                              MetadataMapping("Tags", "IPTC:Subject")};
    const auto once = withColumnRules(own, made.rules);
    ASSERT_EQ(once.size(), 3u);
    EXPECT_EQ(once[0].keyName, "Caption");
    EXPECT_EQ(once[2].destTag, "XMP-dc:Subject");
    EXPECT_EQ(withColumnRules(once, made.rules), once);
}

} // namespace
