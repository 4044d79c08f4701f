// Names shared by the rich-text readers and writers: the document attributes they report and
// accept, the document types, the text-format properties that carry an attachment's file, and
// the error values they hand out.
#pragma once

#include "foundation/OVError.h"

#include <QString>
#include <QTextFormat>

namespace RichText {

// Document attribute keys (values in a QVariantMap).
inline const QString DocumentTypeAttribute = QStringLiteral("DocumentType");
inline const QString BackgroundColorAttribute = QStringLiteral("BackgroundColor"); // QColor
inline const QString TitleAttribute = QStringLiteral("Title");
inline const QString AuthorAttribute = QStringLiteral("Author");
inline const QString SubjectAttribute = QStringLiteral("Subject");
inline const QString KeywordsAttribute = QStringLiteral("Keywords");
inline const QString CommentAttribute = QStringLiteral("Comment");
// Reported by readers only: what the text holds that the document cannot show (QStringList of
// descriptions such as "page headers and footers").
inline const QString LeftOutContentAttribute = QStringLiteral("LeftOutContent");

// Values of DocumentTypeAttribute, spelled as the original platform spells them so that
// archived attribute dictionaries stay readable by the target.
inline const QString RTFDocumentType = QStringLiteral("NSRTF");
inline const QString RTFDDocumentType = QStringLiteral("NSRTFD");
inline const QString PlainTextDocumentType = QStringLiteral("NSPlainText");
inline const QString HTMLDocumentType = QStringLiteral("NSHTML");
inline const QString MarkdownDocumentType = QStringLiteral("Markdown");

// Properties of the QTextImageFormat that stands for an attachment. The file's own bytes and
// name travel with the text so that writing a package stores them unchanged.
enum AttachmentProperty {
    AttachmentFileNameProperty = QTextFormat::UserProperty + 0x5246,
    AttachmentContentsProperty,
};

// Errors of the rich-text layer use the platform's file-error domain and codes, which is what
// callers of the original reading and writing calls received.
inline const QString ErrorDomain = QStringLiteral("NSCocoaErrorDomain");
enum ErrorCode : qint64 {
    FileReadUnknownError = 256,
    FileReadCorruptFileError = 259,
    FileReadNoSuchFileError = 260,
    FileWriteUnknownError = 512,
    FileWriteInvalidFileNameError = 514,
};

inline void setError(OVError *error, ErrorCode code, const QString &description)
{
    OVSetError(error, ErrorDomain, code, description);
}

inline void setNoSuchFileError(OVError *error, const QString &fileName)
{
    setError(
        error, FileReadNoSuchFileError,
        QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened because there is no such file.").arg(fileName));
}

} // namespace RichText
