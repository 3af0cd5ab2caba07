// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/popoverpanel.h"

#include <QString>

#include <optional>

class QLabel;

namespace qb {

// Says how many of the images exiftool can't write and that they'll be left
// out, and where the rows tie to the images ambiguously.
class ImageWarningViewController final : public PopoverPanel {
    Q_OBJECT

public:
    ImageWarningViewController(QWidget* anchor, std::optional<QString> warningText);

    QLabel* warningTextField() const { return m_warningTextField; }

private:
    QLabel* m_warningTextField;
};

} // namespace qb
