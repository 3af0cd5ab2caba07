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

TEST(CardFixes, readFramesAndKeysOrNameEachBadLine)
{
    const auto fixes = parseCardFixes(
        "\uFEFFframe,key\r\n# the card in the rain\r\nIMG_0007.JPG,1234\r\n\r\n"
        "\"B/IMG 1, wet.JPG\" , \"12,\"\"34\"\"\"\nIMG_0009.JPG,-\nIMG_0007.JPG,1235");
    const std::vector<CardFix> expected{{"IMG_0007.JPG", "1234", 3},
                                        {"B/IMG 1, wet.JPG", "12,\"34\"", 5},
                                        {"IMG_0009.JPG", std::nullopt, 6},
                                        {"IMG_0007.JPG", "1235", 7}};
    EXPECT_EQ(fixes.value_or(std::vector<CardFix>()), expected);

    const struct {
        const char* text;
        const char* reason;
    } bad[] = {
        {"IMG_1.JPG", "line 1: expected “frame,key” or “frame,-”, found 1 fields"},
        {"ok.JPG,1\nIMG_1.JPG,1,2", "line 2: expected “frame,key” or “frame,-”, found 3 fields"},
        {",1234", "line 1: the frame is empty"},
        {"IMG_1.JPG, ", "line 1: the key is empty; write “-” to say the frame is not a card"},
        {"\"IMG_1.JPG,1234", "line 1: a quote is not closed"},
        {"IMG_1.JPG,1234\nIMG_1.JPG,-", "line 2: IMG_1.JPG is also marked as a card on line 1"},
        {"IMG_1.JPG,-\n\nIMG_1.JPG,12", "line 3: IMG_1.JPG is also marked as not a card on line 1"},
    };
    for (const auto& c : bad) {
        SCOPED_TRACE(c.text);
        const auto failed = parseCardFixes(QString::fromUtf8(c.text));
        ASSERT_FALSE(failed.has_value());
        EXPECT_EQ(failed.error().failureReason, QString::fromUtf8(c.reason));
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

// The session test reads real answers; these are the ones exiftool gives
// when something is wrong with it rather than with a file.
TEST(CaptureTimes, failOnlyWhenExiftoolDoes)
{
    const struct {
        const char* name;
        ProcessRunResult answer;
        bool fails;
    } cases[] = {
        {"an answer cut short", ProcessOutcome{0, false, "[{\"SourceFile\": ", {}}, true},
        {"no such program", std::unexpected(ProcessFailure{"no such program"}), true},
        {"a broken installation", ProcessOutcome{2, false, {}, "Can't locate Image/ExifTool.pm"},
         true},
        {"status 1 and nothing said", ProcessOutcome{1, false, {}, {}}, true},
        {"a file gone", ProcessOutcome{1, false, {}, "Error: File not found - /s/a.jpg\n"}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto runner = std::make_shared<FakeProcessRunner>();
        runner->result = c.answer;
        const auto times = readCaptureTimes(ExifTool(anyProgram, {}, runner), {"/s/a.jpg"});
        EXPECT_EQ(!times.has_value(), c.fails);
        EXPECT_EQ(runner->runs.size(), 1u);
    }
}

} // namespace
