// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// The shape of a document package on disk, in one place: the document
// decides what goes into the members, the package store how they reach the
// disk, and both read the names from here.
namespace qb {

inline QString packageExtension()
{
    return QStringLiteral("qbmap");
}

// The rows and the document's version.
inline QString mappingMemberName()
{
    return QStringLiteral("mapping.json");
}

// The folder of the data source panels' settings, one member per panel.
inline QString datasourceMemberName()
{
    return QStringLiteral("datasource");
}

// What one member, and all of a package together, may hold: far more than
// any settings file, far less than the images a mistaken choice of folder
// could hold.
constexpr qint64 maximumMemberSize = 16 * 1024 * 1024;
constexpr qint64 maximumPackageSize = 4 * maximumMemberSize;

} // namespace qb
