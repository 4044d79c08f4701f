// RTFReader's public face: checks that the bytes are RTF and runs the parser (RTFParser.h) over them.
#include "formats/RTFReader.h"

#include "formats/RTFParser.h"
#include "formats/RichTextAttributes.h"

#include <QIODevice>
#include <QTextDocument>

using RTFParsing::Parser;

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
