// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csverror.h"
#include "csv/textencoding.h"

#include <QString>
#include <QStringView>

#include <expected>
#include <optional>
#include <set>
#include <string>

namespace qb {

// The Unicode scalars of a text; unpaired surrogates become U+FFFD.
std::u32string unicodeScalars(QStringView text);
std::set<char32_t> unicodeScalarSet(QStringView text);

// The default quote; every default that needs a quote takes it from here.
inline constexpr char32_t csvDefaultEscapingScalar = U'"';

namespace Delimiter {

// A delimiter is any non-empty run of scalars; the defaults are "," and "\n".
template <char32_t DefaultScalar>
struct Text {
    std::u32string rawValue = std::u32string(1, DefaultScalar);

    Text() = default;
    Text(std::u32string scalars)
        : rawValue(std::move(scalars))
    {
    }
    Text(QStringView text)
        : rawValue(unicodeScalars(text))
    {
    }
    Text(const QString& text)
        : rawValue(unicodeScalars(text))
    {
    }
    Text(const char16_t* text)
        : rawValue(unicodeScalars(QStringView(text)))
    {
    }

    QString text() const { return textFromScalars(rawValue); }
    bool operator==(const Text&) const = default;
};

using Field = Text<U','>;
using Row = Text<U'\n'>;

struct Pair {
    Field field;
    Row row;
};

} // namespace Delimiter

namespace Strategy {

// The quote scalar, or none: then quotes are plain content.
struct Escaping {
    std::optional<char32_t> scalar = csvDefaultEscapingScalar;

    static constexpr Escaping quote(char32_t value) { return Escaping{value}; }
    static constexpr Escaping none() { return Escaping{std::nullopt}; }
    bool operator==(const Escaping&) const = default;
};

enum class Header { none, firstLine };

} // namespace Strategy

// What a caller asks of a CSV reader. A plain value, copied into the reader.
struct CSVReaderConfiguration {
    // Absent: inferred from a byte order mark, else UTF-8.
    std::optional<TextEncoding> encoding;
    Delimiter::Pair delimiters;
    Strategy::Escaping escapingStrategy;
    Strategy::Header headerStrategy = Strategy::Header::none;
    // Scalars stripped around fields (never inside quotes).
    std::set<char32_t> trimStrategy;
    // Read the whole input into memory before parsing.
    bool presample = false;
};

// The checked form of a configuration, the only thing the parser reads.
struct CSVReaderSettings {
    struct Delimiters {
        std::u32string field;
        std::u32string row;
    };

    Delimiters delimiters;
    std::optional<char32_t> escapingScalar;
    std::set<char32_t> trimCharacters;
    bool isTrimNeeded = false;

    static std::expected<CSVReaderSettings, CSVError> make(const CSVReaderConfiguration& config);
};

} // namespace qb
