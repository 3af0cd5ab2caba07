// SPDX-License-Identifier: GPL-3.0-or-later
#include "criterion.h"

#include "rules/conversionmodes.h"
#include "rules/destinationtable.h"

#include "extensions/notificationcenter.h"

namespace qb {

StringCriterion::StringCriterion(QString name, Criteria children, RowPart part)
    : name(std::move(name))
    , m_children(std::move(children))
    , m_part(std::move(part))
{
}

QString StringCriterion::description() const
{
    return QStringLiteral("StringCriterion(") + name + QLatin1Char(')');
}

SourceTagCriterion::SourceTagCriterion(QString name, NotificationCenter* center)
    : StringCriterion(std::move(name), makeConversionModes(center),
                      {QStringLiteral("sourceColumn"), QStringLiteral("Source column")})
{
}

QString SourceTagCriterion::description() const
{
    return QStringLiteral("SourceTagCriterion(") + name + QLatin1Char(')');
}

TextFieldCriterion::TextFieldCriterion(QString stringValue, std::optional<QString> placeholder,
                                       Criteria children, RowPart part, NotificationCenter* center)
    : m_stringValue(std::move(stringValue))
    , m_placeholder(std::move(placeholder))
    , m_children(std::move(children))
    , m_part(std::move(part))
    , m_center(center)
{
}

QString TextFieldCriterion::description() const
{
    return QStringLiteral("TextFieldCriterion(") + m_stringValue + QLatin1Char(')');
}

void TextFieldCriterion::setStringValue(const QString& value)
{
    if (value == m_stringValue)
        return;
    m_stringValue = value;
    emit stringValueChanged(value);
}

QString TextFieldCriterion::editorChanged(const QString& fieldText)
{
    if (!fieldText.isEmpty())
        setStringValue(fieldText);
    if (m_center)
        m_center->post(ruleTextChangeNotification, nullptr);
    return m_stringValue;
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

} // namespace qb
