// The parser's control words: what each does to the state of its group, and what a destination
// leaves behind when its group closes (fonts, colours, pictures, fields, information).
#include "formats/RTFKeywords.h"
#include "formats/RTFParser.h"
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

namespace RTFParsing {

namespace {

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

} // namespace

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

} // namespace RTFParsing
