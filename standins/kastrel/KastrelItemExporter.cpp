#include "standins/kastrel/KastrelItemExporter.h"

#include "standins/common/StandinFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Standin {

namespace {

// File names on Linux are at most 255 bytes.
constexpr qsizetype kMaximumFileNameBytes = 255;

bool setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

QString truncatedToBytes(const QString &text, qsizetype bytes)
{
    QString result = text;
    while (!result.isEmpty() && result.toUtf8().size() > bytes) {
        result.chop(1);
        if (!result.isEmpty() && result.back().isHighSurrogate())
            result.chop(1);
    }
    return result;
}

// `name` inside `folder`. Not QDir::filePath(): it answers a name beginning with ":" (a
// resource path, as for an item named "/Report") unchanged.
QString pathInFolder(const QDir &folder, const QString &name)
{
    return folder.path() + QLatin1Char('/') + name;
}

// "base.ext", or "base 2.ext", "base 3.ext", ... when the name is taken.
QString freeFileName(const QDir &folder, const QString &base, const QString &extension)
{
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    for (int number = 1;; ++number) {
        const QString counter = number == 1 ? QString() : QStringLiteral(" %1").arg(number);
        const qsizetype room = kMaximumFileNameBytes - (counter + suffix).toUtf8().size();
        const QString name = truncatedToBytes(base, room) + counter + suffix;
        if (!QFileInfo::exists(pathInFolder(folder, name)) && !QFileInfo(pathInFolder(folder, name)).isSymLink())
            return name;
    }
}

// A plain write, as an application's export is: no flush to the disk per file, which would
// make the stand-in, not the importer, the slow part of a large export.
bool writeFile(const QString &path, const QByteArray &bytes, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return setError(error, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size()) {
        const QString reason = file.errorString();
        file.remove(); // only what this call created
        return setError(error, QStringLiteral("cannot write %1: %2").arg(path, reason));
    }
    return true;
}

} // namespace

namespace KastrelItemExporter {

QString baseFileName(const KastrelItem &item)
{
    QString name = item.name.value_or(QString());
    if (name.isEmpty())
        name = QStringLiteral("Untitled");
    name.replace(QLatin1Char('/'), QLatin1Char(':'));
    name.replace(QChar(0), QLatin1Char(' '));
    return name;
}

QString exportedText(const KastrelItem &item)
{
    // A password item's content is its password: the export carries it, below any text.
    if (item.kind != KastrelItemKind::Password || !item.password || item.password->isEmpty())
        return item.text;
    const QString line = QStringLiteral("Password: ") + *item.password;
    return item.text.isEmpty() ? line : item.text + QLatin1Char('\n') + line;
}

QByteArray rtfDocumentForText(const QString &text)
{
    QByteArray body;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit == '\\' || unit == '{' || unit == '}') {
            body += '\\';
            body += char(unit);
        } else if (unit == '\n') {
            body += "\\\n";
        } else if (unit == '\t') {
            body += "\\tab ";
        } else if (unit == '\r') {
            continue;
        } else if (unit < 0x80) {
            body += char(unit);
        } else {
            // \uN takes a signed 16-bit number; \uc0 says no fallback characters follow.
            body += "\\u" + QByteArray::number(qint16(unit)) + ' ';
        }
    }
    return QByteArrayLiteral("{\\rtf1\\ansi\\ansicpg1252\\cocoartf2761\n"
                             "\\cocoatextscaling0\\cocoaplatform0{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;}\n"
                             "{\\colortbl;\\red255\\green255\\blue255;}\n"
                             "{\\*\\expandedcolortbl;;}\n"
                             "\\paperw11900\\paperh16840\\margl1440\\margr1440\\vieww11520\\viewh8400\\viewkind0\n"
                             "\\pard\\tx566\\tx1133\\tx1700\\tx2267\\tx2834\\tx3401\\tx3968\\tx4535\\tx5102\\tx5669"
                             "\\tx6236\\tx6803\\pardirnatural\\partightenfactor0\n\n"
                             "\\f0\\fs24 \\cf0 \\uc0 ")
        + body + QByteArrayLiteral("}");
}

QString exportItem(const KastrelItem &item, const QString &folder, QString *error)
{
    const QFileInfo folderInfo(folder);
    if (!folderInfo.isAbsolute() || !folderInfo.isDir()) {
        setError(error, QStringLiteral("not an existing folder: %1").arg(folder));
        return QString();
    }
    const QDir directory(folder);
    const QString base = baseFileName(item);

    if (!item.file.isEmpty()) {
        const QFileInfo source(item.file);
        const QString extension
            = source.isDir() && source.suffix().isEmpty() ? QStringLiteral("rtfd") : source.suffix();
        const QString path = pathInFolder(directory, freeFileName(directory, base, extension));
        if (!StandinFiles::copyTree(item.file, path, error)) {
            QDir(path).removeRecursively();
            QFile::remove(path);
            return QString();
        }
        return path;
    }

    switch (item.kind) {
    case KastrelItemKind::Note: {
        const QString path = pathInFolder(directory, freeFileName(directory, base, QStringLiteral("txt")));
        return writeFile(path, item.text.toUtf8(), error) ? path : QString();
    }
    case KastrelItemKind::SerialNumber:
    case KastrelItemKind::Password: {
        const QString path = pathInFolder(directory, freeFileName(directory, base, QStringLiteral("rtf")));
        return writeFile(path, rtfDocumentForText(exportedText(item)), error) ? path : QString();
    }
    case KastrelItemKind::Bookmark:
    case KastrelItemKind::Image:
    case KastrelItemKind::PdfArchive:
    case KastrelItemKind::WebArchive:
        break;
    }
    setError(error, QStringLiteral("item %1 has no content to export").arg(item.id));
    return QString();
}

} // namespace KastrelItemExporter

} // namespace Standin
