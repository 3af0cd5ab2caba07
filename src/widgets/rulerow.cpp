// SPDX-License-Identifier: GPL-3.0-or-later
#include "rulerow.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

namespace qb {

namespace {

constexpr int childIndexRole = Qt::UserRole + 1;

QString describe(const DisplayValue& value)
{
    switch (value.kind) {
    case DisplayValue::Kind::separator:
        return QStringLiteral("-");
    case DisplayValue::Kind::textField:
        return QStringLiteral("[field]");
    case DisplayValue::Kind::text:
        break;
    }
    return value.text;
}

QToolButton* rowButton(const QString& text, const QString& name, const QString& tip, QWidget* row)
{
    auto* button = new QToolButton(row);
    button->setText(text);
    button->setObjectName(name);
    button->setAccessibleName(tip);
    button->setToolTip(tip);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAutoRaise(true);
    return button;
}

void clearLayout(QHBoxLayout* layout)
{
    while (QLayoutItem* item = layout->takeAt(0)) {
        // The control may be the one whose signal is running now.
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->setParent(nullptr);
            widget->deleteLater();
        }
        delete item;
    }
}

} // namespace

RuleRow::RuleRow(RuleRowHost& host, Criteria criteria, QWidget* parent)
    : QFrame(parent)
    , m_host(host)
    , m_criteria(std::move(criteria))
{
    setObjectName(QStringLiteral("ruleRow"));
    setFrameShape(QFrame::StyledPanel);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 6, 3);
    m_controls = new QHBoxLayout;
    m_controls->setSpacing(6);
    layout->addLayout(m_controls);
    layout->addStretch(1);
    m_addButton = rowButton(QStringLiteral("+"), QStringLiteral("addRowButton"),
                            QStringLiteral("Add a rule below this one"), this);
    m_removeButton = rowButton(QStringLiteral("\u2212"), QStringLiteral("removeRowButton"),
                               QStringLiteral("Remove this rule"), this);
    layout->addWidget(m_addButton);
    layout->addWidget(m_removeButton);
    connect(m_addButton, &QToolButton::clicked, this, [this] { m_host.insertRowAfter(this); });
    connect(m_removeButton, &QToolButton::clicked, this, [this] { m_host.removeRowOf(this); });
    rebuild();
}

RuleRow::Level RuleRow::levelAt(int level) const
{
    RuleEditorDelegate* delegate = m_host.delegate();
    Level result{level == 0 ? nullptr : m_criteria[std::size_t(level - 1)].get(), {}};
    if (!delegate)
        return result;
    const int count = delegate->numberOfChildren(result.parent);
    for (int i = 0; i < count; ++i)
        result.choices.append(delegate->child(i, result.parent));
    return result;
}

QStringList RuleRow::shape() const
{
    RuleEditorDelegate* delegate = m_host.delegate();
    QStringList shape;
    if (!delegate)
        return shape;
    for (int level = 0; level <= int(m_criteria.size()); ++level) {
        if (level == int(m_criteria.size()) && !m_criteria.empty() &&
            delegate->numberOfChildren(m_criteria.back().get()) == 0)
            break;
        QStringList texts;
        for (const CriterionPtr& choice : levelAt(level).choices)
            texts.append(describe(delegate->displayValue(choice.get(), m_index)));
        const QString selected =
            level < int(m_criteria.size())
                ? describe(delegate->displayValue(m_criteria[std::size_t(level)].get(), m_index))
                : QStringLiteral("<none>");
        shape.append(texts.join(QLatin1Char('|')) + QLatin1Char('#') + selected);
    }
    return shape;
}

void RuleRow::setCriteria(Criteria criteria)
{
    const QStringList before = shape();
    m_criteria = std::move(criteria);
    if (shape() == before && !before.isEmpty())
        bindFields();
    else
        rebuild();
}

void RuleRow::rebuild()
{
    // A keyboard user who changed a choice stays at that place in the row.
    int focused = -1;
    for (int i = 0; i < m_controls->count(); ++i)
        if (QWidget* control = m_controls->itemAt(i)->widget(); control && control->hasFocus())
            focused = i;
    rebuildControls();
    if (focused >= 0 && focused < m_controls->count())
        if (QWidget* control = m_controls->itemAt(focused)->widget())
            control->setFocus(Qt::OtherFocusReason);
    m_host.rowControlsChanged();
}

