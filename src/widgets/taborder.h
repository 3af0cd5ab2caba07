// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

namespace qb {

// Makes Tab visit the controls under `root` in reading order: as their
// layouts place them, top to bottom and left to right, a control with
// inner parts (a spin box, a list) counting as one stop. Widgets made after
// the ones around them, such as a panel swapped in or a rebuilt rule row,
// otherwise come last in the order Qt keeps, which is that of creation.
void setTabOrderByLayout(QWidget* root);

} // namespace qb
