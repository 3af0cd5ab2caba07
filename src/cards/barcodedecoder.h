// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QFuture>
#include <QImage>
#include <QPointF>
#include <QString>
#include <QStringList>

#include <expected>
#include <memory>
#include <vector>

class QThreadPool;

namespace qb {

class FramePreviews;

// One code read in a frame.
struct DecodedCode {
    QString text;
    QString format; // as zxing names it: "QRCode", "DataMatrix", "Code128", …
    // Where its centre lies, as a fraction of the frame's width and height,
    // so that it doesn't depend on the size the frame was decoded at.
    QPointF centre;

    friend bool operator==(const DecodedCode&, const DecodedCode&) = default;
};

// The codes of one frame, in reading order (top to bottom, then left to
// right), each text and format once. Empty when the frame holds no code: an
// ordinary frame. An error when the frame could not be read at all, which
// matters because such a frame may be a card.
using FrameDecoding = std::expected<std::vector<DecodedCode>, Error>;

// The error values of a frame that could not be read.
enum class FrameReadFailure {
    unreadableFile = 1,   // missing, unreadable or damaged
    noEmbeddedPreview = 2 // a raw file with no preview; the raw itself is never decoded
};

// The codes zxing finds in `image`: QR, Data Matrix, Aztec, PDF417, Code 39,
// Code 128, EAN/UPC and ITF, trying hard and in every rotation. Pure, so it
// may run on any thread.
std::vector<DecodedCode> decodeCodes(const QImage& image);

struct DecoderOptions {
    // About the long side frames are decoded at; a JPEG is decoded at the
    // eighth of its size nearest above three quarters of it. A card's code
    // takes a good part of the frame, and beyond about 2,000 px decoding
    // gets slower, not surer.
    int longSide = 1600;
    // Decode from a file's embedded preview, through exiftool, even when
    // the file is an image we could decode ourselves. Raw files always are.
    bool preferEmbeddedPreview = false;
};

// Reads the codes in image files. A JPEG, PNG or TIFF is decoded scaled
// down as it is read (a JPEG at a fraction of its full cost); a raw file
// through its embedded preview. Thread-safe when its preview source is.
class BarcodeDecoder {
public:
    // A null source means no embedded previews: raw files fail as unreadable.
    explicit BarcodeDecoder(std::shared_ptr<FramePreviews> previews, DecoderOptions options = {});

    FrameDecoding decodeFile(const QString& path) const;

    // The frame as it is decoded, at most `longSide` on its long side.
    std::expected<QImage, Error> loadFrame(const QString& path) const;

    const DecoderOptions& options() const { return m_options; }

private:
    std::expected<QImage, Error> loadPreview(const QString& path) const;

    std::shared_ptr<FramePreviews> m_previews;
    DecoderOptions m_options;
};

// Decodes the frames at `paths` off the calling thread, one frame per thread
// of `pool` (the global pool, one thread per core, when null). The results
// come in the order of `paths`, each as soon as it is ready; cancelling the
// future stops the frames not yet begun. The decoder is kept until the last
// frame is done.
QFuture<FrameDecoding> decodeFrames(std::shared_ptr<const BarcodeDecoder> decoder,
                                    const QStringList& paths, QThreadPool* pool = nullptr);

Error frameReadError(FrameReadFailure failure, const QString& path, const QString& reason);

} // namespace qb
