// Bookmarks on the clipboard: deciding whether the clipboard holds something that should become
// a bookmark, reading bookmarks from it, and writing bookmarks in several formats at once.
#include "documents/NVBookmarkPasteboard.h"

#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVTextStrings.h"

#include <QMimeData>

namespace {

using namespace NVBookmarkPasteboard;

bool offers(const QMimeData *pasteboard, const char *type)
{
    return pasteboard->hasFormat(QLatin1String(type));
}

// The type to read web URLs with titles under when the desktop gives legacy type names a type
// of their own. Here the name is the type.
QString derivedTypeForLegacyType(const char *legacyType)
{
    return QLatin1String(legacyType);
}

// The first address of a URI list, read as strictly as any other address; an empty QUrl when
// there is none or it is no URL.
QUrl firstURL(const QMimeData *pasteboard)
{
    const QList<QByteArray> lines = pasteboard->data(QLatin1String(URLType)).split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith('#'))
            continue;
        return NVWebBookmarkFile::URLWithString(QString::fromUtf8(trimmed));
    }
    return QUrl();
}

OVPlist propertyList(const QMimeData *pasteboard, const char *type)
{
    return OVPlistSerialization::propertyListWithData(pasteboard->data(QLatin1String(type)));
}

void setPropertyList(QMimeData *pasteboard, const char *type, const OVPlist &plist)
{
    pasteboard->setData(QLatin1String(type),
                        OVPlistSerialization::dataWithPropertyList(plist, OVPlistSerialization::Format::Xml));
}

bool isMailMessageScheme(const QString &scheme)
{
    for (const char *mailScheme : mailMessageSchemes) {
        if (scheme == QLatin1String(mailScheme))
            return true;
    }
    return false;
}

// Text that looks like an address of its own: a scheme separator or a mail address, no blanks.
bool textLooksLikeURL(const QString &text)
{
    const bool marked = OVExtensions::containsString(text, QStringLiteral("://"))
        || OVExtensions::containsString(text, QStringLiteral("@"));
    return marked && !OVExtensions::containsString(text, QStringLiteral(" "))
        && !NVWebBookmarkFile::URLWithString(text).isEmpty();
}

QUrl parseLeniently(const QString &string)
{
    const QUrl url = NVWebBookmarkFile::URLWithString(string);
    if (!url.isEmpty())
        return url;
    return NVWebBookmarkFile::URLWithString(OVExtensions::percentEncodedURLString(string));
}

// Web URLs with titles: entries whose address cannot be read are left out. A malformed list
// (no arrays, entries that are no strings, fewer titles than addresses) is read as far as it
// makes sense: a missing or non-string title leaves that bookmark without a name.
QList<NVWebBookmarkFile::Pointer> bookmarksFromWebURLs(const OVPlist &plist)
{
    QList<NVWebBookmarkFile::Pointer> bookmarks;
    const OVPlist addresses = plist.at(0);
    const OVPlist titles = plist.at(1);
    for (qsizetype index = 0; index < addresses.size(); ++index) {
        const OVPlist address = addresses.at(index);
        if (!address.isString())
            continue;
        const QUrl url = parseLeniently(address.toString());
        if (url.isEmpty())
            continue;
        const OVPlist title = titles.at(index);
        bookmarks.append(NVWebBookmarkFile::bookmarkWithName(title.isString() ? title.toString() : QString(), url));
    }
    return bookmarks;
}

QString addressOrPlaceholder(const NVWebBookmarkFile &bookmark)
{
    const QString address = NVWebBookmarkFile::absoluteString(bookmark.URL());
    return address.isEmpty() ? QLatin1String(placeholderURLString) : address;
}

} // namespace

QStringList NVBookmarkPasteboard::bookmarksPasteboardTypes()
{
    return {QLatin1String(webURLsWithTitlesType), QLatin1String(dictionaryBookmarkType), QLatin1String(URLType),
            QLatin1String(textType)};
}

