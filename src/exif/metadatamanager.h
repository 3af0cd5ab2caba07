// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exifimage.h"
#include "exif/exiftool.h"
#include "extensions/error.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <vector>

namespace qb {

// Takes the closing message of a write, or why it failed.
using MetadataCompletion = std::function<void(std::expected<QString, Error>)>;

// What exiftool said of a write beside its exit status. Its JSON import
// passes over a tag it doesn't know without a word and counts the file as
// unchanged, so the counts are how a user learns that nothing was written.
struct WriteReport {
    // Absent when exiftool printed no counts, as when it was stopped.
    std::optional<int> written; // updated or created
    std::optional<int> unchanged;
    std::optional<int> failed;
    // Lines on standard error of a run that succeeded.
    QStringList warnings;

    static WriteReport fromOutput(const QByteArray& standardOutput,
                                  const QByteArray& standardError);
    // "3 written, 1 unchanged, 0 failed"; empty without counts.
    QString countsText() const;
};

// How the metadata queue drives exiftool: register images, write the exchange
// file, run exiftool over it. One batch at a time, from one thread; the
// completion is called exactly once, on the calling thread.
class MetadataManager {
public:
    virtual ~MetadataManager() = default;

    virtual ExifTool& exiftool() = 0;
    virtual const ExifTool& exiftool() const = 0;
    virtual void setExiftool(ExifTool exiftool) = 0;

    // Setting it sets the exiftool's trace to defaultTrace(), or clears it.
    virtual bool verbose() const = 0;
    virtual void setVerbose(bool verbose) = 0;

    virtual void addImages(const std::vector<std::shared_ptr<ExifImage>>& images) = 0;
    virtual void clear() = 0;

    // Writes the exchange file to `path`, creating its folder. There is no
    // encoder parameter: the file is always made by our own JSON writer.
    virtual std::expected<void, Error> writeJSON(const QString& path, bool sidecars) = 0;

    virtual void writeImages(const QString& jsonPath, const MetadataCompletion& completion) = 0;
    virtual void writeSidecars(const QString& jsonPath, const MetadataCompletion& completion) = 0;

    // What exiftool said of the last write; read once its completion has run.
    const WriteReport& lastWriteReport() const { return m_lastWriteReport; }

protected:
    WriteReport m_lastWriteReport;
};

// The run every write ends in: exiftool over `arguments` plus each file,
// then the closing message, or the failure as a write error. Answers what
// exiftool said of it.
WriteReport runExiftoolWrite(const ExifTool& exiftool, QStringList arguments,
                             const QList<QUrl>& files, bool verbose, const QString& closingMessage,
                             const MetadataCompletion& completion);

} // namespace qb
