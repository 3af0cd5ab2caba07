// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "../support/filewriter.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/imagesareacontroller.h"
#include "app/imagestable.h"
#include "app/shotlistviewcontroller.h"
#include "app/writereviewdialogs.h"

#include <QAccessibleTableInterface>
#include <QComboBox>
#include <QDBusConnection>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTableWidget>

using namespace qb;
using namespace qb::testing;

namespace {

const QStringList shoot{"/shoot/A1_0001.jpg", "/shoot/A10_0001.jpg", "/shoot/day2/C3.jpg",
                        "/shoot/notes.txt"};

ImagePlanInputs inputs(MatchingStyle style = MatchingStyle::prefix)
{
    auto source = std::make_shared<FileNameDataSource>(
        MetadataTable{{"A1", {{"Title", QString("Red")}}},
                      {"A10", {{"Title", QString("Blue")}}},
                      {"^C\\d", {{"Title", QString("Grey")}}}});
    source->setMatchingStyle(style);
    ImagePlanInputs made;
    made.source = source;
    made.mappings = {MetadataMapping("Title", "XMP:Title", nullptr)};
    made.filesInUse = [](const QStringList&) {
        return QSet<QString>();
    };
    return made;
}

void planAndWait(ImageTableModel& model, ImagePlanInputs made)
{
    QSignalSpy planned(&model, &ImageTableModel::planned);
    model.plan(std::move(made));
    ASSERT_TRUE(planned.wait(10000));
}

QStringList spokenRows(const ImageTableModel& model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << model.spokenRow(row);
    return rows;
}

// The first cell of each shown row, as a screen reader gets it from the view.
QStringList readRows(QTableView& view)
{
    QAccessibleTableInterface* table =
        QAccessible::queryAccessibleInterface(&view)->tableInterface();
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row)
        rows << table->cellAt(row, 0)->text(QAccessible::Name);
    return rows;
}

class ImagesTableTest : public ::testing::Test {
protected:
    GuiApplication m_application;
    QList<QUrl> m_opened;
    ImagesTable m_table{[this](const QUrl& url) { m_opened << url; }, "exiftool"};
};

TEST_F(ImagesTableTest, EachImageReadsWithItsKeyAndWhatTheWriteDoes)
{
    m_table.model().setImages(shoot);
    EXPECT_EQ(m_table.model().spokenRow(0), "A1_0001.jpg, Checking\u2026");
    planAndWait(m_table.model(), inputs());
    EXPECT_EQ(readRows(*m_table.tableView()),
              (QStringList{"A1_0001.jpg, A1, Will be written, 1 tag",
                           "A10_0001.jpg, Several rows: A1, A10", "C3.jpg, No row",
                           "notes.txt, Can\u2019t be written by this method"}));
    EXPECT_EQ(m_table.model().index(2, ImageTableModel::folderColumn).data(), "day2");

    // Another style, and the same rows follow.
    planAndWait(m_table.model(), inputs(MatchingStyle::regex));
    EXPECT_EQ(spokenRows(m_table.model()).mid(0, 3),
              (QStringList{"A1_0001.jpg, A1, Will be written, 1 tag",
                           "A10_0001.jpg, Several rows: A1, A10",
                           "C3.jpg, ^C\\d, Will be written, 1 tag"}));
}

TEST_F(ImagesTableTest, FilterAndSearchNarrowTheRows)
{
    m_table.model().setImages(shoot);
    planAndWait(m_table.model(), inputs(MatchingStyle::regex));
    m_table.model().setOutcomes({{"/shoot/A1_0001.jpg", FileOutcomeKind::written, {}},
                                 {"/shoot/day2/C3.jpg", FileOutcomeKind::failed,
                                  "Not a valid JPG (looks more like a PNG)\nmore"}});
    struct Row {
        const char* filter;
        const char* search;
        QStringList shown;
    };
    const Row rows[] = {
        {"All", "", {"A1_0001.jpg", "A10_0001.jpg", "C3.jpg", "notes.txt"}},
        {"Will be written", "", {}},
        {"Problems", "", {"A10_0001.jpg", "C3.jpg", "notes.txt"}},
        {"Not yet written", "", {"A10_0001.jpg", "C3.jpg", "notes.txt"}},
        {"All", "a10", {"A10_0001.jpg"}},
        {"All", "^c", {"C3.jpg"}}, // by its key alone
        {"Problems", "a1", {"A10_0001.jpg"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.filter) + " / " + row.search);
        m_table.filterPopup()->setCurrentIndex(m_table.filterPopup()->findText(row.filter));
        m_table.searchField()->clear();
        QTest::keyClicks(m_table.searchField(), row.search);
        QStringList shown;
        for (int r = 0; r < m_table.filter().rowCount(); ++r)
            shown << m_table.filter().index(r, ImageTableModel::nameColumn).data().toString();
        EXPECT_EQ(shown, row.shown);
    }
    EXPECT_EQ(m_table.model().spokenRow(2), "C3.jpg, ^C\\d, Failed: Not a valid JPG (looks more "
                                            "like a PNG)");
}

