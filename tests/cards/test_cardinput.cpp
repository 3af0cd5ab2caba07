// SPDX-License-Identifier: GPL-3.0-or-later
// What the plan is made from besides the codes: the key pattern, the
// cards file and the capture times.
#include "../exif/fakeprocessrunner.h"

#include "cards/capturetimes.h"
#include "cards/cardfixes.h"
#include "cards/cardkeys.h"

#include <QTimeZone>

#include <gtest/gtest.h>

using namespace qb;
using namespace qb::testing;

namespace {

TEST(CardKeys, takeTheKeyOutOfTheCode)
{
    const struct {
        const char* pattern;
        QString code;
        std::optional<QString> key;
    } cases[] = {
        {"", " 1234\n", "1234"},
        {"", "  ", std::nullopt},
        {"id=(\\d+)", "https://school.example/s?id=1234&class=4b", "1234"},
        {"@(\\d+)$", "/%S@1234", "1234"},
        {"(S)(?<key>\\d+)", "S1234", "1234"},
        {"\\d{4}", "ab1234cd", "1234"},
        {"@(\\d+)$", "https://school.example/", std::nullopt},
        {"(?<key>\\d*)x", "x", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pattern);
        const CardKeyPattern pattern =
            *c.pattern ? CardKeyPattern::compile(c.pattern).value() : CardKeyPattern();
        EXPECT_EQ(pattern.keyOf(c.code), c.key);
    }
    const auto malformed = CardKeyPattern::compile("id=(\\d+");
    ASSERT_FALSE(malformed.has_value());
    EXPECT_TRUE(malformed.error().errorDescription.contains("id=(\\d+"));
}

TEST(CardFixes, readFramesAndKeys)
{
    const auto fixes = parseCardFixes(
        "\uFEFFframe,key\r\n# the card in the rain\r\nIMG_0007.JPG,1234\r\n\r\n"
        "\"B/IMG 1, wet.JPG\" , \"12,\"\"34\"\"\"\nIMG_0009.JPG,-\nIMG_0007.JPG,1235");
    ASSERT_TRUE(fixes.has_value()) << fixes.error().failureReason.toStdString();
    const std::vector<CardFix> expected{{"IMG_0007.JPG", "1234", 3},
                                        {"B/IMG 1, wet.JPG", "12,\"34\"", 5},
                                        {"IMG_0009.JPG", std::nullopt, 6},
                                        {"IMG_0007.JPG", "1235", 7}};
    EXPECT_EQ(*fixes, expected);
}

TEST(CardFixes, nameEachBadLine)
{
    const struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"IMG_1.JPG", "line 1: expected “frame,key” or “frame,-”, found 1 fields"},
        {"ok.JPG,1\nIMG_1.JPG,1,2", "line 2: expected “frame,key” or “frame,-”, found 3 fields"},
        {",1234", "line 1: the frame is empty"},
        {"IMG_1.JPG, ", "line 1: the key is empty; write “-” to say the frame is not a card"},
        {"\"IMG_1.JPG,1234", "line 1: a quote is not closed"},
        {"IMG_1.JPG,1234\nIMG_1.JPG,-", "line 2: IMG_1.JPG is also marked as a card on line 1"},
        {"IMG_1.JPG,-\n\nIMG_1.JPG,12", "line 3: IMG_1.JPG is also marked as not a card on line 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto fixes = parseCardFixes(QString::fromUtf8(c.text));
        ASSERT_FALSE(fixes.has_value());
        EXPECT_EQ(fixes.error().failureReason, QString::fromUtf8(c.reason));
    }
}

TEST(CaptureTimes, readTheCameraClockToTheSubSecond)
{
    const struct {
        const char* date;
        const char* subSeconds;
        const char* offset;
        std::optional<QString> text;
        qint64 microseconds; // past 10:00:00 UTC
    } cases[] = {
        {"2024:05:01 10:00:00", "05", "", "2024-05-01 10:00:00.05", 50'000},
        {"2024:05:01 10:00:00", "5", "", "2024-05-01 10:00:00.5", 500'000},
        {"2024:05:01 10:00:00", "123456789", "", "2024-05-01 10:00:00.123456789", 123'456},
        {"2024:05:01 12:00:00", "", "+02:00", "2024-05-01 12:00:00 +02:00", 0},
        {"2024:05:01 10:00:00.25+00:00", "", "", "2024-05-01 10:00:00.25 +00:00", 250'000},
        {"2024:05:01 10:00:00", "n/a", "bad", "2024-05-01 10:00:00", 0},
        {"0000:00:00 00:00:00", "", "", std::nullopt, 0},
        {"", "12", "", std::nullopt, 0},
    };
    const qint64 ten =
        QDateTime(QDate(2024, 5, 1), QTime(10, 0), QTimeZone::utc()).toSecsSinceEpoch();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.date);
        const auto time = CaptureTime::fromExif(c.date, c.subSeconds, c.offset);
        ASSERT_EQ(time.has_value(), c.text.has_value());
        if (time) {
            EXPECT_EQ(time->text(), *c.text);
            EXPECT_EQ(time->orderKey() - ten * 1'000'000, c.microseconds);
        }
    }
}

TEST(CaptureTimes, comeFromOneRunOfExiftool)
{
    auto runner = std::make_shared<FakeProcessRunner>();
    const ExifTool exiftool(anyProgram, {}, runner);
    const QStringList paths{"/s/a.jpg", "/s/b.jpg", "/s/c.jpg", "/s/d.jpg"};
    // exiftool writes sub-seconds of 50 as a number, and ends with status
    // 1 when one file couldn't be read, answering for the others.
    runner->result = ProcessOutcome{
        1, false,
        R"([{"SourceFile": "/s/b.jpg", "DateTimeOriginal": "2024:05:01 10:00:01", "SubSecTimeOriginal": 50},
            {"SourceFile": "/s/a.jpg", "DateTimeOriginal": "2024:05:01 10:00:00", "SubSecTimeOriginal": "07"},
            {"SourceFile": "/s/c.jpg"}])",
        "Error: File not found - /s/d.jpg\n"};
    const auto times = readCaptureTimes(exiftool, paths);
    ASSERT_TRUE(times.has_value()) << times.error().message().toStdString();
    ASSERT_EQ(times->size(), 4u);
    EXPECT_EQ((*times)[0]->text(), "2024-05-01 10:00:00.07");
    EXPECT_EQ((*times)[1]->text(), "2024-05-01 10:00:01.50");
    EXPECT_FALSE((*times)[2] || (*times)[3]);
    ASSERT_EQ(runner->runs.size(), 1u);
    EXPECT_EQ(runner->runs[0].arguments.mid(runner->runs[0].arguments.size() - 4), paths);

    runner->result = ProcessOutcome{0, false, "[{\"SourceFile\": ", {}};
    EXPECT_FALSE(readCaptureTimes(exiftool, paths).has_value());
    runner->result = std::unexpected(ProcessFailure{"no such program"});
    EXPECT_FALSE(readCaptureTimes(exiftool, paths).has_value());
}

} // namespace
