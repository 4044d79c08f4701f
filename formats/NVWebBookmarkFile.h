// A web bookmark: a name and an address, read from property-list bookmark files (".webloc" and
// its siblings, any property-list encoding) and ".url" internet shortcuts, always written as a
// binary property list. Also proposes a file name and an icon, validates name and address, and
// moves bookmarks through the clipboard (NVBookmarkPasteboard.cpp).
#pragma once

#include "foundation/OVError.h"

#include <QImage>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <memory>

class QIODevice;
class QMimeData;
class QUndoStack;

class NVWebBookmarkFile : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QUrl URL READ URL WRITE setURL NOTIFY URLChanged)
    Q_PROPERTY(QImage iconImage READ iconImage NOTIFY iconImageChanged)
    Q_PROPERTY(bool canPreviewBookmark READ canPreviewBookmark NOTIFY canPreviewBookmarkChanged)

public:
    // Bookmarks are shared the way the rest of the program passes them around (lists from the
    // clipboard, copies); nothing owns one exclusively.
    using Pointer = std::shared_ptr<NVWebBookmarkFile>;

    // Keys of a bookmark property list. The name key doubles as a clipboard type.
    static constexpr const char *URLKey = "URL";
    static constexpr const char *nameKey = "public.url-name";

    static constexpr const char *errorDomain = "NVWebBookmarkErrorDomain";
    enum ErrorCode { ValidationError = 10001 }; // one code for name and address alike

    static constexpr int iconSize = 96;

    // Not offered for reading or writing: kept for files that name it.
    static constexpr const char *vncLocationFileType = "vncloc";

    NVWebBookmarkFile();
    ~NVWebBookmarkFile() override;

    // A bookmark from a name and an address, either of which may be missing (null). The name
    // is cleaned of line breaks and tabs.
    static Pointer bookmarkWithName(const QString &name, const QUrl &url);
    // Reads the file; what cannot be read stays empty, so a bookmark always comes back.
    static Pointer bookmarkWithFileAtURL(const QUrl &fileURL);
    // The same from bytes already in memory; `fileName` picks the format (".url" or property
    // list) and gives the fallback name.
    static Pointer bookmarkWithData(const QByteArray &data, const QString &fileName);

    // The extension for a file holding this address ("webloc", "ftploc", ..., "inetloc").
    static QString fileExtensionForURL(const QUrl &url);
    // Extensions of the files this class reads, in order of preference.
    static QStringList bookmarkFileTypes();

    // Properties whose value follows the address: change notifications for them come with
    // URLChanged (as iconImageChanged and canPreviewBookmarkChanged).
    static QSet<QString> keyPathsForValuesAffectingIconImage();
    static QSet<QString> keyPathsForValuesAffectingCanPreviewBookmark();

    // The project's reading of an address: a well-formed absolute or relative URL reference
    // made of URL characters only, or an empty QUrl (the "no address" value) for anything else.
    static QUrl URLWithString(const QString &string);
    // An address for a bookmark from a location as another application gives it: the strict
    // reading when it succeeds, else the URL a browser makes of the text (blanks, non-ASCII
    // and other characters percent-encoded, the host in IDNA form). Null when the text has no
    // "scheme:" or no URL can be made of it (a blank inside the host). Whatever comes back
    // reads back unchanged through URLWithString from its absoluteString.
    static QUrl URLWithLocation(const QString &location);
    // The address as text, or an empty string when there is none.
    static QString absoluteString(const QUrl &url);

    // A new bookmark with this one's stored name and address; file location and undo stack
    // stay behind.
    Pointer copy() const;

    // The stored name, or the address's host when none is stored (a null string when there is
    // no host either). An empty stored name is answered as it is.
    QString name() const;
    // Line breaks and tabs become blanks and the ends are trimmed; a null string clears.
    void setName(const QString &name);
    QUrl URL() const { return m_url; }
    void setURL(const QUrl &url);

    // Name and address changes are registered here so that they can be undone. Not owned.
    QUndoStack *undoManager() const;
    void setUndoManager(QUndoStack *undoManager);

    // Where the bookmark was read from or is to be written; kept for callers, never set here.
    QUrl fileURL() const;
    void setFileURL(const QUrl &fileURL);

    // The binary property list of this bookmark, or an empty array with the error.
    [[nodiscard]] QByteArray fileData(OVError *error = nullptr) const;
    [[nodiscard]] bool writeToDevice(QIODevice *device, OVError *error = nullptr) const;
    // Writes in place (keeping the file's own attributes) and carries an earlier creation date over.
    [[nodiscard]] bool writeToFileAtURL(const QUrl &fileURL, OVError *error = nullptr) const;

    // The desktop's icon for the bookmark's kind of file at 96 by 96, or one drawn here when the
    // desktop offers none; never a null image.
    QImage iconImage() const;
    // A file name with the bookmark extension, made from the name or, failing that, the address.
    // Empty when there is neither.
    QString suggestedFilename() const;
    // Only web pages can be shown in a preview.
    bool canPreviewBookmark() const;

    // Validation before a name or address is accepted from the user. The URL check may replace
    // a web address with an empty path by the same address ending in "/".
    bool validateName(QString *name, OVError *error = nullptr) const;
    bool validateURL(QUrl *url, OVError *error = nullptr) const;

    // Clipboard exchange (NVBookmarkPasteboard.cpp).
    static QStringList bookmarksPasteboardTypes();
    static bool canInitWithPasteboard(const QMimeData *pasteboard);
    static QList<Pointer> bookmarksWithPasteboard(const QMimeData *pasteboard);
    // Fills the types of bookmarksPasteboardTypes(). A bookmark without any name (no stored name,
    // no host) cannot stand in the title lists: that is a caller's mistake, answered with false,
    // an error in the domain NVBookmarkPasteboard::invalidArgumentErrorDomain and nothing
    // written. Otherwise true, also without a clipboard (null), when there is nothing to fill.
    static bool writeBookmarkFiles(const QList<Pointer> &bookmarks, QMimeData *pasteboard, OVError *error = nullptr);

signals:
    void nameChanged(const QString &name);
    void URLChanged(const QUrl &url);
    void iconImageChanged();
    void canPreviewBookmarkChanged();

private:
    template<typename Value> class ValueChange;

    // Stores through `store` now, or through the undo stack so that the change can be undone.
    template<typename Value>
    void change(void (NVWebBookmarkFile::*store)(const Value &), const Value &previous, const Value &next);

    bool readInternetShortcut(const QByteArray &data, const QString &fileName);
    void readPropertyListBookmark(const QByteArray &data, const QString &fileName);
    void readData(const QByteArray &data, const QString &fileName, bool readable);

    // Store and notify without registering an undo action.
    void storeName(const QString &name);
    void storeURL(const QUrl &url);

    QString m_name;
    QUrl m_url;
    QPointer<QUndoStack> m_undoManager;
    // Callers may hand the file location between threads.
    mutable QMutex m_fileURLMutex;
    QUrl m_fileURL;
};
