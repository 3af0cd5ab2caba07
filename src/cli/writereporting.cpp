// SPDX-License-Identifier: GPL-3.0-or-later
#include "writereporting.h"

#include "jsonoutput.h"

#include "extensions/jsonfile.h"
#include "writing/parallelwrite.h"
#include "writing/writepreview.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

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
    m_total = total;
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
    show(m_total, m_total);
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

std::optional<QString> reportPathProblem(const QString& path, const QList<QUrl>& batch)
{
    const QFileInfo report(path);
    if (report.isDir())
        return QStringLiteral("--report names a folder: %1").arg(path);
    const QString absolute = report.absoluteFilePath();
    const QString canonical = report.canonicalFilePath();
    for (const QUrl& url : batch) {
        const QFileInfo image(url.toLocalFile());
        if (image.absoluteFilePath() == absolute ||
            (!canonical.isEmpty() && image.canonicalFilePath() == canonical))
            return QStringLiteral("--report names one of the images to write: %1").arg(path);
    }
    const QFileInfo folder(report.absolutePath());
    if (!folder.isDir())
        return QStringLiteral("--report: there is no folder %1").arg(folder.filePath());
    if (report.exists()) {
        // Opened to add nothing: an immutable or read-only report says so
        // here, before the images are written, not after.
        QFile existing(path);
        if (!existing.open(QIODevice::WriteOnly | QIODevice::Append))
            return QStringLiteral("--report: %1 can\u2019t be replaced: %2")
                .arg(path, existing.errorString());
        return std::nullopt;
    }
    QTemporaryFile probe(folder.absoluteFilePath() + QStringLiteral("/.quillbrook-report-XXXXXX"));
    if (!probe.open())
        return QStringLiteral("--report: nothing can be written in %1: %2")
            .arg(folder.absoluteFilePath(), probe.errorString());
    return std::nullopt;
}

std::expected<void, Error> saveReport(const WriteReport& report, const QString& path,
                                      const QString& note)
{
    const OutcomeCounts counts = countOutcomes(report.outcomes);
    Json json;
    json["journal"] =
        report.journalPath.isEmpty() ? Json() : Json(report.journalPath.toStdString());
    json["counts"] = {{"written", counts.written},
                      {"unchanged", counts.unchanged},
                      {"failed", counts.failed},
                      {"not written", counts.notWritten},
                      {"left out", counts.leftOut}};
    json["files"] = fileOutcomesJson(report.outcomes);
    if (!note.isEmpty())
        json["note"] = note.toStdString();
    return writeJsonFile(json, path);
}

std::expected<void, Error> savePlanReport(const QString& plan, const nlohmann::ordered_json& json,
                                          const FileOutcomes& leftOut, const QString& path)
{
    Json report;
    report["plan"] = plan.toStdString();
    for (const auto& [key, value] : json.items())
        report[key] = value;
    report["files"] = fileOutcomesJson(leftOut);
    return writeJsonFile(report, path);
}

std::expected<nlohmann::ordered_json, ExitStatus>
printPreview(const ExifImages& images, const QList<QUrl>& unmatched, const QString& exiftool,
             int jobs, const PreviewSource& source, bool json, Streams& streams)
{
    const int parts = chunkCount(qsizetype(images.size()), jobs, defaultParallelThreshold);
    const auto preview = previewWrite(ExifTool(exiftool, {}), images, unmatched, parts, source);
    if (!preview) {
        printError(streams, preview.error());
        return std::unexpected(ExitStatus::failure);
    }
    const nlohmann::ordered_json answer = preview->toJson();
    if (json) {
        printJson(streams.out, answer);
    } else {
        streams.out << preview->text();
        streams.out.flush();
    }
    return answer;
}

} // namespace qb::cli
