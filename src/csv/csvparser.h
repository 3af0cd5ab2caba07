// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csvconfiguration.h"
#include "csv/csvfileview.h"
#include "csv/csvline.h"
#include "csv/csvreaderstate.h"
#include "csv/scalarsource.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qb::csvdetail {

// The state of one CSVReader: the scalar source, the row rules and the line
// being parsed. Failures are thrown as CSVError; the reader hands them out.
class CSVParser {
public:
    // Reads the header line when the configuration asks for one.
    CSVParser(CSVReaderConfiguration config, CSVReaderSettings settings,
              std::unique_ptr<ScalarSource> source);

    std::optional<QStringList> nextRow();
    CSVFileView readFile();

    const CSVReaderConfiguration& configuration() const { return m_configuration; }
    const CSVReaderSettings& settings() const { return m_settings; }
    const QStringList& headers() const { return m_headers; }
    CSVReaderCount count() const { return m_count; }
    const CSVReaderStatus& status() const { return m_status; }

private:
    // A delimiter's scalars; its shape, fixed at construction, decides how
    // much a match reads ahead.
    struct DelimiterMatcher {
        enum class Shape { one, two, many };

        explicit DelimiterMatcher(std::u32string delimiter);

        std::u32string scalars;
        Shape shape;
        char32_t first;
    };

    bool nextLine();
    bool parseLine(qint64 rowIndex);
    bool parseUnescapedField(char32_t first, qint64 rowIndex);
    bool parseEscapedField(qint64 rowIndex);

    // The next scalar: a pushed-back one first, then the source's.
    char32_t take()
    {
        if (!m_pushedBack.empty()) {
            const char32_t scalar = m_pushedBack.back();
            m_pushedBack.pop_back();
            return scalar;
        }
        if (m_cursor == m_end && !refill())
            return endOfInput;
        return *m_cursor++;
    }
    bool refill();

    // `scalar` was just taken. On false, whatever the match read ahead is
    // pushed back, and the caller still holds `scalar`.
    bool matches(const DelimiterMatcher& delimiter, char32_t scalar)
    {
        if (scalar != delimiter.first)
            return false;
        return delimiter.shape == DelimiterMatcher::Shape::one || matchesRest(delimiter);
    }
    bool matchesRest(const DelimiterMatcher& delimiter);

    void copyPlainRun();
    void copyQuotedRun();

    CSVReaderConfiguration m_configuration;
    CSVReaderSettings m_settings;
    std::unique_ptr<ScalarSource> m_source;
    const char32_t* m_cursor = nullptr;
    const char32_t* m_end = nullptr;
    bool m_sourceEnded = false;
    // A stack: the next scalar to deliver is the last element.
    std::vector<char32_t> m_pushedBack;

    DelimiterMatcher m_fieldDelimiter;
    DelimiterMatcher m_rowDelimiter;
    // endOfInput - 1 when there is no quote, which no input scalar can equal.
    char32_t m_quote;
    bool m_isTrimNeeded;
    ScalarSet m_trim;

    CSVLine m_line;
    QStringList m_headers;
    CSVReaderCount m_count;
    CSVReaderStatus m_status;
};

} // namespace qb::csvdetail
