// A run's report for people, as one HTML page in the person's language: how the run ended
// (with its errors, how far it came and that nothing was handed over when it stopped), the
// counts per kind, a table of the items that need a look and a table of every item. Plain
// HTML5 in UTF-8 with a small style sheet that follows a dark appearance; no scripts, and
// every text escaped.
#pragma once

#include <QString>

class QIODevice;

class KSImportOperation;
struct KSExportReport;

namespace KSReportHtml {

// Writes the page for `operation`, whose account is `report`, to `device`; `title` names it.
void write(QIODevice &device, const KSImportOperation &operation, const KSExportReport &report, const QString &title);

} // namespace KSReportHtml
