// SPDX-License-Identifier: GPL-3.0-or-later
// Where rows come from and how they find their images: spreadsheets, CSV
// files of every line ending, keys that are paths and keys that are tags,
// with the real exiftool where images are read or written.
#include "clirunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace qb::test;

namespace {

const QString sheets = QStringLiteral(QB_TEST_DATA "/spreadsheet/");
const QString exiftool = QStringLiteral("/usr/bin/exiftool");

class DataSources : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    QString write(const QString& name, const QByteArray& bytes) const
    {
        return writeFile(path(name), bytes);
    }
    // exiftool run in the test's folder, as a user would in theirs.
    QByteArray runExiftool(const QStringList& arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(m_dir.path());
        process.start(exiftool, arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }
    // The dry run's batch, each image's tags by its file name.
    static std::map<QString, QJsonObject> batch(const CliResult& result)
    {
        std::map<QString, QJsonObject> byName;
        for (const auto& entry : QJsonDocument::fromJson(result.out.toUtf8()).array()) {
            const QJsonObject object = entry.toObject();
            byName[QFileInfo(object["SourceFile"].toString()).fileName()] = object;
        }
        return byName;
    }
    // The titles the dry run would write, by image; an image the batch
    // holds without one has none.
    static std::map<QString, QString> titles(const CliResult& result)
    {
        std::map<QString, QString> byName;
        for (const auto& [image, tags] : batch(result)) {
            if (tags.contains("XMP-dc:Title"))
                byName[image] = tags["XMP-dc:Title"].toString();
        }
        return byName;
    }
    // A document whose CSV settings are `settings` plus the file.
    QString document(const QString& name, const QString& dataFile, const QByteArray& settings)
    {
        const QString package = path(name + ".qbmap");
        write(name + ".qbmap/mapping.json", R"({"version":2,"isEditable":true,"mappings":[
            {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}]})");
        const QByteArray bookmark = QByteArray(R"({"path":")") + dataFile.toUtf8() + R"("})";
        write(name + ".qbmap/datasource/csv.json", "{" + settings +
                                                       R"(,"selectedMatchStyle":1,"currentURL":")" +
                                                       bookmark.toBase64() + "\"}");
        return package;
    }

    QTemporaryDir m_dir;
};

