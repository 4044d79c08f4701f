// A run's summary for other programs, as JSON: its outcome and exit status, the errors
// reported, the items announced per option key and exported per item kind, how far the run
// came, the items passed over and why, the items that did not arrive whole and why, and where
// the export folder, the library file, the log and the report files are (each only when it is
// there). The command line's --json prints it; the run's JSON report holds it with its items.
#pragma once

#include "engine/KSImportOperation.h"

#include <QJsonObject>

class QIODevice;

struct KSExportReport;

namespace KSRunSummary {

// "ended", "cancelled", "failed", or "unfinished" before the run told how it ended.
QString outcomeName(KSImportOperation::RunOutcome outcome);

// 0 ended with every item there, 1 an error was reported, 2 cancelled, 3 ended but items did
// not arrive whole (KSExitStatus).
int exitStatus(const KSImportOperation &operation, const KSExportReport &report);

// `report` is the account of `operation` (KSExportReport::ofOperation).
QJsonObject summary(const KSImportOperation &operation, const KSExportReport &report);

// One item of a report as JSON: identifier, name, kind, nortavelKind, file, outcome, reason.
QJsonObject item(const KSReportItem &item);

// Writes `summary` with the report's items under "items", in the order the run met them, as
// indented JSON, item by item: a large library's report is never held whole.
void writeWithItems(QIODevice &device, const QJsonObject &summary, const KSExportReport &report);

} // namespace KSRunSummary
