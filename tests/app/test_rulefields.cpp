// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/csvdatasourceviewcontroller.h"

#include "widgets/pathcontrol.h"
#include "widgets/ruleeditor.h"
#include "widgets/rulerow.h"

#include "rules/rowconversion.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLineEdit>
#include <QUndoStack>

using namespace qb;
using namespace qb::testing;

namespace {

// One row of each mode that has a field: its texts are what the user types into.
const QByteArray rowsWithFields = R"([
    {"keyName": "Keywords", "destTag": "XMP:Subject",
     "actions": {"mappers": [{"type": "array", "attributes": {"delimiter": ";"}}]}},
    {"keyName": "Title", "destTag": "XMP:Title",
     "actions": {"mappers": [{"type": "stringReplacement",
                  "attributes": {"target": "coat", "replacement": "jacket", "isRegex": false}}]}},
    {"keyName": "Shot", "destTag": "XMP:Description",
     "actions": {"mappers": [{"type": "date", "attributes": {"format": "yyyy"}}]}}])";

enum class Commit { returnKey, tab, clickElsewhere };

class RuleFieldTest : public WindowTest {
protected:
    void SetUp() override
    {
        openWindow(writePackage(rowsWithFields));
        ASSERT_EQ(controller().ruleEditor->numberOfRows(), 3);
    }

    QLineEdit* field(int row, const QString& name) const
    {
        RuleRow* widget = controller().ruleEditor->rowWidget(row);
        return widget ? widget->findChild<QLineEdit*>(name) : nullptr;
    }

    // Types `text` over what the field holds and commits it as a user does.
    void typeInto(QLineEdit& field, const QString& text, Commit commit)
    {
        QTest::mouseClick(&field, Qt::LeftButton);
        ASSERT_TRUE(field.hasFocus());
        field.selectAll();
        QTest::keyClicks(&field, text);
        switch (commit) {
        case Commit::returnKey:
            QTest::keyClick(&field, Qt::Key_Return);
            break;
        case Commit::tab:
            QTest::keyClick(&field, Qt::Key_Tab);
            break;
        case Commit::clickElsewhere: {
            auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller().datasourceView());
            QWidget* elsewhere = panel->pathControl()->findChild<QLineEdit*>("pathField");
            QTest::mouseClick(elsewhere, Qt::LeftButton);
            break;
        }
        }
        // Whatever the commit posted runs now, as it would on the next turn.
        QTest::qWait(0);
    }
};

TEST_F(RuleFieldTest, EveryFieldTakesWhatIsTypedAndCommitted)
{
    const struct {
        int row;
        const char* field;
        const char* typed;
        const char* attribute; // of the row's mapper, as the document keeps it
    } fields[] = {
        {0, "delimiterField", "|", "delimiter"},
        {1, "targetField", "hat", "target"},
        {1, "replacementField", "cap", "replacement"},
        {2, "dateFormatField", "dd.MM.yyyy", "format"},
    };
    const std::pair<Commit, const char*> commits[] = {
        {Commit::returnKey, "Return"}, {Commit::tab, "Tab"}, {Commit::clickElsewhere, "click"}};
    QUndoStack& undo = m_window->document().undoStack();
    int steps = undo.count();
    for (const auto& [commit, commitName] : commits) {
        for (const auto& f : fields) {
            SCOPED_TRACE(std::string(f.field) + " committed with " + commitName);
            QLineEdit* edit = field(f.row, f.field);
            ASSERT_TRUE(edit);
            // A new text each round, so that each commit is a change.
            const QString typed = QString::fromUtf8(f.typed) + commitName;
            typeInto(*edit, typed, commit);
            EXPECT_EQ(field(f.row, f.field)->text(), typed);
            const Json mappings = m_window->document().mappingJson()["mappings"];
            ASSERT_EQ(mappings.size(), 3u);
            EXPECT_EQ(
                mappings[std::size_t(f.row)]["actions"]["mappers"][0]["attributes"][f.attribute],
                typed.toStdString());
            EXPECT_EQ(undo.count(), ++steps) << "one undo step per committed edit";
            EXPECT_TRUE(m_window->isWindowModified());
        }
    }
}

