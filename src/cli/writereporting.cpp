// SPDX-License-Identifier: GPL-3.0-or-later
#include "writereporting.h"

#include "jsonoutput.h"

#include "extensions/jsonfile.h"
#include "writing/parallelwrite.h"
#include "writing/writepreview.h"

#include <unistd.h>

namespace qb::cli {

ProgressBar::ProgressBar(Streams& streams)
    : m_streams(streams)
    , m_terminal(::isatty(STDERR_FILENO) == 1)
{
}

void ProgressBar::show(qsizetype done, qsizetype total)
{
    if (!m_terminal || total <= 0)
        return;
    constexpr int width = 30;
    const auto filled = int(done * width / total);
    m_streams.err << QStringLiteral("\r[%1%2] %3/%4")
                         .arg(QString(filled, QLatin1Char('#')),
                              QString(width - filled, QLatin1Char(' ')))
                         .arg(done)
                         .arg(total);
    m_streams.err.flush();
    m_drawn = true;
}

void ProgressBar::finish()
{
    if (!m_drawn)
        return;
    m_streams.err << '\n';
    m_streams.err.flush();
    m_drawn = false;
}

void printFailedFiles(const FileOutcomes& outcomes, Streams& streams)
{
    for (const FileOutcome& outcome : outcomes) {
        if (outcome.kind == FileOutcomeKind::failed)
            printError(streams,
                       QStringLiteral("failed: %1: %2").arg(outcome.path, outcome.message));
    }
}

std::expected<void, Error> saveReport(const WriteReport& report, const QString& path)
{
    const OutcomeCounts counts = countOutcomes(report.outcomes);
    Json json;
    json["journal"] =
        report.journalPath.isEmpty() ? Json() : Json(report.journalPath.toStdString());
    json["counts"] = {
        {"written", counts.written}, {"unchanged", counts.unchanged}, {"failed", counts.failed}};
    json["files"] = fileOutcomesJson(report.outcomes);
    return writeJsonFile(json, path);
}

ExitStatus printPreview(const ExifImages& images, const QList<QUrl>& unmatched,
                        const QString& exiftool, int jobs, bool json, Streams& streams)
{
    const int parts = chunkCount(qsizetype(images.size()), jobs, defaultParallelThreshold);
    const auto preview = previewWrite(ExifTool(exiftool, {}), images, unmatched, parts);
    if (!preview) {
        printError(streams, preview.error());
        return ExitStatus::failure;
    }
    if (json) {
        printJson(streams.out, preview->toJson());
    } else {
        streams.out << preview->text();
        streams.out.flush();
    }
    return ExitStatus::success;
}

} // namespace qb::cli
