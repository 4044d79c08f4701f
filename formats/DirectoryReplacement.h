// Putting a freshly written folder in the place of another in one step, so that a reader sees
// either the old package or the new one, never a mixture.
#pragma once

#include <QString>

namespace DirectoryReplacement {

// Moves `source` to `target`. An item already at `target` is exchanged atomically where the
// file system allows it (otherwise moved aside and restored on failure) and then removed.
// `source` and `target` must lie on the same file system.
[[nodiscard]] bool replace(const QString &source, const QString &target, QString *errorString = nullptr);

} // namespace DirectoryReplacement
