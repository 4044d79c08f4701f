// An export that can be continued: the run keeps a journal of the items it recorded in its
// export folder, keeps that folder when it stops before the hand-off, and a run asked to
// continue takes every item the journal still holds for instead of having the source export
// it again. Everything else (groups, smart groups, labels, the other items, the library file
// and the hand-off) goes as in any run, so the result is that of a run that never stopped.
#include "engine/KSExportReport.h"
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/KSResumedExport.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

namespace {

QString journalPath(const QString &folder)
{
    return QDir(folder).filePath(KSExportJournal::fileName);
}

} // namespace

bool KSImportOperation::prepareToContinue(const QString &folder)
{
    QString problem;
    std::optional<KSExportJournal::Contents> journal = KSExportJournal::read(journalPath(folder), &problem);
    if (!journal) {
        m_notContinuedReason = OVText::untranslated(problem);
        writeLog(OVStringWithFormat(
            QStringLiteral("Not continuing an earlier export: %@; exporting from the first item"), {problem}));
        return true;
    }
    const KSExportJournal::Header &header = journal->header;
    const QString options = importOptions().selectedKeys().join(QLatin1Char(','));
    const QString earlierOptions = header.options.join(QLatin1Char(','));
    if (header.sourceIdentifier != m_foundSourceIdentifier || header.sourceVersion != m_sourceVersion) {
        writeLog(OVStringWithFormat(QStringLiteral("Refusing to continue the export in %@: it was made from %@ %@"),
                                    {folder, header.sourceIdentifier, header.sourceVersion}));
        informDelegateDidEncounterError(OVMakeError(
            KSImportErrorDomain, KSExportFolderError,
            OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                        "The earlier export cannot be continued: it was made from "
                                                        "another Kastrel (%@ %@). Export without continuing to "
                                                        "start over."),
                                      {header.sourceIdentifier, header.sourceVersion})));
        return false;
    }
    if (earlierOptions != options) {
        writeLog(OVStringWithFormat(QStringLiteral("Refusing to continue the export in %@: it exports %@, not %@"),
                                    {folder, earlierOptions, options}));
        informDelegateDidEncounterError(OVMakeError(
            KSImportErrorDomain, KSExportFolderError,
            OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                        "The earlier export cannot be continued: it exports other "
                                                        "kinds of items (%@). Choose the same kinds, or export "
                                                        "without continuing to start over."),
                                      {earlierOptions})));
        return false;
    }
    if (journal->droppedTornLine)
        writeLog(QStringLiteral("The journal's last line was cut short; its item is exported again"));
    writeLog(OVStringWithFormat(QStringLiteral("Continuing the export in %@: its journal holds %ld items"),
                                {folder, qint64(journal->entries.size())}));
    m_resumed = std::make_unique<KSResumedExport>(std::move(*journal), folder);
    return true;
}

void KSImportOperation::prepareFolderToContinue(const QStringList &subFolders, const QString &stagingFolder)
{
    if (!m_resumed)
        return;
    // A library file left by a run that could not write it whole goes with the rest.
    OVStandardPaths::removeItemAtPath(QDir(m_filesPath).filePath(QStringLiteral("Kastrel.nvlibxml")));
    const int removed = m_resumed->prepareFolder(subFolders, stagingFolder);
    writeLog(OVStringWithFormat(
        QStringLiteral("Taking up to %ld items from the journal; removed %ld files it does not name"),
        {qint64(m_resumed->entries().size()), qint64(removed)}));
}

void KSImportOperation::beginJournal(quint64 announcedItems)
{
    if (!m_journalEnabled)
        return;
    KSExportJournal::Header header {m_foundSourceIdentifier, m_sourceVersion, importOptions().selectedKeys(),
                                    qint64(announcedItems)};
    // A continued run's journal starts with the entries it takes over, so that it can be
    // continued in turn.
    const QList<KSExportJournal::Entry> entries = m_resumed ? m_resumed->entries() : QList<KSExportJournal::Entry>();
    auto journal = std::make_unique<KSExportJournal>();
    QString problem;
    if (!journal->begin(journalPath(m_filesPath), header, entries, &problem)) {
        writeLog(OVStringWithFormat(
            QStringLiteral("Unable to start the export journal: %@; if this export stops it cannot be continued"),
            {problem}));
        return;
    }
    m_journal = std::move(journal);
}

