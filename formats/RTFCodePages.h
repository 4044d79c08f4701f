// Code pages of eight-bit text: which one an RTF font or document uses, decoding bytes in
// it, and guessing the legacy encoding of a plain-text file that is not Unicode.
#pragma once

#include <QByteArray>
#include <QString>

namespace RTFCodePages {

constexpr int WindowsLatin1 = 1252;
constexpr int MacRoman = 10000;

// The code page of a font with the given \fcharset in a document whose own code page is
// `documentCodePage`. The font's charset wins over the document's code page. Charset 0 ("ANSI") follows the document
// except in documents with a multi-byte code page, where macOS writers still put Western bytes under it.
int codePageForCharset(int charset, int documentCodePage);

// True for the double-byte code pages, whose bytes must be decoded in sequence.
bool isMultiByte(int codePage);

// True when the byte begins a two-byte character in the code page, so that the byte after it,
// whatever it is, belongs to the same character.
bool isLeadByte(int codePage, unsigned char byte);

// True when the bytes end in a first byte whose second byte has not come yet.
bool endsInLeadByte(const QByteArray &bytes, int codePage);

// The bytes decoded in the code page. Unknown code pages decode as Windows Latin 1; bytes
// that do not decode become U+FFFD.
QString decode(const QByteArray &bytes, int codePage);

// Decodes text of unknown eight-bit encoding, choosing between Windows Latin 1 and Mac Roman
// by which one reads more like prose.
QString decodeLegacyText(const QByteArray &bytes);

} // namespace RTFCodePages
