// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvparser.h"

#include "csv/csvfailures.h"

namespace qb::csvdetail {

namespace {

constexpr char32_t noQuote = endOfInput - 1;

std::shared_ptr<const HeaderLookup> makeLookup(const QStringList& headers)
{
    auto lookup = makeHeaderLookup(headers);
    if (!lookup)
        throw csvfailure::duplicateHeaders();
    return lookup;
}

} // namespace

CSVParser::DelimiterMatcher::DelimiterMatcher(std::u32string delimiter)
    : scalars(std::move(delimiter))
    , shape(scalars.size() == 1   ? Shape::one
            : scalars.size() == 2 ? Shape::two
                                  : Shape::many)
    , first(scalars.front())
{
}

CSVParser::CSVParser(CSVReaderConfiguration config, CSVReaderSettings settings,
                     std::unique_ptr<ScalarSource> source)
    : m_configuration(std::move(config))
    , m_settings(std::move(settings))
    , m_source(std::move(source))
    , m_fieldDelimiter(m_settings.delimiters.field)
    , m_rowDelimiter(m_settings.delimiters.row)
    , m_quote(m_settings.escapingScalar.value_or(noQuote))
    , m_isTrimNeeded(m_settings.isTrimNeeded)
    , m_trim(m_settings.trimCharacters)
{
    m_pushedBack.reserve(8);
    if (m_configuration.headerStrategy != Strategy::Header::firstLine)
        return;
    if (!parseLine(0)) {
        m_status.kind = CSVReaderStatus::Kind::finished;
        return;
    }
    // A parsed line always has a field; this guards against that changing.
    if (m_line.fieldCount() == 0)
        throw csvfailure::emptyHeaderLine();
    m_headers = m_line.fields();
    m_count = {1, m_line.fieldCount()};
}

std::optional<QStringList> CSVParser::nextRow()
{
    if (!nextLine())
        return std::nullopt;
    return m_line.fields();
}

CSVFileView CSVParser::readFile()
{
    auto lookup = makeLookup(m_headers);
    auto rows = std::make_shared<RowStorage>();
    while (nextLine())
        rows->append(m_line.text(), m_line.ends());
    rows->squeeze();
    rows->fieldCount = m_count.fields;
    return CSVFileView(m_headers, std::move(rows), std::move(lookup));
}

// The rules that turn lines into rows: blank lines, field counts, the status.
bool CSVParser::nextLine()
{
    using Kind = CSVReaderStatus::Kind;
    if (m_status.kind == Kind::finished)
        return false;
    if (m_status.kind == Kind::failed)
        throw *m_status.error;
    try {
        for (;;) {
            if (!parseLine(m_count.rows)) {
                m_status.kind = Kind::finished;
                return false;
            }
            // Kept as it always was: a blank line right after the first line
            // is a row; any other blank line is skipped.
            if (m_line.isBlank()) {
                if (m_count.rows != 1)
                    continue;
            } else if (m_count.rows < 1) {
                m_count.fields = m_line.fieldCount();
            }
            if (m_line.fieldCount() != m_count.fields)
                throw csvfailure::fieldCountMismatch(m_count.rows + 1, m_line.fieldCount(),
                                                     m_count.fields);
            ++m_count.rows;
            return true;
        }
    } catch (const CSVError& error) {
        m_status = {Kind::failed, error};
        throw;
    }
}

bool CSVParser::refill()
{
    if (m_sourceEnded)
        return false;
    const std::span<const char32_t> run = m_source->next();
    if (run.empty()) {
        m_sourceEnded = true;
        return false;
    }
    m_cursor = run.data();
    m_end = run.data() + run.size();
    return true;
}

bool CSVParser::matchesRest(const DelimiterMatcher& delimiter)
{
    if (delimiter.shape == DelimiterMatcher::Shape::two) {
        const char32_t next = take();
        if (next == endOfInput)
            return false;
        if (next == delimiter.scalars[1])
            return true;
        m_pushedBack.push_back(next);
        return false;
    }
    std::u32string collected;
    for (std::size_t i = 1; i < delimiter.scalars.size(); ++i) {
        const char32_t next = take();
        if (next != endOfInput)
            collected.push_back(next);
        if (next != delimiter.scalars[i]) {
            m_pushedBack.insert(m_pushedBack.end(), collected.rbegin(), collected.rend());
            return false;
        }
    }
    return true;
}

} // namespace qb::csvdetail
