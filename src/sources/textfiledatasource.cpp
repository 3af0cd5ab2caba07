// SPDX-License-Identifier: GPL-3.0-or-later
#include "textfiledatasource.h"

#include "extensions/icustring.h"
#include "extensions/textfile.h"

#include <unicode/brkiter.h>

#include <memory>

namespace qb {

namespace {

// Only a broken ICU installation fails to give a character iterator. The
// character rules always set a line feed apart, except right after a
// carriage return, so this plain walk finds the very same lines.
QStringList splitAtCodeUnits(const QString& text)
{
    QStringList parts;
    QString current;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool crlf =
            text[i] == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n');
        if (crlf) {
            current += QStringLiteral("\r\n");
            ++i;
        } else if (text[i] == QLatin1Char('\n')) {
            if (!current.isEmpty())
                parts << current;
            current.clear();
        } else {
            current += text[i];
        }
    }
    if (!current.isEmpty())
        parts << current;
    return parts;
}

} // namespace

TextFileDataSource::TextFileDataSource(const QStringList& names)
{
    setMatchingStyle(MatchingStyle::prefix);
    MetadataTable table;
    for (const QString& name : names)
        table.insert_or_assign(name, MetadataRow());
    setMetadata(std::move(table));
}

QStringList TextFileDataSource::lines(const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !characters)
        return splitAtCodeUnits(text);
    const icu::UnicodeString unicode = toIcu(text);
    characters->setText(unicode);

    QStringList parts;
    qsizetype lineStart = 0;
    int32_t start = characters->first();
    for (int32_t end = characters->next(); end != icu::BreakIterator::DONE;
         start = end, end = characters->next()) {
        if (end - start != 1 || unicode.charAt(start) != u'\n')
            continue;
        if (start > lineStart)
            parts << text.mid(lineStart, start - lineStart);
        lineStart = end;
    }
    if (text.size() > lineStart)
        parts << text.mid(lineStart);
    return parts;
}

std::expected<void, Error> TextFileDataSource::loadText(const QUrl& url, bool clear)
{
    const auto text = readTextFile(url.toLocalFile());
    if (!text)
        return std::unexpected(text.error());
    MetadataTable table = clear ? MetadataTable() : metadata();
    for (const QString& line : lines(*text))
        table.insert_or_assign(line, MetadataRow());
    setMetadata(std::move(table));
    return {};
}

} // namespace qb
