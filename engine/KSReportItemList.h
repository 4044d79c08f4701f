// The items of a run as its report lists them: one entry per item the run came to, in the
// order it met them. Each entry starts as imported and only ever moves towards "needs a look"
// as problems arrive; records are found again by the identifier they were kept under, which
// may differ from the source's (a later item recorded as "ID-2"), so that a problem never
// lands on another item sharing its source identifier.
#pragma once

#include "engine/KSReportItem.h"

#include <QHash>
#include <QList>
#include <QString>

class KSReportItemList
{
public:
    // A new entry for an item the run has come to; it is the current one until finishCurrent().
    // Answers its index.
    qsizetype add(const QString &identifier, const QString &name, const QString &optionKey);
    // The item's record went into the library file, kept under `recordIdentifier`.
    void markRecorded(qsizetype index, const QString &recordIdentifier, const QString &nortavelKind,
                      const QString &file);
    void markPassedOver(qsizetype index, const QString &reason, const QString &englishReason);
    // A problem of the item: the entry takes the worse of its outcome and `outcome`, and the
    // reason is added to those it has.
    void addProblem(qsizetype index, KSReportItem::Outcome outcome, const QString &reason,
                    const QString &englishReason);
    // The entry whose record was kept under `recordIdentifier`, or -1.
    qsizetype indexOfRecord(const QString &recordIdentifier) const;
    // The record of the entry at `index` was taken out of the library file: it has no file.
    void markRecordRemoved(qsizetype index);
    // The item being exported is through; errors from here on belong to no item.
    void finishCurrent() { m_current = -1; }
    // The run stopped with an error while the current item was being exported: that item did
    // not arrive, for the error's reason.
    void markCurrentStopped(const QString &reason, const QString &englishReason);

    const QList<KSReportItem> &items() const { return m_items; }

private:
    QList<KSReportItem> m_items;
    QHash<QString, qsizetype> m_byRecordIdentifier;
    qsizetype m_current = -1;
};
