// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exifimage.h"
#include "exif/exiftool.h"
#include "extensions/error.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

// Takes the closing message of a write, or why it failed.
using MetadataCompletion = std::function<void(std::expected<QString, Error>)>;

// How an XMP sidecar beside an image is named. `name` replaces the image's
// extension (A1.CR3 gets A1.xmp), as Lightroom and Capture One read it;
// `nameWithExtension` keeps it (A1.CR3.xmp), as darktable and digiKam do.
enum class SidecarNaming { name, nameWithExtension };
// "name" and "name.ext", as the preference stores them and the command line
// takes them.
QString sidecarNamingName(SidecarNaming naming);
std::optional<SidecarNaming> sidecarNamingNamed(QStringView name);
// exiftool's file-name format of the sidecar: %d%f.xmp or %d%f.%e.xmp.
QString sidecarFormat(SidecarNaming naming);

// How the metadata queue drives exiftool: register images, write the exchange
// file, run exiftool over it. One batch at a time, from one thread; the
// completion is called exactly once, on the calling thread.
class MetadataManager {
public:
    virtual ~MetadataManager() = default;

    virtual ExifTool& exiftool() = 0;
    virtual const ExifTool& exiftool() const = 0;
    virtual void setExiftool(ExifTool exiftool) = 0;

    // Setting it sets the exiftool's trace to defaultTrace(), or clears it.
    virtual bool verbose() const = 0;
    virtual void setVerbose(bool verbose) = 0;

    virtual void addImages(const std::vector<std::shared_ptr<ExifImage>>& images) = 0;
    virtual void clear() = 0;

    // Writes the exchange file to `path`, creating its folder. There is no
    // encoder parameter: the file is always made by our own JSON writer.
    virtual std::expected<void, Error> writeJSON(const QString& path, bool sidecars) = 0;

    virtual void writeImages(const QString& jsonPath, const MetadataCompletion& completion) = 0;
    virtual void writeSidecars(const QString& jsonPath, const MetadataCompletion& completion) = 0;

    // The sidecars that writeJSON(path, true) and writeSidecars() name.
    SidecarNaming sidecarNaming() const { return m_sidecarNaming; }
    void setSidecarNaming(SidecarNaming naming) { m_sidecarNaming = naming; }

protected:
    SidecarNaming m_sidecarNaming = SidecarNaming::name;
};

// The run every write ends in: exiftool over `arguments` plus each file,
// then the closing message, or the failure as a write error.
void runExiftoolWrite(const ExifTool& exiftool, QStringList arguments, const QList<QUrl>& files,
                      bool verbose, const QString& closingMessage,
                      const MetadataCompletion& completion);

} // namespace qb
