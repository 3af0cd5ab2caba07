// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QString>

#include <gtest/gtest.h>

namespace qb::testing {

// A small real JPEG that exiftool can write to.
inline QString makeJpeg(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    EXPECT_TRUE(image.save(path, "JPEG")) << path.toStdString();
    return path;
}

} // namespace qb::testing
