// A synthetic library for the benchmark, in the proportions of a real one: half notes (RTF of
// 2 to 20 KB, one in ten with a picture), a fifth bookmarks, a tenth images of 50 to 500 KB, a
// tenth PDFs, the rest serial numbers, passwords and web archives; N/20 groups of 1 to 200
// items; tag collections; labels; 0 to 5 tags per item. Every item has its own content file,
// so copying the content folder copies what the export must write.
#pragma once

#include <QString>

namespace BenchmarkLibrary {

struct Summary
{
    int items = 0;
    qint64 contentBytes = 0;
};

// Writes <folder>/library.json and <folder>/content/...; the same `items` and `seed` always
// give the same library. False (and *error) when a file cannot be written.
bool write(const QString &folder, int items, quint32 seed, Summary *summary, QString *error);

} // namespace BenchmarkLibrary
