#include "foundation/OVDiskSpace.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace OVDiskSpace {

namespace {

constexpr qint64 probeSize = 64 * 1024;

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Writes `probeSize` bytes into a new file in `folder`: the errno of the first failed write,
// or 0 when all of it went in (or the probe could not even be created for another reason).
int probeWrite(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder + QStringLiteral("/.kastrel-importer-space-probe"));
    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return isOutOfSpaceError(errno) ? errno : 0;
    const QByteArray block(4096, '\0');
    int failure = 0;
    for (qint64 written = 0; written < probeSize && failure == 0;) {
        const ssize_t count = ::write(file, block.constData(), size_t(block.size()));
        if (count < 0 && errno != EINTR)
            failure = errno;
        else if (count > 0)
            written += count;
    }
    if (failure == 0 && ::fsync(file) != 0 && isOutOfSpaceError(errno))
        failure = errno;
    ::close(file);
    ::unlink(path.constData());
    return isOutOfSpaceError(failure) ? failure : 0;
}

} // namespace

bool isOutOfSpaceError(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

bool isOutOfSpace(const QString &folder, QString *reason)
{
    const QByteArray encoded = QFile::encodeName(folder);
    struct statvfs status;
    if (::statvfs(encoded.constData(), &status) == 0 && status.f_bavail == 0) {
        if (reason)
            *reason = systemError(ENOSPC);
        return true;
    }
    const int failure = probeWrite(folder);
    if (failure != 0 && reason)
        *reason = systemError(failure);
    return failure != 0;
}

} // namespace OVDiskSpace
