// The items of an export's report as a table for the end report: each item's name, its kind,
// what happened to it and why, the items that need attention first and otherwise in the order
// the run met them. A model over the report's own list, so a library of a hundred thousand
// items costs one index per item and the view draws only the rows it shows.
#pragma once

#include "engine/KSExportReport.h"

#include <QAbstractTableModel>
#include <QList>

class KSReportItemsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { NameColumn, KindColumn, OutcomeColumn, ReasonColumn, ColumnCount };

    explicit KSReportItemsModel(QList<KSReportItem> items, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    // The cell's text, and the same text as its tool tip: a long reason is read there whole.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The item shown in `row`.
    const KSReportItem &itemAt(int row) const;
    // The text of `column` for `item`, as the table shows it.
    static QString text(const KSReportItem &item, int column);

private:
    QList<KSReportItem> m_items;
    // m_items' positions in the order of the rows.
    QList<int> m_rows;
};
