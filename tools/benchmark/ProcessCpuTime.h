// The CPU time (user and system) that Linux has counted for a process and for each thread of
// this process, as /proc shows it. The kernel counts in clock ticks (usually 10 ms) and cuts
// off what is less than one.
#pragma once

#include <QList>
#include <QString>
#include <optional>

namespace ProcessCpuTime {

struct Times
{
    double user = 0; // seconds
    double system = 0;

    double total() const { return user + system; }
    Times operator-(const Times &other) const { return {user - other.user, system - other.system}; }
    Times operator+(const Times &other) const { return {user + other.user, system + other.system}; }
};

struct Thread
{
    qint64 id = 0;
    QString name; // as the thread named itself, at most 15 characters
    Times times;
};

// A whole process: all its threads, those that have ended included. Nothing when there is no
// such process or its figures cannot be read.
std::optional<Times> ofProcess(qint64 pid);

// Each thread of this process that is running now, with its name. Threads that have ended are
// no longer listed; their time is still in ofProcess(getpid()).
QList<Thread> threadsOfThisProcess();

} // namespace ProcessCpuTime
