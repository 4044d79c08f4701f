// Font operations on a whole rich text.
#pragma once

#include <QString>

class QTextDocument;

namespace RichTextFonts {

// Replaces the font family `from` by `to` in every character format of the document (and in
// each paragraph's own character format), keeping size, weight, slant and every other
// attribute. Formats without a family are left alone.
void substituteFontFamily(QTextDocument *document, const QString &from, const QString &to);

} // namespace RichTextFonts
