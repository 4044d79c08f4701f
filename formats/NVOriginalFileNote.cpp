// Collecting the exported file or folder, and the note that carries it.
#include "formats/NVOriginalFileNote.h"

#include "formats/RTFDPackage.h"
#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

namespace {

const char *const fileAttachedText
    = QT_TRANSLATE_NOOP("KastrelImporter",
                        "Kastrel Importer could not read the text of \"%@\". The file Kastrel exported for it is "
                        "attached to this note unchanged.");
const char *const filesAttachedText
    = QT_TRANSLATE_NOOP("KastrelImporter",
                        "Kastrel Importer could not read the text of \"%@\". The files Kastrel exported for it are "
                        "attached to this note unchanged.");
const char *const emptyFolderText
    = QT_TRANSLATE_NOOP("KastrelImporter",
                        "Kastrel Importer could not read the text of \"%@\". The folder Kastrel exported for it is "
                        "empty.");

// File systems take names of up to 255 bytes; room is left for the number that makes a name
// unique in the package.
constexpr qsizetype memberNameBytes = 240;
constexpr qsizetype keptExtensionLength = 16;

struct OriginalFile
{
    QString name;
    QByteArray contents;
};

// A name that survives as a package member and as the reference to it in the text: the text
// drops control characters and the reader trims blanks, so the name must do without either.
QString memberName(const QString &preferred)
{
    QString name = preferred;
    name.removeIf([](QChar character) { return character.category() == QChar::Other_Control; });
    name = name.trimmed();
    if (name.toUtf8().size() <= memberNameBytes)
        return name;
    const QFileInfo info(name);
    const QString suffix = info.suffix();
    const QString extension = suffix.size() <= keptExtensionLength && suffix.size() < name.size() - 1
        ? QLatin1Char('.') + suffix
        : QString();
    QString base = name.left(name.size() - extension.size());
    const qsizetype room = memberNameBytes - extension.toUtf8().size();
    while (!base.isEmpty() && base.toUtf8().size() > room)
        base.chop(base.back().isLowSurrogate() ? 2 : 1);
    return base.trimmed() + extension;
}

bool readOriginalFile(const QString &path, const QString &name, QList<OriginalFile> *files, OVError *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        RichText::setError(error, RichText::FileReadUnknownError,
                           QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened: %2")
                               .arg(QFileInfo(path).fileName(), file.errorString()));
        return false;
    }
    files->append({name, file.readAll()});
    return true;
}

// Every regular file under the folder, in name order. A file that cannot be read is left out
// rather than costing the others their place in the note.
bool readOriginalFolder(const QString &path, QList<OriginalFile> *files, OVError *error)
{
    const QDir folder(path);
    if (!folder.isReadable()) {
        RichText::setError(error, RichText::FileReadUnknownError,
                           QStringLiteral("The folder \u201c%1\u201d couldn\u2019t be opened.").arg(folder.dirName()));
        return false;
    }
    QStringList paths;
    QDirIterator entries(path, QDir::Files | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        paths.append(entries.next());
    std::sort(paths.begin(), paths.end());
    for (const QString &filePath : paths) {
        const QString name = folder.relativeFilePath(filePath).replace(QLatin1Char('/'), QStringLiteral(" - "));
        readOriginalFile(filePath, name, files, nullptr);
    }
    return true;
}

QString noteText(const QString &itemName, const QFileInfo &original, qsizetype fileCount)
{
    const char *text = fileAttachedText;
    if (original.isDir())
        text = fileCount == 0 ? emptyFolderText : filesAttachedText;
    // Control characters would break the paragraph or vanish from the written text unseen.
    QString name = itemName;
    for (QChar &character : name) {
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char(' ');
    }
    return OVStringWithFormat(OVLocalizedString(text), {name});
}

} // namespace

bool NVOriginalFileNote::write(const QString &itemName, const QString &originalPath, const QString &notePath,
                               OVError *error)
{
    const QFileInfo original(originalPath);
    if (!original.exists()) {
        RichText::setNoSuchFileError(error, original.fileName());
        return false;
    }
    QList<OriginalFile> files;
    const bool read = original.isDir() ? readOriginalFolder(originalPath, &files, error)
                                       : readOriginalFile(originalPath, original.fileName(), &files, error);
    if (!read)
        return false;

    QTextDocument document;
    QTextCursor cursor(&document);
    cursor.insertText(noteText(itemName, original, files.size()));
    for (const OriginalFile &file : files) {
        cursor.insertBlock();
        const QString name = RichTextAttachment::uniqueFileName(memberName(file.name), {});
        cursor.insertImage(RichTextAttachment::makeFormat(&document, name, file.contents));
    }
    RTFDPackage package;
    if (package.writeDocument(&document, notePath))
        return true;
    if (error)
        *error = package.error();
    return false;
}
