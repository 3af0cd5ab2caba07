// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cards/barcodedecoder.h"
#include "cards/capturetimes.h"
#include "cards/cardfixes.h"
#include "cards/cardkeys.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

namespace qb {

// One frame of a session, as read from its file.
struct CardFrame {
    QString path;
    QString name; // the file name when empty
    std::optional<CaptureTime> captureTime;
    FrameDecoding codes;
};

// The keys of the data source's rows. A code names a row as the "is equal
// to" matching style would: exactly, with canonically equivalent texts
// (composed or decomposed accents) taken as equal.
class RowKeys {
public:
    using Lookup = std::function<std::optional<QString>(const QString& key)>;

    RowKeys() = default;
    explicit RowKeys(const QStringList& keys);
    // `lookup` answers with the row's own key for a card's key; `all` is
    // every row's key, for the rows that get no frame.
    RowKeys(QStringList all, Lookup lookup);

    std::optional<QString> find(const QString& key) const;
    const QStringList& all() const { return m_all; }

private:
    QStringList m_all;
    QHash<QString, QString> m_byCanonical;
    Lookup m_lookup;
};

// What the codes of one frame make of it.
struct CardReading {
    QStringList cardKeys; // every key the codes give, known or not, each once
    QStringList rowKeys;  // the rows' keys among them, each once

    // Not a card: no code gave a key.
    bool isCard() const { return !cardKeys.isEmpty(); }
    // A card of a row, or of several (a group), rather than of an unknown code.
    bool isKnown() const { return !rowKeys.isEmpty(); }
};

// The keys that the codes' texts give through `pattern`, and the rows they
// name. Also what a watched capture is read with, one frame at a time.
CardReading readCardKeys(const QStringList& codes, const CardKeyPattern& pattern,
                         const RowKeys& rows);

enum class FrameOrder { time, name };
enum class CardOrder { forward, backward }; // the card before its frames, or after them
enum class CardFrames { skip, write };      // whether card frames get their subject's row

struct CardPlanOptions {
    FrameOrder order = FrameOrder::time;
    CardOrder cardOrder = CardOrder::forward;
    CardFrames cardFrames = CardFrames::skip;
    // A longer pause between two frames of one subject suggests a card
    // that was missed.
    double gapSeconds = 120;
    CardKeyPattern keyPattern;
    std::vector<CardFix> fixes;
    // The rows a scanner named before the session, as at a tethered
    // shoot: they stand for a card before the first frame (forward), or
    // after the last (backward). Row keys, as RowKeys gives them.
    QStringList currentSubject;
};

enum class FrameRole { card, groupCard, subject, unassigned };

// Why a frame that isn't a card gets no row.
enum class UnassignedReason { none, beforeFirstCard, afterLastCard, unknownCode };

enum class FrameFix { none, markedAsCard, notACard };

struct PlannedFrame {
    QString path;
    QString name;
    std::optional<CaptureTime> captureTime;
    FrameRole role = FrameRole::unassigned;
    UnassignedReason reason = UnassignedReason::none;
    FrameFix fix = FrameFix::none;
    int subject = -1; // into CardPlan::subjects; -1 before the first card or after the last
    // The rows whose values it is given, merged for a group; empty when it
    // is given none.
    QStringList keys;
    QStringList codes;         // the texts of the codes read in it
    QStringList cardKeys;      // the keys they gave, or the fix gave, known or not
    bool placedByName = false; // ordered by time, but it has none
    std::optional<Error> readError;

    bool isCard() const { return role == FrameRole::card || role == FrameRole::groupCard; }
};

// The frames that one card (or several cards of the same key in a row)
// gives a row or a group of rows.
struct CardSubject {
    // The rows' keys; for an unknown subject, the keys its card gave.
    QStringList keys;
    bool known = true;
    std::vector<int> cards;  // into CardPlan::frames
    std::vector<int> frames; // the same, its card frames left out, in order

    // Its longest pause between two frames (its cards included), in
    // seconds, and the frame after which it fell.
    double longestGap = 0;
    int gapAfter = -1;
    bool gapFlag = false;   // longestGap above the plan's gap
    bool countFlag = false; // far more frames than the session's median

    bool isGroup() const { return keys.size() > 1; }
    // "check: a card may have been missed"
    bool needsCheck() const { return gapFlag || countFlag; }
};

// Which frames go to which row, before anything is written.
struct CardPlan {
    CardPlanOptions options;
    std::vector<PlannedFrame> frames; // in shooting order
    std::vector<CardSubject> subjects;
    // Rows no frame goes to, in the data source's order.
    QStringList rowsWithoutFrames;
    // The median frame count of the subjects of known rows with any frames.
    double medianFrames = 0;
    // Fixes that named no frame, or more than one.
    QStringList fixProblems;

    // Each frame that is written, with the keys of the rows it gets.
    std::vector<std::pair<QString, QStringList>> assignments() const;
};

// A subject's frame count is flagged when it is more than this many times
// the median, and at least `countFlagMargin` frames above it. Both, so that
// 3 frames against a median of 1 pass, and 60 against 20 don't. The median
// needs at least `countFlagMinimumSubjects` subjects to mean anything.
inline constexpr double countFlagFactor = 3.0;
inline constexpr int countFlagMargin = 5;
inline constexpr int countFlagMinimumSubjects = 3;

// Orders the frames, finds the cards and gives each frame its subject.
// Pure: all that was read from the files is in `frames`.
CardPlan makeCardPlan(std::vector<CardFrame> frames, const RowKeys& rows,
                      const CardPlanOptions& options);

} // namespace qb
