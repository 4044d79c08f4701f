// The export engine: one operation exports the whole source library and hands it to the
// target. Created per run, with its options and delegate, by whoever shows its progress; run
// once on a worker thread through main() (see KSImportRunner), cancelled from any thread;
// its results read once main() has returned. The operation keeps the run (checks, stages in
// order, notifications, cancel); the library file being built is a KSLibraryFile. The stages
// live in files of their own (KSPerformImport.cpp, KSImportGroups.cpp, ...); the
// notifications in KSImportOperationNotifications.cpp.
#pragma once

#include "engine/KSExportJournal.h"
#include "engine/KSImportOperationDelegate.h"
#include "engine/KSImportOptions.h"
#include "engine/KSLibraryFile.h"
#include "engine/KSReportItemList.h"
#include "engine/KSScriptingException.h"
#include "engine/KastrelApplication.h"
#include "engine/ScriptingBackend.h"
#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QDateTime>
#include <QHash>
#include <QIODevice>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class KSResumedExport;

class KSImportOperation
{
public:
    // The two editions of the target, in the order they are looked for.
    static const QString targetIdentifier;
    static const QString sandboxedTargetIdentifier;
    // The two identifiers of the source, in the order they are tried.
    static const QString sourceIdentifier;
    static const QString legacySourceIdentifier;

    // How many items the source is asked to export before the one being recorded is done:
    // while the importer converts, moves and records an item, the source already writes the
    // next ones. One asks for each item only when it is its turn.
    static constexpr int DefaultExportWindow = 8;

    // `importOptions` selects the kinds of item; `delegate`, held
    // for the life of the operation, hears of the progress on the main thread; `backend`
    // reaches the applications, by default over the session bus.
    explicit KSImportOperation(KSImportOptions importOptions,
                               std::shared_ptr<KSImportOperationDelegate> delegate = nullptr,
                               std::shared_ptr<ScriptingBackend> backend = nullptr);
    ~KSImportOperation();

    KSImportOperation(const KSImportOperation &) = delete;
    KSImportOperation &operator=(const KSImportOperation &) = delete;

    // The run's body, on a worker thread. Never throws: whatever escapes the stages becomes
    // error 10004.
    void main();

    // The options the operation was made with.
    const KSImportOptions &importOptions() const { return m_importOptions; }

    // Before main(): continue the export that an earlier run left in the export folder (see
    // KSImportResume.cpp) rather than starting from the first item.
    void setResume(bool resume) { m_resume = resume; }
    bool resume() const { return m_resume; }
    // Before main(): whether the run keeps a journal that lets a later run continue it; on
    // by default, off only to measure what keeping it costs.
    void setJournalEnabled(bool enabled) { m_journalEnabled = enabled; }

    // From any thread: the run stops before its next item.
    void cancel() { m_cancelled.store(true); }
    bool isCancelled() const { return m_cancelled.load(); }

    // The results, read once main() has returned.
    //
    // The number of items of each selected kind (by option key, as counted before the export),
    // and the items the item stage passed over.
    struct SkippedItem
    {
        QString identifier;
        QString optionKey;
        // Why, for the person; the log and other programs read the English one.
        QString reason;
        QString englishReason;
    };
    const QMap<QString, quint64> &announcedItemCounts() const { return m_announcedItemCounts; }
    const QList<SkippedItem> &skippedItems() const { return m_skippedItems; }

