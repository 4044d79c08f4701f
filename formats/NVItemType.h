// The target's item kinds: the integer codes written into item records, the extensions
// that mark an encrypted item file of each kind, and their display names.
#pragma once

#include <QString>

using NVItemType = qint64;

enum : NVItemType {
    NVItemTypeUnknown = 0,
    NVItemTypeNote = 1,
    NVItemTypeDocument = 2,
    NVItemTypeImage = 3,
    NVItemTypeSound = 4,
    NVItemTypeMovie = 5,
    NVItemTypeBookmark = 6,
    NVItemTypeWebPage = 7,
};

// The encrypted-file extensions, declared in this order; the lookup table is built from
// them in declaration order, which puts the movie extension at code 4 and the sound
// extension at code 5 while the display names call 4 "Sound" and 5 "Movie". The target
// reads the codes that way, so the disagreement stays.
extern const QString NVEncryptedNoteFileExtension;
extern const QString NVEncryptedDocumentFileExtension;
extern const QString NVEncryptedImageFileExtension;
extern const QString NVEncryptedMovieFileExtension;
extern const QString NVEncryptedSoundFileExtension;
extern const QString NVEncryptedBookmarkFileExtension;
extern const QString NVEncryptedWebPageFileExtension;

extern const QString NVNoteDocumentFileExtension; // "nvnote"
extern const QString NVNoteDocumentTypeIdentifier; // "com.orvantis.nortavel.note"

// The code of the kind whose encrypted-file extension is exactly `extension`
// (case-sensitive); Document for anything unknown, Unknown only for "__UNKNOWN__".
NVItemType NVItemTypeForEncryptedFileExtension(const QString &extension);

// The localised display name of a kind, or a null string for codes outside 1 to 7.
QString NVDisplayNameForItemType(NVItemType type);
