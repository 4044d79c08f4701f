// Copying an item's file or package the way a file manager does: folders recursively,
// symbolic links as links (never followed, so a link cannot lead the copy out of the
// package or round in a loop).
#pragma once

#include <QString>

namespace Standin {

namespace StandinFiles {

// Copies `source` (a file, a folder or a link) to `destination`, which must not exist.
// False with a message on the first failure; what was copied by then stays.
[[nodiscard]] bool copyTree(const QString &source, const QString &destination, QString *error = nullptr);

} // namespace StandinFiles

} // namespace Standin
