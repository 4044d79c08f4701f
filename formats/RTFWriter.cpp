// The RTF writer. A first pass over the fragments collects fonts and colours for the tables;
// the second writes paragraphs, emitting only the formatting that changes from one run to the
// next, as macOS does.
#include "formats/RTFWriter.h"

#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"

#include <QBuffer>
#include <QColor>
#include <QHash>
#include <QIODevice>
#include <QImage>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <array>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

namespace {

const QString defaultFontFamily = QStringLiteral("Helvetica");
constexpr int defaultHalfPoints = 24;

struct RunState
{
    int font = 0;
    int halfPoints = defaultHalfPoints;
    bool bold = false;
    bool italic = false;
    bool strike = false;
    QByteArray underline; // the control word, empty for none
    int underlineColor = 0;
    int foreground = 0;
    int background = 0;
    int script = 0; // 1 super, 2 sub
};

struct ParagraphState
{
    QByteArray controls;
    bool operator==(const ParagraphState &other) const { return controls == other.controls; }
};

char asciiFallback(QChar c)
{
    switch (c.unicode()) {
    case 0x00A0:
    case 0x2002:
    case 0x2003:
    case 0x2005:
        return ' ';
    case 0x2018:
    case 0x2019:
    case 0x201A:
        return '\'';
    case 0x201C:
    case 0x201D:
    case 0x201E:
        return '"';
    case 0x2010:
    case 0x2011:
    case 0x2013:
    case 0x2014:
        return '-';
    case 0x2022:
        return '*';
    case 0x2026:
        return '.';
    default:
        break;
    }
    const QString decomposed = QString(c).normalized(QString::NormalizationForm_KD);
    if (!decomposed.isEmpty()) {
        const char16_t base = decomposed.at(0).unicode();
        if (base >= 0x20 && base < 0x7F && base != '\\' && base != '{' && base != '}')
            return char(base);
    }
    return '?';
}

// Characters written as they are: printable ASCII but RTF's own special characters.
constexpr std::array<bool, 0x80> plainCharacters = [] {
    std::array<bool, 0x80> table {};
    for (int c = 0x20; c < 0x80; ++c)
        table[size_t(c)] = c != '\\' && c != '{' && c != '}';
    return table;
}();

bool isPlainCharacter(char16_t u)
{
    return u < 0x80 && plainCharacters[u];
}

// Appends a number without the temporary QByteArray::number() would make.
void appendNumber(QByteArray &out, int value)
{
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end - digits);
}

QByteArray &appendControlWord(QByteArray &out, const char *word, int parameter)
{
    appendNumber(out.append(word), parameter);
    return out;
}

// The ASCII stand-in of a character, remembered for Latin-1 (where most of a note's
// non-ASCII characters are) because finding it takes a Unicode decomposition.
char cachedAsciiFallback(QChar c)
{
    static const auto latin1 = [] {
        std::array<char, 0x100> table {};
        for (char16_t u = 0x80; u < 0x100; ++u)
            table[u] = asciiFallback(QChar(u));
        return table;
    }();
    return c.unicode() < 0x100 ? latin1[c.unicode()] : asciiFallback(c);
}

void appendSpecialCharacter(QByteArray &out, QChar c)
{
    const char16_t u = c.unicode();
    if (u == '\\' || u == '{' || u == '}') {
        out.append('\\').append(char(u));
    } else if (u == '\t') {
        out.append("\\tab ");
    } else if (u == 0x2028) {
        out.append("\\line ");
    } else if (u == QChar::ObjectReplacementCharacter || u == 0x2029 || u < 0x20) {
        // attachments are written by the caller; stray ones and control characters are dropped
    } else {
        out.append("\\u");
        appendNumber(out, u > 0x7FFF ? int(u) - 0x10000 : int(u));
        out.append(' ').append(cachedAsciiFallback(c));
    }
}

