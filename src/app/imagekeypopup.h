// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QComboBox>
#include <QInputDialog>

#include <optional>

namespace qb {

// What of each image the key column is compared with: "image name", or
// "image's TAG" for a tag the images carry, and an item that asks for
// another tag. An item's data is its tag, empty for the name; the asking
// item holds none.
QComboBox* makeImageKeyPopUp(QWidget* parent);
// Lists the name, `tag` when there is one, and the asking item, and
// selects `tag` or the name.
void showImageKey(QComboBox& popUp, const std::optional<QString>& tag);

// Asks for a tag name, window-modal over `window`, starting from `current`;
// deletes itself when closed.
QInputDialog* makeKeyTagDialog(QWidget* window, const QString& current);
// Why `typed` can't be the key tag.
Error notATagName(const QString& typed);

} // namespace qb
