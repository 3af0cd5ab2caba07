// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <optional>

namespace qb {

// True when the regular expression `pattern` is found anywhere in `text`.
// A malformed pattern matches nothing.
bool matches(const QString& text, const QString& pattern);

// The first match of `pattern` in `text`: the substring of its one capture
// group when the pattern has exactly one, otherwise the whole match. Nothing
// for a malformed pattern, no match, or a single group that took no part.
std::optional<QString> firstCapture(const QString& pattern, const QString& text);

// Every line feed removed; carriage returns and all else stay.
QString removingNewlines(const QString& text);

// The ordering a file browser gives names: by the default locale's collation,
// with runs of digits compared by value ("IMG_2" before "IMG_10").
bool localizedStandardLess(const QString& a, const QString& b);

// `number` through a printf-style `format` with one integer conversion
// (%d, %i, %ld, %lld, %qd with flags, width and precision; %% for a percent
// sign). Any other format gives the plain decimal number.
QString formattedInteger(const QString& format, qint64 number);

// Names such as "Shot 1", "Shot 2": when `text` ends with `separator` and a
// number, that number plus `step` replaces them; otherwise `start` is
// appended after `separator`. `separator` is a regular expression fragment.
QString incrementingNumber(qint64 start, qint64 step, const QString& format,
                           const QString& separator, const QString& text);

// The same applied to the name of the URL's last path component, keeping its
// directory and its extension.
QUrl incrementingNumber(qint64 start, qint64 step, const QString& format, const QString& separator,
                        const QUrl& url);
void incrementNumber(QUrl& url, qint64 start, qint64 step, const QString& format,
                     const QString& separator);

// Inserts a blank before each capital letter whose preceding character is
// not a capital, or is the capital that starts the text: "ExifImageHeight" becomes "Exif Image
// Height", "LensID" becomes "Lens ID", "GPSLatitude" becomes "G PSLatitude". The odd handling of
// capital runs is kept on purpose: tag display names depend on it.
QString splitCamelCase(const QString& text);

// More texts to replace than replacements for them.
struct StringReplacementError {
    qsizetype elementCount = 0;
    qsizetype replacementCount = 0;

    QString failureReason() const;
    Error toError() const;
};

// Each of `elements`, in order, replaced everywhere by the replacement at the
// same position. Fails before touching anything when `replacements` is
// shorter; extra replacements are ignored. An empty element changes nothing.
std::expected<QString, StringReplacementError>
replacing(const QString& text, const QStringList& elements, const QStringList& replacements);

} // namespace qb