    // An item that did not arrive whole: not at all, with its original file attached in place
    // of its text, or without part of what it carries (its address, its dates).
    enum class ItemProblemKind { NotImported, OriginalFileAttached, Incomplete };
    struct ItemProblem
    {
        QString identifier;
        QString name;
        QString optionKey;
        ItemProblemKind kind = ItemProblemKind::NotImported;
        // Why, for the person; the log and other programs read the English one.
        QString reason;
        QString englishReason;
    };
    const QList<ItemProblem> &itemProblems() const { return m_itemProblems; }
    // The library file handed to the target, or a null string when none was.
    const QString &handedOffLibraryFile() const { return m_handedOffLibraryFile; }
    // How many records of the library file lost characters that XML cannot carry.
    qint64 recordsWithUncarriableCharacters() const { return m_recordsWithUncarriableCharacters; }
    // How many items the library file records, by item type code.
    QMap<qint64, qint64> recordedItemCountsByType() const;
    // The run's log file, or a null string when the run never got as far as opening one.
    const QString &logFilePath() const { return m_logFilePath; }
    // The export folder, or a null string when the run never got as far as choosing it.
    const QString &filesPath() const { return m_filesPath; }
    // The export folder a run that stopped keeps, with its journal, for a later run to
    // continue; a null string when none is kept. Known from the moment the run stops (its
    // error or its cancellation), before the folder is closed.
    QString keptExportFolder() const;
    // How many items a continued run took from the journal, and how many it exported itself.
    qint64 resumedItemCount() const { return m_resumedItems; }
    qint64 exportedItemCount() const { return m_exportedItems; }
    // What keeping the journal cost the run: the time spent making and writing its lines and
    // syncing them, and the part of it spent waiting for the disk to sync, in nanoseconds.
    qint64 journalNanoseconds() const { return m_journalNanoseconds; }
    qint64 journalSyncNanoseconds() const;
    // Why a run asked to continue started from the first item instead; empty when it did not.
    const OVText &notContinuedReason() const { return m_notContinuedReason; }

    // Where the log of a run for `targetIdentifier` goes: "<support>/Nortavel 3/Logs/Kastrel Export.log".
    static QString logFilePathForTarget(const QString &targetIdentifier);
    // The export folder for `targetIdentifier`, or a null string (and *reason) when the
    // per-user temporary folder cannot be used.
    static QString exportFolderForTarget(const QString &targetIdentifier, QString *reason = nullptr);

    // How the run ended as far as its notifications told: failed once any error was reported,
    // else cancelled or ended as the last notification said; running before either.
    enum class RunOutcome { Running, Ended, Cancelled, Failed };
    RunOutcome runOutcome() const;
    // The errors reported to the delegate, in order.
    const QList<OVError> &reportedErrors() const { return m_reportedErrors; }
    // How many per-record events were sent (one per item exported or passed over).
    quint64 recordEventCount() const { return m_recordEventCount; }
    // Every item the run came to, once, in the order met, with what became of it.
    const QList<KSReportItem> &reportItems() const { return m_reportItems.items(); }
    // The run's report files (HTML for people, JSON for programs), written once the run reached
    // its items; null strings when none was written. When writing failed, why (empty otherwise).
    const QString &reportFilePath() const { return m_reportFilePath; }
    const QString &jsonReportFilePath() const { return m_jsonReportFilePath; }
    const OVText &reportProblem() const { return m_reportProblem; }

    // Web Page (7) for PDFs a browser saved, Document (2) for any other.
    static qint64 itemTypeForPDFAtPath(const QString &path);

private:
    // Tests look at the stages and the library as it is built.
    friend struct KSImportOperationInspector;

    // What the run works with; set on the worker thread, read by it (and, while it waits for
    // them, by the notifications on the main thread).
    const KSLibraryFile &library() const { return m_library; }
    const std::shared_ptr<KSImportOperationDelegate> &delegate() const { return m_delegate; }
    const std::shared_ptr<QIODevice> &logStream() const { return m_logStream; }
    const std::optional<KastrelApplication> &kastrelApp() const { return m_kastrelApp; }
    quint64 majorVersion() const { return m_majorVersion; }
    ScriptingBackend &scriptingBackend() const { return *m_backend; }

    // The run, after main() has found the target and opened the log.
    bool performImportWithAppIdentifier(const QString &identifier);

    // The stages, in the order the run calls them; each answers whether to go on.
    bool importGroups();
    bool importSmartGroups();
    bool importLabels();
    bool importItems();

