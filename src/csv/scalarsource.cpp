// SPDX-License-Identifier: GPL-3.0-or-later
#include "scalarsource.h"

#include <QChar>

#include <algorithm>

namespace qb::csvdetail {

namespace {

class TextSource final : public ScalarSource {
public:
    explicit TextSource(QString text)
        : m_text(std::move(text))
        , m_out(std::make_unique<char32_t[]>(chunk + 1))
    {
    }

    std::span<const char32_t> next() override
    {
        const char16_t* units = reinterpret_cast<const char16_t*>(m_text.constData());
        const qsizetype size = m_text.size();
        if (m_position >= size)
            return {};
        qsizetype end = std::min(size, m_position + chunk);
        // Keep a surrogate pair within one run.
        if (end < size && QChar::isHighSurrogate(units[end - 1]))
            ++end;
        char32_t* out = m_out.get();
        for (qsizetype i = m_position; i < end; ++i) {
            const char16_t unit = units[i];
            if (!QChar::isSurrogate(unit)) {
                *out++ = unit;
            } else if (QChar::isHighSurrogate(unit) && i + 1 < end &&
                       QChar::isLowSurrogate(units[i + 1])) {
                *out++ = QChar::surrogateToUcs4(unit, units[i + 1]);
                ++i;
            } else {
                *out++ = QChar::ReplacementCharacter;
            }
        }
        m_position = end;
        return {m_out.get(), static_cast<std::size_t>(out - m_out.get())};
    }

private:
    static constexpr qsizetype chunk = 16 * 1024;

    QString m_text;
    qsizetype m_position = 0;
    std::unique_ptr<char32_t[]> m_out;
};

} // namespace

std::unique_ptr<ScalarSource> makeTextSource(QString text)
{
    return std::make_unique<TextSource>(std::move(text));
}

} // namespace qb::csvdetail
