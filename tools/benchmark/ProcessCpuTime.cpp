#include "ProcessCpuTime.h"

#include <QDir>
#include <QFile>
#include <unistd.h>

namespace ProcessCpuTime {

namespace {

QByteArray readSmallFile(const QString &path)
{
    // /proc files report a size of 0, so read until the end rather than by size.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

// A stat line is "pid (name) state ppid ...": the name may hold spaces and parentheses, so the
// fields are counted from the last ')'. utime and stime are the 14th and 15th fields, in ticks.
std::optional<Times> readStat(const QString &path)
{
    const QByteArray line = readSmallFile(path);
    const int end = line.lastIndexOf(')');
    if (end < 0)
        return std::nullopt;
    const QList<QByteArray> fields = line.mid(end + 2).split(' ');
    constexpr int utimeAfterName = 11; // field 14, the name being field 2
    if (fields.size() <= utimeAfterName + 1)
        return std::nullopt;
    static const double ticksPerSecond = double(sysconf(_SC_CLK_TCK));
    bool userOk = false;
    bool systemOk = false;
    const qulonglong user = fields.at(utimeAfterName).toULongLong(&userOk);
    const qulonglong system = fields.at(utimeAfterName + 1).toULongLong(&systemOk);
    if (!userOk || !systemOk)
        return std::nullopt;
    return Times {user / ticksPerSecond, system / ticksPerSecond};
}

} // namespace

std::optional<Times> ofProcess(qint64 pid)
{
    return readStat(QStringLiteral("/proc/%1/stat").arg(pid));
}

QList<Thread> threadsOfThisProcess()
{
    QList<Thread> threads;
    const QString tasks = QStringLiteral("/proc/self/task");
    const QStringList entries = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        const QString folder = tasks + QLatin1Char('/') + entry;
        // A thread that ends between the listing and the reading is left out.
        const std::optional<Times> times = readStat(folder + QStringLiteral("/stat"));
        if (!times)
            continue;
        const QString name = QString::fromUtf8(readSmallFile(folder + QStringLiteral("/comm"))).trimmed();
        threads.append({entry.toLongLong(), name, *times});
    }
    return threads;
}

} // namespace ProcessCpuTime