    // The item being exported, as the item loop keeps it while the kind's steps run: what
    // names it in the summary and in an error, and which of its optional properties could not
    // be used (each is listed once).
    struct ExportedItem
    {
        const KastrelDatabaseItem &item;
        QString identifier;
        QString name;
        QString optionKey; // the kind it is exported as
        QSet<QString> unusableProperties;
        qsizetype reportIndex = -1; // its entry in the report's item list
    };

    // The item exporters importItems() calls, one per kind of item, each with the option key
    // of the kind it exports. Each says how its items' files arrive and what their records
    // hold; exportEachItem() does the rest.
    bool importDatabaseItemsAsNotes(const QList<KastrelDatabaseItem> &items, const QString &optionKey);
    bool importBookmarks(const QString &optionKey);
    bool importDatabaseItems(const QList<KastrelDatabaseItem> &items, qint64 type, const QString &directory,
                             const QString &optionKey);
    bool importPDFs(const QString &optionKey);

    // Where an item's file ended up: the record describes this file.
    struct PlacedFile
    {
        qint64 type = 0;
        QString path;
        QString fileName;
    };
    // What sets one kind of item apart from the others.
    struct ItemKindSteps
    {
        // The option key of the kind, for the items the summary lists.
        QString optionKey;
        // The folder the source writes the item of window slot `slot` into; none for a kind the
        // source does not export (bookmarks).
        std::function<QString(int slot)> exportFolder;
        // Items without a name are passed over (notes and the like, images, web archives).
        bool skipsItemsWithoutName = true;
        // The text of error 10003 when the source writes nothing; "%@" is the item's name.
        const char *exportFailureText = nullptr;
        // Brings the item's file (the one the source wrote, or none) to where the target takes
        // it from, dated; nothing when the run is to stop, after reporting why.
        std::function<std::optional<PlacedFile>(ExportedItem &item, const QString &exported)> placeFile;
        // The log line for the item, "%@" being its identifier.
        QString logFormat;
        // What the record of this kind holds besides what every record holds.
        std::function<void(ExportedItem &item, KSItemRecord &record)> completeRecord;
    };
    // The loop every kind shares: the cancel check, items without a name, the source's export
    // (asked ahead, see DefaultExportWindow), the kind's steps, the log line, the record and
    // the progress, item after item in `items` order.
    bool exportEachItem(const QList<KastrelDatabaseItem> &items, const ItemKindSteps &steps);
    // One item's steps after its export: answers whether the run goes on.
    bool recordItem(ExportedItem &item, const QString &exported, const ItemKindSteps &steps);

    // A failure of the connection while an item was being exported: the item's name goes with
    // it to main(), which reports it.
    class ItemScriptingException : public KSScriptingException
    {
    public:
        ItemScriptingException(const KSScriptingException &exception, const QString &itemName)
            : KSScriptingException(exception)
            , m_itemName(itemName)
        { }
        const QString &itemName() const { return m_itemName; }

    private:
        QString m_itemName;
    };

    // What became of a note's conversion: written from its text, written as a note holding
    // the original file (the text could not be read), or not written at all.
    struct NoteConversion
    {
        enum class Outcome { Converted, OriginalFileAttached, NotWritten } outcome = Outcome::Converted;
        OVText reason;
        QStringList leftOut; // what the text held that the note cannot show (headers, comments...)
    };
    // Writes the note package of a staged file: "originalPath" is read, "notePath" written.
    // Runs on the main thread. A failure leaves a line on the console; a staged file that is
    // no readable text still becomes a note, holding that file unchanged. `conversion`, when
    // given, tells which happened.
    void convertFileToNoteOnMainThread(const QVariantMap &request, NoteConversion *conversion = nullptr);

    // The attributes every item record carries: comments, tags, label and groups.
    void addGeneralAttributesToDatabaseItem(ExportedItem &item, KSItemRecord &record);
    // The item's tag names joined by ",", or a null string when it has none.
    QString tagsStringForDatabaseItem(const KastrelDatabaseItem &item);
    // "LibraryGroup", then the groups and smart groups that list the item, in table order.
    OVPlist::Array groupIdentifiersForDatabaseItem(const KastrelDatabaseItem &item);

