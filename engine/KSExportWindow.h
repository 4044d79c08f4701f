// The source's exports of one kind's items, asked for ahead of the item being recorded: while
// the importer converts, moves and records one item, the source already writes the next few.
// Answers are taken strictly in item order, so everything the importer does with them happens
// in the same order as when every export is asked for only at its item's turn (a window of 1).
//
// Each export in flight has a slot of its own; a kind whose files are staged and moved on
// gives each slot a folder of its own, so that two exports in flight never meet in one folder
// and the source names every file as it would in a folder it has to itself.
#pragma once

#include "engine/KastrelApplication.h"

#include <QSet>
#include <QString>
#include <deque>
#include <exception>
#include <functional>
#include <memory>

class KSExportWindow
{
public:
    // Exports `items` whose `isExported` is true (an item without a name, say, is not), at
    // most `size` at a time, the item of slot `slot` into `folderForSlot(slot)`. `keptFiles`
    // names the files that an export given up must never take away (those already recorded),
    // should the source answer one of them.
    KSExportWindow(const KastrelApplication &source, const QList<KastrelDatabaseItem> &items, int size,
                   std::function<bool(const KastrelDatabaseItem &)> isExported,
                   std::function<QString(int slot)> folderForSlot, std::function<QSet<QString>()> keptFiles);
    // Gives up what is still in flight, as discard() does.
    ~KSExportWindow();

    KSExportWindow(const KSExportWindow &) = delete;
    KSExportWindow &operator=(const KSExportWindow &) = delete;

    // The source's answer for `items[index]`, an exported item whose turn it is: the path it
    // wrote, or a null string when it wrote nothing; `*folder` is the folder it was asked to
    // write into. Throws what asking for it threw. Before waiting, asks for the next items, so
    // that the window is full.
    QString take(qsizetype index, QString *folder);

    // Gives up every export still in flight: waits for the answers and removes the files they
    // name inside the folders given, except the kept ones. Never throws.
    void discard();

private:
    struct InFlight
    {
        qsizetype index = 0;
        QString folder;
        std::unique_ptr<KastrelPendingExport> pending;
        std::exception_ptr failure; // what asking threw, thrown again when it is the item's turn
    };

    void fill();

    KastrelApplication m_source;
    QList<KastrelDatabaseItem> m_items;
    int m_size;
    std::function<bool(const KastrelDatabaseItem &)> m_isExported;
    std::function<QString(int)> m_folderForSlot;
    std::function<QSet<QString>()> m_keptFiles;
    std::deque<InFlight> m_inFlight;
    qsizetype m_nextIndex = 0;
    quint64 m_sent = 0;
    bool m_failed = false;
};
