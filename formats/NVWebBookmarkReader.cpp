// Reading of bookmark files. What the file gives is taken even when the rest fails: a bookmark
// file whose contents are unreadable is still named after the file.
#include "formats/NVWebBookmarkReader.h"

#include "foundation/OVFileNameStrings.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace {

constexpr const char *internetShortcutExtension = "url";
constexpr const char *internetShortcutKey = "URL=";

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

bool isInternetShortcut(const QString &fileName)
{
    // Only the exact lower-case extension marks an internet shortcut; everything else is taken
    // for a property list.
    return QFileInfo(fileName).suffix() == QLatin1String(internetShortcutExtension);
}

} // namespace

bool NVWebBookmarkReader::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_bookmark = std::make_shared<NVWebBookmarkFile>();
        m_bookmark->setName(fileBaseName(path));
        return fail(QStringLiteral("The bookmark file %1 could not be opened: %2").arg(path, file.errorString()));
    }
    return read(&file, path);
}

bool NVWebBookmarkReader::read(QIODevice *device, const QString &fileName)
{
    m_bookmark = std::make_shared<NVWebBookmarkFile>();
    m_errorString.clear();
    if (!device || !device->isReadable()) {
        m_bookmark->setName(fileBaseName(fileName));
        return fail(QStringLiteral("The bookmark file %1 is not open for reading.").arg(fileName));
    }
    const QByteArray data = device->readAll();
    return isInternetShortcut(fileName) ? readInternetShortcut(data, fileName) : readPropertyList(data, fileName);
}

bool NVWebBookmarkReader::readPropertyList(const QByteArray &data, const QString &fileName)
{
    OVError error;
    const OVPlist plist = OVPlistSerialization::propertyListWithData(data, nullptr, &error);
    if (plist.isDictionary()) {
        const OVPlist address = plist.value(QLatin1String(NVWebBookmarkFile::URLKey));
        if (address.isString() && !address.toString().isEmpty())
            m_bookmark->setURL(NVWebBookmarkFile::URLWithString(address.toString()));
        const OVPlist title = plist.value(QLatin1String(NVWebBookmarkFile::nameKey));
        if (title.isString() && !title.toString().isEmpty())
            m_bookmark->setName(title.toString());
    }
    if (m_bookmark->storedName().isEmpty())
        m_bookmark->setName(fileBaseName(fileName));
    if (!plist.isValid())
        return fail(QStringLiteral("The bookmark file %1 is not a property list: %2")
                        .arg(fileName, error.descriptionInEnglish()));
    if (!plist.isDictionary())
        return fail(QStringLiteral("The bookmark file %1 holds no dictionary.").arg(fileName));
    return true;
}

// The address is whatever follows the first "URL=" anywhere in the text up to the next blank or
// line break: no sections or line starts are looked at, so "IconURL=" would match as well.
bool NVWebBookmarkReader::readInternetShortcut(const QByteArray &data, const QString &fileName)
{
    QString text;
    if (!decodeUTF8(data, &text)) {
        // Text in another encoding yields only the name.
        m_bookmark->setName(fileBaseName(fileName));
        return fail(QStringLiteral("The internet shortcut %1 is not UTF-8 text.").arg(fileName));
    }
    const QLatin1String key(internetShortcutKey);
    const qsizetype keyStart = text.indexOf(key);
    if (keyStart < 0)
        return fail(QStringLiteral("The internet shortcut %1 holds no \"URL=\".").arg(fileName));
    qsizetype valueEnd = keyStart;
    while (valueEnd < text.size() && !text.at(valueEnd).isSpace())
        ++valueEnd;
    const qsizetype valueStart = keyStart + key.size();
    const QString value = text.mid(valueStart, valueEnd - valueStart);

    m_bookmark->setName(fileBaseName(fileName));
    if (!value.isEmpty())
        m_bookmark->setURL(NVWebBookmarkFile::URLWithString(value));
    return true;
}

bool NVWebBookmarkReader::fail(const QString &reason)
{
    m_errorString = reason;
    return false;
}
