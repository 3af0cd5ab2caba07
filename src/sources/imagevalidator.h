// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/urlimageprovider.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <array>
#include <optional>
#include <string_view>

namespace qb {

class Preferences;

// Sifts images into those exiftool can write and those it can't, and
// expands dropped folders. Validation goes by extension, expansion by kind
// of file; the two disagree on purpose, so that an image exiftool can't
// write is found, counted and reported rather than hidden.
class ImageValidator {
public:
    struct ValidatedImages {
        QList<QUrl> validImages; // in the given order
        int invalidCount = 0;
        std::optional<QString> message; // none when nothing was left out

        friend bool operator==(const ValidatedImages&, const ValidatedImages&) = default;
    };

    // The upper-case extensions of the files exiftool writes, in this order;
    // also the open panel's allowed types.
    static constexpr std::array<std::string_view, 96> writableTypes = {
        "3G2",  "3GP",  "3GP2", "3GPP", "AAX",  "AI",   "AIT", "APNG", "ARQ", "ARW",  "CIFF",
        "CR2",  "CR3",  "CRM",  "CRW",  "CS1",  "DCP",  "DNG", "DR4",  "DVB", "EPS",  "EPS2",
        "EPS3", "EPSF", "ERF",  "EXIF", "EXV",  "F4A",  "F4B", "F4P",  "F4V", "FFF",  "FLIF",
        "GIF",  "GPR",  "HDP",  "HEIC", "HEIF", "ICC",  "ICM", "IIQ",  "IND", "INDD", "INDT",
        "J2K",  "JNG",  "JP2",  "JPE",  "JPEG", "JPF",  "JPG", "JPM",  "JPX", "JXR",  "LRV",
        "M4A",  "M4B",  "M4P",  "M4V",  "MEF",  "MIE",  "MNG", "MOS",  "MOV", "MP4",  "MPO",
        "MQV",  "MRW",  "NEF",  "NRW",  "ORF",  "PBM",  "PDF", "PEF",  "PGM", "PNG",  "PPM",
        "PS",   "PS2",  "PS3",  "PSB",  "PSD",  "PSDT", "QT",  "RAF",  "RAW", "RW2",  "RWL",
        "SR2",  "SRW",  "THM",  "TIF",  "TIFF", "VRD",  "WDP", "X3F"};
    static QStringList writableTypeList();

    // Whether the upper-cased extension of `url` is in the table.
    static bool hasWritableExtension(const QUrl& url);

    // Only the direct method (raw value 0) is picky: XMP sidecars and
    // Capture One take any file. A directory is always valid.
    static ValidatedImages validate(const QList<QUrl>& urls, int writeMethodValue);
    // As above, under the stored preference.
    static ValidatedImages validate(const QList<QUrl>& urls, const Preferences& preferences);

    // Dropped files stay as they are; each folder, except one named
    // "CaptureOne", becomes the images and audiovisual files in it (its top
    // level only unless `recursive`). No de-duplication.
    static QList<QUrl> expandDroppedURLs(const QList<QUrl>& urls, bool recursive);
    // The same, with the images left out for names that aren't UTF-8.
    static FolderSearch expandDropped(const QList<QUrl>& urls, bool recursive);
};

// The URL's path extension: what follows the last dot of the last path
// component, if that dot doesn't lead it; empty when there is none.
QString pathExtension(const QUrl& url);

} // namespace qb
