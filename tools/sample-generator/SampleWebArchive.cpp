#include "SampleWebArchive.h"

#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

namespace SampleWebArchive {

QByteArray archive(const QString &url, const QString &html, const QList<Resource> &subresources)
{
    OVPlist main = OVPlist::dictionary();
    main.insert(QStringLiteral("WebResourceData"), html.toUtf8());
    main.insert(QStringLiteral("WebResourceMIMEType"), QStringLiteral("text/html"));
    main.insert(QStringLiteral("WebResourceTextEncodingName"), QStringLiteral("UTF-8"));
    main.insert(QStringLiteral("WebResourceURL"), url);
    main.insert(QStringLiteral("WebResourceFrameName"), QString());
    OVPlist root = OVPlist::dictionary();
    root.insert(QStringLiteral("WebMainResource"), main);
    if (!subresources.isEmpty()) {
        OVPlist list = OVPlist::array();
        for (const Resource &resource : subresources) {
            OVPlist entry = OVPlist::dictionary();
            entry.insert(QStringLiteral("WebResourceData"), resource.data);
            entry.insert(QStringLiteral("WebResourceMIMEType"), resource.mimeType);
            entry.insert(QStringLiteral("WebResourceURL"), resource.url);
            list.append(entry);
        }
        root.insert(QStringLiteral("WebSubresources"), list);
    }
    return OVPlistSerialization::dataWithPropertyList(root, OVPlistSerialization::Format::Binary);
}

} // namespace SampleWebArchive
