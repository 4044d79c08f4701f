#include "CpuAccount.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QTextStream>
#include <unistd.h>

using ProcessCpuTime::Times;

namespace {

// "3.21 s (2.80 + 0.41)": the total, then user and system time.
QString figure(const Times &times)
{
    const auto seconds = [](double value) { return QString::number(value, 'f', 2); };
    return QStringLiteral("%1 s (%2 + %3)").arg(seconds(times.total()), seconds(times.user), seconds(times.system));
}

// GetConnectionUnixProcessID; the bus daemon answers it for its own name too. 0 when the name
// has no owner.
qint64 ownerOf(const QString &busName)
{
    const QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return 0;
    const QDBusReply<uint> reply = bus->servicePid(busName);
    return reply.isValid() ? qint64(reply.value()) : 0;
}

void printLine(QTextStream &out, const QString &label, const QString &text)
{
    out << "  " << label.leftJustified(34) << ' ' << text << '\n';
}

} // namespace

void CpuAccount::addThread(const QString &label, const QString &threadName)
{
    m_threads.append({label, threadName});
}

void CpuAccount::addBusProcess(const QString &label, const QString &busName)
{
    m_processes.append({label, busName, {}, {}});
}

CpuAccount::ThisProcess CpuAccount::readThisProcess()
{
    ThisProcess reading;
    reading.whole = ProcessCpuTime::ofProcess(getpid());
    const QList<ProcessCpuTime::Thread> threads = ProcessCpuTime::threadsOfThisProcess();
    for (const ProcessCpuTime::Thread &thread : threads)
        reading.threads.insert(thread.id, thread);
    return reading;
}

void CpuAccount::readProcesses(Reading Process::*reading)
{
    // All the bus's answers first, then the readings close together.
    for (Process &process : m_processes)
        (process.*reading).pid = ownerOf(process.busName);
    for (Process &process : m_processes) {
        Reading &read = process.*reading;
        read.times = read.pid ? ProcessCpuTime::ofProcess(read.pid) : std::nullopt;
    }
}

void CpuAccount::start()
{
    readProcesses(&Process::before);
    m_before = readThisProcess();
}

void CpuAccount::stop()
{
    m_after = readThisProcess();
    readProcesses(&Process::after);
}

void CpuAccount::print(QTextStream &out, qint64 wallMilliseconds) const
{
    out << "CPU time over the export (user + system):\n";

    // This process, thread by thread: what each has spent since the first reading, or since it
    // started. Threads that ended in between are only in the process's total, and the kernel
    // counts every figure in whole ticks, cut off, so the threads' lines may fall a few ticks
    // short of it.
    const Times importer = m_after.whole && m_before.whole ? *m_after.whole - *m_before.whole : Times();
    Times mainThread;
    QList<Times> named(m_threads.size());
    Times others;
    int otherCount = 0;
    for (const ProcessCpuTime::Thread &thread : m_after.threads) {
        const auto before = m_before.threads.constFind(thread.id);
        const Times spent = thread.times - (before != m_before.threads.constEnd() ? before->times : Times());
        if (thread.id == getpid()) {
            mainThread = spent;
            continue;
        }
        int i = 0;
        while (i < m_threads.size() && m_threads.at(i).second != thread.name)
            ++i;
        if (i < m_threads.size()) {
            named[i] = named.at(i) + spent;
        } else {
            others = others + spent;
            ++otherCount;
        }
    }
    for (int i = 0; i < m_threads.size(); ++i)
        printLine(out, QStringLiteral("importer, ") + m_threads.at(i).first, figure(named.at(i)));
    printLine(out, QStringLiteral("importer, main (GUI) thread"), figure(mainThread));
    printLine(out, QStringLiteral("importer, %1 other threads").arg(otherCount), figure(others));
    printLine(out, QStringLiteral("importer in all"), figure(importer));

    Times total = importer;
    bool allFound = true;
    for (const Process &process : m_processes) {
        const Reading &before = process.before;
        const Reading &after = process.after;
        if (!after.times) {
            allFound = false;
            printLine(out, process.label,
                      after.pid ? QStringLiteral("not readable (pid %1)").arg(after.pid)
                                : QStringLiteral("not found (no owner of %1)").arg(process.busName));
            continue;
        }
        // A process that was not there before (started by the bus for the export) counts
        // from nothing.
        const bool startedDuring = !before.times || before.pid != after.pid;
        const Times spent = startedDuring ? *after.times : *after.times - *before.times;
        total = total + spent;
        printLine(out, QStringLiteral("%1 (pid %2)").arg(process.label).arg(after.pid),
                  figure(spent) + (startedDuring ? QStringLiteral(", started during the export") : QString()));
    }
    printLine(out, allFound ? QStringLiteral("all processes") : QStringLiteral("all processes found"), figure(total));
    const double wall = wallMilliseconds / 1000.0;
    printLine(out, QStringLiteral("wall time of the export"),
              QStringLiteral("%1 s; CPU time / wall time %2 (cores busy on average)")
                  .arg(QString::number(wall, 'f', 2), QString::number(wall > 0 ? total.total() / wall : 0, 'f', 2)));
}