    // The notifications. Each runs on the main thread while the caller waits.
    void informDelegateDidStart();
    void informDelegateWillStartImportingRecordsOfType(const QString &type);
    void informDelegateWillStartImportingCountOfRecordsOfType(const QVariantMap &countAndType);
    void informDelegateDidImportRecordOfType(const QString &type);
    void informDelegateDidEncounterError(const OVError &error);
    void informDelegateDidCancel();
    void informDelegateDidEnd();

    // Writes a line to the log when it is open; lines for a log that could not be opened are lost.
    void writeLog(const QString &line);
    // Notes an item passed over because it has no name, in the log and for the summary, and
    // releases it.
    void skipItemWithoutName(const ExportedItem &item);
    // The path the source answered for `item` written into `folder`, checked: a null string when
    // it wrote nothing or answered a path outside `folder`, which is treated the same.
    QString checkedExportPath(const KastrelDatabaseItem &item, const QString &answered, const QString &folder);
    // Sets what the item has of its creation and modification dates on the file at `path`;
    // answers whether every date it has was set.
    bool setFileDates(const QString &path, ExportedItem &item);
    // The same for a file whose record carries no dates (bookmarks, PDFs): a failure loses
    // them, so the item is listed as not fully imported.
    void setOnlyCopyOfFileDates(const QString &path, ExportedItem &item);
    // The name (the file name without its extension) and what the item has of its dates: what
    // the records of notes and database items hold besides those of every record.
    void setNameAndDates(KSItemRecord &record, ExportedItem &item);
    // Runs `read`, which reads the optional property `property` of the item being exported.
    // A value the source answered but that cannot be used (of the wrong type, a date that is
    // no date, a label that is not there) does not stop the run: the item is listed as
    // incomplete, once per property, and `read` is taken to have found nothing. Answers
    // whether the read went through. Failures of the source itself still end the run.
    bool readItemProperty(ExportedItem &item, const QString &property, const std::function<void()> &read);
    // The item's creation and modification dates, each null when absent or unusable.
    QDateTime itemCreationDate(ExportedItem &item);
    QDateTime itemModificationDate(ExportedItem &item);
    // The identifier the record of the item is kept under: the source's own, or, when an
    // earlier item of the run has it already, one derived from it ("ID-2", "ID-3", ...), the
    // same from run to run; such an item is listed.
    QString recordIdentifierForItem(const ExportedItem &item);
    // The reason of the 10003 error for `item`: `format` filled with the item's name.
    static OVError itemExportError(const char *format, const QString &name);

    // Tells of an item that did not arrive whole: in the log, and in itemProblems().
    void noteItemProblem(const QString &identifier, const QString &name, const QString &optionKey, ItemProblemKind kind,
                         const OVText &reason);
    void noteItemProblem(const ExportedItem &item, ItemProblemKind kind, const OVText &reason);
    // Whether a file written into `folder` failed for lack of space (a full disk, a quota, a
    // file size limit). If so, error 10002 naming the folder and the reason is reported, and
    // the run is to stop.
    bool stopIfOutOfSpace(const QString &folder);
    // Takes out of the item table every record whose file is not there (listing its item as
    // not imported, under `optionKey`) and counts the records whose strings XML cannot carry
    // whole. Answers the files of the records that stay.
    QSet<QString> removeRecordsWithoutFiles(const QString &optionKey);
    // The folder the source stages the item of export window slot `slot` in: "TMP" itself when
    // one item is exported at a time, else a folder of the slot's own inside it.
    QString stagingFolder(int slot) const;
    // Those folders of the slots; created with the export folder's sub-folders.
    QStringList stagingSlotFolders() const;
    // Writes (or rewrites) the run's report files beside the log, once the run has reached its
    // items; a failure is logged and kept in reportProblem(), and changes nothing else.
    void writeRunReport();
    // Removes the export folder of a run that was cancelled or stopped by an error, unless
    // its journal lets a later run continue it.
    void removeUnusedExportFolder();

