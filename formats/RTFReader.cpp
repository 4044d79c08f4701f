// The RTF reader: one pass over the bytes with a stack of group states. Text collects into
// runs of equal formatting that go into the document through one cursor, so the work grows
// with the size of the input. Nesting deeper than the stack allows is read into the deepest
// state instead of growing the stack.
#include "formats/RTFReader.h"

#include "formats/RTFCodePages.h"
#include "formats/RTFListTable.h"
#include "formats/RTFSymbolFonts.h"
#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"

#include <QColor>
#include <QIODevice>
#include <QList>
#include <QStringDecoder>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextOption>
#include <array>
#include <climits>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

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

QString leftOutDescription(LeftOutKind kind)
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

enum class Keyword {
    Ansi,
    Mac,
    Pc,
    Pca,
    AnsiCodePage,
    DefaultFont,
    FontTable,
    Font,
    FontCharset,
    FontFamilyNil,
    FontFamilyRoman,
    FontFamilySwiss,
    FontFamilyModern,
    FontFamilyScript,
    FontFamilyDecor,
    FontFamilyTech,
    ColorTable,
    Red,
    Green,
    Blue,
    ExpandedColorTable,
    ColorSpaceRGB,
    ColorSpaceGray,
    Component,
    Par,
    Tab,
    Cell,
    Unicode,
    UnicodeSkip,
    Binary,
    ParagraphDefault,
    Plain,
    AlignLeft,
    AlignCenter,
    AlignRight,
    AlignJustify,
    LeftIndent,
    RightIndent,
    FirstIndent,
    SpaceBefore,
    SpaceAfter,
    LineSpacing,
    LineMultiple,
    TabStop,
    TabRight,
    TabCenter,
    TabDecimal,
    RightToLeftParagraph,
    LeftToRightParagraph,
    Bold,
    Italic,
    UnderlineSingle,
    UnderlineDotted,
    UnderlineDashed,
    UnderlineWave,
    UnderlineNone,
    UnderlineColor,
    Strike,
    FontSize,
    Foreground,
    Background,
    Superscript,
    Subscript,
    NoSuperSub,
    Picture,
    PngBlip,
    JpegBlip,
    OtherBlip,
    PictureWidthGoal,
    PictureHeightGoal,
    PictureScaleX,
    PictureScaleY,
    ShapePicture,
    Field,
    FieldInstruction,
    FieldResult,
    NeXTGraphic,
    Width,
    Height,
    Info,
    InfoTitle,
    InfoAuthor,
    InfoSubject,
    InfoKeywords,
    InfoComment,
    DocumentBackground,
    Shape,
    ShapeInstance,
    ShapeProperty,
    ShapePropertyName,
    ShapePropertyValue,
    ObjectResult,
    Object,
    FontCodePage,
    Footnote,
    FootnoteMark,
    NestedTableProperties,
    HeaderOrFooter,
    Annotation,
    ListText,
    ListTable,
    List,
    ListId,
    ListLevel,
    LevelFormat,
    LevelStart,
    LevelText,
    ListOverrideTable,
    ListOverride,
    ListOverrideNumber,
    ListLevelNumber,
    CocoaWriter,
    SkippedDestination,
};

const std::unordered_map<std::string_view, Keyword> &keywords()
{
    static const std::unordered_map<std::string_view, Keyword> table = {
        {"ansi", Keyword::Ansi},
        {"mac", Keyword::Mac},
        {"pc", Keyword::Pc},
        {"pca", Keyword::Pca},
        {"ansicpg", Keyword::AnsiCodePage},
        {"deff", Keyword::DefaultFont},
        {"fonttbl", Keyword::FontTable},
        {"f", Keyword::Font},
        {"fcharset", Keyword::FontCharset},
        {"fnil", Keyword::FontFamilyNil},
        {"froman", Keyword::FontFamilyRoman},
        {"fswiss", Keyword::FontFamilySwiss},
        {"fmodern", Keyword::FontFamilyModern},
        {"fscript", Keyword::FontFamilyScript},
        {"fdecor", Keyword::FontFamilyDecor},
        {"ftech", Keyword::FontFamilyTech},
        {"fbidi", Keyword::FontFamilyNil},
        {"colortbl", Keyword::ColorTable},
        {"red", Keyword::Red},
        {"green", Keyword::Green},
        {"blue", Keyword::Blue},
        {"expandedcolortbl", Keyword::ExpandedColorTable},
        {"cssrgb", Keyword::ColorSpaceRGB},
        {"csgenericrgb", Keyword::ColorSpaceRGB},
        {"csdevicergb", Keyword::ColorSpaceRGB},
        {"csgray", Keyword::ColorSpaceGray},
        {"csgenericgray", Keyword::ColorSpaceGray},
        {"c", Keyword::Component},
        {"par", Keyword::Par},
        {"sect", Keyword::Par},
        {"page", Keyword::Par},
        {"row", Keyword::Par},
        {"nestrow", Keyword::Par},
        {"tab", Keyword::Tab},
        {"cell", Keyword::Cell},
        {"nestcell", Keyword::Cell},
        {"u", Keyword::Unicode},
        {"uc", Keyword::UnicodeSkip},
        {"bin", Keyword::Binary},
        {"pard", Keyword::ParagraphDefault},
        {"plain", Keyword::Plain},
        {"ql", Keyword::AlignLeft},
        {"qc", Keyword::AlignCenter},
        {"qr", Keyword::AlignRight},
        {"qj", Keyword::AlignJustify},
        {"qd", Keyword::AlignJustify},
        {"li", Keyword::LeftIndent},
        {"ri", Keyword::RightIndent},
        {"fi", Keyword::FirstIndent},
        {"sb", Keyword::SpaceBefore},
        {"sa", Keyword::SpaceAfter},
        {"sl", Keyword::LineSpacing},
        {"slmult", Keyword::LineMultiple},
        {"tx", Keyword::TabStop},
        {"tqr", Keyword::TabRight},
        {"tqc", Keyword::TabCenter},
        {"tqdec", Keyword::TabDecimal},
        {"rtlpar", Keyword::RightToLeftParagraph},
        {"ltrpar", Keyword::LeftToRightParagraph},
        {"b", Keyword::Bold},
        {"i", Keyword::Italic},
        {"ul", Keyword::UnderlineSingle},
        {"ulw", Keyword::UnderlineSingle},
        {"uldb", Keyword::UnderlineSingle},
        {"ulth", Keyword::UnderlineSingle},
        {"uld", Keyword::UnderlineDotted},
        {"ulthd", Keyword::UnderlineDotted},
        {"uldash", Keyword::UnderlineDashed},
        {"uldashd", Keyword::UnderlineDashed},
        {"uldashdd", Keyword::UnderlineDashed},
        {"ulthdash", Keyword::UnderlineDashed},
        {"ulwave", Keyword::UnderlineWave},
        {"ululdbwave", Keyword::UnderlineWave},
        {"ulnone", Keyword::UnderlineNone},
        {"ulc", Keyword::UnderlineColor},
        {"strike", Keyword::Strike},
        {"striked", Keyword::Strike},
        {"fs", Keyword::FontSize},
        {"cf", Keyword::Foreground},
        {"cb", Keyword::Background},
        {"highlight", Keyword::Background},
        {"chcbpat", Keyword::Background},
        {"super", Keyword::Superscript},
        {"sub", Keyword::Subscript},
        {"nosupersub", Keyword::NoSuperSub},
        {"pict", Keyword::Picture},
        {"pngblip", Keyword::PngBlip},
        {"jpegblip", Keyword::JpegBlip},
        {"emfblip", Keyword::OtherBlip},
        {"wmetafile", Keyword::OtherBlip},
        {"macpict", Keyword::OtherBlip},
        {"dibitmap", Keyword::OtherBlip},
        {"wbitmap", Keyword::OtherBlip},
        {"picwgoal", Keyword::PictureWidthGoal},
        {"pichgoal", Keyword::PictureHeightGoal},
        {"picscalex", Keyword::PictureScaleX},
        {"picscaley", Keyword::PictureScaleY},
        {"shppict", Keyword::ShapePicture},
        {"field", Keyword::Field},
        {"fldinst", Keyword::FieldInstruction},
        {"fldrslt", Keyword::FieldResult},
        {"NeXTGraphic", Keyword::NeXTGraphic},
        {"width", Keyword::Width},
        {"height", Keyword::Height},
        {"info", Keyword::Info},
        {"title", Keyword::InfoTitle},
        {"author", Keyword::InfoAuthor},
        {"subject", Keyword::InfoSubject},
        {"keywords", Keyword::InfoKeywords},
        {"doccomm", Keyword::InfoComment},
        {"background", Keyword::DocumentBackground},
        {"shp", Keyword::Shape},
        {"shpinst", Keyword::ShapeInstance},
        {"sp", Keyword::ShapeProperty},
        {"sn", Keyword::ShapePropertyName},
        {"sv", Keyword::ShapePropertyValue},
        {"result", Keyword::ObjectResult},
        {"object", Keyword::Object},
        {"cpg", Keyword::FontCodePage},
        {"footnote", Keyword::Footnote},
        {"chftn", Keyword::FootnoteMark},
        {"nesttableprops", Keyword::NestedTableProperties},
        {"header", Keyword::HeaderOrFooter},
        {"headerl", Keyword::HeaderOrFooter},
        {"headerr", Keyword::HeaderOrFooter},
        {"headerf", Keyword::HeaderOrFooter},
        {"footer", Keyword::HeaderOrFooter},
        {"footerl", Keyword::HeaderOrFooter},
        {"footerr", Keyword::HeaderOrFooter},
        {"footerf", Keyword::HeaderOrFooter},
        {"annotation", Keyword::Annotation},
        // Destinations whose content is not part of the text, marked or not with \*.
        {"stylesheet", Keyword::SkippedDestination},
        {"objdata", Keyword::SkippedDestination},
        {"nonshppict", Keyword::SkippedDestination},
        {"rsidtbl", Keyword::SkippedDestination},
        {"revtbl", Keyword::SkippedDestination},
        {"xmlnstbl", Keyword::SkippedDestination},
        {"themedata", Keyword::SkippedDestination},
        {"colorschememapping", Keyword::SkippedDestination},
        {"latentstyles", Keyword::SkippedDestination},
        {"datastore", Keyword::SkippedDestination},
        {"generator", Keyword::SkippedDestination},
        {"filetbl", Keyword::SkippedDestination},
        {"pgdsctbl", Keyword::SkippedDestination},
        {"txe", Keyword::SkippedDestination},
        {"fchars", Keyword::SkippedDestination},
        {"lchars", Keyword::SkippedDestination},
        {"template", Keyword::SkippedDestination},
        {"private", Keyword::SkippedDestination},
        {"pn", Keyword::SkippedDestination},
        {"bkmkstart", Keyword::SkippedDestination},
        {"bkmkend", Keyword::SkippedDestination},
        // Text that stands in for what this reader shows itself (nested tables, the numbers of
        // lists), index and contents entries, footnote separators, alternative font names.
        {"nonesttables", Keyword::SkippedDestination},
        {"listtext", Keyword::ListText},
        {"listtable", Keyword::ListTable},
        {"list", Keyword::List},
        {"listid", Keyword::ListId},
        {"listlevel", Keyword::ListLevel},
        {"levelnfc", Keyword::LevelFormat},
        {"levelnfcn", Keyword::LevelFormat},
        {"levelstartat", Keyword::LevelStart},
        {"leveltext", Keyword::LevelText},
        {"levelnumbers", Keyword::SkippedDestination},
        {"listname", Keyword::SkippedDestination},
        {"listoverridetable", Keyword::ListOverrideTable},
        {"listoverride", Keyword::ListOverride},
        {"ls", Keyword::ListOverrideNumber},
        {"ilvl", Keyword::ListLevelNumber},
        {"cocoartf", Keyword::CocoaWriter},
        {"pntext", Keyword::ListText},
        {"xe", Keyword::SkippedDestination},
        {"tc", Keyword::SkippedDestination},
        {"tcn", Keyword::SkippedDestination},
        {"ftnsep", Keyword::SkippedDestination},
        {"ftnsepc", Keyword::SkippedDestination},
        {"ftncn", Keyword::SkippedDestination},
        {"aftnsep", Keyword::SkippedDestination},
        {"aftnsepc", Keyword::SkippedDestination},
        {"aftncn", Keyword::SkippedDestination},
        {"falt", Keyword::SkippedDestination},
        {"atnid", Keyword::SkippedDestination},
        {"atnauthor", Keyword::SkippedDestination},
        {"atndate", Keyword::SkippedDestination},
        {"atnref", Keyword::SkippedDestination},
        {"atrfstart", Keyword::SkippedDestination},
        {"atrfend", Keyword::SkippedDestination},
        {"docvar", Keyword::SkippedDestination},
        {"userprops", Keyword::SkippedDestination},
        {"protusertbl", Keyword::SkippedDestination},
        {"listpicture", Keyword::SkippedDestination},
        {"mmathPr", Keyword::SkippedDestination},
    };
    return table;
}

