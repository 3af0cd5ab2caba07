// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/imagedatasoucecontroller.h"
#include "app/shotlistviewcontroller.h"
#include "app/writereviewdialogs.h"

#include "widgets/rulerow.h"

#include "writing/metadataqueue.h"

#include <QAction>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QUndoStack>

using namespace qb;
using namespace qb::testing;

namespace {

class DocumentWindowTest : public WindowTest {
protected:
    void SetUp() override
    {
        for (const char* name : {"images/A1_0001.jpg", "images/B2_0001.jpg", "images/Z9.jpg"})
            makeJpeg(path(name));
    }
    QPushButton& button() const { return *controller().actionButton; }
    // Waits for what exiftool's run off the main thread opens.
    template <typename Child>
    Child* waitForChild(const QString& name = {}) const
    {
        for (int waited = 0; waited < 30000; waited += 20) {
            if (auto* child = m_window->findChild<Child*>(name))
                return child;
            QTest::qWait(20);
        }
        return nullptr;
    }
};

TEST_F(DocumentWindowTest, AssignWritesTheRowsThroughExiftool)
{
    m_preferences.setPresentDialogueOnSuccess(true);
    openWindow(writePackage(titleAndKeywords));
    EXPECT_EQ(controller().ruleEditor->numberOfRows(), 2);
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    EXPECT_EQ(controller().imageCountLabel->text(), "3 Images");
    ASSERT_TRUE(button().isEnabled());

    QTest::mouseClick(&button(), Qt::LeftButton);
    // The change of state is posted: it shows once the event loop turns.
    EXPECT_EQ(button().text(), "Assign Metadata");
    QTest::qWait(0);
    EXPECT_EQ(button().text(), "Working\u2026");
    EXPECT_FALSE(button().isEnabled());
    ASSERT_TRUE(waitForWrite());
    EXPECT_EQ(button().text(), "Assign Metadata");
    EXPECT_TRUE(button().isEnabled());
    auto* success = m_window->findChild<QMessageBox*>("successAlert");
    ASSERT_TRUE(success);
    EXPECT_EQ(success->text(), "Metadata was written to 2 images directly into the files.");
    success->close();

    const QJsonObject a1 = readTags(path("images/A1_0001.jpg"));
    EXPECT_EQ(a1["XMP:Title"].toString(), "Red coat");
    EXPECT_EQ(a1["XMP:Subject"].toArray(), (QJsonArray{"a", "b"}));
    EXPECT_EQ(readTags(path("images/B2_0001.jpg"))["XMP:Title"].toString(), "Blue");
    EXPECT_FALSE(readTags(path("images/Z9.jpg")).contains("XMP:Title"));
}

TEST_F(DocumentWindowTest, APreviewGoesOnToWriteAndTheWriteIsRestoredFromTheMenu)
{
    openWindow(writePackage(titleAndKeywords));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    QTest::mouseClick(controller().previewButton, Qt::LeftButton);
    QTest::qWait(0);
    // exiftool reads off the main thread; nothing else may start meanwhile.
    EXPECT_FALSE(button().isEnabled());
    auto* preview = waitForChild<PreviewDialog>();
    ASSERT_TRUE(preview);
    EXPECT_FALSE(readTags(path("images/A1_0001.jpg")).contains("XMP:Title"));
    preview->accept();
    ASSERT_TRUE(waitForWrite());
    EXPECT_EQ(readTags(path("images/A1_0001.jpg"))["XMP:Title"].toString(), "Red coat");

    ASSERT_TRUE(controller().canRestoreLastWrite());
    m_window->findChild<QAction*>("restoreLastWriteAction")->trigger();
    auto* restored = waitForChild<QMessageBox>("restoreAlert");
    ASSERT_TRUE(restored);
    EXPECT_EQ(restored->text(),
              "Values before the last write restored: 2 written, 0 unchanged, 0 failed.");
    for (const char* image : {"images/A1_0001.jpg", "images/B2_0001.jpg"}) {
        SCOPED_TRACE(image);
        EXPECT_FALSE(readTags(path(image)).contains("XMP:Title"));
    }
}

TEST_F(DocumentWindowTest, AWriteOfNothingReturnsTheButton)
{
    openWindow(writePackage(titleAndKeywords));
    controller().dropImages({QUrl::fromLocalFile(path("images/Z9.jpg"))});
    QTest::mouseClick(&button(), Qt::LeftButton);
    EXPECT_TRUE(waitForWrite());
    EXPECT_EQ(button().text(), "Assign Metadata");
    EXPECT_FALSE(m_window->findChild<QMessageBox*>("errorAlert"));
}

TEST_F(DocumentWindowTest, AFailedWriteIsShownAndItsImagesStayQueued)
{
    using Method = MetadataQueue::WriteMethod;
    auto queue = std::make_unique<MetadataQueue>(Method::direct, 60.0, false);
    queue->setExiftoolLocation(path("no-exiftool-here"));
    MetadataQueue* failing = queue.get();
    MetadataQueue::replaceShared(Method::direct, std::move(queue));

    openWindow(writePackage(titleAndKeywords));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    QTest::mouseClick(&button(), Qt::LeftButton);
    EXPECT_FALSE(waitForWrite());
    QTest::qWait(0);
    auto* alert = m_window->findChild<QMessageBox*>("errorAlert");
    ASSERT_TRUE(alert);
    EXPECT_TRUE(alert->isVisible());
    EXPECT_FALSE(alert->text().isEmpty());
    EXPECT_EQ(failing->imageCount(), 2);
    EXPECT_EQ(button().text(), "Assign Metadata");
    alert->close();
    MetadataQueue::replaceShared(Method::direct, nullptr);
}

TEST_F(DocumentWindowTest, RowChangesAreUndoneAndTheLockComesFromTheMenu)
{
    openWindow(writePackage(titleAndKeywords));
    QUndoStack& undo = m_window->document().undoStack();
    // Loading and the window's first change save nothing.
    EXPECT_EQ(undo.count(), 0);
    EXPECT_FALSE(m_window->isWindowModified());

    controller().ruleEditor->removeRow(1);
    ASSERT_EQ(m_window->document().currentCriteriaRows().size(), 1u);
    EXPECT_EQ(undo.count(), 1);
    EXPECT_TRUE(m_window->isWindowModified());

    m_window->action("undoAction")->trigger();
    EXPECT_EQ(m_window->document().currentCriteriaRows().size(), 2u);
    EXPECT_EQ(controller().ruleEditor->numberOfRows(), 2);
    EXPECT_FALSE(m_window->isWindowModified());

    QAction* lock = m_window->action("toggleIsEditableAction");
    lock->trigger();
    EXPECT_TRUE(lock->isChecked());
    EXPECT_FALSE(m_window->document().isEditable());
    auto* popUp = controller().ruleEditor->rowWidget(0)->findChild<QComboBox*>("modePopUp");
    EXPECT_FALSE(popUp->isEnabled());
    m_window->action("undoAction")->trigger();
    EXPECT_FALSE(lock->isChecked());
    EXPECT_TRUE(popUp->isEnabled());
}

TEST_F(DocumentWindowTest, SavedRowsAndPanelSettingsComeBack)
{
    const QString package = writePackage(titleAndKeywords);
    openWindow(package);
    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    ASSERT_TRUE(panel);
    panel->matchingStylePopUp()->setCurrentIndex(1); // is equal to
    emit panel->matchingStylePopUp()->activated(1);
    controller().ruleEditor->addRow();
    const auto rows = m_window->document().currentCriteriaRows();
    ASSERT_EQ(rows.size(), 3u);
    ASSERT_TRUE(m_window->saveTo(path("copy.qbmap")));
    EXPECT_FALSE(m_window->isWindowModified());

    openWindow(path("copy.qbmap"));
    EXPECT_EQ(m_window->document().currentCriteriaRows(), rows);
    EXPECT_EQ(controller().ruleEditor->numberOfRows(), 3);
    panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    ASSERT_TRUE(panel);
    EXPECT_EQ(panel->matchingStylePopUp()->currentText(), "is equal to");
    EXPECT_EQ(panel->headerPopUp()->currentText(), "Shot");
    EXPECT_EQ(panel->settings().currentURL->url, QUrl::fromLocalFile(path("shoot.csv")));
}

TEST_F(DocumentWindowTest, AnImageDocumentEndsWithTheImagePanel)
{
    openWindow(writePackage("[]", "imagesource"));
    for (const char* name : {"newAction",
                             "openAction",
                             "closeAction",
                             "saveAction",
                             "saveAsAction",
                             "revertAction",
                             "selectImagesAction",
                             "exportCaptureFoldersAction",
                             "restoreLastWriteAction",
                             "quitAction",
                             "undoAction",
                             "redoAction",
                             "toggleIsEditableAction",
                             "preferencesAction",
                             "csvsourceAction",
                             "imagesourceAction",
                             "showOnlineHelpAction",
                             "showWbsiteAction",
                             "showStudioWebsiteAction",
                             "sendFeedbackAction"})
        EXPECT_TRUE(m_window->action(name)) << name;
    // Nothing was written from this window, so there is nothing to restore.
    EXPECT_FALSE(controller().canRestoreLastWrite());
    EXPECT_TRUE(dynamic_cast<ImageDataSouceController*>(controller().datasourceView()));
    QAction* images = m_window->action("imagesourceAction");
    controller().validateUserInterfaceItem(images);
    EXPECT_TRUE(images->isChecked());

    // Choosing the CSV panel from the menu brings its settings back.
    m_window->action("csvsourceAction")->trigger();
    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    ASSERT_TRUE(panel);
    EXPECT_EQ(panel->headerPopUp()->currentText(), "Shot");
    EXPECT_EQ(m_window->document().datasource(), "csvsource");
}

TEST_F(DocumentWindowTest, AFolderTypedIntoTheImageDialogLeavesNoPopupToEatTheNextClick)
{
    openWindow(writePackage(titleAndKeywords));
    controller().selectImagesAction();
    auto* dialog = m_window->findChild<QFileDialog*>("imageOpenPanel");
    ASSERT_TRUE(dialog);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
    ASSERT_TRUE(name);
    name->setFocus();
    // The completion list opens over the window as the folder is typed.
    QTest::keyClicks(name, path("ima"));
    QTRY_VERIFY_WITH_TIMEOUT(QApplication::activePopupWidget(), 10000);
    QTest::keyClicks(name, "ges");
    QTest::keyClick(name, Qt::Key_Return);
    QTRY_VERIFY(!dialog->isVisible());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(controller().imageCountLabel->text(), "3 Images");

    // The next click on the window reaches the button it is meant for.
    QSignalSpy clicked(&button(), &QPushButton::clicked);
    const QPoint onButton = button().mapTo(m_window, button().rect().center());
    QTest::mouseClick(m_window->windowHandle(), Qt::LeftButton, {}, onButton);
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_TRUE(waitForWrite());
}

TEST_F(DocumentWindowTest, TheShotListCountsAndSortsTheRows)
{
    openWindow(writePackage(titleAndKeywords, "csvsource",
                            "Shot,Title,Keywords\nb2,x,\nA1,y,\nB10,z,\nZ9,w,\n"));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    ShotlistViewController* list = controller().showShotlist();
    QStringList names;
    QList<int> taken;
    const QString nameColumn = ShotlistTableModel::nameColumn;
    const QString statusColumn = ShotlistTableModel::statusColumn;
    for (int row = 0; row < list->model().numberOfRows(); ++row) {
        names << list->model().objectValue(&nameColumn, row).toString();
        taken << list->model().objectValue(&statusColumn, row).toInt();
    }
    EXPECT_EQ(names, (QStringList{"A1", "B10", "Z9", "b2"})); // plain order
    EXPECT_EQ(taken, (QList<int>{1, 0, 1, 0}));
    EXPECT_EQ(list->shotCountLabel()->text(), "4");
    EXPECT_EQ(list->completedCountLabel()->text(), "2");
    EXPECT_FALSE(list->model().objectValue(nullptr, 0).isValid());
    list->close();
}

} // namespace
