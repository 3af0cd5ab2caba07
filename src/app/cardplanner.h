// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cards/cardplan.h"
#include "cards/plannedrows.h"

#include "sources/imageplan.h"

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QThreadPool>

#include <memory>
#include <optional>

namespace qb {

class BarcodeDecoder;

// What the images table shows of a card plan, row by row in shooting order.
struct CardTableRows {
    QStringList paths;
    std::vector<ImagePlanEntry> entries;
    // "1234 Ana Lindqvist, 6 frames": the subject each frame belongs to.
    QStringList subjects;
};

// The table's rows for `plan`: card frames as cards, a subject's frames
// with the tags its rows give and what to check, and the rest unassigned.
CardTableRows cardTableRows(const CardPlan& plan, const FileNameDataSource& rows,
                            const std::vector<MetadataMapping>& mappings, EmptyCells emptyCells);

// The window's card mode: reads a batch's frames (their codes on one
// worker per core, their capture times in one exiftool run) off the main
// thread, keeps what it read of each file until the file changes, and makes
// the plan there too. A newer plan supersedes one still being made.
class CardPlanner final : public QObject {
    Q_OBJECT

public:
    struct Inputs {
        QStringList paths;
        std::shared_ptr<const FileNameDataSource> rows; // a copy the worker may read
        std::vector<MetadataMapping> mappings;
        EmptyCells emptyCells = EmptyCells::keep;
        CardPlanOptions options;
    };

    CardPlanner(QString exiftool, QObject* parent = nullptr);
    ~CardPlanner() override;

    void plan(Inputs inputs);
    // Forgets the plan, as when card mode is left.
    void clear();
    bool isPlanning() const { return m_planning; }

    // The last plan, its rows, and the table's view of it; none before it comes.
    const std::optional<CardPlan>& currentPlan() const { return m_plan; }
    const std::shared_ptr<PlannedRows>& plannedRows() const { return m_rows; }
    const CardTableRows& tableRows() const { return m_tableRows; }

signals:
    void planned();
    // exiftool couldn't be run to read the capture times.
    void failed(const Error& error);

private:
    struct Read {
        qint64 size = 0;
        QDateTime modified;
        CardFrame frame;
    };
    struct Result;
    void take(int generation, const std::shared_ptr<Result>& result);

    QString m_exiftool;
    std::shared_ptr<BarcodeDecoder> m_decoder;
    // One plan at a time; the codes decode on the global pool meanwhile.
    QThreadPool m_pool;
    QHash<QString, Read> m_read;
    int m_generation = 0;
    bool m_planning = false;
    std::optional<CardPlan> m_plan;
    std::shared_ptr<PlannedRows> m_rows;
    CardTableRows m_tableRows;
};

} // namespace qb
