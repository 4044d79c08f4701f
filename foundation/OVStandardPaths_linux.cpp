#include "foundation/OVStandardPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace OVStandardPaths {

namespace {

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString homeFolder()
{
    return QDir::homePath();
}

// Removes the entries of the folder open as `folder`, then nothing else: the caller removes
// the folder itself. Works through file descriptors so that nothing is followed.
bool removeContents(int folder, const QByteArray &displayPath, QString *reason)
{
    DIR *stream = ::fdopendir(folder);
    if (!stream) {
        if (reason)
            *reason = QFile::decodeName(displayPath) + QStringLiteral(": ") + systemError(errno);
        ::close(folder);
        return false;
    }
    bool ok = true;
    while (struct dirent *entry = ::readdir(stream)) {
        const char *name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        struct stat status;
        if (::fstatat(::dirfd(stream), name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue; // gone meanwhile
        const QByteArray childPath = displayPath + '/' + name;
        if (S_ISDIR(status.st_mode)) {
            const int child = ::openat(::dirfd(stream), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (child < 0 || !removeContents(child, childPath, reason)) {
                if (child < 0 && reason)
                    *reason = QFile::decodeName(childPath) + QStringLiteral(": ") + systemError(errno);
                ok = false;
                continue;
            }
            if (::unlinkat(::dirfd(stream), name, AT_REMOVEDIR) != 0) {
                if (reason)
                    *reason = QFile::decodeName(childPath) + QStringLiteral(": ") + systemError(errno);
                ok = false;
            }
        } else if (::unlinkat(::dirfd(stream), name, 0) != 0) {
            if (reason)
                *reason = QFile::decodeName(childPath) + QStringLiteral(": ") + systemError(errno);
            ok = false;
        }
    }
    ::closedir(stream);
    return ok;
}

} // namespace

QString applicationSupportFolder()
{
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (!dataHome.isEmpty() && QDir::isAbsolutePath(dataHome))
        return QDir::cleanPath(dataHome);
    return QDir(homeFolder()).filePath(QStringLiteral(".local/share"));
}

QString sandboxedApplicationSupportFolder(const QString &identifier)
{
    return QDir(homeFolder()).filePath(QStringLiteral(".var/app/") + identifier + QStringLiteral("/data"));
}

QString temporaryRootFor(const QString &systemFolder)
{
    constexpr long tmpfsMagic = 0x01021994;
    struct statfs status;
    const QByteArray encoded = QFile::encodeName(systemFolder);
    if (::statfs(encoded.constData(), &status) == 0 && long(status.f_type) == tmpfsMagic
        && QFileInfo(QStringLiteral("/var/tmp")).isDir())
        return QStringLiteral("/var/tmp");
    return systemFolder;
}

QString perUserTemporaryFolderPath()
{
    const QString fromEnvironment = qEnvironmentVariable("TMPDIR");
    if (!fromEnvironment.isEmpty() && QDir::isAbsolutePath(fromEnvironment))
        return QDir::cleanPath(fromEnvironment);
    return temporaryRootFor() + QStringLiteral("/kastrel-importer-") + QString::number(::getuid());
}

QString perUserTemporaryFolder(QString *reason)
{
    const QString fromEnvironment = qEnvironmentVariable("TMPDIR");
    if (!fromEnvironment.isEmpty() && QDir::isAbsolutePath(fromEnvironment))
        return QDir::cleanPath(fromEnvironment);

    const uid_t user = ::getuid();
    const QString path = perUserTemporaryFolderPath();
    const QByteArray encoded = QFile::encodeName(path);
    if (::mkdir(encoded.constData(), 0700) != 0 && errno != EEXIST) {
        if (reason)
            *reason = path + QStringLiteral(": ") + systemError(errno);
        return QString();
    }
    struct stat status;
    if (::lstat(encoded.constData(), &status) != 0) {
        if (reason)
            *reason = path + QStringLiteral(": ") + systemError(errno);
        return QString();
    }
    if (S_ISLNK(status.st_mode)) {
        if (reason)
            *reason = path + QStringLiteral(" is a symbolic link; refusing to use it");
        return QString();
    }
    if (!S_ISDIR(status.st_mode)) {
        if (reason)
            *reason = path + QStringLiteral(" is not a folder; refusing to use it");
        return QString();
    }
    if (status.st_uid != user) {
        if (reason)
            *reason = path + QStringLiteral(" belongs to another user; refusing to use it");
        return QString();
    }
    if ((status.st_mode & 0077) != 0 && ::chmod(encoded.constData(), 0700) != 0) {
        if (reason)
            *reason = path + QStringLiteral(": ") + systemError(errno);
        return QString();
    }
    return path;
}

bool createFolderWithIntermediates(const QString &path, QString *reason)
{
    const QString clean = QDir::cleanPath(path);
    qsizetype slash = 0;
    for (;;) {
        slash = clean.indexOf(QLatin1Char('/'), slash + 1);
        const QString prefix = slash < 0 ? clean : clean.left(slash);
        if (!prefix.isEmpty()) {
            const QByteArray encoded = QFile::encodeName(prefix);
            if (::mkdir(encoded.constData(), 0777) != 0 && errno != EEXIST) {
                if (reason)
                    *reason = prefix == clean ? systemError(errno) : prefix + QStringLiteral(": ") + systemError(errno);
                return false;
            }
        }
        if (slash < 0)
            break;
    }
    if (!QFileInfo(clean).isDir()) {
        if (reason)
            *reason = systemError(ENOTDIR);
        return false;
    }
    return true;
}

bool removeItemAtPath(const QString &path, QString *reason)
{
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status;
    if (::lstat(encoded.constData(), &status) != 0) {
        if (errno == ENOENT)
            return true;
        if (reason)
            *reason = systemError(errno);
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        if (::unlink(encoded.constData()) == 0)
            return true;
        if (reason)
            *reason = systemError(errno);
        return false;
    }
    const int folder = ::open(encoded.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) {
        if (reason)
            *reason = systemError(errno);
        return false;
    }
    if (!removeContents(folder, encoded, reason))
        return false;
    if (::rmdir(encoded.constData()) != 0) {
        if (reason)
            *reason = systemError(errno);
        return false;
    }
    return true;
}

} // namespace OVStandardPaths
