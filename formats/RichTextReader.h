// Reads any file the rich-text conversion accepts into a QTextDocument: RTF, RTFD packages,
// plain text in any common encoding, HTML and Markdown. The format is decided by the content
// first and the file name's extension second, so a missing or wrong extension does no harm;
// only a ".txt" name is taken at its word, so that a plain note beginning "{\rtf" stays text.
#pragma once

#include "formats/RichTextError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>

class QIODevice;
class QTextDocument;

class RichTextReader : public RichTextError
{
public:
    enum class Format { Unknown, RTF, RTFD, PlainText, HTML, Markdown };

    // The format of the bytes; `fileName` (may be empty) only settles what content leaves open,
    // Markdown against plain text. Reading goes further for a ".txt" name (see readFile).
    static Format detectFormat(const QByteArray &data, const QString &fileName = QString());

    // Reads a file or an RTFD package folder. Fails for missing files, folders that are not
    // packages, and binary data that is no text, with the reason in errorString(). A ".txt"
    // name (any case) is read as plain text whatever its first bytes, here and in the overloads.
    [[nodiscard]] bool read(const QString &path, QTextDocument *document);
    // The same from a device, opened for reading when it is not open yet; `fileName` (may be
    // empty) stands for the name of the file the bytes come from.
    [[nodiscard]] bool read(QIODevice *device, QTextDocument *document, const QString &fileName = QString());
    [[nodiscard]] bool readData(const QByteArray &data, QTextDocument *document, const QString &fileName = QString());

    // The document attributes found by the last read (see RichTextAttributes.h).
    QVariantMap documentAttributes() const { return m_documentAttributes; }

    // Plain text bytes decoded: a byte-order mark decides, then valid UTF-8, then UTF-16
    // recognised by its zero bytes, else a legacy eight-bit encoding.
    static QString decodePlainText(const QByteArray &data);

private:
    QVariantMap m_documentAttributes;
};
