// SPDX-License-Identifier: GPL-3.0-or-later
#include "columnrules.h"

#include "mapping/valuemappers.h"

#include <array>

namespace qb {

namespace {

// What exiftool writes when a table names these would rename, move or
// link the file rather than tag it.
bool isFileTag(const QString& header)
{
    constexpr std::array<QLatin1StringView, 6> names{
        QLatin1StringView("SourceFile"), QLatin1StringView("FileName"),
        QLatin1StringView("Directory"),  QLatin1StringView("HardLink"),
        QLatin1StringView("SymLink"),    QLatin1StringView("TestName")};
    const QString name = header.section(QLatin1Char(':'), -1);
    for (const QLatin1StringView file : names) {
        if (name.compare(file, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// exiftool's list separator as -sep ", " reads it: the space matches any
// run of white space, none included.
std::vector<std::shared_ptr<const ValueMapper>> listSplitting()
{
    const QString separator = QStringLiteral(", ");
    return {std::make_shared<StringReplacementMapper>(QStringLiteral(",\\s*"), separator, true),
            std::make_shared<ArrayMapper>(separator)};
}

} // namespace

ColumnRules columnRules(const QStringList& headers, const WritableTags& tags)
{
    ColumnRules made;
    for (const QString& header : headers) {
        if (isFileTag(header))
            continue;
        if (header.trimmed().isEmpty() || !tags.canWrite(header)) {
            made.otherColumns << header;
            continue;
        }
        made.rules.emplace_back(header, header,
                                tags.isList(header)
                                    ? listSplitting()
                                    : std::vector<std::shared_ptr<const ValueMapper>>{});
    }
    return made;
}

} // namespace qb
