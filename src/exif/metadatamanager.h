// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exifimage.h"
#include "exif/exiftool.h"
#include "exif/fileoutcomes.h"
#include "exif/writabletags.h"
#include "extensions/error.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

// Takes the closing message of a write, or why it failed.
using MetadataCompletion = std::function<void(std::expected<QString, Error>)>;

// How an XMP sidecar beside an image is named. `name` replaces the image's
// extension (A1.CR3 gets A1.xmp), as Lightroom and Capture One read it;
// `nameWithExtension` keeps it (A1.CR3.xmp), as darktable and digiKam do.
enum class SidecarNaming { name, nameWithExtension };
// "name" and "name.ext", as the preference stores them and the command line
// takes them.
QString sidecarNamingName(SidecarNaming naming);
std::optional<SidecarNaming> sidecarNamingNamed(QStringView name);
// exiftool's file-name format of the sidecar: %d%f.xmp or %d%f.%e.xmp.
QString sidecarFormat(SidecarNaming naming);
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
    // All of exiftool's standard error, which names the files it failed on.
    QString standardError;
    // What the write itself did beside exiftool, such as a stale temporary
    // file it removed; one a line.
    QStringList notes;
    // One outcome for each file of the batch; filled in by the queue, which
    // knows the files.
    FileOutcomes outcomes;
    // The journal of the values the write replaced; empty without one.
    QString journalPath;

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
    // encoder parameter: the file is always made by our own writer.
    virtual std::expected<void, Error> writeJSON(const QString& path, bool sidecars) = 0;

    virtual void writeImages(const QString& jsonPath, const MetadataCompletion& completion) = 0;
    virtual void writeSidecars(const QString& jsonPath, const MetadataCompletion& completion) = 0;

    // The sidecars that writeJSON(path, true) and writeSidecars() name.
    SidecarNaming sidecarNaming() const { return m_sidecarNaming; }
    void setSidecarNaming(SidecarNaming naming) { m_sidecarNaming = naming; }
    // What exiftool said of the last write; read once its completion has run.
    const WriteReport& lastWriteReport() const { return m_lastWriteReport; }
    // Whether exiftool writes its new file back into the original one
    // rather than putting it in the original's place, so that the file's
    // other hard links and its extended attributes stay. Off by default.
    bool writeInPlace() const { return m_writeInPlace; }
    void setWriteInPlace(bool inPlace) { m_writeInPlace = inPlace; }
    // The tags exiftool can write; knowing which are lists lets a writer
    // send a batch of plain text in exiftool's faster form (see
    // plainTextExchange). Without them, every batch goes as JSON.
    void setWritableTags(std::shared_ptr<const WritableTags> tags)
    {
        m_writableTags = std::move(tags);
    }

protected:
    SidecarNaming m_sidecarNaming = SidecarNaming::name;
    bool m_writeInPlace = false;
    std::shared_ptr<const WritableTags> m_writableTags;
    WriteReport m_lastWriteReport;
};

// The run every write ends in: exiftool over `arguments` plus each file,
// then the closing message, or the failure as a write error. Answers what
// exiftool said of it.
WriteReport runExiftoolWrite(const ExifTool& exiftool, QStringList arguments,
                             const QList<QUrl>& files, bool verbose, const QString& closingMessage,
                             const MetadataCompletion& completion);

// exiftool's options that keep non-Latin text whole in IPTC, when one of
// `tags` is an IPTC tag; none otherwise, so that other batches keep their
// command line.
QStringList iptcCharsetArguments(const QStringList& tags);

// exiftool's option that refuses a file, rather than spread its EXIF over
// several JPEG segments that other programs don't read, when one of `tags`
// is an EXIF tag; none otherwise.
QStringList exifSegmentArguments(const QStringList& tags);

} // namespace qb