// Appends text with RTF's special characters escaped and everything outside ASCII as \uN
// followed by an ASCII stand-in for readers without Unicode.
void appendEscaped(QByteArray &out, QStringView text)
{
    // Most text is plain ASCII and is copied straight into room made for the whole text;
    // only the characters that need escaping go through QByteArray::append().
    qsizetype written = out.size();
    out.resize(written + text.size());
    char *to = out.data() + written;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (isPlainCharacter(c.unicode())) {
            *to++ = char(c.unicode());
            continue;
        }
        written = to - out.constData();
        out.truncate(written);
        appendSpecialCharacter(out, c);
        written = out.size();
        out.resize(written + text.size() - i - 1);
        to = out.data() + written;
    }
    out.truncate(to - out.constData());
}

QByteArray twips(qreal points)
{
    return QByteArray::number(qRound(points * 20.0));
}

QString fontFamily(const QTextCharFormat &format)
{
    const QStringList families = format.property(QTextFormat::FontFamilies).toStringList();
    if (!families.isEmpty() && !families.first().isEmpty())
        return families.first();
    const QString family = format.property(QTextFormat::FontFamily).toString();
    return family.isEmpty() ? defaultFontFamily : family;
}

QByteArray fontClass(const QTextCharFormat &format)
{
    if (!format.hasProperty(QTextFormat::FontStyleHint))
        return fontFamily(format) == defaultFontFamily ? QByteArrayLiteral("\\fswiss") : QByteArrayLiteral("\\fnil");
    switch (format.fontStyleHint()) {
    case QFont::Serif:
        return QByteArrayLiteral("\\froman");
    case QFont::SansSerif:
        return QByteArrayLiteral("\\fswiss");
    case QFont::TypeWriter:
        return QByteArrayLiteral("\\fmodern");
    case QFont::Cursive:
        return QByteArrayLiteral("\\fscript");
    case QFont::Decorative:
        return QByteArrayLiteral("\\fdecor");
    default:
        return QByteArrayLiteral("\\fnil");
    }
}

QColor brushColor(const QTextFormat &format, int property)
{
    if (!format.hasProperty(property))
        return {};
    const QBrush brush = format.brushProperty(property);
    return brush.style() == Qt::NoBrush ? QColor() : brush.color();
}

QByteArray underlineWord(const QTextCharFormat &format)
{
    switch (format.underlineStyle()) {
    case QTextCharFormat::SingleUnderline:
        return QByteArrayLiteral("\\ul");
    case QTextCharFormat::DashUnderline:
        return QByteArrayLiteral("\\uldash");
    case QTextCharFormat::DotLine:
    case QTextCharFormat::DashDotLine:
    case QTextCharFormat::DashDotDotLine:
        return QByteArrayLiteral("\\uld");
    case QTextCharFormat::WaveUnderline:
        return QByteArrayLiteral("\\ulwave");
    default:
        return format.fontUnderline() ? QByteArrayLiteral("\\ul") : QByteArray();
    }
}

class Tables
{
public:
    int font(const QTextCharFormat &format)
    {
        const QString family = fontFamily(format);
        const auto found = m_fontIndex.constFind(family);
        if (found != m_fontIndex.constEnd())
            return found.value();
        const int index = int(m_fonts.size());
        m_fontIndex.insert(family, index);
        m_fonts.append({family, fontClass(format)});
        return index;
    }

    int color(const QColor &color)
    {
        if (!color.isValid())
            return 0;
        const QRgb key = color.rgba();
        if (key == qRgba(255, 255, 255, 255))
            return 1;
        const auto found = m_colorIndex.constFind(key);
        if (found != m_colorIndex.constEnd())
            return found.value();
        const int index = int(m_colors.size()) + 2;
        m_colorIndex.insert(key, index);
        m_colors.append(color);
        return index;
    }

