// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

namespace qb::cli {

// quillbrook-cli undo JOURNAL: puts back the values a write replaced.
ExitStatus undoCommand(const QStringList& arguments, Streams& streams);
// quillbrook-cli journal: lists the journals, newest first.
ExitStatus journalCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
