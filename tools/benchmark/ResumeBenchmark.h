// What an export that can be continued costs and saves, on a library already generated:
// full runs with and without the journal (what keeping it costs), and a run cancelled at half
// continued by `--resume` (what continuing saves), each against the stand-ins on this bus.
#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace ResumeBenchmark {

// Prints the figures to `out` and whether each target is met; answers 0 when every run went
// as expected (the figures themselves may still miss their targets), 1 otherwise.
int run(const QString &library, const QString &work, int items, QTextStream &out);

} // namespace ResumeBenchmark
