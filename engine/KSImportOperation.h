// The export engine: one operation exports the whole source library and hands it to the
// target. Created per run by whoever shows its progress, run once on a worker thread through
// main(), cancelled from the main thread. The stages live in files of their own
// (KSPerformImport.cpp, KSImportGroups.cpp, ...); the notifications in
// KSImportOperationNotifications.cpp.
#pragma once

#include "engine/KSImportOperationDelegate.h"
#include "engine/KastrelApplication.h"
#include "engine/ScriptingBackend.h"
#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QHash>
#include <QIODevice>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

class KSScriptingException;

class KSImportOperation
{
public:
    // The two editions of the target, in the order they are looked for.
    static const QString targetIdentifier;
    static const QString sandboxedTargetIdentifier;
    // The two identifiers of the source, in the order they are tried.
    static const QString sourceIdentifier;
    static const QString legacySourceIdentifier;

    // `backend` reaches the applications; by default the session bus.
    explicit KSImportOperation(std::shared_ptr<ScriptingBackend> backend = nullptr);
    ~KSImportOperation();

    KSImportOperation(const KSImportOperation &) = delete;
    KSImportOperation &operator=(const KSImportOperation &) = delete;

    // The run's body. Never throws: whatever escapes the stages becomes error 10004.
    void main();

    void cancel() { m_cancelled.store(true); }
    bool isCancelled() const { return m_cancelled.load(); }

    // Properties; each accessor takes the operation's lock.
    OVPlist libraryPlist() const;
    void setLibraryPlist(const OVPlist &libraryPlist);
    // Held strongly: the delegate lives at least as long as the operation.
    std::shared_ptr<KSImportOperationDelegate> delegate() const;
    void setDelegate(std::shared_ptr<KSImportOperationDelegate> delegate);
    QVariantMap importOptions() const;
    void setImportOptions(const QVariantMap &importOptions);
    std::shared_ptr<QIODevice> logStream() const;
    void setLogStream(std::shared_ptr<QIODevice> logStream);
    std::optional<KastrelApplication> kastrelApp() const;
    void setKastrelApp(std::optional<KastrelApplication> kastrelApp);
    quint64 majorVersion() const;
    void setMajorVersion(quint64 majorVersion);
    QString filesPath() const;
    void setFilesPath(const QString &filesPath);

    ScriptingBackend &scriptingBackend() const { return *m_backend; }

    // What the item stage found, for summaries after a run: the number of items of each selected
    // kind (by option key, as counted before the export), and the items it passed over.
    struct SkippedItem
    {
        QString identifier;
        QString optionKey;
        QString reason;
    };
    QMap<QString, quint64> announcedItemCounts() const;
    QList<SkippedItem> skippedItems() const;

    // An item that did not arrive whole: not at all, with its original file attached in place
    // of its text, or without part of what it carries (its address, its dates).
    enum class ItemProblemKind { NotImported, OriginalFileAttached, Incomplete };
    struct ItemProblem
    {
        QString identifier;
        QString name;
        QString optionKey;
        ItemProblemKind kind = ItemProblemKind::NotImported;
        QString reason;
    };
    QList<ItemProblem> itemProblems() const;
    // The library file handed to the target, or a null string when none was.
    QString handedOffLibraryFile() const;
    // How many records of the library file lost characters that XML cannot carry.
    qint64 recordsWithUncarriableCharacters() const;

    // Where the log of a run for `targetIdentifier` goes: "<support>/Nortavel 3/Logs/Kastrel Export.log".
    static QString logFilePathForTarget(const QString &targetIdentifier);
    // The export folder for `targetIdentifier`, or a null string (and *reason) when the
    // per-user temporary folder cannot be used.
    static QString exportFolderForTarget(const QString &targetIdentifier, QString *reason = nullptr);

    // The run, after main() has found the target and opened the log.
    bool performImportWithAppIdentifier(const QString &identifier);

    // The stages, in the order the run calls them; each answers whether to go on.
    bool importGroups();
    bool importSmartGroups();
    bool importLabels();
    bool importItems();

    // The item exporters importItems() calls, one per kind of item.
    bool importDatabaseItemsAsNotes(const QList<KastrelDatabaseItem> &items);
    bool importBookmarks();
    bool importDatabaseItems(const QList<KastrelDatabaseItem> &items, qint64 type, const QString &directory);
    bool importPDFs();

    // What became of a note's conversion: written from its text, written as a note holding
    // the original file (the text could not be read), or not written at all.
    struct NoteConversion
    {
        enum class Outcome { Converted, OriginalFileAttached, NotWritten } outcome = Outcome::Converted;
        QString reason;
    };
    // Writes the note package of a staged file: "originalPath" is read, "notePath" written.
    // Runs on the main thread. A failure leaves a line on the console; a staged file that is
    // no readable text still becomes a note, holding that file unchanged. `conversion`, when
    // given, tells which happened.
    void convertFileToNoteOnMainThread(const QVariantMap &request, NoteConversion *conversion = nullptr);