TEST_F(ImagesTableTest, AnOutcomeStaysUntilThePlanChanges)
{
    m_table.model().setImages(shoot);
    planAndWait(m_table.model(), inputs());
    m_table.model().setOutcomes({{"/shoot/A1_0001.jpg", FileOutcomeKind::written, {}},
                                 {"/shoot/A10_0001.jpg", FileOutcomeKind::unchanged, {}}});
    planAndWait(m_table.model(), inputs());
    EXPECT_EQ(m_table.model().entry(0).state, ImageState::written);

    // Another rule gives A1 another tag; A10 still merges to one.
    ImagePlanInputs more = inputs();
    more.mappings.emplace_back("Title", "XMP:Headline", nullptr);
    more.mappings.emplace_back("Missing", "XMP:Label", nullptr);
    planAndWait(m_table.model(), more);
    EXPECT_EQ(m_table.model().spokenRow(0), "A1_0001.jpg, A1, Will be written, 2 tags");

    // Images taken out leave the others as they were, without a new plan.
    m_table.model().setImages({shoot[0], shoot[2]});
    EXPECT_EQ(spokenRows(m_table.model()),
              (QStringList{"A1_0001.jpg, A1, Will be written, 2 tags", "C3.jpg, No row"}));
}

TEST_F(ImagesTableTest, KeysAndShotsChooseEachOtherAndKeysActOnTheChosen)
{
    m_table.model().setImages(shoot);
    planAndWait(m_table.model(), inputs());
    showActive(m_table);
    QSignalSpy chosen(&m_table, &ImagesTable::keyChosen);
    QSignalSpy removed(&m_table, &ImagesTable::removeRequested);
    QTableView& view = *m_table.tableView();
    view.setFocus();
    view.setCurrentIndex(m_table.filter().index(0, 1));
    ASSERT_FALSE(chosen.isEmpty());
    EXPECT_EQ(chosen.back().front(), "A1");

    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&view, Qt::Key_Delete);
    ASSERT_EQ(removed.size(), 1);
    EXPECT_EQ(removed.front().front(), (QStringList{shoot[0], shoot[1]}));

    QTest::keyClick(&view, Qt::Key_Return);
    EXPECT_EQ(m_opened, QList<QUrl>{QUrl::fromLocalFile(shoot[1])});

    m_table.selectKey("A10");
    EXPECT_EQ(m_table.selectedPaths(), (QStringList{shoot[1]}));
    m_table.selectKey("A1");
    EXPECT_EQ(m_table.selectedPaths(), (QStringList{shoot[0], shoot[1]}));

    QTest::keyClick(&view, Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(m_table.searchField()->hasFocus());
    EXPECT_EQ(spokenName(&view), "Images");
    EXPECT_EQ(spokenName(m_table.searchField()), "Search images by name or key");
}

TEST_F(ImagesTableTest, ShowInFolderOpensTheFolderWithoutAFileManager)
{
    if (QDBusConnection::sessionBus().isConnected())
        GTEST_SKIP() << "a session bus may have a file manager on it";
    QList<QUrl> opened;
    ImagesTable::showInFolder({"/shoot/a.jpg", "/shoot/b.jpg", "/other/c.jpg"},
                              [&](const QUrl& url) { opened << url; });
    EXPECT_EQ(opened, (QList<QUrl>{QUrl::fromLocalFile("/shoot"), QUrl::fromLocalFile("/other")}));
}

class ImagesWindowTest : public WindowTest {
protected:
    ImagesAreaController& images() const { return controller().images(); }
    ImageTableModel& model() const { return images().table()->model(); }
    QStringList statuses() const
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return model().isPlanned(); }, 10000));
        QStringList shown;
        for (int row = 0; row < model().rowCount(); ++row)
            shown << model().index(row, ImageTableModel::statusColumn).data().toString();
        return shown;
    }
};

