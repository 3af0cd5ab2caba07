// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

namespace qb::cli {

ExitStatus cardsCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
