// What a continued export takes over from the journal of the run it continues: the items it
// recorded, each handed out once, in order, to the item of the source it was made for, when
// that item has not changed since (same identifier and modification date) and its file is
// still there whole. Before the item stage it clears the export folder of what the journal
// does not name (files of items whose line never reached the journal, staged files, an old
// library file), so that every file name is chosen as in a run that never stopped.
#pragma once

#include "engine/KSExportJournal.h"
#include "engine/KastrelElements.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class KSResumedExport
{
public:
    KSResumedExport(KSExportJournal::Contents journal, QString exportFolder);

    // The journal's header, as the earlier run wrote it.
    const KSExportJournal::Header &header() const { return m_journal.header; }

    // Keeps the entries whose file is whole, removes every other entry of `subFolders` (and
    // the contents of `stagingFolder`) that no kept entry names. Answers how many went.
    int prepareFolder(const QStringList &subFolders, const QString &stagingFolder);
    // The entries kept, in journal order.
    const QList<KSExportJournal::Entry> &entries() const { return m_journal.entries; }

    // The entry for `item`, exported as `optionKey`, when the journal has one for it that
    // still holds; nothing when the item is to be exported anew (the file of an entry made for
    // an earlier state of the item is removed then, so that its name is free again). Asked
    // ahead of the item's turn as well as at it: the answer for an item is settled once.
    const KSExportJournal::Entry *entryFor(const KastrelDatabaseItem &item, const QString &optionKey);

    // The item's modification date as the journal keeps it: null when it has none or it
    // cannot be used. Throws what reading it throws otherwise.
    static QDateTime modificationDate(const KastrelDatabaseItem &item);

    // An entry's file, absolute.
    QString absolutePath(const KSExportJournal::Entry &entry) const;

private:
    KSExportJournal::Contents m_journal;
    QString m_folder;
    // The entries not handed out yet, by item identifier, in journal order.
    QHash<QString, QList<qsizetype>> m_waiting;
    // The answer settled for each item, by object path: an entry index, or -1.
    QHash<QString, qsizetype> m_settled;
};
