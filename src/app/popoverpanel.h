// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>

namespace qb {

// A panel that opens beside the control that asked for it and closes when
// the user clicks elsewhere or presses Escape. It deletes itself when
// closed. It is a small window of its own, not a Qt popup: popups are left
// out of what screen readers see, and they eat the click that closes them.
class PopoverPanel : public QWidget {
    Q_OBJECT

public:
    explicit PopoverPanel(QWidget* anchor);
    ~PopoverPanel() override;

    // Shows the panel below `anchor`, kept on the anchor's screen.
    void popUp();
    // Whether the panel has left its popup for a window of its own.
    bool isDetached() const { return m_detached; }
    // Turns the popup into a small tool window that stays open.
    void detach();

signals:
    void detached();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QPointer<QWidget> m_anchor;
    bool m_detached = false;
};

} // namespace qb
