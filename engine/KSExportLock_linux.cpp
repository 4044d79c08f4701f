#include "engine/KSExportLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

KSExportLock::~KSExportLock()
{
    unlock();
}

QString KSExportLock::lockFilePath()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir::isAbsolutePath(runtime) && QFileInfo(runtime).isDir())
        return QDir(runtime).filePath(QStringLiteral("kastrel-importer-export.lock"));
    return QStringLiteral("/tmp/kastrel-importer-%1-export.lock").arg(::getuid());
}

bool KSExportLock::tryLock(bool *otherExportRunning, QString *reason)
{
    *otherExportRunning = false;
    if (m_file >= 0)
        return true;
    const QString path = lockFilePath();
    const QByteArray encoded = QFile::encodeName(path);
    // Never through a link, and never a file another user planted for us.
    const int file = ::open(encoded.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    struct stat status;
    if (file < 0 || ::fstat(file, &status) != 0 || status.st_uid != ::getuid() || !S_ISREG(status.st_mode)) {
        if (reason)
            *reason = path + QStringLiteral(": ")
                + (file < 0 ? QString::fromLocal8Bit(std::strerror(errno)) : QStringLiteral("not a file of this user"));
        if (file >= 0)
            ::close(file);
        return false;
    }
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        const int failure = errno;
        ::close(file);
        *otherExportRunning = failure == EWOULDBLOCK;
        if (reason)
            *reason = path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(failure));
        return false;
    }
    m_file = file;
    return true;
}

void KSExportLock::unlock()
{
    if (m_file < 0)
        return;
    ::flock(m_file, LOCK_UN);
    ::close(m_file);
    m_file = -1;
}
