// SPDX-License-Identifier: GPL-3.0-or-later
#include "embeddedpreview.h"

#include <QFileInfo>
#include <QSet>

namespace qb {

namespace {

// The long side a JPEG's frame header gives, read from its markers without
// decoding anything; 0 when there is no such header.
int jpegLongSide(const QByteArray& jpeg)
{
    const auto byte = [&](qsizetype at) {
        return uchar(jpeg.at(at));
    };
    qsizetype at = 2;
    while (at + 9 < jpeg.size()) {
        if (byte(at) != 0xff)
            return 0;
        const uchar marker = byte(at + 1);
        if (marker == 0xff) { // fill byte
            ++at;
            continue;
        }
        if (marker == 0x01 || (marker >= 0xd0 && marker <= 0xd7)) {
            at += 2;
            continue;
        }
        if (marker == 0xd9 || marker == 0xda) // the image ends or its data begins
            return 0;
        const bool frameHeader =
            marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (frameHeader) {
            const int height = byte(at + 5) << 8 | byte(at + 6);
            const int width = byte(at + 7) << 8 | byte(at + 8);
            return std::max(width, height);
        }
        at += 2 + (byte(at + 2) << 8 | byte(at + 3));
    }
    return 0;
}

} // namespace

std::expected<QByteArray, QString> readEmbeddedPreview(ProcessRunner& runner,
                                                       const QString& exiftool, const QString& path,
                                                       int longSide)
{
    static const char* const tags[] = {"-PreviewImage", "-JpgFromRaw", "-OtherImage",
                                       "-ThumbnailImage"};
    // A name that begins with a dash is kept a name by its folder. Not by
    // "--": a long-lived exiftool would take the rest of the request, the
    // word that ends it included, for file names, and never answer.
    const QString file = path.startsWith(u'-') ? QStringLiteral("./") + path : path;
    QByteArray largest;
    int largestSide = -1;
    for (const char* tag : tags) {
        const ProcessRunResult ran =
            runner.run(exiftool, {QStringLiteral("-b"), QString::fromLatin1(tag), file});
        if (!ran)
            return std::unexpected(ran.error().reason);
        // JPEG data starts with its start-of-image marker; anything else is
        // a message, not a picture.
        if (ran->standardOutput.startsWith("\xff\xd8")) {
            const int side = jpegLongSide(ran->standardOutput);
            if (side >= longSide)
                return ran->standardOutput;
            if (side > largestSide) {
                largest = ran->standardOutput;
                largestSide = side;
            }
            continue;
        }
        if (ran->standardOutput.isEmpty() && !ran->standardError.isEmpty() &&
            ran->standardError.contains("Error"))
            return std::unexpected(QString::fromUtf8(ran->standardError).trimmed());
    }
    return largest;
}

bool isRawImagePath(const QString& path)
{
    static const QSet<QString> raws{"3fr", "ari", "arw", "bay", "braw", "cr2", "cr3", "crw",
                                    "cs1", "dcr", "dcs", "dng", "drf",  "eip", "erf", "fff",
                                    "gpr", "iiq", "k25", "kdc", "mdc",  "mef", "mos", "mrw",
                                    "nef", "nrw", "orf", "pef", "ptx",  "pxn", "r3d", "raf",
                                    "raw", "rw2", "rwl", "rwz", "sr2",  "srf", "srw", "x3f"};
    return raws.contains(QFileInfo(path).suffix().toLower());
}

} // namespace qb
