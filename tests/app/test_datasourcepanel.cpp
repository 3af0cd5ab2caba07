// SPDX-License-Identifier: GPL-3.0-or-later
// The data file panel's choices as a user makes them: a spreadsheet's
// sheet, keys that are paths, keys compared with a tag the images carry,
// and rules made from columns named after tags, with the real exiftool.
#include "windowtesting.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/imagesareacontroller.h"
#include "app/viewcontroller.h"

#include "widgets/ruleeditor.h"

#include "extensions/dynamicvalue.h"

#include <QComboBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QPushButton>

using namespace qb;
using namespace qb::testing;

namespace {

class DataSourcePanelTest : public WindowTest {
protected:
    CSVDataSourceViewController& panel() const
    {
        auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
        EXPECT_TRUE(panel);
        return *panel;
    }

    // doc.qbmap writing Title into XMP:Title, its data `dataFile` (beside
    // it) keyed by `key`, with `settings` added to the panel's.
    QString writeDocument(const QString& dataFile, const QStringList& columns, const QString& key,
                          const QByteArray& settings = {})
    {
        writeFile("doc.qbmap/mapping.json",
                  R"({"version": 2, "mappings": )" + titleRow +
                      R"(, "isEditable": true, "datasource": "csvsource"})");
        const QByteArray bookmark =
            QJsonDocument(QJsonObject{{"path", dataFile}}).toJson(QJsonDocument::Compact);
        QJsonObject panelSettings{{"keyNames", QJsonArray::fromStringList(columns)},
                                  {"selectedHeader", key},
                                  {"selectedMatchStyle", 1},
                                  {"currentURL", QString::fromLatin1(bookmark.toBase64())}};
        const QJsonObject extra = QJsonDocument::fromJson(settings).object();
        for (auto it = extra.begin(); it != extra.end(); ++it)
            panelSettings[it.key()] = it.value();
        writeFile("doc.qbmap/datasource/csv.json", QJsonDocument(panelSettings).toJson());
        return path("doc.qbmap");
    }

    // The panel's settings as the document holds them now.
    QJsonObject savedSettings() const
    {
        const auto& wrappers = m_window->document().datasourceWrappers();
        const auto it = wrappers.find("csv.json");
        if (it == wrappers.end())
            return {};
        return QJsonDocument::fromJson(it->second.regularFileContents().value_or("")).object();
    }

    // Chooses the item of `popUp` titled `text` with the keyboard, as a
    // user who tabs to it does.
    static void choose(QComboBox* popUp, const QString& text)
    {
        const int target = popUp->findText(text);
        ASSERT_GE(target, 0) << text.toStdString();
        popUp->setFocus();
        const Qt::Key key = target > popUp->currentIndex() ? Qt::Key_Down : Qt::Key_Up;
        for (int steps = std::abs(target - popUp->currentIndex()); steps > 0; --steps)
            QTest::keyClick(popUp, key);
        ASSERT_EQ(popUp->currentText(), text);
    }

    // On Linux a popup is read by its current item; its description says
    // what it chooses.
    static QString spokenDescription(QWidget* widget)
    {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Description);
    }

    QStringList items(const QComboBox* popUp) const
    {
        QStringList titles;
        for (int i = 0; i < popUp->count(); ++i)
            titles << popUp->itemText(i);
        return titles;
    }

    void dropImages(const QStringList& names)
    {
        QList<QUrl> urls;
        for (const QString& name : names)
            urls << QUrl::fromLocalFile(makeJpeg(path(name)));
        controller().dropImages(urls);
    }

    bool anyFinding(const QString& text) const
    {
        const QStringList& findings = controller().matchFindings();
        return std::any_of(findings.begin(), findings.end(),
                           [&text](const QString& line) { return line.contains(text); });
    }

    // Writes through the window's button and reads the titles back.
    QString writtenTitle(const QString& image)
    {
        EXPECT_TRUE(controller().actionButton->isEnabled());
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        QTest::mouseClick(controller().actionButton, Qt::LeftButton);
        EXPECT_TRUE(waitForWrite());
        return readTags(path(image))["XMP:Title"].toString();
    }
};

TEST_F(DataSourcePanelTest, ASpreadsheetShowsItsSheetsAndTheChoiceIsSavedWithTheDocument)
{
    QFile::copy(QStringLiteral(QB_SPREADSHEET_FIXTURES "/sessions.xlsx"), path("sessions.xlsx"));
    writeFile("shoot.csv", "Shot,Title\n00123,From the CSV file\n");
    openWindow(writeDocument("sessions.xlsx", {"Shot", "Title"}, "Shot"));
    QComboBox* sheets = panel().sheetPopUp();
    EXPECT_TRUE(sheets->isVisible());
    EXPECT_FALSE(panel().delimiterPopUp()->isVisible());
    EXPECT_EQ(items(sheets), QStringList({"Day 1", "Day 2"}));
    EXPECT_EQ(sheets->currentText(), "Day 1");
    EXPECT_EQ(spokenDescription(sheets), "Sheet");
    EXPECT_FALSE(savedSettings().contains("sheetName"));

    dropImages({"shoot/00123.jpg"});
    choose(sheets, "Day 2");
    EXPECT_EQ(savedSettings()["sheetName"], "Day 2");
    // Its formula without a saved result is told beside the file.
    EXPECT_TRUE(panel().encodingNote()->isVisible());
    EXPECT_TRUE(panel().encodingNote()->text().startsWith("Cell B3 holds a formula"))
        << panel().encodingNote()->text().toStdString();
    EXPECT_EQ(panel().csvDataSource()->row("00123")->at("Title"), DynamicValue("Ann, second day"));
    EXPECT_EQ(writtenTitle("shoot/00123.jpg"), "Ann, second day");

    // A document opens on the sheet it saved; the first sheet is saved as
    // no choice.
    openWindow(
        writeDocument("sessions.xlsx", {"Shot", "Title"}, "Shot", R"({"sheetName": "Day 2"})"));
    EXPECT_EQ(panel().sheetPopUp()->currentText(), "Day 2");
    choose(panel().sheetPopUp(), "Day 1");
    EXPECT_FALSE(savedSettings().contains("sheetName"));

    // A CSV file has neither sheets nor a sheet saved.
    panel().importFile(QUrl::fromLocalFile(path("shoot.csv")));
    EXPECT_FALSE(panel().sheetPopUp()->isVisible());
    EXPECT_TRUE(panel().delimiterPopUp()->isVisible());
    EXPECT_FALSE(savedSettings().contains("sheetName"));
}