TEST_F(ImagesWindowTest, StatusesFollowTheMatchingStyleAndTheWrite)
{
    openWindow(writePackage(titleAndKeywords));
    for (const char* name : {"A1.jpg", "A1_0001.jpg", "B2.jpg", "C3.jpg"})
        makeJpeg(path(QString("images/") + name));
    writeFile("images/B2_0002.jpg", "not a JPEG at all");
    // Still being copied in by another program.
    const FileWriter copying(path("images/C3.jpg"));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    EXPECT_EQ(controller().imageCountLabel->text(), "5 Images");
    EXPECT_EQ(statuses(), (QStringList{"Will be written, 2 tags", "Will be written, 2 tags",
                                       "Will be written, 2 tags", "Will be written, 2 tags",
                                       "Still being written"}));

    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
    ASSERT_TRUE(panel);
    const int equal = panel->matchingStylePopUp()->findText("is equal to");
    panel->matchingStylePopUp()->setCurrentIndex(equal);
    emit panel->matchingStylePopUp()->activated(equal);
    EXPECT_EQ(statuses(),
              (QStringList{"Will be written, 2 tags", "No row", "Will be written, 2 tags", "No row",
                           "Still being written"}));

    const int prefix = panel->matchingStylePopUp()->findText("begins with");
    panel->matchingStylePopUp()->setCurrentIndex(prefix);
    emit panel->matchingStylePopUp()->activated(prefix);
    statuses();
    QTest::mouseClick(controller().actionButton, Qt::LeftButton);
    EXPECT_FALSE(waitForWrite());
    const QStringList after = statuses();
    EXPECT_EQ(after.mid(0, 3), (QStringList{"Written", "Written", "Written"}));
    EXPECT_TRUE(after[3].startsWith("Failed: ")) << after[3].toStdString();
    EXPECT_EQ(after[4], "Still being written");
}

TEST_F(ImagesWindowTest, StatusesFollowTheWriteMethodAndTheRules)
{
    openWindow(writePackage(titleAndKeywords));
    makeJpeg(path("images/A1.jpg"));
    writeFile("images/A1_0002.xyz", "a format exiftool can't write into");
    controller().dropImages({QUrl::fromLocalFile(path("images/A1.jpg")),
                             QUrl::fromLocalFile(path("images/A1_0002.xyz"))});
    EXPECT_EQ(statuses(),
              (QStringList{"Will be written, 2 tags", "Can’t be written by this method"}));
    m_preferences.setWriteMethodValue(1); // XMP sidecars take any file
    EXPECT_EQ(statuses(), (QStringList{"Will be written, 2 tags", "Will be written, 2 tags"}));
    controller().ruleEditor->removeRow(1);
    EXPECT_EQ(statuses(), (QStringList{"Will be written, 1 tag", "Will be written, 1 tag"}));
}

TEST_F(ImagesWindowTest, TheShotListAndTheTableChooseEachOtherAndPreviewTakesTheChoice)
{
    openWindow(writePackage(titleAndKeywords));
    for (const char* name : {"A1.jpg", "A1_0001.jpg", "B2.jpg"})
        makeJpeg(path(QString("images/") + name));
    writeFile("images/B2_0002.jpg", "not a JPEG at all");
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    statuses();
    ImagesTable& table = *images().table();

    ShotlistViewController* shots = controller().showShotlist();
    QTableView& shotTable = *shots->tableView();
    shotTable.setCurrentIndex(shots->model().index(0, 0)); // A1
    EXPECT_EQ(table.selectedPaths(),
              (QStringList{path("images/A1.jpg"), path("images/A1_0001.jpg")}));
    table.tableView()->setCurrentIndex(table.filter().index(2, 1)); // B2.jpg
    EXPECT_EQ(shotTable.selectionModel()->selectedRows().value(0).data().toString(), "B2");
    shots->close();

    // The damaged file's thumbnail says why there is none.
    const QModelIndex damaged = model().index(3, ImageTableModel::thumbnailColumn);
    damaged.data(Qt::DecorationRole);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return damaged.data(Qt::ToolTipRole) != path("images/B2_0002.jpg"); }, 10000));
    EXPECT_FALSE(damaged.data(Qt::DecorationRole).isNull());

    table.selectKey("A1");
    controller().previewMetadata();
    PreviewDialog* preview = nullptr;
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return (preview = m_window->findChild<PreviewDialog*>()); }, 30000));
    ASSERT_TRUE(preview);
    QSet<QString> previewed;
    for (int row = 0; row < preview->table()->rowCount(); ++row)
        previewed.insert(preview->table()->item(row, 0)->text());
    EXPECT_EQ(previewed, (QSet<QString>{"A1.jpg", "A1_0001.jpg"}));
    preview->reject();

    // Delete takes them out of the batch; the count above follows.
    table.tableView()->setFocus();
    QTest::keyClick(table.tableView(), Qt::Key_Delete);
    EXPECT_EQ(controller().imageCountLabel->text(), "2 Images");
    EXPECT_EQ(model().paths(), (QStringList{path("images/B2.jpg"), path("images/B2_0002.jpg")}));
}

} // namespace
