// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/imagedatasoucecontroller.h"

#include "widgets/rulerow.h"

#include <QComboBox>
#include <QLabel>
#include <QSignalSpy>
#include <QUndoStack>

using namespace qb;
using namespace qb::testing;

namespace {

// Rows a window can show only in part: a second mapper, a regular
// expression, a destination the mode doesn't offer, a column the data
// lacks, a mapper no mode offers.
const QByteArray rowsShownInPart = R"([
    {"keyName": "Title", "destTag": "XMP:Title", "actions": {"mappers": [
        {"type": "string", "attributes": {}},
        {"type": "stringCase", "attributes": {"transformation": "uppercase"}}]}},
    {"keyName": "Title", "destTag": "XMP:Headline", "actions": {"mappers": [
        {"type": "stringReplacement",
         "attributes": {"target": "a+", "replacement": "b", "isRegex": true}}]}},
    {"keyName": "Keywords", "destTag": "XMP:Creator", "actions": {"mappers": [
        {"type": "array", "attributes": {"delimiter": ";"}}]}},
    {"keyName": "Caption", "destTag": "XMP:Description", "actions": {"mappers": []}},
    {"keyName": "Shot", "destTag": "XMP:Label", "actions": {"mappers": [
        {"type": "boolean", "attributes": {}}]}}])";

const QByteArray sourceFileRow =
    R"([{"keyName": "SourceFile", "destTag": "XMP:Title", "actions": {"mappers": []}}])";

class DocumentKeepingTest : public WindowTest {
protected:
    // The package as it lies on disk.
    std::unique_ptr<MappingsDoc> reread(const QString& package) const
    {
        auto document = MappingsDoc::open(package);
        EXPECT_TRUE(document.has_value());
        return document ? std::move(*document) : std::make_unique<MappingsDoc>();
    }

    void expectUnchanged(const QString& package) const
    {
        const auto onDisk = reread(package);
        EXPECT_FALSE(m_window->isWindowModified());
        EXPECT_EQ(m_window->document().undoStack().count(), 0);
        EXPECT_EQ(m_window->document().currentCriteriaRows(), onDisk->currentCriteriaRows());
        EXPECT_EQ(m_window->document().datasource(), onDisk->datasource());
        const auto& wrappers = m_window->document().datasourceWrappers();
        ASSERT_EQ(wrappers.size(), onDisk->datasourceWrappers().size());
        for (const auto& [name, wrapper] : onDisk->datasourceWrappers()) {
            SCOPED_TRACE(name.toStdString());
            EXPECT_EQ(wrappers.at(name).regularFileContents(), wrapper.regularFileContents());
        }
    }

    QStringList rowNotes() const
    {
        QStringList notes;
        for (int row = 0; row < controller().ruleEditor->numberOfRows(); ++row)
            notes << controller().ruleEditor->rowWidget(row)->accessibleDescription();
        return notes;
    }
};

