// The clipboard formats through which bookmarks travel between programs. The property-list
// and marker types keep the names other programs use for them as format names of QMimeData;
// the system's URL types are "text/uri-list" and its string and text types "text/plain".
// The reading and writing itself belongs to NVWebBookmarkFile (NVBookmarkPasteboard.cpp).
#pragma once

namespace NVBookmarkPasteboard {

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
