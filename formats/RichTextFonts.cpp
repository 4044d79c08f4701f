// Family substitution: the fragments to change are collected first and then re-formatted in
// one edit, so that the document's fragment list is not changed under the walk.
#include "formats/RichTextFonts.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFragment>
#include <vector>

namespace {

QString familyOf(const QTextCharFormat &format)
{
    const QStringList families = format.property(QTextFormat::FontFamilies).toStringList();
    if (!families.isEmpty())
        return families.first();
    return format.property(QTextFormat::FontFamily).toString();
}

} // namespace

namespace RichTextFonts {

void substituteFontFamily(QTextDocument *document, const QString &from, const QString &to)
{
    if (!document || from.isEmpty() || from == to)
        return;
    struct Range
    {
        int position;
        int length;
    };
    std::vector<Range> ranges;
    std::vector<QTextBlock> blocks;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        if (familyOf(block.charFormat()) == from)
            blocks.push_back(block);
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (familyOf(it.fragment().charFormat()) == from)
                ranges.push_back({it.fragment().position(), it.fragment().length()});
    }
    if (ranges.empty() && blocks.empty())
        return;
    QTextCharFormat change;
    change.setFontFamilies(QStringList {to});
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    for (const Range &range : ranges) {
        cursor.setPosition(range.position);
        cursor.setPosition(range.position + range.length, QTextCursor::KeepAnchor);
        cursor.mergeCharFormat(change);
    }
    for (const QTextBlock &block : blocks) {
        cursor.setPosition(block.position());
        cursor.mergeBlockCharFormat(change);
    }
    cursor.endEditBlock();
}

} // namespace RichTextFonts
