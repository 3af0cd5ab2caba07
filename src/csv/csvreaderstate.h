// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csverror.h"

#include <QtGlobal>

#include <optional>

namespace qb {

// How far a reader has got; the parser keeps it and the reader shows it.
struct CSVReaderCount {
    // Rows consumed so far, the header included.
    qint64 rows = 0;
    // The field count every row must have.
    qint64 fields = 0;
};

struct CSVReaderStatus {
    enum class Kind { active, finished, failed };
    Kind kind = Kind::active;
    // Set when failed: the error every further call repeats.
    std::optional<CSVError> error;
};

} // namespace qb
