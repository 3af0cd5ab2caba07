// SPDX-License-Identifier: GPL-3.0-or-later
#include "guiapplication.h"

#include "widgets/criteriatreedelegate.h"
#include "widgets/ruleeditor.h"
#include "widgets/rulerow.h"

#include "rules/rowconversion.h"

#include "extensions/notificationcenter.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace qb;

namespace {

class TreeDelegate final : public CriteriaTreeDelegate {
public:
    void ruleEditorRowsDidChange(RuleEditor&) override { ++changes; }
    int changes = 0;
};

class RuleEditorTest : public ::testing::Test {
protected:
    RuleEditorTest()
    {
        m_delegate.sourceTagCriteria = makeSourceTagCriteria({"Caption", "Names"}, &m_center);
        m_editor.setDelegate(&m_delegate);
        m_editor.setIncompleteRowToolTip("Choose a destination field");
        m_editor.resize(900, 300);
        qb::testing::showActive(m_editor);
    }

    QComboBox* popUp(int row, const QString& name) const
    {
        return m_editor.rowWidget(row)->findChild<QComboBox*>(name);
    }
    // Chooses the item as a click in the popup's list would.
    void choose(int row, const QString& name, const QString& text)
    {
        QComboBox* box = popUp(row, name);
        ASSERT_TRUE(box) << name.toStdString();
        const int index = box->findText(text);
        ASSERT_GE(index, 0) << text.toStdString();
        box->setCurrentIndex(index);
        emit box->activated(index);
    }
    std::optional<MetadataMapping> mapping(int row) const
    {
        return mappingForRow(m_editor.criteriaForRow(row), row);
    }

