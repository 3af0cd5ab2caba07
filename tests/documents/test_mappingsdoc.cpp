// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/mappingsdoc.h"
#include "documents/packagestore.h"

#include "documenttesthelpers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

#include <sys/stat.h>

using namespace qb;
using qb::test::LogCapture;
using qb::test::readFile;
using qb::test::snapshot;
using qb::test::writeFile;

namespace {

const QByteArray versionTwo = R"({"version": 2, "mappings": [], "isEditable": true})";

class MappingsDocFiles : public testing::Test {
protected:
    QString path(const QString& name) const { return m_dir.filePath(name); }

    std::unique_ptr<MappingsDoc> openOrFail(const QString& where)
    {
        auto document = MappingsDoc::open(where);
        EXPECT_TRUE(document.has_value()) << document.error().message().toStdString();
        return document ? std::move(*document) : nullptr;
    }

    QTemporaryDir m_dir;
};

TEST_F(MappingsDocFiles, NewDocumentSavesEmptyRowsAndAnEmptyDatasourceFolder)
{
    MappingsDoc document;
    EXPECT_TRUE(document.isEditable());
    EXPECT_EQ(document.datasource(), "csvsource");
    EXPECT_FALSE(document.save().has_value()); // nowhere to save yet
    ASSERT_TRUE(document.saveAs(path("new")).has_value());

    EXPECT_EQ(document.fileName(), path("new.qbmap"));
    EXPECT_EQ(
        snapshot(path("new.qbmap")),
        (std::map<QString, QByteArray>{
            {"datasource", "<dir>"},
            {"mapping.json", "{\n  \"version\": 2,\n  \"mappings\": [],\n"
                             "  \"isEditable\": true,\n  \"datasource\": \"csvsource\"\n}"}}));
}

TEST_F(MappingsDocFiles, SavedDocumentOpensWithTheSameRowsAndBothPanelSettings)
{
    writeFile(path("data/shoot.csv"), "Shot,Title\n");
    CSVDatasourceSettings csv;
    csv.keyNames = {"Shot", "Title"};
    csv.selectedHeader = "Shot";
    csv.selectedMatchStyle = 1;
    csv.currentURL = BookmarkURL(QUrl::fromLocalFile(path("data/shoot.csv")));
    ImageDatasourceSettings image;
    image.selectedMatchStyle = 3;

    MappingsDoc document;
    document.setCriteria(qb::test::sampleRows());
    document.toggleIsEditable();
    document.setDatasource("imagesource");
    document.setDatasourceWrapper(*csv.fileWrapper());
    document.setDatasourceWrapper(*image.fileWrapper());
    ASSERT_TRUE(document.saveAs(path("doc.qbmap")).has_value());
    EXPECT_FALSE(document.isDocumentEdited());
    ASSERT_TRUE(document.save().has_value()); // over itself, leaving nothing beside it
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList({"data", "doc.qbmap"}));

