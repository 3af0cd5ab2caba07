// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/documentmigrator.h"

#include "documenttesthelpers.h"

#include <gtest/gtest.h>

using namespace qb;
using qb::test::LogCapture;

namespace {

FileWrapper packageWith(const QByteArray& mappingJson)
{
    return FileWrapper::directory(
        {{QStringLiteral("mapping.json"), FileWrapper::regularFile(mappingJson)}});
}

// Version 1 rows becoming chains, and the round trip through a save, are
// shown with whole packages in test_mappingsdoc.cpp.
TEST(DocumentMigrator, VersionProbeDecidesThePath)
{
    const QByteArray v2Rows = R"("mappings": [{"keyName": "A", "destTag": "XMP:B", )"
                              R"("actions": {"mappers": []}}], "isEditable": true)";
    const struct {
        QByteArray json;
        const char* logged;
        bool opens;
        const char* failureNames;
        qint64 version = 0;
    } cases[] = {
        {"{\"version\": 2, " + v2Rows + "}", "2", true, "", 2},
        {"{\"version\": 3, " + v2Rows + "}", "3", true, "", 3},
        // The version key removed by hand: read as version 1, failing on "key".
        {"{" + v2Rows + "}", "1", false, "mappings[0]"},
        {"{\"version\": \"2\", " + v2Rows + "}", "1", false, "mappings[0]"},
        {"{\"mappings\": [], \"isEditable\": true}", "1", true, "", 2},
        {"{\"version\": 1, \"mappings\": [], \"isEditable\": true}", "1", true, "", 2},
        {"{\"version\": 2, \"mappings\": []}", "2", false, "isEditable"},
        {"[1, 2]", "1", false, "expected an object"},
        {"{\"version\": 2,", "1", false, "not valid JSON"},
        // The key is spelled so on disk; the correct spelling doesn't decode.
        {R"({"mappings": [{"key": "A", "mapping": {"destTag": "B", "conversionMode": 1, )"
         R"("arraySeparator": ","}}], "isEditable": true})",
         "1", false, "arraySeperator"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.json.toStdString());
        LogCapture log;
        const auto data = DocumentMigrator::decodeLatestDocument(packageWith(row.json));
        EXPECT_EQ(log.lines(),
                  QStringList{QStringLiteral("Attempting to decode document version '%1' from "
                                             "FileWrapper")
                                  .arg(row.logged)});
        ASSERT_EQ(data.has_value(), row.opens);
        if (!row.opens)
            EXPECT_TRUE(data.error().message().contains(row.failureNames))
                << data.error().message().toStdString();
        else // a migrated file is version 2; any other keeps its number until saved
            EXPECT_EQ(data->version, row.version);
    }
}

TEST(DocumentMigrator, MissingOrFolderMemberFailsWithItsOwnWords)
{
    const struct {
        FileWrapper package;
        const char* description;
    } cases[] = {
        {FileWrapper::directory(), "File with name 'mapping.json' was not found"},
        {FileWrapper::regularFile("{}"), "File with name 'mapping.json' was not found"},
        {FileWrapper::directory({{"Mapping.json", FileWrapper::regularFile("{}")}}),
         "File with name 'mapping.json' was not found"},
        {FileWrapper::directory({{"mapping.json", FileWrapper::directory()}}),
         "Regular file contents was nil"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.description);
        LogCapture log;
        const auto data = DocumentMigrator::decodeLatestDocument(row.package);
        ASSERT_FALSE(data.has_value());
        EXPECT_EQ(data.error().errorDescription, row.description);
        EXPECT_EQ(log.lines(),
                  QStringList{"Attempting to decode document version '1' from FileWrapper"});
    }
}

} // namespace
