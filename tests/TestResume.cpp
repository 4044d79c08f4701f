// An export that stops (cancelled with Ctrl-C, the source quitting mid-export, the importer
// killed, a full disk) keeps its folder and journal, and `export --resume` continues it: end
// to end over the session bus, the command line as a process, both stand-ins. The continued
// run hands over the same library as a run that never stopped, every item once and each file
// whole, without asking the source to export the items its journal holds; an item changed in
// between is exported anew; other options or another source are refused; a damaged journal
// is never trusted.
#include "FaultHarness.h"
#include "TestConfig.h"
#include "engine/KSExportJournal.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSet>
#include <QThread>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>

using namespace FaultHarness;

namespace {

const int noteCount = 40;

QString importerPath()
{
    return QDir(QStringLiteral(KI_BIN_DIR)).filePath(QStringLiteral("kastrel-importer"));
}

QString exportLogPath()
{
    return QDir(QDir::homePath()).filePath(QStringLiteral("export-calls.txt"));
}

QString journalPath()
{
    return QDir(exportFolder()).filePath(KSExportJournal::fileName);
}

// Notes (two of them with one name, so file names are made unique), images, a bookmark and a
// web archive; `changes` replaces keys of the items with those identifiers.
QJsonObject manifest(const QMap<QString, QJsonObject> &changes = {})
{
    QJsonArray items;
    const auto add = [&](const QString &kind, const QString &id, const QString &name) {
        QJsonObject extra {{QStringLiteral("modificationDate"), QStringLiteral("2020-01-01T10:00:00Z")}};
        const QJsonObject change = changes.value(id);
        for (auto key = change.constBegin(); key != change.constEnd(); ++key)
            extra.insert(key.key(), key.value());
        items.append(item(change.value(QStringLiteral("kind")).toString(kind), id, name, extra));
    };
    for (int index = 0; index < noteCount; ++index)
        add(QStringLiteral("note"), QStringLiteral("N%1").arg(index),
            index == 3 || index == 30 ? QStringLiteral("Twin") : QStringLiteral("Note %1").arg(index));
    add(QStringLiteral("bookmark"), QStringLiteral("B1"), QStringLiteral("Site"));
    add(QStringLiteral("image"), QStringLiteral("I1"), QStringLiteral("Photo"));
    add(QStringLiteral("image"), QStringLiteral("I2"), QStringLiteral("Photo"));
    add(QStringLiteral("webArchive"), QStringLiteral("W1"), QStringLiteral("Page"));
    return QJsonObject {{QStringLiteral("items"), items}};
}

const int itemCount = noteCount + 4;

bool install(const QJsonObject &library, const QStringList &sourceArguments = {})
{
    QFile::remove(exportLogPath());
    return installStandins(writeLibrary(QStringLiteral("resume-library"), library),
                           QStringList {QStringLiteral("--export-log"), exportLogPath()} + sourceArguments);
}

QStringList exportCalls()
{
    QFile file(exportLogPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

int journalLines()
{
    QFile file(journalPath());
    return file.open(QIODevice::ReadOnly) ? int(file.readAll().count('\n')) : 0;
}

// The item identifiers the journal holds.
QStringList journalledItems()
{
    const std::optional<KSExportJournal::Contents> journal = KSExportJournal::read(journalPath());
    QStringList identifiers;
    if (journal) {
        for (const KSExportJournal::Entry &entry : journal->entries)
            identifiers.append(entry.itemIdentifier);
    }
    return identifiers;
}

struct Run
{
    int exitCode = -1;
    QJsonObject summary;
    QString errorText;

    QString describe() const
    {
        return QStringLiteral("exit %1\n%2\n%3")
            .arg(exitCode)
            .arg(errorText.right(4000), QString::fromUtf8(QJsonDocument(summary).toJson()).left(4000));
    }
};

// One `kastrel-importer export --json` with `arguments`; `whileRunning` is called every 10 ms
// with the process until it answers false.
Run runImporter(const QStringList &arguments = {}, const std::function<bool(QProcess &)> &whileRunning = {},
                const std::function<void()> &modifier = {})
{
    QProcess process;
    if (modifier)
        process.setChildProcessModifier(modifier);
    process.start(importerPath(), QStringList {QStringLiteral("export"), QStringLiteral("--json")} + arguments);
    process.waitForStarted(30000);
    QElapsedTimer timer;
    timer.start();
    bool watching = bool(whileRunning);
    while (process.state() != QProcess::NotRunning && timer.elapsed() < 240000) {
        if (watching)
            watching = whileRunning(process);
        process.waitForFinished(10);
    }
    Run run;
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(30000);
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.summary = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    run.errorText = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// The run's report for programs, as the summary names it.
QJsonObject runReport(const Run &run)
{
    QFile file(run.summary.value(QStringLiteral("jsonReportFile")).toString());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

// The run's report for people.
QString runReportPage(const Run &run)
{
    QFile file(run.summary.value(QStringLiteral("reportFile")).toString());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// What the target took: each item's file, as a path inside the imported library and its size.
QMap<QString, QString> importedFiles()
{
    const QJsonObject imported = lastImport();
    const QString folder = imported.value(QStringLiteral("libraryFolder")).toString();
    QMap<QString, QString> files;
    const QJsonObject named = imported.value(QStringLiteral("files")).toObject();
    for (auto file = named.constBegin(); file != named.constEnd(); ++file) {
        const QString path = file.value().toString();
        files.insert(file.key(),
                     path
                         + QStringLiteral(" (%1 bytes)").arg(KSExportJournal::sizeOnDisk(QDir(folder).filePath(path))));
    }
    return files;
}

} // namespace

class TestResume : public QObject
{
    Q_OBJECT

    // The library as a run that never stopped hands it over.
    QMap<QString, QString> m_uninterrupted;

    // Interrupts an export by `interrupt` once the journal holds `lines` items, then checks that
    // the folder and its journal were kept.
    void interruptOnceJournalled(int lines, const std::function<void(QProcess &)> &interrupt, int expectedExit)
    {
        const Run stopped = runImporter({}, [&](QProcess &process) {
            if (journalLines() <= lines)
                return true;
            interrupt(process);
            return false;
        });
        QVERIFY2(stopped.exitCode == expectedExit, qPrintable(stopped.describe()));
    }

    // Continues the export and checks it hands over what a run that never stopped does,
    // without exporting the journalled items again.
    void resumeAndCompare(const QStringList &journalled)
    {
        QVERIFY(!journalled.isEmpty());
        QFile::remove(exportLogPath());
        const Run resumed = runImporter({QStringLiteral("--resume")});
        QVERIFY2(resumed.exitCode == 0, qPrintable(resumed.describe()));
        QCOMPARE(resumed.summary.value(QStringLiteral("continued")).toBool(), true);
        QCOMPARE(resumed.summary.value(QStringLiteral("resumedItems")).toInt(), journalled.size());
        QCOMPARE(resumed.summary.value(QStringLiteral("exportedAnew")).toInt(), itemCount - journalled.size());
        QVERIFY2(resumed.errorText.contains(QStringLiteral("items taken from the earlier export: %1, exported anew: %2")
                                                .arg(journalled.size())
                                                .arg(itemCount - journalled.size())),
                 qPrintable(resumed.describe()));
        for (const QString &identifier : exportCalls())
            QVERIFY2(!journalled.contains(identifier), qPrintable(identifier + QStringLiteral(" exported again")));
        QCOMPARE(importedFiles(), m_uninterrupted);
        QVERIFY(!QFileInfo::exists(journalPath()));

        // The report lists every item once, those from the journal as imported with the files
        // they had, and says how many came from the journal.
        const QJsonObject report = runReport(resumed);
        QCOMPARE(report.value(QStringLiteral("resumedItems")).toInt(), journalled.size());
        const QJsonArray items = report.value(QStringLiteral("items")).toArray();
        QCOMPARE(items.size(), itemCount);
        QSet<QString> listed;
        for (const QJsonValue &value : items) {
            const QJsonObject item = value.toObject();
            const QString identifier = item.value(QStringLiteral("identifier")).toString();
            QVERIFY2(!listed.contains(identifier), qPrintable(identifier + QStringLiteral(" listed twice")));
            listed.insert(identifier);
            QCOMPARE(item.value(QStringLiteral("outcome")).toString(), QStringLiteral("imported"));
            QVERIFY2(!item.value(QStringLiteral("file")).toString().isEmpty(), qPrintable(identifier));
        }
        QVERIFY(runReportPage(resumed).contains(
            QStringLiteral("%1 items were taken from the earlier export.").arg(journalled.size())));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(install(manifest()));
        const Run run = runImporter();
        QVERIFY2(run.exitCode == 0, qPrintable(run.describe()));
        m_uninterrupted = importedFiles();
        QVERIFY2(m_uninterrupted.size() == itemCount,
                 qPrintable(QStringList(m_uninterrupted.keys()).join(QLatin1Char(' '))));
        QCOMPARE(exportCalls().size(), itemCount - 1); // the bookmark is written without the source
        // A run that ends leaves no journal behind.
        QVERIFY(!QFileInfo::exists(journalPath()));
        QCOMPARE(run.summary.value(QStringLiteral("keptExportFolder")), QJsonValue());
        QCOMPARE(run.summary.value(QStringLiteral("resumedItems")).toInt(), 0);
    }

    void cancelledInTheItemStage()
    {
        QVERIFY(install(manifest(), {QStringLiteral("--serial-delay"), QStringLiteral("15")}));
        const Run stopped = runImporter({}, [](QProcess &process) {
            if (journalLines() <= 10)
                return true;
            ::kill(pid_t(process.processId()), SIGINT);
            return false;
        });
        QVERIFY2(stopped.exitCode == 2, qPrintable(stopped.describe()));
        QCOMPARE(stopped.summary.value(QStringLiteral("keptExportFolder")).toString(), QDir::cleanPath(exportFolder()));
        QVERIFY2(stopped.errorText.contains(QStringLiteral("unfinished export kept in: ")),
                 qPrintable(stopped.describe()));
        QVERIFY(readLog().contains(QStringLiteral("Kept the unfinished export folder")));
        // The report of the stopped run says where its folder is, for people and for programs.
        QCOMPARE(runReport(stopped).value(QStringLiteral("keptExportFolder")).toString(),
                 QDir::cleanPath(exportFolder()));
        QCOMPARE(runReport(stopped).value(QStringLiteral("outcome")).toString(), QStringLiteral("cancelled"));
        QVERIFY2(runReportPage(stopped).contains(QStringLiteral("The unfinished export was kept in %1")
                                                     .arg(QDir::cleanPath(exportFolder()).toHtmlEscaped())),
                 qPrintable(runReportPage(stopped).left(3000)));
        const QStringList journalled = journalledItems();
        QVERIFY(journalled.size() >= 10);
        QVERIFY(install(manifest()));
        resumeAndCompare(journalled);
    }

    void sourceQuitsMidWindow()
    {
        QVERIFY(install(manifest({{QStringLiteral("N25"), {{QStringLiteral("export"), QStringLiteral("quits")}}}})));
        const Run stopped = runImporter();
        QVERIFY2(stopped.exitCode == 1, qPrintable(stopped.describe()));
        QVERIFY(QFileInfo::exists(journalPath()));
        const QStringList journalled = journalledItems();
        QCOMPARE(journalled.size(), 25);
        QVERIFY(install(manifest()));
        resumeAndCompare(journalled);
    }

    void importerKilledBetweenItems()
    {
        QVERIFY(install(manifest(), {QStringLiteral("--serial-delay"), QStringLiteral("15")}));
        interruptOnceJournalled(
            5, [](QProcess &process) { ::kill(pid_t(process.processId()), SIGKILL); }, -1);
        const QStringList journalled = journalledItems();
        QVERIFY(journalled.size() >= 5);
        QVERIFY(journalled.size() < itemCount);
        // The source is restarted too: it would still be answering the dead importer's exports.
        QVERIFY(install(manifest()));
        resumeAndCompare(journalled);
    }

    void diskFills()
    {
        // A serial number too large for the file size limit the importer runs under.
        QMap<QString, QJsonObject> big {
            {QStringLiteral("N20"),
             {{QStringLiteral("kind"), QStringLiteral("serialNumber")},
              {QStringLiteral("text"), QString(400000, QLatin1Char('x'))},
              {QStringLiteral("modificationDate"), QStringLiteral("2020-01-01T10:00:00Z")}}}};
        QVERIFY(install(manifest(big)));
        const Run uninterrupted = runImporter();
        QVERIFY2(uninterrupted.exitCode == 0, qPrintable(uninterrupted.describe()));
        const QMap<QString, QString> expected = importedFiles();

        // The log is not to reach the limit: only the export's own files are.
        QFile::remove(logFilePath());
        const Run stopped = runImporter({}, {}, [] {
            ::signal(SIGXFSZ, SIG_IGN);
            const struct rlimit limit
            {
                32768, 32768
            };
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
        QVERIFY2(stopped.exitCode == 1, qPrintable(stopped.describe()));
        QVERIFY2(stopped.errorText.contains(QStringLiteral("no space left")), qPrintable(stopped.describe()));
        const QStringList journalled = journalledItems();
        QVERIFY(!journalled.isEmpty());
        QVERIFY(!journalled.contains(QStringLiteral("N20")));

        QFile::remove(exportLogPath());
        const Run resumed = runImporter({QStringLiteral("--resume")});
        QVERIFY2(resumed.exitCode == 0, qPrintable(resumed.describe()));
        QCOMPARE(resumed.summary.value(QStringLiteral("resumedItems")).toInt(), journalled.size());
        QVERIFY(exportCalls().contains(QStringLiteral("N20")));
        QCOMPARE(importedFiles(), expected);
    }

    void changedItemIsExportedAnew()
    {
        QVERIFY(install(manifest({{QStringLiteral("N25"), {{QStringLiteral("export"), QStringLiteral("quits")}}}})));
        QCOMPARE(runImporter().exitCode, 1);
        QStringList journalled = journalledItems();
        QVERIFY(journalled.contains(QStringLiteral("N7")));

        // N7 was modified in between: its journal entry no longer holds.
        QVERIFY(install(manifest(
            {{QStringLiteral("N7"), {{QStringLiteral("modificationDate"), QStringLiteral("2021-06-01T08:00:00Z")}}}})));
        const Run resumed = runImporter({QStringLiteral("--resume")});
        QVERIFY2(resumed.exitCode == 0, qPrintable(resumed.describe()));
        QCOMPARE(resumed.summary.value(QStringLiteral("resumedItems")).toInt(), journalled.size() - 1);
        const QStringList calls = exportCalls();
        QVERIFY(calls.contains(QStringLiteral("N7")));
        QCOMPARE(calls.count(QStringLiteral("N7")), 1);
        journalled.removeAll(QStringLiteral("N7"));
        for (const QString &identifier : calls)
            QVERIFY2(!journalled.contains(identifier), qPrintable(identifier));
        // Same names, same files: the changed note went back under its own name.
        QCOMPARE(importedFiles(), m_uninterrupted);
    }

    void otherOptionsOrSourceAreRefused()
    {
        QVERIFY(install(manifest({{QStringLiteral("N25"), {{QStringLiteral("export"), QStringLiteral("quits")}}}})));
        QCOMPARE(runImporter().exitCode, 1);
        QFile journal(journalPath());
        QVERIFY(journal.open(QIODevice::ReadOnly));
        const QByteArray before = journal.readAll();
        journal.close();

        QVERIFY(install(manifest()));
        const Run otherOptions
            = runImporter({QStringLiteral("--resume"), QStringLiteral("--only"), QStringLiteral("notes")});
        QVERIFY2(otherOptions.exitCode == 1, qPrintable(otherOptions.describe()));
        QVERIFY2(otherOptions.errorText.contains(QStringLiteral("cannot be continued: it exports other kinds")),
                 qPrintable(otherOptions.describe()));
        QVERIFY(exportCalls().isEmpty());
        QVERIFY(lastImport().isEmpty());

        QVERIFY(installStandins(
            writeLibrary(QStringLiteral("resume-library"), manifest()),
            {QStringLiteral("--version"), QStringLiteral("2.6"), QStringLiteral("--export-log"), exportLogPath()}));
        const Run otherSource = runImporter({QStringLiteral("--resume")});
        QVERIFY2(otherSource.exitCode == 1, qPrintable(otherSource.describe()));
        QVERIFY2(otherSource.errorText.contains(QStringLiteral("made from another Kastrel")),
                 qPrintable(otherSource.describe()));
        QVERIFY(exportCalls().isEmpty());

        // Nothing was done: the journal is as it was, and still continues the export.
        QVERIFY(journal.open(QIODevice::ReadOnly));
        QCOMPARE(journal.readAll(), before);
        journal.close();
        QVERIFY(install(manifest()));
        resumeAndCompare(journalledItems());
    }

    void damagedJournalIsNotTrusted()
    {
        QVERIFY(install(manifest({{QStringLiteral("N25"), {{QStringLiteral("export"), QStringLiteral("quits")}}}})));
        QCOMPARE(runImporter().exitCode, 1);
        QFile journal(journalPath());
        QVERIFY(journal.open(QIODevice::ReadOnly));
        QList<QByteArray> lines = journal.readAll().split('\n');
        journal.close();
        QVERIFY(lines.size() > 5);
        lines[3] = "{\"optionKey\": garbage";
        QVERIFY(journal.open(QIODevice::WriteOnly | QIODevice::Truncate));
        journal.write(lines.join('\n'));
        journal.close();

        QVERIFY(install(manifest()));
        const Run resumed = runImporter({QStringLiteral("--resume")});
        QVERIFY2(resumed.exitCode == 0, qPrintable(resumed.describe()));
        QCOMPARE(resumed.summary.value(QStringLiteral("continued")).toBool(), false);
        QCOMPARE(resumed.summary.value(QStringLiteral("resumedItems")).toInt(), 0);
        QCOMPARE(resumed.summary.value(QStringLiteral("notContinuedReason")).toString(),
                 QStringLiteral("line 4 of the journal does not read"));
        QVERIFY2(resumed.errorText.contains(QStringLiteral("not continued: line 4 of the journal does not read")),
                 qPrintable(resumed.describe()));
        QCOMPARE(exportCalls().size(), itemCount - 1);
        QCOMPARE(importedFiles(), m_uninterrupted);
    }

    void nothingToContinueStartsOver()
    {
        QVERIFY(install(manifest()));
        QDir(exportFolder()).removeRecursively();
        const Run resumed = runImporter({QStringLiteral("--resume")});
        QVERIFY2(resumed.exitCode == 0, qPrintable(resumed.describe()));
        QCOMPARE(resumed.summary.value(QStringLiteral("notContinuedReason")).toString(),
                 QStringLiteral("there is no journal of an earlier export"));
        QCOMPARE(importedFiles(), m_uninterrupted);
    }
};

QTEST_GUILESS_MAIN(TestResume)
#include "TestResume.moc"
