#include "cli/CommandLineOutput.h"

#include <QFile>
#include <QPointer>
#include <unistd.h>

namespace CommandLineOutput {

namespace {

struct Channels
{
    QFile standardOutput;
    QFile standardError;
    QPointer<QIODevice> output;
    QPointer<QIODevice> error;
    std::optional<bool> errorIsTerminal;

    Channels()
    {
        standardOutput.open(STDOUT_FILENO, QIODevice::WriteOnly | QIODevice::Unbuffered);
        standardError.open(STDERR_FILENO, QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
};

Channels &channels()
{
    static Channels channels;
    return channels;
}

void write(QIODevice *device, QIODevice &fallback, const QString &text)
{
    QIODevice &target = device ? *device : fallback;
    target.write(text.toUtf8());
}

} // namespace

void writeOutput(const QString &text)
{
    write(channels().output, channels().standardOutput, text);
}

void writeError(const QString &text)
{
    write(channels().error, channels().standardError, text);
}

void redirect(QIODevice *output, QIODevice *error)
{
    channels().output = output;
    channels().error = error;
}

bool errorIsTerminal()
{
    if (channels().errorIsTerminal)
        return *channels().errorIsTerminal;
    return !channels().error && isatty(STDERR_FILENO) == 1;
}

void setErrorIsTerminal(std::optional<bool> isTerminal)
{
    channels().errorIsTerminal = isTerminal;
}

} // namespace CommandLineOutput
