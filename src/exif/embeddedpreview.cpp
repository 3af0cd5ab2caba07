// SPDX-License-Identifier: GPL-3.0-or-later
#include "embeddedpreview.h"

#include <QFileInfo>
#include <QSet>

namespace qb {

std::expected<QByteArray, QString> readEmbeddedPreview(ProcessRunner& runner,
                                                       const QString& exiftool, const QString& path)
{
    static const char* const tags[] = {"-PreviewImage", "-JpgFromRaw", "-ThumbnailImage"};
    for (const char* tag : tags) {
        // "--" keeps a file name that begins with a dash a file name.
        const ProcessRunResult ran = runner.run(
            exiftool, {QStringLiteral("-b"), QString::fromLatin1(tag), QStringLiteral("--"), path});
        if (!ran)
            return std::unexpected(ran.error().reason);
        // JPEG data starts with its start-of-image marker; anything else is
        // a message, not a picture.
        if (ran->standardOutput.startsWith("\xff\xd8"))
            return ran->standardOutput;
        if (ran->standardOutput.isEmpty() && !ran->standardError.isEmpty() &&
            ran->standardError.contains("Error"))
            return std::unexpected(QString::fromUtf8(ran->standardError).trimmed());
    }
    return QByteArray();
}

bool isRawImagePath(const QString& path)
{
    static const QSet<QString> raws{
        QStringLiteral("3fr"), QStringLiteral("arw"), QStringLiteral("cr2"), QStringLiteral("cr3"),
        QStringLiteral("crw"), QStringLiteral("dcr"), QStringLiteral("dng"), QStringLiteral("eip"),
        QStringLiteral("erf"), QStringLiteral("fff"), QStringLiteral("iiq"), QStringLiteral("k25"),
        QStringLiteral("kdc"), QStringLiteral("mef"), QStringLiteral("mos"), QStringLiteral("mrw"),
        QStringLiteral("nef"), QStringLiteral("nrw"), QStringLiteral("orf"), QStringLiteral("pef"),
        QStringLiteral("raf"), QStringLiteral("raw"), QStringLiteral("rw2"), QStringLiteral("rwl"),
        QStringLiteral("sr2"), QStringLiteral("srf"), QStringLiteral("srw"), QStringLiteral("x3f")};
    return raws.contains(QFileInfo(path).suffix().toLower());
}

} // namespace qb
