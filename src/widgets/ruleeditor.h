// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "widgets/ruleeditordelegate.h"
#include "widgets/rulerow.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QWidget>

class QAction;
class QLabel;
class QVBoxLayout;

namespace qb {

// Rows that read as sentences: each row is a path through the delegate's
// tree, shown as a line of popups, fixed words and text fields, with add
// and remove buttons at its end. Rows form a flat list.
class RuleEditor : public QWidget, private RuleRowHost {
    Q_OBJECT

public:
    // Only the list is offered; the value is kept for whoever sets it.
    enum class NestingMode { single = 0, list = 1, simple = 2, compound = 3 };

    explicit RuleEditor(QWidget* parent = nullptr);
    ~RuleEditor() override;

    RuleEditorDelegate* delegate() const override { return m_delegate; }
    void setDelegate(RuleEditorDelegate* delegate) { m_delegate = delegate; }
    NestingMode nestingMode() const { return m_nestingMode; }
    void setNestingMode(NestingMode mode) { m_nestingMode = mode; }

    // A read-only editor shows its rows but takes no change.
    bool isEditable() const override { return m_editable; }
    void setEditable(bool editable);

    // Shown in place of the rows while there are none.
    void setPlaceholderText(const QString& text);

    // Shown on a row whose path stops before a leaf of the tree.
    void setIncompleteRowToolTip(const QString& text) { m_incompleteToolTip = text; }
    const QString& incompleteRowToolTip() const override { return m_incompleteToolTip; }

    int numberOfRows() const { return int(m_rows.size()); }
    Criteria criteriaForRow(int row) const;
    std::vector<Criteria> allRowCriteria() const;
    // Puts these criteria in the row; its controls are built by asking the
    // delegate. Where the criteria keep the shape the row shows, the
    // controls stay and only follow the new criteria, so focus isn't lost.
    void setCriteria(int row, Criteria criteria);
    // Appends a row that takes the first choice at every level; nothing
    // when the tree is empty.
    void addRow();
    void insertRow(int at);
    // Appends a row that shows `criteria`, also when the tree offers
    // nothing: a saved row without a place in it still shows.
    void addRow(Criteria criteria);
    void removeRow(int row);
    void moveRow(int from, int to);
    // Rebuilds every row's controls from the delegate's answers.
    void reloadCriteria();

    // Frames the rows whose value gives way to an upper row's, each with
    // its reason; every other row is cleared.
    void setOverruledRows(const QHash<int, QString>& reasons);

    // The row that holds `widget`, or -1.
    int rowOf(const QWidget* widget) const;
    RuleRow* rowWidget(int row) const;

signals:
    void rowsChanged();
    // Rows or their controls were made, removed or moved: whatever orders
    // the controls, such as Tab, has to look again.
    void controlsChanged();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    Criteria defaultPath(Criteria prefix, const Criteria& previous = {}) const override;
    void notifyRowsChanged() override;
    void rowControlsChanged() override { emit controlsChanged(); }
    void insertRowAfter(const QWidget* row) override { insertRow(rowOf(row) + 1); }
    void removeRowOf(const QWidget* row) override { removeRow(rowOf(row)); }
    void insertRow(int at, Criteria criteria);
    void renumberRows();
    int focusedRow() const;
    void moveFocusedRow(int by);

    RuleEditorDelegate* m_delegate = nullptr;
    NestingMode m_nestingMode = NestingMode::list;
    bool m_editable = true;
    QString m_incompleteToolTip;
    QList<RuleRow*> m_rows;
    QVBoxLayout* m_rowLayout;
    QLabel* m_placeholder;
    QAction* m_moveUpAction;
    QAction* m_moveDownAction;
};

} // namespace qb
