#include "formats/NVItemType.h"

#include "foundation/OVLocalization.h"

#include <QStringList>

const QString NVEncryptedNoteFileExtension = QStringLiteral("nvencryptnote");
const QString NVEncryptedDocumentFileExtension = QStringLiteral("nvencryptdocument");
const QString NVEncryptedImageFileExtension = QStringLiteral("nvencryptimage");
const QString NVEncryptedMovieFileExtension = QStringLiteral("nvencryptmovie");
const QString NVEncryptedSoundFileExtension = QStringLiteral("nvencryptsound");
const QString NVEncryptedBookmarkFileExtension = QStringLiteral("nvencryptbookmark");
const QString NVEncryptedWebPageFileExtension = QStringLiteral("nvencryptwebpage");

const QString NVNoteDocumentFileExtension = QStringLiteral("nvnote");
const QString NVNoteDocumentTypeIdentifier = QStringLiteral("com.orvantis.nortavel.note");

NVItemType NVItemTypeForEncryptedFileExtension(const QString &extension)
{
    const QStringList table = {
        QStringLiteral("__UNKNOWN__"),    NVEncryptedNoteFileExtension,    NVEncryptedDocumentFileExtension,
        NVEncryptedImageFileExtension,    NVEncryptedMovieFileExtension,   NVEncryptedSoundFileExtension,
        NVEncryptedBookmarkFileExtension, NVEncryptedWebPageFileExtension,
    };
    const qsizetype position = table.indexOf(extension);
    return position < 0 ? NVItemTypeDocument : NVItemType(position);
}

QString NVDisplayNameForItemType(NVItemType type)
{
    // The English names are the string-table keys; QT_TRANSLATE_NOOP marks them for lupdate.
    static const char *const names[] = {
        QT_TRANSLATE_NOOP("KastrelImporter", "Note"),     QT_TRANSLATE_NOOP("KastrelImporter", "Document"),
        QT_TRANSLATE_NOOP("KastrelImporter", "Image"),    QT_TRANSLATE_NOOP("KastrelImporter", "Sound"),
        QT_TRANSLATE_NOOP("KastrelImporter", "Movie"),    QT_TRANSLATE_NOOP("KastrelImporter", "Bookmark"),
        QT_TRANSLATE_NOOP("KastrelImporter", "Web Page"),
    };
    if (type < NVItemTypeNote || type > NVItemTypeWebPage)
        return QString();
    return OVLocalizedString(names[type - 1]);
}
