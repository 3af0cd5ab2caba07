// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cards/barcodedecoder.h"
#include "cards/cardplan.h"
#include "exif/exiftool.h"

#include <QStringList>

#include <expected>
#include <memory>

class QThreadPool;

namespace qb {

// All that the plan needs from the files at `paths`, in that order: their
// capture times, read in one run of `exiftool` on the calling thread while
// the frames decode on `pool` (the global pool when null). An error when
// exiftool can't be run; a frame that can't be read is no error here, it is
// named in the plan.
// Reads the codes through the exiftool at `exiftool` where a file's preview
// is needed, one long-lived exiftool per core.
std::shared_ptr<BarcodeDecoder> sessionDecoder(const QString& exiftool);

std::expected<std::vector<CardFrame>, Error>
readCardFrames(const QStringList& paths, const ExifTool& exiftool,
               std::shared_ptr<const BarcodeDecoder> decoder, QThreadPool* pool = nullptr);

} // namespace qb
