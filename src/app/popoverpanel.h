// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace qb {

// A panel that opens as a popup beside the control that asked for it and
// closes when the user clicks elsewhere. It deletes itself when closed.
class PopoverPanel : public QWidget {
    Q_OBJECT

public:
    explicit PopoverPanel(QWidget* anchor);

    // Shows the panel below `anchor`, kept on the anchor's screen.
    void popUp();
    // Whether the panel has left its popup for a window of its own.
    bool isDetached() const { return m_detached; }
    // Turns the popup into a small tool window that stays open.
    void detach();

signals:
    void detached();

private:
    QWidget* m_anchor;
    bool m_detached = false;
};

} // namespace qb
