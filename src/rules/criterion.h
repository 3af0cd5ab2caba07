// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/valuemapperchain.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace qb {

class Criterion;
class NotificationCenter;
class TextFieldCriterion;

using CriterionPtr = std::shared_ptr<Criterion>;
using Criteria = std::vector<CriterionPtr>;
// The type of a value mapper, as documents name it.
using MapperType = MappingContainer::Unassociated;

// What a rule row shows for one criterion. Only the widget turns it into a
// control: a popup entry, a separator, or a text field that edits the
// criterion it stands for.
struct DisplayValue {
    enum class Kind { text, separator, textField };

    static DisplayValue ofText(QString text) { return {Kind::text, std::move(text), nullptr}; }
    static DisplayValue separator() { return {Kind::separator, {}, nullptr}; }
    static DisplayValue field(TextFieldCriterion* criterion)
    {
        return {Kind::textField, {}, criterion};
    }

    Kind kind = Kind::text;
    QString text;
    QPointer<TextFieldCriterion> textField;
};

// Which part of a sentence a criterion is, so that a control can be named
// for tests ("modePopUp") and for screen readers ("Mode: convert to date").
struct RowPart {
    QString name;
    QString label;
};

// A node of the tree behind the rule editor. A row is a path from a source
// column down to a destination tag.
class Criterion {
public:
    virtual ~Criterion() = default;
    virtual const Criteria& children() const = 0;
    virtual DisplayValue displayValue() const = 0;
    virtual RowPart rowPart() const = 0;
    // For the log: the class and what the node shows.
    virtual QString description() const = 0;
    // Why a row that holds this node can't act as it stands, for the user;
    // empty when it can.
    virtual QString unfinishedReason() const { return {}; }
};

// A fixed word of the sentence, or a popup entry.
class StringCriterion : public Criterion {
public:
    explicit StringCriterion(QString name, Criteria children = {},
                             RowPart part = {QStringLiteral("label"), {}});
    const Criteria& children() const override { return m_children; }
    DisplayValue displayValue() const override { return DisplayValue::ofText(name); }
    RowPart rowPart() const override { return m_part; }
    QString description() const override;

    const QString name;

private:
    Criteria m_children;
    RowPart m_part;
};

// Text the user types into a row: a delimiter, a format, a target. The
// field shown for it is no more than a view on `stringValue`.
class TextFieldCriterion final : public QObject, public Criterion {
    Q_OBJECT

public:
    TextFieldCriterion(QString stringValue, std::optional<QString> placeholder, Criteria children,
                       RowPart part, NotificationCenter* center);

    const Criteria& children() const override { return m_children; }
    DisplayValue displayValue() const override
    {
        return DisplayValue::field(const_cast<TextFieldCriterion*>(this));
    }
    RowPart rowPart() const override { return m_part; }
    QString description() const override;

    const QString& stringValue() const { return m_stringValue; }
    void setStringValue(const QString& value);
    const std::optional<QString>& placeholderString() const { return m_placeholder; }

    // The user has finished editing a field of this criterion. An emptied
    // field doesn't empty the value: a text that has had one keeps it, so a
    // delimiter can't become empty. Posts the rule text change once the
    // caller has returned to the event loop. Returns the text the field
    // shows from now on.
    QString editorChanged(const QString& fieldText);

signals:
    void stringValueChanged(const QString& value);

private:
    QString m_stringValue;
    std::optional<QString> m_placeholder;
    Criteria m_children;
    RowPart m_part;
    QPointer<NotificationCenter> m_center;
};

// The first criterion in `row` of type T, or null.
template <typename T>
std::shared_ptr<T> firstOf(const Criteria& row)
{
    for (const CriterionPtr& criterion : row)
        if (auto found = std::dynamic_pointer_cast<T>(criterion))
            return found;
    return nullptr;
}

} // namespace qb
