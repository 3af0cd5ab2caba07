// SPDX-License-Identifier: GPL-3.0-or-later
#include "writemethod.h"

namespace qb {

std::optional<WriteMethod> writeMethodFromRawValue(int raw)
{
    if (raw < 0 || raw > 2)
        return std::nullopt;
    return static_cast<WriteMethod>(raw);
}

WriteMethod writeMethodFromPreference(int raw)
{
    if (raw == 0)
        return WriteMethod::direct;
    if (raw == 2)
        return WriteMethod::captureOne;
    return WriteMethod::xmp;
}

QString caseName(WriteMethod method)
{
    switch (method) {
    case WriteMethod::direct:
        return QStringLiteral("direct");
    case WriteMethod::xmp:
        return QStringLiteral("xmp");
    case WriteMethod::captureOne:
        return QStringLiteral("captureOne");
    }
    return {};
}

} // namespace qb
