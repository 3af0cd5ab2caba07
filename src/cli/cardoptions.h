// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

#include "cards/barcodedecoder.h"
#include "cards/cardplan.h"
#include "cards/cardplanformat.h"
#include "sources/filenamedatasource.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QUrl>

#include <expected>
#include <memory>

namespace qb::cli {

// The options of a session shot with barcode cards, shared by cards, assign
// --cards and watch --cards.
struct CardOptions {
    QCommandLineOption order{QStringLiteral("order"),
                             QStringLiteral("time orders frames by capture time, then by name "
                                            "(default); name by file name alone."),
                             QStringLiteral("time|name")};
    QCommandLineOption cardOrder{QStringLiteral("card-order"),
                                 QStringLiteral("forward: a card's frames follow it (default); "
                                                "backward: they come before it."),
                                 QStringLiteral("forward|backward")};
    QCommandLineOption cardFrames{QStringLiteral("card-frames"),
                                  QStringLiteral("skip leaves card frames alone (default); write "
                                                 "gives them their subject's row."),
                                  QStringLiteral("skip|write")};
    QCommandLineOption cardPattern{QStringLiteral("card-pattern"),
                                   QStringLiteral("A regular expression that takes the key out "
                                                  "of a card's code: its group named key, else "
                                                  "its first group. A code it doesn't match is "
                                                  "no card."),
                                   QStringLiteral("REGEX")};
    QCommandLineOption gap{QStringLiteral("gap"),
                           QStringLiteral("Flag a subject whose frames pause longer than this, "
                                          "as a card may have been missed (default: 120)."),
                           QStringLiteral("SECONDS")};
    QCommandLineOption cardsFile{QStringLiteral("cards-file"),
                                 QStringLiteral("A CSV of frame,key lines that mark cards by "
                                                "hand; frame,- says a frame is not one."),
                                 QStringLiteral("FILE")};

    QList<QCommandLineOption> all() const
    {
        return {order, cardOrder, cardFrames, cardPattern, gap, cardsFile};
    }
    // Those that a live session has.
    QList<QCommandLineOption> live() const { return {cardFrames, cardPattern}; }
};

// The plan's options as the command line gives them; the message to print
// for one it can't take.
std::expected<CardPlanOptions, QString> chosenCardPlanOptions(const QCommandLineParser& parser,
                                                              const CardOptions& options);
// Only those that a live session has: --card-pattern and --card-frames.
std::expected<CardPlanOptions, QString> chosenLiveCardOptions(const QCommandLineParser& parser,
                                                              const CardOptions& options);
// For a command that works by cards only with `cards` (--cards): their
// options then, live ones only when `live`; nothing without it, and the
// message to print for a card option given without it.
std::expected<std::optional<CardPlanOptions>, QString>
chosenCardMode(const QCommandLineParser& parser, const QCommandLineOption& cards,
               const CardOptions& options, bool live);

// Reads the frames among `images` and plans them; prints why it can't.
std::expected<CardPlan, ExitStatus> planCardSession(const QList<QUrl>& images,
                                                    const FileNameDataSource& rows,
                                                    const CardPlanOptions& options,
                                                    const QString& exiftool, Streams& streams);

// Names the rows for people, as rowName does.
PlanTextOptions planTextOptions(std::shared_ptr<const FileNameDataSource> rows);

// "1234 (Ana Lindqvist)", or the key alone.
QString describedKey(const QString& key, const PlanTextOptions& options);

} // namespace qb::cli
