// What a finished run amounts to, for the person who started it: the items that reached the
// library file per kind of the target, the items passed over on purpose, the items that did
// not arrive whole, and where the log and the library file are. The command line and the
// window both tell it from this one account.
#pragma once

#include "engine/KSImportOperation.h"
#include "engine/KSReportItem.h"

#include <QList>
#include <QMap>
#include <QString>

struct KSExportReport
{
    // Record counts by kind name ("note", "webPage", ...), and in all.
    QMap<QString, qint64> importedByKind;
    qint64 importedTotal = 0;
    QList<KSImportOperation::SkippedItem> passedOver;
    QList<KSImportOperation::ItemProblem> problems;
    qint64 recordsWithUncarriableCharacters = 0;
    QString logFile; // null when the run wrote no log
    QString libraryFile; // the file handed to the target, when it was and is still there
    QString exportFolder; // when it is still there
    // Items a continued run took from the journal of the run it continued, and the folder a
    // run that stopped kept for a later one to continue (null when none).
    qint64 resumedItems = 0;
    QString keptExportFolder;
    // Every item the run came to, each once, in the order the run met them.
    QList<KSReportItem> items;
    // The run's report, for people (HTML) and for programs (JSON); empty when none was written.
    QString reportFile;
    QString jsonReportFile;
    // Why the report could not be written (for the person, and in English); empty when it was.
    QString reportProblem;
    QString englishReportProblem;
    // How many items the run announced, of the kinds selected; `items` are those it came to.
    qint64 itemsAnnounced = 0;

    static KSExportReport ofOperation(const KSImportOperation &operation);

    // Where the unfinished export was kept and how to continue it, for people; empty when none was.
    QString keptExportFolderText() const;

    // Items that should have arrived and did not, or arrived as their original file only.
    qsizetype missingItemCount() const;
    // Items that arrived without part of what they carry (an address, dates).
    qsizetype incompleteItemCount() const;

    // The stable name of an item kind ("note", "webPage"), or "unknown".
    static QString itemTypeName(qint64 itemType);
    // The stable name of a problem kind ("notImported", "originalFileAttached", "incomplete").
    static QString problemKindName(KSImportOperation::ItemProblemKind kind);
    // The localised words for an item's outcome ("imported", "not imported", ...).
    static QString outcomeDescription(KSReportItem::Outcome outcome);
    // The localised words for a problem kind ("not imported", ...), those of its outcome.
    static QString problemKindDescription(KSImportOperation::ItemProblemKind kind);
    // The localised count of records of a kind name ("3 notes").
    static QString kindCountText(const QString &kindName, qint64 count);
    // The localised kind of one item exported under `optionKey` ("note", "serial number"); an
    // unknown key is given as it is. The window's table and the report page both name kinds so.
    static QString itemKindDescription(const QString &optionKey);
};
