// SPDX-License-Identifier: GPL-3.0-or-later
#include "conversionmodes.h"

#include "rules/destinationtable.h"

namespace qb {

namespace {

// A field named for screen readers by its placeholder, or by `label` when
// it has none.
std::shared_ptr<TextFieldCriterion> textField(QString value, std::optional<QString> placeholder,
                                              Criteria children, const QString& partName,
                                              NotificationCenter* center, const QString& label = {})
{
    RowPart part{partName, placeholder.value_or(label)};
    return std::make_shared<TextFieldCriterion>(std::move(value), std::move(placeholder),
                                                std::move(children), std::move(part), center);
}

std::shared_ptr<StringCriterion> label(const char* text, Criteria children)
{
    return std::make_shared<StringCriterion>(QString::fromUtf8(text), std::move(children));
}

template <typename T>
const T* as(const ValueMapper& mapper)
{
    return dynamic_cast<const T*>(&mapper);
}

} // namespace

SourceTagCriterion::SourceTagCriterion(QString name, NotificationCenter* center)
    : StringCriterion(std::move(name), makeConversionModes(center),
                      {QStringLiteral("sourceColumn"), QStringLiteral("Source column")})
{
}

QString SourceTagCriterion::description() const
{
    return QStringLiteral("SourceTagCriterion(") + name + QLatin1Char(')');
}

ConversionModeCriterion::ConversionModeCriterion(QString displayName)
    : m_displayName(std::move(displayName))
{
}

QString ConversionModeCriterion::description() const
{
    return QStringLiteral("ConversionModeCriterion(") + m_displayName + QLatin1Char(')');
}

Criteria ConversionModeCriterion::rowCriteria(const QString& tagName) const
{
    Criteria row = innerNodes();
    const Criteria& last = row.empty() ? children() : row.back()->children();
    if (ExifTagCriterionPtr tag = findDestination(last, tagName))
        row.push_back(tag);
    return row;
}

DefaultValueMapper::DefaultValueMapper()
    : ConversionModeCriterion(QStringLiteral("use source value"))
    , m_children(destinationsFor(std::nullopt))
{
}

ArrayMapperCriterion::ArrayMapperCriterion(NotificationCenter* center)
    : ConversionModeCriterion(QStringLiteral("convert to an array"))
    , textField(qb::textField(QStringLiteral(", "), std::nullopt,
                              destinationsFor(MapperType::array), QStringLiteral("delimiterField"),
                              center, QStringLiteral("Delimiter")))
    , delimiterLabel(label("with delimiter", {textField}))
    , m_children{delimiterLabel}
{
}

std::shared_ptr<const ValueMapper> ArrayMapperCriterion::mapper(const Criteria&) const
{
    return std::make_shared<ArrayMapper>(textField->stringValue());
}

void ArrayMapperCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* array = as<ArrayMapper>(mapper))
        textField->setStringValue(array->delimiter);
}

StringCaseCriterion::TransformationCriterion::TransformationCriterion(Transformation transformation)
    : transformation(transformation)
    , m_children(destinationsFor(MapperType::stringCase))
{
}

DisplayValue StringCaseCriterion::TransformationCriterion::displayValue() const
{
    const StringCaseMapper capitalize(Transformation::capitalize);
    return DisplayValue::ofText(
        capitalize.mapString(StringCaseMapper::rawValue(transformation)).toString());
}

QString StringCaseCriterion::TransformationCriterion::description() const
{
    return QStringLiteral("TransformationCriterion(") + StringCaseMapper::rawValue(transformation) +
           QLatin1Char(')');
}

StringCaseCriterion::StringCaseCriterion()
    : ConversionModeCriterion(QStringLiteral("modify string case"))
{
    for (Transformation each : StringCaseMapper::allTransformations)
        m_children.push_back(std::make_shared<TransformationCriterion>(each));
}

