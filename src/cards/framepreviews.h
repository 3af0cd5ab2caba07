// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <expected>
#include <memory>
#include <mutex>
#include <vector>

namespace qb {

// Where the decoder gets the JPEG previews a camera embeds in its files. A
// raw file is never decoded in full for a card: its preview is enough to
// read a code, at a hundredth of the cost.
class FramePreviews {
public:
    virtual ~FramePreviews() = default;

    // The preview best suited to be decoded at `longSide`, as
    // readEmbeddedPreview() chooses it. Empty when the file holds none; the
    // reason when the file or exiftool couldn't be read. Called from several
    // threads at once.
    virtual std::expected<QByteArray, QString> preview(const QString& path, int longSide) = 0;
};

// Previews read by exiftool. Each runner serves one request at a time, so
// give it one long-lived exiftool per decoding thread, or the threads queue
// for the one.
class ExiftoolFramePreviews : public FramePreviews {
public:
    ExiftoolFramePreviews(QString exiftoolPath,
                          std::vector<std::shared_ptr<ProcessRunner>> runners);

    std::expected<QByteArray, QString> preview(const QString& path, int longSide) override;

private:
    std::shared_ptr<ProcessRunner> takeRunner();
    void giveBack(std::shared_ptr<ProcessRunner> runner);

    QString m_exiftoolPath;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<std::shared_ptr<ProcessRunner>> m_idle;
};

} // namespace qb
