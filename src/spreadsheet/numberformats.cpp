// SPDX-License-Identifier: GPL-3.0-or-later
#include "numberformats.h"

#include <QList>

namespace qb {

namespace {

// Elapsed time in brackets: [h], [mm], [ss].
bool isElapsedTime(QStringView inside)
{
    if (inside.isEmpty())
        return false;
    const QChar first = inside.front().toLower();
    for (QChar c : inside) {
        if (c.toLower() != first)
            return false;
    }
    return first == u'h' || first == u'm' || first == u's';
}

struct Letters {
    QList<char16_t> runs; // one lower-case letter per run of date letters
    bool elapsed = false;
};

// The runs of date and time letters of the first section of `code`, the
// one positive numbers use.
Letters dateLetters(QStringView code)
{
    Letters letters;
    for (qsizetype i = 0; i < code.size(); ++i) {
        const QChar c = code[i];
        if (c == u';')
            break;
        if (c == u'"') {
            const qsizetype close = code.indexOf(u'"', i + 1);
            i = close < 0 ? code.size() : close;
        } else if (c == u'\\' || c == u'_' || c == u'*') {
            ++i; // the next character is shown as it is
        } else if (c == u'[') {
            const qsizetype close = code.indexOf(u']', i + 1);
            const QStringView inside =
                code.sliced(i + 1, (close < 0 ? code.size() : close) - i - 1);
            if (isElapsedTime(inside)) {
                letters.runs << inside.front().toLower().unicode();
                letters.elapsed = true;
            }
            i = close < 0 ? code.size() : close;
        } else if (code.sliced(i).startsWith(u"AM/PM", Qt::CaseInsensitive)) {
            i += 4; // its "M"s are no months
        } else if (code.sliced(i).startsWith(u"A/P", Qt::CaseInsensitive)) {
            i += 2;
        } else {
            const char16_t lower = c.toLower().unicode();
            const bool dateLetter =
                lower == u'y' || lower == u'm' || lower == u'd' || lower == u'h' || lower == u's';
            if (dateLetter && (i == 0 || code[i - 1].toLower() != c.toLower()))
                letters.runs << lower;
        }
    }
    return letters;
}

} // namespace

DateKind builtInDateKind(int id)
{
    if (id >= 14 && id <= 17)
        return DateKind::date;
    if ((id >= 18 && id <= 21) || id == 45 || id == 47)
        return DateKind::time;
    if (id == 22)
        return DateKind::dateTime;
    if (id == 46)
        return DateKind::duration;
    return DateKind::none;
}

DateKind dateKindOfFormat(QStringView code)
{
    const Letters letters = dateLetters(code);
    bool hasDate = false;
    bool hasTime = false;
    for (qsizetype i = 0; i < letters.runs.size(); ++i) {
        const char16_t letter = letters.runs[i];
        if (letter == u'm') {
            const bool minutes = (i > 0 && letters.runs[i - 1] == u'h') ||
                                 (i + 1 < letters.runs.size() && letters.runs[i + 1] == u's');
            (minutes ? hasTime : hasDate) = true;
        } else {
            (letter == u'h' || letter == u's' ? hasTime : hasDate) = true;
        }
    }
    if (letters.elapsed && !hasDate)
        return DateKind::duration;
    if (hasDate)
        return hasTime ? DateKind::dateTime : DateKind::date;
    return hasTime ? DateKind::time : DateKind::none;
}

} // namespace qb
