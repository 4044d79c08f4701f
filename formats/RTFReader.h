// Reads RTF as macOS, Word and TextEdit write it into a QTextDocument: text, character and
// paragraph formatting, links, pictures and the attachments of an RTFD package.
#pragma once

#include "formats/RichTextError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <functional>

class QIODevice;
class QTextDocument;

class RTFReader : public RichTextError
{
public:
    // Hands over the bytes of an attachment named by the text (\NeXTGraphic), or answers false
    // when there is no such file. Without a loader attachments are left out.
    using AttachmentLoader = std::function<bool(const QString &fileName, QByteArray *contents)>;

    void setAttachmentLoader(AttachmentLoader loader);

    // Replaces the document's content with the RTF. Damaged input (unbalanced braces, cut-off
    // files, absurd numbers) gives whatever text can be read; only data that is not RTF at all
    // fails, with the reason in errorString().
    [[nodiscard]] bool read(const QByteArray &rtf, QTextDocument *document);
    // The same from a device, opened for reading when it is not open yet.
    [[nodiscard]] bool read(QIODevice *device, QTextDocument *document);

    // The document attributes found by the last read: type, background colour, information
    // fields (see RichTextAttributes.h).
    QVariantMap documentAttributes() const { return m_documentAttributes; }

    // True when data begins like RTF (leading white space allowed).
    static bool looksLikeRTF(const QByteArray &data);

private:
    AttachmentLoader m_attachmentLoader;
    QVariantMap m_documentAttributes;
};
