// SPDX-License-Identifier: GPL-3.0-or-later
#include "assigncommand.h"
#include "cardscommand.h"
#include "command.h"
#include "csvcommand.h"
#include "documentcommand.h"
#include "journalcommands.h"
#include "readcommand.h"
#include "shotcommands.h"
#include "watchcommand.h"

namespace qb::cli {

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = {
        {QStringLiteral("assign"), QStringLiteral("Assign metadata from rows to images."),
         assignCommand},
        {QStringLiteral("cards"),
         QStringLiteral("Plan which frames go to which row by the barcode cards among them."),
         cardsCommand},
        {QStringLiteral("csv"), QStringLiteral("Show a CSV file as Quillbrook reads it."),
         csvCommand},
        {QStringLiteral("document"), QStringLiteral("Show a mappings document's rows."),
         documentCommand},
        {QStringLiteral("folders"), QStringLiteral("Create a capture folder for each row."),
         foldersCommand},
        {QStringLiteral("journal"),
         QStringLiteral("List the journals of the values writes replaced."), journalCommand},
        {QStringLiteral("read"), QStringLiteral("Print the metadata of images as JSON."),
         readCommand},
        {QStringLiteral("shotlist"), QStringLiteral("List the shots and their images."),
         shotlistCommand},
        {QStringLiteral("undo"),
         QStringLiteral("Put back the values a write replaced, from its journal."), undoCommand},
        {QStringLiteral("validate"),
         QStringLiteral("List the images the current write method can write."), validateCommand},
        {QStringLiteral("watch"),
         QStringLiteral("Write metadata to each image that lands in a folder."), watchCommand},
    };
    return all;
}

} // namespace qb::cli
