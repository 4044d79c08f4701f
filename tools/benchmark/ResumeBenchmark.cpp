#include "ResumeBenchmark.h"

#include "engine/DBusScriptingBackend.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportRunner.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <algorithm>

namespace ResumeBenchmark {

namespace {

const QString sourceIdentifier = QStringLiteral("com.fendwick.kastrel4");
const QString targetIdentifier = QStringLiteral("com.orvantis.Nortavel3");

// Counts records, and cancels the run once it has recorded `cancelAfter` (0: never).
class CountingDelegate : public KSImportOperationDelegate
{
public:
    qint64 cancelAfter = 0;
    qint64 records = 0;
    QStringList errors;

    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &) override
    {
        if (++records == cancelAfter)
            operation->cancel();
    }
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override
    {
        errors.append(QStringLiteral("%1 %2").arg(error.code).arg(error.localizedDescription));
    }
};

struct Outcome
{
    qint64 wall = 0; // milliseconds
    qint64 journal = 0; // nanoseconds of it spent on the journal
    qint64 journalSync = 0; // of which waiting for the disk
    qint64 records = 0;
    qint64 resumed = 0;
    bool handedOff = false;
    QStringList errors;
};

bool runProgram(const QString &name, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QDir(QCoreApplication::applicationDirPath()).filePath(name), arguments);
    return process.waitForFinished(600000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// One export; the target's copy of what it was handed is waited for, outside the wall time, so
// that it does not share the disk with the next run.
Outcome exportOnce(const QString &target, bool journal, bool resume, qint64 cancelAfter)
{
    const QString report = QDir(target).filePath(QStringLiteral("import-report.json"));
    QFile::remove(report);
    auto delegate = std::make_shared<CountingDelegate>();
    delegate->cancelAfter = cancelAfter;
    auto operation
        = std::make_shared<KSImportOperation>(KSImportOptions(), delegate, std::make_shared<DBusScriptingBackend>());
    operation->setJournalEnabled(journal);
    operation->setResume(resume);
    QElapsedTimer clock;
    clock.start();
    KSImportRunner::runToEnd(operation);
    Outcome outcome;
    outcome.wall = clock.elapsed();
    outcome.records = delegate->records;
    outcome.resumed = operation->resumedItemCount();
    outcome.journal = operation->journalNanoseconds();
    outcome.journalSync = operation->journalSyncNanoseconds();
    outcome.handedOff = !operation->handedOffLibraryFile().isNull();
    outcome.errors = delegate->errors;
    QElapsedTimer ingest;
    ingest.start();
    while (outcome.handedOff && !QFileInfo::exists(report) && ingest.elapsed() < 600000)
        QThread::msleep(20);
    return outcome;
}

QString verdict(bool met)
{
    return met ? QStringLiteral("met") : QStringLiteral("NOT met");
}

} // namespace

int run(const QString &library, const QString &work, int items, QTextStream &out)
{
    const QString target = QDir(work).filePath(QStringLiteral("target-resume-%1").arg(items));
    QDir(target).removeRecursively();
    if (!runProgram(QStringLiteral("kastrel-standin"),
                    {QStringLiteral("install"), QStringLiteral("--library"), library, QStringLiteral("--identifier"),
                     sourceIdentifier, QStringLiteral("--version"), QStringLiteral("2.5")})
        || !runProgram(QStringLiteral("nortavel3-standin"),
                       {QStringLiteral("install"), QStringLiteral("--identifier"), targetIdentifier,
                        QStringLiteral("--version"), QStringLiteral("3.6"), QStringLiteral("--data"), target})) {
        out << "installing the stand-ins failed\n";
        return 1;
    }

    out << "\n== continuing an export of " << items << " items ==\n" << Qt::flush;
    // A first run warms the caches (the library's files, the stand-ins' start), then full runs
    // with and without the journal alternate; each keeps its best time, the run least
    // disturbed by the rest of the machine.
    exportOnce(target, true, false, 0);
    qint64 withJournal = std::numeric_limits<qint64>::max();
    qint64 withoutJournal = std::numeric_limits<qint64>::max();
    // The largest share of a run's wall time that the run itself spent on its journal.
    double journalShare = 0;
    bool ok = true;
    for (int round = 0; round < 2; ++round) {
        for (const bool journal : {false, true}) {
            const Outcome full = exportOnce(target, journal, false, 0);
            ok = ok && full.handedOff && full.errors.isEmpty();
            (journal ? withJournal : withoutJournal) = qMin(journal ? withJournal : withoutJournal, full.wall);
            out << "full run, journal " << (journal ? "on: " : "off:") << "  " << full.wall / 1000.0 << " s";
            if (journal && full.wall > 0) {
                const double share = 100.0 * double(full.journal) / 1e6 / double(full.wall);
                journalShare = qMax(journalShare, share);
                out << " (in the journal " << full.journal / 1e9 << " s, " << share << " %; waiting for the disk "
                    << full.journalSync / 1e9 << " s)";
            }
            out << '\n' << Qt::flush;
        }
    }

    const Outcome cancelled = exportOnce(target, true, false, items / 2);
    const Outcome resumed = exportOnce(target, true, true, 0);
    ok = ok && !cancelled.handedOff && resumed.handedOff && resumed.errors.isEmpty();
    out << "run cancelled at half:       " << cancelled.wall / 1000.0 << " s (" << cancelled.records << " records)\n";
    out << "continued with --resume:     " << resumed.wall / 1000.0 << " s (" << resumed.resumed
        << " items from the journal, " << resumed.records - resumed.resumed << " exported)\n";

    const double journalCost = withoutJournal > 0 ? 100.0 * double(withJournal - withoutJournal) / withoutJournal : 0;
    const double resumeShare = withJournal > 0 ? 100.0 * double(resumed.wall) / withJournal : 0;
    // Whole runs differ by several per cent from one to the next on a busy disk, more than the
    // journal costs; the time the run spends in the journal is measured directly too.
    out << "journal cost, wall time:     " << journalCost << " % of a full run without it (best "
        << withJournal / 1000.0 << " s against " << withoutJournal / 1000.0 << " s)\n";
    out << "journal cost, time in it:    " << journalShare
        << " % of a full run at most; target at most 5 %: " << verdict(journalShare <= 5.0) << '\n';
    out << "resume after half:           " << resumeShare
        << " % of a full run; target at most 60 %: " << verdict(resumeShare <= 60.0) << '\n';
    if (!ok)
        out << "a run did not go as expected: " << cancelled.errors.join(QStringLiteral("; "))
            << resumed.errors.join(QStringLiteral("; ")) << '\n';
    out << Qt::flush;
    return ok ? 0 : 1;
}

} // namespace ResumeBenchmark
