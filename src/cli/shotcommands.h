// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

namespace qb::cli {

ExitStatus shotlistCommand(const QStringList& arguments, Streams& streams);
ExitStatus foldersCommand(const QStringList& arguments, Streams& streams);
ExitStatus validateCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