// Control words that stand for one character.
const std::unordered_map<std::string_view, char16_t> &characterWords()
{
    static const std::unordered_map<std::string_view, char16_t> table = {
        {"line", 0x2028},    {"emdash", 0x2014},    {"endash", 0x2013},    {"bullet", 0x2022},  {"lquote", 0x2018},
        {"rquote", 0x2019},  {"ldblquote", 0x201C}, {"rdblquote", 0x201D}, {"emspace", 0x2003}, {"enspace", 0x2002},
        {"qmspace", 0x2005}, {"zwj", 0x200D},       {"zwnj", 0x200C},      {"ltrmark", 0x200E}, {"rtlmark", 0x200F},
    };
    return table;
}

// Destinations that stay readable behind \*; any other \* group is skipped whole.
bool isKnownStarredDestination(Keyword keyword)
{
    switch (keyword) {
    case Keyword::ExpandedColorTable:
    case Keyword::ShapePicture:
    case Keyword::FieldInstruction:
    case Keyword::DocumentBackground:
    case Keyword::ShapeInstance:
    case Keyword::Footnote:
    case Keyword::NestedTableProperties:
    case Keyword::ObjectResult:
    case Keyword::ListText:
    case Keyword::HeaderOrFooter:
    case Keyword::Annotation:
    case Keyword::ListTable:
    case Keyword::ListOverrideTable:
        return true;
    default:
        return false;
    }
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Bytes that are text as they are: printable ASCII but the characters with a meaning in RTF.
// A table, because every byte of a note's text is looked at.
constexpr std::array<bool, 0x100> plainTextBytes = [] {
    std::array<bool, 0x100> table {};
    for (int c = 0x20; c < 0x80; ++c)
        table[size_t(c)] = c != '{' && c != '}' && c != '\\';
    return table;
}();

bool isPlainText(char c)
{
    return plainTextBytes[static_cast<unsigned char>(c)];
}

// The characters QTextCursor::insertText() turns into paragraph breaks.
bool breaksBlocks(QStringView text)
{
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\n':
        case u'\r':
        case QChar::ParagraphSeparator:
        case 0xFDD0: // QTextBeginningOfFrame
        case 0xFDD1: // QTextEndOfFrame
            return true;
        default:
            break;
        }
    }
    return false;
}

QString hyperlinkTarget(const QString &instruction)
{
    const QString trimmed = instruction.trimmed();
    if (!trimmed.startsWith(QLatin1String("HYPERLINK"), Qt::CaseInsensitive))
        return {};
    QString rest = trimmed.mid(9).trimmed();
    QString anchor;
    const int local = rest.indexOf(QLatin1String("\\l"));
    if (local >= 0) {
        const int open = rest.indexOf(QLatin1Char('"'), local);
        const int close = open >= 0 ? rest.indexOf(QLatin1Char('"'), open + 1) : -1;
        if (close > open)
            anchor = rest.mid(open + 1, close - open - 1);
        rest = rest.left(local).trimmed();
    }
    QString url;
    if (rest.startsWith(QLatin1Char('"'))) {
        const int close = rest.indexOf(QLatin1Char('"'), 1);
        url = close > 0 ? rest.mid(1, close - 1) : rest.mid(1);
    } else {
        url = rest.section(QLatin1Char(' '), 0, 0);
    }
    if (!anchor.isEmpty())
        url += QLatin1Char('#') + anchor;
    return url;
}

QString pictureSuffix(const QByteArray &data)
{
    if (data.startsWith("\x89PNG"))
        return QStringLiteral("png");
    if (data.startsWith("\xFF\xD8"))
        return QStringLiteral("jpeg");
    if (data.startsWith("GIF8"))
        return QStringLiteral("gif");
    if (data.startsWith(QByteArrayLiteral("II*\0")) || data.startsWith(QByteArrayLiteral("MM\0*")))
        return QStringLiteral("tiff");
    return {};
}

