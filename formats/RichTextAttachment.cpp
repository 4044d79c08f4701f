// Attachment formats: the file's name and bytes stay on the format; images also become
// document resources, handed over as encoded bytes so that they are decoded only if shown.
#include "formats/RichTextAttachment.h"

#include "formats/RichTextAttributes.h"
#include "foundation/OVFileNameStrings.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QPixmap>
#include <QTextDocument>
#include <QUrl>

namespace {

constexpr qreal iconSize = 32.0;

QString resourceNameFor(const QString &fileName, const QByteArray &contents)
{
    // Two attachments may share a name across packages pasted together; the size and a hash
    // keep their resources apart.
    return QStringLiteral("attachment:%1/%2/%3").arg(contents.size()).arg(qHash(contents)).arg(fileName);
}

QSize imageSize(const QByteArray &contents)
{
    QByteArray data = contents;
    QBuffer buffer(&data);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader(&buffer);
    return reader.size();
}

} // namespace

namespace RichTextAttachment {

QTextImageFormat makeFormat(QTextDocument *document, const QString &fileName, const QByteArray &contents,
                            const QSizeF &size)
{
    QTextImageFormat format;
    const QString name = resourceNameFor(fileName, contents);
    format.setName(name);
    format.setProperty(RichText::AttachmentFileNameProperty, fileName);
    format.setProperty(RichText::AttachmentContentsProperty, contents);
    if (size.width() > 0 && size.height() > 0) {
        format.setWidth(size.width());
        format.setHeight(size.height());
    }
    if (document)
        document->addResource(QTextDocument::ImageResource, QUrl(name), contents);
    return format;
}

bool isAttachment(const QTextFormat &format)
{
    return format.isImageFormat();
}

QString fileName(const QTextImageFormat &format)
{
    const QString stored = format.stringProperty(RichText::AttachmentFileNameProperty);
    if (!stored.isEmpty())
        return stored;
    const QUrl url(format.name());
    QString base = QFileInfo(url.path()).completeBaseName();
    if (base.isEmpty())
        base = url.host();
    if (base.isEmpty())
        base = QStringLiteral("Attachment");
    return OVExtensions::stringByAppendingPathExtension(base, QStringLiteral("png"));
}

QByteArray contents(const QTextDocument *document, const QTextImageFormat &format)
{
    if (format.hasProperty(RichText::AttachmentContentsProperty))
        return format.property(RichText::AttachmentContentsProperty).toByteArray();
    if (!document)
        return {};
    const QVariant resource = document->resource(QTextDocument::ImageResource, QUrl(format.name()));
    QImage image;
    if (resource.userType() == QMetaType::QImage)
        image = resource.value<QImage>();
    else if (resource.userType() == QMetaType::QPixmap)
        image = resource.value<QPixmap>().toImage();
    else if (resource.userType() == QMetaType::QByteArray)
        image.loadFromData(resource.toByteArray());
    if (image.isNull())
        return {};
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

QSizeF displaySize(const QTextDocument *document, const QTextImageFormat &format)
{
    if (format.width() > 0 && format.height() > 0)
        return QSizeF(format.width(), format.height());
    const QSize own = imageSize(contents(document, format));
    if (own.isValid() && !own.isEmpty())
        return QSizeF(own);
    return QSizeF(iconSize, iconSize);
}

QString uniqueFileName(const QString &preferredName, const QSet<QString> &taken)
{
    QString name = preferredName;
    name.replace(QLatin1Char('/'), QLatin1Char('-'));
    name.remove(QChar(0));
    while (name.startsWith(QLatin1Char('.')))
        name.remove(0, 1);
    if (name.isEmpty())
        name = QStringLiteral("Attachment");
    if (!taken.contains(name))
        return name;
    const QFileInfo info(name);
    const QString base = info.completeBaseName().isEmpty() ? name : info.completeBaseName();
    const QString suffix = info.completeBaseName().isEmpty() || info.suffix().isEmpty()
        ? QString()
        : QStringLiteral(".") + info.suffix();
    for (int number = 2;; ++number) {
        const QString candidate = QStringLiteral("%1 %2%3").arg(base).arg(number).arg(suffix);
        if (!taken.contains(candidate))
            return candidate;
    }
}

} // namespace RichTextAttachment
