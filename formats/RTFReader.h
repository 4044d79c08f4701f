// Reads RTF as macOS, Word and TextEdit write it into a QTextDocument: text, character and
// paragraph formatting, links, pictures and the attachments of an RTFD package.
#pragma once

#include "foundation/OVError.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <functional>

class QIODevice;
class QTextDocument;

class RTFReader
{
public:
    // Hands over the bytes of an attachment named by the text (\NeXTGraphic), or answers false
    // when there is no such file. Without a loader attachments are left out.
    using AttachmentLoader = std::function<bool(const QString &fileName, QByteArray *contents)>;

    void setAttachmentLoader(AttachmentLoader loader);

    // Replaces the document's content with the RTF. Damaged input (unbalanced braces, cut-off
    // files, absurd numbers) gives whatever text can be read; only data that is not RTF at all
    // fails.
    [[nodiscard]] bool read(const QByteArray &rtf, QTextDocument *document, OVError *error = nullptr);
    [[nodiscard]] bool read(QIODevice *device, QTextDocument *document, OVError *error = nullptr);

    // The document attributes found by the last read: type, background colour, information
    // fields (see RichTextAttributes.h).
    QVariantMap documentAttributes() const { return m_documentAttributes; }

    bool hasError() const { return !m_errorString.isEmpty(); }
    QString errorString() const { return m_errorString; }

    // True when data begins like RTF (leading white space allowed).
    static bool looksLikeRTF(const QByteArray &data);

private:
    AttachmentLoader m_attachmentLoader;
    QVariantMap m_documentAttributes;
    QString m_errorString;
};
