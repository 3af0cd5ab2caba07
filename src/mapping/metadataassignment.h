// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/imageprovider.h"
#include "mapping/metadatamapping.h"
#include "mapping/metadatasource.h"

#include "exif/exifimage.h"

#include <memory>
#include <vector>

namespace qb {

using ExifImages = std::vector<std::shared_ptr<ExifImage>>;

// One image record per provider URL whose row is not empty, in the
// provider's order, each holding the mapped tag values. Images without a
// row are left out silently.
ExifImages mapImages(const ImageProvider& provider, const MetadataSource& source,
                     const std::vector<MetadataMapping>& mappings);

// The tag values of one image. Of several mappings that read one source
// field, only the first acts.
ExifImage::Metadata applyMappings(const MetadataRow& sourceMetadata,
                                  const std::vector<MetadataMapping>& mappings);

} // namespace qb
