// SPDX-License-Identifier: GPL-3.0-or-later
#include "regex.h"
#include "icustring.h"
#include "log.h"

#include <unicode/regex.h>

namespace qb {

namespace {

// Steps of ICU's match engine allowed for one search, a step being some
// thousands of operations: far more than a key needs on a file name or a
// replacement on a cell, and little enough that a pattern backtracking
// without end gives up within about a second.
constexpr int32_t searchTimeLimit = 1000;

thread_local RegexTimeouts* t_run = nullptr;

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

RegexTimeouts::RegexTimeouts(Report report)
    : m_run(t_run ? t_run : this)
    , m_report(std::move(report))
{
    t_run = m_run;
}

RegexTimeouts::~RegexTimeouts()
{
    if (m_run == this)
        t_run = nullptr;
}

const QStringList& RegexTimeouts::patterns() const
{
    return m_run->m_patterns;
}

QString RegexTimeouts::message(const QString& pattern)
{
    return QStringLiteral("The pattern \u201c%1\u201d ran out of time and counts as no match "
                          "for the rest of this run.")
        .arg(pattern);
}

bool RegexTimeouts::hasRunOut(const QString& pattern)
{
    return t_run && t_run->m_patterns.contains(pattern);
}

void RegexTimeouts::add(const QString& pattern)
{
    qbLog(message(pattern));
    if (!t_run)
        return;
    t_run->m_patterns << pattern;
    if (t_run->m_report)
        t_run->m_report(pattern);
}

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

Regex::Regex(std::shared_ptr<const icu::RegexPattern> pattern, QString source)
    : m_pattern(std::move(pattern))
    , m_source(std::move(source))
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
    return Regex(std::shared_ptr<const icu::RegexPattern>(std::move(compiled)), pattern);
}

std::unique_ptr<icu::RegexMatcher> Regex::matcher(const icu::UnicodeString& subject) const
{
    // Once out of time in this run, a pattern isn't tried again.
    if (RegexTimeouts::hasRunOut(m_source))
        return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(subject, status));
    if (U_SUCCESS(status))
        matcher->setTimeLimit(searchTimeLimit, status);
    return U_SUCCESS(status) ? std::move(matcher) : nullptr;
}

bool Regex::ranOutOfTime(UErrorCode status) const
{
    if (status != U_REGEX_TIME_OUT)
        return false;
    RegexTimeouts::add(m_source);
    return true;
}

bool Regex::isFoundIn(const QString& text) const
{
    const icu::UnicodeString subject = toIcu(text); // the matcher keeps a reference
    const auto matcher = this->matcher(subject);
    if (!matcher)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    const bool found = matcher->find(status);
    ranOutOfTime(status);
    return U_SUCCESS(status) && found;
}

std::optional<RegexMatch> Regex::firstMatch(const QString& text) const
{
    const icu::UnicodeString subject = toIcu(text);
    const auto matcher = this->matcher(subject);
    if (!matcher)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const bool found = matcher->find(status);
    if (ranOutOfTime(status) || U_FAILURE(status) || !found)
        return std::nullopt;
    return captureMatch(*matcher, m_pattern);
}

std::vector<RegexMatch> Regex::allMatches(const QString& text) const
{
    std::vector<RegexMatch> result;
    const icu::UnicodeString subject = toIcu(text);
    const auto matcher = this->matcher(subject);
    if (!matcher)
        return result;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status))
        result.push_back(captureMatch(*matcher, m_pattern));
    // Part of an answer would be a wrong one.
    if (ranOutOfTime(status))
        result.clear();
    return result;
}

QString Regex::replaceAll(const QString& text, const QString& replacementTemplate) const
{
    const icu::UnicodeString subject = toIcu(text);
    const auto matcher = this->matcher(subject);
    if (!matcher)
        return text;
    // ICU's own replaceAll keeps a timeout to itself and answers the text
    // as if nothing had matched; this loop sees it.
    const icu::UnicodeString replacement = toIcu(replacementTemplate);
    icu::UnicodeString replaced;
    UErrorCode status = U_ZERO_ERROR;
    while (matcher->find(status) && U_SUCCESS(status))
        matcher->appendReplacement(replaced, replacement, status);
    if (ranOutOfTime(status) || U_FAILURE(status))
        return text;
    matcher->appendTail(replaced);
    return fromIcu(replaced);
}

int Regex::captureGroupCount() const
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->matcher(status));
    return U_SUCCESS(status) ? matcher->groupCount() : 0;
}

} // namespace qb
