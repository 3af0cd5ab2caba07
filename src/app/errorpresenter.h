// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

class QMessageBox;
class QWidget;

namespace qb {

// Shows an error as a message box: the description as its text, the
// failure reason and the recovery suggestion as its informative text. With
// a window it is modal to that window and returns at once; the box deletes
// itself when closed.
QMessageBox* presentError(QWidget* window, const Error& error);

} // namespace qb