TEST_F(DataSourcePanelTest, IsTheFileTiesEachRowToTheImageItsPathNames)
{
    writeFile("data/shoot.csv", "Path,Title\n../shoot/a.jpg,Alpha\n../shoot/gone.jpg,Nothing\n");
    openWindow(writeDocument("data/shoot.csv", {"Path", "Title"}, "Path"));
    dropImages({"shoot/a.jpg", "shoot/a/a.jpg"});
    EXPECT_TRUE(panel().imageKeyPopUp()->isEnabled());
    choose(panel().matchingStylePopUp(), "is the file");
    EXPECT_EQ(savedSettings()["selectedMatchStyle"], 5);
    // A path is never compared with a tag.
    EXPECT_FALSE(panel().imageKeyPopUp()->isEnabled());
    EXPECT_TRUE(anyFinding("The key \u201c../shoot/gone.jpg\u201d names no image given"));
    EXPECT_EQ(writtenTitle("shoot/a.jpg"), "Alpha");
    EXPECT_FALSE(readTags(path("shoot/a/a.jpg")).contains("XMP:Title"));
}

TEST_F(DataSourcePanelTest, AnImagesTagStandsForItsNameOnceTheUserNamesIt)
{
    const QString tag = "XMP-photoshop:TransmissionReference";
    writeFile("shoot.csv", "Job,Title\nJOB-7,Seven\n");
    openWindow(writeDocument("shoot.csv", {"Job", "Title"}, "Job"));
    dropImages({"shoot/a.jpg", "shoot/JOB-7.jpg"});
    QProcess::execute("exiftool",
                      {"-q", "-overwrite_original", "-" + tag + "=JOB-7", path("shoot/a.jpg")});
    QComboBox* key = panel().imageKeyPopUp();
    EXPECT_EQ(key->currentText(), "image name");
    EXPECT_EQ(spokenDescription(key), "Key compared with");

    const struct {
        const char* name;
        QString typed;
        bool accept;
        QString shown; // the popup's item afterwards
    } cases[] = {
        {"cancelled", "EXIF:SerialNumber", false, "image name"},
        {"not a tag name", "-all=", true, "image name"},
        {"a tag", tag, true, "image\u2019s " + tag},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        choose(key, "image\u2019s <tag>\u2026");
        auto* dialog = m_window->findChild<QInputDialog*>("keyTagDialog");
        ASSERT_TRUE(dialog);
        auto* field = dialog->findChild<QLineEdit*>();
        field->selectAll();
        QTest::keyClicks(field, c.typed);
        QTest::keyClick(field, c.accept ? Qt::Key_Return : Qt::Key_Escape);
        QTest::qWait(0);
        // A name that isn't a tag's is told, and changes nothing.
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        EXPECT_EQ(box != nullptr, c.typed.startsWith('-'));
        if (box) {
            EXPECT_TRUE(box->text().contains("is not a tag name")) << box->text().toStdString();
            box->button(QMessageBox::Ok)->click();
            QTest::qWait(0);
        }
        EXPECT_EQ(key->currentText(), c.shown);
    }
    EXPECT_EQ(savedSettings()["keyTag"], tag);
    // The values are read off the main thread; the image named like the key
    // has no such tag, and is told.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return anyFinding("JOB-7.jpg has no " + tag + ", so no row matches it."); }, 60000));
    EXPECT_EQ(writtenTitle("shoot/a.jpg"), "Seven");
    EXPECT_FALSE(readTags(path("shoot/JOB-7.jpg")).contains("XMP:Title"));

    // Back to the name, and the tag is no longer saved.
    choose(key, "image name");
    EXPECT_FALSE(savedSettings().contains("keyTag"));
}

TEST_F(DataSourcePanelTest, MakeRulesFromTheColumnsAddsARuleForEachTagColumnOnce)
{
    writeFile("sheet.csv", "SourceFile,Title,XMP-dc:Subject,Room number\na.jpg,Hi,\"x, y\",4\n");
    openWindow(writeDocument("sheet.csv", {"SourceFile", "Title", "XMP-dc:Subject", "Room number"},
                             "SourceFile"));
    QPushButton* button = panel().makeRulesButton();
    EXPECT_EQ(spokenName(button), "Make rules from the columns");
    for (int press = 0; press < 2; ++press) {
        SCOPED_TRACE(press);
        QSignalSpy made(&panel(), &CSVDataSourceViewController::rulesMade);
        QTest::mouseClick(button, Qt::LeftButton);
        ASSERT_TRUE(made.wait(60000));
        QStringList written;
        for (const MetadataMapping& row : m_window->document().currentCriteriaRows())
            written << row.keyName + " > " + row.destTag;
        // The saved Title rule stands; the Subject column adds its own.
        EXPECT_EQ(written, QStringList({"Title > XMP:Title", "XMP-dc:Subject > XMP-dc:Subject"}));
        EXPECT_EQ(controller().ruleEditor->numberOfRows(), 2);
    }
}

} // namespace
