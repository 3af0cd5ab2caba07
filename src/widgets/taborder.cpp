// SPDX-License-Identifier: GPL-3.0-or-later
#include "taborder.h"

#include <QLayout>
#include <QList>
#include <QScrollArea>
#include <QSet>
#include <QWidget>

namespace qb {

namespace {

class ReadingOrder {
public:
    void visit(QWidget* widget, bool isRoot = false)
    {
        if (m_seen.contains(widget))
            return;
        m_seen.insert(widget);
        // A scroll area of controls is read through, not stopped at.
        if (auto* scroll = qobject_cast<QScrollArea*>(widget)) {
            if (scroll->widget())
                visit(scroll->widget());
            return;
        }
        if (!isRoot && (widget->focusPolicy() & Qt::TabFocus)) {
            m_stops << widget;
            return;
        }
        if (widget->focusProxy())
            return;
        if (QLayout* layout = widget->layout())
            visit(layout);
        // Children no layout places, in the order they were made.
        for (QObject* child : widget->children())
            if (auto* inner = qobject_cast<QWidget*>(child); inner && !inner->isWindow())
                visit(inner);
    }

    const QList<QWidget*>& stops() const { return m_stops; }

private:
    void visit(QLayout* layout)
    {
        for (int i = 0; i < layout->count(); ++i) {
            QLayoutItem* item = layout->itemAt(i);
            if (QWidget* widget = item->widget(); widget && !widget->isWindow())
                visit(widget);
            else if (QLayout* inner = item->layout())
                visit(inner);
        }
    }

    QSet<QWidget*> m_seen;
    QList<QWidget*> m_stops;
};

} // namespace

void setTabOrderByLayout(QWidget* root)
{
    ReadingOrder order;
    order.visit(root, true);
    const QList<QWidget*>& stops = order.stops();
    for (qsizetype i = 1; i < stops.size(); ++i)
        QWidget::setTabOrder(stops[i - 1], stops[i]);
}

} // namespace qb
