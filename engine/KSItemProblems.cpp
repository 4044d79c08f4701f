// What the run tells of items that did not arrive whole, and the checks that keep the target
// from ever getting a library it cannot read: a record whose file is not there is taken out
// (and its item listed), the written file is read back, and a full disk stops the run.
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "foundation/OVDiskSpace.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVStringFormat.h"
#include "foundation/OVXmlCharacters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace {

// Whether every string and key of `value` reaches the library file whole.
bool canBeCarried(const OVPlist &value)
{
    switch (value.type()) {
    case OVPlist::Type::String:
        return OVXmlCharacters::canCarry(value.toString());
    case OVPlist::Type::Array: {
        const OVPlist::Array members = value.toArray();
        return std::all_of(members.cbegin(), members.cend(), canBeCarried);
    }
    case OVPlist::Type::Dictionary: {
        const OVPlist::Dictionary entries = value.toDictionary();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            if (!OVXmlCharacters::canCarry(entry.key()) || !canBeCarried(entry.value()))
                return false;
        }
        return true;
    }
    default:
        return true;
    }
}

// A file of the export, as the target will look for it: inside the folder, under a name the
// library file carries whole, and there.
bool isExportedFile(const QString &path, const QString &folderPrefix)
{
    if (!path.startsWith(folderPrefix) || !OVXmlCharacters::canCarry(path) || path.contains(QLatin1String("/../")))
        return false;
    const QFileInfo file(path);
    return file.exists();
}

const char *problemLogFormat(KSImportOperation::ItemProblemKind kind)
{
    switch (kind) {
    case KSImportOperation::ItemProblemKind::NotImported:
        return "Item with identifier %@ (\"%@\") was not imported: %@";
    case KSImportOperation::ItemProblemKind::OriginalFileAttached:
        return "Item with identifier %@ (\"%@\") was imported with its original file attached: %@";
    case KSImportOperation::ItemProblemKind::Incomplete:
        break;
    }
    return "Item with identifier %@ (\"%@\") was not fully imported: %@";
}

} // namespace

void KSImportOperation::noteItemProblem(const QString &identifier, const QString &name, ItemProblemKind kind,
                                        const OVText &reason)
{
    writeLog(OVStringWithFormat(QString::fromLatin1(problemLogFormat(kind)), {identifier, name, reason.english}));
    m_itemProblems.append(ItemProblem {identifier, name, m_currentOptionKey, kind, reason.localized, reason.english});
}

bool KSImportOperation::stopIfOutOfSpace(const QString &folder)
{
    QString reason;
    if (!OVDiskSpace::isOutOfSpace(folder, &reason))
        return false;
    informDelegateDidEncounterError(
        OVMakeError(KSImportErrorDomain, KSExportFolderError,
                    OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                "The export stopped: there is no space left in the "
                                                                "export folder \"%@\" (%@). Free some space, then "
                                                                "export again."),
                                              {filesPath(), reason})));
    return true;
}