// Some decoders stand in U+001A for bytes they cannot map; no control character but the tab
// is text.
QString withoutControlCharacters(QString text)
{
    text.removeIf([](QChar c) { return c.unicode() < 0x20 && c.unicode() != u'\t'; });
    return text;
}

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
int symbolCodePage(RTFSymbolFonts::Font font)
{
    return -int(font);
}

RTFSymbolFonts::Font symbolFontOf(int codePage)
{
    return codePage < 0 ? RTFSymbolFonts::Font(-codePage) : RTFSymbolFonts::Font::None;
}

class Parser
{
public:
    Parser(const QByteArray &data, QTextDocument *document, const RTFReader::AttachmentLoader &loader)
        : m_data(data.constData())
        , m_size(data.size())
        , m_document(document)
        , m_cursor(document)
        , m_loader(loader)
    { }

    void run();
    QVariantMap documentAttributes() const { return m_attributes; }

private:
    Group &current() { return m_stack.back(); }
    Destination destination() const { return m_stack.empty() ? Destination::Skip : m_stack.back().destination; }

    void openGroup();
    bool closeGroup();
    void finishDestination(const Group &closed);
    void readControl();
    void controlSymbol(char symbol);
    void controlWord(std::string_view word, bool hasParameter, int parameter);
    void setDestination(Destination destination);
    void textBytes();

    void appendByte(char byte);
    void flushBytes();
    void appendText(const QString &text);
    void appendLatin1(QLatin1String text);
    void prepareRun();
    void appendCharacter(char16_t character);
    void insertPendingText(bool endsParagraph);
    void endParagraph();
    void finishBlock();
    QString decodedFontNameBytes() const;
    void finishFontEntry();
    void flushAttachmentName();
    void insertAttachment(const QString &fileName, const QByteArray &contents, const QSizeF &size);
    bool swallowPlaceholder();

    int codePage();
    bool awaitsTrailByte() const;
    void noteLeftOut(LeftOutKind kind) { m_leftOut[size_t(kind)] = true; }
    void appendFootnotes();
    void startParagraphText();
    const QTextCharFormat &charFormat(const CharState &state);
    QTextCharFormat makeCharFormat(const CharState &state) const;
    void tablesChanged() { m_formatCache.clear(); }
    QTextBlockFormat blockFormat(const ParaState &state) const;
    QColor color(int index) const;

    const char *m_data;
    qsizetype m_size;
    qsizetype m_pos = 0;
    QTextDocument *m_document;
    QTextCursor m_cursor;
    const RTFReader::AttachmentLoader &m_loader;

    std::vector<Group> m_stack;
    size_t m_overflowDepth = 0;
    bool m_finished = false;
    bool m_starred = false;
    int m_unicodeSkipRemaining = 0;

    int m_documentCodePage = RTFCodePages::WindowsLatin1;
    int m_defaultFont = -1;
    QHash<int, FontEntry> m_fonts;
    int m_tableFont = -1;
    FontEntry m_tableEntry;
    QByteArray m_tableFontName; // bytes not yet decoded
    QString m_tableFontText; // the name decoded so far

    QList<QColor> m_colors;
    int m_red = -1, m_green = -1, m_blue = -1;
    int m_expandedIndex = 0;
    bool m_expandedGray = false;
    QList<int> m_components;

    QByteArray m_pendingBytes;
    int m_pendingCodePage = 0;
    // The text read since the last insertion into the document, with the runs of equal
    // formatting it is made of. Every insertion into a QTextDocument costs several thousand
    // instructions whatever its length, so a paragraph goes in with one insertText() in the
    // formatting of its last run, and only the runs formatted otherwise are set afterwards.
    struct Run
    {
        qsizetype start;
        CharState state;
    };
    QString m_pendingText;
    std::vector<Run> m_runs;
    bool m_pendingBreaksBlocks = false; // the text holds characters insertText() makes paragraphs of
    // Formats already made: a note switches between a handful of them, and making one costs
    // far more than finding it. Emptied whenever a font or colour table changes.
    struct CachedFormat
    {
        CharState state;
        QTextCharFormat format;
    };
    std::vector<CachedFormat> m_formatCache;
    // What the cursor's block already carries, so that paragraphs formatted like the one
    // before them do not set the same formats again.
    std::optional<ParaState> m_blockPara;
    std::optional<CharState> m_blockMark;
    QStringList m_links;

    QString m_fieldInstruction;
    QString m_attachmentName;
    QByteArray m_attachmentNameBytes; // file names are written in UTF-8 whatever the code page
    int m_attachmentWidth = 0, m_attachmentHeight = 0;
    QByteArray m_picture;
    int m_pictureNibble = -1;
    bool m_pictureTypeKnown = false;
    int m_pictureWidthGoal = 0, m_pictureHeightGoal = 0, m_pictureScaleX = 100, m_pictureScaleY = 100;
    int m_pictureCount = 0;
    QString m_infoText;
    bool m_inBackground = false;
    QString m_shapeName, m_shapeValue;

    // Footnotes and endnotes: their text, collected while reading, goes after the note's text.
    int m_footnoteCount = 0;
    QStringList m_footnotes;
    bool m_objectHasResult = false;
    std::array<bool, size_t(LeftOutKind::Count)> m_leftOut {};

    // Lists: paragraphs whose writer rendered no marker get the one the list table defines,
    // except in Cocoa's RTF, where a list paragraph without \listtext shows none.
    RTFListTable m_listTable;
    QString m_levelText;
    bool m_cocoaWriter = false;
    bool m_paragraphHasText = false;
    bool m_paragraphHasMarker = false;

    QVariantMap m_attributes;
};

void Parser::run()
{
    m_cursor.beginEditBlock();
    while (m_pos < m_size && !m_finished) {
        const char c = m_data[m_pos];
        if (c == '{') {
            ++m_pos;
            openGroup();
        } else if (c == '}') {
            ++m_pos;
            if (!closeGroup())
                break;
        } else if (c == '\\') {
            readControl();
        } else {
            textBytes();
        }
    }
    flushBytes();
    insertPendingText(false);
    if (!m_stack.empty())
        finishBlock();
    appendFootnotes();
    m_cursor.endEditBlock();
    m_attributes.insert(RichText::DocumentTypeAttribute, RichText::RTFDocumentType);
    QStringList leftOut;
    for (size_t kind = 0; kind < m_leftOut.size(); ++kind)
        if (m_leftOut[kind])
            leftOut.append(leftOutDescription(LeftOutKind(kind)));
    if (!leftOut.isEmpty())
        m_attributes.insert(RichText::LeftOutContentAttribute, leftOut);
}

// The notes follow the text, each a paragraph of its own that begins with its mark, as they
// would stand at the end of a printed page.
void Parser::appendFootnotes()
{
    if (m_footnotes.isEmpty())
        return;
    const QTextCharFormat format = charFormat(CharState());
    for (const QString &note : std::as_const(m_footnotes)) {
        m_cursor.insertBlock(QTextBlockFormat(), format);
        m_cursor.insertText(note.trimmed(), format);
    }
    m_blockPara.reset();
    m_blockMark.reset();
}

void Parser::openGroup()
{
    flushBytes();
    m_unicodeSkipRemaining = 0;
    m_starred = false;
    if (m_stack.size() >= maxGroupDepth) {
        ++m_overflowDepth;
        return;
    }
    if (m_stack.empty()) {
        m_stack.emplace_back();
        return;
    }
    Group group = m_stack.back();
    group.startsDestination = false;
    group.swallowAttachmentCharacter = false;
    group.object = false;
    m_stack.push_back(std::move(group));
}

bool Parser::closeGroup()
{
    flushBytes();
    m_unicodeSkipRemaining = 0;
    m_starred = false;
    if (m_overflowDepth > 0) {
        --m_overflowDepth;
        return true;
    }
    if (m_stack.size() <= 1) {
        // The outermost group is closed: whatever follows is not part of the document.
        m_finished = true;
        return false;
    }
    Group closed = std::move(m_stack.back());
    m_stack.pop_back();
    if (closed.startsDestination)
        finishDestination(closed);
    if (closed.object && !m_objectHasResult && closed.destination == Destination::Text)
        noteLeftOut(LeftOutKind::Objects);
    return true;
}

