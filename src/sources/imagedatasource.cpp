// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagedatasource.h"

#include "mapping/imageprovider.h"

#include "extensions/log.h"

namespace qb {

ImageDataSource::ImageDataSource(ReaderFactory makeReader)
    : m_makeReader(std::move(makeReader))
{
    setMatchingStyle(MatchingStyle::prefix);
    if (!m_makeReader)
        m_makeReader = [] {
            return std::make_unique<MetadataReader>();
        };
}

void ImageDataSource::loadImages(const QList<QUrl>& urls, const LoadCompletion& completion)
{
    const std::unique_ptr<MetadataReader> reader = m_makeReader();
    reader->read({}, urls, [&](std::expected<QString, Error> result) {
        if (!result) {
            qbPrint(result.error().message());
            completion(std::unexpected(result.error()));
            return;
        }
        MetadataTable table = metadata();
        for (const auto& image : reader->images()) {
            const std::optional<QUrl> url = image->url();
            if (!url)
                continue;
            const QString name = imageName(*url);
            qbPrint(QStringLiteral("Storing metadata for ") + name +
                    QStringLiteral(". Metadata: ") + QString::number(image->metadata.size()));
            table.insert_or_assign(name, image->metadata);
        }
        setMetadata(std::move(table));
        completion(QStringLiteral("Imorted %1 images").arg(metadata().size()));
    });
}

} // namespace qb
