// `kastrel-importer export [--only KEYS] [--resume] [--json]`: one export on the session bus with no
// windows, the same engine, log, export folder and hand-off as the window's. Progress and
// errors go to the error channel, the --json summary to the output channel (both through
// CommandLineOutput). The exit status is 0 when the run ended with no error reported and every
// item there, 1 when any error was reported, 2 when it was cancelled without error, 3 when it
// ended but items did not arrive whole, 64 for wrong usage.
#pragma once

#include "engine/KSImportOptions.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <optional>

class KSImportOperation;
class ScriptingBackend;

class CommandLineExport
{
public:
    // `backend` reaches the applications; by default the session bus.
    explicit CommandLineExport(std::shared_ptr<ScriptingBackend> backend = nullptr);

    // Runs the command with the arguments that follow "export"; answers the exit status.
    // Needs a QCoreApplication: the engine hands its notifications to the main thread.
    int run(const QStringList &arguments);

    // The options for a comma-separated list of option keys: those keys on, the others off.
    // Nothing, with *error naming the valid keys, for an unknown or empty key or an empty list.
    static std::optional<KSImportOptions> importOptionsForKeys(const QString &keys, QString *error = nullptr);

    static QString usage();

    // The run made last, kept for tests.
    std::shared_ptr<KSImportOperation> lastOperation() const { return m_lastOperation; }

private:
    int exportWithOptions(const KSImportOptions &options, bool json, bool resume);

    std::shared_ptr<ScriptingBackend> m_backend;
    std::shared_ptr<KSImportOperation> m_lastOperation;
};
