// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/metadatamanager.h"

#include <QHash>
#include <QList>
#include <QUrl>

#include <map>

namespace qb {

// Moves images both ways across exiftool: read() turns exiftool's JSON answer
// into images, the writes turn the held images into one JSON exchange file
// that exiftool imports. This is the MetadataManager the queue writes through.
//
// Images are held by URL in URL order, so command lines and the exchange file
// come out the same for the same set of images whatever order they came in.
// The key is where an image was when it was added; it does not follow later
// changes of its SourceFile. Not thread-safe: one operation at a time.
class MetadataReader : public MetadataManager {
public:
    using ImagePointer = std::shared_ptr<ExifImage>;
    using Images = std::map<QUrl, ImagePointer>;
    using ReadCompletion = std::function<void(std::expected<QString, Error>)>;

    // Runs the installed exiftool; `runner` replaces the system's in tests.
    explicit MetadataReader(std::shared_ptr<ProcessRunner> runner = {});

    ExifTool& exiftool() override { return m_exiftool; }
    const ExifTool& exiftool() const override { return m_exiftool; }
    void setExiftool(ExifTool exiftool) override { m_exiftool = std::move(exiftool); }
    bool verbose() const override { return m_verbose; }
    void setVerbose(bool verbose) override;

    const Images& loadedImages() const { return m_loadedImages; }
    QList<QUrl> urls() const;
    std::vector<ImagePointer> images() const;

    // Null when there is none; setting null removes the entry.
    ImagePointer image(const QUrl& url) const;
    void setImage(const QUrl& url, ImagePointer image);
    // The first entry, in URL order, whose last path component is exactly
    // `fileName`. Setting with no such entry does nothing.
    ImagePointer imageNamed(const QString& fileName) const;
    void setImageNamed(const QString& fileName, ImagePointer image);

    // Reads `tags` (all tags when empty) of the files at `urls` and keeps an
    // image for each object of exiftool's answer.
    void read(const QStringList& tags, const QList<QUrl>& urls, const ReadCompletion& completion);
    // A fresh image for each URL, replacing what was there.
    void addURLs(const QList<QUrl>& urls);

    void addImages(const std::vector<ImagePointer>& images) override;
    void clear() override { m_loadedImages.clear(); }

    // With `sidecars`, each image's SourceFile is first moved to its XMP
    // sidecar, on the shared image itself, and stays so after the write.
    // An existing sidecar whose extension differs only in case (A1.XMP) is
    // the one written, and no twin is made beside it. A direct write of
    // plain text, with the writable tags set, goes as CSV instead: beside
    // `path`, named as it is with ".csv", and writeImages(path) reads that.
    std::expected<void, Error> writeJSON(const QString& path, bool sidecars) override;

    void writeImages(const QString& jsonPath, const MetadataCompletion& completion) override;
    void writeSidecars(const QString& jsonPath, const MetadataCompletion& completion) override;

private:
    void write(const QStringList& options, const QString& closingMessage,
               const MetadataCompletion& completion);
    Images::const_iterator findNamed(const QString& fileName) const;
    std::expected<QString, Error> store(const QByteArray& answer);

    ExifTool m_exiftool;
    bool m_verbose = false;
    Images m_loadedImages;
    // The sidecar extensions other than "xmp" that the last writeJSON met,
    // sorted; exiftool tries each after "xmp".
    QStringList m_sidecarSpellings;
    // The path the last writeJSON was given and the CSV it wrote instead.
    std::pair<QString, QString> m_plainExchange;
};

// Finds the sidecars a write updates, reading each folder once.
class SidecarFinder {
public:
    explicit SidecarFinder(SidecarNaming naming)
        : m_naming(naming)
    {
    }
    // The sidecar named as the naming says when it exists or none differs
    // from it only in the case of its extension; else the first such one.
    QUrl sidecarOf(const QUrl& image);

private:
    SidecarNaming m_naming;
    // Per folder: the lower-case names of its XMP files, to the names.
    QHash<QString, QHash<QString, QStringList>> m_folders;
};

// The XMP sidecar beside a file: same folder and base name, extension xmp,
// the image's own extension kept before it when the naming says so.
QUrl sidecarUrl(const QUrl& url, SidecarNaming naming = SidecarNaming::name);

} // namespace qb
