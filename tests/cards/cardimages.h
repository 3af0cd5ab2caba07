// SPDX-License-Identifier: GPL-3.0-or-later
// Frames as a volume photographer shoots them: a scene, and now and then a
// white card held up with a code on it, rendered by zxing's own writer.
#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <ZXing/BarcodeFormat.h>

#include <vector>

namespace qb::testing {

struct CardLook {
    QStringList texts; // one code, or several side by side for a group card
    ZXing::BarcodeFormat format = ZXing::BarcodeFormat::QRCode;
    double codeWidth = 0.25; // of the frame's width, for each code
    double turn = 0;         // degrees the card is turned in the frame
    double skew = 0;         // horizontal shear of the card
    int blur = 0;            // radius in pixels
    int noise = 0;           // amplitude of the grain, 0 to 255
};

// A scene: a gradient with shapes, different for each seed.
QImage sceneFrame(int seed, int width = 1200, int height = 800);
// The scene with the card held up in front of it.
QImage cardFrame(const CardLook& look, int seed = 1, int width = 1200, int height = 800);

// Sensor-like noise of up to `amount` levels, as every real frame has.
void addGrain(QImage& image, int amount, int seed);

bool saveJpeg(const QImage& image, const QString& path, int quality = 90);

// Writes DateTimeOriginal ("2024:05:01 10:00:00") and SubSecTimeOriginal
// (none when empty) into each file in one run of the real exiftool.
struct CaptureStamp {
    QString path;
    QString dateTime;
    QString subSeconds = {};
};
bool stampCaptureTimes(const std::vector<CaptureStamp>& stamps);

// One frame of a shoot: a card when `card` has texts, taken at `time`
// ("10:00:10" on 2024-05-01; none when empty).
struct Shot {
    CardLook card;
    QString time;
    QString subSeconds = {};
    // Sensor grain, so that a large frame compresses to a camera's
    // megabytes rather than to a drawing's kilobytes.
    int grain = 0;
};
// Saves the shots in `folder` as IMG_0001.JPG, IMG_0002.JPG, … of
// `width` x `height` and stamps their times, by a clock `clockOff` seconds
// off; their paths, or none when a file or exiftool failed.
QStringList shoot(const QString& folder, const std::vector<Shot>& shots, qint64 clockOff = 0,
                  int width = 900, int height = 600);

// A morning at a school: cards forward, a burst within one second, a Data
// Matrix card, a frame without a time, a card of no row (9999), a group
// card (1236 and 1237), a pause of six minutes, and a card too small to
// read (1238).
std::vector<Shot> schoolShoot();

} // namespace qb::testing
