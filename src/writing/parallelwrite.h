// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadataassignment.h"

#include "exif/metadatamanager.h"
#include "exif/metadatareader.h"

#include <expected>
#include <memory>
#include <vector>

namespace qb {

// A batch below this many images is written by one exiftool: below it,
// another process's start-up costs more than sharing the files saves.
constexpr int defaultParallelThreshold = 48;

// One exiftool per core when `jobs` is 0; never fewer than one.
int effectiveJobs(int jobs);
// The most exiftools worth running at once: four per core.
int maximumJobs();
// How many chunks a batch of `count` images is split into: one below the
// threshold, else one per job, and never a chunk without images.
int chunkCount(qsizetype count, int jobs, int threshold);
// Contiguous runs of the images, in order, whose sizes differ by one at most.
std::vector<ExifImages> splitIntoChunks(const ExifImages& images, int chunks);

// Writes a batch split into chunks, each through an exiftool of its own at
// the same time, so that every core works. Each chunk is run as a write of
// one batch would be, with its own exchange file; a chunk that fails
// doesn't stop the others. Made and used on one thread; the runs happen on
// threads of its own and are all waited for.
class ParallelWrite {
public:
    // Each chunk runs a copy of `exiftool`, whose runner must be safe to use
    // from several threads at once, as the system's is.
    ParallelWrite(const ExifTool& exiftool, bool verbose, SidecarNaming naming);
    // Handed to each chunk's writer (see MetadataManager::setWritableTags).
    void setWritableTags(std::shared_ptr<const WritableTags> tags)
    {
        m_writableTags = std::move(tags);
    }

    // Writes the exchange file of each chunk into `folder`. With `sidecars`,
    // each image's SourceFile moves to its sidecar, as a single write does.
    // The chunks whose `inPlace` is set are written in place.
    std::expected<void, Error> prepare(const std::vector<ExifImages>& chunks, bool sidecars,
                                       const QString& folder,
                                       const std::vector<bool>& inPlace = {});
    // Runs every chunk and waits for all: the closing message when all were
    // written, else one error that carries the texts of every failed chunk.
    std::expected<QString, Error> run(bool sidecars);
    // The counts of all chunks together, and their warnings in chunk order.
    const WriteReport& report() const { return m_report; }

    // How each chunk went, once run() has returned.
    struct ChunkRun {
        ExifImages images;
        WriteReport report;
        std::expected<QString, Error> result;
    };
    std::vector<ChunkRun> chunkRuns() const;

private:
    struct Chunk {
        ExifImages images;
        std::unique_ptr<MetadataReader> writer;
        QString exchangeFile;
        std::expected<QString, Error> result = QString();
    };

    ExifTool m_exiftool;
    bool m_verbose;
    SidecarNaming m_naming;
    std::shared_ptr<const WritableTags> m_writableTags;
    std::vector<Chunk> m_chunks;
    WriteReport m_report;
};

// Several failed writes as one: the first one's description, the distinct
// reasons of all in order.
Error combinedWriteError(const std::vector<Error>& failures);
// The counts added up, the warnings one after another.
WriteReport combinedWriteReport(const std::vector<WriteReport>& reports);

} // namespace qb
