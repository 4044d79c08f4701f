// A synthetic library of any size for load and speed tests of the export: the manifest of
// `count` items of all seven kinds in turn, spread over folder collections, tags and labels,
// whose content files are a handful of small files that every item of a kind shares.
#pragma once

#include <QString>

namespace LargeLibrary {

// Writes <folder>/library.json and <folder>/content/...; false when a file cannot be written.
bool write(const QString &folder, int count);

} // namespace LargeLibrary
