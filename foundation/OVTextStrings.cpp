#include "foundation/OVTextStrings.h"

#include "foundation/OVCharacterSet.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QRegularExpression>
#include <cmath>
#include <cstring>

namespace OVExtensions {

namespace {

bool isURLCharacter(unsigned char byte)
{
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9'))
        return true;
    static const char allowed[] = "-._~:/?#[]@!$&'()*+,;=%";
    return byte != 0 && std::strchr(allowed, byte) != nullptr;
}

QString phrase(qint64 count, const char *singular, const char *plural)
{
    // The singular phrase is filled with 1 itself, as its text promises.
    return count == 1 ? OVStringWithFormat(OVLocalizedString(singular), {qint64(1)})
                      : OVStringWithFormat(OVLocalizedString(plural), {count});
}

} // namespace

QString stringByRemovingNewlinesAndTabs(const QString &string)
{
    QString result = string;
    result.replace(QLatin1Char('\n'), QLatin1Char(' '));
    result.replace(QLatin1Char('\r'), QLatin1Char(' '));
    result.replace(QLatin1Char('\t'), QLatin1Char(' '));
    return OVCharacterSet::whitespace().trimmed(result);
}

QString stringByRemovingNewlines(const QString &string)
{
    QString result = string;
    result.replace(QLatin1Char('\n'), QLatin1Char(' '));
    result.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return OVCharacterSet::whitespace().trimmed(result);
}

QString stringByEscapingBackslashes(const QString &string)
{
    QString result = string;
    return result.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
}

QString stringByEscapingQuotes(const QString &string)
{
    QString result = string;
    result.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return result.replace(QLatin1Char('"'), QLatin1String("\\\""));
}

QString stringByTrimmingWhitespace(const QString &string)
{
    return OVCharacterSet::whitespaceAndNewline().trimmed(string);
}

QString stringByStandardizingNewlines(const QString &string)
{
    static const QRegularExpression lineBreaks(QStringLiteral("(\r\n)|(\n\r)|(\r)"));
    QString result = string;
    return result.replace(lineBreaks, QStringLiteral("\n"));
}

QString percentEncodedURLString(const QString &string)
{
    static const char hex[] = "0123456789ABCDEF";
    const QByteArray bytes = string.toUtf8();
    QByteArray encoded;
    encoded.reserve(bytes.size() * 3);
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (isURLCharacter(byte)) {
            encoded += character;
        } else {
            encoded += '%';
            encoded += hex[byte >> 4];
            encoded += hex[byte & 0x0F];
        }
    }
    return QString::fromLatin1(encoded);
}

bool isCaseInsensitiveEqualToString(const QString &string, const QString &other)
{
    return string.compare(other, Qt::CaseInsensitive) == 0;
}

bool startsWith(const QString &string, const QString &prefix)
{
    if (prefix.size() > string.size())
        return false;
    return isCaseInsensitiveEqualToString(string.left(prefix.size()), prefix);
}

bool endsWith(const QString &string, const QString &suffix)
{
    if (suffix.size() > string.size())
        return false;
    return isCaseInsensitiveEqualToString(string.right(suffix.size()), suffix);
}

bool containsString(const QString &string, const QString &other)
{
    if (other.isEmpty())
        return false;
    return string.contains(other, Qt::CaseInsensitive);
}

QString stringWithQuantity(qint64 quantity, const QString &singularDescription, const QString &pluralDescription)
{
    return OVStringWithFormat(QStringLiteral("%ld %@"),
                              {quantity, quantity == 1 ? singularDescription : pluralDescription});
}

QString stringForTimeInterval(double seconds)
{
    const auto days = qint64(std::floor(seconds / 86400.0));
    if (days != 0)
        return phrase(days, QT_TRANSLATE_NOOP("KastrelImporter", "%ld day remaining"),
                      QT_TRANSLATE_NOOP("KastrelImporter", "%ld days remaining"));
    const auto hours = qint64(std::floor(seconds / 3600.0));
    if (hours != 0)
        return phrase(hours, QT_TRANSLATE_NOOP("KastrelImporter", "%ld hour remaining"),
                      QT_TRANSLATE_NOOP("KastrelImporter", "%ld hours remaining"));
    const auto minutes = qint64(std::floor(seconds / 60.0));
    if (minutes != 0)
        return phrase(minutes, QT_TRANSLATE_NOOP("KastrelImporter", "%ld minute remaining"),
                      QT_TRANSLATE_NOOP("KastrelImporter", "%ld minutes remaining"));
    return phrase(qint64(std::ceil(seconds)), QT_TRANSLATE_NOOP("KastrelImporter", "%ld second remaining"),
                  QT_TRANSLATE_NOOP("KastrelImporter", "%ld seconds remaining"));
}

} // namespace OVExtensions