void Parser::finishDestination(const Group &closed)
{
    switch (closed.destination) {
    case Destination::FontTable:
        if (!m_fonts.contains(m_tableFont))
            finishFontEntry();
        m_tableFontName.clear();
        m_tableFontText.clear();
        break;
    case Destination::Picture: {
        if (destination() != Destination::Text)
            break;
        if (m_pictureNibble >= 0)
            m_pictureNibble = -1; // an odd number of hex digits: the last one is dropped
        const QString suffix = pictureSuffix(m_picture);
        if (!suffix.isEmpty()) {
            ++m_pictureCount;
            QSizeF size;
            if (m_pictureWidthGoal > 0 && m_pictureHeightGoal > 0)
                size = QSizeF(m_pictureWidthGoal / 20.0 * m_pictureScaleX / 100.0,
                              m_pictureHeightGoal / 20.0 * m_pictureScaleY / 100.0);
            insertAttachment(QStringLiteral("Picture %1.%2").arg(m_pictureCount).arg(suffix), m_picture, size);
        } else if (!m_picture.isEmpty()) {
            noteLeftOut(LeftOutKind::Pictures);
        }
        m_picture.clear();
        break;
    }
    case Destination::Attachment: {
        if (destination() != Destination::Text)
            break;
        flushAttachmentName();
        const QString name = m_attachmentName.trimmed();
        QByteArray contents;
        if (!name.isEmpty() && m_loader && m_loader(name, &contents)) {
            QSizeF size;
            if (m_attachmentWidth > 0 && m_attachmentHeight > 0)
                size = QSizeF(m_attachmentWidth / 20.0, m_attachmentHeight / 20.0);
            insertAttachment(name, contents, size);
        }
        // The attachment character that follows stands for the attachment just handled.
        current().swallowAttachmentCharacter = true;
        break;
    }
    case Destination::InfoField: {
        static const QString keys[] = {RichText::TitleAttribute, RichText::AuthorAttribute, RichText::SubjectAttribute,
                                       RichText::KeywordsAttribute, RichText::CommentAttribute};
        if (closed.infoField >= 0 && closed.infoField < 5 && !m_infoText.trimmed().isEmpty())
            m_attributes.insert(keys[closed.infoField], m_infoText.trimmed());
        break;
    }
    case Destination::ShapeProperty:
        if (m_inBackground && m_shapeName.trimmed() == QLatin1String("fillColor")) {
            bool ok = false;
            const qint64 value = m_shapeValue.trimmed().toLongLong(&ok);
            if (ok && value >= 0)
                m_attributes.insert(RichText::BackgroundColorAttribute,
                                    QColor(int(value & 0xFF), int((value >> 8) & 0xFF), int((value >> 16) & 0xFF)));
        }
        break;
    case Destination::Background:
        m_inBackground = false;
        break;
    case Destination::LevelText:
        m_listTable.setLevelText(m_levelText);
        break;
    default:
        break;
    }
}

void Parser::setDestination(Destination destination)
{
    Group &group = current();
    if (group.destination == Destination::Skip)
        return;
    group.destination = destination;
    group.startsDestination = true;
}

void Parser::readControl()
{
    ++m_pos; // the backslash
    if (m_pos >= m_size)
        return;
    const char first = m_data[m_pos];
    if (!isLetter(first)) {
        ++m_pos;
        if (first == '\'') {
            // Up to two hex digits; a cut-off escape gives nothing.
            int value = 0;
            int digits = 0;
            while (digits < 2 && m_pos < m_size && hexValue(m_data[m_pos]) >= 0) {
                value = value * 16 + hexValue(m_data[m_pos++]);
                ++digits;
            }
            if (digits < 2)
                return;
            m_starred = false;
            if (m_unicodeSkipRemaining > 0) {
                --m_unicodeSkipRemaining;
                return;
            }
            if (swallowPlaceholder())
                return;
            appendByte(char(value));
            return;
        }
        controlSymbol(first);
        return;
    }
    const qsizetype start = m_pos;
    while (m_pos < m_size && isLetter(m_data[m_pos]))
        ++m_pos;
    const std::string_view word(m_data + start, size_t(qMin<qsizetype>(m_pos - start, maxControlWordLength)));
    bool negative = false;
    bool hasParameter = false;
    qint64 value = 0;
    if (m_pos < m_size && m_data[m_pos] == '-' && m_pos + 1 < m_size && isDigit(m_data[m_pos + 1])) {
        negative = true;
        ++m_pos;
    }
    while (m_pos < m_size && isDigit(m_data[m_pos])) {
        hasParameter = true;
        if (value < maxParameter)
            value = value * 10 + (m_data[m_pos] - '0');
        ++m_pos;
    }
    if (m_pos < m_size && m_data[m_pos] == ' ')
        ++m_pos;
    value = qMin(value, maxParameter);
    const int parameter = int(negative ? -value : value);
    controlWord(word, hasParameter, parameter);
}

void Parser::controlSymbol(char symbol)
{
    // An escaped brace or backslash may be the second byte of a double-byte character.
    if ((symbol == '\\' || symbol == '{' || symbol == '}') && m_unicodeSkipRemaining == 0 && awaitsTrailByte()) {
        appendByte(symbol);
        return;
    }
    flushBytes();
    m_starred = symbol == '*';
    if (m_starred)
        return;
    if (m_unicodeSkipRemaining > 0) {
        --m_unicodeSkipRemaining;
        return;
    }
    switch (symbol) {
    case '\\':
    case '{':
    case '}':
        appendText(QString(QLatin1Char(symbol)));
        break;
    case '~':
        appendCharacter(0x00A0);
        break;
    case '-':
        appendCharacter(0x00AD);
        break;
    case '_':
        appendCharacter(0x2011);
        break;
    case '\n':
    case '\r':
        if (destination() == Destination::Text)
            endParagraph();
        else if (destination() == Destination::Footnote)
            appendText(QStringLiteral("\n"));
        break;
    case '\t':
        appendCharacter(u'\t');
        break;
    default:
        break;
    }
}