    // Continuing an earlier export (KSImportResume.cpp). Reads the journal in `folder`:
    // answers false when it belongs to another source or other options (after reporting
    // why); a journal that is missing or cannot be trusted is logged and the run starts over.
    bool prepareToContinue(const QString &folder);
    // Clears the export folder of what the journal of the run being continued does not name.
    void prepareFolderToContinue(const QStringList &subFolders, const QString &stagingFolder);
    // Starts the run's journal once the item stage has its folders.
    void beginJournal(quint64 announcedItems);
    // Writes the line of an item just recorded; `problemsBefore` is how many problems were
    // listed before the item's.
    void journalItem(const ExportedItem &item, const KSItemRecord &record, const QString &file,
                     qsizetype problemsBefore);
    // Syncs the journal when lines have waited long enough.
    void syncJournalIfDue();
    // Records the item from its journal entry, without the source's export.
    void takeItemFromJournal(ExportedItem &item, const KSExportJournal::Entry *entry);
    // The journal entry that stands for `item` in a continued run, or none.
    const KSExportJournal::Entry *journalEntryFor(const KastrelDatabaseItem &item, const QString &optionKey);
    // The library file is written: the journal is of no more use.
    void removeJournal();
    // Closes the journal and keeps the folder of a run that stopped; answers whether it did.
    bool keepUnfinishedExportFolder();
    // The error text for a failure of the connection to an application: which one, what
    // happened (`failure`, as settled by the backend), and the item being exported, if any;
    // the bus's own words go to the log.
    OVText describe(const KSScriptingException &exception, KSScriptingException::Failure failure,
                    const QString &itemName) const;
    // Writes the library file and reads it back: a file the target could not parse, or that
    // names a file other than `itemFiles`, is never handed over. Reports error 10002 on failure.
    bool writeLibraryFile(const QString &libraryFile, const QSet<QString> &itemFiles);

    const KSImportOptions m_importOptions;
    const std::shared_ptr<KSImportOperationDelegate> m_delegate;
    const std::shared_ptr<ScriptingBackend> m_backend;
    std::atomic<bool> m_cancelled {false};
    int m_exportWindow = DefaultExportWindow;

    // Only the worker touches these while the run lasts.
    KSLibraryFile m_library;
    std::shared_ptr<QIODevice> m_logStream;
    std::optional<KastrelApplication> m_kastrelApp;
    quint64 m_majorVersion = 0;
    QString m_filesPath;
    QString m_logFilePath;

    QMap<QString, quint64> m_announcedItemCounts;
    QList<SkippedItem> m_skippedItems;
    QList<ItemProblem> m_itemProblems;
    QString m_handedOffLibraryFile;
    qint64 m_recordsWithUncarriableCharacters = 0;
    bool m_errorReported = false;
    KSReportItemList m_reportItems;
    QList<OVError> m_reportedErrors;
    RunOutcome m_endingNotified = RunOutcome::Running;
    quint64 m_recordEventCount = 0;
    QDateTime m_startTime; // local time, naming the report files
    bool m_reachedItemStage = false;
    QString m_reportFilePath;
    QString m_jsonReportFilePath;
    OVText m_reportProblem;
    bool m_createdExportFolder = false;

    bool m_resume = false;
    bool m_journalEnabled = true;
    QString m_foundSourceIdentifier;
    QString m_sourceVersion;
    std::unique_ptr<KSExportJournal> m_journal;
    qint64 m_journalNanoseconds = 0;
    qint64 m_journalSyncNanoseconds = 0;
    std::unique_ptr<KSResumedExport> m_resumed;
    qint64 m_resumedItems = 0;
    qint64 m_exportedItems = 0;
    QString m_keptExportFolder;
    OVText m_notContinuedReason;
};
