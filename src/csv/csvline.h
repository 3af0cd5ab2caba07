// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QChar>
#include <QStringList>
#include <QStringView>

#include <algorithm>
#include <bitset>
#include <memory>
#include <set>
#include <vector>

namespace qb::csvdetail {

// A set of scalars with a quick answer for ASCII, where trim sets live.
class ScalarSet {
public:
    ScalarSet() = default;
    explicit ScalarSet(const std::set<char32_t>& scalars);

    bool contains(char32_t scalar) const
    {
        if (scalar < 128)
            return m_ascii[scalar];
        return std::binary_search(m_other.begin(), m_other.end(), scalar);
    }

private:
    std::bitset<128> m_ascii;
    std::vector<char32_t> m_other;
};

// The line being parsed: the fields' UTF-16 side by side in one reused
// buffer, and where each field ends. Fields are never copied out one by one
// while the line is parsed.
class CSVLine {
public:
    CSVLine();

    void clear()
    {
        m_size = 0;
        m_ends.clear();
    }

    void append(char32_t scalar)
    {
        reserve(2);
        m_size = write(scalar, m_data.get() + m_size) - m_data.get();
    }

    void append(const char32_t* begin, const char32_t* end)
    {
        reserve(2 * (end - begin));
        char16_t* out = m_data.get() + m_size;
        for (; begin != end; ++begin)
            out = write(*begin, out);
        m_size = out - m_data.get();
    }

    void endField() { m_ends.push_back(m_size); }
    // Drops trailing scalars of the set from the field not yet ended.
    void trimOpenField(const ScalarSet& trim);

    qsizetype fieldCount() const { return static_cast<qsizetype>(m_ends.size()); }
    bool isBlank() const { return m_ends.size() == 1 && m_size == 0; }
    QStringView text() const { return QStringView(m_data.get(), m_size); }
    const std::vector<qsizetype>& ends() const { return m_ends; }
    QStringList fields() const;

private:
    static char16_t* write(char32_t scalar, char16_t* out)
    {
        if (scalar < 0x10000) {
            *out++ = static_cast<char16_t>(scalar);
        } else {
            *out++ = QChar::highSurrogate(scalar);
            *out++ = QChar::lowSurrogate(scalar);
        }
        return out;
    }

    void reserve(qsizetype extra)
    {
        if (m_size + extra > m_capacity)
            grow(m_size + extra);
    }
    void grow(qsizetype needed);

    std::unique_ptr<char16_t[]> m_data;
    qsizetype m_size = 0;
    qsizetype m_capacity = 0;
    std::vector<qsizetype> m_ends;
};

} // namespace qb::csvdetail
