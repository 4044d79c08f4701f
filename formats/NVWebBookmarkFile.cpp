// Writing and naming of web bookmarks, and their undoable changes.
#include "formats/NVWebBookmarkFile.h"

#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVTextStrings.h"

#include <QFile>
#include <QFileInfo>
#include <QUndoStack>
#include <utility>

namespace {

// Extension by scheme, tested in this order by a case-insensitive prefix test; the first
// match wins, so "https" is a web location and "filesystem" a file location.
const std::pair<const char *, const char *> extensionsBySchemePrefix[] = {
    {"http", "webloc"}, {"ftp", "ftploc"},   {"mailto", "mailloc"},
    {"afp", "afploc"},  {"file", "fileloc"}, {"news", "newsloc"},
};
constexpr const char *otherSchemesExtension = "inetloc";

// Characters that may stand in a URL reference as written; anything else (blanks, quotes,
// angle brackets, non-ASCII) makes the text no URL.
bool isURLReferenceCharacter(QChar character)
{
    const char16_t unit = character.unicode();
    if (unit <= 0x20 || unit >= 0x7F)
        return false;
    switch (unit) {
    case u'"':
    case u'<':
    case u'>':
    case u'\\':
    case u'^':
    case u'`':
    case u'{':
    case u'|':
    case u'}':
        return false;
    default:
        return true;
    }
}

bool isHexDigit(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
}

bool isWellFormedURLText(const QString &string)
{
    bool fragmentSeen = false;
    for (qsizetype index = 0; index < string.size(); ++index) {
        const QChar character = string.at(index);
        if (!isURLReferenceCharacter(character))
            return false;
        if (character == u'%') {
            if (index + 2 >= string.size() || !isHexDigit(string.at(index + 1)) || !isHexDigit(string.at(index + 2)))
                return false;
        } else if (character == u'#') {
            if (fragmentSeen)
                return false;
            fragmentSeen = true;
        }
    }
    return true;
}

// A location names its scheme first ("http:", "data:"); text without one is no address.
bool startsWithScheme(const QString &text)
{
    const qsizetype colon = text.indexOf(u':');
    if (colon < 1)
        return false;
    for (qsizetype index = 0; index < colon; ++index) {
        const char16_t unit = text.at(index).unicode();
        const bool letter = (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
        const bool digit = unit >= u'0' && unit <= u'9';
        if (!letter && !(index > 0 && (digit || unit == u'+' || unit == u'-' || unit == u'.')))
            return false;
    }
    return true;
}

// Qt's encoded form may still hold characters the strict reading refuses ("{", "|", a second
// "#"); encoding them too keeps the address readable from the file it is written to.
QString encodeRemainingCharacters(const QString &encoded)
{
    QString result;
    result.reserve(encoded.size());
    bool fragmentSeen = false;
    for (const QChar character : encoded) {
        const bool secondHash = character == u'#' && fragmentSeen;
        fragmentSeen = fragmentSeen || character == u'#';
        if (isURLReferenceCharacter(character) && !secondHash) {
            result.append(character);
            continue;
        }
        for (const char byte : QString(character).toUtf8())
            result.append(QStringLiteral("%%1").arg(uchar(byte), 2, 16, QLatin1Char('0')).toUpper());
    }
    return result;
}

// The last component of the address's path as a file browser would name it: "/" for the root,
// trailing slashes ignored, empty for no path at all.
QString lastPathComponent(const QUrl &url)
{
    QString path = url.path(QUrl::FullyDecoded);
    if (path.isEmpty() || path == QLatin1String("/"))
        return path;
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path.mid(path.lastIndexOf(u'/') + 1);
}

// Platform-style failure of a file write.
void setWriteError(OVError *error, const QFile &file)
{
    qint64 code = 512; // unknown write failure
    if (file.error() == QFileDevice::PermissionsError)
        code = 513;
    else if (!QFileInfo(QFileInfo(file.fileName()).path()).isDir())
        code = 4; // no such folder
    OVSetError(error, OVPlistSerialization::errorDomain(), code,
               OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The bookmark file could not be written."))
                   + OVText::untranslated(QLatin1Char(' ') + file.errorString()));
}

} // namespace

// One undoable change of the name or the address. The first redo is the change itself; undoing
// stores the earlier value back without registering anything new, and redo stores it again.
template<typename Value> class NVWebBookmarkFile::ValueChange : public QUndoCommand
{
public:
    using Store = void (NVWebBookmarkFile::*)(const Value &);

    ValueChange(NVWebBookmarkFile *bookmark, Store store, Value previous, Value next)
        : m_bookmark(bookmark)
        , m_store(store)
        , m_previous(std::move(previous))
        , m_next(std::move(next))
    { }

    void redo() override
    {
        if (m_bookmark)
            (m_bookmark->*m_store)(m_next);
    }
    void undo() override
    {
        if (m_bookmark)
            (m_bookmark->*m_store)(m_previous);
    }

private:
    // A bookmark may go before its undo stack; its changes then undo nothing.
    QPointer<NVWebBookmarkFile> m_bookmark;
    Store m_store;
    Value m_previous;
    Value m_next;
};

template<typename Value>
void NVWebBookmarkFile::change(void (NVWebBookmarkFile::*store)(const Value &), const Value &previous,
                               const Value &next)
{
    if (m_undoManager)
        m_undoManager->push(new ValueChange<Value>(this, store, previous, next));
    else
        (this->*store)(next);
}

NVWebBookmarkFile::NVWebBookmarkFile() = default;
NVWebBookmarkFile::~NVWebBookmarkFile() = default;

NVWebBookmarkFile::Pointer NVWebBookmarkFile::bookmarkWithName(const QString &name, const QUrl &url)
{
    auto bookmark = std::make_shared<NVWebBookmarkFile>();
    bookmark->setName(name);
    bookmark->setURL(url);
    return bookmark;
}

QString NVWebBookmarkFile::fileExtensionForURL(const QUrl &url)
{
    const QString scheme = url.scheme();
    for (const auto &[prefix, extension] : extensionsBySchemePrefix) {
        if (OVExtensions::startsWith(scheme, QLatin1String(prefix)))
            return QLatin1String(extension);
    }
    return QLatin1String(otherSchemesExtension);
}

QStringList NVWebBookmarkFile::bookmarkFileTypes()
{
    return {QStringLiteral("webloc"),  QStringLiteral("ftploc"),  QStringLiteral("mailloc"), QStringLiteral("afploc"),
            QStringLiteral("fileloc"), QStringLiteral("newsloc"), QStringLiteral("inetloc"), QStringLiteral("url")};
}

QSet<QString> NVWebBookmarkFile::keyPathsForValuesAffectingCanPreviewBookmark()
{
    return {QStringLiteral("URL")};
}

QUrl NVWebBookmarkFile::URLWithString(const QString &string)
{
    if (string.isEmpty() || !isWellFormedURLText(string))
        return QUrl();
    const QUrl url(string, QUrl::StrictMode);
    return url.isValid() ? url : QUrl();
}

QUrl NVWebBookmarkFile::URLWithLocation(const QString &location)
{
    const QUrl strict = URLWithString(location);
    if (!strict.isEmpty())
        return strict;
    // Browsers drop surrounding blanks and any tab or line break before they read an address.
    QString text = location.trimmed();
    text.removeIf([](QChar character) { return character == u'\t' || character == u'\n' || character == u'\r'; });
    if (!startsWithScheme(text))
        return QUrl();
    const QUrl tolerant(text, QUrl::TolerantMode);
    if (!tolerant.isValid() || tolerant.scheme().isEmpty())
        return QUrl();
    // Going through the strict reading makes the address the very one its file gives back.
    return URLWithString(encodeRemainingCharacters(tolerant.toString(QUrl::FullyEncoded)));
}

QString NVWebBookmarkFile::absoluteString(const QUrl &url)
{
    if (url.isEmpty())
        return QString();
    return url.toString(QUrl::FullyEncoded);
}

NVWebBookmarkFile::Pointer NVWebBookmarkFile::copy() const
{
    // Always this class, from the stored values: the host stand-in for a missing name is not
    // copied into a name of its own.
    auto bookmark = std::make_shared<NVWebBookmarkFile>();
    bookmark->setName(m_name);
    bookmark->setURL(m_url);
    return bookmark;
}

QString NVWebBookmarkFile::name() const
{
    if (!m_name.isNull())
        return m_name;
    const QString host = m_url.host();
    return host.isEmpty() ? QString() : host;
}

void NVWebBookmarkFile::setName(const QString &name)
{
    // A missing name never equals anything, not even another missing one.
    if (!m_name.isNull() && !name.isNull() && m_name == name)
        return;
    const QString cleaned = name.isNull() ? QString() : OVExtensions::stringByRemovingNewlinesAndTabs(name);
    change(&NVWebBookmarkFile::storeName, m_name, cleaned);
}

void NVWebBookmarkFile::setURL(const QUrl &url)
{
    if (!m_url.isEmpty() && m_url == url)
        return;
    change(&NVWebBookmarkFile::storeURL, m_url, url);
}

void NVWebBookmarkFile::storeName(const QString &name)
{
    m_name = name;
    emit nameChanged(m_name);
}

void NVWebBookmarkFile::storeURL(const QUrl &url)
{
    m_url = url;
    emit URLChanged(m_url);
    // Both follow the address.
    emit iconImageChanged();
    emit canPreviewBookmarkChanged();
    if (m_name.isNull())
        emit nameChanged(name());
}

QUndoStack *NVWebBookmarkFile::undoManager() const
{
    return m_undoManager;
}

void NVWebBookmarkFile::setUndoManager(QUndoStack *undoManager)
{
    m_undoManager = undoManager;
}

QUrl NVWebBookmarkFile::fileURL() const
{
    const QMutexLocker locker(&m_fileURLMutex);
    return m_fileURL;
}

void NVWebBookmarkFile::setFileURL(const QUrl &fileURL)
{
    const QMutexLocker locker(&m_fileURLMutex);
    m_fileURL = fileURL;
}

QByteArray NVWebBookmarkFile::fileData(OVError *error) const
{
    OVPlist plist = OVPlist::dictionary();
    plist.insert(QLatin1String(URLKey), absoluteString(m_url));
    // Only a name of its own: the host stand-in is not written.
    if (!m_name.isEmpty())
        plist.insert(QLatin1String(nameKey), m_name);
    return OVPlistSerialization::dataWithPropertyList(plist, OVPlistSerialization::Format::Binary, error);
}

bool NVWebBookmarkFile::writeToDevice(QIODevice *device, OVError *error) const
{
    const QByteArray bytes = fileData(error);
    if (bytes.isEmpty())
        return false;
    if (!device || !device->isWritable() || device->write(bytes) != bytes.size()) {
        OVSetError(error, OVPlistSerialization::errorDomain(), OVPlistSerialization::FileWriteError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The bookmark file could not be written.")));
        return false;
    }
    return true;
}

bool NVWebBookmarkFile::writeToFileAtURL(const QUrl &fileURL, OVError *error) const
{
    const QString path = fileURL.toLocalFile();
    const QDateTime creationDate = OVFileAttributes::creationDate(path);
    const QByteArray bytes = fileData(error);
    if (bytes.isEmpty())
        return false;
    // Written in place rather than replaced, like the files the target writes itself.
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()) {
        setWriteError(error, file);
        return false;
    }
    file.close();
    if (creationDate.isValid())
        OVFileAttributes::setCreationDate(path, creationDate);
    return true;
}

QString NVWebBookmarkFile::suggestedFilename() const
{
    QString base;
    if (!m_name.isEmpty() && !OVExtensions::startsWith(m_name, QStringLiteral("http://"))) {
        // A name beginning with "https://" is kept as it is.
        base = m_name;
    } else if (m_url.scheme() == QLatin1String("mailto")) {
        base = absoluteString(m_url).mid(QLatin1String("mailto:").size());
    } else {
        const QString component = OVExtensions::stringByDeletingPathExtension(lastPathComponent(m_url));
        if (component.size() < 2)
            base = absoluteString(m_url).mid(m_url.scheme().size() + QLatin1String("://").size());
        else
            base = component;
    }
    if (base.isEmpty())
        return QString();
    // A trailing slash is no part of a file name: "example.com/" becomes "example.com.webloc".
    const QString fileName = OVExtensions::stringByAppendingPathExtension(base, fileExtensionForURL(m_url));
    return OVExtensions::fileSystemRepresentationString(OVExtensions::stringSanitizedForFileName(fileName));
}

bool NVWebBookmarkFile::canPreviewBookmark() const
{
    const QString scheme = m_url.scheme();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https");
}
