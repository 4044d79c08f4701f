// Web archives as browsers save them: a binary property list whose WebMainResource holds the
// page's bytes, MIME type, text encoding, address and frame name, with the page's images as
// WebSubresources.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace SampleWebArchive {

struct Resource
{
    QString url;
    QString mimeType;
    QByteArray data;
};

// Empty on failure.
QByteArray archive(const QString &url, const QString &html, const QList<Resource> &subresources = {});

} // namespace SampleWebArchive
