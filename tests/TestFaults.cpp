// Runs that meet faults, end to end through the session bus against the stand-ins: the source
// quitting in the middle of the items, exports that answer nothing, an export folder that
// cannot be removed or created, a disk that fills while notes are written, a log that cannot
// be opened, and a cancel from the main thread while a slow source is being read.
#include "FaultHarness.h"
#include "KSImportOperationInspector.h"
#include "engine/KSExportJournal.h"
#include "engine/KSImportErrors.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QScopeGuard>
#include <QThread>
#include <QTimer>
#include <QtTest>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

using namespace FaultHarness;

namespace {

QJsonObject manifestWithItems(const QJsonArray &items)
{
    return QJsonObject {{QStringLiteral("items"), items}};
}

// One note: enough for a run to reach the export folder and the hand-off.
QString smallLibrary()
{
    return writeLibrary(QStringLiteral("small"),
                        manifestWithItems({item(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("A"))}));
}

bool libraryFileWritten()
{
    return QFileInfo::exists(QDir(exportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml")));
}

// Runs `command` and answers whether it succeeded; skips nothing.
bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// The environment variable that makes diskFillsWhileNotesAreWritten the child's run.
const char *const childMarker = "KI_FAULT_CHILD_FILE_SIZE_LIMIT";

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void sourceQuitsInTheMiddleOfTheItems()
    {
        const QString library = writeLibrary(
            QStringLiteral("quitting"),
            manifestWithItems({item(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("First")),
                               item(QStringLiteral("note"), QStringLiteral("N2"), QStringLiteral("Last words"),
                                    {{QStringLiteral("export"), QStringLiteral("quits")}})}));
        QVERIFY(installStandins(library));

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10004"), QStringLiteral("cancel")}));
        // The reason thrown, which the person is spared, is the log's: the failed call, what it
        // was about, the application, and the bus's own error. Which call notices the quit
        // depends on timing: the export of "Last words" itself, or a read about "First" asked
        // while the source was already on its way out (its objects gone, or itself).
        const QStringList failures = readLog().split(QLatin1Char('\n')).filter(QStringLiteral("Scripting failure: "));
        QCOMPARE(failures.size(), 1);
        const QString failure = failures.first().mid(26);
        const bool noticedByTheExport = failure
            == QStringLiteral("Scripting failure: Export of /items/1 in com.fendwick.kastrel4 failed: "
                              "org.freedesktop.DBus.Error.NoReply: Message recipient disconnected from message bus "
                              "without replying");
        const bool noticedAfterFirst = failure.startsWith(QStringLiteral("Scripting failure: "))
            && failure.contains(QStringLiteral(" of /items/0 in com.fendwick.kastrel4 failed: "))
            && (failure.endsWith(QStringLiteral("org.freedesktop.DBus.Error.NoReply: Message recipient disconnected "
                                                "from message bus without replying"))
                || failure.endsWith(
                    QStringLiteral("org.freedesktop.DBus.Error.UnknownObject: No such object path '/'")));
        QVERIFY2(noticedByTheExport || noticedAfterFirst, qPrintable(failure));
        // In words, naming the item, not its object path; the bus's own words go to the log.
        // Either way the person reads that Kastrel quit.
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Kastrel quit while \"%1\" was being exported. Nothing was handed to Nortavel 3; the "
                                "details are in the log.")
                     .arg(noticedByTheExport ? QStringLiteral("Last words") : QStringLiteral("First")));
        QCOMPARE(delegate->errors.size(), 1);
        QVERIFY(readLog().contains(QStringLiteral("Kept the unfinished export folder ") + exportFolder()));
        QVERIFY(KSImportOperationInspector::logStream(*operation));
        QVERIFY(!KSImportOperationInspector::logStream(*operation)->isOpen());
        QVERIFY(!libraryFileWritten());
        QVERIFY(lastImport().isEmpty());
        QVERIFY(readLog().contains(QStringLiteral("*** Export started")));
    }

