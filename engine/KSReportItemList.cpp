#include "engine/KSReportItemList.h"

namespace {

void appendReason(QString &reasons, const QString &reason)
{
    if (reason.isEmpty())
        return;
    reasons = reasons.isEmpty() ? reason : reasons + QStringLiteral("; ") + reason;
}

} // namespace

qsizetype KSReportItemList::add(const QString &identifier, const QString &name, const QString &optionKey)
{
    KSReportItem item;
    item.identifier = identifier;
    item.name = name;
    item.optionKey = optionKey;
    m_items.append(item);
    m_current = m_items.size() - 1;
    return m_current;
}

void KSReportItemList::markRecorded(qsizetype index, const QString &recordIdentifier, const QString &nortavelKind,
                                    const QString &file)
{
    KSReportItem &item = m_items[index];
    item.nortavelKind = nortavelKind;
    item.file = file;
    m_byRecordIdentifier.insert(recordIdentifier, index);
}

void KSReportItemList::markPassedOver(qsizetype index, const QString &reason, const QString &englishReason)
{
    KSReportItem &item = m_items[index];
    item.outcome = KSReportItem::Outcome::PassedOver;
    item.reason = reason;
    item.englishReason = englishReason;
}

void KSReportItemList::addProblem(qsizetype index, KSReportItem::Outcome outcome, const QString &reason,
                                  const QString &englishReason)
{
    KSReportItem &item = m_items[index];
    if (KSReportItem::attentionRank(outcome) < item.attentionRank())
        item.outcome = outcome;
    appendReason(item.reason, reason);
    appendReason(item.englishReason, englishReason);
}

qsizetype KSReportItemList::indexOfRecord(const QString &recordIdentifier) const
{
    return m_byRecordIdentifier.value(recordIdentifier, -1);
}

void KSReportItemList::markRecordRemoved(qsizetype index)
{
    KSReportItem &item = m_items[index];
    item.outcome = KSReportItem::Outcome::NotImported;
    item.nortavelKind.clear();
    item.file.clear();
}

void KSReportItemList::markCurrentStopped(const QString &reason, const QString &englishReason)
{
    if (m_current < 0)
        return;
    KSReportItem &item = m_items[m_current];
    item.nortavelKind.clear();
    item.file.clear();
    addProblem(m_current, KSReportItem::Outcome::NotImported, reason, englishReason);
    m_current = -1;
}
