// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/bytesource.h"
#include "csv/csvconfiguration.h"
#include "csv/scalarsource.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

// The four ways into the reader, each ending in a scalar source. All throw
// CSVError.
namespace qb::csvdetail {

std::unique_ptr<ScalarSource> openText(QString text);
std::unique_ptr<ScalarSource> openData(QByteArray data, const CSVReaderConfiguration& config);
std::unique_ptr<ScalarSource> openFile(const QUrl& fileURL, const CSVReaderConfiguration& config);
std::unique_ptr<ScalarSource> openStream(std::unique_ptr<ByteSource> stream,
                                         const CSVReaderConfiguration& config);

struct ByteOrderMarkMatch {
    TextEncoding encoding;
    qsizetype length;
};

// The mark that the first bytes (up to four) start with, if any.
std::optional<ByteOrderMarkMatch> inferByteOrderMark(std::span<const std::uint8_t> firstBytes);
// The encoding to decode with, from the configured one and the inferred one.
TextEncoding selectEncoding(std::optional<TextEncoding> provided,
                            std::optional<TextEncoding> inferred);

} // namespace qb::csvdetail
