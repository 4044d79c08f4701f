// kastrel-benchmark: the whole export of synthetic libraries through the session bus against
// the two stand-ins, the real path, with the figures that matter printed at the end: wall
// time, items per second, time per stage, bus round trips per item, the importer's peak
// memory, the longest time the GUI thread was blocked, the CPU time each process (and each of
// the importer's threads) spent over the export, and how long `cp -a` takes to copy the same
// content (the best of three copies). Run it through scripts/benchmark, which gives every size
// a private bus, fresh stand-ins and a process of its own (peak memory is the process's).
// With --serial-delay MS the source handles one call at a time, each taking MS milliseconds,
// as a real application's scripting does; the calls then set a floor under the wall time,
// printed with the calls by method. --elements-of-each missing plays a source without
// ElementsOfEach.
//
//   kastrel-benchmark [--items N] [--work DIR] [--seed N] [--kinds notes,images,...]
//                     [--serial-delay MS] [--elements-of-each served|missing] [--resume yes]
// With --resume yes it measures instead what the export journal costs (full runs with it and
// without it) and what continuing an export cancelled at half saves (ResumeBenchmark.h).
//   kastrel-benchmark generate --items N --seed S DIR   (used internally, in a child process)
#include "BenchmarkLibrary.h"
#include "CpuAccount.h"
#include "ResumeBenchmark.h"
#include "engine/DBusScriptingBackend.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <sys/resource.h>
#include <unistd.h>

namespace {

QTextStream out(stdout);
const QString sourceIdentifier = QStringLiteral("com.fendwick.kastrel4");
const QString targetIdentifier = QStringLiteral("com.orvantis.Nortavel3");

qint64 peakResidentKilobytes()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

qint64 currentResidentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = status.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toLongLong() * (sysconf(_SC_PAGESIZE) / 1024) : 0;
}

// Notes when each stage begins, and counts the records.
class TimingDelegate : public KSImportOperationDelegate
{
public:
    QElapsedTimer clock;
    QList<QPair<QString, qint64>> marks;
    QStringList errors;
    qint64 records = 0;
    quint64 announced = 0;

    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type) override
    {
        marks.append({type, clock.elapsed()});
    }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                        const QString &type) override
    {
        announced = count;
        marks.append({type, clock.elapsed()});
    }
    qint64 lastRecord = 0;

    void importOperationDidImportRecordOfType(KSImportOperation *, const QString &) override
    {
        ++records;
        lastRecord = clock.elapsed();
    }
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override
    {
        errors.append(QStringLiteral("%1 %2").arg(error.code).arg(error.localizedDescription));
    }
    void importOperationDidEnd(KSImportOperation *) override { marks.append({QStringLiteral("end"), clock.elapsed()}); }
    void importOperationDidCancel(KSImportOperation *) override
    {
        marks.append({QStringLiteral("cancel"), clock.elapsed()});
    }
};

bool run(const QString &program, const QStringList &arguments, int timeoutSeconds = 3600)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    return process.waitForFinished(timeoutSeconds * 1000) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

QString binary(const QString &name)
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}

int generate(const QStringList &arguments)
{
    // generate --items N --seed S DIR
    if (arguments.size() != 6)
        return 2;
    BenchmarkLibrary::Summary summary;
    QString error;
    if (!BenchmarkLibrary::write(arguments.at(5), arguments.at(2).toInt(), arguments.at(4).toUInt(), &summary,
                                 &error)) {
        QTextStream(stderr) << "kastrel-benchmark: " << error << '\n';
        return 1;
    }
    return 0;
}

qint64 folderBytes(const QString &path)
{
    qint64 total = 0;
    QDirIterator it(path, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        total += it.fileInfo().size();
    }
    return total;
}

// How the source stand-in is to answer.
struct SourceBehaviour
{
    int serialDelay = 0; // milliseconds a call, one call at a time; 0: every call at once
    QString elementsOfEach = QStringLiteral("served");
};

