// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardplanner.h"

#include "cards/cardsession.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

namespace qb {

namespace {

QString framesText(std::size_t count)
{
    return count == 1 ? QStringLiteral("1 frame") : QStringLiteral("%1 frames").arg(count);
}

// "1234 Ana Lindqvist, 6 frames"; a group's keys together; an unknown
// code as read.
QString subjectText(const CardSubject& subject, const FileNameDataSource& rows)
{
    QStringList named;
    for (const QString& key : subject.keys) {
        const QString name = subject.known ? rowName(rows, key) : QString();
        named << (name.isEmpty() ? key : key + QLatin1Char(' ') + name);
    }
    QString text = named.join(QStringLiteral(" + "));
    if (!subject.known)
        text += QStringLiteral(" (no row)");
    return text + QStringLiteral(", ") + framesText(subject.frames.size());
}

QString unassignedReason(const PlannedFrame& frame, const CardSubject* subject)
{
    if (frame.readError)
        return QStringLiteral("couldn\u2019t be read: ") + frame.readError->errorDescription;
    switch (frame.reason) {
    case UnassignedReason::beforeFirstCard:
        return QStringLiteral("before the first card");
    case UnassignedReason::afterLastCard:
        return QStringLiteral("after the last card");
    case UnassignedReason::unknownCode:
        return QStringLiteral("its card %1 names no row")
            .arg(subject ? subject->keys.join(QStringLiteral(", ")) : QString());
    case UnassignedReason::none:
        break;
    }
    return QStringLiteral("no card");
}

QString cardNote(const PlannedFrame& frame, const CardSubject* subject)
{
    QStringList notes;
    if (frame.role == FrameRole::groupCard)
        notes << QStringLiteral("a group");
    if (subject && !subject->known)
        notes << QStringLiteral("no row has its key");
    if (frame.fix == FrameFix::markedAsCard)
        notes << QStringLiteral("set by hand");
    return notes.join(QStringLiteral(", "));
}

int tagCount(const QStringList& keys, const FileNameDataSource& rows,
             const std::vector<MetadataMapping>& mappings, EmptyCells emptyCells)
{
    MetadataRow merged;
    for (const QString& key : keys) {
        if (const std::optional<MetadataRow> row = rows.row(key))
            mergeRow(merged, *row);
    }
    return int(applyMappings(merged, mappings, emptyCells).size());
}

} // namespace

CardTableRows cardTableRows(const CardPlan& plan, const FileNameDataSource& rows,
                            const std::vector<MetadataMapping>& mappings, EmptyCells emptyCells)
{
    CardTableRows table;
    for (const PlannedFrame& frame : plan.frames) {
        const CardSubject* subject =
            frame.subject >= 0 ? &plan.subjects[std::size_t(frame.subject)] : nullptr;
        table.paths << frame.path;
        table.subjects << (subject ? subjectText(*subject, rows) : QString());
        ImagePlanEntry entry;
        entry.keys = subject ? subject->keys : frame.cardKeys;
        if (!frame.keys.isEmpty())
            entry.tagCount = tagCount(frame.keys, rows, mappings, emptyCells);
        if (frame.isCard()) {
            entry.state = ImageState::card;
            entry.reason = cardNote(frame, subject);
        } else if (!frame.keys.isEmpty()) {
            entry.state = ImageState::willBeWritten;
            QStringList notes;
            if (subject && subject->needsCheck())
                notes << QStringLiteral("check: a card may have been missed");
            // Its place in the shoot is a guess worth a look.
            if (frame.placedByName)
                notes << QStringLiteral("no capture time, placed by name");
            entry.reason = notes.join(QStringLiteral("; "));
        } else {
            entry.state = ImageState::unassigned;
            entry.reason = unassignedReason(frame, subject);
        }
        table.entries.push_back(std::move(entry));
    }
    return table;
}

struct CardPlanner::Result {
    std::optional<Error> error;
    // What was read of the files that weren't known, for the next plan.
    QHash<QString, Read> read;
    CardPlan plan;
    CardTableRows rows;
    std::shared_ptr<const FileNameDataSource> source;
};

CardPlanner::CardPlanner(QString exiftool, QObject* parent)
    : QObject(parent)
    , m_exiftool(std::move(exiftool))
    , m_decoder(sessionDecoder(m_exiftool))
{
    m_pool.setMaxThreadCount(1);
}

CardPlanner::~CardPlanner()
{
    ++m_generation;
    m_pool.waitForDone();
}

void CardPlanner::clear()
{
    ++m_generation;
    m_planning = false;
    m_plan.reset();
    m_rows.reset();
    m_tableRows = {};
}

void CardPlanner::plan(Inputs inputs)
{
    const int generation = ++m_generation;
    m_planning = true;
    auto work = [decoder = m_decoder, exiftool = m_exiftool, known = m_read,
                 inputs = std::move(inputs)] {
        auto result = std::make_shared<Result>();
        result->source = inputs.rows;
        std::vector<CardFrame> frames(std::size_t(inputs.paths.size()));
        QStringList unread;
        std::vector<std::size_t> at;
        for (qsizetype i = 0; i < inputs.paths.size(); ++i) {
            const QString& path = inputs.paths[i];
            const QFileInfo info(path);
            const auto it = known.constFind(path);
            if (it != known.constEnd() && it->size == info.size() &&
                it->modified == info.lastModified()) {
                frames[std::size_t(i)] = it->frame;
            } else {
                unread << path;
                at.push_back(std::size_t(i));
            }
        }
        if (!unread.isEmpty()) {
            auto read = readCardFrames(unread, ExifTool(exiftool, {}), decoder);
            if (!read) {
                result->error = read.error();
                return result;
            }
            for (std::size_t i = 0; i < at.size(); ++i) {
                const QFileInfo info(unread[qsizetype(i)]);
                result->read.insert(unread[qsizetype(i)],
                                    Read{info.size(), info.lastModified(), (*read)[i]});
                frames[at[i]] = std::move((*read)[i]);
            }
        }
        result->plan = makeCardPlan(std::move(frames), rowKeysOf(*inputs.rows), inputs.options);
        result->rows =
            cardTableRows(result->plan, *inputs.rows, inputs.mappings, inputs.emptyCells);
        return result;
    };
    auto* watcher = new QFutureWatcher<std::shared_ptr<Result>>(this);
    connect(watcher, &QFutureWatcher<std::shared_ptr<Result>>::finished, this,
            [this, watcher, generation] {
                watcher->deleteLater();
                take(generation, watcher->result());
            });
    watcher->setFuture(QtConcurrent::run(&m_pool, std::move(work)));
}

void CardPlanner::take(int generation, const std::shared_ptr<Result>& result)
{
    // What was read stays true of the files whichever plan asked for it.
    for (auto it = result->read.cbegin(); it != result->read.cend(); ++it)
        m_read.insert(it.key(), it.value());
    if (generation != m_generation)
        return;
    m_planning = false;
    if (result->error) {
        clear();
        emit failed(*result->error);
        emit planned();
        return;
    }
    m_plan = std::move(result->plan);
    m_rows = std::make_shared<PlannedRows>(result->source, m_plan->assignments());
    m_tableRows = std::move(result->rows);
    emit planned();
}

} // namespace qb
