// SPDX-License-Identifier: GPL-3.0-or-later
#include "ruleeditor.h"

#include "widgets/rulerow.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <QVBoxLayout>

namespace qb {

RuleEditor::RuleEditor(QWidget* parent)
    : QWidget(parent)
{
    setAccessibleName(QStringLiteral("Rules"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    // Tab goes to the rows' controls, not to the area that holds them.
    scroll->setFocusPolicy(Qt::NoFocus);
    auto* content = new QWidget(scroll);
    auto* contentLayout = new QVBoxLayout(content);
    contentLayout->setContentsMargins(0, 0, 0, 0);
    contentLayout->setSpacing(2);
    m_rowLayout = new QVBoxLayout;
    m_rowLayout->setSpacing(2);
    contentLayout->addLayout(m_rowLayout);
    m_placeholder = new QLabel(content);
    m_placeholder->setObjectName(QStringLiteral("ruleEditorPlaceholder"));
    m_placeholder->setWordWrap(true);
    m_placeholder->setAlignment(Qt::AlignCenter);
    m_placeholder->setForegroundRole(QPalette::PlaceholderText);
    m_placeholder->hide();
    contentLayout->addWidget(m_placeholder);
    contentLayout->addStretch(1);
    scroll->setWidget(content);
    outer->addWidget(scroll);

    m_moveUpAction = new QAction(QStringLiteral("Move Rule Up"), this);
    m_moveUpAction->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Up));
    m_moveDownAction = new QAction(QStringLiteral("Move Rule Down"), this);
    m_moveDownAction->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Down));
    for (QAction* action : {m_moveUpAction, m_moveDownAction}) {
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        addAction(action);
    }
    connect(m_moveUpAction, &QAction::triggered, this, [this] { moveFocusedRow(-1); });
    connect(m_moveDownAction, &QAction::triggered, this, [this] { moveFocusedRow(1); });
}

RuleEditor::~RuleEditor() = default;

void RuleEditor::setPlaceholderText(const QString& text)
{
    m_placeholder->setText(text);
    m_placeholder->setVisible(m_rows.isEmpty() && !text.isEmpty());
}

void RuleEditor::setEditable(bool editable)
{
    m_editable = editable;
    m_moveUpAction->setEnabled(editable);
    m_moveDownAction->setEnabled(editable);
    for (RuleRow* row : m_rows)
        row->setEditable(editable);
}

Criteria RuleEditor::criteriaForRow(int row) const
{
    if (row < 0 || row >= m_rows.size())
        return {};
    return m_rows[row]->criteria();
}

std::vector<Criteria> RuleEditor::allRowCriteria() const
{
    std::vector<Criteria> rows;
    for (const RuleRow* row : m_rows)
        rows.push_back(row->criteria());
    return rows;
}

void RuleEditor::setCriteria(int row, Criteria criteria)
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row]->setCriteria(std::move(criteria));
    notifyRowsChanged();
}

// Takes the first choice at each level below `prefix`, except where the
// row showed something before: the same node, or one that reads the same at
// that level, is kept, so changing a mode keeps the destination.
Criteria RuleEditor::defaultPath(Criteria path, const Criteria& previous) const
{
    if (!m_delegate)
        return path;
    for (;;) {
        const Criterion* last = path.empty() ? nullptr : path.back().get();
        const int count = m_delegate->numberOfChildren(last);
        const std::size_t level = path.size();
        CriterionPtr first;
        CriterionPtr sameText;
        CriterionPtr same;
        for (int i = 0; i < count && !same; ++i) {
            CriterionPtr child = m_delegate->child(i, last);
            const DisplayValue value =
                child ? m_delegate->displayValue(child.get(), -1) : DisplayValue::separator();
            if (value.kind == DisplayValue::Kind::separator)
                continue;
            if (std::find(previous.begin(), previous.end(), child) != previous.end())
                same = child;
            else if (!sameText && level < previous.size() && previous[level] &&
                     value.kind == DisplayValue::Kind::text &&
                     previous[level]->displayValue().text == value.text)
                sameText = child;
            if (!first)
                first = child;
        }
        CriterionPtr pick = same ? same : sameText ? sameText : first;
        if (!pick)
            return path;
        path.push_back(std::move(pick));
    }
}

