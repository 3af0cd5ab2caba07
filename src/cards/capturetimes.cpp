// SPDX-License-Identifier: GPL-3.0-or-later
#include "capturetimes.h"

#include <QHash>
#include <QRegularExpression>
#include <QTimeZone>

#include <nlohmann/json.hpp>

namespace qb {

namespace {

using Json = nlohmann::json;

// A tag's value as text; exiftool writes sub-seconds such as "50" as a
// number, but keeps "05" a string, so no digit is lost either way.
QString textOf(const Json& object, const char* tag)
{
    const auto it = object.find(tag);
    if (it == object.end())
        return {};
    if (it->is_string())
        return QString::fromStdString(it->get<std::string>());
    if (it->is_number_integer())
        return QString::number(it->get<qint64>());
    return {};
}

std::optional<int> offsetFrom(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^([+-])(\\d{2}):?(\\d{2})$"));
    if (text == QLatin1String("Z"))
        return 0;
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const int seconds = match.captured(2).toInt() * 3600 + match.captured(3).toInt() * 60;
    return match.captured(1) == QLatin1String("-") ? -seconds : seconds;
}

} // namespace

std::optional<CaptureTime> CaptureTime::fromExif(const QString& dateTimeOriginal,
                                                 const QString& subSeconds, const QString& offset)
{
    // XMP dates may carry their own sub-seconds and offset.
    static const QRegularExpression form(
        QStringLiteral("^(\\d{4}):(\\d{2}):(\\d{2})[ "
                       "T](\\d{2}):(\\d{2}):(\\d{2})(?:\\.(\\d+))?(Z|[+-]\\d{2}:?\\d{2})?"));
    const QRegularExpressionMatch match = form.match(dateTimeOriginal.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(),
                     match.captured(3).toInt());
    const QTime time(match.captured(4).toInt(), match.captured(5).toInt(),
                     match.captured(6).toInt());
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    CaptureTime result;
    static const QRegularExpression digits(QStringLiteral("^\\d+$"));
    const QString sub = subSeconds.trimmed();
    result.subSeconds = digits.match(sub).hasMatch() ? sub : match.captured(7);
    result.offsetSeconds = offsetFrom(offset.trimmed());
    if (!result.offsetSeconds && match.hasCaptured(8))
        result.offsetSeconds = offsetFrom(match.captured(8));
    result.dateTime = result.offsetSeconds ? QDateTime(date, time, QTimeZone(*result.offsetSeconds))
                                           : QDateTime(date, time, QTimeZone::utc());
    return result;
}

qint64 CaptureTime::orderKey() const
{
    const qint64 micro = subSeconds.left(6).leftJustified(6, QLatin1Char('0')).toLongLong();
    return dateTime.toSecsSinceEpoch() * 1'000'000 + micro;
}

QString CaptureTime::text() const
{
    QString result = dateTime.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!subSeconds.isEmpty())
        result += QLatin1Char('.') + subSeconds;
    if (offsetSeconds) {
        const int minutes = std::abs(*offsetSeconds) / 60;
        result += QStringLiteral(" %1%2:%3")
                      .arg(*offsetSeconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
                      .arg(minutes / 60, 2, 10, QLatin1Char('0'))
                      .arg(minutes % 60, 2, 10, QLatin1Char('0'));
    }
    return result;
}

namespace {

// A file it couldn't read makes exiftool end with status 1, the others
// still answered and the failed ones named on standard error. Any other
// end, or one with neither answers nor a file named, is exiftool failing.
bool onlyFilesFailed(const ExiftoolError& error, const QStringList& paths)
{
    const ExiftoolProcess& process = error.process();
    if (error.kind() != ExiftoolError::Case::responseNotZero || process.endedBySignal ||
        process.terminationStatus != 1)
        return false;
    if (!process.response.trimmed().isEmpty())
        return true;
    const QString messages = error.stdErr().value_or(QString());
    return std::ranges::any_of(paths, [&](const QString& path) { return messages.contains(path); });
}

} // namespace

std::expected<std::vector<std::optional<CaptureTime>>, Error>
readCaptureTimes(const ExifTool& exiftool, const QStringList& paths)
{
    std::vector<std::optional<CaptureTime>> times(size_t(paths.size()));
    if (paths.isEmpty())
        return times;
    // -fast2 stops before the image data and skips maker notes, which hold
    // nothing of these three; a raw file is read in a fraction of the time.
    QStringList arguments{
        QStringLiteral("-json"), QStringLiteral("-fast2"), QStringLiteral("-DateTimeOriginal"),
        QStringLiteral("-SubSecTimeOriginal"), QStringLiteral("-OffsetTimeOriginal")};
    arguments += paths;
    QByteArray answer;
    std::optional<Error> failure;
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (result)
            answer = result->response;
        else if (onlyFilesFailed(result.error(), paths))
            answer = result.error().process().response;
        else
            failure = result.error().toError(ExiftoolTask::read);
    });
    if (failure)
        return std::unexpected(*failure);
    if (answer.trimmed().isEmpty())
        return times; // none of the files could be read
    QHash<QString, qsizetype> positions;
    for (qsizetype i = 0; i < paths.size(); ++i)
        positions.insert(paths[i], i);
    try {
        const Json objects = Json::parse(answer.cbegin(), answer.cend());
        for (const Json& object : objects) {
            const auto at = positions.constFind(textOf(object, "SourceFile"));
            if (at == positions.constEnd())
                continue;
            times[size_t(*at)] = CaptureTime::fromExif(textOf(object, "DateTimeOriginal"),
                                                       textOf(object, "SubSecTimeOriginal"),
                                                       textOf(object, "OffsetTimeOriginal"));
        }
    } catch (const Json::exception& error) {
        return std::unexpected(exiftoolAnswerError(error.what()));
    }
    return times;
}

} // namespace qb
