// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardplan.h"

#include "extensions/plainorder.h"
#include "extensions/texthelpers.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <numeric>

namespace qb {

namespace {

void appendOnce(QStringList& list, const QString& text)
{
    if (!list.contains(text))
        list << text;
}

// Positions of `frames` in shooting order. By name, a file browser's order.
// By time, bursts by their sub-seconds and equal times by name; a frame
// without a time follows the frame before it by name, so a camera that
// wrote no time for one frame doesn't move that frame out of its sequence.
std::vector<int> shootingOrder(const std::vector<PlannedFrame>& frames, FrameOrder order)
{
    std::vector<int> byName(frames.size());
    std::iota(byName.begin(), byName.end(), 0);
    std::ranges::stable_sort(byName, [&](int a, int b) {
        const QString& nameA = frames[size_t(a)].name;
        const QString& nameB = frames[size_t(b)].name;
        if (nameA != nameB)
            return localizedStandardLess(nameA, nameB);
        return plainLess(frames[size_t(a)].path, frames[size_t(b)].path);
    });
    if (order == FrameOrder::name)
        return byName;

    std::vector<int> rank(frames.size());
    for (size_t i = 0; i < byName.size(); ++i)
        rank[size_t(byName[i])] = int(i);
    std::vector<int> timed;
    std::vector<int> leading; // untimed before any timed frame by name
    std::vector<std::vector<int>> followers(frames.size()); // untimed frames after each
    int anchor = -1;
    for (const int i : byName) {
        if (frames[size_t(i)].captureTime) {
            timed.push_back(i);
            anchor = i;
        } else {
            (anchor < 0 ? leading : followers[size_t(anchor)]).push_back(i);
        }
    }
    std::ranges::sort(timed, [&](int a, int b) {
        const qint64 keyA = frames[size_t(a)].captureTime->orderKey();
        const qint64 keyB = frames[size_t(b)].captureTime->orderKey();
        return keyA != keyB ? keyA < keyB : rank[size_t(a)] < rank[size_t(b)];
    });
    std::vector<int> result = leading;
    for (const int i : timed) {
        result.push_back(i);
        result.insert(result.end(), followers[size_t(i)].begin(), followers[size_t(i)].end());
    }
    return result;
}

// The frames each fix names: a path, the end of a path, or a file name.
QHash<int, std::vector<const CardFix*>> matchFixes(const std::vector<PlannedFrame>& frames,
                                                   const std::vector<CardFix>& fixes,
                                                   QStringList& problems)
{
    QHash<QString, std::vector<int>> byName;
    for (size_t i = 0; i < frames.size(); ++i)
        byName[canonical(frames[i].name)].push_back(int(i));
    QHash<int, std::vector<const CardFix*>> result;
    for (const CardFix& fix : fixes) {
        const QString wanted = canonical(QString(fix.frame).replace(QLatin1Char('\\'), '/'));
        std::vector<int> found;
        for (const int i : byName.value(wanted.section(QLatin1Char('/'), -1))) {
            const QString path = canonical(frames[size_t(i)].path);
            if (!wanted.contains(QLatin1Char('/')) || path == wanted ||
                path.endsWith(QLatin1Char('/') + wanted))
                found.push_back(i);
        }
        if (found.size() == 1)
            result[found.front()].push_back(&fix);
        else if (found.empty())
            problems << QStringLiteral("cards file line %1: no frame is named %2")
                            .arg(fix.line)
                            .arg(fix.frame);
        else
            problems << QStringLiteral("cards file line %1: %2 frames are named %3; give its "
                                       "folder too, as in Camera2/%3")
                            .arg(fix.line)
                            .arg(found.size())
                            .arg(fix.frame);
    }
    return result;
}

CardReading readCard(PlannedFrame& frame, const std::vector<const CardFix*>& fixes,
                     const RowKeys& rows, const CardKeyPattern& pattern)
{
    if (fixes.empty())
        return readCardKeys(frame.codes, pattern, rows);
    const bool unmarked = !fixes.front()->key;
    frame.fix = unmarked ? FrameFix::notACard : FrameFix::markedAsCard;
    if (unmarked)
        return {};
    // A key given by hand is the key: no pattern is applied to it.
    QStringList keys;
    for (const CardFix* fix : fixes)
        keys << *fix->key;
    return readCardKeys(keys, CardKeyPattern(), rows);
}

// Gives each frame its subject, walking in shooting order.
class SubjectWalk {
public:
    SubjectWalk(CardPlan& plan)
        : m_plan(plan)
    {
        if (!m_plan.options.currentSubject.isEmpty() &&
            m_plan.options.cardOrder == CardOrder::forward) {
            m_plan.subjects.push_back(CardSubject{m_plan.options.currentSubject, true, {}, {}});
            m_current = 0;
        }
    }

