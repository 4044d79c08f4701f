// The command-line front end of kastrel-importer: which arguments it takes over from the
// window, and the commands it runs (export, --help, --version). It shares the engine with
// the window, never the windows themselves.
#pragma once

#include <QStringList>
#include <memory>

class ScriptingBackend;

namespace CommandLine {

// Whether `arguments` (without the program name) ask for the command line. No arguments,
// or only the toolkit's own options ("-platform", "-style", ...), open the window.
bool handles(const QStringList &arguments);

// Runs the command named by `arguments` and answers the process's exit status.
int run(const QStringList &arguments, std::shared_ptr<ScriptingBackend> backend = nullptr);

QString usage();

} // namespace CommandLine
