// The fonts whose character codes are pictures rather than letters: Symbol, Wingdings and
// Zapf Dingbats. Text written in them is turned into the Unicode characters they show, so that
// the note reads the same in any font.
#pragma once

#include <QByteArray>
#include <QString>

namespace RTFSymbolFonts {

enum class Font : quint8 { None, Symbol, Wingdings, ZapfDingbats };

// The symbol font a font table entry names (case and blanks do not matter), or None.
Font fontForName(const QString &name);

// The bytes of text in the font, as the characters the font shows.
QString decode(const QByteArray &bytes, Font font);

// The character the font shows for a code written as a character: codes up to 0xFF and their
// private-use forms U+F020 to U+F0FF are mapped; anything else is already what it shows.
QString mapCharacter(char32_t code, Font font);

} // namespace RTFSymbolFonts
