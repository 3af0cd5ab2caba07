// SPDX-License-Identifier: GPL-3.0-or-later
#include "command.h"

namespace qb::cli {

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = {};
    return all;
}

} // namespace qb::cli
