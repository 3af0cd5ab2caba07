// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvconfiguration.h"

#include "csv/csvfailures.h"

#include <QChar>

#include <algorithm>

namespace qb {

std::u32string unicodeScalars(QStringView text)
{
    std::u32string scalars;
    scalars.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() &&
            QChar::isLowSurrogate(text[i + 1].unicode())) {
            scalars.push_back(QChar::surrogateToUcs4(unit, text[i + 1].unicode()));
            ++i;
        } else if (QChar::isSurrogate(unit)) {
            scalars.push_back(QChar::ReplacementCharacter);
        } else {
            scalars.push_back(unit);
        }
    }
    return scalars;
}

std::set<char32_t> unicodeScalarSet(QStringView text)
{
    const std::u32string scalars = unicodeScalars(text);
    return {scalars.begin(), scalars.end()};
}

namespace {

bool sharesScalar(std::u32string_view scalars, const std::set<char32_t>& set)
{
    return std::any_of(scalars.begin(), scalars.end(),
                       [&set](char32_t scalar) { return set.contains(scalar); });
}

} // namespace

std::expected<CSVReaderSettings, CSVError>
CSVReaderSettings::make(const CSVReaderConfiguration& config)
{
    const std::u32string& field = config.delimiters.field.rawValue;
    const std::u32string& row = config.delimiters.row.rawValue;
    if (field.empty() || row.empty())
        return std::unexpected(csvfailure::delimiterInference());
    if (field == row)
        return std::unexpected(csvfailure::equalDelimiters(textFromScalars(field)));

    CSVReaderSettings settings;
    settings.delimiters = {field, row};
    settings.escapingScalar = config.escapingStrategy.scalar;
    settings.trimCharacters = config.trimStrategy;
    settings.isTrimNeeded = !settings.trimCharacters.empty();
    if (!settings.isTrimNeeded)
        return settings;

    const std::set<char32_t>& trim = settings.trimCharacters;
    if (sharesScalar(field, trim))
        return std::unexpected(csvfailure::trimIncludesDelimiter(textFromScalars(field), trim));
    if (sharesScalar(row, trim))
        return std::unexpected(csvfailure::trimIncludesDelimiter(textFromScalars(row), trim));
    if (settings.escapingScalar && trim.contains(*settings.escapingScalar))
        return std::unexpected(csvfailure::trimIncludesEscaping(*settings.escapingScalar, trim));
    return settings;
}

} // namespace qb
