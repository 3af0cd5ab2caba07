// SPDX-License-Identifier: GPL-3.0-or-later
#include "guiapplication.h"

#include "widgets/controlbindings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>

#include <gtest/gtest.h>

#include <functional>

using namespace qb;

namespace {

// A model with plain dynamic properties that counts what its delegate hears.
class Model final : public QObject, public Bindable, public BindableDelegate {
public:
    BindableDelegate* bindableDelegate() const override { return const_cast<Model*>(this); }
    void bindingDidWrite(QObject*, const QByteArray& property) override { told << property; }
    QList<QByteArray> told;
};

struct BindingCase {
    const char* name;
    QVariant initial;
    // Makes the control and its binding, then changes the control.
    std::function<QWidget*(Model&)> bind;
    std::function<void(QWidget*)> act;
    QVariant expected; // invalid: the model holds no value
    bool delegateTold;
};

QComboBox* combo(bool editable)
{
    auto* box = new QComboBox;
    box->setEditable(editable);
    return box;
}

// A change of the current item is a choice, however it is made.
void choose(QWidget* widget, int index)
{
    static_cast<QComboBox*>(widget)->setCurrentIndex(index);
}

const QStringList items = {"(none)", "a", "b"};

const std::optional<QVariant> asNumber(const std::optional<QString>& text, const QValidator*)
{
    bool ok = false;
    const int value = text.value_or(QString()).toInt(&ok);
    return ok ? std::optional<QVariant>(value) : std::nullopt;
}

std::vector<BindingCase> cases()
{
    return {
        {"checkbox_partly_checked_is_on", false,
         [](Model& m) {
             auto* box = new QCheckBox;
             box->setTristate(true);
             new CheckboxBinding(box, &m, "value");
             return box;
         },
         [](QWidget* w) { static_cast<QCheckBox*>(w)->setCheckState(Qt::PartiallyChecked); }, true,
         true},
        {"popup_first_item_is_nil", "b",
         [](Model& m) {
             QComboBox* box = combo(false);
             new PopUpBinding(box, &m, "value", items, true);
             EXPECT_EQ(box->currentText(), "b");
             return box;
         },
         [](QWidget* w) { choose(w, 0); }, QVariant(), true},
        {"popup_title", QVariant(),
         [](Model& m) {
             QComboBox* box = combo(false);
             new PopUpBinding(box, &m, "value", items, true);
             return box;
         },
         [](QWidget* w) { choose(w, 1); }, "a", true},
        {"combo_first_item_is_nil", "a",
         [](Model& m) {
             QComboBox* box = combo(true);
             new ComboBoxBinding(box, &m, "value", items, true);
             return box;
         },
         [](QWidget* w) { choose(w, 0); }, QVariant(), true},
        {"combo_typed_text", QVariant(),
         [](Model& m) {
             QComboBox* box = combo(true);
             new ComboBoxBinding(box, &m, "value", items, true);
             return box;
         },
         [](QWidget* w) {
             auto* box = static_cast<QComboBox*>(w);
             box->setEditText("typed");
             emit box->lineEdit()->editingFinished();
         },
         "typed", true},
        {"text", "old",
         [](Model& m) {
             auto* field = new QLineEdit;
             new TextBinding(field, &m, "value");
             EXPECT_EQ(field->text(), "old");
             return field;
         },
         [](QWidget* w) {
             static_cast<QLineEdit*>(w)->setText("new");
             emit static_cast<QLineEdit*>(w)->editingFinished();
         },
         "new", true},
        {"formatted_rejected_leaves_model", 7,
         [](Model& m) {
             auto* field = new QLineEdit;
             new FormattedTextBinding(field, &m, "value", asNumber);
             return field;
         },
         [](QWidget* w) {
             static_cast<QLineEdit*>(w)->setText("seven");
             emit static_cast<QLineEdit*>(w)->editingFinished();
         },
         7, false},
        {"formatted_accepted", 7,
         [](Model& m) {
             auto* field = new QLineEdit;
             new FormattedTextBinding(field, &m, "value", asNumber);
             return field;
         },
         [](QWidget* w) {
             static_cast<QLineEdit*>(w)->setText("42");
             emit static_cast<QLineEdit*>(w)->editingFinished();
         },
         42, true},
    };
}

TEST(ControlBindings, ControlChangesReachTheModel)
{
    qb::testing::ensureGuiApplication();
    for (const BindingCase& c : cases()) {
        SCOPED_TRACE(c.name);
        Model model;
        model.setProperty("value", c.initial);
        std::unique_ptr<QWidget> control(c.bind(model));
        c.act(control.get());
        EXPECT_EQ(model.property("value"), c.expected);
        EXPECT_EQ(model.told, c.delegateTold ? QList<QByteArray>{"value"} : QList<QByteArray>{});
    }
}

TEST(ControlBindings, AGoneModelIsSkipped)
{
    qb::testing::ensureGuiApplication();
    QLineEdit field;
    {
        Model model;
        new TextBinding(&field, &model, "value");
    }
    field.setText("after");
    emit field.editingFinished(); // must not touch the deleted model
    SUCCEED();
}

} // namespace
