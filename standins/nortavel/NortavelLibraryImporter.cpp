#include "standins/nortavel/NortavelLibraryImporter.h"

#include "formats/NVItemType.h"
#include "foundation/OVPlistSerialization.h"
#include "standins/common/StandinFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QUuid>

namespace Standin {

namespace {

QJsonArray problemsToJson(const QList<NortavelLibraryProblem> &problems)
{
    QJsonArray array;
    for (const NortavelLibraryProblem &problem : problems)
        array << problem.toJson();
    return array;
}

// "name.ext", then "name 2.ext", ... inside `folder`.
QString freePath(const QDir &folder, const QString &fileName)
{
    // Not QDir::filePath(): it answers a name beginning with ":" (a resource path) unchanged.
    const auto inFolder = [&folder](const QString &name) { return folder.path() + QLatin1Char('/') + name; };
    QString candidate = inFolder(fileName);
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    const QString base = dot > 0 ? fileName.left(dot) : fileName;
    const QString extension = dot > 0 ? fileName.mid(dot) : QString();
    for (int number = 2; QFileInfo::exists(candidate); ++number)
        candidate = inFolder(QStringLiteral("%1 %2%3").arg(base).arg(number).arg(extension));
    return candidate;
}

} // namespace

NortavelLibraryImporter::NortavelLibraryImporter(QString dataFolder)
    : m_dataFolder(std::move(dataFolder))
{ }

QString NortavelLibraryImporter::folderForItemType(qint64 itemType)
{
    switch (itemType) {
    case NVItemTypeNote:
        return QStringLiteral("Notes");
    case NVItemTypeDocument:
        return QStringLiteral("Documents");
    case NVItemTypeImage:
        return QStringLiteral("Images");
    case NVItemTypeSound:
        return QStringLiteral("Sounds");
    case NVItemTypeMovie:
        return QStringLiteral("Movies");
    case NVItemTypeBookmark:
        return QStringLiteral("Bookmarks");
    case NVItemTypeWebPage:
        return QStringLiteral("Web Pages");
    default:
        return QStringLiteral("Other");
    }
}

bool NortavelLibraryImporter::refuse(const QList<NortavelLibraryProblem> &problems)
{
    m_report.insert(QStringLiteral("accepted"), false);
    m_report.insert(QStringLiteral("problems"), problemsToJson(problems));
    return false;
}

bool NortavelLibraryImporter::importLibraryFile(const QString &path)
{
    m_report = QJsonObject {{QStringLiteral("file"), path}};
    OVError readError;
    const OVPlist library = OVPlistSerialization::propertyListWithContentsOfFile(path, nullptr, &readError);
    if (!library.isValid())
        return refuse({NortavelLibraryProblem {
            {}, {}, {}, QStringLiteral("cannot read the library file: %1").arg(readError.localizedDescription)}});

    NortavelLibraryValidator validator(QFileInfo(path).absoluteFilePath());
    const bool valid = validator.validate(library);
    m_report.insert(QStringLiteral("warnings"), problemsToJson(validator.warnings()));
    if (!valid) {
        QList<NortavelLibraryProblem> problems = validator.problems();
        if (validator.omittedProblemCount() > 0)
            problems << NortavelLibraryProblem {
                {}, {}, {}, QStringLiteral("and %1 more problems").arg(validator.omittedProblemCount())};
        return refuse(problems);
    }

    // Everything is copied into a hidden folder first and renamed into place at the end.
    const QDir libraryFolder(QDir(m_dataFolder).filePath(libraryFolderName()));
    const QString staging
        = QDir(m_dataFolder)
              .filePath(QStringLiteral(".incoming-") + QUuid::createUuid().toString(QUuid::WithoutBraces));
    auto fail = [&](const QString &text) {
        QDir(staging).removeRecursively();
        return refuse({NortavelLibraryProblem {{}, {}, {}, text}});
    };
    if (!QDir().mkpath(libraryFolder.path()) || !QDir().mkpath(staging))
        return fail(QStringLiteral("cannot create the library folder under %1").arg(m_dataFolder));

    const OVPlist entities = library.value(QStringLiteral("Entities"));
    QJsonObject tables;
    for (const QString &table : NortavelLibraryValidator::tableNames())
        tables.insert(table, int(entities.value(table).size()));

    QJsonObject kinds;
    QJsonObject storedFiles;
    int encrypted = 0;
    const OVPlist::Dictionary items = entities.value(QStringLiteral("Item")).toDictionary();
    for (auto it = items.constBegin(); it != items.constEnd(); ++it) {
        const qint64 itemType = it.value().value(QStringLiteral("itemType")).toInteger();
        const QString kind = folderForItemType(itemType);
        const QDir kindFolder(QDir(staging).filePath(QStringLiteral("Items/") + kind));
        QDir().mkpath(kindFolder.path());
        const QString source = it.value().value(QStringLiteral("absoluteFilename")).toString();
        const QString destination = freePath(kindFolder, it.value().value(QStringLiteral("filename")).toString());
        if (!StandinFiles::copyTree(source, destination))
            return fail(QStringLiteral("cannot copy \"%1\" of item \"%2\"").arg(source, it.key()));
        kinds.insert(kind, kinds.value(kind).toInt() + 1);
        storedFiles.insert(it.key(), QDir(staging).relativeFilePath(destination));
        if (it.value().value(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport")).toBool())
            ++encrypted;
    }
    if (!QFile::copy(path, QDir(staging).filePath(QFileInfo(path).fileName())))
        return fail(QStringLiteral("cannot keep a copy of the library file"));

    QString importFolder;
    for (int number = 1;; ++number) {
        importFolder = libraryFolder.filePath(QStringLiteral("Import %1").arg(number));
        if (!QFileInfo::exists(importFolder))
            break;
    }
    if (!QDir().rename(staging, importFolder))
        return fail(QStringLiteral("cannot move the import into %1").arg(importFolder));

    m_report.insert(QStringLiteral("accepted"), true);
    m_report.insert(QStringLiteral("problems"), QJsonArray());
    m_report.insert(QStringLiteral("libraryFolder"), importFolder);
    m_report.insert(QStringLiteral("taken"),
                    QJsonObject {{QStringLiteral("tables"), tables},
                                 {QStringLiteral("itemsByKind"), kinds},
                                 {QStringLiteral("encryptedItems"), encrypted}});
    m_report.insert(QStringLiteral("files"), storedFiles);

    // Done with the export: the folder it came in is the exporter's to have removed.
    const QString removal = library.value(QStringLiteral("RemoveFileOnCompletion")).toString();
    if (QDir(removal).removeRecursively()) {
        m_report.insert(QStringLiteral("removed"), removal);
    } else {
        QJsonArray warnings = m_report.value(QStringLiteral("warnings")).toArray();
        warnings << NortavelLibraryProblem {{},
                                            {},
                                            QStringLiteral("RemoveFileOnCompletion"),
                                            QStringLiteral("cannot remove \"%1\"").arg(removal)}
                        .toJson();
        m_report.insert(QStringLiteral("warnings"), warnings);
    }
    return true;
}

} // namespace Standin