    void card(int frame, const CardReading& reading)
    {
        const bool known = !reading.rowKeys.isEmpty();
        const QStringList& keys = known ? reading.rowKeys : reading.cardKeys;
        // The same card twice in a row is one subject: a card shot again.
        if (m_plan.subjects.empty() || m_plan.subjects.back().keys != keys)
            m_plan.subjects.push_back(CardSubject{keys, known, {}, {}});
        const int subject = int(m_plan.subjects.size() - 1);
        m_plan.subjects.back().cards.push_back(frame);
        PlannedFrame& f = at(frame);
        f.role = keys.size() > 1 && known ? FrameRole::groupCard : FrameRole::card;
        f.subject = subject;
        if (known && m_plan.options.cardFrames == CardFrames::write)
            f.keys = keys;
        if (m_plan.options.cardOrder == CardOrder::forward) {
            m_current = subject;
        } else {
            for (const int pending : m_pending)
                give(pending, subject);
            m_pending.clear();
        }
    }

    void frame(int frame)
    {
        if (m_plan.options.cardOrder == CardOrder::backward)
            m_pending.push_back(frame);
        else if (m_current >= 0)
            give(frame, m_current);
        else
            at(frame).reason = UnassignedReason::beforeFirstCard;
    }

    void finish()
    {
        if (!m_plan.options.currentSubject.isEmpty() && !m_pending.empty()) {
            m_plan.subjects.push_back(CardSubject{m_plan.options.currentSubject, true, {}, {}});
            for (const int pending : m_pending)
                give(pending, int(m_plan.subjects.size() - 1));
            m_pending.clear();
        }
        for (const int pending : m_pending)
            at(pending).reason = UnassignedReason::afterLastCard;
        // A scanned subject whose frames all came after a card names nothing.
        if (!m_plan.subjects.empty() && m_plan.subjects.front().cards.empty() &&
            m_plan.subjects.front().frames.empty()) {
            m_plan.subjects.erase(m_plan.subjects.begin());
            for (PlannedFrame& frame : m_plan.frames)
                frame.subject -= frame.subject >= 0 ? 1 : 0;
        }
    }

private:
    PlannedFrame& at(int frame) { return m_plan.frames[size_t(frame)]; }

    void give(int frame, int subject)
    {
        CardSubject& s = m_plan.subjects[size_t(subject)];
        s.frames.push_back(frame);
        PlannedFrame& f = at(frame);
        f.subject = subject;
        if (s.known) {
            f.role = FrameRole::subject;
            f.keys = s.keys;
        } else {
            f.reason = UnassignedReason::unknownCode;
        }
    }

