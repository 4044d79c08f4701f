// What `export` says about continuing an export: with --resume, how many items came from the
// journal of the earlier run and how many were exported anew, or why the run started from
// the first item; for a run that stopped, where its folder was kept and how to continue it.
// Closing lines on the error channel; the --json summary says the same (KSRunSummary).
#pragma once

class KSImportOperation;
struct KSExportReport;

namespace CommandLineResume {

// The closing lines about continuing, before the verdict.
void writeClosingLines(const KSImportOperation &operation, const KSExportReport &report);

} // namespace CommandLineResume