void Parser::controlWord(std::string_view word, bool hasParameter, int parameter)
{
    flushBytes();
    const auto found = keywords().find(word);
    const bool starred = m_starred;
    m_starred = false;
    if (m_stack.empty())
        return;

    if (found == keywords().end()) {
        const auto character = characterWords().find(word);
        if (character != characterWords().end() && !starred && m_unicodeSkipRemaining == 0) {
            appendCharacter(character->second);
            return;
        }
        if (starred)
            setDestination(Destination::Skip);
        else if (m_unicodeSkipRemaining > 0)
            --m_unicodeSkipRemaining;
        return;
    }
    const Keyword keyword = found->second;
    if (keyword == Keyword::Binary) {
        const qint64 length = qBound(qint64(0), qint64(hasParameter ? parameter : 0), qint64(m_size - m_pos));
        if (m_unicodeSkipRemaining > 0)
            --m_unicodeSkipRemaining;
        else if (destination() == Destination::Picture)
            m_picture.append(m_data + m_pos, length);
        m_pos += length;
        return;
    }
    if (m_unicodeSkipRemaining > 0) {
        --m_unicodeSkipRemaining;
        return;
    }
    if (starred && !isKnownStarredDestination(keyword)) {
        setDestination(Destination::Skip);
        return;
    }

    Group &group = current();
    const Destination dest = group.destination;
    if (dest == Destination::Skip)
        return;
    CharState &chars = group.chars;
    ParaState &para = group.para;
    const bool on = !hasParameter || parameter != 0;
    const int twips = parameter;

    switch (keyword) {
    case Keyword::Ansi:
        m_documentCodePage = RTFCodePages::WindowsLatin1;
        break;
    case Keyword::Mac:
        m_documentCodePage = RTFCodePages::MacRoman;
        break;
    case Keyword::Pc:
        m_documentCodePage = 437;
        break;
    case Keyword::Pca:
        m_documentCodePage = 850;
        break;
    case Keyword::AnsiCodePage:
        if (hasParameter && parameter > 0)
            m_documentCodePage = parameter;
        break;
    case Keyword::DefaultFont:
        m_defaultFont = parameter;
        tablesChanged();
        break;
    case Keyword::FontTable:
        setDestination(Destination::FontTable);
        m_tableFont = -1;
        m_tableFontName.clear();
        m_tableFontText.clear();
        break;
    case Keyword::Font:
        if (dest == Destination::FontTable) {
            m_tableFont = parameter;
            m_tableEntry = FontEntry();
            m_tableFontName.clear();
            m_tableFontText.clear();
        } else if (dest == Destination::ListTable) {
            const auto font = m_fonts.constFind(parameter);
            if (font != m_fonts.constEnd())
                m_listTable.setLevelSymbolFont(int(font->symbol));
        } else {
            chars.font = parameter;
        }
        break;
    case Keyword::FontCharset:
        if (dest == Destination::FontTable)
            m_tableEntry.charset = parameter;
        break;
    case Keyword::FontCodePage:
        if (dest == Destination::FontTable && parameter > 0)
            m_tableEntry.codePage = parameter;
        break;
    case Keyword::FontFamilyRoman:
        m_tableEntry.styleHint = QFont::Serif;
        break;
    case Keyword::FontFamilySwiss:
        m_tableEntry.styleHint = QFont::SansSerif;
        break;
    case Keyword::FontFamilyModern:
        m_tableEntry.styleHint = QFont::TypeWriter;
        break;
    case Keyword::FontFamilyScript:
        m_tableEntry.styleHint = QFont::Cursive;
        break;
    case Keyword::FontFamilyDecor:
        m_tableEntry.styleHint = QFont::Decorative;
        break;
    case Keyword::FontFamilyNil:
    case Keyword::FontFamilyTech:
        m_tableEntry.styleHint = QFont::AnyStyle;
        break;
    case Keyword::ColorTable:
        setDestination(Destination::ColorTable);
        m_colors.clear();
        tablesChanged();
        m_red = m_green = m_blue = -1;
        break;
    case Keyword::Red:
        m_red = qBound(0, parameter, 255);
        break;
    case Keyword::Green:
        m_green = qBound(0, parameter, 255);
        break;
    case Keyword::Blue:
        m_blue = qBound(0, parameter, 255);
        break;
    case Keyword::ExpandedColorTable:
        setDestination(Destination::ExpandedColorTable);
        m_expandedIndex = 0;
        m_components.clear();
        break;
    case Keyword::ColorSpaceRGB:
        m_expandedGray = false;
        m_components.clear();
        break;
    case Keyword::ColorSpaceGray:
        m_expandedGray = true;
        m_components.clear();
        break;
    case Keyword::Component:
        if (dest == Destination::ExpandedColorTable && m_components.size() < 8)
            m_components.append(qBound(0, parameter, 100000));
        break;
    case Keyword::Par:
        if (dest == Destination::Text)
            endParagraph();
        else if (dest == Destination::Footnote)
            appendText(QStringLiteral("\n"));
        break;
    case Keyword::Tab:
    case Keyword::Cell:
        appendCharacter(u'\t');
        break;
    case Keyword::Unicode: {
        const int unit = parameter < 0 ? parameter + 65536 : parameter;
        const RTFSymbolFonts::Font symbol = symbolFontOf(codePage());
        if (!swallowPlaceholder()) {
            if (symbol != RTFSymbolFonts::Font::None && unit >= 0x20)
                appendText(RTFSymbolFonts::mapCharacter(char32_t(unit), symbol));
            else
                appendCharacter(unit >= 0 && unit <= 0xFFFF ? char16_t(unit) : char16_t(0xFFFD));
        }
        m_unicodeSkipRemaining = group.unicodeSkip;
        break;
    }
    case Keyword::UnicodeSkip:
        group.unicodeSkip = qBound(0, parameter, 16);
        break;
    case Keyword::ParagraphDefault:
        para = ParaState();
        break;
    case Keyword::Plain:
        chars = CharState();
        break;
    case Keyword::AlignLeft:
        para.alignment = 0;
        break;
    case Keyword::AlignCenter:
        para.alignment = 1;
        break;
    case Keyword::AlignRight:
        para.alignment = 2;
        break;
    case Keyword::AlignJustify:
        para.alignment = 3;
        break;
    case Keyword::LeftIndent:
        para.leftIndent = twips;
        break;
    case Keyword::RightIndent:
        para.rightIndent = twips;
        break;
    case Keyword::FirstIndent:
        para.firstIndent = twips;
        break;
    case Keyword::SpaceBefore:
        para.spaceBefore = twips;
        break;
    case Keyword::SpaceAfter:
        para.spaceAfter = twips;
        break;
    case Keyword::LineSpacing:
        para.lineSpacing = twips;
        break;
    case Keyword::LineMultiple:
        para.lineMultiple = on;
        break;
    case Keyword::TabStop:
        if (para.tabs.size() < 1000)
            para.tabs.append(QTextOption::Tab(twips / 20.0, para.pendingTabType));
        para.pendingTabType = QTextOption::LeftTab;
        break;
    case Keyword::TabRight:
        para.pendingTabType = QTextOption::RightTab;
        break;
    case Keyword::TabCenter:
        para.pendingTabType = QTextOption::CenterTab;
        break;
    case Keyword::TabDecimal:
        para.pendingTabType = QTextOption::DelimiterTab;
        break;
    case Keyword::RightToLeftParagraph:
        para.rightToLeft = true;
        break;
    case Keyword::LeftToRightParagraph:
        para.rightToLeft = false;
        break;
    case Keyword::Bold:
        chars.bold = on;
        break;
    case Keyword::Italic:
        chars.italic = on;
        break;
    case Keyword::UnderlineSingle:
        chars.underline = on ? Underline::Single : Underline::None;
        break;
    case Keyword::UnderlineDotted:
        chars.underline = on ? Underline::Dotted : Underline::None;
        break;
    case Keyword::UnderlineDashed:
        chars.underline = on ? Underline::Dashed : Underline::None;
        break;
    case Keyword::UnderlineWave:
        chars.underline = on ? Underline::Wave : Underline::None;
        break;
    case Keyword::UnderlineNone:
        chars.underline = Underline::None;
        break;
    case Keyword::UnderlineColor:
        chars.underlineColor = parameter;
        break;
    case Keyword::Strike:
        chars.strike = on;
        break;
    case Keyword::FontSize:
        chars.halfPoints = hasParameter ? qBound(1, parameter, 3276) : 24;
        break;
    case Keyword::Foreground:
        chars.foreground = parameter;
        break;
    case Keyword::Background:
        chars.background = parameter;
        break;
    case Keyword::Superscript:
        chars.script = on ? Script::Super : Script::None;
        break;
    case Keyword::Subscript:
        chars.script = on ? Script::Sub : Script::None;
        break;
    case Keyword::NoSuperSub:
        chars.script = Script::None;
        break;
    case Keyword::Picture:
        setDestination(Destination::Picture);
        m_picture.clear();
        m_pictureNibble = -1;
        m_pictureTypeKnown = false;
        m_pictureWidthGoal = m_pictureHeightGoal = 0;
        m_pictureScaleX = m_pictureScaleY = 100;
        break;
    case Keyword::PngBlip:
    case Keyword::JpegBlip:
    case Keyword::OtherBlip:
        m_pictureTypeKnown = keyword != Keyword::OtherBlip;
        break;
    case Keyword::PictureWidthGoal:
        m_pictureWidthGoal = twips;
        break;
    case Keyword::PictureHeightGoal:
        m_pictureHeightGoal = twips;
        break;
    case Keyword::PictureScaleX:
        m_pictureScaleX = qBound(1, parameter, 10000);
        break;
    case Keyword::PictureScaleY:
        m_pictureScaleY = qBound(1, parameter, 10000);
        break;
    case Keyword::ShapePicture:
    case Keyword::NestedTableProperties: // writers put cell text here too: it stays text
    case Keyword::ListText:
        m_paragraphHasMarker = true;
        break;
    case Keyword::ListTable:
    case Keyword::ListOverrideTable:
        setDestination(Destination::ListTable);
        break;
    case Keyword::List:
        if (dest == Destination::ListTable)
            m_listTable.beginList();
        break;
    case Keyword::ListId:
        if (dest == Destination::ListTable)
            m_listTable.setListId(parameter);
        break;
    case Keyword::ListLevel:
        if (dest == Destination::ListTable)
            m_listTable.beginLevel();
        break;
    case Keyword::LevelFormat:
        if (dest == Destination::ListTable)
            m_listTable.setLevelFormat(parameter);
        break;
    case Keyword::LevelStart:
        if (dest == Destination::ListTable)
            m_listTable.setLevelStart(parameter);
        break;
    case Keyword::LevelText:
        if (dest == Destination::ListTable) {
            setDestination(Destination::LevelText);
            m_levelText.clear();
        }
        break;
    case Keyword::ListOverride:
        if (dest == Destination::ListTable)
            m_listTable.beginOverride();
        break;
    case Keyword::ListOverrideNumber:
        if (dest == Destination::ListTable) {
            m_listTable.setOverrideNumber(parameter);
        } else {
            para.list = parameter;
        }
        break;
    case Keyword::ListLevelNumber:
        para.listLevel = parameter;
        break;
    case Keyword::CocoaWriter:
        m_cocoaWriter = true;
        break;
    case Keyword::ObjectResult:
        m_objectHasResult = true;
        break;
    case Keyword::Object:
        group.object = true;
        m_objectHasResult = false;
        break;
    case Keyword::Footnote:
        if (dest == Destination::Text) {
            setDestination(Destination::Footnote);
            // Damaged files may hold millions; beyond a bound their text joins the last note.
            if (m_footnotes.size() < 65536)
                m_footnotes.append(QString());
        } else {
            setDestination(Destination::Skip);
        }
        break;
    case Keyword::FootnoteMark:
        // The automatic number: counted at the reference, repeated in the note itself.
        if (dest == Destination::Text)
            ++m_footnoteCount;
        appendText(QString::number(qMax(m_footnoteCount, 1)));
        break;
    case Keyword::HeaderOrFooter:
    case Keyword::Annotation:
        setDestination(Destination::LeftOut);
        group.leftOut = keyword == Keyword::Annotation ? LeftOutKind::Comments : LeftOutKind::HeadersAndFooters;
        break;
    case Keyword::Field:
        m_fieldInstruction.clear();
        break;
    case Keyword::FieldInstruction:
        setDestination(Destination::FieldInstruction);
        m_fieldInstruction.clear();
        break;
    case Keyword::FieldResult: {
        const QString target = hyperlinkTarget(m_fieldInstruction);
        if (!target.isEmpty()) {
            m_links.append(target);
            chars.link = int(m_links.size() - 1);
        }
        break;
    }
    case Keyword::NeXTGraphic:
        setDestination(Destination::Attachment);
        m_attachmentName.clear();
        m_attachmentNameBytes.clear();
        m_attachmentWidth = m_attachmentHeight = 0;
        break;
    case Keyword::Width:
        if (dest == Destination::Attachment)
            m_attachmentWidth = twips;
        break;
    case Keyword::Height:
        if (dest == Destination::Attachment)
            m_attachmentHeight = twips;
        break;
    case Keyword::Info:
        setDestination(Destination::Info);
        break;
    case Keyword::InfoTitle:
    case Keyword::InfoAuthor:
    case Keyword::InfoSubject:
    case Keyword::InfoKeywords:
    case Keyword::InfoComment:
        if (dest == Destination::Info) {
            setDestination(Destination::InfoField);
            group.infoField = int(keyword) - int(Keyword::InfoTitle);
            m_infoText.clear();
        } else {
            setDestination(Destination::Skip);
        }
        break;
    case Keyword::DocumentBackground:
        setDestination(Destination::Background);
        m_inBackground = true;
        break;
    case Keyword::Shape:
    case Keyword::ShapeInstance:
        if (!m_inBackground)
            setDestination(Destination::Skip);
        break;
    case Keyword::ShapeProperty:
        if (m_inBackground) {
            setDestination(Destination::ShapeProperty);
            m_shapeName.clear();
            m_shapeValue.clear();
        } else {
            setDestination(Destination::Skip);
        }
        break;
    case Keyword::ShapePropertyName:
        setDestination(dest == Destination::ShapeProperty ? Destination::ShapePropertyName : Destination::Skip);
        break;
    case Keyword::ShapePropertyValue:
        setDestination(dest == Destination::ShapeProperty ? Destination::ShapePropertyValue : Destination::Skip);
        break;
    case Keyword::SkippedDestination:
        setDestination(Destination::Skip);
        break;
    case Keyword::Binary:
        break;
    }
}

