// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardkeys.h"

#include "extensions/icustring.h"

#include <unicode/regex.h>

#include <memory>

namespace qb {

namespace {

const QString keyGroup = QStringLiteral("key");

} // namespace

std::expected<CardKeyPattern, Error> CardKeyPattern::compile(const QString& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError{};
    const std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(toIcu(pattern), 0, parseError, status));
    std::optional<Regex> regex = Regex::compile(pattern);
    if (U_FAILURE(status) || !compiled || !regex) {
        Error error;
        error.domain = QStringLiteral("qb.CardKeyPattern");
        error.code = 1;
        error.errorDescription =
            QStringLiteral("The card pattern \u201c%1\u201d is not a valid regular expression.")
                .arg(pattern);
        error.failureReason = QStringLiteral("%1 at character %2.")
                                  .arg(QString::fromLatin1(u_errorName(status)))
                                  .arg(parseError.offset + 1);
        return std::unexpected(error);
    }
    CardKeyPattern result;
    result.m_source = pattern;
    status = U_ZERO_ERROR;
    if (compiled->groupNumberFromName(toIcu(keyGroup), status) > 0 && U_SUCCESS(status))
        result.m_take = Take::namedGroup;
    else if (regex->captureGroupCount() > 0)
        result.m_take = Take::firstGroup;
    result.m_regex = std::move(regex);
    return result;
}

std::optional<QString> CardKeyPattern::keyOf(const QString& codeText) const
{
    std::optional<QString> key;
    if (!m_regex) {
        key = codeText;
    } else if (const std::optional<RegexMatch> match = m_regex->firstMatch(codeText)) {
        switch (m_take) {
        case Take::whole:
            key = match->whole;
            break;
        case Take::firstGroup:
            key = match->groups.front();
            break;
        case Take::namedGroup:
            key = match->captureNamed(keyGroup);
            break;
        }
    }
    // Codes often end in a line break or padding that no row's key has.
    if (key)
        key = key->trimmed();
    if (!key || key->isEmpty())
        return std::nullopt;
    return key;
}

} // namespace qb