void RuleRow::rebuildControls()
{
    clearLayout(m_controls);
    m_fields.clear();
    RuleEditorDelegate* delegate = m_host.delegate();
    if (!delegate)
        return;
    for (int level = 0; level < int(m_criteria.size()); ++level) {
        const Level choices = levelAt(level);
        const CriterionPtr& chosen = m_criteria[std::size_t(level)];
        const DisplayValue value = delegate->displayValue(chosen.get(), m_index);
        // A saved rule the tree has no place for reads as its sentence.
        const bool unplaced = level == 0 && chosen && !chosen->unfinishedReason().isEmpty();
        if (value.kind == DisplayValue::Kind::textField && value.textField)
            addField(level, value.textField);
        else if (unplaced ||
                 (choices.choices.size() == 1 && value.kind == DisplayValue::Kind::text))
            addLabel(value);
        else
            addPopUp(level, choices, selectedIndex(choices, chosen));
    }
    const int next = int(m_criteria.size());
    const Level rest = levelAt(next);
    if (!rest.choices.isEmpty())
        addPopUp(next, rest, -1);
    QString reason;
    for (const CriterionPtr& criterion : m_criteria)
        if (criterion && reason.isEmpty())
            reason = criterion->unfinishedReason();
    if (!reason.isEmpty())
        addNote(reason);
    markIncomplete(!rest.choices.isEmpty() || !reason.isEmpty(), reason);
    bindFields();
    setEditable(m_host.isEditable());
}

// The chosen node, or failing that one that reads the same: a row kept
// from before a rebuild of the tree holds nodes of the old tree.
int RuleRow::selectedIndex(const Level& level, const CriterionPtr& chosen) const
{
    const auto found = level.choices.indexOf(chosen);
    if (found >= 0 || !chosen)
        return int(found);
    const DisplayValue shown = chosen->displayValue();
    for (int i = 0; i < level.choices.size(); ++i)
        if (level.choices[i] && shown.kind == DisplayValue::Kind::text &&
            level.choices[i]->displayValue().text == shown.text)
            return i;
    return -1;
}

void RuleRow::addPopUp(int level, const Level& choices, int selected)
{
    RuleEditorDelegate* delegate = m_host.delegate();
    auto* popUp = new QComboBox(this);
    RowPart part;
    for (int i = 0; i < choices.choices.size(); ++i) {
        const CriterionPtr& choice = choices.choices[i];
        const DisplayValue value = delegate->displayValue(choice.get(), m_index);
        if (value.kind == DisplayValue::Kind::separator) {
            popUp->insertSeparator(popUp->count());
            continue;
        }
        popUp->addItem(value.text);
        popUp->setItemData(popUp->count() - 1, i, childIndexRole);
        if (part.name.isEmpty() && choice)
            part = choice->rowPart();
        if (i == selected)
            popUp->setCurrentIndex(popUp->count() - 1);
    }
    if (selected < 0) {
        popUp->setCurrentIndex(-1);
        popUp->setPlaceholderText(QStringLiteral("Choose\u2026"));
    }
    popUp->setObjectName(part.name + QStringLiteral("PopUp"));
    const QString current = selected < 0 ? QStringLiteral("none chosen") : popUp->currentText();
    popUp->setAccessibleName(part.label + QStringLiteral(": ") + current);
    // On Linux a popup is read by its current item; what it chooses goes in
    // the description, which screen readers read after it.
    popUp->setAccessibleDescription(part.label);
    popUp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_controls->addWidget(popUp);
    // The choices are asked for again: the criteria may have been replaced
    // by equal ones since the popup was built. A choice counts however it is
    // made, also by an assistive tool or code; building the popup above
    // chose nothing, as it wasn't connected yet.
    connect(popUp, &QComboBox::currentIndexChanged, this, [this, level, popUp](int index) {
        const QVariant child = popUp->itemData(index, childIndexRole);
        if (child.isValid())
            choose(level, levelAt(level).choices.value(child.toInt()));
    });
}

void RuleRow::addField(int level, TextFieldCriterion* criterion)
{
    auto* field = new QLineEdit(this);
    const RowPart part = criterion->rowPart();
    field->setObjectName(part.name);
    field->setAccessibleName(part.label);
    field->setPlaceholderText(criterion->placeholderString().value_or(QString()));
    field->setText(criterion->stringValue());
    field->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('M')) * 8);
    m_controls->addWidget(field);
    m_fields.append({level, field});
}

