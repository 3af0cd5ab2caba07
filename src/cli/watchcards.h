// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

#include "cards/barcodedecoder.h"
#include "cards/cardplan.h"
#include "cards/cardplanformat.h"
#include "sources/filenamedatasource.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class QSocketNotifier;

namespace qb::cli {

// The current subject of a tethered session shot with barcode cards. A
// capture holding a card makes its rows the current ones, and so does a
// line on standard input: a USB scanner in keyboard mode types the code it
// reads, and an operator may type a key. A card or line that names no row
// leaves the next captures unwritten rather than under the last subject.
class WatchCards : public QObject {
public:
    using Rows = std::shared_ptr<const FileNameDataSource>;

    WatchCards(CardKeyPattern pattern, CardFrames cardFrames,
               std::shared_ptr<const BarcodeDecoder> decoder, Streams& streams);

    // The keys of the rows a capture gets; nothing when it is left
    // unwritten, which has been said.
    using Done = std::function<void(std::optional<QStringList> keys)>;
    // Decodes the capture off the main thread, then answers on it.
    void read(const QString& path, Rows rows, Done done);
    // A line typed or scanned: a code, or a row's key.
    void typed(const QString& line, const Rows& rows);
    // Takes each line of standard input as typed() until it ends; `rows`
    // gives the rows current at the time.
    void listenToStandardInput(std::function<Rows()> rows);

private:
    void take(const CardReading& reading, const QString& from, const Rows& rows);
    void readInput();

    CardKeyPattern m_pattern;
    CardFrames m_cardFrames;
    std::shared_ptr<const BarcodeDecoder> m_decoder;
    Streams& m_streams;
    // Nothing before the first subject; empty after a card of no row.
    std::optional<QStringList> m_subject;
    QSocketNotifier* m_input = nullptr;
    QByteArray m_typed;
    std::function<Rows()> m_rows;
};

} // namespace qb::cli
