// SPDX-License-Identifier: GPL-3.0-or-later
#include "xlsxsheet.h"

#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/xlsxparts.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace qb {

namespace {

enum class CellType : quint8 { number, shared, inlineString, string, boolean, error, date };

// One cell as the XML has it, before its value is worked out.
struct RawCell {
    CellPosition position;
    qint64 style = 0;
    CellType type = CellType::number;
    bool hasValue = false;
    bool hasFormula = false;
    QString value; // the <v>, or the inline string
};

using Batch = std::vector<RawCell>;
constexpr size_t batchSize = 4096;
// Enough to keep both threads busy; more would only hold memory.
constexpr size_t batchesInFlight = 4;

// Hands batches of cells from the thread reading the XML to the one taking
// them, holding a few at most.
class Handover {
public:
    // False once the taker wants no more.
    bool give(Batch&& batch)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_stopped || m_batches.size() < batchesInFlight; });
        if (m_stopped)
            return false;
        m_batches.push_back(std::move(batch));
        m_changed.notify_all();
        return true;
    }

    // Nothing once the giver is done and all is taken.
    std::optional<Batch> take()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_done || !m_batches.empty(); });
        if (m_batches.empty())
            return std::nullopt;
        Batch batch = std::move(m_batches.front());
        m_batches.pop_front();
        m_changed.notify_all();
        return batch;
    }

    void done() { set(m_done); }
    void stop() { set(m_stopped); }

private:
    void set(bool& flag)
    {
        std::lock_guard lock(m_mutex);
        flag = true;
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Batch> m_batches;
    bool m_done = false;
    bool m_stopped = false;
};

CellType cellType(QStringView type)
{
    if (type == u"s")
        return CellType::shared;
    if (type == u"inlineStr")
        return CellType::inlineString;
    if (type == u"str")
        return CellType::string;
    if (type == u"b")
        return CellType::boolean;
    if (type == u"e")
        return CellType::error;
    if (type == u"d")
        return CellType::date;
    return CellType::number;
}

// Runs on its own thread: the rows and cells of <sheetData>, as they come.
// Damage is raised on the reader, where XmlPart::finish() reports it.
class CellReader {
public:
    CellReader(QXmlStreamReader& xml, Handover& handover)
        : m_xml(xml)
        , m_handover(handover)
    {
        m_batch.reserve(batchSize);
    }

    void run()
    {
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == u"sheetData") {
                readRows();
                break; // nothing after the cells is of use
            }
            m_xml.skipCurrentElement();
        }
        if (!m_batch.empty())
            m_handover.give(std::move(m_batch));
        m_handover.done();
    }

private:
    void readRows()
    {
        qint64 next = 0;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != u"row") {
                m_xml.skipCurrentElement();
                continue;
            }
            const QStringView number = m_xml.attributes().value("r"_L1);
            const qint64 row = number.isEmpty() ? next : number.toLongLong() - 1;
            if (row < next || row >= maxSheetRows) {
                m_xml.raiseError(u"its row \u201c%1\u201d is out of order or range"_s.arg(number));
                return;
            }
            if (!readCells(row))
                return;
            next = row + 1;
        }
    }

    bool readCells(qint64 row)
    {
        qint64 column = 0;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != u"c") {
                m_xml.skipCurrentElement();
                continue;
            }
            RawCell& cell = m_batch.emplace_back();
            if (!readAttributes(cell, row, column))
                return false;
            column = cell.position.column + 1;
            readChildren(cell);
            if (m_batch.size() == batchSize) {
                if (!m_handover.give(std::move(m_batch)))
                    return false;
                m_batch = {};
                m_batch.reserve(batchSize);
            }
        }
        return true;
    }

    bool readAttributes(RawCell& cell, qint64 row, qint64 column)
    {
        // The copy of the attributes must go before the reader moves on,
        // or the reader would copy its own list for every cell.
        const QXmlStreamAttributes attributes = m_xml.attributes();
        if (const QStringView reference = attributes.value("r"_L1); !reference.isEmpty()) {
            const auto position = parseCellReference(reference);
            if (!position) {
                m_xml.raiseError(
                    u"its cell reference \u201c%1\u201d is not valid"_s.arg(reference));
                return false;
            }
            column = position->column;
        }
        cell.position = {row, column};
        cell.type = cellType(attributes.value("t"_L1));
        cell.style = attributes.value("s"_L1).toLongLong();
        return true;
    }

    void readChildren(RawCell& cell)
    {
        bool inlineText = false;
        while (m_xml.readNextStartElement()) {
            const QStringView name = m_xml.name();
            if (name == u"v" && !inlineText) {
                cell.value = m_xml.readElementText();
                cell.hasValue = true;
            } else if (name == u"is") {
                cell.value = xlsxStringItem(m_xml);
                cell.hasValue = inlineText = true;
            } else {
                cell.hasFormula = cell.hasFormula || name == u"f";
                m_xml.skipCurrentElement();
            }
        }
    }

    QXmlStreamReader& m_xml;
    Handover& m_handover;
    Batch m_batch;
};

