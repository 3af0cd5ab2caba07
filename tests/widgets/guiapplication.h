// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "../support/printing.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

namespace qb::testing {

// Widgets need an application object; tests run under the offscreen platform.
inline void ensureGuiApplication()
{
    static int argc = 1;
    static char name[] = "qb_gui_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QApplication(argc, argv);
}

// Shows `window` and makes it the active window, as keyboard shortcuts need.
inline void showActive(QWidget& window)
{
    window.show();
    QApplication::setActiveWindow(&window);
    (void)QTest::qWaitForWindowActive(&window);
}

// As a first member, so that widgets declared after it find the application.
struct GuiApplication {
    GuiApplication() { ensureGuiApplication(); }
};

} // namespace qb::testing
