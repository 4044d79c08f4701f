// File dates and the hidden-extension flag. Linux cannot set a file's birth time and has no
// hidden extensions, so both live in extended attributes that the target reads back:
// user.nortavel.creationDate (ISO 8601, UTC) and user.nortavel.extensionHidden ("1").
// On file systems without extended attributes these calls quietly do nothing.
#pragma once

#include <QDateTime>
#include <QString>

namespace OVFileAttributes {

inline constexpr const char *creationDateAttribute = "user.nortavel.creationDate";
inline constexpr const char *extensionHiddenAttribute = "user.nortavel.extensionHidden";

// Each answers whether the value was stored; callers that must not fail ignore the answer.
bool setModificationDate(const QString &path, const QDateTime &date);
bool setCreationDate(const QString &path, const QDateTime &date);
bool setExtensionHidden(const QString &path, bool hidden);

QDateTime modificationDate(const QString &path);
// The stored creation date, or an invalid QDateTime when none is stored.
QDateTime creationDate(const QString &path);
bool isExtensionHidden(const QString &path);

} // namespace OVFileAttributes
