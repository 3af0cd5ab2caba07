// SPDX-License-Identifier: GPL-3.0-or-later
#include "controlbindings.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>

namespace qb {

namespace {

void fillChoices(QComboBox& box, const QStringList& items, const QVariant& value)
{
    box.clear();
    box.addItems(items);
    const int index = value.isValid() ? box.findText(value.toString()) : -1;
    box.setCurrentIndex(index);
    if (box.isEditable() && index < 0)
        box.setEditText(value.toString());
}

} // namespace

ControlBinding::ControlBinding(QWidget* source, QObject* destination, QByteArray property)
    : QObject(source)
    , m_source(source)
    , m_destination(destination)
    , m_property(std::move(property))
{
}

QVariant ControlBinding::modelValue() const
{
    return m_destination ? m_destination->property(m_property.constData()) : QVariant();
}

void ControlBinding::write(const QVariant& value)
{
    if (!m_destination)
        return;
    m_destination->setProperty(m_property.constData(), value);
    if (const auto* bindable = dynamic_cast<const Bindable*>(m_destination.data()))
        if (BindableDelegate* delegate = bindable->bindableDelegate())
            delegate->bindingDidWrite(m_destination, m_property);
}

CheckboxBinding::CheckboxBinding(QAbstractButton* source, QObject* destination, QByteArray property)
    : ControlBinding(source, destination, std::move(property))
{
    source->setChecked(modelValue().toBool());
    // Any change counts, not a click alone: a screen reader toggles the box
    // through its accessibility action, which clicks nothing.
    connect(source, &QAbstractButton::toggled, this, [this](bool checked) {
        // A tri-state box reports "partly" as checked too.
        write(checked);
    });
}

PopUpBinding::PopUpBinding(QComboBox* source, QObject* destination, QByteArray property,
                           const QStringList& items, bool firstItemIsNil)
    : ControlBinding(source, destination, std::move(property))
    , firstItemIsNil(firstItemIsNil)
{
    fillChoices(*source, items, modelValue());
    connect(source, &QComboBox::currentIndexChanged, this, [this](int index) {
        auto* box = qobject_cast<QComboBox*>(m_source);
        if (!box || index < 0)
            return;
        write(this->firstItemIsNil && index == 0 ? QVariant() : QVariant(box->itemText(index)));
    });
}

ComboBoxBinding::ComboBoxBinding(QComboBox* source, QObject* destination, QByteArray property,
                                 const QStringList& items, bool firstItemIsNil)
    : ControlBinding(source, destination, std::move(property))
    , firstItemIsNil(firstItemIsNil)
{
    fillChoices(*source, items, modelValue());
    const auto changed = [this] {
        auto* box = qobject_cast<QComboBox*>(m_source);
        if (!box)
            return;
        const bool nil = this->firstItemIsNil && box->currentIndex() == 0 &&
                         box->currentText() == box->itemText(0);
        write(nil ? QVariant() : QVariant(box->currentText()));
    };
    connect(source, &QComboBox::currentIndexChanged, this, changed);
    if (QLineEdit* edit = source->lineEdit())
        connect(edit, &QLineEdit::editingFinished, this, changed);
}

TextBinding::TextBinding(QLineEdit* source, QObject* destination, QByteArray property)
    : ControlBinding(source, destination, std::move(property))
{
    source->setText(modelValue().toString());
    connect(source, &QLineEdit::editingFinished, this, [this] {
        if (auto* field = qobject_cast<QLineEdit*>(m_source))
            write(field->text());
    });
}

FormattedTextBinding::FormattedTextBinding(QLineEdit* source, QObject* destination,
                                           QByteArray property, Formatter formatter)
    : ControlBinding(source, destination, std::move(property))
    , m_formatter(std::move(formatter))
{
    source->setText(modelValue().toString());
    connect(source, &QLineEdit::editingFinished, this, [this] {
        auto* field = qobject_cast<QLineEdit*>(m_source);
        if (!field || !m_formatter)
            return;
        if (const std::optional<QVariant> value = m_formatter(field->text(), field->validator()))
            write(*value);
    });
}

} // namespace qb
