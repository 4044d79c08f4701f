// The CPU time every process of an export spends over it: this one thread by thread, and the
// processes found through the session bus as the owners of well-known names (the stand-ins,
// the bus daemon itself). start() and stop() take the two readings; print() gives the
// differences, so that the importer's own cost can be told from the harness's.
#pragma once

#include "ProcessCpuTime.h"

#include <QHash>
#include <QList>
#include <QString>

class QTextStream;

class CpuAccount
{
public:
    // This process's threads named `threadName` (as the thread names itself), shown together
    // as `label`. The main thread is shown on its own, and all others together.
    void addThread(const QString &label, const QString &threadName);
    // The process that owns `busName` on the session bus, shown as `label`.
    void addBusProcess(const QString &label, const QString &busName);

    // The reading before; a process that has not started yet counts from nothing.
    void start();
    // The reading after, best taken on the thread that did the work before it ends, so that
    // this thread is still listed under its name.
    void stop();

    void print(QTextStream &out, qint64 wallMilliseconds) const;

private:
    struct Reading
    {
        qint64 pid = 0; // 0: not found
        std::optional<ProcessCpuTime::Times> times;
    };
    struct Process
    {
        QString label;
        QString busName;
        Reading before;
        Reading after;
    };
    struct ThisProcess
    {
        std::optional<ProcessCpuTime::Times> whole;
        QHash<qint64, ProcessCpuTime::Thread> threads;
    };

    static ThisProcess readThisProcess();
    void readProcesses(Reading Process::*reading);

    QList<QPair<QString, QString>> m_threads; // label, thread name
    QList<Process> m_processes;
    ThisProcess m_before;
    ThisProcess m_after;
};
