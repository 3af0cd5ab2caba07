// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/error.h"

#include <gtest/gtest.h>

using qb::Error;

namespace {

TEST(ErrorMessage, SaysEachThingOnce)
{
    struct Case {
        const char* description;
        const char* reason;
        const char* suggestion;
        const char* message;
    };
    const Case cases[] = {
        {"Capture One 20 is not running", "Capture One 20 is not running.", "Launch Capture One 20",
         "Capture One 20 is not running. Launch Capture One 20"},
        {"Could not write.", "", "", "Could not write."},
        {"", "Disk full.", "Free some space.", "Disk full. Free some space."},
        {"A.", "B.", "A.", "A. B."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        Error error;
        error.errorDescription = QString::fromUtf8(c.description);
        error.failureReason = QString::fromUtf8(c.reason);
        error.recoverySuggestion = QString::fromUtf8(c.suggestion);
        EXPECT_EQ(error.message(), QString::fromUtf8(c.message));
    }
    Error bare;
    bare.domain = QStringLiteral("qb.Test");
    bare.code = 7;
    EXPECT_EQ(bare.message(), QStringLiteral("qb.Test error 7"));
}

} // namespace
