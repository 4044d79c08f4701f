// What a bookmark window needs beside the bookmark itself: the icon of its kind of file, and
// the checks of a name and an address before they are accepted from the person.
#pragma once

#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVError.h"

#include <QImage>
#include <QSet>
#include <QString>
#include <QUrl>

namespace NVWebBookmarkEditing {

inline constexpr const char *errorDomain = "NVWebBookmarkErrorDomain";
enum ErrorCode { ValidationError = 10001 }; // one code for name and address alike

inline constexpr int iconSize = 96;

// The desktop's icon for the bookmark's kind of file at 96 by 96, or one drawn here when the
// desktop offers none; never a null image.
QImage iconImage(const NVWebBookmarkFile &bookmark);
// The icon follows the address: its change notification comes with URLChanged
// (NVWebBookmarkFile::iconImageChanged).
QSet<QString> keyPathsForValuesAffectingIconImage();

// Validation before a name or address is accepted from the person. The URL check may replace a
// web address with an empty path by the same address ending in "/".
bool validateName(QString *name, OVError *error = nullptr);
bool validateURL(QUrl *url, OVError *error = nullptr);

} // namespace NVWebBookmarkEditing
