// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardsession.h"

#include "cards/framepreviews.h"
#include "exif/stayopenexiftool.h"

#include <QFileInfo>
#include <QThread>

namespace qb {

std::shared_ptr<BarcodeDecoder> sessionDecoder(const QString& exiftool)
{
    std::vector<std::shared_ptr<ProcessRunner>> runners;
    for (int i = 0; i < std::max(1, QThread::idealThreadCount()); ++i)
        runners.push_back(std::make_shared<StayOpenExiftool>());
    return std::make_shared<BarcodeDecoder>(
        std::make_shared<ExiftoolFramePreviews>(exiftool, std::move(runners)));
}

std::expected<std::vector<CardFrame>, Error>
readCardFrames(const QStringList& paths, const ExifTool& exiftool,
               std::shared_ptr<const BarcodeDecoder> decoder, QThreadPool* pool)
{
    QFuture<FrameDecoding> decoding = decodeFrames(std::move(decoder), paths, pool);
    auto times = readCaptureTimes(exiftool, paths);
    if (!times) {
        decoding.cancel();
        decoding.waitForFinished();
        return std::unexpected(times.error());
    }
    decoding.waitForFinished();
    std::vector<CardFrame> frames;
    frames.reserve(size_t(paths.size()));
    for (qsizetype i = 0; i < paths.size(); ++i)
        frames.push_back({paths[i], QFileInfo(paths[i]).fileName(), std::move((*times)[size_t(i)]),
                          decoding.resultAt(int(i))});
    return frames;
}

} // namespace qb