    void write(QByteArray &out) const
    {
        out.append("{\\fonttbl");
        for (int i = 0; i < m_fonts.size(); ++i) {
            out.append("\\f").append(QByteArray::number(i)).append(m_fonts.at(i).second).append("\\fcharset0 ");
            // A semicolon would end the entry early.
            appendEscaped(out, QString(m_fonts.at(i).first).replace(QLatin1Char(';'), QLatin1Char(' ')));
            out.append(';');
        }
        out.append("}\n{\\colortbl;\\red255\\green255\\blue255;");
        for (const QColor &c : m_colors)
            out.append("\\red")
                .append(QByteArray::number(c.red()))
                .append("\\green")
                .append(QByteArray::number(c.green()))
                .append("\\blue")
                .append(QByteArray::number(c.blue()))
                .append(';');
        out.append("}\n{\\*\\expandedcolortbl;;");
        const auto component = [](int value) { return QByteArray::number(qRound(value * 100000.0 / 255.0)); };
        for (const QColor &c : m_colors) {
            out.append("\\cssrgb\\c")
                .append(component(c.red()))
                .append("\\c")
                .append(component(c.green()))
                .append("\\c")
                .append(component(c.blue()));
            if (c.alpha() != 255)
                out.append("\\c").append(component(c.alpha()));
            out.append(';');
        }
        out.append("}\n");
    }

private:
    QHash<QString, int> m_fontIndex;
    QList<QPair<QString, QByteArray>> m_fonts;
    QHash<QRgb, int> m_colorIndex;
    QList<QColor> m_colors;
};

QByteArray paragraphControls(const QTextBlockFormat &format)
{
    QByteArray out("\\pard");
    for (const QTextOption::Tab &tab : format.tabPositions()) {
        if (tab.type == QTextOption::RightTab)
            out.append("\\tqr");
        else if (tab.type == QTextOption::CenterTab)
            out.append("\\tqc");
        else if (tab.type == QTextOption::DelimiterTab)
            out.append("\\tqdec");
        out.append("\\tx").append(twips(tab.position));
    }
    if (format.leftMargin() != 0)
        out.append("\\li").append(twips(format.leftMargin()));
    if (format.textIndent() != 0)
        out.append("\\fi").append(twips(format.textIndent()));
    if (format.rightMargin() != 0)
        out.append("\\ri").append(twips(format.rightMargin()));
    if (format.topMargin() != 0)
        out.append("\\sb").append(twips(format.topMargin()));
    if (format.bottomMargin() != 0)
        out.append("\\sa").append(twips(format.bottomMargin()));
    if (format.hasProperty(QTextFormat::LineHeightType)) {
        const qreal height = format.lineHeight();
        switch (format.lineHeightType()) {
        case QTextBlockFormat::ProportionalHeight:
            out.append("\\sl").append(QByteArray::number(qRound(height * 240.0 / 100.0))).append("\\slmult1");
            break;
        case QTextBlockFormat::MinimumHeight:
            out.append("\\sl").append(twips(height)).append("\\slmult0");
            break;
        case QTextBlockFormat::FixedHeight:
            out.append("\\sl-").append(twips(height)).append("\\slmult0");
            break;
        default:
            break;
        }
    }
    if (format.layoutDirection() == Qt::RightToLeft)
        out.append("\\rtlpar");
    else
        out.append("\\pardirnatural");
    if (format.hasProperty(QTextFormat::BlockAlignment)) {
        const Qt::Alignment alignment = format.alignment() & Qt::AlignHorizontal_Mask;
        if (alignment & Qt::AlignHCenter)
            out.append("\\qc");
        else if (alignment & Qt::AlignRight)
            out.append("\\qr");
        else if (alignment & Qt::AlignJustify)
            out.append("\\qj");
        else
            out.append("\\ql");
    }
    out.append("\\partightenfactor0");
    return out;
}

class Writer
{
public:
    Writer(const QTextDocument *document, RTFWriter::AttachmentMode mode, const QSet<QString> &reserved)
        : m_document(document)
        , m_mode(mode)
        , m_taken(reserved)
    { }

    QByteArray write(const QVariantMap &attributes);
    QList<RTFWriter::Attachment> attachments() const { return m_attachments; }

private:
    QByteArray writeText();
    // What the writer needs of one character format of the document.
    struct FormatInfo
    {
        RunState state;
        QString href; // the link target, empty when none
        bool image = false;
    };

    const FormatInfo &formatInfo(int formatIndex);
    const QByteArray &paragraphControlsAt(int formatIndex);
    RunState stateFor(const QTextCharFormat &format);
    void emitState(const RunState &state, bool force);
    void writeAttachment(const QTextImageFormat &format);
    void openLink(const QString &href);
    void closeLink();