std::shared_ptr<const ValueMapper> StringCaseCriterion::mapper(const Criteria& row) const
{
    const auto chosen = firstOf<TransformationCriterion>(row);
    if (!chosen)
        return nullptr;
    return std::make_shared<StringCaseMapper>(chosen->transformation);
}

void StringCaseCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* stringCase = as<StringCaseMapper>(mapper))
        transformation = stringCase->transformation;
}

Criteria StringCaseCriterion::innerNodes() const
{
    for (const CriterionPtr& child : m_children)
        if (static_cast<const TransformationCriterion&>(*child).transformation == transformation)
            return {child};
    return {};
}

StringMapperCriterion::StringMapperCriterion()
    : ConversionModeCriterion(QStringLiteral("convert to a string"))
    , m_children(destinationsFor(MapperType::string))
{
}

std::shared_ptr<const ValueMapper> StringMapperCriterion::mapper(const Criteria&) const
{
    return std::make_shared<StringMapper>();
}

StringReplacementCriterion::StringReplacementCriterion(NotificationCenter* center)
    : ConversionModeCriterion(QStringLiteral("replace occurences"))
    , replacementCriterion(textField({}, QStringLiteral("Replacement"),
                                     destinationsFor(MapperType::stringReplacement),
                                     QStringLiteral("replacementField"), center))
    , withCriterion(label("with", {replacementCriterion}))
    , targetCriterion(textField({}, QStringLiteral("Target"), {withCriterion},
                                QStringLiteral("targetField"), center))
    , ofCriterion(label("of", {targetCriterion}))
    , m_children{ofCriterion}
{
}

std::shared_ptr<const ValueMapper> StringReplacementCriterion::mapper(const Criteria&) const
{
    return std::make_shared<StringReplacementMapper>(targetCriterion->stringValue(),
                                                     replacementCriterion->stringValue(), false);
}

void StringReplacementCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* replacement = as<StringReplacementMapper>(mapper)) {
        targetCriterion->setStringValue(replacement->target);
        replacementCriterion->setStringValue(replacement->replacement);
    }
}

DateMapperCriterion::DateMapperCriterion(NotificationCenter* center)
    : ConversionModeCriterion(QStringLiteral("convert to date"))
    , formatCriterion(textField({}, QStringLiteral("Date Format"),
                                destinationsFor(MapperType::date),
                                QStringLiteral("dateFormatField"), center))
    , m_children{formatCriterion}
{
}

std::shared_ptr<const ValueMapper> DateMapperCriterion::mapper(const Criteria&) const
{
    return std::make_shared<DateMapper>(formatCriterion->stringValue());
}

void DateMapperCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* date = as<DateMapper>(mapper))
        formatCriterion->setStringValue(date->format);
}

BooleanCriterion::BooleanCriterion()
    : ConversionModeCriterion(QStringLiteral("convert to a boolean"))
    , m_children(destinationsFor(MapperType::boolean))
{
}

std::shared_ptr<const ValueMapper> BooleanCriterion::mapper(const Criteria&) const
{
    return std::make_shared<BooleanMapper>();
}

BooleanValueCriterion::BooleanValueCriterion(NotificationCenter* center)
    : ConversionModeCriterion(QStringLiteral("map true and false"))
    , falseCriterion(textField({}, QStringLiteral("False Value"),
                               destinationsFor(MapperType::booleanValue),
                               QStringLiteral("falseValueField"), center))
    , ifFalseCriterion(label("if false", {falseCriterion}))
    , trueCriterion(textField({}, QStringLiteral("True Value"), {ifFalseCriterion},
                              QStringLiteral("trueValueField"), center))
    , ifTrueCriterion(label("if true", {trueCriterion}))
    , m_children{ifTrueCriterion}
{
}

std::shared_ptr<const ValueMapper> BooleanValueCriterion::mapper(const Criteria&) const
{
    return std::make_shared<BooleanValueMapper>(trueCriterion->stringValue(),
                                                falseCriterion->stringValue());
}

void BooleanValueCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* values = as<BooleanValueMapper>(mapper)) {
        trueCriterion->setStringValue(values->trueValue);
        falseCriterion->setStringValue(values->falseValue);
    }
}

DateComparisonMapperCriterion::UnitCriterion::UnitCriterion(DateComparison::Component unit,
                                                            Criteria children)
    : unit(unit)
    , m_children(std::move(children))
{
}

DisplayValue DateComparisonMapperCriterion::UnitCriterion::displayValue() const
{
    return DisplayValue::ofText(DateComparison::rawValue(unit));
}

QString DateComparisonMapperCriterion::UnitCriterion::description() const
{
    return QStringLiteral("UnitCriterion(") + DateComparison::rawValue(unit) + QLatin1Char(')');
}

DateComparisonMapperCriterion::TypeCriterion::TypeCriterion(DateComparison::Type type,
                                                            Criteria children)
    : type(type)
    , m_children(std::move(children))
{
}

DisplayValue DateComparisonMapperCriterion::TypeCriterion::displayValue() const
{
    return DisplayValue::ofText(DateComparison::rawValue(type));
}

QString DateComparisonMapperCriterion::TypeCriterion::description() const
{
    return QStringLiteral("TypeCriterion(") + DateComparison::rawValue(type) + QLatin1Char(')');
}

namespace {

Criteria unitCriteria()
{
    using Unit = DateComparison::Component;
    Criteria units;
    for (Unit unit : {Unit::minute, Unit::hour, Unit::day, Unit::month, Unit::year})
        units.push_back(std::make_shared<DateComparisonMapperCriterion::UnitCriterion>(
            unit, destinationsFor(MapperType::dateComparison)));
    return units;
}

} // namespace

DateComparisonMapperCriterion::DateComparisonMapperCriterion(NotificationCenter* center)
    : ConversionModeCriterion(QStringLiteral("compare dates"))
    , intervalCriterion(textField({}, QStringLiteral("Interval"), unitCriteria(),
                                  QStringLiteral("intervalField"), center))
{
    using Type = DateComparison::Type;
    for (Type type : {Type::isInTheLast, Type::isInTheNext})
        m_children.push_back(std::make_shared<TypeCriterion>(type, Criteria{intervalCriterion}));
}

std::shared_ptr<const ValueMapper> DateComparisonMapperCriterion::mapper(const Criteria&) const
{
    bool isNumber = false;
    const qint64 interval = intervalCriterion->stringValue().toLongLong(&isNumber, 10);
    return std::make_shared<DateComparisonMapper>(
        DateComparison{comparisonType, isNumber ? interval : 0, comparisonUnit});
}

void DateComparisonMapperCriterion::setParameters(const ValueMapper& mapper)
{
    if (const auto* comparison = as<DateComparisonMapper>(mapper)) {
        comparisonType = comparison->comparison.type;
        comparisonUnit = comparison->comparison.unit;
        intervalCriterion->setStringValue(QString::number(comparison->comparison.interval));
    }
}

Criteria DateComparisonMapperCriterion::innerNodes() const
{
    // The type and the unit are found by the text they show.
    Criteria row;
    const QString typeText = DateComparison::rawValue(comparisonType);
    for (const CriterionPtr& child : m_children)
        if (child->displayValue().text == typeText)
            row.push_back(child);
    row.push_back(intervalCriterion);
    const QString unitText = DateComparison::rawValue(comparisonUnit);
    for (const CriterionPtr& unit : intervalCriterion->children())
        if (unit->displayValue().text == unitText)
            row.push_back(unit);
    return row;
}

Criteria makeConversionModes(NotificationCenter* center)
{
    return {std::make_shared<DefaultValueMapper>(),
            std::make_shared<ArrayMapperCriterion>(center),
            std::make_shared<StringCaseCriterion>(),
            std::make_shared<StringMapperCriterion>(),
            std::make_shared<StringReplacementCriterion>(center),
            std::make_shared<DateMapperCriterion>(center)};
}

} // namespace qb
