// A web bookmark: a name and an address, written as a binary property list (NVWebBookmarkReader
// reads the files), with the file name it proposes. Changes of name and address can be undone.
// What only a bookmark window needs, its icon, the validation of what a person types and the
// clipboard, is in the target's documents library (documents/NVWebBookmarkEditing.h,
// documents/NVBookmarkPasteboard.h), which the export does not link.
#pragma once

#include "foundation/OVError.h"

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
class QUndoStack;

class NVWebBookmarkFile : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QUrl URL READ URL WRITE setURL NOTIFY URLChanged)
    Q_PROPERTY(bool canPreviewBookmark READ canPreviewBookmark NOTIFY canPreviewBookmarkChanged)

public:
    // Bookmarks are shared the way the rest of the program passes them around (lists from the
    // clipboard, copies); nothing owns one exclusively.
    using Pointer = std::shared_ptr<NVWebBookmarkFile>;

    // Keys of a bookmark property list. The name key doubles as a clipboard type.
    static constexpr const char *URLKey = "URL";
    static constexpr const char *nameKey = "public.url-name";

    // Not offered for reading or writing: kept for files that name it.
    static constexpr const char *vncLocationFileType = "vncloc";

    NVWebBookmarkFile();
    ~NVWebBookmarkFile() override;

    // A bookmark from a name and an address, either of which may be missing (null). The name
    // is cleaned of line breaks and tabs.
    static Pointer bookmarkWithName(const QString &name, const QUrl &url);

    // The extension for a file holding this address ("webloc", "ftploc", ..., "inetloc").
    static QString fileExtensionForURL(const QUrl &url);
    // Extensions of the files this class reads, in order of preference.
    static QStringList bookmarkFileTypes();

    // Properties whose value follows the address: change notifications for them come with
    // URLChanged (as canPreviewBookmarkChanged).
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
    // The name as stored, without the host in its place: null when none was ever set.
    QString storedName() const { return m_name; }
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

    // A file name with the bookmark extension, made from the name or, failing that, the address.
    // Empty when there is neither.
    QString suggestedFilename() const;
    // Only web pages can be shown in a preview.
    bool canPreviewBookmark() const;

signals:
    void nameChanged(const QString &name);
    void URLChanged(const QUrl &url);
    // The icon follows the address (NVWebBookmarkEditing::iconImage).
    void iconImageChanged();
    void canPreviewBookmarkChanged();

private:
    template<typename Value> class ValueChange;

    // Stores through `store` now, or through the undo stack so that the change can be undone.
    template<typename Value>
    void change(void (NVWebBookmarkFile::*store)(const Value &), const Value &previous, const Value &next);

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
