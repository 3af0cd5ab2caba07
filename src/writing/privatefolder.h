// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace qb {

// A fresh folder of this process's own in `temporary` (mode 0700, a name no
// one could have put there first) for the values of one write; it goes with
// the object, however the write ends. Its name carries the process's id and
// start time, so that a later process can tell one left behind by a process
// that was killed outright. The first call in a process removes those.
std::unique_ptr<QTemporaryDir> makePrivateFolder(const QString& temporary = QDir::tempPath());

// Removes the private folders in `temporary` whose process has ended, with
// the client's values a killed process left in them. Folders of processes
// that still run, of other users, and of any other name stay. Answers how
// many went.
int removeAbandonedFolders(const QString& temporary = QDir::tempPath());

// "quillbrook-PID-STARTTIME-", the start of this process's folders' names.
QString privateFolderPrefix();

} // namespace qb
