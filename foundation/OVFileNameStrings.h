// Turning item titles into names a file system takes, finding a free name in a folder, and
// cleaning strings of unwanted characters. Lengths count UTF-16 code units throughout.
#pragma once

#include "foundation/OVCharacterSet.h"

#include <QString>
#include <QUrl>

enum class OVStringEncoding { ASCII, UTF8, ISOLatin1 };

namespace OVExtensions {

// One file-name component made from a title: ends trimmed, the first leading dot made "-",
// "/", ":" and "~" made "-", everything from the first line break on dropped, and names of
// 256 units or more cut to 254 units plus their extension. Titles arrive from another
// application, so only these rules apply; all other characters stay.
// Throws std::out_of_range when such a long name has an extension longer than 254 units,
// the one case the cut cannot be made in; the export run's guard reports it.
QString stringSanitizedForFileName(const QString &title);

// `name` if nothing exists under it in `directory`, otherwise the first free "base N.ext"
// for N = 1, 2, ... passed through stringSanitizedForFileName.
QString makeFilenameUniqueInDirectoryAtURL(const QString &name, const QUrl &directory);

// The path in the file system's own spelling: decomposed Unicode (NFD).
QString fileSystemRepresentationString(const QString &path);

// The name a file browser shows: the last path component, without its extension when the
// file is marked to hide it.
QString fileDisplayName(const QString &path);

QString stringByRemovingCharactersInSet(const QString &string, const OVCharacterSet &set);
QString stringByRemovingControlAndIllegalCharacters(const QString &string);

// A string of at most `length` bytes (fewer when a zero byte comes first), or a null string
// when the bytes are not valid in `encoding`. No bytes or a length of 0 give the empty string.
QString stringWithCString(const char *bytes, OVStringEncoding encoding, qsizetype length);

// The text behind the last "." of the last path component; empty when there is none or the
// only dot starts the name. And the name without it.
QString pathExtension(const QString &name);
QString stringByDeletingPathExtension(const QString &name);

// `path` with "." and `extension` appended the way the platform appends a path extension:
// trailing slashes of `path` are dropped first, so "Plans/" gives "Plans.nvnote". A path that
// is nothing but slashes keeps its first one ("/" gives "/.nvnote"), leaving the slash for the
// name rules to replace. Every path extension the program appends goes through here.
QString stringByAppendingPathExtension(const QString &path, const QString &extension);

} // namespace OVExtensions
