// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/appinfo.h"
#include "app/csvdatasourceviewcontroller.h"
#include "app/imagewarningviewcontroller.h"
#include "app/preferenceswindow.h"
#include "app/shotlistviewcontroller.h"
#include "app/updater.h"
#include "app/writecontroller.h"

#include "widgets/rulerow.h"

#include <QAccessible>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>

using namespace qb;
using namespace qb::testing;

namespace {

// The windows the application shows to assistive tools, by their names.
QStringList accessibleWindows()
{
    QAccessibleInterface* application = QAccessible::queryAccessibleInterface(qApp);
    QStringList names;
    for (int i = 0; i < application->childCount(); ++i)
        if (QAccessibleInterface* window = application->child(i);
            window && !window->state().invisible)
            names << window->text(QAccessible::Name);
    return names;
}

class AccessibilityTest : public WindowTest {
protected:
    void SetUp() override
    {
        for (const char* name : {"images/A1_0001.jpg", "images/B2_0001.jpg"})
            makeJpeg(path(name));
        writeFile("images/notes.txt", "exiftool can't write this");
        openWindow(writePackage(titleAndKeywords));
        controller().dropImages(
            {QUrl::fromLocalFile(path("images")), QUrl::fromLocalFile(path("images/notes.txt"))});
        ASSERT_TRUE(controller().imageWarningButton->isVisible());
        QTest::qWait(0);
    }

    // The object names Tab visits from the first control on, once round.
    QStringList tabRound() const
    {
        auto* first = m_window->findChild<QWidget*>("pathField");
        first->setFocus(Qt::TabFocusReason);
        QStringList visited;
        for (QWidget* focus = first; focus && visited.size() < 60;) {
            visited << focus->objectName();
            QTest::keyClick(focus, Qt::Key_Tab);
            focus = QApplication::focusWidget();
            if (focus == first)
                break;
        }
        return visited;
    }
};

TEST_F(AccessibilityTest, TabVisitsEveryControlInReadingOrder)
{
    const QStringList row = {"sourceColumnPopUp", "modePopUp", "destinationPopUp", "addRowButton",
                             "removeRowButton"};
    const QStringList arrayRow = {"sourceColumnPopUp", "modePopUp",    "delimiterField",
                                  "destinationPopUp",  "addRowButton", "removeRowButton"};
    const QStringList top = {"pathField",          "chooseFileButton", "reloadButton",
                             "delimiterPopUp",     "headerPopUp",      "imageKeyPopUp",
                             "matchingStylePopUp", "makeRulesButton"};
    const QStringList bottom = {"imageWarningButton", "imageStatusButton", "selectImagesButton",
                                "imageFilterPopup",   "imageSearchField",  "imageTable",
                                "previewButton",      "actionButton"};
    EXPECT_EQ(tabRound(), top + row + arrayRow + bottom);

    // The panel, made after the rules, comes first all the same; a row added
    // at the top takes its place in the order, not the end of it.
    controller().ruleEditor->insertRow(0);
    QTest::qWait(0);
    EXPECT_EQ(tabRound(), top + row + row + arrayRow + bottom);
}

TEST_F(AccessibilityTest, LabelsAndTheBusyButtonAreReadWithTheirText)
{
    ShotlistViewController* shots = controller().showShotlist();
    EXPECT_EQ(spokenName(shots->shotCountLabel()), "2");
    EXPECT_EQ(spokenName(shots->completedCountLabel()), "2");
    shots->close();

    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    writeFile("latin.csv", "Shot,Title,Keywords\nA1,Malm\xf6,\n");
    panel->importFile(QUrl::fromLocalFile(path("latin.csv")));
    EXPECT_EQ(spokenName(panel->encodingNote()), panel->encodingNote()->text());

    RecordingUpdater updater;
    const AppInfo info{"Quillbrook", "1", "1", "org.quillbrook.Quillbrook"};
    PreferencesWindow preferences(m_preferences, &updater, info);
    preferences.showPreferences();
    auto* description = preferences.findChild<QLabel*>("writeMethodDescription");
    EXPECT_EQ(spokenName(description), "Use Exiftool to write metadata directly to the file.");

    // On Linux a popup is read by its current item; the description says
    // what it chooses.
    auto* mode = controller().ruleEditor->rowWidget(0)->findChild<QComboBox*>("modePopUp");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(mode)->text(QAccessible::Description), "Mode");

    QPushButton* button = controller().actionButton;
    controller().writer().setWorking(true, "Writing 2 images\u2026");
    QTest::qWait(0);
    EXPECT_EQ(spokenName(button), "Working\u2026");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(button)->text(QAccessible::Description),
              "Writing 2 images\u2026");
    controller().writer().setWorking(false);
    QTest::qWait(0);
    EXPECT_EQ(spokenName(button), "Assign Metadata");
}

TEST_F(AccessibilityTest, PopoversAndDialogsAreWindowsWithNames)
{
    const struct {
        const char* name;
        std::function<QWidget*()> open;
        QString spoken;
    } windows[] = {
        {"shot list", [&] { return controller().showShotlist(); }, "Shot List"},
        {"image warning", [&] { return controller().showImageWarning(); },
         "Warnings about the images"},
        {"image dialog",
         [&] {
             controller().selectImagesAction();
             return m_window->findChild<QFileDialog*>("imageOpenPanel");
         },
         "Select Images"},
        {"an error",
         [&] {
             writeFile("broken.csv", "Shot,Title\n\"open,x\n");
             dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView())
                 ->importFile(QUrl::fromLocalFile(path("broken.csv")));
             QTest::qWait(0);
             return m_window->findChild<QMessageBox*>("errorAlert");
         },
         "Quillbrook"},
    };
    for (const auto& w : windows) {
        SCOPED_TRACE(w.name);
        QWidget* window = w.open();
        ASSERT_TRUE(window);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
        EXPECT_TRUE(accessibleWindows().contains(w.spoken))
            << accessibleWindows().join(", ").toStdString();
        window->close();
    }

    // A popover closes at a click elsewhere, which still does what it does,
    // and at Escape.
    QPointer<QWidget> open = controller().showShotlist();
    auto* elsewhere = m_window->findChild<QWidget*>("pathField");
    QTest::mouseClick(elsewhere, Qt::LeftButton);
    QTRY_VERIFY(!open);
    EXPECT_EQ(elsewhere->window()->focusWidget(), elsewhere);
    open = controller().showImageWarning();
    QTest::keyClick(open, Qt::Key_Escape);
    QTRY_VERIFY(!open);
}

} // namespace
