#include "standins/common/StandinFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <filesystem>
#include <system_error>

namespace Standin {

namespace StandinFiles {

bool copyTree(const QString &source, const QString &destination, QString *error)
{
    const QFileInfo info(source);
    bool copied = false;
    if (info.isSymLink()) {
        // The link's own text, relative or not, as it is written: it means the same in the copy.
        std::error_code code;
        const std::filesystem::path target
            = std::filesystem::read_symlink(QFile::encodeName(source).toStdString(), code);
        if (!code)
            std::filesystem::create_symlink(target, QFile::encodeName(destination).toStdString(), code);
        copied = !code;
    } else if (info.isDir()) {
        copied = QDir().mkdir(destination);
        QDirIterator it(source, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
        while (copied && it.hasNext()) {
            it.next();
            // Not QDir::filePath(): a member named ":x" would be taken for a resource path.
            if (!copyTree(it.filePath(), destination + QLatin1Char('/') + it.fileName(), error))
                return false;
        }
    } else {
        copied = QFile::copy(source, destination);
        // A copy keeps the source's permissions; the copy is its new owner's to change.
        if (copied)
            QFile(destination)
                .setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    if (!copied && error)
        *error = QStringLiteral("cannot copy %1 to %2").arg(source, destination);
    return copied;
}

} // namespace StandinFiles

} // namespace Standin
