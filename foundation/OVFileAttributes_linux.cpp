// Extended attributes and file times through the Linux system calls.
#include "foundation/OVFileAttributes.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace OVFileAttributes {

namespace {

bool setAttribute(const QString &path, const char *name, const QByteArray &value)
{
    const QByteArray encodedPath = QFile::encodeName(path);
    return ::setxattr(encodedPath.constData(), name, value.constData(), size_t(value.size()), 0) == 0;
}

bool removeAttribute(const QString &path, const char *name)
{
    const QByteArray encodedPath = QFile::encodeName(path);
    return ::removexattr(encodedPath.constData(), name) == 0 || errno == ENODATA;
}

QByteArray attribute(const QString &path, const char *name)
{
    const QByteArray encodedPath = QFile::encodeName(path);
    // The values stored here are short; a longer one is not ours and is ignored.
    char buffer[256];
    const ssize_t size = ::getxattr(encodedPath.constData(), name, buffer, sizeof buffer);
    if (size < 0)
        return QByteArray();
    return QByteArray(buffer, qsizetype(size));
}

} // namespace

bool setModificationDate(const QString &path, const QDateTime &date)
{
    if (!date.isValid())
        return false;
    const qint64 milliseconds = date.toMSecsSinceEpoch();
    struct timespec times[2];
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(milliseconds / 1000);
    times[1].tv_nsec = long((milliseconds % 1000) * 1000000);
    if (times[1].tv_nsec < 0) {
        times[1].tv_sec -= 1;
        times[1].tv_nsec += 1000000000;
    }
    const QByteArray encodedPath = QFile::encodeName(path);
    return ::utimensat(AT_FDCWD, encodedPath.constData(), times, 0) == 0;
}

bool setCreationDate(const QString &path, const QDateTime &date)
{
    if (!date.isValid())
        return false;
    return setAttribute(path, creationDateAttribute, date.toUTC().toString(Qt::ISODateWithMs).toLatin1());
}

bool setExtensionHidden(const QString &path, bool hidden)
{
    return hidden ? setAttribute(path, extensionHiddenAttribute, QByteArrayLiteral("1"))
                  : removeAttribute(path, extensionHiddenAttribute);
}

QDateTime modificationDate(const QString &path)
{
    return QFileInfo(path).fileTime(QFileDevice::FileModificationTime).toUTC();
}

QDateTime creationDate(const QString &path)
{
    const QByteArray value = attribute(path, creationDateAttribute);
    if (value.isEmpty())
        return QDateTime();
    return QDateTime::fromString(QString::fromLatin1(value), Qt::ISODateWithMs).toUTC();
}

bool isExtensionHidden(const QString &path)
{
    return attribute(path, extensionHiddenAttribute) == "1";
}

} // namespace OVFileAttributes
