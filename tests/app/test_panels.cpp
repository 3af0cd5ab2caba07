// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/appdelegate.h"
#include "app/csvdatasourceviewcontroller.h"
#include "app/imagedatasoucecontroller.h"
#include "app/imagewarningviewcontroller.h"

#include "widgets/pathcontrol.h"
#include "widgets/rulerow.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QUndoStack>

#include <fcntl.h>
#include <unistd.h>

using namespace qb;
using namespace qb::testing;

namespace {

class CSVPanelTest : public WindowTest {
protected:
    CSVDataSourceViewController& panel() const
    {
        auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
        EXPECT_TRUE(panel);
        return *panel;
    }
};

TEST_F(CSVPanelTest, ANewDocumentAsksForData)
{
    show(std::make_unique<MappingsDoc>());
    EXPECT_EQ(panel().headerPopUp()->currentText(), "Select a CSV Above");
    EXPECT_FALSE(panel().headerPopUp()->isEnabled());
    EXPECT_TRUE(controller().imageDropNotice->isVisible());
    EXPECT_FALSE(controller().imageCountLabel->isVisible());
    EXPECT_FALSE(controller().actionButton->isEnabled());

    // An image without a data source leaves the button disabled.
    controller().dropImages({QUrl::fromLocalFile(makeJpeg(path("one.jpg")))});
    EXPECT_EQ(controller().imageCountLabel->text(), "1 Images");
    EXPECT_FALSE(controller().actionButton->isEnabled());

    // A first import has nothing to compare its headers with.
    writeFile("first.csv", "Name,Caption\none,Hello\n");
    panel().pathControl()->setUrl(QUrl::fromLocalFile(path("first.csv")));
    panel().importFileAction();
    EXPECT_EQ(panel().headerPopUp()->currentText(), "Name");
    EXPECT_TRUE(panel().headerPopUp()->isEnabled());
    EXPECT_EQ(controller().ruleEditor->numberOfRows(), 1);
    EXPECT_TRUE(controller().actionButton->isEnabled());
}

TEST_F(CSVPanelTest, OtherHeadersAskFirstAndImportRemovesTheRowsUndoably)
{
    writeFile("reordered.csv", "Keywords,Shot,Title\nx,A1,y\n");
    writeFile("other.csv", "Frame,Caption\nA1,y\n");
    writeFile("titled.csv", "Frame,Title\nA1,y\n");
    openWindow(writePackage(titleRow));
    const auto rows = m_window->document().currentCriteriaRows();
    QUndoStack& undo = m_window->document().undoStack();

    // The same headers in another order are a match: no question.
    panel().importFile(QUrl::fromLocalFile(path("reordered.csv")));
    EXPECT_EQ(panel().settings().currentURL->url, QUrl::fromLocalFile(path("reordered.csv")));
    EXPECT_EQ(undo.count(), 0) << "the rows didn't change";

    QString asked;
    answerNextBox("Cancel", &asked);
    panel().importFile(QUrl::fromLocalFile(path("other.csv")));
    EXPECT_EQ(asked, "Continue with import and remove all mappings?");
    EXPECT_EQ(panel().settings().keyNames, (QStringList{"Keywords", "Shot", "Title"}));
    EXPECT_EQ(panel().pathControl()->url(), QUrl::fromLocalFile(path("reordered.csv")));
    EXPECT_EQ(m_window->document().currentCriteriaRows(), rows);

    answerNextBox("Import");
    panel().importFile(QUrl::fromLocalFile(path("other.csv")));
    EXPECT_EQ(panel().settings().keyNames, (QStringList{"Frame", "Caption"}));
    EXPECT_TRUE(m_window->document().currentCriteriaRows().empty());
    EXPECT_EQ(undo.count(), 1);

    // Undo brings the rows back, kept whole though the data lacks their column.
    undo.undo();
    EXPECT_EQ(m_window->document().currentCriteriaRows(), rows);
    ASSERT_EQ(controller().ruleEditor->numberOfRows(), 1);
    EXPECT_EQ(controller().ruleEditor->rowWidget(0)->accessibleDescription(),
              "The data has no column \u201cTitle\u201d");

    // Without the question, other headers import at once; the row lives again.
    m_preferences.setWarnOnHeaderMismatch(false);
    panel().importFile(QUrl::fromLocalFile(path("titled.csv")));
    EXPECT_EQ(panel().settings().keyNames, (QStringList{"Frame", "Title"}));
    EXPECT_EQ(panel().headerPopUp()->currentText(), "Frame");
    EXPECT_FALSE(controller().ruleEditor->rowWidget(0)->isIncomplete());
    EXPECT_EQ(m_window->document().currentCriteriaRows(), rows);
}

TEST_F(CSVPanelTest, AFileThatIsNotCSVIsReportedAndChangesNothing)
{
    openWindow(writePackage(titleRow));
    writeFile("broken.csv", QByteArray("Shot,Title\n\"open quote,x\n"));
    panel().importFile(QUrl::fromLocalFile(path("broken.csv")));
    QTest::qWait(0);
    auto* alert = m_window->findChild<QMessageBox*>("errorAlert");
    ASSERT_TRUE(alert);
    alert->close();
    EXPECT_EQ(panel().settings().currentURL->url, QUrl::fromLocalFile(path("shoot.csv")));
    EXPECT_EQ(panel().pathControl()->url(), QUrl::fromLocalFile(path("shoot.csv")));
    EXPECT_TRUE(panel().isReady());
}

TEST_F(CSVPanelTest, ADelimiterChoiceRereadsTheFileAndTheDocumentKeepsIt)
{
    // Excel on a Swedish Windows: semicolons, Windows-1252.
    writeFile("excel.csv", "Shot;Title;Keywords\r\nA1;Malm\xf6 \x93hamn\x94 vid \xd8resund;a\r\n"
                           "B2;G\xf6teborg;b\r\n");
    show(std::make_unique<MappingsDoc>());
    QComboBox* popUp = panel().delimiterPopUp();
    EXPECT_EQ(popUp->accessibleName(), "Field delimiter");
    EXPECT_EQ(popUp->currentText(), "Comma");
    EXPECT_FALSE(panel().encodingNote()->isVisible());
    panel().importFile(QUrl::fromLocalFile(path("excel.csv")));
    EXPECT_EQ(panel().settings().keyNames, QStringList{"Shot;Title;Keywords"});
    EXPECT_TRUE(panel().encodingNote()->isVisible());
    EXPECT_TRUE(panel().encodingNote()->text().contains("read as Windows-1252"));

    // The columns change, and no header question stops it.
    bool asked = false;
    QTimer::singleShot(0, [&asked] {
        if (QWidget* box = QApplication::activeModalWidget()) {
            asked = true;
            box->close();
        }
    });
    popUp->setCurrentIndex(popUp->findText("Automatic"));
    emit popUp->activated(popUp->currentIndex());
    QTest::qWait(0);
    EXPECT_FALSE(asked);
    EXPECT_EQ(panel().settings().keyNames, (QStringList{"Shot", "Title", "Keywords"}));
    EXPECT_EQ(panel().headerPopUp()->currentText(), "Shot");
    EXPECT_EQ(panel().csvDataSource()->metadata().at("A1").at("Title"),
              DynamicValue(QString::fromUtf8("Malm\u00f6 \u201chamn\u201d vid \u00d8resund")));

    ASSERT_TRUE(m_window->saveTo(path("saved.qbmap")));
    openWindow(path("saved.qbmap"));
    EXPECT_EQ(panel().delimiterPopUp()->currentText(), "Automatic");
    EXPECT_EQ(panel().csvDataSource()->keyNames(), (QStringList{"Shot", "Title", "Keywords"}));
    EXPECT_TRUE(panel().encodingNote()->isVisible());
}

TEST_F(CSVPanelTest, AMovedFileKeepsTheSavedColumns)
{
    const QString package = writePackage(titleRow);
    QFile::remove(path("shoot.csv"));
    openWindow(package);
    EXPECT_EQ(panel().headerPopUp()->count(), 3);
    EXPECT_EQ(panel().headerPopUp()->currentText(), "Shot");
    EXPECT_TRUE(panel().pathControl()->url().isEmpty());
    EXPECT_FALSE(panel().isReady());

    // Reloading without a file does nothing; a double-click opens the folder.
    panel().reloadCSV();
    panel().pathControl()->setUrl(QUrl::fromLocalFile(path("data/x.csv")));
    panel().pathControlDoubleAction(QUrl::fromLocalFile(path("data")));
    EXPECT_EQ(m_opened, (QList<QUrl>{QUrl::fromLocalFile(path("data"))}));
}

} // namespace

