// SPDX-License-Identifier: GPL-3.0-or-later
// Sessions and plans written as short lines, so a table shows them whole.
#pragma once

#include "cards/cardplan.h"

#include <QStringList>
#include <QTimeZone>

namespace qb::testing {

// One token per frame, named F01, F02, … and 10 s apart: "." a frame
// without code, "!" one that could not be read, anything else the codes
// on a card ("1234", "1234+1235"). ">300" after a token puts it 300 s after
// the one before; "~" leaves it without a time.
inline std::vector<CardFrame> sketchedFrames(const QString& session)
{
    std::vector<CardFrame> frames;
    QDateTime time(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc());
    for (QString token : session.split(' ', Qt::SkipEmptyParts)) {
        CardFrame frame{QStringLiteral("/shoot/F%1").arg(frames.size() + 1, 2, 10, QChar('0')),
                        {},
                        {},
                        std::vector<DecodedCode>()};
        const qsizetype later = token.indexOf('>');
        time = time.addSecs(later > 0 ? token.mid(later + 1).toInt() : 10);
        token = token.left(later > 0 ? later : token.size());
        if (!token.endsWith('~'))
            frame.captureTime = CaptureTime::fromExif(time.toString("yyyy:MM:dd HH:mm:ss"));
        token.remove('~');
        if (token == "!")
            frame.codes = std::unexpected(Error());
        else if (token != ".")
            for (const QString& text : token.split('+'))
                frame.codes->push_back({text, "QRCode", {}});
        frames.push_back(std::move(frame));
    }
    return frames;
}

inline RowKeys sketchRows()
{
    return RowKeys(QStringList{"1234", "1235", "1236", "1237", "1238", "José"});
}

// Per frame in plan order: "c:1234" a card ("C:" when it is written, "g:"
// and "G:" for a group), "1234" a frame given that row, "-b" and "-a"
// unassigned before the first or after the last card, "c?9999" a card of
// an unknown code and "?9999" a frame it leaves unassigned.
inline QString framesSketch(const CardPlan& plan)
{
    QStringList tokens;
    for (const PlannedFrame& f : plan.frames) {
        const CardSubject* s = f.subject >= 0 ? &plan.subjects[size_t(f.subject)] : nullptr;
        const QString keys = s ? s->keys.join('+') : QString();
        if (f.isCard() && !s->known)
            tokens << "c?" + keys;
        else if (f.isCard()) {
            const QString mark = f.role == FrameRole::groupCard ? "g:" : "c:";
            tokens << (f.keys.isEmpty() ? mark : mark.toUpper()) + keys;
        } else if (f.role == FrameRole::subject)
            tokens << f.keys.join('+');
        else if (f.reason == UnassignedReason::unknownCode)
            tokens << "?" + keys;
        else
            tokens << (f.reason == UnassignedReason::beforeFirstCard ? "-b" : "-a");
    }
    return tokens.join(' ');
}

// Per subject: its keys and frame count ("?" first for an unknown code),
// then "!gap" and "!count" for its checks.
inline QString subjectsSketch(const CardPlan& plan)
{
    QStringList tokens;
    for (const CardSubject& s : plan.subjects)
        tokens << QString(s.known ? "" : "?") + s.keys.join('+') +
                      QStringLiteral(":%1").arg(s.frames.size()) + (s.gapFlag ? "!gap" : "") +
                      (s.countFlag ? "!count" : "");
    return tokens.join(' ');
}

} // namespace qb::testing
