// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <optional>

class QAbstractButton;
class QComboBox;
class QLineEdit;
class QValidator;
class QWidget;

namespace qb {

// Told after a binding has written to the model.
class BindableDelegate {
public:
    virtual ~BindableDelegate() = default;
    virtual void bindingDidWrite(QObject* model, const QByteArray& property) = 0;
};

// A model that wants to hear of the writes of its bindings.
class Bindable {
public:
    virtual ~Bindable() = default;
    virtual BindableDelegate* bindableDelegate() const = 0;
};

// Ties a control to a property of a model object, named as a Qt property.
// The control is set from the property once; from then on each change of
// the control is written to the model, however it is made: by mouse,
// keyboard, an assistive tool's action or code. Both ends are held weakly: when
// either has gone, the step that needs it is skipped. A binding lives as
// long as its control. An absent text is written as an invalid QVariant.
class ControlBinding : public QObject {
    Q_OBJECT

public:
    QWidget* source() const { return m_source; }
    QObject* destination() const { return m_destination; }
    const QByteArray& property() const { return m_property; }

protected:
    ControlBinding(QWidget* source, QObject* destination, QByteArray property);
    QVariant modelValue() const;
    void write(const QVariant& value);

    QPointer<QWidget> m_source;
    QPointer<QObject> m_destination;
    QByteArray m_property;
};

class CheckboxBinding final : public ControlBinding {
    Q_OBJECT
public:
    // A partly checked box counts as on.
    CheckboxBinding(QAbstractButton* source, QObject* destination, QByteArray property);
};

// Items to choose from; with `firstItemIsNil` the first item stands for no
// value. The popup writes the chosen item's title, the editable combo box
// its text.
class PopUpBinding final : public ControlBinding {
    Q_OBJECT
public:
    PopUpBinding(QComboBox* source, QObject* destination, QByteArray property,
                 const QStringList& items, bool firstItemIsNil);
    const bool firstItemIsNil;
};

class ComboBoxBinding final : public ControlBinding {
    Q_OBJECT
public:
    ComboBoxBinding(QComboBox* source, QObject* destination, QByteArray property,
                    const QStringList& items, bool firstItemIsNil);
    const bool firstItemIsNil;
};

class TextBinding final : public ControlBinding {
    Q_OBJECT
public:
    TextBinding(QLineEdit* source, QObject* destination, QByteArray property);
};

// The field's text goes through `formatter` with the field's validator; a
// text it refuses (none) is not written and the delegate isn't told.
class FormattedTextBinding final : public ControlBinding {
    Q_OBJECT
public:
    using Formatter = std::function<std::optional<QVariant>(const std::optional<QString>& text,
                                                            const QValidator* validator)>;
    FormattedTextBinding(QLineEdit* source, QObject* destination, QByteArray property,
                         Formatter formatter);

private:
    Formatter m_formatter;
};

} // namespace qb
