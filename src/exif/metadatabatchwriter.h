// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftag.h"
#include "exif/metadatamanager.h"

#include <QList>
#include <QUrl>

#include <vector>

namespace qb {

// Writes one and the same set of tag values to many files in one exiftool
// run. The exchange file is a single JSON object without SourceFile, which
// exiftool applies to every file on the command line. Not thread-safe.
class MetadataBatchWriter : public MetadataManager {
public:
    MetadataBatchWriter(QList<QUrl> urls, std::vector<MetadataValueBox> tags,
                        std::shared_ptr<ProcessRunner> runner = {});

    ExifTool& exiftool() override { return m_exiftool; }
    const ExifTool& exiftool() const override { return m_exiftool; }
    void setExiftool(ExifTool exiftool) override { m_exiftool = std::move(exiftool); }
    // A new writer traces with defaultTrace() until this is first set.
    bool verbose() const override { return m_verbose; }
    void setVerbose(bool verbose) override;

    const QList<QUrl>& urls() const { return m_urls; }
    void setUrls(QList<QUrl> urls) { m_urls = std::move(urls); }
    const std::vector<MetadataValueBox>& tags() const { return m_tags; }
    void setTags(std::vector<MetadataValueBox> tags) { m_tags = std::move(tags); }

    // Appends each image's location, duplicates included.
    void addImages(const std::vector<std::shared_ptr<ExifImage>>& images) override;
    // Forgets the files; the tags stay.
    void clear() override { m_urls.clear(); }

    // `sidecars` makes no difference here. Values are written as they are;
    // a date or URL, which JSON can't hold, is an error.
    std::expected<void, Error> writeJSON(const QString& path, bool sidecars) override;
    void writeImages(const QString& jsonPath, const MetadataCompletion& completion) override;
    void writeSidecars(const QString& jsonPath, const MetadataCompletion& completion) override;

private:
    void write(QStringList arguments, const QString& closingMessage,
               const MetadataCompletion& completion);

    ExifTool m_exiftool;
    bool m_verbose = false;
    QList<QUrl> m_urls;
    std::vector<MetadataValueBox> m_tags;
};

} // namespace qb
