// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace qb {

// Which of `paths` some process holds open for writing: a capture still
// being copied in, a file a sync tool or a tether program is filling.
// Rewriting such a file would replace it under its writer, and the rest of
// its bytes would go to the old, unlinked file.
//
// Each file is first asked with a read lease, which the kernel refuses
// while any process, of any user, has the file open for writing. Where a
// lease can't be taken (another user's file, a network mount), the open
// files of every process this user may see in /proc are looked through
// instead. A writer on another machine can't be seen from here.
QSet<QString> filesOpenForWriting(const QStringList& paths);

namespace filesinuse {
// The /proc half alone, for the files a lease can't answer for.
QSet<QString> writersInProc(const QStringList& paths);
} // namespace filesinuse

} // namespace qb
