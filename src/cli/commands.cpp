// SPDX-License-Identifier: GPL-3.0-or-later
#include "assigncommand.h"
#include "command.h"
#include "csvcommand.h"
#include "readcommand.h"

namespace qb::cli {

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = {
        {QStringLiteral("assign"), QStringLiteral("Assign metadata from a CSV file to images."),
         assignCommand},
        {QStringLiteral("csv"), QStringLiteral("Show a CSV file as Quillbrook reads it."),
         csvCommand},
        {QStringLiteral("read"), QStringLiteral("Print the metadata of images as JSON."),
         readCommand},
    };
    return all;
}

} // namespace qb::cli
