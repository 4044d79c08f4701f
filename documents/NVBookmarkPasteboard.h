// The clipboard formats through which bookmarks travel between programs. The property-list
// and marker types keep the names other programs use for them as format names of QMimeData;
// the system's URL types are "text/uri-list" and its string and text types "text/plain".
#pragma once

#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVError.h"

#include <QList>
#include <QStringList>

class QMimeData;

namespace NVBookmarkPasteboard {

// The types writeBookmarkFiles() fills, in order: web URLs with titles, dictionary bookmarks,
// the URL type and the text type.
QStringList bookmarksPasteboardTypes();
// Whether the clipboard holds something that should become a bookmark; mail messages and the
// target's own item links, which carry URLs too, do not.
bool canInitWithPasteboard(const QMimeData *pasteboard);
QList<NVWebBookmarkFile::Pointer> bookmarksWithPasteboard(const QMimeData *pasteboard);
// Fills the types of bookmarksPasteboardTypes(). A bookmark without any name (no stored name,
// no host) cannot stand in the title lists: that is a caller's mistake, answered with false,
// an error in the domain invalidArgumentErrorDomain and nothing written. Otherwise true, also
// without a clipboard (null), when there is nothing to fill.
bool writeBookmarkFiles(const QList<NVWebBookmarkFile::Pointer> &bookmarks, QMimeData *pasteboard,
                        OVError *error = nullptr);

// A property list: an array of two arrays, the URL strings and the titles, index by index.
inline constexpr const char *webURLsWithTitlesType = "WebURLsWithTitlesPboardType";
// A property list: an array of dictionaries with "label" (title) and "address" (URL string).
inline constexpr const char *dictionaryBookmarkType = "OWDictionaryBookmarkPasteboardType";
inline constexpr const char *dictionaryLabelKey = "label";
inline constexpr const char *dictionaryAddressKey = "address";
// Plain UTF-8 text: the title of the URL on the clipboard.
inline constexpr const char *URLNameType = "public.url-name";
inline constexpr const char *URLType = "text/uri-list";
inline constexpr const char *textType = "text/plain";

// Messages dragged out of mail programs and links to the target's own items carry URLs too,
// but must not become bookmarks.
inline constexpr const char *legacyMailMessageType = "MV Super-secret message transfer pasteboard type";
inline constexpr const char *mailMessageType = "com.apple.mail.PasteboardTypeMessageTransfer";
inline constexpr const char *itemLinkType = "com.orvantis.Nortavel.itemlink";
inline constexpr const char *mailMessageSchemes[] = {"x-postbox-message", "message"};

// Stands in for a bookmark without an address in the lists written.
inline constexpr const char *placeholderURLString = "http://www.example.com/";

// Writing a bookmark that has no name at all into the title lists is a programming error of the
// caller; it is answered with this error domain and code instead of an exception.
inline constexpr const char *invalidArgumentErrorDomain = "NVWebBookmarkInvalidArgumentDomain";
inline constexpr int nameMissingError = 1;

} // namespace NVBookmarkPasteboard
