// SPDX-License-Identifier: GPL-3.0-or-later
#include "popoverpanel.h"

#include <QScreen>

namespace qb {

PopoverPanel::PopoverPanel(QWidget* anchor)
    : QWidget(anchor ? anchor->window() : nullptr, Qt::Popup)
    , m_anchor(anchor)
{
    setAttribute(Qt::WA_DeleteOnClose);
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
