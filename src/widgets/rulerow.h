// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "widgets/ruleeditordelegate.h"

#include <QFrame>
#include <QList>
#include <QMetaObject>
#include <QStringList>

class QComboBox;
class QHBoxLayout;
class QLineEdit;
class QToolButton;

namespace qb {

// What a row asks of the list that holds it.
class RuleRowHost {
public:
    virtual ~RuleRowHost() = default;
    virtual RuleEditorDelegate* delegate() const = 0;
    virtual bool isEditable() const = 0;
    // Shown on a row whose path stops before a leaf of the tree.
    virtual const QString& incompleteRowToolTip() const = 0;
    // `prefix`, then the first choice at every further level, keeping what
    // `previous` chose where the new level offers it.
    virtual Criteria defaultPath(Criteria prefix, const Criteria& previous) const = 0;
    // A choice in a row changed.
    virtual void notifyRowsChanged() = 0;
    // A row made its controls anew.
    virtual void rowControlsChanged() = 0;
    virtual void insertRowAfter(const QWidget* row) = 0;
    virtual void removeRowOf(const QWidget* row) = 0;

protected:
    RuleRowHost() = default;
    RuleRowHost(const RuleRowHost&) = default;
    RuleRowHost& operator=(const RuleRowHost&) = default;
};

// One sentence of a rule editor. It owns its controls and asks the host's
// delegate for everything it shows; a change of choice goes back to the
// host, which rebuilds the rest of the path.
class RuleRow : public QFrame {
    Q_OBJECT

public:
    RuleRow(RuleRowHost& host, Criteria criteria, QWidget* parent);

    const Criteria& criteria() const { return m_criteria; }
    void setCriteria(Criteria criteria);
    void rebuild();
    void setEditable(bool editable);
    void setIndex(int index);
    // The path stops before a leaf, so something is still to be chosen, or
    // a criterion of it says why the row can't act.
    bool isIncomplete() const { return m_incomplete; }
    // An upper row writes the same tag, so this row's value gives way; an
    // empty text clears it.
    void setOverruled(const QString& why);
    bool isOverruled() const { return !m_overruled.isEmpty(); }

private:
    struct Level {
        const Criterion* parent;
        QList<CriterionPtr> choices;
    };
    void rebuildControls();
    Level levelAt(int level) const;
    QStringList shape() const;
    int selectedIndex(const Level& level, const CriterionPtr& chosen) const;
    void addPopUp(int level, const Level& choices, int selected);
    void addField(int level, TextFieldCriterion* criterion);
    void addLabel(const DisplayValue& value);
    // Why the row can't act, beside its controls.
    void addNote(const QString& reason);
    void bindFields();
    void choose(int level, const CriterionPtr& choice);
    void markIncomplete(bool incomplete, const QString& reason);
    void showState();

    RuleRowHost& m_host;
    Criteria m_criteria;
    int m_index = 0;
    bool m_incomplete = false;
    QString m_incompleteWhy;
    QString m_overruled;
    QHBoxLayout* m_controls;
    QToolButton* m_addButton;
    QToolButton* m_removeButton;
    // The field shown for each level that has one, and its tie to the criterion.
    QList<QPair<int, QLineEdit*>> m_fields;
    QList<QMetaObject::Connection> m_fieldConnections;
};

} // namespace qb