TEST_F(CSVPanelTest, TheImagePanelReadsOtherImagesOffTheMainThread)
{
    openWindow(writePackage("[]", "imagesource"));
    auto* images = dynamic_cast<ImageDataSouceController*>(controller().datasourceView());
    ASSERT_TRUE(images);
    controller().dropImages({QUrl::fromLocalFile(makeJpeg(path("shoot/A1_0001.jpg")))});
    QSignalSpy finished(images, &ImageDataSouceController::loadFinished);
    images->sourceImagesLabel()->takeURLs({QUrl::fromLocalFile(makeJpeg(path("A1.jpg")))});
    EXPECT_EQ(images->sourceImagesLabel()->text(), "1 selected files");
    // The read runs on a worker: the window answers meanwhile.
    EXPECT_TRUE(images->isLoading());
    EXPECT_FALSE(images->sourceImagesLabel()->isEnabled());
    ASSERT_TRUE(finished.wait(30000));
    EXPECT_TRUE(images->isReady());
    EXPECT_TRUE(controller().actionButton->isEnabled());
    EXPECT_TRUE(images->dataSource()->keyNames().contains("SourceFile"));
}

TEST_F(CSVPanelTest, TheWriteMethodDecidesWhichImagesAreLeftOut)
{
    openWindow(writePackage(titleRow));
    writeFile("shoot/notes.txt", "not an image");
    controller().dropImages({QUrl::fromLocalFile(makeJpeg(path("shoot/A1.jpg"))),
                             QUrl::fromLocalFile(path("shoot/notes.txt"))});
    EXPECT_TRUE(controller().imageWarningButton->isVisible());
    EXPECT_EQ(controller().validatedImages()->message,
              "Exiftool can't write to 1 of the selected images. They will be ignored.");
    // Sidecars take any file; every open window follows the preference.
    m_preferences.setWriteMethodValue(1);
    EXPECT_FALSE(controller().imageWarningButton->isVisible());
}

