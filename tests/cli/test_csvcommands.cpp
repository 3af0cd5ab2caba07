// SPDX-License-Identifier: GPL-3.0-or-later
#include "clirunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <sys/stat.h>

using namespace qb::test;

namespace {

class CsvCommands : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes)
    {
        return writeFile(m_dir.filePath(name), bytes);
    }

    QJsonDocument json(const CliResult& result)
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(result.out.toUtf8(), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << result.out.toStdString();
        return document;
    }

    QTemporaryDir m_dir;
};

TEST_F(CsvCommands, PrintsHeadersAndRowsAsTheDataSourceReadsThem)
{
    const QString path = write("a.csv", "id,name\r\nA1,\"x, \"\"y\"\"\"\r\nB2,\r\n");
    const CliResult result = runCli({"csv", path});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(
        json(result).object(),
        QJsonDocument::fromJson(R"({"headers":["id","name"],"rows":[["A1","x, \"y\""],["B2",""]]})")
            .object());
}

TEST_F(CsvCommands, KeyPrintsTheTable)
{
    const QString path = write("a.csv", "id,name\nB2,b\nA1,a\nA1,again\n");
    const CliResult result = runCli({"csv", "--key", "id", path});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(json(result).object(),
              QJsonDocument::fromJson(R"({"keyNames":["id","name"],"keys":["A1","B2"],
                  "metadata":{"A1":{"id":"A1","name":"again"},"B2":{"id":"B2","name":"b"}}})")
                  .object());
}

struct CsvErrorCase {
    const char* name;
    QStringList arguments; // FILE is appended
    QByteArray content;
    int status;
    const char* errContains;
};

TEST_F(CsvCommands, ErrorsExitWithClearTexts)
{
    const CsvErrorCase cases[] = {
        {"field_count", {"csv"}, "a,b\n1,2,3\n", 2, "[CSVReader]"},
        {"not_text", {"csv"}, QByteArray("a,b\n\xff\xfe\xfa\x00\x01", 9), 2, "text encoding"},
        {"unknown_key", {"csv", "--key", "nope"}, "a,b\n1,2\n", 2, "no column named 'nope'"},
        {"unknown_encoding",
         {"csv", "--encoding", "ebcdic"},
         "a\n",
         2,
         "unknown encoding 'ebcdic'"},
        {"unknown_delimiter", {"csv", "--delimiter", "pipe"}, "a\n", 2, "unknown delimiter 'pipe'"},
        {"delimiter_and_reader",
         {"csv", "--delimiter", "tab", "--no-header"},
         "a\n",
         2,
         "not both"},
    };
    for (const CsvErrorCase& c : cases) {
        SCOPED_TRACE(c.name);
        QStringList arguments = c.arguments;
        arguments << write(QString::fromUtf8(c.name) + ".csv", c.content);
        const CliResult result = runCli(arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.errContains)))
            << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty());
    }
    const CliResult missing = runCli({"csv", m_dir.filePath("none.csv")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_TRUE(missing.err.contains("there is no such file")) << missing.err.toStdString();
}

class AssignDryRun : public CsvCommands {
protected:
    void SetUp() override
    {
        write("shoot/notes.txt", QByteArray());
        for (const char* name :
             {"shoot/A1_1.jpg", "shoot/sub/A1_2.jpg", "shoot/B2.jpg", "shoot/C3.jpg"})
            makeJpeg(m_dir.filePath(name));
        m_csv = write("data.csv", "id,title,tags\nA1,hello,a;b\nB2,bye,\n");
        m_mappings = write("mappings.json", R"([
            {"keyName":"title","destTag":"XMP:Title","actions":{"mappers":[
                {"attributes":{"transformation":"uppercase"},"type":"stringCase"}]}},
            {"keyName":"tags","destTag":"XMP:Subject","actions":{"mappers":[
                {"attributes":{"delimiter":";"},"type":"array"}]}}])");
    }
    QString m_csv;
    QString m_mappings;
};