// The source's calls by method, calls per item, and the floors that a source answering one
// call at a time sets: every call, and the Export calls alone, each taking the delay. The
// target's few calls are listed apart; its stand-in answers at once.
void printSerialFloors(const QMap<QString, quint64> &calls, int items, qint64 wall, int delay)
{
    const QString sourcePrefix = sourceIdentifier + QLatin1Char(' ');
    QStringList byMethod;
    QStringList targetCalls;
    quint64 all = 0;
    for (auto it = calls.constBegin(); it != calls.constEnd(); ++it) {
        if (!it.key().startsWith(sourcePrefix)) {
            targetCalls.append(QStringLiteral("%1 %2").arg(it.key()).arg(it.value()));
            continue;
        }
        byMethod.append(QStringLiteral("%1 %2").arg(it.key().mid(sourcePrefix.size())).arg(it.value()));
        all += it.value();
    }
    const quint64 exports = calls.value(sourcePrefix + QStringLiteral("Export"));
    out << "source calls by method:      " << byMethod.join(QStringLiteral(", ")) << '\n';
    out << "source calls per item:       " << (items ? double(all) / items : 0) << " (" << all << " in all; "
        << (items ? double(all - exports) / items : 0) << " per item besides the exports)\n";
    out << "target calls:                " << targetCalls.join(QStringLiteral(", ")) << '\n';
    if (delay <= 0)
        return;
    const double floor = all * delay / 1000.0;
    const double exportFloor = exports * delay / 1000.0;
    out << "serial source:               " << delay << " ms a call, one call at a time\n";
    out << "floor (calls x delay):       " << floor
        << " s; wall time / floor: " << (floor > 0 ? wall / 1000.0 / floor : 0) << '\n';
    out << "floor of the exports alone:  " << exportFloor << " s (" << exports
        << " Export calls); wall time / that floor: " << (exportFloor > 0 ? wall / 1000.0 / exportFloor : 0) << '\n';
}

