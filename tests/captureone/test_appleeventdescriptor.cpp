// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/appleeventdescriptor.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using D = AppleEventDescriptor;

TEST(AppleEventDescriptor, CoercesEachKindAsAppleScriptDoes)
{
    const QUrl folder = QUrl::fromLocalFile("/Volumes/Shoot/Capture");
    const struct {
        const char* name;
        D descriptor;
        std::optional<QString> text;
        qint32 number;
        bool flag;
        std::optional<QUrl> file;
    } rows[] = {
        {"text", D::text("Rome"), "Rome", 0, false, {}},
        {"numeric text", D::text("42"), "42", 42, false, {}},
        {"text true", D::text("true"), "true", 0, true, {}},
        {"too big for 32 bits", D::text("4294967296"), "4294967296", 0, false, {}},
        {"integer", D::int32(-7), "-7", -7, true, {}},
        {"boolean", D::boolean(true), "true", 1, true, {}},
        {"missing value", D::missingValue(), std::nullopt, 0, false, {}},
        {"file", D::fileURL(folder), std::nullopt, 0, false, folder},
        {"list", D::textList({"1"}), std::nullopt, 0, false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.descriptor.stringValue(), row.text);
        EXPECT_EQ(row.descriptor.int32Value(), row.number);
        EXPECT_EQ(row.descriptor.booleanValue(), row.flag);
        EXPECT_EQ(row.descriptor.fileURLValue(), row.file);
    }
}

TEST(AppleEventDescriptor, ListsCountFromOneInsertAtZeroAppendsAndTextsSkipTheRest)
{
    D list = D::list();
    list.insertDescriptor(D::text("a"), 0);
    list.insertDescriptor(D::int32(2), 0);
    list.insertDescriptor(D::text("first"), 1);
    list.insertDescriptor(D::missingValue(), 0);

    ASSERT_EQ(list.numberOfItems(), 4);
    EXPECT_EQ(list.descriptorAtIndex(1), D::text("first"));
    EXPECT_EQ(list.descriptorAtIndex(3), D::int32(2));
    EXPECT_FALSE(list.descriptorAtIndex(0));
    EXPECT_FALSE(list.descriptorAtIndex(5));
    EXPECT_EQ(list.texts(), (QStringList{"first", "a", "2"}));
    EXPECT_EQ(D::text("x").numberOfItems(), 0);
}

} // namespace
} // namespace qb
