// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <unicode/utypes.h>

U_NAMESPACE_BEGIN
class RegexMatcher;
class RegexPattern;
class UnicodeString;
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

// Collects the patterns that run out of time on this thread while it
// lives, so that a run (an assignment, a shot list) reports each pattern
// once and then skips it, rather than paying the time limit and reporting
// again for every image. A pattern is reported when it first runs out: in
// the system log, and to `report` when there is one. It lives on the stack
// of the run; one made while another is in force on the thread joins it, so
// the outermost run reports.
//
// It is found through the thread rather than passed along, because the
// patterns run deep inside mappers, which are pure values with no way to
// carry a run's state. Without one in force, every timeout is logged.
class RegexTimeouts {
public:
    using Report = std::function<void(const QString& pattern)>;

    explicit RegexTimeouts(Report report = {});
    ~RegexTimeouts();
    RegexTimeouts(const RegexTimeouts&) = delete;
    RegexTimeouts& operator=(const RegexTimeouts&) = delete;

    // The run's patterns that ran out of time, each once, in that order.
    const QStringList& patterns() const;

    // The line that tells of one.
    static QString message(const QString& pattern);

private:
    friend class Regex;
    static bool hasRunOut(const QString& pattern);
    static void add(const QString& pattern);

    RegexTimeouts* m_run; // the outermost, this one or one it joined
    Report m_report;
    QStringList m_patterns;
};

// A compiled ICU regular expression, the same syntax users type on a Mac.
// Compile once and reuse: compiling is the expensive part.
//
// Patterns come from outside (keys, mappers), and some backtrack for longer
// than anyone waits. Each search has a time limit; one that runs out counts
// as no match, and RegexTimeouts above hears of it.
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
    Regex(std::shared_ptr<const icu::RegexPattern> pattern, QString source);
    // A matcher over `subject` with the time limit set; null on failure.
    std::unique_ptr<icu::RegexMatcher> matcher(const icu::UnicodeString& subject) const;
    // Whether a search ended by running out of time, which is then reported.
    bool ranOutOfTime(UErrorCode status) const;

    std::shared_ptr<const icu::RegexPattern> m_pattern;
    QString m_source;
};

} // namespace qb