void Parser::textBytes()
{
    const Destination dest = destination();
    // Skipped groups and picture data are passed over without going byte by byte through the
    // general path.
    if (dest == Destination::Skip) {
        while (m_pos < m_size && m_data[m_pos] != '{' && m_data[m_pos] != '}' && m_data[m_pos] != '\\')
            ++m_pos;
        m_unicodeSkipRemaining = 0;
        return;
    }
    if (dest == Destination::Picture) {
        while (m_pos < m_size && m_data[m_pos] != '{' && m_data[m_pos] != '}' && m_data[m_pos] != '\\') {
            const int value = hexValue(m_data[m_pos++]);
            if (value < 0)
                continue;
            if (m_pictureNibble < 0) {
                m_pictureNibble = value;
            } else {
                m_picture.append(char(m_pictureNibble * 16 + value));
                m_pictureNibble = -1;
            }
        }
        return;
    }
    // Plain ASCII text in the document goes in as one chunk, unless it completes a double-byte
    // character or is written in a symbol font.
    if (dest == Destination::Text && m_unicodeSkipRemaining == 0 && !current().swallowAttachmentCharacter) {
        if (awaitsTrailByte()) {
            m_starred = false;
            appendByte(m_data[m_pos++]);
            return;
        }
    }
    if (dest == Destination::Text && m_unicodeSkipRemaining == 0 && !current().swallowAttachmentCharacter
        && codePage() >= 0) {
        const qsizetype start = m_pos;
        const char *const end = m_data + m_size;
        const char *c = m_data + m_pos;
        while (c != end && isPlainText(*c))
            ++c;
        m_pos = c - m_data;
        if (m_pos > start) {
            m_starred = false;
            flushBytes();
            appendLatin1(QLatin1String(m_data + start, m_pos - start));
            return;
        }
    }
    const char c = m_data[m_pos++];
    if (c == '\r' || c == '\n' || c == 0)
        return;
    m_starred = false;
    if (m_unicodeSkipRemaining > 0) {
        --m_unicodeSkipRemaining;
        return;
    }
    if (c == '\t') {
        flushBytes();
        appendCharacter(u'\t');
        return;
    }
    if (static_cast<unsigned char>(c) < 0x20)
        return;
    if (swallowPlaceholder())
        return;
    appendByte(c);
}

bool Parser::swallowPlaceholder()
{
    if (m_stack.empty() || !current().swallowAttachmentCharacter)
        return false;
    current().swallowAttachmentCharacter = false;
    return true;
}

int Parser::codePage()
{
    const CharState &chars = current().chars;
    const int index = chars.font >= 0 ? chars.font : m_defaultFont;
    const auto found = m_fonts.constFind(index);
    if (found == m_fonts.constEnd())
        return m_documentCodePage;
    if (found->symbol != RTFSymbolFonts::Font::None)
        return symbolCodePage(found->symbol);
    if (found->codePage > 0)
        return found->codePage;
    if (found->charset < 0)
        return m_documentCodePage;
    return RTFCodePages::codePageForCharset(found->charset, m_documentCodePage);
}

// True when the bytes read so far end in the first byte of a double-byte character, so the
// next byte belongs to it whatever it looks like.
bool Parser::awaitsTrailByte() const
{
    return m_pendingCodePage > 0 && RTFCodePages::endsInLeadByte(m_pendingBytes, m_pendingCodePage);
}

