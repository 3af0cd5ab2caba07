// SPDX-License-Identifier: GPL-3.0-or-later
#include "watchcards.h"

#include "cardoptions.h"

#include "cards/plannedrows.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QSocketNotifier>
#include <QtConcurrent/QtConcurrentRun>

#include <csignal>

#include <unistd.h>

namespace qb::cli {

WatchCards::WatchCards(CardKeyPattern pattern, CardFrames cardFrames,
                       std::shared_ptr<const BarcodeDecoder> decoder, Streams& streams)
    : m_pattern(std::move(pattern))
    , m_cardFrames(cardFrames)
    , m_decoder(std::move(decoder))
    , m_streams(streams)
{
}

void WatchCards::read(const QString& path, Rows rows, Done done)
{
    auto* watcher = new QFutureWatcher<FrameDecoding>(this);
    connect(watcher, &QFutureWatcher<FrameDecoding>::finished, this,
            [this, watcher, path, rows = std::move(rows), done = std::move(done)] {
                watcher->deleteLater();
                const FrameDecoding decoding = watcher->result();
                const QString name = QFileInfo(path).fileName();
                QStringList codes;
                if (!decoding)
                    printError(m_streams, QStringLiteral("%1: its codes could not be read: %2")
                                              .arg(name, decoding.error().failureReason));
                for (const DecodedCode& code : decoding.value_or(std::vector<DecodedCode>()))
                    codes << code.text;
                const CardReading reading = readCardKeys(codes, m_pattern, rowKeysOf(*rows));
                if (reading.isCard()) {
                    take(reading, name, rows);
                    if (m_cardFrames == CardFrames::skip) {
                        printError(m_streams, QStringLiteral("%1: a card; left alone").arg(name));
                        done(std::nullopt);
                        return;
                    }
                }
                if (!m_subject || m_subject->isEmpty()) {
                    printError(m_streams,
                               QStringLiteral("%1: %2; left unwritten")
                                   .arg(name, m_subject
                                                  ? QStringLiteral("the last card or key named "
                                                                   "no row")
                                                  : QStringLiteral("no subject yet")));
                    done(std::nullopt);
                    return;
                }
                done(*m_subject);
            });
    watcher->setFuture(
        QtConcurrent::run([decoder = m_decoder, path] { return decoder->decodeFile(path); }));
}

void WatchCards::typed(const QString& line, const Rows& rows)
{
    const RowKeys keys = rowKeysOf(*rows);
    CardReading reading = readCardKeys({line}, m_pattern, keys);
    // An operator types the key itself, which a pattern for the cards'
    // codes need not match.
    if (!reading.isKnown())
        if (const std::optional<QString> key = keys.find(line))
            reading = {{*key}, {*key}};
    if (!reading.isCard())
        reading.cardKeys = {line};
    take(reading, QString(), rows);
}

void WatchCards::take(const CardReading& reading, const QString& from, const Rows& rows)
{
    const QString where = from.isEmpty() ? QString() : from + QStringLiteral(": ");
    if (!reading.isKnown()) {
        m_subject = QStringList();
        printError(m_streams, QStringLiteral("%1%2 names no row; the captures after it are left "
                                             "unwritten until a subject is set")
                                  .arg(where, reading.cardKeys.join(QStringLiteral(" + "))));
        return;
    }
    m_subject = reading.rowKeys;
    const PlanTextOptions names = planTextOptions(rows);
    QStringList described;
    for (const QString& key : reading.rowKeys)
        described << describedKey(key, names);
    m_streams.out << "subject " << described.join(QStringLiteral(" + ")) << '\n';
    m_streams.out.flush();
}

void WatchCards::listenToStandardInput(std::function<Rows()> rows)
{
    m_rows = std::move(rows);
    // Started in the background of a terminal, a read of it would stop the
    // whole session; ignored, the read fails instead, and the cards go on.
    ::signal(SIGTTIN, SIG_IGN);
    m_input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_input, &QSocketNotifier::activated, this, &WatchCards::readInput);
}

void WatchCards::readInput()
{
    char buffer[4096];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got <= 0) {
        if (got == 0 || (errno != EINTR && errno != EAGAIN))
            m_input->setEnabled(false); // ended, or can't be read: the cards still work
        return;
    }
    m_typed.append(buffer, got);
    qsizetype end;
    while ((end = m_typed.indexOf('\n')) >= 0) {
        const QString line = QString::fromUtf8(m_typed.left(end)).trimmed();
        m_typed.remove(0, end + 1);
        if (!line.isEmpty())
            typed(line, m_rows());
    }
}

} // namespace qb::cli
