// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/appleeventdescriptor.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using D = AppleEventDescriptor;

struct CoercionRow {
    const char* name;
    D descriptor;
    std::optional<QString> text;
    qint32 number;
    bool flag;
    std::optional<QUrl> file;
};

TEST(AppleEventDescriptor, CoercesEachKindAsAppleScriptDoes)
{
    const QUrl folder = QUrl::fromLocalFile(QStringLiteral("/Volumes/Shoot/Capture"));
    const CoercionRow rows[] = {
        {"text", D::text(QStringLiteral("Rome")), QStringLiteral("Rome"), 0, false, {}},
        {"numeric text", D::text(QStringLiteral("42")), QStringLiteral("42"), 42, false, {}},
        {"text true", D::text(QStringLiteral("true")), QStringLiteral("true"), 0, true, {}},
        {"too big for 32 bits",
         D::text(QStringLiteral("4294967296")),
         QStringLiteral("4294967296"),
         0,
         false,
         {}},
        {"integer", D::int32(-7), QStringLiteral("-7"), -7, true, {}},
        {"boolean", D::boolean(true), QStringLiteral("true"), 1, true, {}},
        {"missing value", D::missingValue(), std::nullopt, 0, false, {}},
        {"file", D::fileURL(folder), std::nullopt, 0, false, folder},
        {"list", D::textList({QStringLiteral("1")}), std::nullopt, 0, false, {}},
    };
    for (const CoercionRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.descriptor.stringValue(), row.text);
        EXPECT_EQ(row.descriptor.int32Value(), row.number);
        EXPECT_EQ(row.descriptor.booleanValue(), row.flag);
        EXPECT_EQ(row.descriptor.fileURLValue(), row.file);
    }
}

TEST(AppleEventDescriptor, ListsCountFromOneAndInsertAtZeroAppends)
{
    D list = D::list();
    EXPECT_EQ(list.numberOfItems(), 0);
    list.insertDescriptor(D::text(QStringLiteral("a")), 0);
    list.insertDescriptor(D::int32(2), 0);
    list.insertDescriptor(D::text(QStringLiteral("first")), 1);

    ASSERT_EQ(list.numberOfItems(), 3);
    EXPECT_EQ(list.descriptorAtIndex(1), D::text(QStringLiteral("first")));
    EXPECT_EQ(list.descriptorAtIndex(3), D::int32(2));
    EXPECT_FALSE(list.descriptorAtIndex(0));
    EXPECT_FALSE(list.descriptorAtIndex(4));
    EXPECT_EQ(D::text(QStringLiteral("x")).numberOfItems(), 0);
}

TEST(AppleEventDescriptor, TextsOfAListSkipItemsWithoutText)
{
    const D list = D::list({D::text(QStringLiteral("b")), D::missingValue(), D::int32(3), D::list(),
                            D::text(QStringLiteral("a"))});
    EXPECT_EQ(list.texts(), (QStringList{"b", "3", "a"}));
}

} // namespace
} // namespace qb
