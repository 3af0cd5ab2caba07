// SPDX-License-Identifier: GPL-3.0-or-later
#include "clirunner.h"

using namespace qb::test;

namespace {

struct UsageCase {
    const char* name;
    QStringList arguments;
    int status;
    const char* outContains;
    const char* errContains;
};

TEST(CliShell, HelpVersionAndUsageErrors)
{
    const UsageCase cases[] = {
        {"help", {"--help"}, 0, "Usage: quillbrook-cli", ""},
        {"help_word", {"help"}, 0, "Commands:", ""},
        {"version", {"--version"}, 0, "quillbrook-cli 0.", ""},
        {"nothing", {}, 2, "", "Usage: quillbrook-cli"},
        {"unknown_command", {"frobnicate"}, 2, "", "quillbrook-cli: unknown command 'frobnicate'"},
        {"unknown_option", {"--frob"}, 2, "", "quillbrook-cli: unknown option '--frob'"},
    };
    for (const UsageCase& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = runCli(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_TRUE(result.out.contains(QString::fromUtf8(c.outContains)))
            << result.out.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.errContains)))
            << result.err.toStdString();
        if (c.status != 0) {
            EXPECT_TRUE(result.out.isEmpty()) << "errors must not reach stdout";
        }
    }
}

} // namespace
