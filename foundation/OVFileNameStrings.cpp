#include "foundation/OVFileNameStrings.h"

#include "foundation/OVFileAttributes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <stdexcept>

namespace OVExtensions {

namespace {

constexpr qsizetype longNameThreshold = 256;
constexpr qsizetype longNameKeep = 254;

qsizetype lastComponentStart(const QString &name)
{
    return name.lastIndexOf(QLatin1Char('/')) + 1;
}

// Existence as the file system sees the name itself: a dangling symbolic link occupies it too.
bool itemExists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

QString pathExtension(const QString &name)
{
    const qsizetype start = lastComponentStart(name);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= start)
        return QString(QLatin1String(""));
    return name.mid(dot + 1);
}

QString stringByDeletingPathExtension(const QString &name)
{
    const qsizetype start = lastComponentStart(name);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= start)
        return name;
    return name.left(dot);
}

QString stringByAppendingPathExtension(const QString &path, const QString &extension)
{
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == QLatin1Char('/'))
        --end;
    return path.left(end) + QLatin1Char('.') + extension;
}

QString stringSanitizedForFileName(const QString &title)
{
    QString name = OVCharacterSet::whitespaceAndNewline().trimmed(title);

    // A single pass: once the first dot is a "-", the name no longer starts with a dot,
    // so '..x' becomes '-.x'.
    if (name.startsWith(QLatin1Char('.')))
        name.replace(0, 1, QLatin1Char('-'));

    name.replace(QLatin1Char('/'), QLatin1Char('-'));
    name.replace(QLatin1Char(':'), QLatin1Char('-'));
    name.replace(QLatin1Char('~'), QLatin1Char('-'));

    const qsizetype lineBreak = OVCharacterSet::newline().indexIn(name);
    if (lineBreak >= 0)
        name.truncate(lineBreak);
    // No trim here: blanks left before a cut-off line break stay, as the target expects.

    if (name.size() >= longNameThreshold) {
        const QString extension = pathExtension(name);
        const qsizetype keep = longNameKeep - extension.size();
        if (keep < 0)
            throw std::out_of_range("file name extension longer than the longest file name");
        name.truncate(keep);
        if (!extension.isEmpty())
            name += QLatin1Char('.') + extension;
    }
    return name;
}

QString makeFilenameUniqueInDirectoryAtURL(const QString &name, const QUrl &directory)
{
    // Joined by hand: QDir::filePath() takes a name beginning with ":" for a resource path
    // and answers it unchanged, and source applications write names like ":Report.pdf".
    const QString folder = directory.toLocalFile() + QLatin1Char('/');
    if (!itemExists(folder + name))
        return name;

    const QString base = stringByDeletingPathExtension(name);
    const QString extension = pathExtension(name);
    QString candidate;
    for (qint64 n = 1;; ++n) {
        candidate = base + QLatin1Char(' ') + QString::number(n);
        if (!extension.isEmpty())
            candidate += QLatin1Char('.') + extension;
        // The test is made on the name as formed; only the answer is sanitised.
        if (!itemExists(folder + candidate))
            break;
    }
    return stringSanitizedForFileName(candidate.mid(lastComponentStart(candidate)));
}

QString fileSystemRepresentationString(const QString &path)
{
    const QByteArray representation = QFile::encodeName(path.normalized(QString::NormalizationForm_D));
    return QFile::decodeName(representation);
}

QString fileDisplayName(const QString &path)
{
    QString name = path;
    while (name.size() > 1 && name.endsWith(QLatin1Char('/')))
        name.chop(1);
    name = name.mid(lastComponentStart(name));
    if (OVFileAttributes::isExtensionHidden(path))
        name = stringByDeletingPathExtension(name);
    return name;
}

QString stringByRemovingCharactersInSet(const QString &string, const OVCharacterSet &set)
{
    // Whole passes until nothing is left to remove: the same result as removing the first
    // member again and again from the start, since a removal can only join two surrogate
    // halves into a new character, which the next pass then sees, but in linear time per pass.
    QString result = string;
    for (;;) {
        QString next;
        next.reserve(result.size());
        qsizetype from = 0;
        qsizetype hit;
        while ((hit = set.indexIn(result, from)) >= 0) {
            next += QStringView(result).mid(from, hit - from);
            const bool pair
                = result.at(hit).isHighSurrogate() && hit + 1 < result.size() && result.at(hit + 1).isLowSurrogate();
            from = hit + (pair ? 2 : 1);
        }
        if (from == 0)
            return result;
        next += QStringView(result).mid(from);
        result = next;
    }
}

QString stringByRemovingControlAndIllegalCharacters(const QString &string)
{
    return stringByRemovingCharactersInSet(stringByRemovingCharactersInSet(string, OVCharacterSet::control()),
                                           OVCharacterSet::illegal());
}

QString stringWithCString(const char *bytes, OVStringEncoding encoding, qsizetype length)
{
    if (!bytes || length <= 0)
        return QString(QLatin1String(""));
    const QByteArray cString(bytes, qstrnlen(bytes, size_t(length)));
    switch (encoding) {
    case OVStringEncoding::ASCII:
        for (const char byte : cString) {
            if (static_cast<unsigned char>(byte) > 0x7F)
                return QString();
        }
        return QString::fromLatin1(cString);
    case OVStringEncoding::ISOLatin1:
        return QString::fromLatin1(cString);
    case OVStringEncoding::UTF8: {
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        QString text = decoder.decode(cString);
        if (decoder.hasError())
            return QString();
        return text.isNull() ? QString(QLatin1String("")) : text;
    }
    }
    return QString();
}

} // namespace OVExtensions
