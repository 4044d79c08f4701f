// Attachments inside a QTextDocument: an object-replacement character whose QTextImageFormat
// carries the attached file's name and original bytes, so that a package written from the
// document holds the very file that was read.
#pragma once

#include <QByteArray>
#include <QSet>
#include <QSizeF>
#include <QString>
#include <QTextFormat>

class QTextDocument;

namespace RichTextAttachment {

// The format of an attachment. Images are registered with the document as resources so that
// the text can show them; `size` is the shown size in points, or empty for the file's own.
QTextImageFormat makeFormat(QTextDocument *document, const QString &fileName, const QByteArray &contents,
                            const QSizeF &size = QSizeF());

bool isAttachment(const QTextFormat &format);

// The stored file name and bytes. An image inserted by other means (HTML, code) has neither:
// it gets a name from its resource name and its pixels encoded as PNG.
QString fileName(const QTextImageFormat &format);
QByteArray contents(const QTextDocument *document, const QTextImageFormat &format);

// The shown size in points: the format's width and height, else the image's own size, else
// the size of a file icon.
QSizeF displaySize(const QTextDocument *document, const QTextImageFormat &format);

// A file name made safe for a package member (no folders, no leading dot, not empty) and
// unique among `taken` by a number before the extension ("logo 2.png").
QString uniqueFileName(const QString &preferredName, const QSet<QString> &taken);

} // namespace RichTextAttachment
