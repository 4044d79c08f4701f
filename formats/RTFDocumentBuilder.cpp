// The building of the document: decoded text collected in runs of equal formatting, paragraphs
// and their formats, attachments and footnotes put into the QTextDocument through one cursor.
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

// Some decoders stand in U+001A for bytes they cannot map; no control character but the tab
// is text.
QString withoutControlCharacters(QString text)
{
    text.removeIf([](QChar c) { return c.unicode() < 0x20 && c.unicode() != u'\t'; });
    return text;
}

} // namespace

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

} // namespace RTFParsing
