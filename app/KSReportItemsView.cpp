#include "app/KSReportItemsView.h"

#include "app/KSReportItemsModel.h"

#include <QHeaderView>
#include <QScrollBar>

namespace {

// The first rows measured for the columns' widths; the rest are alike enough.
constexpr int RowsMeasuredForWidths = 200;
// The widest a column other than the reason starts, in average characters.
constexpr int WidestShortColumn = 28;
// The size the table asks for, in average characters and lines: room for a reason of an
// ordinary length on one line, and for a dozen rows.
constexpr int PreferredWidth = 140;
constexpr int PreferredLines = 14;
constexpr int MostFittingPasses = 8;

} // namespace

KSReportItemsView::KSReportItemsView(KSReportItemsModel *model, QWidget *parent)
    : QTableView(parent)
{
    model->setParent(this);
    setModel(model);
    setWordWrap(true);
    setTextElideMode(Qt::ElideNone);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The reason column takes the width that is left and wraps in it: a scroll bar only when
    // the window is too narrow even for the short columns.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Interactive);

    QHeaderView *columns = horizontalHeader();
    columns->setResizeContentsPrecision(RowsMeasuredForWidths);
    columns->setStretchLastSection(true);
    const int widest = fontMetrics().averageCharWidth() * WidestShortColumn;
    for (int column = 0; column < KSReportItemsModel::ReasonColumn; ++column) {
        resizeColumnToContents(column);
        setColumnWidth(column, qMin(columnWidth(column), widest));
    }

    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &KSReportItemsView::fitVisibleRows);
    connect(columns, &QHeaderView::sectionResized, this, &KSReportItemsView::fitVisibleRows);
}

QSize KSReportItemsView::sizeHint() const
{
    return QSize(fontMetrics().averageCharWidth() * PreferredWidth, fontMetrics().height() * PreferredLines);
}

void KSReportItemsView::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    fitVisibleRows();
}

void KSReportItemsView::showEvent(QShowEvent *event)
{
    QTableView::showEvent(event);
    fitVisibleRows();
}

void KSReportItemsView::fitVisibleRows()
{
    const int rows = model()->rowCount();
    if (rows == 0 || m_fitting)
        return;
    m_fitting = true;
    QScrollBar *bar = verticalScrollBar();
    // At the end, rows that grow push the last ones out of view: the view stays at the end and
    // fits those too, a few times at most (a row fits at once; the bound only guards a loop).
    for (int pass = 0; pass < MostFittingPasses; ++pass) {
        const bool atEnd = bar->value() == bar->maximum();
        bool grown = false;
        // Each fitted row may grow and push the next ones down; fit until the viewport is full.
        for (int row = qMax(0, rowAt(0)); row < rows && rowViewportPosition(row) < viewport()->height(); ++row) {
            const int height = rowHeight(row);
            resizeRowToContents(row);
            grown = grown || rowHeight(row) != height;
        }
        if (!grown || !atEnd)
            break;
        updateGeometries();
        bar->setValue(bar->maximum());
    }
    m_fitting = false;
}
