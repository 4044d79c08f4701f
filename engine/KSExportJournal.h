// The journal of an export in progress, kept in its export folder so that a run that stops
// (cancelled, an error, killed, a power cut) can be continued by the next one instead of
// starting again from the first item.
//
// JSON lines: a header line naming the source (identifier and version), the options and how
// many items the run announced, then one line per recorded item: its identifier and
// modification date, its record (the file relative to the export folder), the size of its
// file and the problems listed about it. Lines are written as items are recorded, so a killed
// importer loses none; they are synced to the disk (fdatasync) once 100 are pending or a
// second has passed, so a power cut loses at most that much. A torn last line is what a
// stop in mid-write leaves and is dropped; anything else that does not read makes the whole
// journal untrusted.
#pragma once

#include "engine/KSLibraryRecords.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class KSExportJournal
{
public:
    // The journal's file name inside the export folder.
    static const QString fileName;
    // The format this program writes and the only one it reads.
    static constexpr int formatVersion = 1;
    // Lines are synced to the disk once this many are pending, or this long after the oldest.
    static constexpr int syncEveryItems = 100;
    static constexpr qint64 syncEveryMilliseconds = 1000;

    struct Header
    {
        QString sourceIdentifier;
        QString sourceVersion;
        QStringList options; // the keys of the selected kinds
        qint64 announcedItems = 0;
    };

    // A problem the run listed about a recorded item, to be listed again when it is continued.
    struct Problem
    {
        int kind = 0; // a KSImportOperation::ItemProblemKind
        QString name;
        QString reason;
        QString englishReason;
    };

    struct Entry
    {
        QString optionKey;
        QString itemIdentifier;
        QDateTime modificationDate; // null when the item has none
        KSItemRecord record; // record.path relative to the export folder
        qint64 size = -1; // of the file, or of every file inside a package; -1 when none
        QList<Problem> problems;
    };

    struct Contents
    {
        Header header;
        QList<Entry> entries;
        bool droppedTornLine = false;
    };

    // Reads the journal at `path`. Nothing, with `*problem` saying why in English, when there
    // is none or it cannot be trusted: an unreadable header, another format version, a line
    // that does not read other than a torn last one, a file named outside the export folder.
    static std::optional<Contents> read(const QString &path, QString *problem = nullptr);

    // The size a journal entry records for the file or package at `path`: a file's size, the
    // sum of the files inside a folder, -1 when there is nothing.
    static qint64 sizeOnDisk(const QString &path);

    // `clock` answers milliseconds on a steady clock; the default is the monotonic one.
    explicit KSExportJournal(std::function<qint64()> clock = {});
    ~KSExportJournal();

    KSExportJournal(const KSExportJournal &) = delete;
    KSExportJournal &operator=(const KSExportJournal &) = delete;

    // Starts the journal at `path` with `header` and `entries` (those of a run being continued),
    // replacing whatever is there through a synced temporary file renamed into place.
    [[nodiscard]] bool begin(const QString &path, const Header &header, const QList<Entry> &entries,
                             QString *problem = nullptr);
    // Writes the entry's line, and syncs when due.
    [[nodiscard]] bool append(const Entry &entry, QString *problem = nullptr);
    // Syncs when lines have waited a second or more; called between items, so that a slow
    // source does not keep lines unsynced for long.
    [[nodiscard]] bool syncIfDue(QString *problem = nullptr);
    // Syncs now and closes the file.
    void close();
    bool isOpen() const { return m_fd >= 0; }

    // Lines written but not yet synced to the disk.
    int unsyncedLines() const { return m_unsynced; }
    // The time spent waiting for the disk to sync, in nanoseconds.
    qint64 syncNanoseconds() const { return m_syncNanoseconds; }

    // An entry as its line's JSON, and back (nothing for one that does not read).
    static QJsonObject entryObject(const Entry &entry);
    static std::optional<Entry> entryFromObject(const QJsonObject &object);

private:
    bool writeLine(const QJsonObject &object, QString *problem);
    bool sync(QString *problem);

    std::function<qint64()> m_clock;
    int m_fd = -1;
    int m_unsynced = 0;
    qint64 m_oldestUnsynced = 0;
    qint64 m_syncNanoseconds = 0;
};
