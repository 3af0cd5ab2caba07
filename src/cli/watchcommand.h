// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

namespace qb::cli {

ExitStatus watchCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
