#include "foundation/OVCharacterSet.h"

#include <QChar>
#include <QSet>

namespace {

bool isNewline(char32_t c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isWhitespace(char32_t c)
{
    return c == u'\t' || QChar::category(c) == QChar::Separator_Space;
}

// Code point at `index`, and how many code units it takes. A lone surrogate stands for itself.
char32_t codePointAt(const QString &string, qsizetype index, int *width)
{
    const QChar c = string.at(index);
    if (c.isHighSurrogate() && index + 1 < string.size() && string.at(index + 1).isLowSurrogate()) {
        *width = 2;
        return QChar::surrogateToUcs4(c, string.at(index + 1));
    }
    *width = 1;
    return c.unicode();
}

} // namespace

OVCharacterSet::OVCharacterSet(std::function<bool(char32_t)> contains)
    : m_contains(std::move(contains))
{ }

OVCharacterSet OVCharacterSet::whitespace()
{
    return OVCharacterSet(isWhitespace);
}

OVCharacterSet OVCharacterSet::newline()
{
    return OVCharacterSet(isNewline);
}

OVCharacterSet OVCharacterSet::whitespaceAndNewline()
{
    return OVCharacterSet([](char32_t c) { return isWhitespace(c) || isNewline(c); });
}

OVCharacterSet OVCharacterSet::control()
{
    return OVCharacterSet([](char32_t c) {
        const QChar::Category category = QChar::category(c);
        return category == QChar::Other_Control || category == QChar::Other_Format;
    });
}

OVCharacterSet OVCharacterSet::illegal()
{
    return OVCharacterSet(
        [](char32_t c) { return QChar::isNonCharacter(c) || QChar::category(c) == QChar::Other_NotAssigned; });
}

OVCharacterSet OVCharacterSet::withCharactersInString(const QString &characters)
{
    QSet<char32_t> members;
    for (qsizetype i = 0; i < characters.size();) {
        int width = 1;
        members.insert(codePointAt(characters, i, &width));
        i += width;
    }
    return OVCharacterSet([members](char32_t c) { return members.contains(c); });
}

qsizetype OVCharacterSet::indexIn(const QString &string, qsizetype from) const
{
    for (qsizetype i = qMax<qsizetype>(from, 0); i < string.size();) {
        int width = 1;
        if (contains(codePointAt(string, i, &width)))
            return i;
        i += width;
    }
    return -1;
}

QString OVCharacterSet::trimmed(const QString &string) const
{
    qsizetype begin = 0;
    qsizetype end = string.size();
    while (begin < end) {
        int width = 1;
        if (!contains(codePointAt(string, begin, &width)))
            break;
        begin += width;
    }
    while (end > begin) {
        // Step back over a whole surrogate pair when the last two units form one.
        int width = 1;
        qsizetype start = end - 1;
        if (start > begin && string.at(start).isLowSurrogate() && string.at(start - 1).isHighSurrogate())
            --start;
        if (!contains(codePointAt(string, start, &width)))
            break;
        end = start;
    }
    return string.mid(begin, end - begin);
}