TEST_F(AssignDryRun, PrintsTheBatchForExiftool)
{
    const CliResult result = runCli({"assign", "--dry-run", "--mappings", m_mappings, "--csv",
                                     m_csv, "--key", "id", m_dir.filePath("shoot")});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    QJsonArray batch = json(result).array();
    ASSERT_EQ(batch.size(), 3);
    std::map<QString, QJsonObject> bySource;
    for (const auto& entry : batch)
        bySource[entry.toObject()["SourceFile"].toString()] = entry.toObject();
    const QJsonObject a1 = bySource.at(m_dir.filePath("shoot/sub/A1_2.jpg"));
    EXPECT_EQ(a1["XMP:Title"].toString(), "HELLO");
    EXPECT_EQ(a1["XMP:Subject"].toArray(), QJsonArray({"a", "b"}));
    // B2's empty tags cell leaves the file's keywords alone, and says so.
    const QJsonObject b2 = bySource.at(m_dir.filePath("shoot/B2.jpg"));
    EXPECT_FALSE(b2.contains("XMP:Subject"));
    EXPECT_EQ(a1.keys().size(), 3);
    EXPECT_TRUE(result.err.contains("B2.jpg: empty cells leave XMP:Subject as the file has them"));
    const CliResult cleared =
        runCli({"assign", "--dry-run", "--empty-cells", "clear", "--mappings", m_mappings, "--csv",
                m_csv, "--key", "id", m_dir.filePath("shoot/B2.jpg")});
    ASSERT_EQ(cleared.status, 0) << cleared.err.toStdString();
    EXPECT_EQ(json(cleared).array().first().toObject()["XMP:Subject"].toArray(), QJsonArray());
}

TEST_F(AssignDryRun, MatchStyleAndErrors)
{
    const QStringList base = {"assign", "--dry-run", "--mappings", m_mappings,
                              "--csv",  m_csv,       "--key",      "id"};
    const CliResult equals =
        runCli(base + QStringList{"--match", "equals", m_dir.filePath("shoot")});
    ASSERT_EQ(equals.status, 0) << equals.err.toStdString();
    EXPECT_EQ(json(equals).array().size(), 1);

    struct Case {
        const char* name;
        QStringList arguments;
        int status;
        const char* errContains;
    };
    const Case cases[] = {
        {"missing_key",
         {"assign", "--dry-run", "--mappings", m_mappings, "--csv", m_csv, m_dir.path()},
         2,
         "--key COLUMN"},
        {"bad_style", base + QStringList{"--match", "fuzzy", m_dir.path()}, 2,
         "unknown matching style 'fuzzy'"},
        {"no_paths", base, 2, "at least one image"},
        {"missing_folder", base + QStringList{m_dir.filePath("shot")}, 2,
         "no such file or folder: "},
        {"missing_file_to_read",
         {"read", m_dir.filePath("shoot/B3.jpg")},
         2,
         "no such file or folder: "},
        {"bad_mappings",
         {"assign", "--dry-run", "--mappings",
          write(
              "bad.json",
              R"([{"keyName":"a","destTag":"b","actions":{"mappers":[{"type":"x","attributes":{}}]}}])"),
          "--csv", m_csv, "--key", "id", m_dir.path()},
         2,
         "unknown mapper type \"x\""},
        {"bad_delimiter", base + QStringList{"--delimiter", "colon", m_dir.path()}, 2,
         "use comma, semicolon, tab or auto"},
        {"bad_encoding", base + QStringList{"--encoding", "koi8", m_dir.path()}, 2,
         "unknown encoding 'koi8'"},
        {"undetected_encoding",
         {"assign", "--dry-run", "--mappings", m_mappings, "--csv",
          write("mixed.csv", "id,title\nA1,\x8f\x90\x9d\xff\n"), "--key", "id", m_dir.path()},
         2,
         "Or name its encoding with --encoding NAME."},
        {"mappings_not_json",
         {"assign", "--dry-run", "--mappings", write("bad2.json", "[{"), "--csv", m_csv, "--key",
          "id", m_dir.path()},
         2,
         "bad2.json"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = runCli(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.errContains)))
            << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    }
}

