// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureoneversion.h"

namespace qb {

QString rawValue(CaptureOneVersion version)
{
    switch (version) {
    case CaptureOneVersion::v11:
        return QStringLiteral("11");
    case CaptureOneVersion::v12:
        return QStringLiteral("12");
    case CaptureOneVersion::v20:
        return QStringLiteral("13");
    }
    return {};
}

std::optional<CaptureOneVersion> captureOneVersionFromRawValue(const QString& raw)
{
    for (CaptureOneVersion version :
         {CaptureOneVersion::v11, CaptureOneVersion::v12, CaptureOneVersion::v20}) {
        if (rawValue(version) == raw)
            return version;
    }
    return std::nullopt;
}

int displayNumber(CaptureOneVersion version)
{
    switch (version) {
    case CaptureOneVersion::v11:
        return 11;
    case CaptureOneVersion::v12:
        return 12;
    case CaptureOneVersion::v20:
        return 20;
    }
    return 0;
}

QString bundleIdentifier(CaptureOneVersion version)
{
    switch (version) {
    case CaptureOneVersion::v11:
        return QStringLiteral("com.phaseone.captureone11");
    case CaptureOneVersion::v12:
        return QStringLiteral("com.phaseone.captureone12");
    case CaptureOneVersion::v20:
        return QStringLiteral("com.captureone.captureone13");
    }
    return {};
}

QString description(CaptureOneVersion version)
{
    return QStringLiteral("Capture One %1").arg(displayNumber(version));
}

} // namespace qb
