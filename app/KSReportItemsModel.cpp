#include "app/KSReportItemsModel.h"

#include "foundation/OVLocalization.h"

#include <algorithm>
#include <numeric>

KSReportItemsModel::KSReportItemsModel(QList<KSReportItem> items, QObject *parent)
    : QAbstractTableModel(parent)
    , m_items(std::move(items))
    , m_rows(m_items.size())
{
    std::iota(m_rows.begin(), m_rows.end(), 0);
    // Stable: among items of one rank the run's order stays.
    std::stable_sort(m_rows.begin(), m_rows.end(), [this](int left, int right) {
        return m_items[left].attentionRank() < m_items[right].attentionRank();
    });
}

int KSReportItemsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int KSReportItemsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

const KSReportItem &KSReportItemsModel::itemAt(int row) const
{
    return m_items[m_rows[row]];
}

QVariant KSReportItemsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size() || index.column() >= ColumnCount)
        return QVariant();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return text(itemAt(index.row()), index.column());
    return QVariant();
}

QVariant KSReportItemsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case NameColumn:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Item"));
    case KindColumn:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Kind"));
    case OutcomeColumn:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "What happened"));
    case ReasonColumn:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Why"));
    default:
        break;
    }
    return QVariant();
}

QString KSReportItemsModel::text(const KSReportItem &item, int column)
{
    switch (column) {
    case NameColumn:
        // An item passed over for having no name is still told apart by its identifier.
        return item.name.isEmpty() ? item.identifier : item.name;
    case KindColumn:
        return KSExportReport::itemKindDescription(item.optionKey);
    case OutcomeColumn:
        return KSExportReport::outcomeDescription(item.outcome);
    case ReasonColumn:
        return item.reason;
    default:
        break;
    }
    return QString();
}
