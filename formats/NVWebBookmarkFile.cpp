// Reading, writing, naming, icons and validation of web bookmarks. The clipboard half of the
// class lives in NVBookmarkPasteboard.cpp.
#include "formats/NVWebBookmarkFile.h"

#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVTextStrings.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QStringDecoder>
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

constexpr const char *internetShortcutExtension = "url";
constexpr const char *internetShortcutKey = "URL=";

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

QString fileBaseName(const QString &fileName)
{
    return OVExtensions::stringByDeletingPathExtension(QFileInfo(fileName).fileName());
}

// Strict UTF-8: an invalid sequence makes the whole text unreadable, as it does for a reader
// that insists on the encoding.
bool decodeUTF8(const QByteArray &data, QString *text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    *text = decoder.decode(data);
    return !decoder.hasError();
}

// A quiet icon for when the desktop has none: a page with a folded corner and a globe, tinted by
// the extension so that the kinds stay apart. Drawn without fonts, so it works without a display.
QImage drawnIcon(const QString &extension)
{
    QImage image(NVWebBookmarkFile::iconSize, NVWebBookmarkFile::iconSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QColor tint = QColor::fromHsv(static_cast<int>(qHash(extension) % 360), 150, 200);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal size = NVWebBookmarkFile::iconSize;
    const qreal fold = size * 0.22;
    QPainterPath page;
    page.moveTo(size * 0.15, size * 0.05);
    page.lineTo(size * 0.85 - fold, size * 0.05);
    page.lineTo(size * 0.85, size * 0.05 + fold);
    page.lineTo(size * 0.85, size * 0.95);
    page.lineTo(size * 0.15, size * 0.95);
    page.closeSubpath();
    painter.setPen(QPen(QColor(90, 90, 90), 2));
    painter.setBrush(QColor(250, 250, 250));
    painter.drawPath(page);

    const QRectF globe(size * 0.28, size * 0.35, size * 0.44, size * 0.44);
    painter.setPen(QPen(tint.darker(140), 2.5));
    painter.setBrush(tint);
    painter.drawEllipse(globe);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(globe.adjusted(globe.width() * 0.3, 0, -globe.width() * 0.3, 0));
    painter.drawLine(QPointF(globe.left(), globe.center().y()), QPointF(globe.right(), globe.center().y()));
    return image;
}

QImage themeIcon(const QString &extension)
{
    // Theme icons need the GUI application; a command-line run draws its own.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QImage();
    const QMimeType type
        = QMimeDatabase().mimeTypeForFile(QStringLiteral("bookmark.") + extension, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(type.genericIconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(QStringLiteral("text-html"));
    if (icon.isNull())
        return QImage();
    return icon.pixmap(NVWebBookmarkFile::iconSize, NVWebBookmarkFile::iconSize)
        .toImage()
        .scaled(NVWebBookmarkFile::iconSize, NVWebBookmarkFile::iconSize, Qt::IgnoreAspectRatio,
                Qt::SmoothTransformation);
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

NVWebBookmarkFile::Pointer NVWebBookmarkFile::bookmarkWithFileAtURL(const QUrl &fileURL)
{
    auto bookmark = std::make_shared<NVWebBookmarkFile>();
    const QString path = fileURL.toLocalFile();
    QFile file(path);
    const bool readable = file.open(QIODevice::ReadOnly);
    bookmark->readData(readable ? file.readAll() : QByteArray(), path, readable);
    return bookmark;
}

NVWebBookmarkFile::Pointer NVWebBookmarkFile::bookmarkWithData(const QByteArray &data, const QString &fileName)
{
    auto bookmark = std::make_shared<NVWebBookmarkFile>();
    bookmark->readData(data, fileName, true);
    return bookmark;
}

void NVWebBookmarkFile::readData(const QByteArray &data, const QString &fileName, bool readable)
{
    // Only the exact lower-case extension marks an internet shortcut; everything else is taken
    // for a property list.
    if (QFileInfo(fileName).suffix() == QLatin1String(internetShortcutExtension)) {
        if (readable)
            readInternetShortcut(data, fileName);
        else
            setName(fileBaseName(fileName));
    } else {
        readPropertyListBookmark(data, fileName);
    }
}

void NVWebBookmarkFile::readPropertyListBookmark(const QByteArray &data, const QString &fileName)
{
    OVPlist plist = OVPlistSerialization::propertyListWithData(data);
    if (!plist.isDictionary())
        plist = OVPlist::dictionary();

    const OVPlist address = plist.value(QLatin1String(URLKey));
    if (address.isString() && !address.toString().isEmpty())
        setURL(URLWithString(address.toString()));
    const OVPlist title = plist.value(QLatin1String(nameKey));
    if (title.isString() && !title.toString().isEmpty())
        setName(title.toString());
    if (m_name.isEmpty())
        setName(fileBaseName(fileName));
}

// The address is whatever follows the first "URL=" anywhere in the text up to the next blank or
// line break: no sections or line starts are looked at, so "IconURL=" would match as well.
bool NVWebBookmarkFile::readInternetShortcut(const QByteArray &data, const QString &fileName)
{
    QString text;
    if (!decodeUTF8(data, &text)) {
        // Text in another encoding yields only the name.
        setName(fileBaseName(fileName));
        return true;
    }
    const QLatin1String key(internetShortcutKey);
    const qsizetype keyStart = text.indexOf(key);
    if (keyStart < 0)
        return false;
    qsizetype valueEnd = keyStart;
    while (valueEnd < text.size() && !text.at(valueEnd).isSpace())
        ++valueEnd;
    const qsizetype valueStart = keyStart + key.size();
    const QString value = text.mid(valueStart, valueEnd - valueStart);

    setName(fileBaseName(fileName));
    if (!value.isEmpty())
        setURL(URLWithString(value));
    return true;
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

QSet<QString> NVWebBookmarkFile::keyPathsForValuesAffectingIconImage()
{
    return {QStringLiteral("URL")};
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

QImage NVWebBookmarkFile::iconImage() const
{
    const QString extension = fileExtensionForURL(m_url);
    const QImage icon = themeIcon(extension);
    return icon.isNull() ? drawnIcon(extension) : icon;
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

bool NVWebBookmarkFile::validateName(QString *name, OVError *error) const
{
    if (!name || name->isEmpty()) {
        OVSetError(error, QLatin1String(errorDomain), ValidationError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "Bookmark name must not be empty.")));
        return false;
    }
    return true;
}

bool NVWebBookmarkFile::validateURL(QUrl *url, OVError *error) const
{
    if (!url || url->isEmpty()) {
        OVSetError(error, QLatin1String(errorDomain), ValidationError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "Bookmark URL must not be empty.")));
        return false;
    }
    // A web address needs at least the root path.
    if (url->scheme().startsWith(QLatin1String("http")) && url->path().isEmpty())
        *url = URLWithString(absoluteString(*url) + QLatin1Char('/'));
    return true;
}
