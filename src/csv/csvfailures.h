// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csverror.h"
#include "csv/textencoding.h"

#include <QString>
#include <QUrl>

#include <cstdint>
#include <optional>
#include <set>

// Every failure of the CSV reader, with its texts, in one place.
namespace qb::csvfailure {

// Configuration
CSVError delimiterInference();
CSVError equalDelimiters(const QString& delimiter);
CSVError trimIncludesDelimiter(const QString& delimiter, const std::set<char32_t>& trim);
CSVError trimIncludesEscaping(char32_t escaping, const std::set<char32_t>& trim);
CSVError unsupportedEncoding(TextEncoding encoding);
CSVError byteOrderMarkMismatch(TextEncoding provided, TextEncoding inferred);
CSVError blobEncodingMismatch(TextEncoding encoding);
CSVError emptyHeaderLine();

// Decoding
CSVError fileUnreadable(const QUrl& url, const Error& platformError);
CSVError notASCII(std::uint8_t byte);
CSVError invalidUTF8();
CSVError invalidUTF16();
CSVError invalidUTF32();
CSVError incompleteUTF16();
CSVError incompleteUTF32();

// Streams
CSVError streamCreation(const QUrl& url);
CSVError streamUnreadable(const QString& stream, const std::optional<Error>& streamError);
CSVError streamFirstBytes(int streamStatus, const std::optional<Error>& streamError);
CSVError streamInputBytes(int streamStatus, const std::optional<Error>& streamError);

// Parsing
CSVError unclosedEscapedField(qint64 rowIndex);
CSVError quoteInUnescapedField(qint64 rowIndex);
CSVError fieldCountMismatch(qint64 rowIndex, qint64 parsed, qint64 expected);
CSVError duplicateHeaders();

} // namespace qb::csvfailure
