// Small PDF documents with a chosen creator and subject in their document information, the
// two attributes by which PDFs are sorted into web pages and documents.
#pragma once

#include <QByteArray>
#include <QString>

namespace SamplePdf {

// A one-page PDF showing `title` (and grey lines standing for `body`), with `creator` as its Creator and, when not
// empty, `subject` as its Subject.
QByteArray document(const QString &title, const QString &body, const QString &creator,
                    const QString &subject = QString());

// Appends an incremental update to `pdf` that replaces its document information with one
// holding these entries (empty values left out). Empty result when `pdf` has no classic
// cross-reference trailer to build on.
QByteArray withDocumentInformation(const QByteArray &pdf, const QString &title, const QString &creator,
                                   const QString &subject);

} // namespace SamplePdf