int benchmark(int items, const QString &work, quint32 seed, const QStringList &kinds, const SourceBehaviour &source,
              bool resumeFigures)
{
    const QString library = QDir(work).filePath(QStringLiteral("library-%1-%2").arg(items).arg(seed));
    if (!QFileInfo::exists(QDir(library).filePath(QStringLiteral("library.json")))) {
        out << "generating " << items << " items into " << library << '\n' << Qt::flush;
        if (!run(binary(QStringLiteral("kastrel-benchmark")),
                 {QStringLiteral("generate"), QStringLiteral("--items"), QString::number(items),
                  QStringLiteral("--seed"), QString::number(seed), library})) {
            out << "generation failed\n";
            return 1;
        }
    }

    if (resumeFigures)
        return ResumeBenchmark::run(library, work, items, out);

    // Fresh target data for every run; the stand-ins are started by the bus on first use.
    const QString target = QDir(work).filePath(QStringLiteral("target-%1").arg(items));
    QDir(target).removeRecursively();
    if (!run(binary(QStringLiteral("kastrel-standin")),
             {QStringLiteral("install"), QStringLiteral("--library"), library, QStringLiteral("--identifier"),
              sourceIdentifier, QStringLiteral("--version"), QStringLiteral("2.5"), QStringLiteral("--serial-delay"),
              QString::number(source.serialDelay), QStringLiteral("--elements-of-each"), source.elementsOfEach})
        || !run(binary(QStringLiteral("nortavel3-standin")),
                {QStringLiteral("install"), QStringLiteral("--identifier"), targetIdentifier,
                 QStringLiteral("--version"), QStringLiteral("3.6"), QStringLiteral("--data"), target})) {
        out << "installing the stand-ins failed\n";
        return 1;
    }

    auto backend = std::make_shared<DBusScriptingBackend>();
    auto delegate = std::make_shared<TimingDelegate>();
    KSImportOptions options = KSImportOptions::none();
    for (const QString &key : kinds) {
        const std::optional<KSImportKind> kind = KSImportOptions::kindForKey(key);
        if (!kind) {
            out << "unknown kind \"" << key << "\"; kinds are " << KSImportOptions::allKeys().join(QLatin1Char(','))
                << "\n";
            return 1;
        }
        options.set(*kind, true);
    }
    auto operation = std::make_shared<KSImportOperation>(options, delegate, backend);

    // The GUI thread's longest stall: a timer that should fire every 5 ms, and the worst gap.
    qint64 longestStall = 0;
    QElapsedTimer tick;
    QTimer heartbeat;
    heartbeat.setInterval(5);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] { longestStall = qMax(longestStall, tick.restart() - 5); });

    // The CPU time of every process the export runs in: read before it starts, and by the
    // export thread as its last act, while it is still listed under its name and before the
    // target goes on to copy what it was handed.
    CpuAccount cpu;
    cpu.addThread(QStringLiteral("export thread"), QStringLiteral("export"));
    cpu.addThread(QStringLiteral("D-Bus thread"), QStringLiteral("QDBusConnection"));
    cpu.addBusProcess(QStringLiteral("kastrel-standin"), sourceIdentifier);
    cpu.addBusProcess(QStringLiteral("nortavel3-standin"), targetIdentifier);
    cpu.addBusProcess(QStringLiteral("dbus-daemon"), QStringLiteral("org.freedesktop.DBus"));

    const qint64 baseMemory = currentResidentKilobytes();
    QEventLoop loop;
    QThread *worker = QThread::create([operation, &cpu] {
        operation->main();
        cpu.stop();
    });
    worker->setObjectName(QStringLiteral("export"));
    QObject::connect(worker, &QThread::finished, &loop, &QEventLoop::quit);
    cpu.start();
    delegate->clock.start();
    tick.start();
    heartbeat.start();
    worker->start();
    loop.exec();
    heartbeat.stop();
    const qint64 wall = delegate->clock.elapsed();
    worker->wait();
    delete worker;
    const qint64 peakMemory = peakResidentKilobytes();
    const quint64 roundTrips = backend->roundTripCount();
    const QMap<QString, quint64> callsByMethod = backend->roundTripsByMethod();

    // The target copies everything it is handed after it has answered; the copy below must not
    // share the disk with it, so wait for its report. Its time is shown, apart from the export's.
    QElapsedTimer ingestClock;
    ingestClock.start();
    const QString report = QDir(target).filePath(QStringLiteral("import-report.json"));
    while (!QFileInfo::exists(report) && ingestClock.elapsed() < 3600 * 1000)
        QThread::msleep(20);
    const qint64 ingestTime = QFileInfo::exists(report) ? ingestClock.elapsed() : -1;

    // The floor the scripting contract sets: one Export call per item (bookmarks are written
    // without one), each a bus round trip at least as long as the plainest call the source
    // answers, made here a thousand times on the same connection (twenty times against a
    // serial source, whose every call takes its delay).
    const std::shared_ptr<KastrelScripting> scripting = backend->kastrelWithBundleIdentifier(sourceIdentifier);
    const quint32 exportCalls = quint32(items) - scripting->count(QStringLiteral("/"), QStringLiteral("bookmarkItems"));
    const int roundTripSamples = source.serialDelay > 0 ? 20 : 1000;
    QElapsedTimer roundTripClock;
    roundTripClock.start();
    for (int i = 0; i < roundTripSamples; ++i)
        scripting->count(QStringLiteral("/"), QStringLiteral("labels"));
    const double roundTripMicroseconds = roundTripClock.nsecsElapsed() / 1000.0 / roundTripSamples;

    // The same content copied the plain way into a fresh folder on the same disk, three times,
    // each copy removed once timed. The export is compared with the fastest, the copy least
    // disturbed by whatever else the machine was doing.
    const QString content = QDir(library).filePath(QStringLiteral("content"));
    const qint64 contentBytes = folderBytes(content);
    const QString copy = QDir(work).filePath(QStringLiteral("copy-%1").arg(items));
    QList<qint64> copyTimes; // -1: the copy failed
    int bestCopy = -1;
    for (int i = 0; i < 3; ++i) {
        QDir(copy).removeRecursively();
        QElapsedTimer copyClock;
        copyClock.start();
        const bool copied = run(QStringLiteral("cp"), {QStringLiteral("-a"), content, copy});
        copyTimes.append(copied ? copyClock.elapsed() : -1);
        QDir(copy).removeRecursively();
        if (copied && (bestCopy < 0 || copyTimes.last() < copyTimes.at(bestCopy)))
            bestCopy = i;
    }
    const qint64 copyTime = bestCopy < 0 ? 0 : copyTimes.at(bestCopy);

    out << "\n== " << items << " items (" << contentBytes / (1024 * 1024) << " MB of content) ==\n";
    if (!delegate->errors.isEmpty())
        out << "errors: " << delegate->errors.join(QStringLiteral("; ")) << '\n';
    out << "records exported:            " << delegate->records << " of " << delegate->announced << '\n';
    out << "wall time:                   " << wall / 1000.0 << " s\n";
    out << "items per second:            " << (wall ? items * 1000.0 / wall : 0) << '\n';
    out << "time per item:               " << (items ? wall * 1000.0 / items : 0) << " us\n";
    qint64 previous = 0;
    QString previousName = QStringLiteral("checks and folder");
    for (const auto &mark : delegate->marks) {
        out << "  stage " << previousName.leftJustified(22) << (mark.second - previous) / 1000.0 << " s\n";
        previous = mark.second;
        previousName = mark.first == QLatin1String("end") ? QString() : mark.first;
        if (mark.first == QLatin1String("Items"))
            previousName = QStringLiteral("Items (+ library file)");
    }
    // After the last record: records without files taken out, the library file written and
    // read back with every file it names looked for, and the hand-off.
    if (!delegate->marks.isEmpty() && delegate->marks.last().first == QLatin1String("end") && delegate->lastRecord)
        out << "  of which library file, its check and the hand-off: "
            << (delegate->marks.last().second - delegate->lastRecord) / 1000.0 << " s\n";
    out << "bus round trips per item:    " << (items ? double(roundTrips) / items : 0) << " (" << roundTrips
        << " in all)\n";
    printSerialFloors(callsByMethod, items, wall, source.serialDelay);
    out << "peak resident memory:        " << peakMemory / 1024 << " MB = " << peakMemory << " KB (base "
        << baseMemory / 1024 << " MB, " << (items ? double(peakMemory - baseMemory) / items : 0)
        << " KB per item above it)\n";
    out << "longest GUI-thread stall:    " << longestStall << " ms\n";
    out << "target's import afterwards:  "
        << (ingestTime < 0 ? QStringLiteral("no report") : QString::number(ingestTime / 1000.0) + QStringLiteral(" s"))
        << " (not in the wall time)\n";
    QStringList copies;
    for (const qint64 time : copyTimes)
        copies.append(time < 0 ? QStringLiteral("failed") : QString::number(time / 1000.0) + QStringLiteral(" s"));
    out << "cp -a of the content:        " << copies.join(QStringLiteral(", ")) << " (three fresh copies)\n";
    out << "copy time compared with:     "
        << (bestCopy < 0
                ? QStringLiteral("none, every copy failed")
                : QStringLiteral("%1 s, copy %2, the best of the three").arg(copyTime / 1000.0).arg(bestCopy + 1))
        << '\n';
    const double exportFloor = exportCalls * roundTripMicroseconds / 1e6;
    out << "one bus round trip (Count):  " << roundTripMicroseconds << " us; the " << exportCalls
        << " Export calls alone take at least " << exportFloor
        << " s = " << (copyTime ? exportFloor * 1000.0 / copyTime : 0) << " x the copy\n";
    out << "export / copy:               " << (copyTime ? double(wall) / copyTime : 0)
        << (kinds.size() < 7 ? " (only " + kinds.join(QLatin1Char(',')) + " exported; the copy is of everything)"
                             : QString())
        << '\n';
    out << '\n';
    cpu.print(out, wall);
    out << Qt::flush;
    return delegate->errors.isEmpty() && delegate->records == qint64(delegate->announced) ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() > 1 && arguments.at(1) == QLatin1String("generate"))
        return generate(arguments.mid(1));

    int size = 1000;
    QString work = QDir::temp().filePath(QStringLiteral("kastrel-benchmark"));
    quint32 seed = 1;
    SourceBehaviour source;
    QStringList kinds = KSImportOptions::allKeys();
    bool resumeFigures = false;
    for (int i = 1; i + 1 < arguments.size(); i += 2) {
        if (arguments.at(i) == QLatin1String("--items")) {
            size = arguments.at(i + 1).toInt();
        } else if (arguments.at(i) == QLatin1String("--work")) {
            work = arguments.at(i + 1);
        } else if (arguments.at(i) == QLatin1String("--kinds")) {
            kinds = arguments.at(i + 1).split(QLatin1Char(','));
        } else if (arguments.at(i) == QLatin1String("--seed")) {
            seed = arguments.at(i + 1).toUInt();
        } else if (arguments.at(i) == QLatin1String("--serial-delay")) {
            source.serialDelay = arguments.at(i + 1).toInt();
        } else if (arguments.at(i) == QLatin1String("--elements-of-each")) {
            source.elementsOfEach = arguments.at(i + 1);
        } else if (arguments.at(i) == QLatin1String("--resume")) {
            resumeFigures = arguments.at(i + 1) == QLatin1String("yes");
        }
    }
    QDir().mkpath(work);
    out << "machine: " << QThread::idealThreadCount() << " cores, " << QSysInfo::prettyProductName() << '\n';
    return benchmark(size, work, seed, kinds, source, resumeFigures);
}
