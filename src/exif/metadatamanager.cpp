// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadatamanager.h"

namespace qb {

QString sidecarNamingName(SidecarNaming naming)
{
    return naming == SidecarNaming::name ? QStringLiteral("name") : QStringLiteral("name.ext");
}

std::optional<SidecarNaming> sidecarNamingNamed(QStringView name)
{
    if (name == u"name")
        return SidecarNaming::name;
    if (name == u"name.ext")
        return SidecarNaming::nameWithExtension;
    return std::nullopt;
}

QString sidecarFormat(SidecarNaming naming)
{
    return naming == SidecarNaming::name ? QStringLiteral("%d%f.xmp")
                                         : QStringLiteral("%d%f.%e.xmp");
}

void runExiftoolWrite(const ExifTool& exiftool, QStringList arguments, const QList<QUrl>& files,
                      bool verbose, const QString& closingMessage,
                      const MetadataCompletion& completion)
{
    for (const QUrl& url : files)
        arguments << exiftoolPath(url);
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (!result) {
            completion(std::unexpected(result.error().toError(ExiftoolTask::write)));
            return;
        }
        if (verbose)
            printResponse(result->response);
        completion(closingMessage);
    });
}

} // namespace qb
