// The summary `export --json` prints after a run: its outcome, the errors reported, the
// items announced per option key and exported per item kind, the items passed over and why,
// the items that did not arrive whole and why, and where the export folder, the library file
// and the log file are (each only when it is there).
#pragma once

#include <QJsonObject>

class CommandLineProgress;
class KSImportOperation;
struct KSExportReport;

namespace CommandLineSummary {

// `report` is the account of `operation` (KSExportReport::ofOperation).
QJsonObject summary(const KSImportOperation &operation, const CommandLineProgress &progress,
                    const KSExportReport &report);

// 0 ended with every item there, 1 an error was reported, 2 cancelled, 3 ended but items
// that should have arrived did not, or arrived as their original file only.
int exitStatus(const CommandLineProgress &progress, const KSExportReport &report);

} // namespace CommandLineSummary