    const QTextDocument *m_document;
    RTFWriter::AttachmentMode m_mode;
    QSet<QString> m_taken;
    QList<RTFWriter::Attachment> m_attachments;
    Tables m_tables;
    // A document has few distinct formats however many fragments use them, and reading a
    // format's properties costs far more than finding it again: the writer looks each one up
    // once, by its index in the document's format collection.
    QList<QTextFormat> m_formats;
    std::vector<std::optional<FormatInfo>> m_formatInfo;
    std::vector<std::optional<QByteArray>> m_paragraphControls;
    QByteArray m_out;
    RunState m_emitted;
    RunState m_beforeLink;
    QString m_link;
};

const Writer::FormatInfo &Writer::formatInfo(int formatIndex)
{
    if (formatIndex < 0 || formatIndex >= m_formats.size())
        formatIndex = int(m_formats.size()); // an unknown format reads as the default one
    std::optional<FormatInfo> &info = m_formatInfo[size_t(formatIndex)];
    if (!info) {
        const QTextCharFormat format
            = formatIndex < m_formats.size() ? m_formats.at(formatIndex).toCharFormat() : QTextCharFormat();
        info = FormatInfo {stateFor(format), format.isAnchor() ? format.anchorHref() : QString(),
                           format.isImageFormat()};
    }
    return *info;
}

const QByteArray &Writer::paragraphControlsAt(int formatIndex)
{
    if (formatIndex < 0 || formatIndex >= m_formats.size())
        formatIndex = int(m_formats.size());
    std::optional<QByteArray> &controls = m_paragraphControls[size_t(formatIndex)];
    if (!controls)
        controls = paragraphControls(formatIndex < m_formats.size() ? m_formats.at(formatIndex).toBlockFormat()
                                                                    : QTextBlockFormat());
    return *controls;
}

RunState Writer::stateFor(const QTextCharFormat &format)
{
    RunState state;
    state.font = m_tables.font(format);
    const qreal points = format.fontPointSize();
    state.halfPoints = points > 0 ? qBound(1, qRound(points * 2), 3276) : defaultHalfPoints;
    state.bold = format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() > QFont::Medium;
    state.italic = format.fontItalic();
    state.strike = format.fontStrikeOut();
    state.underline = underlineWord(format);
    if (!state.underline.isEmpty() && format.hasProperty(QTextFormat::TextUnderlineColor))
        state.underlineColor = m_tables.color(format.underlineColor());
    state.foreground = m_tables.color(brushColor(format, QTextFormat::ForegroundBrush));
    state.background = m_tables.color(brushColor(format, QTextFormat::BackgroundBrush));
    if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        state.script = 1;
    else if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        state.script = 2;
    return state;
}

void Writer::emitState(const RunState &state, bool force)
{
    // Written straight into the output: a temporary for every run costs more than the words.
    QByteArray &words = m_out;
    const qsizetype start = words.size();
    const RunState &old = m_emitted;
    if (force || state.font != old.font)
        appendControlWord(words, "\\f", state.font);
    if (force ? state.bold : state.bold != old.bold)
        words.append(state.bold ? "\\b" : "\\b0");
    if (force ? state.italic : state.italic != old.italic)
        words.append(state.italic ? "\\i" : "\\i0");
    if (force || state.halfPoints != old.halfPoints)
        appendControlWord(words, "\\fs", state.halfPoints);
    if (words.size() != start)
        words.append(' ');
    if (force || state.foreground != old.foreground)
        appendControlWord(words, "\\cf", state.foreground).append(' ');
    if (force ? state.background != 0 : state.background != old.background)
        appendControlWord(words, "\\cb", state.background).append(' ');
    if (force ? !state.underline.isEmpty() : state.underline != old.underline)
        words.append(state.underline.isEmpty() ? QByteArrayLiteral("\\ulnone") : state.underline).append(' ');
    if (!state.underline.isEmpty()
        && (force || state.underlineColor != old.underlineColor || state.underline != old.underline))
        appendControlWord(words, "\\ulc", state.underlineColor).append(' ');
    if (force ? state.strike : state.strike != old.strike)
        words.append(state.strike ? "\\strike\\strikec0 " : "\\strike0\\striked0 ");
    if (force ? state.script != 0 : state.script != old.script)
        words.append(state.script == 1 ? "\\super " : state.script == 2 ? "\\sub " : "\\nosupersub ");
    m_emitted = state;
}

