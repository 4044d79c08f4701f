// Linux: renameat2 with RENAME_EXCHANGE swaps two directory entries atomically; file systems
// that lack it get the move-aside-and-restore fallback.
#include "formats/DirectoryReplacement.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef RENAME_EXCHANGE
#define RENAME_EXCHANGE (1 << 1)
#endif

namespace {

int exchange(const QByteArray &from, const QByteArray &to)
{
#ifdef SYS_renameat2
    return int(syscall(SYS_renameat2, AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_EXCHANGE));
#else
    errno = ENOSYS;
    return -1;
#endif
}

bool removeItem(const QString &path)
{
    const QFileInfo info(path);
    if (info.isDir() && !info.isSymLink())
        return QDir(path).removeRecursively();
    return QFile::remove(path);
}

void setError(QString *errorString, const QString &text)
{
    if (errorString)
        *errorString = text;
}

} // namespace

namespace DirectoryReplacement {

bool replace(const QString &source, const QString &target, QString *errorString)
{
    const QByteArray from = QFile::encodeName(source);
    const QByteArray to = QFile::encodeName(target);
    const QFileInfo targetInfo(target);
    if (!targetInfo.exists() && !targetInfo.isSymLink()) {
        if (::rename(from.constData(), to.constData()) == 0)
            return true;
        setError(errorString, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    if (exchange(from, to) == 0) {
        removeItem(source); // now the old item
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
        setError(errorString, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    // Not derived from the target's name, which may already be as long as a name can be.
    const QString aside
        = targetInfo.absolutePath() + QStringLiteral("/.old-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QByteArray asideName = QFile::encodeName(aside);
    if (::rename(to.constData(), asideName.constData()) != 0) {
        setError(errorString, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    if (::rename(from.constData(), to.constData()) != 0) {
        const int failure = errno;
        ::rename(asideName.constData(), to.constData());
        setError(errorString, QString::fromLocal8Bit(std::strerror(failure)));
        return false;
    }
    removeItem(aside);
    return true;
}

} // namespace DirectoryReplacement
