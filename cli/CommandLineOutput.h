// Where the command line writes: standard output for results, standard error for progress
// and errors. Both can be redirected to any device, so tests read what a run printed.
#pragma once

#include <QString>
#include <optional>

class QIODevice;

namespace CommandLineOutput {

// Writes `text` as UTF-8 and flushes, so progress shows at once.
void writeOutput(const QString &text);
void writeError(const QString &text);

// Sends later output and errors to these devices (open for writing); null restores the
// process's own standard output and standard error.
void redirect(QIODevice *output, QIODevice *error);

// Whether the error channel is a terminal that can show a bar redrawn in place: the
// process's standard error is asked unless an answer was set.
bool errorIsTerminal();
void setErrorIsTerminal(std::optional<bool> isTerminal);

} // namespace CommandLineOutput