void Writer::openLink(const QString &href)
{
    m_beforeLink = m_emitted;
    m_link = href;
    QString target = href;
    target.replace(QLatin1Char('"'), QLatin1String("%22"));
    m_out.append("{\\field{\\*\\fldinst{HYPERLINK \"");
    appendEscaped(m_out, target);
    m_out.append("\"}}{\\fldrslt ");
}

void Writer::closeLink()
{
    if (m_link.isEmpty())
        return;
    m_out.append("}}");
    m_link.clear();
    // The group end restored the formatting in effect before the link.
    m_emitted = m_beforeLink;
}

void Writer::writeAttachment(const QTextImageFormat &format)
{
    const QByteArray contents = RichTextAttachment::contents(m_document, format);
    const QSizeF size = RichTextAttachment::displaySize(m_document, format);
    if (m_mode == RTFWriter::AttachmentMode::PackageReferences) {
        const QString name = RichTextAttachment::uniqueFileName(RichTextAttachment::fileName(format), m_taken);
        m_taken.insert(name);
        m_attachments.append({name, contents});
        m_out.append("{{\\NeXTGraphic ");
        appendEscaped(m_out, name);
        m_out.append(" \\width").append(twips(size.width())).append(" \\height").append(twips(size.height()));
        m_out.append(" \\appleattachmentpadding0 \\appleembedtype0 \\appleaqc\n}\xAC}");
        return;
    }
    QByteArray picture = contents;
    QByteArray blip;
    if (picture.startsWith("\x89PNG")) {
        blip = "\\pngblip";
    } else if (picture.startsWith("\xFF\xD8")) {
        blip = "\\jpegblip";
    } else {
        QImage image;
        if (!image.loadFromData(picture))
            return; // not an image: plain RTF has no place for the file
        picture.clear();
        QBuffer buffer(&picture);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        blip = "\\pngblip";
    }
    m_out.append("{\\pict").append(blip);
    m_out.append("\\picwgoal").append(twips(size.width())).append("\\pichgoal").append(twips(size.height()));
    const QByteArray hex = picture.toHex();
    for (qsizetype i = 0; i < hex.size(); i += 128)
        m_out.append('\n').append(hex.constData() + i, qMin<qsizetype>(128, hex.size() - i));
    m_out.append("\n}");
}

QByteArray Writer::write(const QVariantMap &attributes)
{
    m_formats = m_document->allFormats();
    // Sized once, with a place for the default format, so references into them stay valid.
    m_formatInfo.resize(size_t(m_formats.size()) + 1);
    m_paragraphControls.resize(size_t(m_formats.size()) + 1);
    // The text is written first, collecting the fonts and colours it uses on the way; the
    // header with their tables goes in front of it afterwards.
    const QByteArray body = writeText();
    const QColor documentBackground = attributes.value(RichText::BackgroundColorAttribute).value<QColor>();

    m_out.reserve(body.size() + 2048);
    m_out.append("{\\rtf1\\ansi\\ansicpg1252\\cocoartf2761\n\\cocoatextscaling0\\cocoaplatform0");
    m_tables.write(m_out);
    if (documentBackground.isValid()) {
        const QRgb rgb = documentBackground.rgb();
        const int bgr = qRed(rgb) | (qGreen(rgb) << 8) | (qBlue(rgb) << 16);
        m_out
            .append("{\\*\\background {\\shp{\\*\\shpinst\\shpleft0\\shptop0\\shpright0\\shpbottom0\\shpfhdr0"
                    "\\shpbxmargin\\shpbymargin\\shpwr0\\shpwrk0\\shpfblwtxt1\\shplid1025"
                    "{\\sp{\\sn shapeType}{\\sv 1}}{\\sp{\\sn fFlipH}{\\sv 0}}{\\sp{\\sn fFlipV}{\\sv 0}}"
                    "{\\sp{\\sn fillColor}{\\sv ")
            .append(QByteArray::number(bgr))
            .append("}}{\\sp{\\sn fFilled}{\\sv 1}}{\\sp{\\sn lineWidth}{\\sv 0}}{\\sp{\\sn fLine}{\\sv 0}}"
                    "{\\sp{\\sn bWMode}{\\sv 9}}{\\sp{\\sn fBackground}{\\sv 1}}}}}\n");
    }
    static const QPair<QString, const char *> infoFields[] = {
        {RichText::TitleAttribute, "title"},     {RichText::AuthorAttribute, "author"},
        {RichText::SubjectAttribute, "subject"}, {RichText::KeywordsAttribute, "keywords"},
        {RichText::CommentAttribute, "doccomm"},
    };
    QByteArray info;
    for (const auto &field : infoFields) {
        const QString value = attributes.value(field.first).toString();
        if (value.isEmpty())
            continue;
        info.append("\n{\\").append(field.second).append(' ');
        appendEscaped(info, value);
        info.append('}');
    }
    if (!info.isEmpty())
        m_out.append("{\\info").append(info).append("}");
    m_out.append("\\paperw11900\\paperh16840\\margl1440\\margr1440\\vieww11520\\viewh8400\\viewkind0\n");

    m_out.append(body);
    m_out.append("}");
    return m_out;
}

