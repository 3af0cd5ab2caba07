// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardfixes.h"

#include "exif/exiftool.h"

#include <QFile>
#include <QHash>
#include <QStringConverter>

namespace qb {

namespace {

// The fields of one line; nothing when a quote is left open.
std::optional<QStringList> splitFields(const QString& line)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted) {
            if (c != QLatin1Char('"'))
                field += c;
            else if (i + 1 < line.size() && line[i + 1] == QLatin1Char('"'))
                field += line[++i];
            else
                quoted = false;
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            fields << field.trimmed();
            field.clear();
        } else {
            field += c;
        }
    }
    if (quoted)
        return std::nullopt;
    fields << field.trimmed();
    return fields;
}

std::expected<CardFix, QString> parseLine(const QString& line, int number)
{
    const std::optional<QStringList> fields = splitFields(line);
    if (!fields)
        return std::unexpected(QStringLiteral("a quote is not closed"));
    if (fields->size() != 2)
        return std::unexpected(QStringLiteral("expected “frame,key” or “frame,-”, found %1 fields")
                                   .arg(fields->size()));
    if (fields->at(0).isEmpty())
        return std::unexpected(QStringLiteral("the frame is empty"));
    if (fields->at(1).isEmpty())
        return std::unexpected(
            QStringLiteral("the key is empty; write “-” to say the frame is not a card"));
    CardFix fix{fields->at(0), fields->at(1), number};
    if (fix.key == QStringLiteral("-"))
        fix.key.reset();
    return fix;
}

Error fixesError(const QString& description, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.CardFixes");
    error.code = 1;
    error.errorDescription = description;
    error.failureReason = reason;
    return error;
}

} // namespace

std::expected<std::vector<CardFix>, Error> parseCardFixes(const QString& text)
{
    std::vector<CardFix> fixes;
    QStringList problems;
    // The line that marks, or un-marks, each frame.
    QHash<QString, int> marked;
    QHash<QString, int> unmarked;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QString line = lines[i];
        if (i == 0 && line.startsWith(QChar(0xFEFF)))
            line.remove(0, 1);
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const int number = int(i + 1);
        if (fixes.empty() && problems.isEmpty() &&
            line.compare(QStringLiteral("frame,key"), Qt::CaseInsensitive) == 0)
            continue;
        std::expected<CardFix, QString> fix = parseLine(line, number);
        if (!fix) {
            problems << QStringLiteral("line %1: %2").arg(number).arg(fix.error());
            continue;
        }
        // Marking and un-marking one frame can't both be meant.
        const QHash<QString, int>& opposite = fix->key ? unmarked : marked;
        if (const int other = opposite.value(fix->frame)) {
            problems << QStringLiteral("line %1: %2 is also %3 on line %4")
                            .arg(number)
                            .arg(fix->frame)
                            .arg(fix->key ? QStringLiteral("marked as not a card")
                                          : QStringLiteral("marked as a card"))
                            .arg(other);
            continue;
        }
        (fix->key ? marked : unmarked).insert(fix->frame, number);
        fixes.push_back(std::move(*fix));
    }
    if (!problems.isEmpty())
        return std::unexpected(
            fixesError(QStringLiteral("The cards file has lines that can't be used."),
                       cappedLines(problems.join(QLatin1Char('\n')))));
    return fixes;
}

std::expected<std::vector<CardFix>, Error> readCardFixes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(fixesError(
            QStringLiteral("The cards file \u201c%1\u201d could not be opened.").arg(path),
            file.errorString()));
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::unexpected(
            fixesError(QStringLiteral("The cards file \u201c%1\u201d could not be read.").arg(path),
                       QStringLiteral("It is not UTF-8 text.")));
    return parseCardFixes(text);
}

} // namespace qb
