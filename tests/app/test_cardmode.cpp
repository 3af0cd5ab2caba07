// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "../cards/cardimages.h"
#include "../cards/cardplansketch.h"

#include "app/cardplanner.h"
#include "app/imagesareacontroller.h"
#include "app/imagestable.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTableView>

using namespace qb;
using namespace qb::testing;

namespace {

TEST(CardTableRows, EachFrameSaysWhatTheWriteDoesWithItAndWhoItIs)
{
    const FileNameDataSource rows(
        MetadataTable{{"1234", {{"Name", QString("Ana Lindqvist")}, {"Title", QString("Ana")}}},
                      {"1235", {{"Name", QString("Ben Okafor")}, {"Title", QString("Ben")}}}});
    const std::vector<MetadataMapping> title{MetadataMapping("Title", "XMP:Title", nullptr)};
    const QString written = "Will be written, 1 tag";
    const QString check = "; check: a card may have been missed";
    const struct {
        const char* name;
        QString session; // as the card plan tests sketch it
        QStringList statuses;
        QString lastSubject;
    } cases[] = {
        {"forward",
         ". 1234 .",
         {"Unassigned: before the first card", "Card", written},
         "1234 Ana Lindqvist, 1 frame"},
        {"group",
         "1234+1235 .",
         {"Card, a group", written},
         "1234 Ana Lindqvist + 1235 Ben Okafor, 1 frame"},
        {"unknown code",
         "1234 9999 .",
         {"Card", "Card, no row has its key", "Unassigned: its card 9999 names no row"},
         "9999 (no row), 1 frame"},
        {"gap, and a frame without a time",
         "1234 .>300 .~",
         {"Card", written + check, written + check + "; no capture time, placed by name"},
         "1234 Ana Lindqvist, 2 frames"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CardTableRows table =
            cardTableRows(makeCardPlan(sketchedFrames(c.session), RowKeys(rows.keys()), {}), rows,
                          title, EmptyCells::keep);
        QStringList statuses;
        for (const ImagePlanEntry& entry : table.entries)
            statuses << imageStateText(entry);
        EXPECT_EQ(statuses, c.statuses);
        EXPECT_EQ(table.subjects.back(), c.lastSubject);
        EXPECT_EQ(table.paths.size(), qsizetype(table.entries.size()));
    }
}

class CardModeTest : public WindowTest {
protected:
    // A package keyed by Key, whose rule writes the Title.
    QString writeCardPackage()
    {
        return writePackage(titleRow, "csvsource",
                            "Key,Name,Title\n1234,Ana Lindqvist,Ana\n1235,Ben Okafor,Ben\n"
                            "1236,Cleo Park,Cleo\n",
                            {"Key", "Name", "Title"});
    }

    // A card for 1234 after a first frame; the card of 1235 (frame 5)
    // didn't come out, so its frames would go to 1234 after a long pause.
    QStringList shootSession()
    {
        return shoot(path("shoot"), {{{}, "10:00:00"},
                                     {{{"1234"}}, "10:00:10"},
                                     {{}, "10:00:20"},
                                     {{}, "10:00:30"},
                                     {{}, "10:05:00"},
                                     {{}, "10:05:10"}});
    }

    ImagesAreaController& images() const { return controller().images(); }
    QTableView& view() const { return *images().table()->tableView(); }

    // Each row as a screen reader reads it, once the plan is in.
    QStringList waitForRows() const
    {
        if (images().cardPlanner().isPlanning()) {
            QSignalSpy planned(&images().cardPlanner(), &CardPlanner::planned);
            EXPECT_TRUE(planned.wait(60000));
        }
        QStringList rows;
        for (int row = 0; row < images().table()->model().rowCount(); ++row)
            rows << images().table()->model().spokenRow(row);
        return rows;
    }

    void chooseCardMode() const
    {
        auto* popUp = m_window->findChild<QComboBox*>("matchingStylePopUp");
        ASSERT_TRUE(popUp);
        popUp->setFocus();
        QSignalSpy planned(&images().cardPlanner(), &CardPlanner::planned);
        QTest::keyClick(popUp, Qt::Key_End);
        EXPECT_EQ(popUp->currentText(), "by barcode cards");
        ASSERT_TRUE(planned.wait(60000));
    }

    // Opens the context menu of the frame at `row` as the Menu key does,
    // and triggers its action `name`.
    void triggerMenuAction(int row, const char* name) const
    {
        view().setFocus();
        view().selectRow(row);
        const QRect cell = view().visualRect(view().model()->index(row, 1));
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, cell.center(),
                                  view().viewport()->mapToGlobal(cell.center()));
        QApplication::sendEvent(view().viewport(), &menuKey);
        auto* menu = images().table()->findChild<QMenu*>("imageContextMenu");
        ASSERT_TRUE(menu);
        auto* action = menu->findChild<QAction*>(name);
        ASSERT_TRUE(action) << name;
        menu->close();
        action->trigger();
    }
};

TEST_F(CardModeTest, TheTableShowsThePlanAndTheFixesAndTheScannedSubjectAreWritten)
{
    openWindow(writeCardPackage());
    const QStringList frames = shootSession();
    ASSERT_EQ(frames.size(), 6);
    controller().dropImages({QUrl::fromLocalFile(path("shoot"))});
    chooseCardMode();
    const QString check = "check: a card may have been missed";
    EXPECT_EQ(
        waitForRows(),
        QStringList(
            {"IMG_0001.JPG, Unassigned: before the first card",
             "IMG_0002.JPG, 1234 Ana Lindqvist, 4 frames, Card",
             "IMG_0003.JPG, 1234 Ana Lindqvist, 4 frames, Will be written, 1 tag; " + check,
             "IMG_0004.JPG, 1234 Ana Lindqvist, 4 frames, Will be written, 1 tag; " + check,
             "IMG_0005.JPG, 1234 Ana Lindqvist, 4 frames, Will be written, 1 tag; " + check,
             "IMG_0006.JPG, 1234 Ana Lindqvist, 4 frames, Will be written, 1 tag; " + check}));
    EXPECT_EQ(controller().imageCountLabel->text(),
              "6 Images, 1 subject, 1 to check, 1 unassigned");

    // The missed card, marked by hand for Ben.
    triggerMenuAction(4, "markAsCardAction");
    auto* dialog = m_window->findChild<QInputDialog*>("cardRowDialog");
    ASSERT_TRUE(dialog);
    auto* rowsPopUp = dialog->findChild<QComboBox*>();
    ASSERT_TRUE(rowsPopUp);
    QTest::keyClick(rowsPopUp, Qt::Key_Down);
    EXPECT_EQ(rowsPopUp->currentText(), "1235 \u2013 Ben Okafor");
    dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    const QStringList fixed = waitForRows();
    EXPECT_EQ(fixed.mid(2),
              QStringList({"IMG_0003.JPG, 1234 Ana Lindqvist, 2 frames, Will be written, 1 tag",
                           "IMG_0004.JPG, 1234 Ana Lindqvist, 2 frames, Will be written, 1 tag",
                           "IMG_0005.JPG, 1235 Ben Okafor, 1 frame, Card, set by hand",
                           "IMG_0006.JPG, 1235 Ben Okafor, 1 frame, Will be written, 1 tag"}));

    // A scanner types Cleo's code: the frame before the first card is hers.
    auto* field = m_window->findChild<QLineEdit*>("currentSubjectField");
    ASSERT_TRUE(field);
    EXPECT_EQ(spokenName(field), "Current subject");
    field->setFocus();
    QTest::keyClicks(field, "4444");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(images().currentSubjectNote()->text(), "No row has the key \u201c4444\u201d.");
    QTest::keyClicks(field, "1236");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(images().currentSubjectNote()->text(), "Subject 1236 (Cleo Park)");
    EXPECT_EQ(waitForRows().front(),
              "IMG_0001.JPG, 1236 Cleo Park, 1 frame, Will be written, 1 tag");

    QTest::mouseClick(controller().actionButton, Qt::LeftButton);
    ASSERT_TRUE(waitForWrite());
    const QStringList titles{"Cleo", "", "Ana", "Ana", "", "Ben"};
    for (int i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE(frames[i].toStdString());
        EXPECT_EQ(readTags(frames[i]).value("XMP:Title").toString(), titles[i]);
    }

    // The fix is kept with the document and comes back with it.
    ASSERT_TRUE(m_window->save());
    closeWindow();
    openWindow(path("doc.qbmap"));
    controller().dropImages({QUrl::fromLocalFile(path("shoot"))});
    EXPECT_EQ(m_window->findChild<QComboBox*>("matchingStylePopUp")->currentText(),
              "by barcode cards");
    EXPECT_EQ(waitForRows()[4], "IMG_0005.JPG, 1235 Ben Okafor, 1 frame, Card, set by hand");

    // Not a card: the hand-made mark goes, and the frames are Ana's again.
    triggerMenuAction(4, "notACardAction");
    EXPECT_EQ(waitForRows()[4], "IMG_0005.JPG, 1234 Ana Lindqvist, 4 frames, Will be written, 1 "
                                "tag; check: a card may have been missed");
}

} // namespace