QByteArray Writer::writeText()
{
    // The text of the whole document at once; a fragment's text is the stretch at its position.
    const QString text = m_document->toRawText();
    m_out.reserve(text.size() + 1024);
    QByteArray lastParagraph;
    bool first = true;
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        // Fonts and colours are numbered in the order they first appear, a paragraph's own
        // format before its text's.
        formatInfo(block.charFormatIndex());
        if (!first)
            m_out.append("\\\n");
        const QByteArray &paragraph = paragraphControlsAt(block.blockFormatIndex());
        if (first || paragraph != lastParagraph) {
            m_out.append(paragraph).append("\n\n");
            lastParagraph = paragraph;
        }
        if (first) {
            emitState(
                formatInfo(block.begin().atEnd() ? block.charFormatIndex() : block.begin().fragment().charFormatIndex())
                    .state,
                true);
            first = false;
        }
        // Fragments follow each other: counting their lengths is cheaper than asking each
        // for its position.
        int position = block.position();
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            const int length = fragment.length();
            const int fragmentPosition = position;
            position += length;
            const int formatIndex = fragment.charFormatIndex();
            const FormatInfo &info = formatInfo(formatIndex);
            if (info.href != m_link) {
                closeLink();
                if (!info.href.isEmpty())
                    openLink(info.href);
            }
            if (info.image) {
                const QTextImageFormat image = m_formats.value(formatIndex).toImageFormat();
                for (int i = 0; i < length; ++i)
                    writeAttachment(image);
                continue;
            }
            emitState(info.state, false);
            appendEscaped(m_out, QStringView(text).mid(fragmentPosition, length));
        }
        closeLink();
        if (block.length() <= 1)
            emitState(formatInfo(block.charFormatIndex()).state, false); // an empty line keeps its height
    }
    return std::exchange(m_out, QByteArray());
}

} // namespace

bool RTFWriter::write(const QTextDocument *document, QByteArray *rtf, const QVariantMap &documentAttributes)
{
    m_attachments.clear();
    clearError();
    if (!document || !rtf)
        return fail(RichText::FileWriteUnknownError, QStringLiteral("There is no document to write."));
    Writer writer(document, m_mode, m_reservedNames);
    *rtf = writer.write(documentAttributes);
    m_attachments = writer.attachments();
    return true;
}

bool RTFWriter::write(const QTextDocument *document, QIODevice *device, const QVariantMap &documentAttributes)
{
    QByteArray rtf;
    if (!write(document, &rtf, documentAttributes))
        return false;
    if (!device || (!device->isOpen() && !device->open(QIODevice::WriteOnly)) || device->write(rtf) != rtf.size())
        return fail(RichText::FileWriteUnknownError,
                    device ? device->errorString() : QStringLiteral("No device to write to."));
    return true;
}
