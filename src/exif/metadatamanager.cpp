// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadatamanager.h"

#include "extensions/process.h"

#include <QRegularExpression>

#include <algorithm>

namespace qb {

QString sidecarNamingName(SidecarNaming naming)
{
    return naming == SidecarNaming::name ? QStringLiteral("name") : QStringLiteral("name.ext");
}

std::optional<SidecarNaming> sidecarNamingNamed(QStringView name)
{
    if (name == u"name")
        return SidecarNaming::name;
    if (name == u"name.ext")
        return SidecarNaming::nameWithExtension;
    return std::nullopt;
}

QString sidecarFormat(SidecarNaming naming)
{
    return naming == SidecarNaming::name ? QStringLiteral("%d%f.xmp")
                                         : QStringLiteral("%d%f.%e.xmp");
}

namespace {

// exiftool's closing counts, such as "    3 image files updated" or
// "    1 files weren't updated due to errors". With -json= it prints them on
// standard error, beside its warnings.
const QRegularExpression
    countLine(QStringLiteral("^\\s*(\\d+) (?:image )?files? (updated|created|unchanged|weren't "
                             "(?:updated|created) due to errors)"));

void count(WriteReport& report, const QRegularExpressionMatch& match)
{
    const QString what = match.captured(2);
    std::optional<int>& slot = what == QLatin1String("unchanged")          ? report.unchanged
                               : what.startsWith(QLatin1String("weren't")) ? report.failed
                                                                           : report.written;
    slot = slot.value_or(0) + match.captured(1).toInt();
}

} // namespace

WriteReport WriteReport::fromOutput(const QByteArray& standardOutput,
                                    const QByteArray& standardError)
{
    WriteReport report;
    const QString output = decodedUtf8(standardOutput).value_or(QString());
    const QString errors =
        decodedUtf8(standardError).value_or(QString::fromLocal8Bit(standardError));
    for (const QString& line : output.split(QLatin1Char('\n'))) {
        if (const auto match = countLine.match(line); match.hasMatch())
            count(report, match);
    }
    for (const QString& line : errors.split(QLatin1Char('\n'))) {
        if (const auto match = countLine.match(line); match.hasMatch())
            count(report, match);
        else if (!line.trimmed().isEmpty())
            report.warnings << line.trimmed();
    }
    if (report.written || report.unchanged || report.failed) {
        report.written = report.written.value_or(0);
        report.unchanged = report.unchanged.value_or(0);
        report.failed = report.failed.value_or(0);
    }
    return report;
}

QString WriteReport::countsText() const
{
    if (!written)
        return {};
    return QStringLiteral("%1 written, %2 unchanged, %3 failed")
        .arg(*written)
        .arg(unchanged.value_or(0))
        .arg(failed.value_or(0));
}

QStringList iptcCharsetArguments(const QStringList& tags)
{
    const bool writesIptc = std::ranges::any_of(tags, [](const QString& tag) {
        return tag.startsWith(QLatin1String("IPTC:"), Qt::CaseInsensitive);
    });
    if (!writesIptc)
        return {};
    return {QStringLiteral("-codedcharacterset=utf8"), QStringLiteral("-charset"),
            QStringLiteral("iptc=utf8")};
}

QStringList exifSegmentArguments(const QStringList& tags)
{
    static const QStringList exifGroups{QStringLiteral("EXIF:"),  QStringLiteral("IFD0:"),
                                        QStringLiteral("IFD1:"),  QStringLiteral("ExifIFD:"),
                                        QStringLiteral("GPS:"),   QStringLiteral("InteropIFD:"),
                                        QStringLiteral("SubIFD:")};
    const bool writesExif = std::ranges::any_of(tags, [](const QString& tag) {
        return std::ranges::any_of(exifGroups, [&tag](const QString& group) {
            return tag.startsWith(group, Qt::CaseInsensitive);
        });
    });
    if (!writesExif)
        return {};
    return {QStringLiteral("-api"), QStringLiteral("NoMultiExif=1")};
}

WriteReport runExiftoolWrite(const ExifTool& exiftool, QStringList arguments,
                             const QList<QUrl>& files, bool verbose, const QString& closingMessage,
                             const MetadataCompletion& completion)
{
    for (const QUrl& url : files)
        arguments << exiftoolPath(url);
    WriteReport report;
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (!result) {
            // Its standard error is in the error; the counts still tell
            // how many files it got through.
            const ExiftoolError& failure = result.error();
            report = WriteReport::fromOutput(failure.process().response,
                                             failure.stdErr().value_or(QString()).toUtf8());
            report.warnings.clear();
            report.standardError = failure.stdErr().value_or(QString());
            completion(std::unexpected(result.error().toError(ExiftoolTask::write)));
            return;
        }
        report = WriteReport::fromOutput(result->response, result->standardError);
        report.standardError = decodedUtf8(result->standardError)
                                   .value_or(QString::fromLocal8Bit(result->standardError));
        if (verbose)
            printResponse(result->response);
        completion(closingMessage);
    });
    return report;
}

} // namespace qb
