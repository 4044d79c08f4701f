// Helpers for the tests of the scripting layer and of what drives it: the reason of a failed
// scripting call, files written for a test, and a session bus that sees new service files.
#pragma once

#include "engine/KSScriptingException.h"

#include <QByteArray>
#include <QString>
#include <optional>

// Runs `call` and answers the scripting exception it throws, or none.
template<typename Call> std::optional<KSScriptingException> scriptingExceptionOf(Call call)
{
    try {
        call();
    } catch (const KSScriptingException &exception) {
        return exception;
    }
    return std::nullopt;
}

// Runs `call` and answers the reason of the scripting exception it throws, or a null string
// when it throws none.
template<typename Call> QString scriptingFailureOf(Call call)
{
    const std::optional<KSScriptingException> exception = scriptingExceptionOf(call);
    return exception ? exception->reason() : QString();
}

// Writes `contents` to `path`, creating its folders; a failure fails the current test.
void writeTestFile(const QString &path, const QByteArray &contents);

// Makes the session bus read its service folders again, so that a service file written after
// the bus started is activatable at once (the bus notices new files only in folders that
// existed when it started, and only some time later).
void reloadSessionBusConfiguration();
