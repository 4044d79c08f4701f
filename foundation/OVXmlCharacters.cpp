#include "foundation/OVXmlCharacters.h"

namespace OVXmlCharacters {

namespace {

bool isCarriableUnit(char16_t unit)
{
    if (unit >= 0x20)
        return unit < 0xFFFE;
    return unit == 0x09 || unit == 0x0A || unit == 0x0D;
}

// The length of the carriable character at `i`: 1 or 2 units, or 0 when it cannot be carried.
qsizetype carriableLength(const QChar *units, qsizetype size, qsizetype i)
{
    const char16_t unit = units[i].unicode();
    if (QChar::isHighSurrogate(unit))
        return i + 1 < size && units[i + 1].isLowSurrogate() ? 2 : 0;
    if (QChar::isLowSurrogate(unit))
        return 0;
    return isCarriableUnit(unit) ? 1 : 0;
}

qsizetype firstUncarriable(QStringView text)
{
    const QChar *units = text.data();
    const qsizetype size = text.size();
    qsizetype i = 0;
    while (i < size) {
        // Nearly all text is plain characters below the surrogates: one comparison each.
        const char16_t unit = units[i].unicode();
        if (unit >= 0x20 && unit < 0xD800) {
            ++i;
            continue;
        }
        const qsizetype length = carriableLength(units, size, i);
        if (length == 0)
            return i;
        i += length;
    }
    return -1;
}

} // namespace

bool canCarry(QStringView text)
{
    return firstUncarriable(text) < 0;
}

QString carriable(const QString &text)
{
    qsizetype from = firstUncarriable(text);
    if (from < 0)
        return text;
    const QChar *units = text.constData();
    const qsizetype size = text.size();
    QString result;
    result.reserve(size - 1);
    result.append(units, from);
    while (from < size) {
        const qsizetype length = carriableLength(units, size, from);
        if (length > 0)
            result.append(units + from, length);
        from += length > 0 ? length : 1;
    }
    return result;
}

} // namespace OVXmlCharacters
