// SPDX-License-Identifier: GPL-3.0-or-later
#include "parallelwrite.h"

#include <QThread>

#include <algorithm>
#include <thread>

namespace qb {

int effectiveJobs(int jobs)
{
    return jobs > 0 ? jobs : std::max(1, QThread::idealThreadCount());
}

int maximumJobs()
{
    return 4 * std::max(1, QThread::idealThreadCount());
}

int chunkCount(qsizetype count, int jobs, int threshold)
{
    if (count < qsizetype(std::max(threshold, 1)))
        return 1;
    return int(std::clamp<qsizetype>(effectiveJobs(jobs), 1, count));
}

std::vector<ExifImages> splitIntoChunks(const ExifImages& images, int chunks)
{
    std::vector<ExifImages> result;
    const qsizetype count = qsizetype(images.size());
    chunks = int(std::clamp<qsizetype>(chunks, 1, std::max<qsizetype>(count, 1)));
    auto next = images.begin();
    for (int i = 0; i < chunks; ++i) {
        // The first `count % chunks` chunks take one image more.
        const qsizetype size = count / chunks + (i < count % chunks ? 1 : 0);
        result.emplace_back(next, next + size);
        next += size;
    }
    return result;
}

Error combinedWriteError(const std::vector<Error>& failures)
{
    if (failures.empty())
        return {};
    Error combined = failures.front();
    QStringList reasons;
    for (const Error& failure : failures) {
        const QString reason = failure.failureReason.trimmed();
        if (!reason.isEmpty() && !reasons.contains(reason))
            reasons << reason;
    }
    combined.failureReason = reasons.join(QLatin1Char('\n'));
    return combined;
}

WriteReport combinedWriteReport(const std::vector<WriteReport>& reports)
{
    WriteReport combined;
    const auto add = [](std::optional<int>& sum, const std::optional<int>& part) {
        if (part)
            sum = sum.value_or(0) + *part;
    };
    for (const WriteReport& report : reports) {
        add(combined.written, report.written);
        add(combined.unchanged, report.unchanged);
        add(combined.failed, report.failed);
        combined.warnings << report.warnings;
        // Each chunk's own lines, which name the files it failed on.
        if (!report.standardError.isEmpty() && !combined.standardError.isEmpty() &&
            !combined.standardError.endsWith(QLatin1Char('\n')))
            combined.standardError += QLatin1Char('\n');
        combined.standardError += report.standardError;
    }
    if (combined.written || combined.unchanged || combined.failed) {
        combined.written = combined.written.value_or(0);
        combined.unchanged = combined.unchanged.value_or(0);
        combined.failed = combined.failed.value_or(0);
    }
    return combined;
}

ParallelWrite::ParallelWrite(const ExifTool& exiftool, bool verbose, SidecarNaming naming)
    : m_exiftool(exiftool)
    , m_verbose(verbose)
    , m_naming(naming)
{
}

std::expected<void, Error> ParallelWrite::prepare(const std::vector<ExifImages>& chunks,
                                                  bool sidecars, const QString& folder,
                                                  const std::vector<bool>& inPlace)
{
    m_chunks.clear();
    for (const ExifImages& images : chunks) {
        Chunk chunk;
        chunk.images = images;
        chunk.writer = std::make_unique<MetadataReader>();
        chunk.writer->setVerbose(m_verbose);
        chunk.writer->setExiftool(m_exiftool);
        chunk.writer->setSidecarNaming(m_naming);
        chunk.writer->setWritableTags(m_writableTags);
        chunk.writer->setWriteInPlace(m_chunks.size() < inPlace.size() && inPlace[m_chunks.size()]);
        chunk.writer->addImages(images);
        chunk.exchangeFile =
            folder + QStringLiteral("/QuillbrookMetadata-%1.json").arg(m_chunks.size() + 1);
        if (auto written = chunk.writer->writeJSON(chunk.exchangeFile, sidecars); !written)
            return std::unexpected(written.error());
        m_chunks.push_back(std::move(chunk));
    }
    return {};
}

std::expected<QString, Error> ParallelWrite::run(bool sidecars)
{
    const auto write = [sidecars](Chunk& chunk) {
        const MetadataCompletion done = [&chunk](std::expected<QString, Error> outcome) {
            chunk.result = std::move(outcome);
        };
        if (sidecars)
            chunk.writer->writeSidecars(chunk.exchangeFile, done);
        else
            chunk.writer->writeImages(chunk.exchangeFile, done);
    };
    {
        // The first chunk runs here; jthreads join as they go.
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < m_chunks.size(); ++i)
            threads.emplace_back(write, std::ref(m_chunks[i]));
        if (!m_chunks.empty())
            write(m_chunks.front());
    }
    std::vector<Error> failures;
    std::vector<WriteReport> reports;
    for (const Chunk& chunk : m_chunks) {
        reports.push_back(chunk.writer->lastWriteReport());
        if (!chunk.result)
            failures.push_back(chunk.result.error());
    }
    m_report = combinedWriteReport(reports);
    if (!failures.empty())
        return std::unexpected(combinedWriteError(failures));
    return m_chunks.empty() ? QString() : *m_chunks.front().result;
}

std::vector<ParallelWrite::ChunkRun> ParallelWrite::chunkRuns() const
{
    std::vector<ChunkRun> runs;
    runs.reserve(m_chunks.size());
    for (const Chunk& chunk : m_chunks)
        runs.push_back({chunk.images, chunk.writer->lastWriteReport(), chunk.result});
    return runs;
}

} // namespace qb