void KSImportOperation::journalItem(const ExportedItem &exported, const KSItemRecord &record, const QString &file,
                                    qsizetype problemsBefore)
{
    if (!m_journal || !m_journal->isOpen())
        return;
    QElapsedTimer spent;
    spent.start();
    KSExportJournal::Entry entry;
    entry.optionKey = exported.optionKey;
    entry.itemIdentifier = exported.identifier;
    entry.modificationDate = KSResumedExport::modificationDate(exported.item);
    entry.record = record;
    entry.record.path = QDir(m_filesPath).relativeFilePath(record.path);
    entry.size = KSExportJournal::sizeOnDisk(file);
    for (qsizetype index = problemsBefore; index < m_itemProblems.size(); ++index) {
        const ItemProblem &problem = m_itemProblems.at(index);
        entry.problems.append(
            KSExportJournal::Problem {int(problem.kind), problem.name, problem.reason, problem.englishReason});
    }
    QString problem;
    if (!m_journal->append(entry, &problem)) {
        // The lines written so far still hold: the journal stops here, and the folder is kept.
        writeLog(OVStringWithFormat(
            QStringLiteral("Unable to write the export journal: %@; items from here on are not in it"), {problem}));
        m_journal->close();
    }
    m_journalNanoseconds += spent.nsecsElapsed();
}

void KSImportOperation::syncJournalIfDue()
{
    if (!m_journal || !m_journal->isOpen())
        return;
    QElapsedTimer spent;
    spent.start();
    QString problem;
    if (!m_journal->syncIfDue(&problem)) {
        writeLog(OVStringWithFormat(
            QStringLiteral("Unable to write the export journal: %@; items from here on are not in it"), {problem}));
        m_journal->close();
    }
    m_journalNanoseconds += spent.nsecsElapsed();
}

qint64 KSImportOperation::journalSyncNanoseconds() const
{
    return m_journalSyncNanoseconds + (m_journal ? m_journal->syncNanoseconds() : 0);
}

const KSExportJournal::Entry *KSImportOperation::journalEntryFor(const KastrelDatabaseItem &item,
                                                                 const QString &optionKey)
{
    return m_resumed ? m_resumed->entryFor(item, optionKey) : nullptr;
}

void KSImportOperation::takeItemFromJournal(ExportedItem &exported, const KSExportJournal::Entry *entry)
{
    writeLog(
        OVStringWithFormat(QStringLiteral("Taking item with identifier %@ from the journal"), {exported.identifier}));
    for (const KSExportJournal::Problem &problem : entry->problems) {
        const auto kind
            = problem.kind >= int(ItemProblemKind::NotImported) && problem.kind <= int(ItemProblemKind::Incomplete)
            ? ItemProblemKind(problem.kind)
            : ItemProblemKind::Incomplete;
        noteItemProblem(exported, kind, OVText {problem.englishReason, problem.reason});
    }
    KSItemRecord record = entry->record;
    record.path = m_resumed->absolutePath(*entry);
    // The groups are read again: an item keeps the groups that list it now.
    record.groups = record.identifier == exported.identifier ? m_library.groupsOfItem(exported.identifier)
                                                             : OVPlist::Array {KSLibraryRecords::libraryGroup()};
    m_library.addItem(record);
    m_reportItems.markRecorded(exported.reportIndex, record.identifier, KSExportReport::itemTypeName(record.type),
                               QDir(m_filesPath).relativeFilePath(record.path));
    ++m_resumedItems;
    exported.item.release();
}

void KSImportOperation::removeJournal()
{
    // Nothing is left to continue from here on: should the hand-off fail, the folder goes as
    // that of any run without a journal.
    m_resumed.reset();
    if (!m_journal)
        return;
    m_journal->close();
    m_journalSyncNanoseconds += m_journal->syncNanoseconds();
    m_journal.reset();
    QFile::remove(journalPath(m_filesPath));
}

QString KSImportOperation::keptExportFolder() const
{
    if (!m_keptExportFolder.isNull())
        return m_keptExportFolder;
    // A stopped run with a journal still open keeps its folder once it winds up; an error's
    // alert is shown before that, and should already say so.
    const bool stopped = isCancelled() || m_errorReported;
    return stopped && (m_journal || m_resumed) && m_handedOffLibraryFile.isNull() ? m_filesPath : QString();
}

bool KSImportOperation::keepUnfinishedExportFolder()
{
    if (!m_journal && !m_resumed)
        return false;
    if (m_journal)
        m_journal->close();
    // The export window's staging folders are made again by the run that continues.
    for (const QString &slotFolder : stagingSlotFolders())
        QDir().rmdir(slotFolder);
    m_keptExportFolder = m_filesPath;
    writeLog(OVStringWithFormat(QStringLiteral("Kept the unfinished export folder %@ with its journal: "
                                               "\"kastrel-importer export --resume\" continues the export"),
                                {m_filesPath}));
    return true;
}