    qb::testing::GuiApplication m_application;
    NotificationCenter m_center;
    TreeDelegate m_delegate;
    RuleEditor m_editor;
};

TEST_F(RuleEditorTest, RowsAreBuiltChosenTypedAndReadBack)
{
    m_editor.addRow();
    ASSERT_EQ(m_editor.numberOfRows(), 1);
    EXPECT_EQ(popUp(0, "sourceColumnPopUp")->accessibleName(), "Source column: Caption");
    EXPECT_EQ(popUp(0, "modePopUp")->accessibleName(), "Mode: use source value");
    EXPECT_EQ(popUp(0, "destinationPopUp")->accessibleName(), "Destination: Rating");

    choose(0, "destinationPopUp", "Description");
    // A change of mode keeps a destination the new mode offers.
    choose(0, "modePopUp", "convert to date");
    EXPECT_EQ(popUp(0, "destinationPopUp")->currentText(), "Description");

    // ...and picks the first one it offers otherwise.
    choose(0, "sourceColumnPopUp", "Names");
    choose(0, "modePopUp", "convert to an array");
    EXPECT_EQ(popUp(0, "destinationPopUp")->currentText(), "Keywords");
    auto* delimiter = m_editor.rowWidget(0)->findChild<QLineEdit*>("delimiterField");
    ASSERT_TRUE(delimiter);
    EXPECT_EQ(delimiter->text(), ", ");
    delimiter->setFocus();
    delimiter->selectAll();
    QTest::keyClicks(delimiter, ";");
    QTest::keyClick(delimiter, Qt::Key_Return);

    const auto result = mapping(0);
    ASSERT_TRUE(result);
    EXPECT_EQ(*result,
              MetadataMapping("Names", "XMP:Subject", {std::make_shared<ArrayMapper>(";")}));
    EXPECT_GE(m_delegate.changes, 5);

    // Keyboard: the next mode is one arrow key away.
    QComboBox* mode = popUp(0, "modePopUp");
    mode->setFocus();
    QTest::keyClick(mode, Qt::Key_Down);
    EXPECT_EQ(popUp(0, "modePopUp")->currentText(), "modify string case");
    EXPECT_TRUE(mapping(0).has_value());
}

TEST_F(RuleEditorTest, SeparatorsCannotBeChosen)
{
    m_editor.addRow();
    QComboBox* destinations = popUp(0, "destinationPopUp");
    auto* model = qobject_cast<QStandardItemModel*>(destinations->model());
    ASSERT_TRUE(model);
    ASSERT_EQ(destinations->count(), 49);
    int separators = 0;
    for (int i = 0; i < destinations->count(); ++i)
        if (!(model->item(i)->flags() & Qt::ItemIsSelectable)) {
            ++separators;
            EXPECT_FALSE(model->item(i)->flags() & Qt::ItemIsEnabled);
        }
    EXPECT_EQ(separators, 6);
}

TEST_F(RuleEditorTest, AnEditInASharedFieldShowsInEveryRow)
{
    const auto date = std::make_shared<DateMapper>("yyyy");
    for (int i = 0; i < 2; ++i) {
        m_editor.addRow(rowForMapping(MetadataMapping("Caption", "XMP:Title", {date}), i,
                                      m_delegate.sourceTagCriteria));
    }
    auto* first = m_editor.rowWidget(0)->findChild<QLineEdit*>("dateFormatField");
    auto* second = m_editor.rowWidget(1)->findChild<QLineEdit*>("dateFormatField");
    ASSERT_TRUE(first && second);
    first->setText("dd.MM.yyyy");
    emit first->editingFinished();
    EXPECT_EQ(second->text(), "dd.MM.yyyy");

    // An emptied field takes its text back.
    second->clear();
    emit second->editingFinished();
    EXPECT_EQ(second->text(), "dd.MM.yyyy");
}

TEST_F(RuleEditorTest, UnfinishedRowsAreMarkedUntilADestinationIsChosen)
{
    m_editor.addRow(
        rowForMapping(MetadataMapping("Caption", "EXIF:Artist"), 0, m_delegate.sourceTagCriteria));
    RuleRow* widget = m_editor.rowWidget(0);
    EXPECT_TRUE(widget->isIncomplete());
    EXPECT_EQ(widget->toolTip(), "Choose a destination field");
    EXPECT_EQ(popUp(0, "destinationPopUp")->currentIndex(), -1);
    EXPECT_FALSE(mapping(0).has_value());

    choose(0, "destinationPopUp", "Creator");
    EXPECT_FALSE(m_editor.rowWidget(0)->isIncomplete());
    EXPECT_EQ(mapping(0)->destTag, "XMP:Creator");

    // A saved row whose column the data lacks reads as its sentence, says
    // why it can't act, and is read back whole; also with no columns at all.
    const MetadataMapping away("Shot Date", "XMP:Title", {std::make_shared<DateMapper>("yyyy")});
    for (const QStringList& columns : {QStringList{"Caption"}, QStringList{}}) {
        SCOPED_TRACE(columns.join(',').toStdString());
        m_delegate.sourceTagCriteria = makeSourceTagCriteria(columns, &m_center);
        m_editor.addRow(rowForMapping(away, 1, m_delegate.sourceTagCriteria));
        const int last = m_editor.numberOfRows() - 1;
        RuleRow* kept = m_editor.rowWidget(last);
        EXPECT_TRUE(kept->isIncomplete());
        EXPECT_EQ(kept->accessibleDescription(), "The data has no column \u201cShot Date\u201d");
        QStringList shown;
        for (const QLabel* label : kept->findChildren<QLabel*>())
            shown << label->text();
        EXPECT_EQ(shown, (QStringList{"Shot Date \u25b8 convert to date \u25b8 Title",
                                      "The data has no column \u201cShot Date\u201d"}));
        EXPECT_TRUE(kept->findChildren<QComboBox*>().isEmpty());
        EXPECT_EQ(mapping(last), away);
    }
}

TEST_F(RuleEditorTest, RowsAreAddedMovedAndRemoved)
{
    m_editor.addRow();
    choose(0, "sourceColumnPopUp", "Names");
    QTest::mouseClick(m_editor.rowWidget(0)->findChild<QToolButton*>("addRowButton"),
                      Qt::LeftButton);
    ASSERT_EQ(m_editor.numberOfRows(), 2);
    EXPECT_EQ(mapping(1)->keyName, "Caption");

    // Ctrl+Shift+Down moves the row that has the focus (Alt+Down opens a popup).
    popUp(0, "modePopUp")->setFocus();
    QTest::keyClick(popUp(0, "modePopUp"), Qt::Key_Down, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(mapping(0)->keyName, "Caption");
    EXPECT_EQ(mapping(1)->keyName, "Names");

    QTest::mouseClick(m_editor.rowWidget(0)->findChild<QToolButton*>("removeRowButton"),
                      Qt::LeftButton);
    ASSERT_EQ(m_editor.numberOfRows(), 1);
    EXPECT_EQ(mapping(0)->keyName, "Names");

    m_editor.setEditable(false);
    EXPECT_FALSE(popUp(0, "modePopUp")->isEnabled());
    EXPECT_FALSE(m_editor.rowWidget(0)->findChild<QToolButton*>("addRowButton")->isVisible());
}

} // namespace