QSet<QString> KSImportOperation::removeRecordsWithoutFiles()
{
    const QString folderPrefix = QDir::cleanPath(filesPath()) + QLatin1Char('/');
    const OVPlist entities = libraryPlist().value(KSLibraryRecords::entitiesKey);
    const OVPlist::Dictionary items = entities.value(KSLibraryRecords::itemEntity).toDictionary();
    QStringList missing;
    QSet<QString> present;
    for (auto record = items.cbegin(); record != items.cend(); ++record) {
        const QString path = record.value().value(QStringLiteral("absoluteFilename")).toString();
        if (isExportedFile(path, folderPrefix))
            present.insert(path);
        else
            missing.append(record.key());
    }
    for (const QString &identifier : missing) {
        const OVPlist record = items.value(identifier);
        const QString path = record.value(QStringLiteral("absoluteFilename")).toString();
        m_libraryPlist[KSLibraryRecords::entitiesKey][KSLibraryRecords::itemEntity].remove(identifier);
        const bool listed
            = std::any_of(m_itemProblems.cbegin(), m_itemProblems.cend(), [&](const ItemProblem &problem) {
                  return problem.identifier == identifier && problem.kind == ItemProblemKind::NotImported;
              });
        if (!listed)
            noteItemProblem(
                identifier, record.value(QStringLiteral("name")).toString(QFileInfo(path).fileName()),
                ItemProblemKind::NotImported,
                OVLocalizedTextWithFormat(
                    QT_TRANSLATE_NOOP("KastrelImporter", "its file \"%@\" is missing from the export"), {path}));
    }

    // Every record, of every table, that loses characters on its way into the file.
    qint64 uncarriable = 0;
    const OVPlist::Dictionary tables = libraryPlist().value(KSLibraryRecords::entitiesKey).toDictionary();
    for (const OVPlist &table : tables) {
        const OVPlist::Dictionary records = table.toDictionary();
        for (auto record = records.cbegin(); record != records.cend(); ++record) {
            if (!OVXmlCharacters::canCarry(record.key()) || !canBeCarried(record.value()))
                ++uncarriable;
        }
    }
    if (uncarriable > 0)
        writeLog(OVStringWithFormat(
            QStringLiteral("Left characters that XML cannot carry out of %ld records of the library file"),
            {uncarriable}));
    m_recordsWithUncarriableCharacters = uncarriable;
    return present;
}

bool KSImportOperation::writeLibraryFile(const QString &libraryFile, const QSet<QString> &itemFiles)
{
    const QString folder = QFileInfo(libraryFile).absolutePath();
    // Why the file is not as it should be: the log shows the English side.
    OVText problem;
    {
        // Written in place: the folder is ours and the target reads the file only after this.
        QFile file(libraryFile);
        OVError error;
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            problem = OVText::untranslated(file.errorString());
        else if (!OVPlistSerialization::writePropertyList(libraryPlist(), &file, OVPlistSerialization::Format::Xml,
                                                          &error))
            problem = error.description();
        else if (!file.flush() || file.error() != QFileDevice::NoError)
            problem = OVText::untranslated(file.errorString());
        if (!problem.english.isEmpty())
            writeLog(OVStringWithFormat(QStringLiteral("Unable to write %@: %@"), {libraryFile, problem.english}));
    }

    if (problem.english.isEmpty()) {
        // Read back as the target will: a strict XML reading, and every file it names one of
        // those found there just before.
        QFile file(libraryFile);
        if (!file.open(QIODevice::ReadOnly)) {
            problem = OVText::untranslated(file.errorString());
        } else {
            QXmlStreamReader reader(&file);
            bool nextIsFile = false;
            while (!reader.atEnd() && problem.english.isEmpty()) {
                if (reader.readNext() != QXmlStreamReader::StartElement)
                    continue;
                if (reader.name() == QLatin1String("key")) {
                    nextIsFile = reader.readElementText() == QLatin1String("absoluteFilename");
                } else if (nextIsFile && reader.name() == QLatin1String("string")) {
                    const QString path = reader.readElementText();
                    if (!itemFiles.contains(path))
                        problem = OVText::untranslated(
                            OVStringWithFormat(QStringLiteral("it names %@, which is not there"), {path}));
                    nextIsFile = false;
                }
            }
            if (problem.english.isEmpty() && reader.hasError())
                problem = OVText::untranslated(OVStringWithFormat(QStringLiteral("line %ld: %@"),
                                                                  {qint64(reader.lineNumber()), reader.errorString()}));
        }
        if (!problem.english.isEmpty())
            writeLog(OVStringWithFormat(QStringLiteral("The library file %@ does not read back: %@"),
                                        {libraryFile, problem.english}));
    }

    if (problem.english.isEmpty())
        return true;
    if (!stopIfOutOfSpace(folder))
        informDelegateDidEncounterError(
            OVMakeError(KSImportErrorDomain, KSExportFolderError,
                        OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                    "The library file \"%@\" could not be written in "
                                                                    "full (%@). Nothing was handed to Nortavel 3."),
                                                  {libraryFile, QVariant::fromValue(problem)})));
    return false;
}
