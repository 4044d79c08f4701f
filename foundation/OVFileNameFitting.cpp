#include "foundation/OVFileNameFitting.h"

#include "foundation/OVFileNameStrings.h"
#include "foundation/OVXmlCharacters.h"

#include <QFile>
#include <QFileInfo>
#include <QTextBoundaryFinder>
#include <unistd.h>

namespace OVExtensions {

namespace {

constexpr qsizetype usualNameMax = 255;
constexpr qsizetype longestCodePointBytes = 4;

qsizetype encodedLength(const QString &name)
{
    return QFile::encodeName(name).size();
}

// Counted from the units, without making the bytes; a lone surrogate counts as the three
// bytes of the replacement character, never fewer than it can take.
qsizetype utf8Length(QStringView text)
{
    qsizetype bytes = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (unit < 0x80) {
            bytes += 1;
        } else if (unit < 0x800) {
            bytes += 2;
        } else if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            bytes += 4;
            ++i;
        } else {
            bytes += 3;
        }
    }
    return bytes;
}

// The longest start of `text` within `budget` bytes that ends between two boundaries of `kind`.
qsizetype keptUnits(const QString &text, qsizetype budget, QTextBoundaryFinder::BoundaryType kind)
{
    QTextBoundaryFinder boundaries(kind, text);
    qsizetype kept = 0;
    qsizetype bytes = 0;
    for (qsizetype next = boundaries.toNextBoundary(); next > 0; next = boundaries.toNextBoundary()) {
        bytes += utf8Length(QStringView(text).mid(kept, next - kept));
        if (bytes > budget)
            break;
        kept = next;
    }
    return kept;
}

// `text` cut to `budget` bytes after a whole user-perceived character. A single character
// longer than the budget (a letter under hundreds of marks) is cut between its code points
// instead, so that something is left.
QString leadingPartWithin(const QString &text, qsizetype budget)
{
    qsizetype kept = keptUnits(text, budget, QTextBoundaryFinder::Grapheme);
    if (kept == 0) {
        qsizetype bytes = 0;
        while (kept < text.size()) {
            const bool pair
                = text.at(kept).isHighSurrogate() && kept + 1 < text.size() && text.at(kept + 1).isLowSurrogate();
            const qsizetype length = pair ? 2 : 1;
            bytes += utf8Length(QStringView(text).mid(kept, length));
            if (bytes > budget)
                break;
            kept += length;
        }
    }
    return text.left(kept);
}

// `base` + `suffix` within `limit` bytes, the suffix kept whole while some of the base fits
// beside it; otherwise the whole name is cut.
QString fitted(const QString &base, const QString &suffix, qsizetype limit)
{
    const QString whole = base + suffix;
    if (encodedLength(whole) <= limit)
        return whole;
    const QString kept = leadingPartWithin(base, limit - utf8Length(suffix));
    if (!kept.isEmpty())
        return kept + suffix;
    return leadingPartWithin(whole, limit);
}

QString dottedExtension(const QString &extension)
{
    return extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
}

// Existence as the file system sees the name itself: a dangling symbolic link occupies it too.
bool itemExists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

qsizetype maximumFileNameBytes(const QString &folder)
{
    const long answer = pathconf(QFile::encodeName(folder).constData(), _PC_NAME_MAX);
    return answer > 0 && answer < usualNameMax ? qsizetype(answer) : usualNameMax;
}

QString fileNameFittedToFolder(const QString &name, const QString &folder, const QString &extension)
{
    QString result = OVXmlCharacters::carriable(name);
    const QString suffix = dottedExtension(extension.isEmpty() ? pathExtension(result) : extension);
    // A title cut at its first line break has lost the extension that came after it.
    if (!extension.isEmpty() && !result.endsWith(suffix))
        result += suffix;
    const qsizetype limit = maximumFileNameBytes(folder);
    if (encodedLength(result) <= limit)
        return result;
    return fitted(result.chopped(suffix.size()), suffix, limit);
}

QString makeFittedFilenameUniqueInDirectory(const QString &name, const QString &folder)
{
    // Joined by hand, as makeFilenameUniqueInDirectoryAtURL() does: QDir::filePath() takes a
    // name beginning with ":" for a resource path.
    const QString prefix = folder + QLatin1Char('/');
    const qsizetype limit = maximumFileNameBytes(folder);
    const QString base = stringByDeletingPathExtension(name);
    const QString extension = dottedExtension(pathExtension(name));

    const QString first = fitted(base, extension, limit);
    if (!itemExists(prefix + first))
        return first;

    QString candidate;
    for (qint64 n = 1;; ++n) {
        const QString number = QLatin1Char(' ') + QString::number(n);
        // When " N.ext" leaves no room for one code point of the base, the number goes after
        // the cut name instead, so that every N still gives a name of its own.
        const QString suffix = number + extension;
        candidate = utf8Length(suffix) + longestCodePointBytes <= limit ? fitted(base, suffix, limit)
                                                                        : fitted(name, number, limit);
        if (!itemExists(prefix + candidate))
            break;
    }
    return stringSanitizedForFileName(candidate.mid(candidate.lastIndexOf(QLatin1Char('/')) + 1));
}

} // namespace OVExtensions