void RuleEditor::addRow()
{
    insertRow(int(m_rows.size()));
}

void RuleEditor::insertRow(int at)
{
    if (!m_delegate || m_delegate->numberOfChildren(nullptr) == 0)
        return;
    insertRow(at, defaultPath({}));
}

void RuleEditor::addRow(Criteria criteria)
{
    insertRow(int(m_rows.size()), std::move(criteria));
}

void RuleEditor::insertRow(int at, Criteria criteria)
{
    at = std::clamp(at, 0, int(m_rows.size()));
    auto* row = new RuleRow(*this, std::move(criteria), this);
    m_rows.insert(at, row);
    m_rowLayout->insertWidget(at, row);
    renumberRows();
    notifyRowsChanged();
}

void RuleEditor::removeRow(int index)
{
    if (index < 0 || index >= m_rows.size())
        return;
    RuleRow* row = m_rows.takeAt(index);
    m_rowLayout->removeWidget(row);
    // The row's own remove button may be the caller.
    row->hide();
    row->deleteLater();
    renumberRows();
    if (!m_rows.isEmpty())
        m_rows[std::min(index, int(m_rows.size()) - 1)]->setFocus();
    notifyRowsChanged();
}

void RuleEditor::moveRow(int from, int to)
{
    if (from < 0 || from >= m_rows.size() || to < 0 || to >= m_rows.size() || from == to)
        return;
    RuleRow* row = m_rows.takeAt(from);
    m_rows.insert(to, row);
    m_rowLayout->removeWidget(row);
    m_rowLayout->insertWidget(to, row);
    renumberRows();
    notifyRowsChanged();
}

void RuleEditor::reloadCriteria()
{
    for (RuleRow* row : m_rows)
        row->rebuild();
}

int RuleEditor::rowOf(const QWidget* widget) const
{
    for (; widget; widget = widget->parentWidget())
        if (const auto* row = qobject_cast<const RuleRow*>(widget))
            return int(m_rows.indexOf(const_cast<RuleRow*>(row)));
    return -1;
}

RuleRow* RuleEditor::rowWidget(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows[row] : nullptr;
}

void RuleEditor::setOverruledRows(const QHash<int, QString>& reasons)
{
    for (int row = 0; row < m_rows.size(); ++row)
        m_rows[row]->setOverruled(reasons.value(row));
}

void RuleEditor::notifyRowsChanged()
{
    m_placeholder->setVisible(m_rows.isEmpty() && !m_placeholder->text().isEmpty());
    emit rowsChanged();
    if (m_delegate)
        m_delegate->ruleEditorRowsDidChange(*this);
}

void RuleEditor::renumberRows()
{
    for (int i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setIndex(i);
    emit controlsChanged();
}

int RuleEditor::focusedRow() const
{
    return rowOf(QApplication::focusWidget());
}

void RuleEditor::moveFocusedRow(int by)
{
    const int row = focusedRow();
    if (row < 0 || !m_editable)
        return;
    QWidget* focus = QApplication::focusWidget();
    moveRow(row, row + by);
    if (focus)
        focus->setFocus();
}

void RuleEditor::contextMenuEvent(QContextMenuEvent* event)
{
    const int row = rowOf(childAt(event->pos()));
    if (row < 0 || !m_editable)
        return;
    QMenu menu(this);
    menu.addAction(QStringLiteral("Add Rule Below"), this, [this, row] { insertRow(row + 1); });
    menu.addAction(QStringLiteral("Remove Rule"), this, [this, row] { removeRow(row); });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Move Rule Up"), this, [this, row] { moveRow(row, row - 1); })
        ->setEnabled(row > 0);
    menu.addAction(QStringLiteral("Move Rule Down"), this, [this, row] { moveRow(row, row + 1); })
        ->setEnabled(row + 1 < m_rows.size());
    menu.exec(event->globalPos());
}

} // namespace qb