void RuleRow::addLabel(const DisplayValue& value)
{
    auto* label = new QLabel(value.text, this);
    label->setObjectName(QStringLiteral("ruleLabel"));
    m_controls->addWidget(label);
}

void RuleRow::addNote(const QString& reason)
{
    auto* note = new QLabel(reason, this);
    note->setObjectName(QStringLiteral("unfinishedNote"));
    note->setForegroundRole(QPalette::PlaceholderText);
    QFont italic = note->font();
    italic.setItalic(true);
    note->setFont(italic);
    m_controls->addWidget(note);
}

// A field follows whichever criterion its level holds now, both ways: its
// edits reach the criterion, and another row's edit of a shared criterion
// shows here.
void RuleRow::bindFields()
{
    for (const QMetaObject::Connection& connection : m_fieldConnections)
        disconnect(connection);
    m_fieldConnections.clear();
    for (const auto& [level, field] : m_fields) {
        auto* criterion = dynamic_cast<TextFieldCriterion*>(m_criteria[std::size_t(level)].get());
        if (!criterion)
            continue;
        if (field->text() != criterion->stringValue())
            field->setText(criterion->stringValue());
        m_fieldConnections.append(connect(criterion, &TextFieldCriterion::stringValueChanged, field,
                                          [field](const QString& value) {
                                              if (field->text() != value)
                                                  field->setText(value);
                                          }));
        const std::weak_ptr<Criterion> weak = m_criteria[std::size_t(level)];
        m_fieldConnections.append(
            connect(field, &QLineEdit::editingFinished, criterion, [this, field, weak] {
                // Held for the call: what an edit sets off may rebuild the
                // tree that owns the criterion.
                const CriterionPtr held = weak.lock();
                auto* edited = dynamic_cast<TextFieldCriterion*>(held.get());
                if (!edited || field->text() == edited->stringValue())
                    return;
                field->setText(edited->editorChanged(field->text()));
                // Told once the field's signal has returned: saving the rows
                // rebuilds the tree, and may rebuild this row's controls.
                QMetaObject::invokeMethod(
                    this, [this] { m_host.notifyRowsChanged(); }, Qt::QueuedConnection);
            }));
    }
}

void RuleRow::choose(int level, const CriterionPtr& choice)
{
    if (!choice || (level < int(m_criteria.size()) && m_criteria[std::size_t(level)] == choice))
        return;
    const auto split = m_criteria.begin() + std::min(level, int(m_criteria.size()));
    Criteria prefix(m_criteria.begin(), split);
    prefix.push_back(choice);
    const Criteria previous(split, m_criteria.end());
    setCriteria(m_host.defaultPath(std::move(prefix), previous));
    m_host.notifyRowsChanged();
}

void RuleRow::markIncomplete(bool incomplete, const QString& reason)
{
    m_incomplete = incomplete;
    m_incompleteWhy = reason.isEmpty() ? m_host.incompleteRowToolTip() : reason;
    showState();
}

void RuleRow::setOverruled(const QString& why)
{
    if (why == m_overruled)
        return;
    m_overruled = why;
    showState();
}

// A row that can't act outranks one whose value gives way: red before amber.
void RuleRow::showState()
{
    const QString why = m_incomplete ? m_incompleteWhy : m_overruled;
    const QString colour = m_incomplete ? QStringLiteral("#c62828") : QStringLiteral("#ef6c00");
    setToolTip(why);
    setAccessibleDescription(why);
    setStyleSheet(why.isEmpty() ? QString()
                                : QStringLiteral("QFrame#ruleRow { border: 2px solid %1; "
                                                 "border-radius: 4px; }")
                                      .arg(colour));
    setProperty("incomplete", m_incomplete);
    setProperty("overruled", !m_overruled.isEmpty());
}

void RuleRow::setEditable(bool editable)
{
    for (int i = 0; i < m_controls->count(); ++i)
        if (QWidget* control = m_controls->itemAt(i)->widget())
            control->setEnabled(editable);
    m_addButton->setVisible(editable);
    m_removeButton->setVisible(editable);
}

void RuleRow::setIndex(int index)
{
    m_index = index;
    setAccessibleName(QStringLiteral("Rule %1").arg(index + 1));
}

} // namespace qb
