// SPDX-License-Identifier: GPL-3.0-or-later
// Parsing of one line into fields: the hot path of the reader.
#include "csvparser.h"

#include "csv/csvfailures.h"

namespace qb::csvdetail {

// Runs of scalars that can't end a field are copied straight from the
// source's run; only the scalars that might are looked at one by one.
void CSVParser::copyPlainRun()
{
    if (!m_pushedBack.empty())
        return;
    const char32_t* p = m_cursor;
    const char32_t field = m_fieldDelimiter.first;
    const char32_t row = m_rowDelimiter.first;
    while (p != m_end && *p != field && *p != row && *p != m_quote)
        ++p;
    m_line.append(m_cursor, p);
    m_cursor = p;
}

void CSVParser::copyQuotedRun()
{
    if (!m_pushedBack.empty())
        return;
    const char32_t* p = m_cursor;
    while (p != m_end && *p != m_quote)
        ++p;
    m_line.append(m_cursor, p);
    m_cursor = p;
}

// False for no line at all: the input ended before any scalar of one.
bool CSVParser::parseLine(qint64 rowIndex)
{
    m_line.clear();
    for (;;) {
        const char32_t scalar = take();
        if (scalar == endOfInput) {
            if (m_line.fieldCount() == 0)
                return false;
            m_line.endField();
            return true;
        }
        if (m_isTrimNeeded && m_trim.contains(scalar))
            continue;
        bool rowEnd = false;
        if (scalar == m_quote) {
            rowEnd = parseEscapedField(rowIndex);
        } else if (matches(m_fieldDelimiter, scalar)) {
            rowEnd = false;
        } else if (matches(m_rowDelimiter, scalar)) {
            rowEnd = true;
        } else {
            rowEnd = parseUnescapedField(scalar, rowIndex);
        }
        m_line.endField();
        if (rowEnd)
            return true;
    }
}

// Returns whether the field also ended the row.
bool CSVParser::parseUnescapedField(char32_t first, qint64 rowIndex)
{
    m_line.append(first);
    bool rowEnd = false;
    for (;;) {
        copyPlainRun();
        const char32_t scalar = take();
        if (scalar == endOfInput) {
            rowEnd = true;
            break;
        }
        if (scalar == m_quote)
            throw csvfailure::quoteInUnescapedField(rowIndex);
        if (matches(m_fieldDelimiter, scalar))
            break;
        if (matches(m_rowDelimiter, scalar)) {
            rowEnd = true;
            break;
        }
        m_line.append(scalar);
    }
    if (m_isTrimNeeded)
        m_line.trimOpenField(m_trim);
    return rowEnd;
}

// The opening quote is consumed. Returns whether the field also ended the
// row. Quoted content is never trimmed.
bool CSVParser::parseEscapedField(qint64 rowIndex)
{
    for (;;) {
        copyQuotedRun();
        char32_t scalar = take();
        if (scalar == endOfInput)
            throw csvfailure::unclosedEscapedField(rowIndex);
        if (scalar != m_quote) {
            m_line.append(scalar);
            continue;
        }
        scalar = take();
        if (scalar == endOfInput)
            return true;
        if (scalar == m_quote) {
            m_line.append(scalar);
            continue;
        }
        if (m_isTrimNeeded && m_trim.contains(scalar)) {
            do {
                scalar = take();
                if (scalar == endOfInput)
                    return true;
            } while (m_trim.contains(scalar));
        }
        if (matches(m_fieldDelimiter, scalar))
            return false;
        if (matches(m_rowDelimiter, scalar))
            return true;
        // Anything else after a closing quote gets the one message the reader
        // has for a badly closed quoted field.
        throw csvfailure::unclosedEscapedField(rowIndex);
    }
}

} // namespace qb::csvdetail
