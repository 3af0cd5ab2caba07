// SPDX-License-Identifier: GPL-3.0-or-later
#include "popoverpanel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>

namespace qb {

PopoverPanel::PopoverPanel(QWidget* anchor)
    : QWidget(anchor ? anchor->window() : nullptr, Qt::Tool | Qt::FramelessWindowHint)
    , m_anchor(anchor)
{
    setAttribute(Qt::WA_DeleteOnClose);
    qApp->installEventFilter(this);
}

PopoverPanel::~PopoverPanel()
{
    qApp->removeEventFilter(this);
}

// A press anywhere else closes the panel, and still reaches what it was on.
bool PopoverPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && !m_detached && isVisible())
        if (auto* widget = qobject_cast<QWidget*>(watched); widget && widget->window() != this)
            close();
    return QWidget::eventFilter(watched, event);
}

// The keyboard goes back to where the panel was asked for.
void PopoverPanel::closeEvent(QCloseEvent* event)
{
    if (isActiveWindow() && m_anchor) {
        m_anchor->window()->activateWindow();
        m_anchor->setFocus(Qt::OtherFocusReason);
    }
    QWidget::closeEvent(event);
}

void PopoverPanel::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && !m_detached) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PopoverPanel::popUp()
{
    adjustSize();
    if (m_anchor) {
        QPoint at = m_anchor->mapToGlobal(QPoint(0, m_anchor->height()));
        if (const QScreen* screen = m_anchor->screen()) {
            const QRect area = screen->availableGeometry();
            at.setX(std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - width())));
            if (at.y() + height() > area.bottom())
                at.setY(m_anchor->mapToGlobal(QPoint(0, 0)).y() - height());
        }
        move(at);
    }
    show();
    // Keyboard and screen reader users land in the panel, as a click does.
    raise();
    activateWindow();
    focusNextChild();
}

void PopoverPanel::detach()
{
    if (m_detached)
        return;
    m_detached = true;
    const QPoint at = pos();
    setWindowFlags(Qt::Tool | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    move(at);
    show();
    emit detached();
}

} // namespace qb
