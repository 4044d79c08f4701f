// RTFD packages in memory and on disk.
#include "formats/RTFDPackage.h"

#include "formats/DirectoryReplacement.h"
#include "formats/RTFReader.h"
#include "formats/RTFWriter.h"
#include "formats/RichTextAttributes.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextDocument>

const QString RTFDPackage::textFileName = QStringLiteral("TXT.rtf");

namespace {

QString saveFailure(const QString &fileName, const QString &reason)
{
    return QStringLiteral("The file \u201c%1\u201d couldn\u2019t be saved: %2").arg(fileName, reason);
}

} // namespace

bool RTFDPackage::fromDocument(const QTextDocument *document, const QVariantMap &documentAttributes,
                               const QSet<QString> &reservedNames)
{
    clearError();
    RTFWriter writer;
    writer.setAttachmentMode(RTFWriter::AttachmentMode::PackageReferences);
    QSet<QString> reserved = reservedNames;
    reserved.insert(textFileName);
    writer.setReservedFileNames(reserved);
    QByteArray rtf;
    if (!writer.write(document, &rtf, documentAttributes))
        return fail(writer.error());
    m_files.clear();
    m_files.insert(textFileName, rtf);
    for (const RTFWriter::Attachment &attachment : writer.attachments())
        m_files.insert(attachment.fileName, attachment.contents);
    return true;
}

bool RTFDPackage::readFromDirectory(const QString &path)
{
    clearError();
    m_files.clear();
    const QFileInfo info(path);
    if (!info.exists())
        return failNoSuchFile(info.fileName());
    if (!info.isDir())
        return fail(RichText::FileReadCorruptFileError,
                    QStringLiteral("The file \u201c%1\u201d is not a rich-text package.").arg(info.fileName()));
    QDirIterator entries(path, QDir::Files | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        const QString filePath = entries.next();
        QFile file(filePath);
        if (!file.open(QIODevice::ReadOnly)) {
            m_files.clear();
            return fail(RichText::FileReadUnknownError, file.errorString());
        }
        m_files.insert(entries.fileName(), file.readAll());
    }
    if (!m_files.contains(textFileName)) {
        m_files.clear();
        return fail(RichText::FileReadCorruptFileError,
                    QStringLiteral("The file \u201c%1\u201d has no text.").arg(info.fileName()));
    }
    return true;
}

bool RTFDPackage::toDocument(QTextDocument *document, QVariantMap *documentAttributes)
{
    clearError();
    RTFReader reader;
    // Only members of the package are handed out: a name with a folder part ("../x") is no
    // member, whatever it resolves to on disk.
    reader.setAttachmentLoader([this](const QString &name, QByteArray *contents) {
        auto found = m_files.constFind(name);
        // The text may spell an accented name decomposed where the file system composed it.
        if (found == m_files.constEnd())
            found = m_files.constFind(name.normalized(QString::NormalizationForm_C));
        if (found == m_files.constEnd())
            found = m_files.constFind(name.normalized(QString::NormalizationForm_D));
        if (found == m_files.constEnd() || name == textFileName)
            return false;
        *contents = found.value();
        return true;
    });
    if (!reader.read(m_files.value(textFileName), document))
        return fail(reader.error());
    if (documentAttributes) {
        *documentAttributes = reader.documentAttributes();
        documentAttributes->insert(RichText::DocumentTypeAttribute, RichText::RTFDDocumentType);
    }
    return true;
}

bool RTFDPackage::writeToDirectory(const QString &path)
{
    clearError();
    const QFileInfo target(path);
    const QString parent = target.absolutePath();
    if (target.fileName().isEmpty() || !QFileInfo(parent).isDir())
        return fail(RichText::FileWriteInvalidFileNameError,
                    QStringLiteral("The folder for \u201c%1\u201d doesn\u2019t exist.").arg(path));
    // A short name of its own: the package's name may already be as long as a name can be.
    QTemporaryDir staging(parent + QStringLiteral("/.rtfd-XXXXXX"));
    if (!staging.isValid())
        return fail(RichText::FileWriteUnknownError, saveFailure(target.fileName(), staging.errorString()));
    for (auto it = m_files.constBegin(); it != m_files.constEnd(); ++it) {
        if (it.key().isEmpty() || it.key().contains(QLatin1Char('/')) || it.key() == QLatin1String(".")
            || it.key() == QLatin1String(".."))
            return fail(RichText::FileWriteInvalidFileNameError,
                        QStringLiteral("\u201c%1\u201d is not a valid file name in a package.").arg(it.key()));
        QFile file(staging.filePath(it.key()));
        if (!file.open(QIODevice::WriteOnly) || file.write(it.value()) != it.value().size() || !file.flush())
            return fail(RichText::FileWriteUnknownError, saveFailure(target.fileName(), file.errorString()));
    }
    QFile::setPermissions(staging.path(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                              | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther
                              | QFileDevice::ExeOther);
    QString reason;
    if (!DirectoryReplacement::replace(staging.path(), target.absoluteFilePath(), &reason))
        return fail(RichText::FileWriteUnknownError, saveFailure(target.fileName(), reason));
    staging.setAutoRemove(false);
    return true;
}

bool RTFDPackage::readDocument(const QString &path, QTextDocument *document, QVariantMap *documentAttributes)
{
    return readFromDirectory(path) && toDocument(document, documentAttributes);
}

bool RTFDPackage::writeDocument(const QTextDocument *document, const QString &path,
                                const QVariantMap &documentAttributes)
{
    return fromDocument(document, documentAttributes) && writeToDirectory(path);
}
