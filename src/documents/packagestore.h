// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/filewrapper.h"
#include "documents/packagelayout.h"

#include "extensions/error.h"

#include <QString>

#include <expected>

// Where document packages meet the disk.
namespace qb {

// The members of the package folder at `path` that the format names, and
// nothing else: mapping.json, and each direct member of datasource/ by name.
// A member is read only when it is a regular file inside the package, links
// resolved, and within the sizes above. When mapping.json is not, opening
// fails and says why; any other member is left out, and the log says why.
// A missing mapping.json is not reported here: the package has no such
// member, and decoding it says so.
std::expected<FileWrapper, Error> readPackage(const QString& path);

// The package folder for what the user picked: the folder itself, or the
// mapping.json inside it. Anything else is refused with an explanation.
std::expected<QString, Error> packagePathForOpening(const QString& path);

// `path` with the package extension, added when it is missing.
QString packagePathForSaving(const QString& path);

// Writes `package` to `path` so that, whatever fails, either the new package
// or the previous one is there whole: the tree is written to a hidden
// sibling, the previous package is renamed aside, the new one renamed in,
// and only then is the previous one removed.
std::expected<void, Error> replacePackage(const FileWrapper& package, const QString& path);

} // namespace qb
