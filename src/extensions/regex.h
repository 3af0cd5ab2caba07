// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>
#include <optional>
#include <vector>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace qb {

// One successful search: the whole match and each capture group, absent
// where the group took no part.
struct RegexMatch {
    QString whole;
    std::vector<std::optional<QString>> groups; // group 1 at index 0

    // The text of the group called `name`, or nothing when that group took
    // no part or the pattern has no such group.
    std::optional<QString> captureNamed(const QString& name) const;

    std::shared_ptr<const icu::RegexPattern> pattern;
};

// A compiled ICU regular expression, the same syntax users type on a Mac.
// Compile once and reuse: compiling is the expensive part.
class Regex {
public:
    // Nothing for a malformed pattern; callers decide what that means.
    static std::optional<Regex> compile(const QString& pattern);

    bool isFoundIn(const QString& text) const;
    std::optional<RegexMatch> firstMatch(const QString& text) const;
    std::vector<RegexMatch> allMatches(const QString& text) const;
    // Every match replaced by the template, where $1 names the first group.
    // A template the engine rejects leaves the text as it was.
    QString replaceAll(const QString& text, const QString& replacementTemplate) const;
    int captureGroupCount() const;

private:
    explicit Regex(std::shared_ptr<const icu::RegexPattern> pattern);
    std::shared_ptr<const icu::RegexPattern> m_pattern;
};

} // namespace qb
