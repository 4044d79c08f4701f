// File names cut to what the file system takes. The names made by stringSanitizedForFileName
// are cut at 255 UTF-16 units, but Linux file systems count bytes: a title in CJK characters
// or emoji is three or four times as long there, and two long titles cut to the same units
// would land on one file. These functions make the name as written, fitted in bytes.
#pragma once

#include <QString>

namespace OVExtensions {

// The longest file name, in bytes, the file system holding `folder` takes: what pathconf
// answers when it is below 255, else 255.
qsizetype maximumFileNameBytes(const QString &folder);

// `name` as this program writes it in `folder`: without the characters the library file could
// not carry, with "." + `extension` added when it does not already end with it, and with the
// part before the extension cut, at a whole user-perceived character, until the UTF-8 name
// fits maximumFileNameBytes(). Without `extension`, the name's own extension is the one kept.
// A name that fits and has nothing to drop comes back unchanged.
QString fileNameFittedToFolder(const QString &name, const QString &folder, const QString &extension = QString());

// The answer makeFilenameUniqueInDirectoryAtURL() gives, except that each candidate
// "base N.ext" too long in bytes has its base cut to make room for " N.ext" before it is
// looked for, so names that agree in their first 255 bytes still get files of their own.
QString makeFittedFilenameUniqueInDirectory(const QString &name, const QString &folder);

} // namespace OVExtensions
