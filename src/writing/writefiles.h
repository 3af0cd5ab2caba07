// SPDX-License-Identifier: GPL-3.0-or-later
// What a write does with its files before exiftool sees them, and what it
// makes of each file afterwards.
#pragma once

#include "writing/writeprogress.h"

#include "exif/exifimage.h"
#include "exif/fileoutcomes.h"
#include "exif/metadatamanager.h"

#include <QDateTime>
#include <QUrl>

#include <map>
#include <memory>
#include <vector>

namespace qb {

// One image of a write and the file exiftool rewrites for it.
struct WriteFile {
    std::shared_ptr<ExifImage> image;
    // As the batch names it; its outcome is told under it.
    QString imagePath;
    // The image, the file its link names, or its sidecar.
    QString target;
    FileStamp before;
    // Another hard link or extended attributes that a replace would lose.
    bool inPlace = false;
    // What was done to the file before exiftool, for its outcome.
    QString note;
};

struct WritePlan {
    // In batch order.
    std::vector<WriteFile> files;
    // The images left out of the write, such as files still being written.
    FileOutcomes leftOut;
};

// Looks at each file of a batch before it is written. A symbolic link is
// followed, so that the file it names gets the values and the link stays
// a link: the image's SourceFile names that file from then on. A file that
// another process holds open for writing is left out. A stale
// NAME_exiftool_tmp, which no process holds and which is older than
// `start`, is removed: exiftool would refuse the file for it, and the
// original is whole, since exiftool renames its new file over it only
// once that is written.
WritePlan planWrite(const std::map<QUrl, std::shared_ptr<ExifImage>>& batch, bool sidecars,
                    SidecarNaming naming, const QDateTime& start);

// The file `path` names through any symbolic links; `path` when it is none.
QString linkTarget(const QString& path);
// Whether replacing the file would lose something: another hard link, or
// extended attributes (an ACL, a tag a file manager keeps).
bool needsWriteInPlace(const QString& path);

// Whether the image gives exiftool a value to set in its file, not only
// tags to clear; with `sidecars`, a value an XMP sidecar holds.
bool setsValues(const ExifImage& image, bool sidecars);

// The outcome of each file of one exiftool run, in the order given.
FileOutcomes runOutcomes(const std::vector<const WriteFile*>& files, const WriteReport& report,
                         const std::expected<QString, Error>& result, bool sidecars, bool stopped);

} // namespace qb
