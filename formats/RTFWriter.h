// Writes a QTextDocument as RTF in the form macOS writes it (Cocoa header, font and colour
// tables, \uN for every non-ASCII character), with attachments either embedded as pictures
// or referenced as files of an RTFD package.
#pragma once

#include "formats/RichTextError.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>
#include <QVariantMap>

class QIODevice;
class QTextDocument;

class RTFWriter : public RichTextError
{
public:
    enum class AttachmentMode {
        // PNG and JPEG images (and other images, converted to PNG) go into the text as \pict
        // groups; attachments that are not images cannot be written and are left out.
        EmbeddedPictures,
        // Every attachment is written as a \NeXTGraphic reference; its file is listed in
        // attachments() under a name unique within the package.
        PackageReferences,
    };

    struct Attachment
    {
        QString fileName;
        QByteArray contents;
    };

    void setAttachmentMode(AttachmentMode mode) { m_mode = mode; }
    // Names the attachments of a package must not take (the text file's own name, members the
    // caller adds).
    void setReservedFileNames(const QSet<QString> &names) { m_reservedNames = names; }

    // Writes the whole document. Document attributes understood: background colour and the
    // information fields (see RichTextAttributes.h). False, with the reason in errorString(),
    // when there is no document or the device cannot take the bytes.
    [[nodiscard]] bool write(const QTextDocument *document, QByteArray *rtf,
                             const QVariantMap &documentAttributes = {});
    // The same into a device, opened for writing when it is not open yet.
    [[nodiscard]] bool write(const QTextDocument *document, QIODevice *device,
                             const QVariantMap &documentAttributes = {});

    // The files the last write referenced, in the order of the text.
    QList<Attachment> attachments() const { return m_attachments; }

private:
    AttachmentMode m_mode = AttachmentMode::EmbeddedPictures;
    QSet<QString> m_reservedNames;
    QList<Attachment> m_attachments;
};