// Whether `text` is a whole number as numberText() would write it, so it can
// be kept as it is: most numbers in a sheet are, and it saves a string.
bool isPlainWholeNumber(QStringView text)
{
    const QStringView digits = text.startsWith(u'-') ? text.sliced(1) : text;
    if (digits.isEmpty() || digits.size() > 15 || (digits.size() > 1 && digits[0] == u'0') ||
        text == u"-0")
        return false;
    return std::all_of(digits.begin(), digits.end(),
                       [](QChar c) { return c >= u'0' && c <= u'9'; });
}

// Works out the cells' values, as the spreadsheet shows them, into the table.
class CellInterpreter {
public:
    CellInterpreter(const QString& part, TableBuilder& builder, const XlsxCellContext& context)
        : m_part(part)
        , m_builder(builder)
        , m_context(context)
    {
    }

    std::expected<void, Error> take(const RawCell& cell)
    {
        if (cell.position.row != m_builder.currentRow()) {
            if (auto ended = endRow(); !ended)
                return ended;
            m_builder.beginRow(cell.position.row);
            m_inRow = true;
        }
        auto text = cellText(cell);
        if (!text)
            return std::unexpected(text.error());
        return m_builder.setCells(cell.position.column, *text);
    }

    std::expected<void, Error> endRow()
    {
        if (!std::exchange(m_inRow, false))
            return {};
        return m_builder.endRow();
    }

private:
    std::expected<QString, Error> cellText(const RawCell& cell)
    {
        // Some writers leave an empty <v> for a result they never worked
        // out; only a text result can truly be empty.
        const bool text = cell.type == CellType::string || cell.type == CellType::inlineString;
        if (cell.hasFormula && (!cell.hasValue || (cell.value.isEmpty() && !text))) {
            m_builder.noteUnsavedFormula(cell.position);
            return QString();
        }
        switch (cell.type) {
        case CellType::shared:
            return sharedString(cell);
        case CellType::inlineString:
        case CellType::string:
            return unescapeOoxmlText(cell.value);
        case CellType::boolean:
            return cell.value == u"1" ? u"TRUE"_s : cell.value == u"0" ? u"FALSE"_s : cell.value;
        case CellType::error:
            m_builder.noteError(cell.position, 1, 1,
                                cell.value.isEmpty() ? u"with no name"_s : cell.value);
            return QString();
        case CellType::date:
            return wholeSecondDateText(cell.value);
        case CellType::number:
            break;
        }
        const DateKind kind = cell.style >= 0 && size_t(cell.style) < m_context.styles.size()
                                  ? m_context.styles[size_t(cell.style)]
                                  : DateKind::none;
        if (kind == DateKind::none && isPlainWholeNumber(cell.value))
            return cell.value;
        const auto number = parseNumber(cell.value);
        if (!number)
            return cell.value;
        return serialDateText(*number, kind, m_context.date1904).value_or(numberText(*number));
    }

    std::expected<QString, Error> sharedString(const RawCell& cell)
    {
        if (!cell.hasValue)
            return QString();
        bool ok = false;
        const qulonglong index = cell.value.toULongLong(&ok);
        if (!ok || index >= m_context.sharedStrings.size()) {
            return std::unexpected(
                damagedPartError(m_builder.path(), m_part,
                                 u"its cell %1 refers to shared text %2, but there are %3 of them"_s
                                     .arg(cellReference(cell.position), cell.value)
                                     .arg(m_context.sharedStrings.size())));
        }
        return m_context.sharedStrings[index];
    }

    const QString& m_part;
    TableBuilder& m_builder;
    const XlsxCellContext& m_context;
    bool m_inRow = false;
};

std::expected<void, Error> interpretAll(Handover& handover, CellInterpreter& interpreter)
{
    while (auto batch = handover.take()) {
        for (const RawCell& cell : *batch) {
            if (auto taken = interpreter.take(cell); !taken)
                return taken;
        }
    }
    return interpreter.endRow();
}

} // namespace

std::expected<void, Error> readXlsxSheetData(XmlPart& part, TableBuilder& builder,
                                             const XlsxCellContext& context)
{
    Handover handover;
    CellInterpreter interpreter(part.name(), builder, context);
    // The part and its reader belong to the thread until it is joined.
    std::jthread reading([&] { CellReader(part.xml(), handover).run(); });
    auto interpreted = interpretAll(handover, interpreter);
    handover.stop();
    reading.join();
    if (!interpreted)
        return interpreted;
    return part.finish();
}

} // namespace qb