TEST_F(CSVPanelTest, AmbiguousRowsAndUnnamableImagesShowBesideTheImageWarning)
{
    makeJpeg(path("shoot/A12_1.jpg"));
    makeJpeg(path("shoot/B9.jpg"));
    const struct {
        const char* name;
        QByteArray csv;
        QByteArray notUtf8; // a file of that name in the dropped folder
        QString warning;    // none when empty
    } cases[] = {
        {"totals row and overlapping keys",
         "Shot,Title,Keywords\nA1,one,\nA12,twelve,\n,,\n",
         {},
         "A row with an empty key matches every image under \u201cbegins with\u201d: its values "
         "go to every image, also to those without a row of their own.\n"
         "A12_1.jpg matched 2 rows: A1, A12"},
        {"one row each", "Shot,Title,Keywords\nA12,twelve,\nB9,nine,\n", {}, ""},
        {"a name that isn't UTF-8", "Shot,Title,Keywords\nA12,twelve,\nB9,nine,\n", "B9\xe9.jpg",
         "Left out, as their names aren\u2019t UTF-8:\n" + path("shoot") + "/B9\\xE9.jpg"},
    };
    // Sidecars take every file: exiftool's limits aren't the reason.
    m_preferences.setWriteMethodValue(1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (!c.notUtf8.isEmpty())
            ::close(::open((QFile::encodeName(path("shoot")) + '/' + c.notUtf8).constData(),
                           O_CREAT | O_WRONLY, 0600));
        openWindow(writePackage(titleRow, "csvsource", c.csv));
        controller().dropImages({QUrl::fromLocalFile(path("shoot"))});
        EXPECT_EQ(controller().imageWarningButton->isVisible(), !c.warning.isEmpty());
        if (c.warning.isEmpty())
            continue;
        ImageWarningViewController* popup = controller().showImageWarning();
        EXPECT_EQ(popup->warningTextField()->text(), c.warning);
        popup->close();
    }
}

TEST_F(CSVPanelTest, OneWindowPerPackageAndTheHelpPages)
{
    QList<QUrl> opened;
    AppDelegate delegate(m_preferences, m_center, [&](const QUrl& url) { opened << url; });
    const QString package = writePackage(titleRow);
    DocumentWindow* first = delegate.documents().openDocument(package);
    ASSERT_TRUE(first);
    EXPECT_EQ(delegate.documents().openDocument(package + "/mapping.json"), first);
    EXPECT_EQ(delegate.documentWindows().size(), 1);
    EXPECT_EQ(delegate.recentDocuments(), QStringList{QFileInfo(package).canonicalFilePath()});

    delegate.showOnlineHelp();
    delegate.showWebsite();
    ASSERT_EQ(opened.size(), 2);
    EXPECT_EQ(opened[0].path(), "/help/");
    EXPECT_EQ(opened[0].host(), opened[1].host());
    first->close();
}
