// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "writing/writefiles.h"

#include "exif/exiftool.h"
#include "exif/writabletags.h"
#include "extensions/error.h"

#include <QByteArray>
#include <QString>

#include <expected>
#include <vector>

namespace qb {

// What a file's IPTC says of its text, read from the bytes of a JPEG.
enum class IptcText {
    fine,       // no IPTC, a declared character set, or UTF-8 throughout
    notUtf8,    // no declared character set, and bytes that aren't UTF-8
    cannotTell, // not a JPEG, or IPTC laid out in a way not read here
};
IptcText iptcTextOf(const QByteArray& jpegStart);
IptcText iptcTextOfFile(const QString& path);

// A UTF-8 write declares UTF-8 for the whole IPTC record, so the fields it
// doesn't set would be left as older bytes under a false declaration
// ("J\u00fcrgen" read as "J\ufffdrgen"). Older tools wrote IPTC in Latin-1
// with no declaration at all. For each file that gets an IPTC tag and
// holds such text, this adds the IPTC texts the write doesn't set, read as
// Windows-1252, to its image, so that the same exiftool run writes them
// back as UTF-8. The file's bytes are looked at first; exiftool reads only
// the files whose IPTC needs it, or that aren't JPEGs.
std::expected<void, Error> recodeLatinIptc(const ExifTool& exiftool,
                                           const std::vector<WriteFile*>& files,
                                           const WritableTags* tags);

} // namespace qb
