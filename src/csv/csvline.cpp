// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvline.h"

#include <QChar>

#include <cstring>

namespace qb::csvdetail {

ScalarSet::ScalarSet(const std::set<char32_t>& scalars)
{
    for (const char32_t scalar : scalars) {
        if (scalar < 128)
            m_ascii.set(scalar);
        else
            m_other.push_back(scalar);
    }
}

CSVLine::CSVLine()
{
    grow(256);
}

void CSVLine::trimOpenField(const ScalarSet& trim)
{
    const qsizetype start = m_ends.empty() ? 0 : m_ends.back();
    const char16_t* data = m_data.get();
    while (m_size > start) {
        char32_t scalar = data[m_size - 1];
        qsizetype length = 1;
        if (QChar::isLowSurrogate(scalar) && m_size - 2 >= start &&
            QChar::isHighSurrogate(data[m_size - 2])) {
            scalar = QChar::surrogateToUcs4(data[m_size - 2], data[m_size - 1]);
            length = 2;
        }
        if (!trim.contains(scalar))
            break;
        m_size -= length;
    }
}

QStringList CSVLine::fields() const
{
    QStringList fields;
    fields.reserve(fieldCount());
    qsizetype start = 0;
    for (const qsizetype end : m_ends) {
        fields.append(QString(reinterpret_cast<const QChar*>(m_data.get() + start), end - start));
        start = end;
    }
    return fields;
}

void CSVLine::grow(qsizetype needed)
{
    const qsizetype capacity = std::max(needed, 2 * m_capacity);
    auto data = std::make_unique<char16_t[]>(capacity);
    if (m_size > 0)
        std::memcpy(data.get(), m_data.get(), m_size * sizeof(char16_t));
    m_data = std::move(data);
    m_capacity = capacity;
}

} // namespace qb::csvdetail
