// SPDX-License-Identifier: GPL-3.0-or-later
#include "criterion.h"

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
    // Posted for the next turn of the event loop, never sent: an observer
    // that saves the rows rebuilds the tree, and with it this criterion,
    // which must not go while its field's signal is still running.
    if (m_center)
        QMetaObject::invokeMethod(
            m_center.data(),
            [center = m_center] {
                if (center)
                    center->post(ruleTextChangeNotification, nullptr);
            },
            Qt::QueuedConnection);
    return m_stringValue;
}

} // namespace qb
