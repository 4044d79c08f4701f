// The files that keep a run's report beside its log: "Kastrel Export 2026-11-24 19-07-44.html"
// for people and the same name with ".json" for programs, named after the run's start in local
// time. A second run in the same second takes "... 19-07-44 (2)". Each file is replaced whole or
// not at all, and only the newest runs are kept: older pairs of this name, and nothing else,
// are removed.
#pragma once

#include <QDateTime>
#include <QIODevice>
#include <QString>
#include <QStringList>
#include <functional>

namespace KSReportFile {

// How many runs' reports are kept.
inline constexpr int keptRuns = 20;

// The file name without its extension for a run started at `start` (local time), not yet taken
// by either file of an earlier run in `folder`.
QString unusedBaseName(const QString &folder, const QDateTime &start);

// Replaces the file at `path` with what `writeContents` writes to the device it is given, or
// leaves it as it was; false with *problem (English, from the system) when it could not.
[[nodiscard]] bool write(const QString &path, const std::function<void(QIODevice &)> &writeContents,
                         QString *problem = nullptr);

// Removes the files of the runs older than the newest `kept` in `folder`, both of a pair, and
// only files whose names are a report's. Answers the files it could not remove, each with why.
QStringList removeOlderRuns(const QString &folder, int kept = keptRuns);

} // namespace KSReportFile
