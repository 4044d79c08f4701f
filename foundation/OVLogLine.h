// Appending a time-stamped line to the export log.
#pragma once

#include <QDateTime>
#include <QIODevice>
#include <QString>

namespace OVExtensions {

// Writes "<date> <line>\n" with one write call whose length is the line's count of UTF-16
// code units, not of its UTF-8 bytes: a line with characters beyond ASCII loses as many
// bytes at its end as it has extra UTF-8 bytes, its line feed first. Log readers of the
// target expect exactly this, so it is kept. Answers what the device's write answered.
qint64 writeLogLine(QIODevice &stream, const QString &line);

// A date as the log shows it: 2026-11-15 23:27:53 +0000, always in UTC.
QString logDateDescription(const QDateTime &date);

} // namespace OVExtensions