    void exportAnsweringNothingStopsTheRun_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("option");
        QTest::addColumn<QString>("text");
        const QString database = QStringLiteral("Unable to export database item with name \"Bad one\".");
        QTest::newRow("note") << "note"
                              << "notes" << database;
        QTest::newRow("serial number") << "serialNumber"
                                       << "serialNumbers" << database;
        QTest::newRow("password") << "password"
                                  << "passwords" << database;
        QTest::newRow("image") << "image"
                               << "images" << database;
        QTest::newRow("PDF") << "pdfArchive"
                             << "PDFs" << QStringLiteral("Unable to export PDF item with name \"Bad one\".");
        QTest::newRow("web archive") << "webArchive"
                                     << "webArchives" << database;
    }

    void exportAnsweringNothingStopsTheRun()
    {
        QFETCH(QString, kind);
        QFETCH(QString, option);
        QFETCH(QString, text);
        const QString library
            = writeLibrary(QStringLiteral("failing-") + kind,
                           manifestWithItems({item(kind, QStringLiteral("good"), QStringLiteral("Good one")),
                                              item(kind, QStringLiteral("bad"), QStringLiteral("Bad one"),
                                                   {{QStringLiteral("export"), QStringLiteral("fails")}}),
                                              item(kind, QStringLiteral("later"), QStringLiteral("Never reached"))}));
        QVERIFY(installStandins(library));

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10003"), QStringLiteral("end")}));
        QCOMPARE(delegate->errors.first().localizedDescription, text);
        QCOMPARE(delegate->errors.first().domain, KSImportErrorDomain);
        const OVPlist items = KSImportOperationInspector::libraryPlist(*operation)
                                  .value(QStringLiteral("Entities"))
                                  .value(QStringLiteral("Item"));
        QCOMPARE(items.size(), 1);
        const OVPlist good = items.value(QStringLiteral("good"));
        QVERIFY(good.isDictionary());
        // The earlier item was exported; the unfinished export folder is then kept with its
        // journal, as the log says, so that a later run can continue from there.
        QVERIFY(good.value(QStringLiteral("absoluteFilename")).toString().startsWith(exportFolder()));
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
        QVERIFY(readLog().contains(QStringLiteral("Kept the unfinished export folder ") + exportFolder()));
        QVERIFY(!libraryFileWritten());
        QVERIFY(lastImport().isEmpty());
        Q_UNUSED(option)
    }

    void exportFolderThatCannotBeCreated()
    {
        QVERIFY(installStandins(smallLibrary()));
        // The temporary folder is a file: nothing can be created below it, not even as root.
        const QByteArray savedTemporary = qgetenv("TMPDIR");
        const QString blocker = QDir(QString::fromLocal8Bit(savedTemporary)).filePath(QStringLiteral("not-a-folder"));
        QFile file(blocker);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        qputenv("TMPDIR", QFile::encodeName(blocker));

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);
        qputenv("TMPDIR", savedTemporary);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10002"), QStringLiteral("end")}));
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Unable to create the temporary directory to export files."));
        QVERIFY(
            readLog().contains(QStringLiteral("Unable to create directory ") + blocker + QStringLiteral("/Kastrel: ")));
        QVERIFY(lastImport().isEmpty());
        QVERIFY(QFileInfo(blocker).isFile());
    }

    void exportFolderThatCannotBeRemoved()
    {
        QVERIFY(installStandins(smallLibrary()));
        // A previous run's folder with a file that may not go: immutable as root, a folder
        // without write permission otherwise.
        const QString stale = QDir(exportFolder()).filePath(QStringLiteral("Notes"));
        QVERIFY(QDir().mkpath(stale));
        const QString stuck = QDir(stale).filePath(QStringLiteral("stuck.nvnote"));
        QFile file(stuck);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        const bool root = ::geteuid() == 0;
        if (root) {
            if (!run(QStringLiteral("chattr"), {QStringLiteral("+i"), stuck}))
                QSKIP("chattr +i is not possible here (no chattr, or a file system without it)");
        } else {
            QVERIFY(QFile::setPermissions(stale, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }
        const auto restore = qScopeGuard([&] {
            if (root)
                run(QStringLiteral("chattr"), {QStringLiteral("-i"), stuck});
            else
                QFile::setPermissions(stale, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        });

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10002"), QStringLiteral("end")}));
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Unable to create the temporary directory to export files."));
        QVERIFY(
            readLog().contains(QStringLiteral("Unable to remove directory ") + exportFolder() + QStringLiteral(": ")));
        QVERIFY(QFileInfo::exists(stuck));
        QVERIFY(lastImport().isEmpty());
    }

    void diskFillsWhileNotesAreWritten()
    {
        if (qEnvironmentVariableIsSet(childMarker)) {
            // The child's run: print what the delegate heard and leave.
            std::unique_ptr<KSImportOperation> operation;
            const auto delegate = runWithAllOptions(operation);
            std::printf("events: %s\n", qPrintable(delegate->finalEvents().join(QLatin1Char(','))));
            std::fflush(stdout);
            return;
        }
        QJsonArray items;
        for (int index = 0; index < 60; ++index)
            items.append(item(QStringLiteral("note"), QStringLiteral("N%1").arg(index),
                              QStringLiteral("Note number %1").arg(index),
                              {{QStringLiteral("comments"), QString(200, QLatin1Char('c'))}}));
        items.append(item(QStringLiteral("serialNumber"), QStringLiteral("big"), QStringLiteral("Big"),
                          {{QStringLiteral("text"), QString(100000, QLatin1Char('x'))}}));
        QVERIFY(installStandins(writeLibrary(QStringLiteral("filling"), manifestWithItems(items))));
        QFile::remove(logFilePath());

        // The same test program runs the export with files limited to 16 KB; a write past the
        // limit fails with EFBIG (the signal it would raise is ignored, as a careful
        // launcher's would be).
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(childMarker), QStringLiteral("16384"));
        child.setProcessEnvironment(environment);
        child.setChildProcessModifier([] {
            ::signal(SIGXFSZ, SIG_IGN);
            const struct rlimit limit
            {
                16384, 16384
            };
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("diskFillsWhileNotesAreWritten")});
        QVERIFY(child.waitForFinished(240000));
        const QString output = QString::fromUtf8(child.readAllStandardOutput());
        const QString console = QString::fromUtf8(child.readAllStandardError());
        QVERIFY2(child.exitStatus() == QProcess::NormalExit, qPrintable(console));
        QVERIFY2(output.contains(QStringLiteral("events: ")), qPrintable(output + console));

        // Either the run reported an error, or what failed stands in the log or on the console.
        const QString log = readLog();
        const bool reported = output.contains(QStringLiteral("error"));
        const bool logged
            = log.contains(QStringLiteral("Unable to write")) || console.contains(QStringLiteral("Cannot write note"));
        QVERIFY2(reported || logged, qPrintable(output + log + console));
        // A library file that could not be written whole is refused by the target, never
        // taken as a success.
        const QJsonObject imported = lastImport();
        if (log.contains(QStringLiteral("Unable to write")) && !imported.isEmpty())
            QVERIFY(!imported.value(QStringLiteral("accepted")).toBool());
    }

    void logFolderThatIsNotWritable()
    {
        QVERIFY(installStandins(smallLibrary()));
        // The log folder is a file: the log cannot be opened, even as root.
        const QString logs = QFileInfo(logFilePath()).absolutePath();
        QVERIFY(QDir(logs).removeRecursively());
        QDir().mkpath(QFileInfo(logs).absolutePath());
        QFile blocker(logs);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const auto restore = qScopeGuard([&] { QFile::remove(logs); });

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("end")}));
        QVERIFY(QFileInfo(logs).isFile());
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.value(QStringLiteral("accepted")).toBool(), QJsonDocument(imported).toJson().constData());
    }

    void cancelFromTheMainThreadStopsWithinOneRecord()
    {
        QJsonArray items;
        for (int index = 0; index < 12; ++index)
            items.append(
                item(QStringLiteral("note"), QStringLiteral("N%1").arg(index), QStringLiteral("Slow %1").arg(index)));
        QVERIFY(installStandins(writeLibrary(QStringLiteral("slow"), manifestWithItems(items)),
                                {QStringLiteral("--reply-delay"), QStringLiteral("30")}));

        const auto delegate = std::make_shared<RecordingDelegate>();
        const auto operation = KSImportOperationInspector::make(allOptions(), delegate);
        int recordsAtCancel = -1;
        // The first record is the signal to cancel, given afterwards from the main thread's
        // event loop as a Cancel button would.
        delegate->onRecord = [&](KSImportOperation *) {
            if (recordsAtCancel < 0 && delegate->records == 1)
                QTimer::singleShot(0, [&] {
                    recordsAtCancel = delegate->records;
                    operation->cancel();
                });
        };
        std::unique_ptr<QThread> worker(QThread::create([&] { operation->main(); }));
        worker->start();
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 240000);

        QVERIFY(recordsAtCancel >= 1);
        QVERIFY2(delegate->records - recordsAtCancel <= 1,
                 qPrintable(QStringLiteral("%1 records after the cancel").arg(delegate->records - recordsAtCancel)));
        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("cancel")}));
        QVERIFY(!libraryFileWritten());
        QVERIFY(lastImport().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "TestFaults.moc"