bool NVBookmarkPasteboard::canInitWithPasteboard(const QMimeData *pasteboard)
{
    if (!pasteboard)
        return false;
    const QUrl url = offers(pasteboard, URLType) ? firstURL(pasteboard) : QUrl();

    if (offers(pasteboard, legacyMailMessageType) || offers(pasteboard, mailMessageType))
        return false;
    if (isMailMessageScheme(url.scheme()))
        return false;
    if (offers(pasteboard, itemLinkType))
        return false;

    if (offers(pasteboard, webURLsWithTitlesType) || offers(pasteboard, URLType))
        return true;
    if (offers(pasteboard, dictionaryBookmarkType)) {
        const OVPlist address
            = propertyList(pasteboard, dictionaryBookmarkType).at(0).value(QLatin1String(dictionaryAddressKey));
        return address.isString() && !address.toString().isEmpty();
    }
    if (offers(pasteboard, textType))
        return textLooksLikeURL(pasteboard->text());
    return false;
}

// Reads the first kind offered of: web URLs with titles, a URL, text. Dictionary bookmarks
// pass canInitWithPasteboard() but are not read here, so they give an empty list.
QList<NVWebBookmarkFile::Pointer> NVBookmarkPasteboard::bookmarksWithPasteboard(const QMimeData *pasteboard)
{
    if (!pasteboard)
        return {};
    const QString derivedType = derivedTypeForLegacyType(webURLsWithTitlesType);
    if (pasteboard->hasFormat(derivedType))
        return bookmarksFromWebURLs(OVPlistSerialization::propertyListWithData(pasteboard->data(derivedType)));
    if (offers(pasteboard, webURLsWithTitlesType))
        return bookmarksFromWebURLs(propertyList(pasteboard, webURLsWithTitlesType));

    if (offers(pasteboard, URLType)) {
        const QString name = offers(pasteboard, URLNameType)
            ? QString::fromUtf8(pasteboard->data(QLatin1String(URLNameType)))
            : QString();
        // One bookmark even when the address cannot be read.
        return {NVWebBookmarkFile::bookmarkWithName(name, firstURL(pasteboard))};
    }

    if (offers(pasteboard, textType)) {
        QString text = pasteboard->text();
        if (OVExtensions::containsString(text, QStringLiteral("@"))
            && !OVExtensions::containsString(text, QStringLiteral("://"))
            && !OVExtensions::startsWith(text, QStringLiteral("mailto:")))
            text = QStringLiteral("mailto:") + text;
        // Never a name, not even for a mail address: the name then falls back to the host,
        // which a mail address has none of.
        return {NVWebBookmarkFile::bookmarkWithName(QString(), NVWebBookmarkFile::URLWithString(text))};
    }
    return {};
}

bool NVBookmarkPasteboard::writeBookmarkFiles(const QList<NVWebBookmarkFile::Pointer> &bookmarks, QMimeData *pasteboard,
                                              OVError *error)
{
    QStringList addresses;
    QStringList titles;
    OVPlist dictionaries = OVPlist::array();
    for (const NVWebBookmarkFile::Pointer &bookmark : bookmarks) {
        const QString title = bookmark ? bookmark->name() : QString();
        if (title.isNull()) {
            // Checked before anything is written, so a refused list leaves the clipboard as it was.
            OVSetError(error, QLatin1String(invalidArgumentErrorDomain), nameMissingError,
                       OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter",
                                                         "A bookmark without a name cannot be put on the clipboard.")));
            return false;
        }
        const QString address = addressOrPlaceholder(*bookmark);
        addresses.append(address);
        titles.append(title);
        OVPlist dictionary = OVPlist::dictionary();
        dictionary.insert(QLatin1String(dictionaryLabelKey), title);
        dictionary.insert(QLatin1String(dictionaryAddressKey), address);
        dictionaries.append(dictionary);
    }

    // Without a clipboard there is nothing to fill, and nothing went wrong.
    if (!pasteboard)
        return true;
    OVPlist webURLs = OVPlist::array();
    webURLs.append(OVPlist(addresses));
    webURLs.append(OVPlist(titles));
    setPropertyList(pasteboard, webURLsWithTitlesType, webURLs);
    setPropertyList(pasteboard, dictionaryBookmarkType, dictionaries);

    // Only the first bookmark goes out as a plain URL and text.
    if (!bookmarks.isEmpty() && !bookmarks.first()->URL().isEmpty()) {
        const QUrl url = bookmarks.first()->URL();
        pasteboard->setUrls({url});
        pasteboard->setText(NVWebBookmarkFile::absoluteString(url));
    }
    return true;
}
