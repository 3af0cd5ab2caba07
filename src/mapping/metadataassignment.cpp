// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadataassignment.h"

#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QHash>

namespace qb {

namespace {

// The first mapping for each source field, looked up under canonical
// equivalence. Built once per run rather than once per field.
class MappingLookup {
public:
    explicit MappingLookup(const std::vector<MetadataMapping>& mappings)
    {
        for (const MetadataMapping& mapping : mappings) {
            const QString field = canonical(mapping.keyName);
            if (!m_first.contains(field)) // the upper row acts
                m_first.insert(field, &mapping);
        }
    }

    const MetadataMapping* find(const QString& field) const
    {
        const auto it = m_first.constFind(canonical(field));
        return it == m_first.cend() ? nullptr : *it;
    }

private:
    QHash<QString, const MetadataMapping*> m_first;
};

ExifImage::Metadata applyLookup(const MetadataRow& row, const MappingLookup& lookup)
{
    ExifImage::Metadata tags;
    for (const auto& [field, value] : row) {
        const MetadataMapping* mapping = lookup.find(field);
        if (!mapping)
            continue;
        DynamicValue result = mapping->actions ? mapping->actions->applied(value) : value;
        if (result.isPresent())
            tags.insert_or_assign(mapping->destTag, std::move(result));
        else
            tags.erase(mapping->destTag);
    }
    return tags;
}

} // namespace

ExifImage::Metadata applyMappings(const MetadataRow& sourceMetadata,
                                  const std::vector<MetadataMapping>& mappings)
{
    if (mappings.empty())
        return {};
    return applyLookup(sourceMetadata, MappingLookup(mappings));
}

ExifImages mapImages(const ImageProvider& provider, const MetadataSource& source,
                     const std::vector<MetadataMapping>& mappings)
{
    const QList<QUrl> urls = provider.images();
    if (urls.isEmpty())
        return {};
    // A key or replacement pattern that runs out of time is told once.
    const RegexTimeouts run;
    const std::vector<MetadataRow> rows = source.metadataForImages(urls);
    const MappingLookup lookup(mappings);
    ExifImages images;
    for (qsizetype i = 0; i < urls.size(); ++i) {
        if (rows[i].empty())
            continue;
        auto image = std::make_shared<ExifImage>(urls[i]);
        image->merge(applyLookup(rows[i], lookup), true);
        images.push_back(std::move(image));
    }
    return images;
}

} // namespace qb
