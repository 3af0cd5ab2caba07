// SPDX-License-Identifier: GPL-3.0-or-later
#include "regex.h"
#include "icustring.h"

#include <unicode/regex.h>

namespace qb {

namespace {

RegexMatch captureMatch(icu::RegexMatcher& matcher,
                        const std::shared_ptr<const icu::RegexPattern>& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    RegexMatch match;
    match.whole = fromIcu(matcher.group(status));
    const int count = matcher.groupCount();
    match.groups.reserve(count);
    for (int i = 1; i <= count; ++i) {
        status = U_ZERO_ERROR;
        if (matcher.start(i, status) < 0 || U_FAILURE(status)) {
            match.groups.emplace_back();
            continue;
        }
        match.groups.emplace_back(fromIcu(matcher.group(i, status)));
    }
    match.pattern = pattern;
    return match;
}

} // namespace

std::optional<QString> RegexMatch::captureNamed(const QString& name) const
{
    if (!pattern)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t number = pattern->groupNumberFromName(toIcu(name), status);
    if (U_FAILURE(status) || number < 1 || number > static_cast<int32_t>(groups.size()))
        return std::nullopt;
    return groups[number - 1];
}

Regex::Regex(std::shared_ptr<const icu::RegexPattern> pattern)
    : m_pattern(std::move(pattern))
{
}

std::optional<Regex> Regex::compile(const QString& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(toIcu(pattern), 0, parseError, status));
    if (U_FAILURE(status) || !compiled)
        return std::nullopt;
    return Regex(std::shared_ptr<const icu::RegexPattern>(std::move(compiled)));
}

bool Regex::isFoundIn(const QString& text) const
{
    const icu::UnicodeString subject = toIcu(text); // the matcher keeps a reference
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(subject, status));
    if (U_FAILURE(status))
        return false;
    const bool found = matcher->find(status);
    return U_SUCCESS(status) && found;
}

std::optional<RegexMatch> Regex::firstMatch(const QString& text) const
{
    const icu::UnicodeString subject = toIcu(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(subject, status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status))
        return std::nullopt;
    return captureMatch(*matcher, m_pattern);
}

std::vector<RegexMatch> Regex::allMatches(const QString& text) const
{
    std::vector<RegexMatch> result;
    const icu::UnicodeString subject = toIcu(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(subject, status));
    if (U_FAILURE(status))
        return result;
    while (matcher->find(status) && U_SUCCESS(status))
        result.push_back(captureMatch(*matcher, m_pattern));
    return result;
}

QString Regex::replaceAll(const QString& text, const QString& replacementTemplate) const
{
    const icu::UnicodeString subject = toIcu(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(subject, status));
    if (U_FAILURE(status))
        return text;
    const icu::UnicodeString replaced = matcher->replaceAll(toIcu(replacementTemplate), status);
    return U_SUCCESS(status) ? fromIcu(replaced) : text;
}

int Regex::captureGroupCount() const
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(status));
    return U_SUCCESS(status) ? matcher->groupCount() : 0;
}

} // namespace qb
