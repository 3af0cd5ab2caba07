// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"
#include "extensions/error.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace qb {

// The JPEG previews a camera embeds in a file. A raw file is never decoded
// in full for a card: its preview is enough to read a code, at a hundredth
// of the cost.
class PreviewSource {
public:
    virtual ~PreviewSource() = default;

    // The preview best suited to be decoded at `longSide`: the smallest at
    // least that large, else the largest there is. Nothing when the file
    // holds none; an error when the file or exiftool couldn't be read.
    // Called from several threads at once.
    virtual std::expected<std::optional<QByteArray>, Error> preview(const QString& path,
                                                                    int longSide) = 0;
};

// The embedded images exiftool knows, the ones that can hold a usable
// preview first.
inline constexpr const char* previewTags[] = {"JpgFromRaw", "PreviewImage", "OtherImage",
                                              "ThumbnailImage"};

// Previews read by exiftool (-json -b, which carries each image in base64),
// one file per request. Each runner serves one request at a time, so give
// it one long-lived exiftool per decoding thread, or the threads queue for
// the one.
class ExiftoolPreviewSource : public PreviewSource {
public:
    ExiftoolPreviewSource(QString exiftoolPath,
                          std::vector<std::shared_ptr<ProcessRunner>> runners);

    std::expected<std::optional<QByteArray>, Error> preview(const QString& path,
                                                            int longSide) override;

private:
    std::shared_ptr<ProcessRunner> takeRunner();
    void giveBack(std::shared_ptr<ProcessRunner> runner);

    QString m_exiftoolPath;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<std::shared_ptr<ProcessRunner>> m_idle;
};

// Of the images in exiftool's JSON answer for one file, the best for
// `longSide` as preview() chooses; nothing when there is none.
std::expected<std::optional<QByteArray>, Error> choosePreview(const QByteArray& exiftoolAnswer,
                                                              int longSide);

} // namespace qb