void Parser::appendByte(char byte)
{
    const Destination dest = destination();
    switch (dest) {
    case Destination::FontTable:
        if (byte == ';') {
            finishFontEntry();
            m_tableFontName.clear();
            m_tableFontText.clear();
        } else if (m_tableFontName.size() < 1024) {
            m_tableFontName.append(byte);
        }
        return;
    case Destination::ColorTable:
        if (byte == ';') {
            if (m_red >= 0 || m_green >= 0 || m_blue >= 0)
                m_colors.append(QColor(qMax(m_red, 0), qMax(m_green, 0), qMax(m_blue, 0)));
            else
                m_colors.append(QColor());
            tablesChanged();
            m_red = m_green = m_blue = -1;
        }
        return;
    case Destination::ExpandedColorTable:
        if (byte == ';') {
            const auto component = [this](int i) { return qRound(m_components.at(i) * 255.0 / 100000.0); };
            QColor expanded;
            if (m_expandedGray && !m_components.isEmpty()) {
                const int grey = component(0);
                expanded = QColor(grey, grey, grey, m_components.size() > 1 ? component(1) : 255);
            } else if (!m_expandedGray && m_components.size() >= 3) {
                expanded
                    = QColor(component(0), component(1), component(2), m_components.size() > 3 ? component(3) : 255);
            }
            if (expanded.isValid() && m_expandedIndex < m_colors.size()) {
                m_colors[m_expandedIndex] = expanded;
                tablesChanged();
            }
            ++m_expandedIndex;
            m_components.clear();
        }
        return;
    case Destination::Picture: {
        const int value = hexValue(byte);
        if (value < 0)
            return;
        if (m_pictureNibble < 0) {
            m_pictureNibble = value;
        } else {
            m_picture.append(char(m_pictureNibble * 16 + value));
            m_pictureNibble = -1;
        }
        return;
    }
    case Destination::LevelText:
        // The length and the number placeholders are control characters, which text drops.
        if (static_cast<unsigned char>(byte) < 0x20) {
            flushBytes();
            if (m_levelText.size() < 256)
                m_levelText += QChar(char16_t(byte));
            return;
        }
        break;
    case Destination::Attachment:
        if (m_attachmentNameBytes.size() < 4096)
            m_attachmentNameBytes.append(byte);
        return;
    case Destination::Skip:
    case Destination::Info:
    case Destination::Background:
    case Destination::ShapeProperty:
        return;
    default:
        break;
    }
    if (static_cast<unsigned char>(byte) < 0x20 && byte != '\t')
        return;
    const int page = codePage();
    if (static_cast<unsigned char>(byte) < 0x80 && m_pendingBytes.isEmpty() && page >= 0) {
        appendLatin1(QLatin1String(&byte, 1));
        return;
    }
    if (!m_pendingBytes.isEmpty() && page != m_pendingCodePage)
        flushBytes();
    m_pendingCodePage = page;
    m_pendingBytes.append(byte);
}

QString Parser::decodedFontNameBytes() const
{
    return RTFCodePages::decode(m_tableFontName,
                                m_tableEntry.codePage > 0
                                    ? m_tableEntry.codePage
                                    : RTFCodePages::codePageForCharset(m_tableEntry.charset, m_documentCodePage));
}

// The Cocoa text system writes an attachment's name as the file system spells it, in UTF-8;
// bytes that are no UTF-8 are taken in the code page of the text around them.
void Parser::flushAttachmentName()
{
    if (m_attachmentNameBytes.isEmpty())
        return;
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString name = utf8.decode(m_attachmentNameBytes);
    if (utf8.hasError())
        name = RTFCodePages::decode(m_attachmentNameBytes, codePage() > 0 ? codePage() : RTFCodePages::WindowsLatin1);
    m_attachmentName += name;
    m_attachmentNameBytes.clear();
}

void Parser::finishFontEntry()
{
    const QString name = withoutControlCharacters(m_tableFontText + decodedFontNameBytes()).trimmed();
    if (m_tableFont < 0 || name.isEmpty())
        return;
    m_tableEntry.name = name;
    m_tableEntry.symbol = RTFSymbolFonts::fontForName(name);
    m_fonts.insert(m_tableFont, m_tableEntry);
    tablesChanged();
}

void Parser::flushBytes()
{
    if (m_pendingBytes.isEmpty())
        return;
    const RTFSymbolFonts::Font symbol = symbolFontOf(m_pendingCodePage);
    QString text;
    if (symbol != RTFSymbolFonts::Font::None) {
        text = RTFSymbolFonts::decode(m_pendingBytes, symbol);
    } else if (RTFCodePages::endsInLeadByte(m_pendingBytes, m_pendingCodePage)) {
        // A first byte with no second one is a Western byte under a double-byte font, which
        // writers are seen to produce (a list's dash as \'96): it is read in a Western page.
        const int western
            = RTFCodePages::isMultiByte(m_documentCodePage) ? RTFCodePages::WindowsLatin1 : m_documentCodePage;
        text = RTFCodePages::decode(m_pendingBytes.chopped(1), m_pendingCodePage)
            + RTFCodePages::decode(m_pendingBytes.right(1), western);
    } else {
        text = RTFCodePages::decode(m_pendingBytes, m_pendingCodePage);
    }
    m_pendingBytes.clear();
    appendText(withoutControlCharacters(text));
}

void Parser::appendCharacter(char16_t character)
{
    // Control characters other than the tab are no text (\u0, \u7 in damaged files).
    if (character < 0x20 && character != u'\t')
        return;
    flushBytes();
    appendText(QString(QChar(character)));
}

void Parser::prepareRun()
{
    const CharState &chars = current().chars;
    if (!m_runs.empty()) {
        Run &last = m_runs.back();
        if (last.state == chars)
            return;
        if (last.start == m_pendingText.size()) {
            last.state = chars; // a run with no text yet takes the new formatting
            return;
        }
    }
    m_runs.push_back({m_pendingText.size(), chars});
}

// Plain ASCII text, most of a note: in the text it goes straight into the run without a
// QString of its own.
void Parser::appendLatin1(QLatin1String text)
{
    if (destination() != Destination::Text) {
        appendText(QString(text));
        return;
    }
    if (!m_paragraphHasText)
        startParagraphText();
    prepareRun();
    m_pendingText += text;
}

void Parser::appendText(const QString &text)
{
    switch (destination()) {
    case Destination::Text:
        if (!m_paragraphHasText)
            startParagraphText();
        prepareRun();
        m_pendingText += text;
        m_pendingBreaksBlocks = m_pendingBreaksBlocks || breaksBlocks(text);
        break;
    case Destination::FieldInstruction:
        if (m_fieldInstruction.size() < 65536)
            m_fieldInstruction += text;
        break;
    case Destination::Attachment:
        flushAttachmentName();
        if (m_attachmentName.size() < 4096)
            m_attachmentName += text;
        break;
    case Destination::InfoField:
        if (m_infoText.size() < 65536)
            m_infoText += text;
        break;
    case Destination::ShapePropertyName:
        if (m_shapeName.size() < 256)
            m_shapeName += text;
        break;
    case Destination::ShapePropertyValue:
        if (m_shapeValue.size() < 256)
            m_shapeValue += text;
        break;
    case Destination::Footnote:
        if (!m_footnotes.isEmpty() && m_footnotes.last().size() < (1 << 20))
            m_footnotes.last() += text;
        break;
    case Destination::LeftOut:
        if (!text.trimmed().isEmpty())
            noteLeftOut(current().leftOut);
        break;
    case Destination::LevelText:
        if (m_levelText.size() < 256)
            m_levelText += text;
        break;
    case Destination::FontTable:
        // Font names may hold \uN characters between their code-page bytes.
        for (const QChar c : text) {
            if (c.unicode() < 0x80) {
                appendByte(char(c.unicode()));
            } else if (m_tableFontText.size() < 1024) {
                m_tableFontText += decodedFontNameBytes() + c;
                m_tableFontName.clear();
            }
        }
        break;
    case Destination::ColorTable:
    case Destination::ExpandedColorTable:
    case Destination::Picture:
        // Escaped characters in tables arrive here; tables only care about raw bytes.
        for (const QChar c : text)
            if (c.unicode() < 0x80)
                appendByte(char(c.unicode()));
        break;
    default:
        break;
    }
}

void Parser::insertPendingText(bool endsParagraph)
{
    if (!m_runs.empty() && m_runs.back().start == m_pendingText.size())
        m_runs.pop_back();
    if (m_runs.empty()) {
        if (endsParagraph) {
            m_cursor.insertBlock();
            m_blockMark.reset();
        }
        return;
    }
    if (m_pendingBreaksBlocks) {
        // Each block insertText() makes takes the formatting of the text it is inserted with,
        // so such text goes in run by run.
        for (size_t i = 0; i < m_runs.size(); ++i) {
            const qsizetype end = i + 1 < m_runs.size() ? m_runs[i + 1].start : m_pendingText.size();
            m_cursor.insertText(m_pendingText.mid(m_runs[i].start, end - m_runs[i].start), charFormat(m_runs[i].state));
        }
        if (endsParagraph)
            m_cursor.insertBlock();
        m_blockMark.reset();
        m_pendingText.truncate(0);
        m_runs.clear();
        m_pendingBreaksBlocks = false;
        return;
    }
    // The paragraph separator goes in with the text: the new block takes this block's format
    // and the last run's character format, as insertBlock() after the text would give it.
    const CharState base = m_runs.back().state;
    if (endsParagraph)
        m_pendingText += QChar::ParagraphSeparator;
    const int start = m_cursor.position();
    m_cursor.insertText(m_pendingText, charFormat(base));
    const int end = m_cursor.position();
    bool selected = false;
    for (size_t i = 0; i + 1 < m_runs.size(); ++i) {
        if (m_runs[i].state == base)
            continue;
        m_cursor.setPosition(start + int(m_runs[i].start));
        m_cursor.setPosition(start + int(m_runs[i + 1].start), QTextCursor::KeepAnchor);
        m_cursor.setCharFormat(charFormat(m_runs[i].state));
        selected = true;
    }
    if (selected)
        m_cursor.setPosition(end);
    if (endsParagraph)
        m_blockMark = base;
    m_pendingText.truncate(0); // keeps its buffer for the next paragraph
    m_runs.clear();
}

