// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "kit/valuemapperchain.h"

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

// One column of the data source, the start of every row. It owns the six
// conversion modes, and with them one text field per mode: two rows of the
// same column and mode share their texts, the last edit winning.
class SourceTagCriterion final : public StringCriterion {
public:
    // `center` receives the rule text change of the column's text fields.
    SourceTagCriterion(QString name, NotificationCenter* center);
    QString description() const override;
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
    // delimiter can't become empty. Posts the rule text change. Returns the
    // text the field shows from now on.
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

// A way to treat the source value: the second popup of a row.
class ConversionModeCriterion : public Criterion {
public:
    explicit ConversionModeCriterion(QString displayName);

    DisplayValue displayValue() const override { return DisplayValue::ofText(m_displayName); }
    RowPart rowPart() const override { return {QStringLiteral("mode"), QStringLiteral("Mode")}; }
    QString description() const override;
    const QString& sortingKey() const { return m_displayName; }

    // The mapper type this mode builds, none for "use source value". It also
    // chooses which destinations the mode offers.
    virtual std::optional<MapperType> mapperType() const = 0;
    // The mapper for a row made of `row`, or none.
    virtual std::shared_ptr<const ValueMapper> mapper(const Criteria& row) const = 0;
    // Takes the parameters of a stored mapper into this node's fields. The
    // mapper is of this mode's type.
    virtual void setParameters(const ValueMapper&) {}

    // What follows this node in a row that ends at `tagName`: the inner
    // nodes, then the destination, which is left out when this mode doesn't
    // offer it. That is how a stored mapping finds its way back to a row.
    Criteria rowCriteria(const QString& tagName) const;

protected:
    // The nodes between this one and the destination, in row order.
    virtual Criteria innerNodes() const { return {}; }

private:
    QString m_displayName;
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
