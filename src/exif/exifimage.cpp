// SPDX-License-Identifier: GPL-3.0-or-later
#include "exifimage.h"

namespace qb {

std::optional<QUrl> ExifImage::url() const
{
    const auto it = metadata.find(sourceFileKey);
    if (it == metadata.end())
        return std::nullopt;
    if (it->second.isUrl())
        return it->second.toUrl();
    if (it->second.isString())
        return QUrl::fromLocalFile(it->second.toString());
    return std::nullopt;
}

void ExifImage::merge(const Metadata& other, bool overwrite)
{
    for (const auto& [key, value] : other) {
        if (overwrite)
            metadata.insert_or_assign(key, value);
        else
            metadata.try_emplace(key, value);
    }
}

} // namespace qb