// Picks the item in the popup's list, as a click on it does.
void pickInList(QComboBox& box, int index)
{
    box.showPopup();
    QAbstractItemView* list = box.view();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(list->window()));
    const QModelIndex item = list->model()->index(index, 0);
    list->scrollTo(item);
    const QRect area = list->visualRect(item);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, area.center());
}

QStringList popUpNames(const RuleRow& row)
{
    QStringList names;
    for (const QComboBox* box : row.findChildren<QComboBox*>())
        if (box->isVisibleTo(&row))
            names << box->objectName();
    return names;
}

TEST_F(RuleFieldTest, EveryPopUpOfARowCanBeChosenFromItsList)
{
    const QString modes[] = {"use source value",    "convert to an array", "modify string case",
                             "convert to a string", "replace occurences",  "convert to date"};
    RuleEditor& editor = *controller().ruleEditor;
    for (const QString& mode : modes) {
        SCOPED_TRACE(mode.toStdString());
        auto* modePopUp = editor.rowWidget(0)->findChild<QComboBox*>("modePopUp");
        pickInList(*modePopUp, modePopUp->findText(mode));
        QTest::qWait(0);
        ASSERT_EQ(editor.rowWidget(0)->findChild<QComboBox*>("modePopUp")->currentText(), mode);
        // Then every other popup the row shows, each to another choice;
        // a choice keeps the mode, so the row keeps its popups.
        for (const QString& name : popUpNames(*editor.rowWidget(0))) {
            if (name == "modePopUp")
                continue;
            SCOPED_TRACE(name.toStdString());
            auto* box = editor.rowWidget(0)->findChild<QComboBox*>(name);
            ASSERT_TRUE(box && box->isVisible());
            const int other = box->currentIndex() == box->count() - 1 ? 0 : box->count() - 1;
            const QString text = box->itemText(other);
            pickInList(*box, other);
            QTest::qWait(0);
            EXPECT_EQ(editor.rowWidget(0)->findChild<QComboBox*>(name)->currentText(), text);
            EXPECT_EQ(editor.rowWidget(0)->findChild<QComboBox*>("modePopUp")->currentText(), mode);
            EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
            // The document follows what the row reads as.
            const auto row = mappingForRow(editor.criteriaForRow(0), 0);
            ASSERT_TRUE(row.has_value());
            EXPECT_EQ(m_window->document().currentCriteriaRows().front(), *row);
        }
    }
}

} // namespace

namespace {

// Two rows writing one tag both stay; the lower is framed until it writes another.
TEST_F(WindowTest, ARowWhoseTagAnUpperRowWritesIsFramedUntilItWritesAnother)
{
    openWindow(writePackage(R"([
        {"keyName": "Title", "destTag": "XMP:Title", "actions": {"mappers": []}},
        {"keyName": "Keywords", "destTag": "XMP:Subject", "actions": {"mappers": []}},
        {"keyName": "Shot", "destTag": "XMP:Title", "actions": {"mappers": []}}])"));
    RuleEditor& editor = *controller().ruleEditor;
    ASSERT_EQ(editor.numberOfRows(), 3);
    EXPECT_FALSE(editor.rowWidget(0)->isOverruled());
    EXPECT_FALSE(editor.rowWidget(1)->isOverruled());
    ASSERT_TRUE(editor.rowWidget(2)->isOverruled());
    EXPECT_EQ(editor.rowWidget(2)->accessibleDescription(),
              "Row 1 writes XMP:Title too; its value stands.");

    auto* destination = editor.rowWidget(2)->findChild<QComboBox*>("destinationPopUp");
    ASSERT_TRUE(destination);
    pickInList(*destination, destination->findText("Creator"));
    QTest::qWait(0);
    EXPECT_FALSE(editor.rowWidget(2)->isOverruled());
    EXPECT_TRUE(editor.rowWidget(2)->accessibleDescription().isEmpty());
    EXPECT_EQ(m_window->document().currentCriteriaRows().size(), 3u);
}

} // namespace
