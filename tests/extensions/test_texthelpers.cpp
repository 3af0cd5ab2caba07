// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/texthelpers.h"

#include <gtest/gtest.h>

namespace {

using qb::incrementingNumber;

struct IncrementCase {
    qint64 start;
    qint64 step;
    QString format;
    QString separator;
    QString text;
    QString expected;
};

TEST(TextHelpers, IncrementingNumber)
{
    const IncrementCase cases[] = {
        {1, 1, "%d", " ", "Shot", "Shot 1"},
        {1, 1, "%d", " ", "Shot 1", "Shot 2"},
        {1, 1, "%02d", " ", "Shot 09", "Shot 10"},
        {1, 1, "%03d", " ", "Shot", "Shot 001"},
        {1, 1, "%03d", " ", "Shot 999", "Shot 1000"},
        {10, 5, "%d", " ", "Roll 10", "Roll 15"},
        {1, 1, "%04d", "_", "IMG_0042", "IMG_0043"},
        {1, 1, "%d", " - ", "Shot - 7", "Shot - 8"},
        {1, 1, "%d", " ", "Shot A", "Shot A 1"},
        {1, 1, "%d", " ", "Shot1", "Shot1 1"},
        {1, 1, "%d", " ", "Shot -3", "Shot -3 1"},
        // The separator is a pattern: "." also matches the blank, which then
        // isn't trimmed, so the tail doesn't read as a number.
        {1, 1, "%d", ".", "a 12", "a 12.1"},
        // A malformed separator pattern finds nothing.
        {1, 1, "%d", "(", "Shot 4", "Shot 4(1"},
        // Too large to step: treated as no number.
        {1, 1, "%d", " ", "Shot 9223372036854775807", "Shot 9223372036854775807 1"},
        {1, 1, "%lld", " ", "Shot 41", "Shot 42"},
        {1, 1, "%ld", " ", "Shot 41", "Shot 42"},
        {1, 1, "%i", " ", "Shot 41", "Shot 42"},
        {1, 1, "%+d", " ", "Shot", "Shot +1"},
        {1, 1, "%-3d|", " ", "Shot", "Shot 1  |"},
        {1, 1, "%5.3d", " ", "Shot", "Shot   001"},
        {1, 1, "No. %d %%", " ", "Shot", "Shot No. 1 %"},
        // Formats that can't take one integer safely give the plain number.
        {7, 1, "%s", " ", "Shot", "Shot 7"},
        {7, 1, "%@", " ", "Shot", "Shot 7"},
        {7, 1, "%d %d", " ", "Shot", "Shot 7"},
        {7, 1, "%*d", " ", "Shot", "Shot 7"},
        {7, 1, "%n", " ", "Shot", "Shot 7"},
        {7, 1, "%%", " ", "Shot", "Shot 7"},
        {7, 1, "%99999d", " ", "Shot", "Shot 7"},
        {7, 1, "", " ", "Shot", "Shot 7"},
    };
    for (const IncrementCase& row : cases) {
        SCOPED_TRACE(qPrintable(row.format + " | " + row.separator + " | " + row.text));
        EXPECT_EQ(incrementingNumber(row.start, row.step, row.format, row.separator, row.text),
                  row.expected);
    }
}

TEST(TextHelpers, IncrementingNumberOnUrls)
{
    const struct {
        QString path;
        QString expected;
    } cases[] = {
        {"/photos/day one/Shot 1.jpg", "/photos/day one/Shot 2.jpg"},
        {"/photos/Shot.tar.gz", "/photos/Shot.tar 1.gz"},
        {"/photos/Shot", "/photos/Shot 1"},
        {"/photos/.hidden", "/photos/.hidden 1"},
        {"/photos/Shot 3/", "/photos/Shot 4/"},
        {"/photos/100% Shot 9.CR2", "/photos/100% Shot 10.CR2"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(qPrintable(row.path));
        const QUrl url = QUrl::fromLocalFile(row.path);
        EXPECT_EQ(incrementingNumber(1, 1, "%d", " ", url).toLocalFile(), row.expected);
        QUrl changed = url;
        qb::incrementNumber(changed, 1, 1, "%d", " ");
        EXPECT_EQ(changed.toLocalFile(), row.expected);
    }
}

TEST(TextHelpers, SplitCamelCase)
{
    const struct {
        QString input;
        QString expected;
    } cases[] = {
        {"", ""},
        {"ExifImageHeight", "Exif Image Height"},
        {"LensID", "Lens ID"},
        {"GPSLatitude", "G PSLatitude"},
        {"ISO", "I SO"},
        {"CFAPattern2", "C FAPattern2"},
        {"Province-State", "Province- State"},
        {"Sub-location", "Sub-location"},
        {"A", "A"},
        {"lowerCase", "lower Case"},
        {"ΑλφαΒήτα", "Αλφα Βήτα"},
        {"ПриветМир", "Привет Мир"},
        {"aǅb", "a ǅb"},                 // titlecase letter
        {"a\U0001D400", "a \U0001D400"}, // capital outside the BMP
        // A capital with a combining accent is one character: the capital
        // after it follows a capital and gets no blank.
        {"xE\u0301B", "x E\u0301B"},
        {"E\u0301B", "E\u0301 B"},
        {"e\u0301B", "e\u0301 B"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(qPrintable(row.input));
        EXPECT_EQ(qb::splitCamelCase(row.input), row.expected);
    }
}

TEST(TextHelpers, Replacing)
{
    const QString text = "ab ab";
    const auto equal = qb::replacing(text, {"a", "b"}, {"b", "c"});
    ASSERT_TRUE(equal.has_value());
    EXPECT_EQ(*equal, "cc cc"); // in order: the second sees the first's result

    const auto oneMore = qb::replacing(text, {"a"}, {"x", "y"});
    ASSERT_TRUE(oneMore.has_value());
    EXPECT_EQ(*oneMore, "xb xb");

    const auto oneFewer = qb::replacing(text, {"a", "b"}, {"x"});
    ASSERT_FALSE(oneFewer.has_value());
    EXPECT_EQ(oneFewer.error().elementCount, 2);
    EXPECT_EQ(oneFewer.error().replacementCount, 1);
    EXPECT_EQ(oneFewer.error().failureReason(),
              "More input strings (2) given than replacement strings (1).");
    EXPECT_EQ(oneFewer.error().toError().failureReason, oneFewer.error().failureReason());

    EXPECT_EQ(qb::replacing(text, {""}, {"x"}).value(), text);
}

TEST(TextHelpers, FirstCapture)
{
    const QString text = "Shot 12 of 20";
    const struct {
        QString pattern;
        std::optional<QString> expected;
    } cases[] = {
        {"Shot (\\d+)", "12"}, {"(?<number>\\d+) of", "12"}, {"(\\w+) (\\d+)", "Shot 12"},
        {"\\d+", "12"},        {"(x)?Shot", std::nullopt},   {"missing", std::nullopt},
        {"(", std::nullopt},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(qPrintable(row.pattern));
        EXPECT_EQ(qb::firstCapture(row.pattern, text), row.expected);
    }
}

TEST(TextHelpers, MatchesAndNewlines)
{
    EXPECT_TRUE(qb::matches("IMG_0042", "\\d{4}$"));
    EXPECT_FALSE(qb::matches("IMG_0042", "^\\d"));
    EXPECT_FALSE(qb::matches("IMG_(", "("));
    EXPECT_EQ(qb::removingNewlines("a\nb\r\nc\n"), "ab\rc");
}

TEST(TextHelpers, LocalizedStandardLessTakesDigitsByValue)
{
    EXPECT_TRUE(qb::localizedStandardLess("IMG_2", "IMG_10"));
    EXPECT_FALSE(qb::localizedStandardLess("IMG_10", "IMG_2"));
    EXPECT_TRUE(qb::localizedStandardLess("IMG_9.jpg", "IMG_10.jpg"));
    EXPECT_FALSE(qb::localizedStandardLess("IMG_2", "IMG_2"));
}

} // namespace