    LogCapture log;
    const auto opened = openOrFail(path("doc.qbmap"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(log.lines(),
              QStringList({"Reading document of type 'org.quillbrook.mappings' from FileWrapper",
                           "Attempting to decode document version '2' from FileWrapper",
                           "Finished reading from document"}));
    EXPECT_EQ(opened->fileName(), path("doc.qbmap"));
    EXPECT_EQ(opened->currentCriteriaRows(), qb::test::sampleRows());
    EXPECT_FALSE(opened->isEditable());
    EXPECT_EQ(opened->datasource(), "imagesource");
    EXPECT_EQ(opened->datasourceWrappers(), document.datasourceWrappers());
    EXPECT_EQ(opened->csvFilePath(), path("data/shoot.csv"));
    EXPECT_EQ(opened->csvSelectedHeader(), "Shot");
    EXPECT_EQ(opened->csvMatchStyle(), FileNameDataSource::MatchingStyle::equals);
    ASSERT_TRUE(opened->imageSettings().has_value());
    EXPECT_EQ(opened->imageSettings()->selectedMatchStyle, 3);
    EXPECT_FALSE(opened->isDocumentEdited());
    EXPECT_EQ(opened->undoStack().count(), 0);
}

TEST_F(MappingsDocFiles, VersionOnePackageOpensAsVersionTwoAndSavesAsIt)
{
    writeFile(path("old.qbmap/mapping.json"),
              R"({"mappings": [{"key": "Keywords", "mapping": {"destTag": "XMP-dc:Subject",)"
              R"( "conversionMode": 1, "arraySeperator": ", "}}, {"key": "City", "mapping": )"
              R"({"destTag": "XMP-photoshop:City", "conversionMode": 2, "arraySeperator": ";"}}, )"
              R"({"key": "Shot", "mapping": {"destTag": "XMP-dc:Source", "conversionMode": -1, )"
              R"("arraySeperator": ","}}], "isEditable": false, "datasource": "imagesource"})");
    LogCapture log;
    auto document = openOrFail(path("old.qbmap"));
    ASSERT_TRUE(document);
    EXPECT_TRUE(log.lines().contains("Attempting to decode document version '1' from FileWrapper"));
    EXPECT_TRUE(document->datasourceWrappers().empty());
    EXPECT_FALSE(document->isEditable());
    EXPECT_EQ(document->datasource(), "imagesource");
    const std::vector<MetadataMapping> migrated = {
        MetadataMapping("Keywords", "XMP-dc:Subject", {std::make_shared<ArrayMapper>(", ")}),
        MetadataMapping("City", "XMP-photoshop:City"), MetadataMapping("Shot", "XMP-dc:Source")};
    EXPECT_EQ(document->currentCriteriaRows(), migrated);
    EXPECT_EQ(document->mappingJson()["version"], 2);

    ASSERT_TRUE(document->save().has_value());
    EXPECT_FALSE(readFile(path("old.qbmap/mapping.json")).contains("arraySeperator"));
    auto again = openOrFail(path("old.qbmap"));
    ASSERT_TRUE(again);
    EXPECT_TRUE(log.lines().contains("Attempting to decode document version '2' from FileWrapper"));
    EXPECT_EQ(again->currentCriteriaRows(), migrated);
}

TEST_F(MappingsDocFiles, DamagedMappingFileFailsAndLeavesThePackageUntouched)
{
    const QByteArray csv = R"({"keyNames": [], "selectedMatchStyle": 2})";
    const struct {
        const char* name;
        const char* member; // where the bytes go
        QByteArray bytes;
        const char* expected;
    } cases[] = {
        {"bad JSON", "mapping.json", "{\"version\": 2, \"mappings\": [", "not valid JSON"},
        {"wrong kind", "mapping.json", R"({"version": 2, "mappings": {}, "isEditable": true})",
         "mappings: expected an array"},
        {"unknown mapper", "mapping.json",
         R"({"version": 2, "mappings": [{"keyName": "A", "destTag": "B", "actions": )"
         R"({"mappers": [{"type": "teleport", "attributes": {}}]}}], "isEditable": true})",
         "unknown mapper type \"teleport\""},
        {"missing member", "notes.txt", "hello", "File with name 'mapping.json' was not found"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const QString package = path(QStringLiteral("%1.qbmap").arg(row.name));
        writeFile(package + "/datasource/csv.json", csv);
        writeFile(package + '/' + row.member, row.bytes);
        const auto before = snapshot(package);

        const auto document = MappingsDoc::open(package);
        ASSERT_FALSE(document.has_value());
        EXPECT_TRUE(document.error().message().contains(row.expected))
            << document.error().message().toStdString();
        EXPECT_EQ(document.error().userInfo.value("path").toString(), package);
        EXPECT_EQ(snapshot(package), before);
    }
}

TEST_F(MappingsDocFiles, OpeningReadsOnlyRegularMembersInsideThePackage)
{
    using Make = std::function<void(const QString&)>;
    const Make fifo = [](const QString& at) {
        ASSERT_EQ(::mkfifo(QFile::encodeName(at).constData(), 0600), 0);
    };
    const Make folder = [](const QString& at) {
        ASSERT_TRUE(QDir().mkpath(at));
    };
    const auto link = [](const QString& target) -> Make {
        return [target](const QString& at) {
            ASSERT_TRUE(QFile::link(target, at));
        };
    };
    const Make oversized = [](const QString& at) {
        QFile file(at);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(maximumMemberSize + 1));
    };
    writeFile(path("outside.json"), R"({"selectedMatchStyle": 3})");
    const struct {
        const char* name;
        const char* member;
        Make make;
        const char* failure; // null: the document opens without the member
    } cases[] = {
        {"FIFO", "datasource/pipe", fifo, nullptr},
        {"device", "datasource/zero.json", link("/dev/zero"), nullptr},
        {"dangling link", "datasource/gone.json", link("/nowhere/at/all"), nullptr},
        {"link out", "datasource/image.json", link(path("outside.json")), nullptr},
        {"oversized", "datasource/big.json", oversized, nullptr},
        {"folder", "datasource/sub", folder, nullptr},
        {"mapping FIFO", "mapping.json", fifo, "not a regular file"},
        {"mapping link out", "mapping.json", link(path("outside.json")), "outside the package"},
        {"mapping oversized", "mapping.json", oversized, "larger than 16 MiB"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const QString package = path(QStringLiteral("%1.qbmap").arg(row.name));
        writeFile(package + "/datasource/csv.json", R"({"keyNames": [], "selectedMatchStyle": 1})");
        writeFile(package + "/datasource/notes.txt", "not ours, kept");
        if (QLatin1String(row.member) != QLatin1String("mapping.json"))
            writeFile(package + "/mapping.json", versionTwo);
        row.make(package + '/' + row.member);

        LogCapture log;
        auto document = MappingsDoc::open(package);
        if (row.failure) {
            ASSERT_FALSE(document.has_value());
            EXPECT_TRUE(document.error().message().contains(row.failure))
                << document.error().message().toStdString();
            continue;
        }
        ASSERT_TRUE(document.has_value()) << document.error().message().toStdString();
        EXPECT_EQ((*document)->csvMatchStyle(), FileNameDataSource::MatchingStyle::equals);
        EXPECT_EQ((*document)->datasourceWrappers().size(), 2u);
        EXPECT_TRUE(log.lines().join('\n').contains(row.member));
        ASSERT_TRUE((*document)->save().has_value());
        EXPECT_EQ(readFile(package + "/datasource/notes.txt"), "not ours, kept");
    }
}

TEST_F(MappingsDocFiles, OnlyAPackageOrItsMappingFileOpens)
{
    writeFile(path("notes.txt"), versionTwo);
    for (const QString& where : {path("notes.txt"), path("missing.qbmap")}) {
        SCOPED_TRACE(where.toStdString());
        const auto document = MappingsDoc::open(where);
        ASSERT_FALSE(document.has_value());
        EXPECT_FALSE(document.error().failureReason.isEmpty());
    }
    writeFile(path("plain/mapping.json"), versionTwo);
    const auto opened = openOrFail(path("plain/mapping.json"));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->fileName(), path("plain"));
    EXPECT_EQ(opened->datasource(), "csvsource");
}

TEST_F(MappingsDocFiles, UnresolvableBookmarkDropsThePanelSettingsButNotTheDocument)
{
    writeFile(path("shoot.csv"), "Shot\n");
    CSVDatasourceSettings csv;
    csv.keyNames = {"Shot"};
    csv.selectedHeader = "Shot";
    csv.currentURL = BookmarkURL(QUrl::fromLocalFile(path("shoot.csv")));
    writeFile(path("doc.qbmap/mapping.json"), versionTwo);
    writeFile(path("doc.qbmap/datasource/csv.json"), *csv.fileWrapper()->regularFileContents());
    ASSERT_TRUE(QFile::remove(path("shoot.csv")));
    const QByteArray saved = readFile(path("doc.qbmap/datasource/csv.json"));

    auto document = openOrFail(path("doc.qbmap"));
    ASSERT_TRUE(document);
    EXPECT_FALSE(document->csvSettings().has_value());
    EXPECT_FALSE(document->csvFilePath().has_value());
    EXPECT_FALSE(document->csvSelectedHeader().has_value());
    EXPECT_FALSE(document->csvMatchStyle().has_value());
    // The document holds the member as it was and writes it back unchanged.
    ASSERT_TRUE(document->save().has_value());
    EXPECT_EQ(readFile(path("doc.qbmap/datasource/csv.json")), saved);

    // A panel keeps the columns and the reference itself, which it writes
    // back as it was while no other file is chosen.
    const auto kept = document->readCsvSettings();
    ASSERT_TRUE(kept && *kept);
    EXPECT_EQ((*kept)->settings.keyNames, QStringList{"Shot"});
    EXPECT_FALSE((*kept)->settings.currentURL);
    EXPECT_TRUE((*kept)->unresolvedFile);
    CSVDatasourceSettings restyled = (*kept)->settings;
    restyled.selectedMatchStyle = 4;
    writeFile(path("shoot.csv"), "Shot\n");
    const auto back = CSVDatasourceSettings::decode(*restyled.fileWrapper()->regularFileContents());
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->currentURL->url, QUrl::fromLocalFile(path("shoot.csv")));
    EXPECT_EQ(back->selectedMatchStyle, 4);
}

TEST_F(MappingsDocFiles, SamplePackageFindsItsCSVBesideIt)
{
    const QString examples = QStringLiteral(QB_EXAMPLES_DIR);
    const auto expectedRows = MetadataMapping::decodeList(
        Json::parse(readFile(examples + "/mappings.json").toStdString()));
    ASSERT_TRUE(expectedRows.has_value());

    auto sample = openOrFail(examples + "/sample.qbmap");
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->currentCriteriaRows(), *expectedRows);
    EXPECT_EQ(sample->csvFilePath(), QDir::cleanPath(examples + "/shoot.csv"));
    EXPECT_EQ(sample->csvSelectedHeader(), "Shot");
    EXPECT_EQ(sample->csvMatchStyle(), FileNameDataSource::MatchingStyle::prefix);
}

} // namespace
