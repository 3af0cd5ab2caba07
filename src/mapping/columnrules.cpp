// SPDX-License-Identifier: GPL-3.0-or-later
#include "columnrules.h"

#include "mapping/valuemappers.h"

#include <algorithm>
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

// Whether two tags as written name one tag: the same name, and the same
// groups where both give them ("Title" is "XMP:Title" to the user).
bool sameTag(const QString& one, const QString& other)
{
    const qsizetype oneColon = one.lastIndexOf(QLatin1Char(':'));
    const qsizetype otherColon = other.lastIndexOf(QLatin1Char(':'));
    if (one.mid(oneColon + 1).compare(other.mid(otherColon + 1), Qt::CaseInsensitive) != 0)
        return false;
    return oneColon < 0 || otherColon < 0 ||
           one.left(oneColon).compare(other.left(otherColon), Qt::CaseInsensitive) == 0;
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

std::vector<MetadataMapping> withColumnRules(std::vector<MetadataMapping> rows,
                                             const std::vector<MetadataMapping>& made)
{
    for (const MetadataMapping& rule : made) {
        const bool written = std::any_of(rows.begin(), rows.end(), [&rule](const auto& row) {
            return sameTag(row.destTag, rule.destTag);
        });
        if (!written)
            rows.push_back(rule);
    }
    return rows;
}

} // namespace qb
