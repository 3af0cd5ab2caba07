// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "rules/criterion.h"

#include "mapping/valuemappers.h"

namespace qb {

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

// One column of the data source, the start of every row. It owns the six
// conversion modes, and with them one text field per mode: two rows of the
// same column and mode share their texts, the last edit winning.
class SourceTagCriterion final : public StringCriterion {
public:
    // `center` receives the rule text change of the column's text fields.
    SourceTagCriterion(QString name, NotificationCenter* center);
    QString description() const override;
};

// "use source value": no mapper, and every destination.
class DefaultValueMapper final : public ConversionModeCriterion {
public:
    DefaultValueMapper();
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return std::nullopt; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria&) const override { return nullptr; }

private:
    Criteria m_children;
};

// "convert to an array" with delimiter [, ]: only list destinations.
class ArrayMapperCriterion final : public ConversionModeCriterion {
public:
    explicit ArrayMapperCriterion(NotificationCenter* center);
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::array; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria& row) const override;
    void setParameters(const ValueMapper& mapper) override;

    const std::shared_ptr<TextFieldCriterion> textField;
    const std::shared_ptr<StringCriterion> delimiterLabel;

protected:
    Criteria innerNodes() const override { return {delimiterLabel, textField}; }

private:
    Criteria m_children;
};

// "modify string case" [Capitalize | Lowercase | Uppercase].
class StringCaseCriterion final : public ConversionModeCriterion {
public:
    using Transformation = StringCaseMapper::Transformation;

    class TransformationCriterion final : public Criterion {
    public:
        explicit TransformationCriterion(Transformation transformation);
        const Criteria& children() const override { return m_children; }
        // The case's name capitalised for the user's locale: "Uppercase".
        DisplayValue displayValue() const override;
        RowPart rowPart() const override
        {
            return {QStringLiteral("stringCase"), QStringLiteral("Case")};
        }
        QString description() const override;

        const Transformation transformation;

    private:
        Criteria m_children;
    };

    StringCaseCriterion();
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::stringCase; }
    // Goes by the first case in the row, not by `transformation`.
    std::shared_ptr<const ValueMapper> mapper(const Criteria& row) const override;
    void setParameters(const ValueMapper& mapper) override;

    Transformation transformation = Transformation::capitalize;

protected:
    Criteria innerNodes() const override;

private:
    Criteria m_children;
};

// "convert to a string".
class StringMapperCriterion final : public ConversionModeCriterion {
public:
    StringMapperCriterion();
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::string; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria&) const override;

private:
    Criteria m_children;
};

// "replace occurences" of [Target] with [Replacement]. Always literal: a
// row has no way to ask for a regular expression.
class StringReplacementCriterion final : public ConversionModeCriterion {
public:
    explicit StringReplacementCriterion(NotificationCenter* center);
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::stringReplacement; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria& row) const override;
    void setParameters(const ValueMapper& mapper) override;

    const std::shared_ptr<TextFieldCriterion> replacementCriterion;
    const std::shared_ptr<StringCriterion> withCriterion;
    const std::shared_ptr<TextFieldCriterion> targetCriterion;
    const std::shared_ptr<StringCriterion> ofCriterion;

protected:
    Criteria innerNodes() const override
    {
        return {ofCriterion, targetCriterion, withCriterion, replacementCriterion};
    }

private:
    Criteria m_children;
};

// "convert to date" [Date Format].
class DateMapperCriterion final : public ConversionModeCriterion {
public:
    explicit DateMapperCriterion(NotificationCenter* center);
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::date; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria& row) const override;
    void setParameters(const ValueMapper& mapper) override;

    const std::shared_ptr<TextFieldCriterion> formatCriterion;

protected:
    Criteria innerNodes() const override { return {formatCriterion}; }

private:
    Criteria m_children;
};

// The three modes below build mappers the tree never offers. They are kept
// with their row forms, ready to be offered.

class BooleanCriterion final : public ConversionModeCriterion {
public:
    BooleanCriterion();
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::boolean; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria&) const override;

private:
    Criteria m_children;
};

class BooleanValueCriterion final : public ConversionModeCriterion {
public:
    explicit BooleanValueCriterion(NotificationCenter* center);
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::booleanValue; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria&) const override;
    void setParameters(const ValueMapper& mapper) override;

    const std::shared_ptr<TextFieldCriterion> falseCriterion;
    const std::shared_ptr<StringCriterion> ifFalseCriterion;
    const std::shared_ptr<TextFieldCriterion> trueCriterion;
    const std::shared_ptr<StringCriterion> ifTrueCriterion;

protected:
    Criteria innerNodes() const override
    {
        return {ifTrueCriterion, trueCriterion, ifFalseCriterion, falseCriterion};
    }

private:
    Criteria m_children;
};

class DateComparisonMapperCriterion final : public ConversionModeCriterion {
public:
    class UnitCriterion final : public Criterion {
    public:
        UnitCriterion(DateComparison::Component unit, Criteria children);
        const Criteria& children() const override { return m_children; }
        DisplayValue displayValue() const override;
        RowPart rowPart() const override
        {
            return {QStringLiteral("unit"), QStringLiteral("Unit")};
        }
        QString description() const override;

        const DateComparison::Component unit;

    private:
        Criteria m_children;
    };

    class TypeCriterion final : public Criterion {
    public:
        TypeCriterion(DateComparison::Type type, Criteria children);
        const Criteria& children() const override { return m_children; }
        DisplayValue displayValue() const override;
        RowPart rowPart() const override
        {
            return {QStringLiteral("comparison"), QStringLiteral("Comparison")};
        }
        QString description() const override;

        const DateComparison::Type type;

    private:
        Criteria m_children;
    };

    explicit DateComparisonMapperCriterion(NotificationCenter* center);
    const Criteria& children() const override { return m_children; }
    std::optional<MapperType> mapperType() const override { return MapperType::dateComparison; }
    std::shared_ptr<const ValueMapper> mapper(const Criteria&) const override;
    void setParameters(const ValueMapper& mapper) override;

    DateComparison::Type comparisonType = DateComparison::Type::isInTheLast;
    DateComparison::Component comparisonUnit = DateComparison::Component::day;
    const std::shared_ptr<TextFieldCriterion> intervalCriterion;

protected:
    Criteria innerNodes() const override;

private:
    Criteria m_children;
};

// The six modes every source column offers, in popup order.
Criteria makeConversionModes(NotificationCenter* center);

} // namespace qb