// The first text of a paragraph: a list paragraph whose writer rendered no marker begins with
// the one its list defines.
void Parser::startParagraphText()
{
    m_paragraphHasText = true;
    const ParaState &para = current().para;
    if (m_cocoaWriter || m_paragraphHasMarker || para.list <= 0 || m_listTable.isEmpty())
        return;
    m_paragraphHasMarker = true;
    const QString marker = m_listTable.nextMarker(para.list, para.listLevel);
    if (!marker.isEmpty())
        appendText(marker + QLatin1Char('\t'));
}

void Parser::endParagraph()
{
    m_paragraphHasText = false;
    m_paragraphHasMarker = false;
    flushBytes();
    // This paragraph's formats go to the block the cursor is in when it ends. Text holding
    // paragraph breaks of its own moves the cursor to a new block, so it goes in first.
    if (m_pendingBreaksBlocks)
        insertPendingText(false);
    finishBlock();
    insertPendingText(true);
}

void Parser::finishBlock()
{
    const ParaState &para = current().para;
    if (!m_blockPara || !(*m_blockPara == para)) {
        m_cursor.setBlockFormat(blockFormat(para));
        m_blockPara = para;
    }
    // The paragraph mark's own formatting sets the height of an empty line.
    CharState mark = current().chars;
    mark.link = -1;
    if (!m_blockMark || *m_blockMark != mark) {
        m_cursor.setBlockCharFormat(charFormat(mark));
        m_blockMark = mark;
    }
}

void Parser::insertAttachment(const QString &fileName, const QByteArray &contents, const QSizeF &size)
{
    flushBytes();
    insertPendingText(false);
    const QTextImageFormat format = RichTextAttachment::makeFormat(m_document, fileName, contents, size);
    m_cursor.insertText(QString(QChar::ObjectReplacementCharacter), format);
}

QColor Parser::color(int index) const
{
    if (index <= 0 || index >= m_colors.size())
        return {};
    return m_colors.at(index);
}

const QTextCharFormat &Parser::charFormat(const CharState &state)
{
    for (const CachedFormat &cached : m_formatCache)
        if (cached.state == state)
            return cached.format;
    // Damaged files can switch among many states; the cache stays small.
    if (m_formatCache.size() >= 64)
        m_formatCache.clear();
    QTextCharFormat format = makeCharFormat(state);
    // A format computes its hash once and its copies share it, but the document hashes a
    // fresh copy at every insertion unless the original already has one. Comparing it with
    // a different format computes the hash here, once for the whole read.
    static const QTextCharFormat different = [] {
        QTextCharFormat other;
        other.setProperty(QTextFormat::UserProperty, true);
        return other;
    }();
    [[maybe_unused]] const bool same = format == different;
    m_formatCache.push_back({state, std::move(format)});
    return m_formatCache.back().format;
}

QTextCharFormat Parser::makeCharFormat(const CharState &state) const
{
    QTextCharFormat format;
    const auto font = m_fonts.constFind(state.font >= 0 ? state.font : m_defaultFont);
    if (font != m_fonts.constEnd() && !font->name.isEmpty()) {
        format.setFontFamilies(QStringList {font->name});
        if (font->styleHint != QFont::AnyStyle)
            format.setFontStyleHint(font->styleHint);
    }
    format.setFontPointSize(state.halfPoints / 2.0);
    if (state.bold)
        format.setFontWeight(QFont::Bold);
    if (state.italic)
        format.setFontItalic(true);
    switch (state.underline) {
    case Underline::None:
        break;
    case Underline::Single:
        format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
        break;
    case Underline::Dotted:
        format.setUnderlineStyle(QTextCharFormat::DotLine);
        break;
    case Underline::Dashed:
        format.setUnderlineStyle(QTextCharFormat::DashUnderline);
        break;
    case Underline::Wave:
        format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
        break;
    }
    if (state.underline != Underline::None) {
        const QColor underline = color(state.underlineColor);
        if (underline.isValid())
            format.setUnderlineColor(underline);
    }
    if (state.strike)
        format.setFontStrikeOut(true);
    const QColor foreground = color(state.foreground);
    if (foreground.isValid())
        format.setForeground(foreground);
    const QColor background = color(state.background);
    if (background.isValid())
        format.setBackground(background);
    if (state.script == Script::Super)
        format.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    else if (state.script == Script::Sub)
        format.setVerticalAlignment(QTextCharFormat::AlignSubScript);
    if (state.link >= 0 && state.link < m_links.size()) {
        format.setAnchor(true);
        format.setAnchorHref(m_links.at(state.link));
    }
    return format;
}

QTextBlockFormat Parser::blockFormat(const ParaState &state) const
{
    QTextBlockFormat format;
    switch (state.alignment) {
    case 0:
        format.setAlignment(Qt::AlignLeft);
        break;
    case 1:
        format.setAlignment(Qt::AlignHCenter);
        break;
    case 2:
        format.setAlignment(Qt::AlignRight);
        break;
    case 3:
        format.setAlignment(Qt::AlignJustify);
        break;
    default:
        break;
    }
    if (state.leftIndent)
        format.setLeftMargin(state.leftIndent / 20.0);
    if (state.rightIndent)
        format.setRightMargin(state.rightIndent / 20.0);
    if (state.firstIndent)
        format.setTextIndent(state.firstIndent / 20.0);
    if (state.spaceBefore)
        format.setTopMargin(state.spaceBefore / 20.0);
    if (state.spaceAfter)
        format.setBottomMargin(state.spaceAfter / 20.0);
    if (state.lineSpacing > 0 && state.lineMultiple)
        format.setLineHeight(state.lineSpacing * 100.0 / 240.0, QTextBlockFormat::ProportionalHeight);
    else if (state.lineSpacing > 0)
        format.setLineHeight(state.lineSpacing / 20.0, QTextBlockFormat::MinimumHeight);
    else if (state.lineSpacing < 0)
        format.setLineHeight(-state.lineSpacing / 20.0, QTextBlockFormat::FixedHeight);
    if (!state.tabs.isEmpty())
        format.setTabPositions(state.tabs);
    if (state.rightToLeft)
        format.setLayoutDirection(Qt::RightToLeft);
    return format;
}

} // namespace

void RTFReader::setAttachmentLoader(AttachmentLoader loader)
{
    m_attachmentLoader = std::move(loader);
}

bool RTFReader::looksLikeRTF(const QByteArray &data)
{
    qsizetype i = 0;
    if (data.startsWith("\xEF\xBB\xBF"))
        i = 3;
    const auto skipBlanks = [&data](qsizetype at) {
        while (at < data.size() && (data[at] == ' ' || data[at] == '\t' || data[at] == '\r' || data[at] == '\n'))
            ++at;
        return at;
    };
    i = skipBlanks(i);
    if (i >= data.size() || data[i] != '{')
        return false;
    // Hand-indented files put a line break and blanks between the brace and the keyword.
    return QByteArrayView(data).sliced(skipBlanks(i + 1)).startsWith("\\rtf");
}

bool RTFReader::read(const QByteArray &rtf, QTextDocument *document)
{
    m_documentAttributes.clear();
    clearError();
    if (!document || !looksLikeRTF(rtf))
        return fail(RichText::FileReadCorruptFileError, QStringLiteral("The data is not RTF."));
    const bool undo = document->isUndoRedoEnabled();
    document->setUndoRedoEnabled(false);
    document->clear();
    const qsizetype start = rtf.indexOf('{');
    const QByteArray body = start > 0 ? rtf.mid(start) : rtf;
    Parser parser(body, document, m_attachmentLoader);
    parser.run();
    document->setUndoRedoEnabled(undo);
    m_documentAttributes = parser.documentAttributes();
    return true;
}

bool RTFReader::read(QIODevice *device, QTextDocument *document)
{
    clearError();
    if (!device || (!device->isOpen() && !device->open(QIODevice::ReadOnly)))
        return fail(RichText::FileReadUnknownError,
                    device ? device->errorString() : QStringLiteral("No device to read from."));
    return read(device->readAll(), document);
}