TEST_F(DocumentKeepingTest, OpeningADocumentChangesNothingAndAnEditKeepsEveryRow)
{
    const struct {
        const char* name;
        QByteArray rows;
        QString datasource;
        bool csvMoved;
        QStringList notes; // what each row says of why it can't act
    } cases[] = {
        {"rows shown in part",
         rowsShownInPart,
         "csvsource",
         false,
         {"", "", "Choose a destination field", "The data has no column \u201cCaption\u201d",
          "No rule can show the conversion \u201cMap to a bool\u201d"}},
        {"the CSV has moved",
         rowsShownInPart,
         "csvsource",
         true,
         {"", "", "Choose a destination field", "The data has no column \u201cCaption\u201d",
          "No rule can show the conversion \u201cMap to a bool\u201d"}},
        {"images as the data, none read yet",
         sourceFileRow,
         "imagesource",
         false,
         {"The data has no column \u201cSourceFile\u201d"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString package = writePackage(c.rows, c.datasource);
        writeFile("doc.qbmap/datasource/image.json", R"({"selectedMatchStyle": 1})");
        if (c.csvMoved)
            QFile::remove(path("shoot.csv"));
        openWindow(package);
        QTest::qWait(0);
        expectUnchanged(package);
        EXPECT_EQ(rowNotes(), c.notes);

        // An edit of the rules saves them, and only it: every row is saved as
        // the document had it, with the new one after them.
        const auto before = m_window->document().currentCriteriaRows();
        controller().ruleEditor->addRow();
        const auto after = m_window->document().currentCriteriaRows();
        if (!controller().sourceTagCriteria.empty()) {
            ASSERT_EQ(after.size(), before.size() + 1);
            EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
            EXPECT_EQ(m_window->document().undoStack().count(), 1);
        }
        ASSERT_TRUE(m_window->saveTo(path("copy.qbmap")));
        EXPECT_EQ(reread(path("copy.qbmap"))->currentCriteriaRows(), after);
        // The moved file's reference is written back as it was.
        EXPECT_EQ(
            reread(path("copy.qbmap"))->datasourceWrappers().at("csv.json").regularFileContents(),
            reread(package)->datasourceWrappers().at("csv.json").regularFileContents());
        QDir(path("copy.qbmap")).removeRecursively();
    }
}

TEST_F(DocumentKeepingTest, AMovedCSVKeepsItsRowsAndItsReferenceWhileTheStyleChanges)
{
    const QString package = writePackage(rowsShownInPart);
    QFile::rename(path("shoot.csv"), path("away.csv"));
    openWindow(package);
    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    ASSERT_TRUE(panel);
    EXPECT_TRUE(panel->fileNote()->isVisible());
    EXPECT_TRUE(panel->fileNote()->text().startsWith(
        "The CSV file can\u2019t be found: there is no file at \u201c" + path("shoot.csv")))
        << panel->fileNote()->text().toStdString();

    panel->matchingStylePopUp()->setCurrentIndex(
        panel->matchingStylePopUp()->findText("ends with"));
    EXPECT_TRUE(m_window->isWindowModified()) << "a choice of the user's";
    EXPECT_EQ(m_window->document().undoStack().count(), 0) << "the rows didn't change";
    ASSERT_TRUE(m_window->save());

    // With the file back where it was, the document finds it again.
    QFile::rename(path("away.csv"), path("shoot.csv"));
    openWindow(package);
    panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    EXPECT_TRUE(panel->isReady());
    EXPECT_FALSE(panel->fileNote()->isVisible());
    EXPECT_EQ(panel->matchingStylePopUp()->currentText(), "ends with");
    EXPECT_EQ(controller().ruleEditor->numberOfRows(), 5);
}

TEST_F(DocumentKeepingTest, ChangesBeyondTheWindowSaveNothingInIt)
{
    const QString package = writePackage(rowsShownInPart);
    openWindow(package);
    // Another window's data source and rule text, the write method.
    QObject otherWindow;
    m_center.post(dataSourceChangeNotification, &otherWindow);
    m_center.post(ruleTextChangeNotification, nullptr);
    m_center.post(dataSourceChangeNotification, &controller());
    m_preferences.setWriteMethodValue(1);
    QTest::qWait(0);
    expectUnchanged(package);
}

TEST_F(DocumentKeepingTest, AnImageDocumentsRowsLiveAgainOnceImagesAreRead)
{
    const QString package = writePackage(sourceFileRow, "imagesource");
    writeFile("doc.qbmap/datasource/image.json", R"({"selectedMatchStyle": 1})");
    openWindow(package);
    auto* images = dynamic_cast<ImageDataSouceController*>(controller().datasourceView());
    ASSERT_TRUE(images);
    EXPECT_EQ(images->matchingStylePopUp()->currentText(), "is equal to");
    ASSERT_EQ(controller().ruleEditor->numberOfRows(), 1);
    EXPECT_TRUE(controller().ruleEditor->rowWidget(0)->isIncomplete());

    QSignalSpy finished(images, &ImageDataSouceController::loadFinished);
    images->sourceImagesLabel()->takeURLs({QUrl::fromLocalFile(makeJpeg(path("A1.jpg")))});
    ASSERT_TRUE(finished.wait(30000));
    ASSERT_EQ(controller().ruleEditor->numberOfRows(), 1);
    EXPECT_FALSE(controller().ruleEditor->rowWidget(0)->isIncomplete());
    EXPECT_EQ(m_window->document().currentCriteriaRows(), reread(package)->currentCriteriaRows());
}

} // namespace
