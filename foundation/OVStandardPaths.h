// The user's folders the export uses: the support folder of each edition of the target, the
// per-user temporary folder, and removing a folder without ever following a link out of it.
#pragma once

#include "foundation/OVError.h"

#include <QString>

namespace OVStandardPaths {

// $XDG_DATA_HOME, or ~/.local/share when it is unset or not absolute.
QString applicationSupportFolder();

// The data folder of a sandboxed application: ~/.var/app/<identifier>/data.
QString sandboxedApplicationSupportFolder(const QString &identifier);

// Where a program keeps large temporary files when the user has not said: `systemFolder`
// ("/tmp"), unless that is a memory file system (tmpfs), where a whole library would take the
// machine's memory; then "/var/tmp", which lives on the disk.
QString temporaryRootFor(const QString &systemFolder = QStringLiteral("/tmp"));

// $TMPDIR when set (the user's own choice); otherwise the folder below, unchecked.
QString perUserTemporaryFolderPath();

// $TMPDIR when set (the user's own choice); otherwise a folder of the user's own in the
// system's temporary folder (temporaryRootFor()), mode 0700, created when missing. A path there that is a
// symbolic link, no folder, or another user's folder is refused with a null string and an
// explanation in *reason: never followed, never changed, never deleted.
QString perUserTemporaryFolder(QString *reason = nullptr);

// Creates `path` and any missing folders above it; on failure *reason says why (naming the
// folder that failed when it is not `path` itself).
bool createFolderWithIntermediates(const QString &path, QString *reason = nullptr);

// Removes whatever is at `path`: a file or a link is unlinked (the link, not what it points
// to), a folder is emptied and removed without descending into links. Answers true when
// nothing is left at `path`; on failure *reason says why (naming the entry inside `path` that
// could not be removed, if it was one).
bool removeItemAtPath(const QString &path, QString *reason = nullptr);

} // namespace OVStandardPaths
