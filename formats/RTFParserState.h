// What the RTF parser keeps per group and per font: the character and paragraph state a group
// inherits from the one around it, where its text goes, and the limits that keep damaged input
// from growing the stack without bound.
#pragma once

#include "formats/RTFSymbolFonts.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QTextOption>
#include <cstddef>

namespace RTFParsing {

constexpr size_t maxGroupDepth = 2048;
constexpr qint64 maxParameter = 1 << 24;
constexpr int maxControlWordLength = 32;

enum class Destination : quint8 {
    Text,
    Skip,
    FontTable,
    ColorTable,
    ExpandedColorTable,
    Picture,
    FieldInstruction,
    Attachment,
    Info,
    InfoField,
    Background,
    ShapeProperty,
    ShapePropertyName,
    ShapePropertyValue,
    Footnote,
    LeftOut, // text the note cannot show, such as page headers: its kind goes to the report
    ListTable,
    LevelText,
};

enum class Underline : quint8 { None, Single, Dotted, Dashed, Wave };

// What the note leaves out, in the words the run's log uses for it.
enum class LeftOutKind : quint8 { HeadersAndFooters, Comments, Objects, Pictures, Count };

inline QString leftOutDescription(LeftOutKind kind)
{
    switch (kind) {
    case LeftOutKind::HeadersAndFooters:
        return QStringLiteral("page headers and footers");
    case LeftOutKind::Comments:
        return QStringLiteral("comments");
    case LeftOutKind::Objects:
        return QStringLiteral("embedded objects it cannot show");
    case LeftOutKind::Pictures:
        return QStringLiteral("pictures in a format it cannot keep");
    case LeftOutKind::Count:
        break;
    }
    return {};
}
enum class Script : quint8 { None, Super, Sub };

struct CharState
{
    int font = -1;
    int halfPoints = 24;
    int foreground = 0;
    int background = 0;
    int underlineColor = 0;
    int link = -1;
    Underline underline = Underline::None;
    Script script = Script::None;
    bool bold = false;
    bool italic = false;
    bool strike = false;

    bool operator==(const CharState &o) const
    {
        return font == o.font && halfPoints == o.halfPoints && foreground == o.foreground && background == o.background
            && underlineColor == o.underlineColor && link == o.link && underline == o.underline && script == o.script
            && bold == o.bold && italic == o.italic && strike == o.strike;
    }
    bool operator!=(const CharState &o) const { return !(*this == o); }
};

struct ParaState
{
    int alignment = -1;
    int leftIndent = 0;
    int rightIndent = 0;
    int firstIndent = 0;
    int spaceBefore = 0;
    int spaceAfter = 0;
    int lineSpacing = 0;
    bool lineMultiple = false;
    bool rightToLeft = false;
    int list = 0; // \ls: the list override the paragraph belongs to
    int listLevel = 0;
    QTextOption::TabType pendingTabType = QTextOption::LeftTab;
    QList<QTextOption::Tab> tabs;

    bool operator==(const ParaState &o) const
    {
        return alignment == o.alignment && leftIndent == o.leftIndent && rightIndent == o.rightIndent
            && firstIndent == o.firstIndent && spaceBefore == o.spaceBefore && spaceAfter == o.spaceAfter
            && lineSpacing == o.lineSpacing && lineMultiple == o.lineMultiple && rightToLeft == o.rightToLeft
            && tabs == o.tabs;
    }
};

struct Group
{
    CharState chars;
    ParaState para;
    Destination destination = Destination::Text;
    bool startsDestination = false;
    bool swallowAttachmentCharacter = false;
    int unicodeSkip = 1;
    int infoField = -1;
    LeftOutKind leftOut = LeftOutKind::HeadersAndFooters;
    bool object = false; // an embedded object's group, which shows only through its result
};

struct FontEntry
{
    QString name;
    int charset = -1;
    int codePage = 0; // \cpg, which wins over the charset
    RTFSymbolFonts::Font symbol = RTFSymbolFonts::Font::None;
    QFont::StyleHint styleHint = QFont::AnyStyle;
};

// Text in a symbol font is decoded by the font, not by a code page: such fonts stand in the
// code-page field as negative numbers.
inline int symbolCodePage(RTFSymbolFonts::Font font)
{
    return -int(font);
}

inline RTFSymbolFonts::Font symbolFontOf(int codePage)
{
    return codePage < 0 ? RTFSymbolFonts::Font(-codePage) : RTFSymbolFonts::Font::None;
}

} // namespace RTFParsing
