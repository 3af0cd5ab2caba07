// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QComboBox>

namespace qb {

// The tag of the item that gives frames their rows by the barcode cards
// shot among them; it is no matching style.
inline constexpr int cardsMatchingItem = 100;

// One item per matching style, in the styles' order, each tagged with its
// raw value: contains, is equal to, begins with, matches, ends with, and,
// where a key may name a file, is the file; then, where asked, by barcode
// cards.
QComboBox* makeMatchingStylePopUp(QWidget* parent, bool withPath = false, bool withCards = false);
// Selects the item whose tag is `raw`; an unknown value leaves the popup alone.
void selectMatchingStyle(QComboBox& popUp, qint64 raw);
// The selected item's tag, or -1.
int selectedMatchingStyle(const QComboBox& popUp);

} // namespace qb
