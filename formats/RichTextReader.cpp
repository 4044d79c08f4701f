// The rich-text reader: sniffing the format, decoding plain text, and handing each format to
// its reader (ours for RTF and RTFD, Qt's for HTML and Markdown).
#include "formats/RichTextReader.h"

#include "formats/RTFCodePages.h"
#include "formats/RTFDPackage.h"
#include "formats/RTFReader.h"
#include "formats/RichTextAttributes.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QTextDocument>

namespace {

constexpr qsizetype sniffLength = 4096;

bool hasUtf16Bom(const QByteArray &data)
{
    return data.startsWith("\xFF\xFE") || data.startsWith("\xFE\xFF");
}

// UTF-16 without a byte-order mark shows as zero bytes in every other position.
int utf16ZeroParity(const QByteArray &data)
{
    const qsizetype length = qMin(data.size(), sniffLength) & ~qsizetype(1);
    if (length < 2)
        return -1;
    qsizetype even = 0, odd = 0;
    for (qsizetype i = 0; i < length; i += 2) {
        even += data[i] == 0;
        odd += data[i + 1] == 0;
    }
    const qsizetype pairs = length / 2;
    if (odd * 10 >= pairs * 4 && even == 0)
        return 1; // little-endian: high bytes are zero
    if (even * 10 >= pairs * 4 && odd == 0)
        return 0; // big-endian
    return -1;
}

// UTF-16 and UTF-32 hold zero bytes as a matter of course.
bool isWideUnicode(const QByteArray &data)
{
    return hasUtf16Bom(data) || data.startsWith(QByteArrayLiteral("\x00\x00\xFE\xFF")) || utf16ZeroParity(data) >= 0;
}

bool looksBinary(const QByteArray &data)
{
    if (isWideUnicode(data))
        return false;
    const QByteArrayView head = QByteArrayView(data).first(qMin(data.size(), sniffLength));
    return head.contains('\0') || data.startsWith("%PDF-") || data.startsWith("\x89PNG")
        || data.startsWith("\xFF\xD8\xFF") || data.startsWith("PK\x03\x04") || data.startsWith("bplist");
}

QString headText(const QByteArray &data)
{
    return RichTextReader::decodePlainText(data.left(sniffLength));
}

bool looksLikeHTML(const QByteArray &data)
{
    static const QRegularExpression pattern(
        QStringLiteral(
            "^\\s*(<\\?xml[^>]*>\\s*)?(<!--.*?-->\\s*)*(<!DOCTYPE\\s+html|<html[\\s>]|<head[\\s>]|<body[\\s>])"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    QString head = headText(data);
    if (head.startsWith(QChar(0xFEFF)))
        head.remove(0, 1);
    return pattern.match(head).hasMatch();
}

bool hasMarkdownExtension(const QString &fileName)
{
    static const QStringList extensions = {QStringLiteral("md"), QStringLiteral("markdown"), QStringLiteral("mdown"),
                                           QStringLiteral("mkd"), QStringLiteral("mkdn")};
    return extensions.contains(QFileInfo(fileName).suffix().toLower());
}

bool hasPlainTextExtension(const QString &fileName)
{
    return QFileInfo(fileName).suffix().compare(QLatin1String("txt"), Qt::CaseInsensitive) == 0;
}

// Zero bytes anywhere, not only near the start, mean the bytes are no eight-bit text.
bool holdsZeroBytesOutsideUnicode(const QByteArray &data)
{
    return !isWideUnicode(data) && data.contains('\0');
}

// A name ending in ".txt" says the bytes are text, whatever they begin with ("{\rtf" in a
// plain note stays text); only data that is no text at all is refused. Other names, and no
// name, leave the format to the content.
RichTextReader::Format readingFormat(const QByteArray &data, const QString &fileName)
{
    if (!hasPlainTextExtension(fileName))
        return RichTextReader::detectFormat(data, fileName);
    if (looksBinary(data) || holdsZeroBytesOutsideUnicode(data))
        return RichTextReader::Format::Unknown;
    return RichTextReader::Format::PlainText;
}

QString decodeHTML(const QByteArray &data)
{
    // The declared charset (UTF-8 when none is declared); pages that do not decode in it are
    // treated like plain text of unknown encoding.
    QStringDecoder decoder = QStringDecoder::decoderForHtml(data);
    if (decoder.isValid()) {
        const QString text = decoder.decode(data);
        if (!decoder.hasError())
            return text;
    }
    return RichTextReader::decodePlainText(data);
}

QString notTextReason(const QString &fileName)
{
    return QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened because it isn\u2019t in the "
                          "correct format.")
        .arg(fileName);
}

} // namespace

RichTextReader::Format RichTextReader::detectFormat(const QByteArray &data, const QString &fileName)
{
    if (RTFReader::looksLikeRTF(data))
        return Format::RTF;
    if (looksBinary(data))
        return Format::Unknown;
    if (looksLikeHTML(data))
        return Format::HTML;
    if (hasMarkdownExtension(fileName))
        return Format::Markdown;
    return Format::PlainText;
}

QString RichTextReader::decodePlainText(const QByteArray &data)
{
    if (data.startsWith("\xEF\xBB\xBF"))
        return QString::fromUtf8(data.constData() + 3, data.size() - 3);
    if (data.startsWith(QByteArrayLiteral("\xFF\xFE\x00\x00"))
        || data.startsWith(QByteArrayLiteral("\x00\x00\xFE\xFF"))) {
        QStringDecoder decoder(QStringConverter::Utf32);
        return decoder.decode(data);
    }
    if (hasUtf16Bom(data)) {
        QStringDecoder decoder(QStringConverter::Utf16);
        return decoder.decode(data);
    }
    const int parity = utf16ZeroParity(data);
    if (parity >= 0) {
        QStringDecoder decoder(parity == 1 ? QStringConverter::Utf16LE : QStringConverter::Utf16BE);
        return decoder.decode(data);
    }
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = utf8.decode(data);
    if (!utf8.hasError())
        return text;
    return RTFCodePages::decodeLegacyText(data);
}

bool RichTextReader::readData(const QByteArray &data, QTextDocument *document, const QString &fileName)
{
    m_documentAttributes.clear();
    clearError();
    if (!document)
        return fail(RichText::FileReadUnknownError, QStringLiteral("There is no document to read into."));
    QVariantMap attributes;
    switch (readingFormat(data, fileName)) {
    case Format::RTF: {
        RTFReader reader;
        if (!reader.read(data, document))
            return fail(reader.error());
        attributes = reader.documentAttributes();
        break;
    }
    case Format::HTML:
        document->setHtml(decodeHTML(data));
        attributes.insert(RichText::DocumentTypeAttribute, RichText::HTMLDocumentType);
        if (!document->metaInformation(QTextDocument::DocumentTitle).isEmpty())
            attributes.insert(RichText::TitleAttribute, document->metaInformation(QTextDocument::DocumentTitle));
        break;
    case Format::Markdown:
        document->setMarkdown(decodePlainText(data));
        attributes.insert(RichText::DocumentTypeAttribute, RichText::MarkdownDocumentType);
        break;
    case Format::PlainText: {
        QString text = decodePlainText(data);
        if (text.startsWith(QChar(0xFEFF)))
            text.remove(0, 1);
        text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        document->setPlainText(text);
        attributes.insert(RichText::DocumentTypeAttribute, RichText::PlainTextDocumentType);
        break;
    }
    case Format::RTFD:
    case Format::Unknown:
        return fail(RichText::FileReadCorruptFileError, notTextReason(fileName));
    }
    m_documentAttributes = attributes;
    return true;
}

bool RichTextReader::read(QIODevice *device, QTextDocument *document, const QString &fileName)
{
    m_documentAttributes.clear();
    clearError();
    if (!device || (!device->isOpen() && !device->open(QIODevice::ReadOnly)))
        return fail(RichText::FileReadUnknownError,
                    device ? device->errorString() : QStringLiteral("No device to read from."));
    return readData(device->readAll(), document, fileName);
}

bool RichTextReader::read(const QString &path, QTextDocument *document)
{
    m_documentAttributes.clear();
    clearError();
    const QFileInfo info(path);
    if (!info.exists())
        return failNoSuchFile(info.fileName());
    if (info.isDir()) {
        RTFDPackage package;
        if (!package.readDocument(path, document, &m_documentAttributes))
            return fail(package.error());
        return true;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(RichText::FileReadUnknownError,
                    QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened: %2")
                        .arg(info.fileName(), file.errorString()));
    return read(&file, document, info.fileName());
}
