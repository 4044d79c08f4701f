// The table of an end report's items. Long reasons wrap within their cell, and each row is as
// tall as its text: the rows on screen are fitted as they come into view, so a report of a
// hundred thousand items opens as fast as one of ten.
#pragma once

#include <QTableView>

class KSReportItemsModel;

class KSReportItemsView : public QTableView
{
    Q_OBJECT

public:
    // Shows `model`, which the view then owns.
    explicit KSReportItemsView(KSReportItemsModel *model, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    // Makes each row now in view as tall as its wrapped text.
    void fitVisibleRows();

    // Fitting a row moves the scroll bar, which asks for fitting again.
    bool m_fitting = false;
};