    CardPlan& m_plan;
    int m_current = -1;
    std::vector<int> m_pending;
};

void flagGap(CardSubject& subject, const std::vector<PlannedFrame>& frames, double gapSeconds)
{
    std::vector<int> all = subject.cards;
    all.insert(all.end(), subject.frames.begin(), subject.frames.end());
    std::ranges::sort(all);
    const PlannedFrame* previous = nullptr;
    for (const int i : all) {
        const PlannedFrame& frame = frames[size_t(i)];
        if (!frame.captureTime)
            continue;
        if (previous) {
            const double gap = double(std::abs(frame.captureTime->orderKey() -
                                               previous->captureTime->orderKey())) /
                               1e6;
            if (gap > subject.longestGap) {
                subject.longestGap = gap;
                subject.gapAfter = int(previous - frames.data());
            }
        }
        previous = &frame;
    }
    // An unknown code's frames are written to no row, so there is nothing to check.
    subject.gapFlag = subject.known && subject.longestGap > gapSeconds;
}

void flagCounts(CardPlan& plan)
{
    std::vector<size_t> counts;
    for (const CardSubject& subject : plan.subjects) {
        if (subject.known && !subject.frames.empty())
            counts.push_back(subject.frames.size());
    }
    if (counts.empty())
        return;
    std::ranges::sort(counts);
    const size_t middle = counts.size() / 2;
    plan.medianFrames =
        counts.size() % 2 ? double(counts[middle]) : (counts[middle - 1] + counts[middle]) / 2.0;
    if (counts.size() < size_t(countFlagMinimumSubjects))
        return;
    for (CardSubject& subject : plan.subjects) {
        const double count = double(subject.frames.size());
        subject.countFlag = subject.known && count > countFlagFactor * plan.medianFrames &&
                            count >= plan.medianFrames + countFlagMargin;
    }
}

QStringList rowsWithoutFrames(const CardPlan& plan, const RowKeys& rows)
{
    QSet<QString> given;
    for (const PlannedFrame& frame : plan.frames) {
        for (const QString& key : frame.keys)
            given.insert(key);
    }
    QStringList result;
    for (const QString& key : rows.all()) {
        if (!given.contains(key))
            result << key;
    }
    return result;
}

} // namespace

CardReading readCardKeys(const QStringList& codes, const CardKeyPattern& pattern,
                         const RowKeys& rows)
{
    CardReading reading;
    for (const QString& code : codes) {
        if (const std::optional<QString> key = pattern.keyOf(code))
            appendOnce(reading.cardKeys, *key);
    }
    for (const QString& key : reading.cardKeys) {
        if (const std::optional<QString> row = rows.find(key))
            appendOnce(reading.rowKeys, *row);
    }
    return reading;
}

RowKeys::RowKeys(const QStringList& keys)
    : m_all(keys)
{
    // The first row of a key answers for it, as the data source's first match does.
    for (const QString& key : keys) {
        const QString form = canonical(key);
        if (!m_byCanonical.contains(form))
            m_byCanonical.insert(form, key);
    }
}

RowKeys::RowKeys(QStringList all, Lookup lookup)
    : m_all(std::move(all))
    , m_lookup(std::move(lookup))
{
}

std::optional<QString> RowKeys::find(const QString& key) const
{
    if (m_lookup)
        return m_lookup(key);
    const auto it = m_byCanonical.constFind(canonical(key));
    if (it == m_byCanonical.constEnd())
        return std::nullopt;
    return *it;
}

std::vector<std::pair<QString, QStringList>> CardPlan::assignments() const
{
    std::vector<std::pair<QString, QStringList>> result;
    for (const PlannedFrame& frame : frames) {
        if (!frame.keys.isEmpty())
            result.emplace_back(frame.path, frame.keys);
    }
    return result;
}

CardPlan makeCardPlan(std::vector<CardFrame> frames, const RowKeys& rows,
                      const CardPlanOptions& options)
{
    CardPlan plan;
    plan.options = options;
    std::vector<PlannedFrame> read;
    read.reserve(frames.size());
    for (CardFrame& frame : frames) {
        PlannedFrame planned;
        planned.path = std::move(frame.path);
        planned.name = frame.name.isEmpty() ? QFileInfo(planned.path).fileName() : frame.name;
        planned.captureTime = std::move(frame.captureTime);
        planned.placedByName = options.order == FrameOrder::time && !planned.captureTime;
        if (frame.codes) {
            for (const DecodedCode& code : *frame.codes)
                planned.codes << code.text;
        } else {
            planned.readError = frame.codes.error();
        }
        read.push_back(std::move(planned));
    }
    for (const int i : shootingOrder(read, options.order))
        plan.frames.push_back(std::move(read[size_t(i)]));

    const auto fixes = matchFixes(plan.frames, options.fixes, plan.fixProblems);
    SubjectWalk walk(plan);
    for (size_t i = 0; i < plan.frames.size(); ++i) {
        PlannedFrame& frame = plan.frames[i];
        const CardReading reading = readCard(frame, fixes.value(int(i)), rows, options.keyPattern);
        frame.cardKeys = reading.cardKeys;
        if (reading.cardKeys.isEmpty())
            walk.frame(int(i));
        else
            walk.card(int(i), reading);
    }
    walk.finish();

    for (CardSubject& subject : plan.subjects)
        flagGap(subject, plan.frames, options.gapSeconds);
    flagCounts(plan);
    plan.rowsWithoutFrames = rowsWithoutFrames(plan, rows);
    return plan;
}

} // namespace qb
