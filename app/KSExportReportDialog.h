// The report a person sees when an export has ended, before the application quits: how many
// items reached Nortavel 3 of each kind, a table of the items (what happened to each and why,
// those that need attention first), and where the log and the report file are, with buttons
// that open the log's folder and the report file, and one that quits. Behind a seam like the alerts: a test installs a
// handler that sees the report and answers at once.
#pragma once

#include "engine/KSExportReport.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QDialog;
class QWidget;

struct KSExportReportDialog
{
    KSExportReport report;

    // "42 items reached Nortavel 3: 30 notes, 12 bookmarks." and what needs attention.
    QString summaryText() const;
    // One line per item passed over or not arrived whole, with its name and the reason: what
    // the window lists when the report has no table of items.
    QStringList listedItems() const;
    // Where the log is, or that there is none.
    QString logText() const;
    // Where the report file is; why it could not be written; or an empty string.
    QString reportFileText() const;
    // Whether the report file is there, to be opened.
    bool canOpenReportFile() const;

    // Shows the report application-modally until the person quits.
    void runModal(QWidget *parent = nullptr) const;
    // The window runModal shows, not yet shown.
    std::unique_ptr<QDialog> dialog(QWidget *parent = nullptr) const;

    using Handler = std::function<void(const KSExportReportDialog &report)>;
    // Replaces the window for every later report; an empty handler restores it.
    static void setHandler(Handler handler);
};