TEST_F(DataSources, CsvShowsASheetAsItShowsACsvFile)
{
    const QString mac = write("mac.csv", "Shot,Title\r00123,\"one\ntwo\"\r007,b\r");
    const QString old = write("old.xls", QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
    const struct {
        const char* name;
        QStringList arguments;
        int status;
        QString firstRow; // the first data row, joined with '|'
        QString errContains;
    } cases[] = {
        {"first sheet", {sheets + "sessions.xlsx"}, 0, "00123|Ann, first day", ""},
        {"named sheet",
         {"--sheet", "Day 2", sheets + "sessions.xlsx"},
         0,
         "00123|Ann, second day",
         "sessions.xlsx, sheet \u201cDay 2\u201d: Cell B3 holds a formula"},
        {"ods", {sheets + "types.ods"}, 0, "1|00123|Ann  Berg|0.1|2024-03-05", "Cell D3"},
        {"classic mac line ends", {mac}, 0, "00123|one\ntwo", ""},
        {"unknown sheet",
         {"--sheet", "Day 3", sheets + "sessions.xlsx"},
         2,
         "",
         "It has no sheet named \u201cDay 3\u201d. Its sheets are \u201cDay 1\u201d, "
         "\u201cDay 2\u201d."},
        {"sheet of a csv file", {"--sheet", "Day 1", mac}, 2, "", "--sheet is for spreadsheets"},
        {"delimiter of a spreadsheet",
         {"--delimiter", "tab", sheets + "sessions.xlsx"},
         2,
         "",
         "are for CSV files"},
        {"old binary workbook", {old}, 2, "", "old.xls"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = runCli(QStringList{"csv"} + c.arguments);
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(c.errContains)) << result.err.toStdString();
        if (c.status != 0) {
            EXPECT_TRUE(result.out.isEmpty());
            continue;
        }
        const QJsonArray rows = QJsonDocument::fromJson(result.out.toUtf8())["rows"].toArray();
        ASSERT_FALSE(rows.isEmpty()) << result.out.toStdString();
        QStringList first;
        for (const auto& field : rows[0].toArray())
            first << field.toString();
        EXPECT_TRUE(first.join('|').startsWith(c.firstRow)) << first.join('|').toStdString();
    }
}

TEST_F(DataSources, AssignTakesItsRowsFromTheSheetTheOptionOrTheDocumentNames)
{
    for (const char* name : {"shoot/00123.jpg", "shoot/007.jpg", "shoot/123.jpg"})
        makeJpeg(path(name));
    const QString mappings = write("mappings.json", R"([
        {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}])");
    const QString book = sheets + "sessions.xlsx";
    const struct {
        const char* name;
        QStringList arguments;
        std::map<QString, QString> titles; // by image
    } cases[] = {
        // Leading zeros stay: 00123 is not 123.
        {"first sheet",
         {"--csv", book, "--key", "Shot", "--match", "equals", "--mappings", mappings},
         {{"00123.jpg", "Ann, first day"}}},
        {"named sheet",
         {"--csv", book, "--sheet", "Day 2", "--key", "Shot", "--match", "equals", "--mappings",
          mappings},
         {{"00123.jpg", "Ann, second day"}}},
        {"document's sheet",
         {"--document", document("day2", book, R"("keyNames":["Shot","Title"],
             "selectedHeader":"Shot","sheetName":"Day 2")")},
         {{"00123.jpg", "Ann, second day"}}},
        {"option over the document's sheet",
         {"--sheet", "Day 1", "--document", document("day2again", book, R"("keyNames":[],
             "selectedHeader":"Shot","sheetName":"Day 2")")},
         {{"00123.jpg", "Ann, first day"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result =
            runCli(QStringList{"assign", "--dry-run"} + c.arguments + QStringList{path("shoot")});
        ASSERT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_EQ(titles(result), c.titles);
    }
}

TEST_F(DataSources, PathKeysTieARowToTheOneFileTheyName)
{
    for (const char* name : {"shoot/a.jpg", "shoot/sub/a.jpg", "elsewhere/b.jpg"})
        makeJpeg(path(name));
    const QString csv = write("data/sheet.csv", ("Path,Title\n"
                                                 "../shoot/sub/a.jpg,relative\n" +
                                                 path("elsewhere/./b.jpg") +
                                                 ",absolute\n"
                                                 "../shoot/gone.jpg,nothing\n"
                                                 "a,by name\n")
                                                    .toUtf8());
    const QString mappings = write("mappings.json", R"([
        {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}])");
    const CliResult result =
        // Keys that name no image are told, but tie nothing ambiguously.
        runCli({"assign", "--dry-run", "--strict", "--csv", csv, "--key", "Path", "--match", "path",
                "--mappings", mappings, path("shoot"), path("elsewhere")});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    std::map<QString, QString> titles;
    for (const auto& entry : QJsonDocument::fromJson(result.out.toUtf8()).array())
        titles[entry.toObject()["SourceFile"].toString()] =
            entry.toObject()["XMP-dc:Title"].toString();
    EXPECT_EQ(titles, (std::map<QString, QString>{{path("shoot/sub/a.jpg"), "relative"},
                                                  {path("elsewhere/b.jpg"), "absolute"}}));
    EXPECT_TRUE(result.err.contains("The key \u201c../shoot/gone.jpg\u201d names no image given"))
        << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("The key \u201ca\u201d names no image given"));

    const CliResult both =
        runCli({"assign", "--dry-run", "--csv", csv, "--key", "Path", "--match", "path",
                "--key-tag", "IPTC:ObjectName", "--mappings", mappings, path("shoot")});
    EXPECT_EQ(both.status, 2);
    EXPECT_TRUE(both.err.contains("give one of them")) << both.err.toStdString();
}

TEST_F(DataSources, ATagTheImagesCarryKeysThemUnderTheStyleGiven)
{
    const QString tag = QStringLiteral("XMP-photoshop:TransmissionReference");
    for (const auto& [name, job] :
         std::initializer_list<std::pair<const char*, const char*>>{{"JOB-1.jpg", "JOB-100"},
                                                                    {"x.jpg", "JOB-2"},
                                                                    {"y.jpg", "JOB-1"},
                                                                    {"z.jpg", nullptr}}) {
        makeJpeg(path(QStringLiteral("shoot/") + QString::fromLatin1(name)));
        if (job)
            runExiftool({"-q", "-overwrite_original", "-" + tag + "=" + job,
                         "shoot/" + QString::fromLatin1(name)});
    }
    const QString csv = write("jobs.csv", "Job,Title\nJOB-1,one\nJOB-2,two\nJOB-100,hundred\n");
    const QString mappings = write("mappings.json", R"([
        {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}])");
    const QStringList rows = {"--csv", csv, "--key", "Job", "--mappings", mappings};
    const struct {
        const char* name;
        QStringList arguments;
        std::map<QString, QString> titles;
    } cases[] = {
        {"equals",
         rows + QStringList{"--match", "equals", "--key-tag", tag},
         {{"JOB-1.jpg", "hundred"}, {"x.jpg", "two"}, {"y.jpg", "one"}}},
        // JOB-1 begins JOB-100 too: the first value of the merge wins.
        {"prefix",
         rows + QStringList{"--key-tag", tag},
         {{"JOB-1.jpg", "one"}, {"x.jpg", "two"}, {"y.jpg", "one"}}},
        {"by name", rows, {{"JOB-1.jpg", "one"}}},
        {"document's tag",
         {"--document", document("tagged", csv, R"("keyNames":["Job","Title"],
             "selectedHeader":"Job","keyTag":"XMP-photoshop:TransmissionReference")")},
         {{"JOB-1.jpg", "hundred"}, {"x.jpg", "two"}, {"y.jpg", "one"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = runCli(QStringList{"assign", "--dry-run", "--exiftool", exiftool} +
                                        c.arguments + QStringList{path("shoot")});
        ASSERT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_EQ(titles(result), c.titles);
        const bool keyedByTag =
            c.arguments.contains("--key-tag") || c.arguments.contains("--document");
        EXPECT_EQ(result.err.contains("z.jpg has no " + tag + ", so no row matches it."),
                  keyedByTag)
            << result.err.toStdString();
    }

    const CliResult shots =
        runCli({"shotlist", "--json", "--exiftool", exiftool, "--csv", csv, "--key", "Job",
                "--match", "equals", "--key-tag", tag, path("shoot")});
    ASSERT_EQ(shots.status, 0) << shots.err.toStdString();
    for (const auto& shot : QJsonDocument::fromJson(shots.out.toUtf8()).array())
        EXPECT_EQ(shot.toObject()["images"].toArray().size(), 1)
            << shot.toObject()["name"].toString().toStdString();

    const CliResult option = runCli(QStringList{"assign", "--dry-run", "--key-tag", "-all="} +
                                    rows + QStringList{path("shoot")});
    EXPECT_EQ(option.status, 2);
    EXPECT_TRUE(option.err.contains("--key-tag takes a tag name")) << option.err.toStdString();
}

// exiftool's own CSV export, edited, comes back into the files exactly.
TEST_F(DataSources, ExiftoolsCsvRoundTripsThroughColumnsThatAreTags)
{
    for (const char* name : {"photos/a.jpg", "photos/b.jpg", "photos/sub/c.jpg"})
        makeJpeg(path(name));
    runExiftool({"-q", "-overwrite_original", "-XMP-dc:Title=Old title", "-XMP-dc:Subject=old",
                 "-XMP-dc:Subject=kept, as one", "photos/a.jpg", "photos/sub/c.jpg"});
    const QByteArray exported =
        runExiftool({"-csv", "-r", "-XMP-dc:Title", "-XMP-dc:Subject", "photos"});
    ASSERT_TRUE(exported.startsWith("SourceFile,Title,Subject\n")) << exported.toStdString();
    ASSERT_TRUE(exported.contains("photos/sub/c.jpg,Old title,\"old, kept, as one\""));

    // The edit: lists, a line break, text in other scripts, quotes; c's
    // cells are emptied, which leaves its values as they are.
    const QString sheet = write(
        "sheet.csv",
        "SourceFile,Title,Subject\n"
        "photos/a.jpg,\"Line one\nline two \xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e, \xc5\x81\xc3\xb3"
        "d\xc5\xba \"\"quoted\"\"\",\"\xd0\xbc\xd0\xb8\xd1\x80, \xce\xb1\xce\xb2\xce\xb3, plain\"\n"
        "photos/b.jpg,\"Hello, world\",solo\n"
        "photos/sub/c.jpg,,\n");
    const CliResult result =
        runCli({"assign", "--csv", "sheet.csv", "--key", "SourceFile", "--match", "path",
                "--columns-are-tags", "--method", "direct", "--exiftool", exiftool, "photos"},
               m_dir.path());
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("2 written")) << result.out.toStdString();

    // Read back by exiftool's export again, the files hold the sheet.
    const QByteArray again =
        runExiftool({"-csv", "-r", "-XMP-dc:Title", "-XMP-dc:Subject", "photos"});
    write("again.csv", again);
    const auto table = [](const QString& file) {
        const CliResult read = runCli({"csv", "--key", "SourceFile", file});
        EXPECT_EQ(read.status, 0) << read.err.toStdString();
        return QJsonDocument::fromJson(read.out.toUtf8())["metadata"].toObject();
    };
    QJsonObject expected = table(sheet);
    QJsonObject c = expected["photos/sub/c.jpg"].toObject();
    c["Title"] = "Old title";
    c["Subject"] = "old, kept, as one";
    expected["photos/sub/c.jpg"] = c;
    EXPECT_EQ(table(path("again.csv")), expected);
    // A list is items, not one text with commas.
    EXPECT_TRUE(
        runExiftool({"-j", "-XMP-dc:Subject", "photos/a.jpg"})
            .contains("[\"\xd0\xbc\xd0\xb8\xd1\x80\",\"\xce\xb1\xce\xb2\xce\xb3\",\"plain\"]"));
}

} // namespace