TEST_F(AssignDryRun, SemicolonsAndCodePagesAsExcelSavesThem)
{
    // Windows-1252, as Excel on a Swedish Windows saves "CSV".
    const QString csv = write("excel.csv", "id;title;tags\r\n"
                                           "A1;Malm\xf6 \x93hamn\x94 vid \xd8resund;\"a;b\"\r\n"
                                           "B2;K\xf8"
                                           "benhavn och G\xf6teborg;\r\n");
    const QStringList base = {"assign",   "--dry-run", "--mappings",
                              m_mappings, "--csv",     csv,
                              "--key",    "id",        m_dir.filePath("shoot/B2.jpg")};
    const struct {
        const char* name;
        QStringList options;
        const char* title; // of B2; nothing when the read fails
        const char* err;
    } cases[] = {
        {"auto_detected",
         {"--delimiter", "auto"},
         "K\u00d8BENHAVN OCH G\u00d6TEBORG",
         "excel.csv is not UTF-8; read it as Windows-1252"},
        {"given",
         {"--delimiter", "semicolon", "--encoding", "cp1252"},
         "K\u00d8BENHAVN OCH G\u00d6TEBORG",
         "B2.jpg: empty cells leave XMP:Subject as the file has them"},
        {"comma_as_before", {}, nullptr, "Quotes aren't allowed within fields"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = runCli(base + c.options);
        EXPECT_TRUE(*c.err ? result.err.contains(QString::fromUtf8(c.err)) : result.err.isEmpty())
            << result.err.toStdString();
        if (!c.title) {
            EXPECT_EQ(result.status, 2);
            continue;
        }
        ASSERT_EQ(result.status, 0);
        EXPECT_EQ(json(result).array().first().toObject()["XMP:Title"].toString(),
                  QString::fromUtf8(c.title));
    }
}

TEST_F(AssignDryRun, CaseAndDatesFollowTheEnvironment)
{
    const QString csv = write("when.csv", "id,name,when\nA1,istanbul,2021-03-04 10:00 +0000\n");
    const QString mappings = write("when.json", R"([
        {"keyName":"name","destTag":"XMP:Title","actions":{"mappers":[
            {"attributes":{"transformation":"uppercase"},"type":"stringCase"}]}},
        {"keyName":"when","destTag":"EXIF:CreateDate","actions":{"mappers":[
            {"attributes":{"format":"yyyy-MM-dd HH:mm Z"},"type":"date"}]}}])");
    // A Turkish locale and a zone east of UTC must both reach the mappers.
    const CliResult result = runCli({"assign", "--dry-run", "--mappings", mappings, "--csv", csv,
                                     "--key", "id", m_dir.filePath("shoot/A1_1.jpg")},
                                    {}, {}, 60000, {"LC_ALL=tr_TR.UTF-8", "TZ=Asia/Tokyo"});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QJsonObject image = json(result).array().first().toObject();
    EXPECT_EQ(image["XMP:Title"].toString(), QString::fromUtf8("\u0130STANBUL"));
    EXPECT_EQ(image["EXIF:CreateDate"].toString(), "2021:03:63 19:00:00"); // DD: day of year
}

TEST_F(AssignDryRun, InputsThatAreNotRegularFilesAreRefusedAtOnce)
{
    const QString fifo = m_dir.filePath("rows.csv");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString shoot = m_dir.filePath("shoot");
    struct Case {
        const char* name;
        QStringList arguments;
        const char* errContains;
    };
    const Case cases[] = {
        {"csv_fifo", {"csv", fifo}, "named pipe"},
        {"csv_stream_fifo", {"csv", "--presample", fifo}, "named pipe"},
        {"csv_device", {"csv", "/dev/zero"}, "device"},
        {"assign_csv_fifo",
         {"assign", "--dry-run", "--mappings", m_mappings, "--csv", fifo, "--key", "id", shoot},
         "named pipe"},
        {"assign_mappings_device",
         {"assign", "--dry-run", "--mappings", "/dev/zero", "--csv", m_csv, "--key", "id", shoot},
         "device"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        // A read that waited for a writer, or for the end of /dev/zero,
        // would run into the time limit.
        const CliResult result = runCli(c.arguments, {}, {}, 20000);
        EXPECT_EQ(result.status, 2);
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.errContains)))
            << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty());
    }
}

} // namespace
