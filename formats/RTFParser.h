// The RTF parser behind RTFReader: one pass over the bytes with a stack of group states. Text
// collects into runs of equal formatting that go into the document through one cursor, so the
// work grows with the size of the input. Nesting deeper than the stack allows is read into the
// deepest state instead of growing the stack. Its work is spread over three files: reading
// bytes and groups (RTFTokenizer.cpp), acting on control words and destinations
// (RTFControlWords.cpp), and building the document (RTFDocumentBuilder.cpp).
#pragma once

#include "formats/RTFCodePages.h"
#include "formats/RTFListTable.h"
#include "formats/RTFParserState.h"
#include "formats/RTFReader.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QStringList>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QVariantMap>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

class QTextDocument;

namespace RTFParsing {

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
    // One hexadecimal digit of a picture's data.
    void appendPictureDigit(char byte);
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

} // namespace RTFParsing
