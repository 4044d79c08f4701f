// What the run tells of items that did not arrive whole, and the checks that keep the target
// from ever getting a library it cannot read: a record whose file is not there is taken out
// (and its item listed), the written file is read back, and a full disk stops the run.
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVDiskSpace.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QFileInfo>
#include <algorithm>

namespace {

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

KSReportItem::Outcome reportOutcome(KSImportOperation::ItemProblemKind kind)
{
    switch (kind) {
    case KSImportOperation::ItemProblemKind::NotImported:
        return KSReportItem::Outcome::NotImported;
    case KSImportOperation::ItemProblemKind::OriginalFileAttached:
        return KSReportItem::Outcome::OriginalFileAttached;
    case KSImportOperation::ItemProblemKind::Incomplete:
        break;
    }
    return KSReportItem::Outcome::Incomplete;
}

} // namespace

void KSImportOperation::noteItemProblem(const QString &identifier, const QString &name, const QString &optionKey,
                                        ItemProblemKind kind, const OVText &reason)
{
    writeLog(OVStringWithFormat(QString::fromLatin1(problemLogFormat(kind)), {identifier, name, reason.english}));
    m_itemProblems.append(ItemProblem {identifier, name, optionKey, kind, reason.localized, reason.english});
}

void KSImportOperation::noteItemProblem(const ExportedItem &item, ItemProblemKind kind, const OVText &reason)
{
    noteItemProblem(item.identifier, item.name, item.optionKey, kind, reason);
    if (item.reportIndex >= 0)
        m_reportItems.addProblem(item.reportIndex, reportOutcome(kind), reason.localized, reason.english);
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

QSet<QString> KSImportOperation::removeRecordsWithoutFiles(const QString &optionKey)
{
    QSet<QString> present;
    const QList<KSLibraryFile::RemovedItem> removed = m_library.removeItemsWithoutFiles(filesPath(), &present);
    for (const KSLibraryFile::RemovedItem &item : removed) {
        // The record names its entry by the identifier it was kept under, which a later item
        // sharing the source's identifier does not have ("ID-2"): the entry says whether the
        // item was listed as not imported already.
        const qsizetype entry = m_reportItems.indexOfRecord(item.identifier);
        const bool listed = entry >= 0
            ? reportItems().at(entry).outcome == KSReportItem::Outcome::NotImported
            : std::any_of(m_itemProblems.cbegin(), m_itemProblems.cend(), [&](const ItemProblem &problem) {
                  return problem.identifier == item.identifier && problem.kind == ItemProblemKind::NotImported;
              });
        const OVText reason = OVLocalizedTextWithFormat(
            QT_TRANSLATE_NOOP("KastrelImporter", "its file \"%@\" is missing from the export"), {item.path});
        if (!listed) {
            noteItemProblem(item.identifier, item.name, optionKey, ItemProblemKind::NotImported, reason);
            if (entry >= 0)
                m_reportItems.addProblem(entry, KSReportItem::Outcome::NotImported, reason.localized, reason.english);
        }
        if (entry >= 0)
            m_reportItems.markRecordRemoved(entry);
    }

    // Every record, of every table, that loses characters on its way into the file.
    const qint64 uncarriable = m_library.recordsWithUncarriableCharacters();
    if (uncarriable > 0)
        writeLog(OVStringWithFormat(
            QStringLiteral("Left characters that XML cannot carry out of %ld records of the library file"),
            {uncarriable}));
    m_recordsWithUncarriableCharacters = uncarriable;
    return present;
}

bool KSImportOperation::writeLibraryFile(const QString &libraryFile, const QSet<QString> &itemFiles)
{
    // Why the file is not as it should be: the log shows the English side.
    OVText problem;
    if (!m_library.write(libraryFile, &problem))
        writeLog(OVStringWithFormat(QStringLiteral("Unable to write %@: %@"), {libraryFile, problem.english}));
    else if (!KSLibraryFile::readBack(libraryFile, itemFiles, &problem))
        writeLog(OVStringWithFormat(QStringLiteral("The library file %@ does not read back: %@"),
                                    {libraryFile, problem.english}));
    if (problem.english.isEmpty())
        return true;
    if (!stopIfOutOfSpace(QFileInfo(libraryFile).absolutePath()))
        informDelegateDidEncounterError(
            OVMakeError(KSImportErrorDomain, KSExportFolderError,
                        OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                    "The library file \"%@\" could not be written in "
                                                                    "full (%@). Nothing was handed to Nortavel 3."),
                                                  {libraryFile, QVariant::fromValue(problem)})));
    return false;
}