    // Web Page (7) for PDFs a browser saved, Document (2) for any other.
    static qint64 itemTypeForPDFAtPath(const QString &path);

    // The attributes every item record carries: comments, tags, label and groups.
    void addGeneralAttributesToDatabaseItem(const KastrelDatabaseItem &item, OVPlist &itemRecord);
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

protected:
    // Writes a line to the log when it is open; lines for a log that could not be opened are lost.
    void writeLog(const QString &line);
    // The entity table `entity` of the library file, made empty.
    void createEntityTable(const QString &entity);
    // Puts `record` into entity table `entity` under `identifier`.
    void setEntityRecord(const QString &entity, const QString &identifier, const OVPlist &record);
    // Notes an item passed over because it has no name, in the log and for the summary, and
    // releases it.
    void skipItemWithoutName(const KastrelDatabaseItem &item);
    // Has the source write `item` into `folder`: the written path, or a null string when it
    // wrote nothing or answered a path outside `folder`, which is treated the same.
    QString exportItemToFolder(const KastrelDatabaseItem &item, const QString &folder);
    // The start that notes, images and web archives share for an item: an item without a name
    // is skipped (a null string, `*skipped` set); otherwise the path of the file the source wrote
    // into `folder`, or a null string after reporting error 10003 when it wrote none.
    QString exportNamedItemToFolder(const KastrelDatabaseItem &item, const QString &folder, bool *skipped);
    // The end every item exporter shares: the general attributes go into `record`, the record
    // into the item table under `identifier`, and the item is released, as nothing reads it again.
    void storeItemRecord(const KastrelDatabaseItem &item, const QString &identifier, OVPlist &record);
    // Sets what the item has of its creation and modification dates on the file at `path`;
    // answers whether every date it has was set.
    static bool setFileDates(const QString &path, const KastrelDatabaseItem &item);
    // The same for a file whose record carries no dates (bookmarks, PDFs): a failure loses
    // them, so the item is listed as not fully imported.
    void setOnlyCopyOfFileDates(const QString &path, const KastrelDatabaseItem &item, const QString &identifier,
                                const QString &name);
    // A record of the item table with the keys every kind sets first.
    static OVPlist itemRecord(qint64 type, const QString &identifier, const QString &path, const QString &fileName);
    // The name (the file name without its extension), the hidden-extension flag and what the
    // item has of its dates: the keys notes and database items share.
    static void insertNameAndDates(OVPlist &record, const QString &fileName, const KastrelDatabaseItem &item);
    // The reason of the 10003 error for `item`: `format` filled with the item's name.
    static OVError itemExportError(const char *format, const QString &name);

    // Tells of an item that did not arrive whole: in the log, and in itemProblems().
    void noteItemProblem(const QString &identifier, const QString &name, ItemProblemKind kind, const QString &reason);
    // Whether a file written into `folder` failed for lack of space (a full disk, a quota, a
    // file size limit). If so, error 10002 naming the folder and the reason is reported, and
    // the run is to stop.
    bool stopIfOutOfSpace(const QString &folder);
    // The item being exported, so that a failure of the source's connection names it.
    void setCurrentItemName(const QString &name) { m_currentItemName = name; }
    // Takes out of the item table every record whose file is not there (listing its item as
    // not imported) and counts the records whose strings XML cannot carry whole. Answers the
    // files of the records that stay.
    QSet<QString> removeRecordsWithoutFiles();
    // Removes the export folder of a run that was cancelled or stopped by an error.
    void removeUnusedExportFolder();
    // The error text for a failure of the connection to an application: which one, what
    // happened, and the item being exported; the bus's own words go to the log.
    QString describe(const KSScriptingException &exception) const;
    // Writes the library file and reads it back: a file the target could not parse, or that
    // names a file other than `itemFiles`, is never handed over. Reports error 10002 on failure.
    bool writeLibraryFile(const QString &libraryFile, const QSet<QString> &itemFiles);

private:
    std::shared_ptr<ScriptingBackend> m_backend;
    std::atomic<bool> m_cancelled {false};

    mutable std::mutex m_mutex;
    OVPlist m_libraryPlist;
    std::shared_ptr<KSImportOperationDelegate> m_delegate;
    QVariantMap m_importOptions;
    std::shared_ptr<QIODevice> m_logStream;
    std::optional<KastrelApplication> m_kastrelApp;
    quint64 m_majorVersion = 0;
    QString m_filesPath;

    QMap<QString, quint64> m_announcedItemCounts;
    QList<SkippedItem> m_skippedItems;
    QList<ItemProblem> m_itemProblems;
    QString m_handedOffLibraryFile;
    qint64 m_recordsWithUncarriableCharacters = 0;
    bool m_errorReported = false;
    bool m_createdExportFolder = false;
    QString m_currentItemName; // only touched on the worker thread
    QString m_currentOptionKey; // the kind the item stage is exporting, for skipped items

    // Item identifier to the groups listing it, made from the group tables on first use, so
    // finding an item's groups does not scan every group for every item.
    std::optional<QHash<QString, OVPlist::Array>> m_groupIndex;
};
