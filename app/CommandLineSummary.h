// The summary `export --json` prints after a run: its outcome, the errors reported, the
// items announced per option key and exported per item kind, the items passed over and why,
// and where the export folder and the log file are.
#pragma once

#include <QJsonObject>

class CommandLineProgress;
class KSImportOperation;

namespace CommandLineSummary {

QJsonObject summary(const KSImportOperation &operation, const CommandLineProgress &progress);

// The stable name of an item kind in the summary ("note", "webPage"), or "unknown".
QString itemTypeName(qint64 itemType);

} // namespace CommandLineSummary
