// Whether a folder has room for more files. A write that fails may fail for many reasons; a
// full disk (or a quota, or a file size limit) is the one that dooms every later write too,
// so the export asks about it after each failed write and stops when it is the cause.
#pragma once

#include <QString>

namespace OVDiskSpace {

// True when files in `folder` cannot grow: no free blocks are left to this user, or a small
// probe file written there fails with ENOSPC, EDQUOT or EFBIG. *reason then holds the system's
// words for it. The probe is removed again.
bool isOutOfSpace(const QString &folder, QString *reason = nullptr);

// Whether `error` (an errno value) means there is no room to write.
bool isOutOfSpaceError(int error);

} // namespace OVDiskSpace
