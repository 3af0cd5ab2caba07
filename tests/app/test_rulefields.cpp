// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/csvdatasourceviewcontroller.h"

#include "widgets/pathcontrol.h"
#include "widgets/rulerow.h"

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

} // namespace
