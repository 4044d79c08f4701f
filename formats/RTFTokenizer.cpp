// The parser's reading of bytes: groups opened and closed on the stack, control words and
// symbols cut out of the input, and the bytes of text handed on to the destination they belong to.
#include "formats/RTFParser.h"
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

} // namespace

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
        while (m_pos < m_size && m_data[m_pos] != '{' && m_data[m_pos] != '}' && m_data[m_pos] != '\\')
            appendPictureDigit(m_data[m_pos++]);
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
    case Destination::Picture:
        appendPictureDigit(byte);
        return;
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

void Parser::appendPictureDigit(char byte)
{
    // Picture data is hexadecimal, two digits a byte; anything else between them (line breaks,
    // blanks) is passed over.
    const int value = hexValue(byte);
    if (value < 0)
        return;
    if (m_pictureNibble < 0) {
        m_pictureNibble = value;
    } else {
        m_picture.append(char(m_pictureNibble * 16 + value));
        m_pictureNibble = -1;
    }
}

} // namespace RTFParsing
