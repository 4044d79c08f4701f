// Character sets by Unicode category, standing in for the platform's white-space, newline,
// control and illegal sets that the string helpers trim and remove.
#pragma once

#include <QString>
#include <functional>

class OVCharacterSet
{
public:
    // Zs and the tab.
    static OVCharacterSet whitespace();
    // U+000A to U+000D, U+0085, U+2028, U+2029.
    static OVCharacterSet newline();
    static OVCharacterSet whitespaceAndNewline();
    // Cc and Cf.
    static OVCharacterSet control();
    // Non-characters and unassigned code points.
    static OVCharacterSet illegal();
    static OVCharacterSet withCharactersInString(const QString &characters);

    bool contains(char32_t codePoint) const { return m_contains(codePoint); }

    // Position (in UTF-16 code units) of the first code point of the set at or after `from`, or -1.
    qsizetype indexIn(const QString &string, qsizetype from = 0) const;
    // The string without members of the set at either end.
    QString trimmed(const QString &string) const;

private:
    explicit OVCharacterSet(std::function<bool(char32_t)> contains);
    std::function<bool(char32_t)> m_contains;
};
