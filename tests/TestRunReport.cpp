// The report files every run leaves beside its log, end to end over the session bus against
// both stand-ins: the sample library's run lists every item with what became of it; a note
// whose text cannot be read, an item without a name and a date that is no date are listed as
// such; a cancelled and a failed run say how far they came and that nothing was handed over;
// only the last twenty runs are kept; the JSON reads back here and in Python, and the HTML,
// read by Python's own parser, holds every name whole. And the export command names the report.
#include "FaultHarness.h"
#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "TestSupport.h"
#include "engine/KSExportReport.h"
#include "engine/KSImportErrors.h"
#include "engine/KSReportFile.h"
#include "foundation/OVClock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTranslator>
#include <QtTest>

using namespace FaultHarness;

namespace {

const QString SampleLibrary = QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library");

QString logsFolder()
{
    return QFileInfo(logFilePath()).absolutePath();
}

// The report files in the log folder, sorted.
QStringList reportFiles()
{
    QStringList files = QDir(logsFolder()).entryList({QStringLiteral("Kastrel Export *")}, QDir::Files, QDir::Name);
    files.removeAll(QStringLiteral("Kastrel Export.log"));
    return files;
}

void removeReports()
{
    for (const QString &file : reportFiles())
        QFile::remove(QDir(logsFolder()).filePath(file));
}

QJsonObject readJson(const QString &path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        qWarning() << path << error.errorString();
    return document.object();
}

// The listed item with `identifier` (the first, when several share it).
QJsonObject listed(const QJsonObject &report, const QString &identifier)
{
    for (const QJsonValue &item : report.value(QStringLiteral("items")).toArray()) {
        if (item.toObject().value(QStringLiteral("identifier")).toString() == identifier)
            return item.toObject();
    }
    return {};
}

QString outcomeOf(const QJsonObject &report, const QString &identifier)
{
    return listed(report, identifier).value(QStringLiteral("outcome")).toString();
}

// Python's own readers check both files: tests/scripts/check_report.py. Empty when they agree.
QString checkedByPython(const QString &jsonReport, const QString &htmlReport)
{
    QProcess python;
    python.setProcessChannelMode(QProcess::MergedChannels);
    python.start(QStringLiteral("/usr/bin/python3"),
                 {QStringLiteral(KI_SOURCE_DIR "/tests/scripts/check_report.py"), jsonReport, htmlReport});
    if (!python.waitForFinished(60000))
        return QStringLiteral("python did not finish");
    if (python.exitStatus() != QProcess::NormalExit || python.exitCode() != 0)
        return QString::fromUtf8(python.readAll());
    return QString();
}

struct Run
{
    std::unique_ptr<KSImportOperation> operation;
    std::shared_ptr<RecordingDelegate> delegate;
    KSExportReport report;
    QJsonObject json;
};

// Exports what the installed stand-ins serve, with every kind on; `onRecord` may cancel.
Run exportAll(std::function<void(KSImportOperation *)> onRecord = {})
{
    Run run;
    run.delegate = std::make_shared<RecordingDelegate>();
    run.delegate->onRecord = std::move(onRecord);
    run.operation = KSImportOperationInspector::make(allOptions(), run.delegate);
    run.operation->main();
    // The target takes the library in after answering; the next run waits for it to be done.
    if (!run.operation->handedOffLibraryFile().isNull())
        lastImport();
    run.report = KSExportReport::ofOperation(*run.operation);
    run.json = readJson(run.report.jsonReportFile);
    return run;
}

QString optionKeyOfKind(const QString &kind)
{
    static const QHash<QString, QString> keys {
        {QStringLiteral("note"), QStringLiteral("notes")},
        {QStringLiteral("bookmark"), QStringLiteral("bookmarks")},
        {QStringLiteral("serialNumber"), QStringLiteral("serialNumbers")},
        {QStringLiteral("password"), QStringLiteral("passwords")},
        {QStringLiteral("image"), QStringLiteral("images")},
        {QStringLiteral("pdfArchive"), QStringLiteral("PDFs")},
        {QStringLiteral("webArchive"), QStringLiteral("webArchives")},
    };
    return keys.value(kind);
}

} // namespace

class TestRunReport : public QObject
{
    Q_OBJECT

private slots:
    void init() { removeReports(); }
    void cleanup() { OVClock::setCurrentDateTimeProvider({}); }

    void sampleLibraryRunListsEveryItem()
    {
        QVERIFY(installStandins(SampleLibrary));
        const Run run = exportAll();
        QCOMPARE(run.delegate->finalEvents(), QStringList {QStringLiteral("end")});
        QVERIFY2(QFileInfo::exists(run.report.reportFile), qPrintable(run.report.reportFile));
        QVERIFY2(QFileInfo::exists(run.report.jsonReportFile), qPrintable(run.report.jsonReportFile));
        QCOMPARE(QFileInfo(run.report.reportFile).absolutePath(), logsFolder());
        QVERIFY(QFileInfo(run.report.reportFile)
                    .fileName()
                    .contains(QRegularExpression(
                        QStringLiteral("^Kastrel Export \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.html$"))));
        QCOMPARE(QFileInfo(run.report.jsonReportFile).completeBaseName(),
                 QFileInfo(run.report.reportFile).completeBaseName());

        // What the library says: the kinds in the order the run takes them, each kind's items
        // in the library's order; a note, serial number, password, image or web archive
        // without a name is passed over, every other item arrives.
        const QJsonArray library
            = readJson(SampleLibrary + QStringLiteral("/library.json")).value(QStringLiteral("items")).toArray();
        QJsonArray expected;
        for (const char *kind : {"note", "bookmark", "serialNumber", "password", "image", "pdfArchive", "webArchive"}) {
            for (const QJsonValue &value : library) {
                const QJsonObject item = value.toObject();
                if (item.value(QStringLiteral("kind")).toString() == QLatin1String(kind))
                    expected.append(item);
            }
        }
        QCOMPARE(expected.size(), 39);

        const QJsonArray items = run.json.value(QStringLiteral("items")).toArray();
        QCOMPARE(items.size(), expected.size());
        QCOMPARE(run.json.value(QStringLiteral("itemsReached")).toInt(), 39);
        QCOMPARE(run.json.value(QStringLiteral("itemsAnnounced")).toInt(), 39);
        QCOMPARE(run.json.value(QStringLiteral("outcome")).toString(), QStringLiteral("ended"));
        int passedOver = 0;
        for (qsizetype index = 0; index < items.size(); ++index) {
            const QJsonObject source = expected.at(index).toObject();
            const QJsonObject item = items.at(index).toObject();
            const QString kind = source.value(QStringLiteral("kind")).toString();
            const QString name = source.value(QStringLiteral("name")).toString();
            const QString identifier = source.value(QStringLiteral("id")).toString();
            QCOMPARE(item.value(QStringLiteral("identifier")).toString(), identifier);
            QCOMPARE(item.value(QStringLiteral("name")).toString(), name);
            QCOMPARE(item.value(QStringLiteral("kind")).toString(), optionKeyOfKind(kind));
            const bool skipsUnnamed = kind != QLatin1String("bookmark") && kind != QLatin1String("pdfArchive");
            if (skipsUnnamed && name.isEmpty()) {
                ++passedOver;
                QCOMPARE(item.value(QStringLiteral("outcome")).toString(), QStringLiteral("passedOver"));
                QVERIFY(item.value(QStringLiteral("file")).isNull());
                QVERIFY(item.value(QStringLiteral("nortavelKind")).isNull());
                QCOMPARE(item.value(QStringLiteral("reason")).toString(), QStringLiteral("it has no name"));
                continue;
            }
            QVERIFY2(item.value(QStringLiteral("outcome")).toString() == QLatin1String("imported"),
                     qPrintable(identifier));
            QVERIFY(item.value(QStringLiteral("reason")).isNull());
            const QString file = item.value(QStringLiteral("file")).toString();
            QVERIFY2(!file.isEmpty() && QDir::isRelativePath(file) && !file.startsWith(QLatin1String("..")),
                     qPrintable(file));
            const QString nortavelKind = item.value(QStringLiteral("nortavelKind")).toString();
            if (kind == QLatin1String("pdfArchive"))
                QVERIFY2(nortavelKind == QLatin1String("document") || nortavelKind == QLatin1String("webPage"),
                         qPrintable(nortavelKind));
            else if (kind == QLatin1String("bookmark") || kind == QLatin1String("image"))
                QCOMPARE(nortavelKind, kind);
            else if (kind == QLatin1String("webArchive"))
                QCOMPARE(nortavelKind, QStringLiteral("webPage"));
            else
                QCOMPARE(nortavelKind, QStringLiteral("note"));
        }
        QCOMPARE(passedOver, run.report.passedOver.size());
        QCOMPARE(run.json.value(QStringLiteral("exportedTotal")).toInt(), 39 - passedOver);

        // The summary --json prints is in the file too, with the report's own paths.
        QCOMPARE(run.json.value(QStringLiteral("exitStatus")).toInt(), 0);
        QCOMPARE(run.json.value(QStringLiteral("reportFile")).toString(), run.report.reportFile);
        QCOMPARE(run.json.value(QStringLiteral("jsonReportFile")).toString(), run.report.jsonReportFile);
        QCOMPARE(run.json.value(QStringLiteral("logFile")).toString(), logFilePath());
        QVERIFY(run.json.value(QStringLiteral("reportProblem")).isNull());

        const QString python = checkedByPython(run.report.jsonReportFile, run.report.reportFile);
        QVERIFY2(python.isEmpty(), qPrintable(python));

        // The log tells nothing of the report.
        const QString log = readLog();
        for (const QString &line : log.split(QLatin1Char('\n')))
            QVERIFY2(!line.contains(QStringLiteral("Kastrel Export 2")) && !line.contains(QStringLiteral(".html"))
                         && !line.contains(QStringLiteral("report of this run")),
                     qPrintable(line));
        QVERIFY(!log.contains(QStringLiteral(".html")));
    }

    void itemsThatNeedALookAreListed()
    {
        const QJsonArray items {
            item(QStringLiteral("note"), QStringLiteral("N-GOOD"), QStringLiteral("Grüße aus 東京 🎌")),
            item(QStringLiteral("note"), QStringLiteral("N-BINARY"), QStringLiteral("Scan <b>&amp; \"copy\""),
                 {{QStringLiteral("file"), QStringLiteral("blob.bin")}}),
            item(QStringLiteral("note"), QStringLiteral("N-UNNAMED"), QJsonValue(QJsonValue::Undefined)),
            item(QStringLiteral("image"), QStringLiteral("I-NAN"), QStringLiteral("Café"),
                 {{QStringLiteral("served"),
                   QJsonObject {{QStringLiteral("creationDate"), QJsonObject {{QStringLiteral("date"), "NaN"}}}}}}),
            // A second item with the identifier of the first: recorded as "I-NAN-2".
            item(QStringLiteral("image"), QStringLiteral("I-NAN"), QStringLiteral("Second café")),
        };
        const QString library
            = writeLibrary(QStringLiteral("report-items"), QJsonObject {{QStringLiteral("items"), items}});
        QByteArray binary(3000, '\0');
        for (int index = 0; index < binary.size(); ++index)
            binary[index] = char(index % 5 == 0 ? 0 : (index * 37 + 11) % 256);
        QVERIFY(TestSupport::writeFile(QDir(library).filePath(QStringLiteral("blob.bin")), binary));
        QVERIFY(installStandins(library));

        const Run run = exportAll();
        QCOMPARE(run.delegate->finalEvents(), QStringList {QStringLiteral("end")});
        const QJsonArray listedItems = run.json.value(QStringLiteral("items")).toArray();
        QCOMPARE(listedItems.size(), items.size());
        QCOMPARE(outcomeOf(run.json, QStringLiteral("N-GOOD")), QStringLiteral("imported"));
        QCOMPARE(outcomeOf(run.json, QStringLiteral("N-BINARY")), QStringLiteral("originalFileAttached"));
        QVERIFY(listed(run.json, QStringLiteral("N-BINARY"))
                    .value(QStringLiteral("reason"))
                    .toString()
                    .startsWith(QLatin1String("its text could not be read")));
        QVERIFY(!listed(run.json, QStringLiteral("N-BINARY")).value(QStringLiteral("file")).isNull());
        QCOMPARE(outcomeOf(run.json, QStringLiteral("N-UNNAMED")), QStringLiteral("passedOver"));

        // The date that is no date belongs to the first "I-NAN"; the second, recorded under an
        // identifier of its own, is listed for that alone.
        const QJsonObject first = listedItems.at(3).toObject();
        const QJsonObject second = listedItems.at(4).toObject();
        QCOMPARE(first.value(QStringLiteral("name")).toString(), QStringLiteral("Café"));
        QCOMPARE(first.value(QStringLiteral("outcome")).toString(), QStringLiteral("incomplete"));
        QVERIFY2(first.value(QStringLiteral("reason")).toString().contains(QStringLiteral("creationDate")),
                 qPrintable(first.value(QStringLiteral("reason")).toString()));
        QCOMPARE(second.value(QStringLiteral("name")).toString(), QStringLiteral("Second café"));
        QCOMPARE(second.value(QStringLiteral("outcome")).toString(), QStringLiteral("incomplete"));
        QVERIFY(!second.value(QStringLiteral("reason")).toString().contains(QStringLiteral("creationDate")));
        QCOMPARE(run.json.value(QStringLiteral("exitStatus")).toInt(), 3);

        // The engine's own list agrees, in the same order.
        QCOMPARE(run.report.items.size(), listedItems.size());
        QCOMPARE(run.report.items.at(1).outcome, KSReportItem::Outcome::OriginalFileAttached);

        const QString python = checkedByPython(run.report.jsonReportFile, run.report.reportFile);
        QVERIFY2(python.isEmpty(), qPrintable(python));
        const QString html = QString::fromUtf8(TestSupport::fileContents(run.report.reportFile));
        QVERIFY(html.contains(QStringLiteral("Scan &lt;b&gt;&amp;amp; &quot;copy&quot;")));
        // The items that need a look come first, the worst first.
        QVERIFY(html.indexOf(QStringLiteral("originalFileAttached")) < html.indexOf(QStringLiteral("incomplete")));
    }

    void recordWhoseFileWentMissingIsNotImported()
    {
        // Two bookmarks with one identifier: the second is recorded as "B-2".
        const QJsonArray items {
            item(QStringLiteral("bookmark"), QStringLiteral("B"), QStringLiteral("First")),
            item(QStringLiteral("bookmark"), QStringLiteral("B"), QStringLiteral("Second")),
            item(QStringLiteral("image"), QStringLiteral("I"), QStringLiteral("Picture")),
        };
        QVERIFY(installStandins(
            writeLibrary(QStringLiteral("report-missing"), QJsonObject {{QStringLiteral("items"), items}})));
        QString removed;
        // Once the second bookmark is recorded, its file goes before the check before the hand-off.
        const Run run = exportAll([&removed](KSImportOperation *operation) {
            if (operation->recordEventCount() != 2)
                return;
            removed = QDir(operation->filesPath()).filePath(operation->reportItems().at(1).file);
            QFile::remove(removed);
        });
        QVERIFY(!removed.isEmpty());
        const QJsonArray listedItems = run.json.value(QStringLiteral("items")).toArray();
        QCOMPARE(listedItems.size(), 3);
        const QJsonObject first = listedItems.at(0).toObject();
        const QJsonObject second = listedItems.at(1).toObject();
        QCOMPARE(first.value(QStringLiteral("outcome")).toString(), QStringLiteral("imported"));
        QVERIFY(!first.value(QStringLiteral("file")).isNull());
        QCOMPARE(second.value(QStringLiteral("name")).toString(), QStringLiteral("Second"));
        QCOMPARE(second.value(QStringLiteral("outcome")).toString(), QStringLiteral("notImported"));
        QVERIFY(second.value(QStringLiteral("file")).isNull());
        QVERIFY(second.value(QStringLiteral("nortavelKind")).isNull());
        // Both of its problems: the identifier of its own, and the file that went.
        const QString reason = second.value(QStringLiteral("reason")).toString();
        QVERIFY2(reason.contains(QStringLiteral("is missing from the export")), qPrintable(reason));
        QVERIFY2(reason.contains(QStringLiteral("; ")), qPrintable(reason));
        QCOMPARE(listedItems.at(2).toObject().value(QStringLiteral("outcome")).toString(), QStringLiteral("imported"));
        QCOMPARE(run.json.value(QStringLiteral("exitStatus")).toInt(), 3);
    }

    void pageSpeaksThePersonsLanguageAndTheJsonEnglish()
    {
        QTranslator german;
        QVERIFY2(
            german.load(QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations/kastrel-importer_de.qm")),
            "the German catalogue is built");
        QVERIFY(QCoreApplication::installTranslator(&german));
        QVERIFY(installStandins(SampleLibrary));
        const Run run = exportAll();
        QCoreApplication::removeTranslator(&german);
        const QString html = QString::fromUtf8(TestSupport::fileContents(run.report.reportFile));
        QVERIFY(html.contains(QStringLiteral("<h1>Export beendet.</h1>")));
        QVERIFY(html.contains(QStringLiteral("<td>es hat keinen Namen</td>")));
        QVERIFY(html.contains(QStringLiteral("<th>Was geschah</th>")));
        QCOMPARE(outcomeOf(run.json, QStringLiteral("NOTE-UNNAMED")), QStringLiteral("passedOver"));
        QCOMPARE(listed(run.json, QStringLiteral("NOTE-UNNAMED")).value(QStringLiteral("reason")).toString(),
                 QStringLiteral("it has no name"));
        // A page that follows a dark appearance, and says what it is written in.
        QVERIFY(html.contains(QStringLiteral("<meta charset=\"utf-8\">")));
        QVERIFY(html.contains(QStringLiteral("@media (prefers-color-scheme: dark)")));
    }

    void cancelledRunSaysHowFarItCame()
    {
        QVERIFY(installStandins(SampleLibrary));
        const Run run = exportAll([](KSImportOperation *operation) {
            if (operation->recordEventCount() == 5)
                operation->cancel();
        });
        QCOMPARE(run.delegate->finalEvents(), QStringList {QStringLiteral("cancel")});
        QCOMPARE(run.json.value(QStringLiteral("outcome")).toString(), QStringLiteral("cancelled"));
        QCOMPARE(run.json.value(QStringLiteral("exitStatus")).toInt(), 2);
        QCOMPARE(run.json.value(QStringLiteral("itemsReached")).toInt(), 5);
        QCOMPARE(run.json.value(QStringLiteral("itemsAnnounced")).toInt(), 39);
        QCOMPARE(run.json.value(QStringLiteral("handedOff")).toBool(), false);
        QCOMPARE(run.json.value(QStringLiteral("items")).toArray().size(), 5);
        const QString html = QString::fromUtf8(TestSupport::fileContents(run.report.reportFile));
        QVERIFY(html.contains(QStringLiteral("<h1>Export cancelled.</h1>")));
        QVERIFY(html.contains(QStringLiteral("The export came to 5 of 39 items.")));
        QVERIFY(html.contains(QStringLiteral("Nothing was handed to Nortavel 3.")));
        const QString python = checkedByPython(run.report.jsonReportFile, run.report.reportFile);
        QVERIFY2(python.isEmpty(), qPrintable(python));
    }

    void failedRunListsTheItemItStoppedAt()
    {
        const QJsonArray items {
            item(QStringLiteral("note"), QStringLiteral("N-1"), QStringLiteral("Before")),
            item(QStringLiteral("note"), QStringLiteral("N-QUITS"), QStringLiteral("The last straw"),
                 {{QStringLiteral("export"), QStringLiteral("quits")}}),
            item(QStringLiteral("note"), QStringLiteral("N-3"), QStringLiteral("Never reached")),
        };
        QVERIFY(installStandins(
            writeLibrary(QStringLiteral("report-quits"), QJsonObject {{QStringLiteral("items"), items}})));
        // One item at a time, so that the source quits while the second is being exported.
        const QByteArray window = qgetenv("KI_TEST_EXPORT_WINDOW");
        qputenv("KI_TEST_EXPORT_WINDOW", "1");
        const Run run = exportAll();
        if (window.isNull())
            qunsetenv("KI_TEST_EXPORT_WINDOW");
        else
            qputenv("KI_TEST_EXPORT_WINDOW", window);
        QCOMPARE(run.delegate->errors.size(), 1);
        QCOMPARE(run.json.value(QStringLiteral("outcome")).toString(), QStringLiteral("failed"));
        QCOMPARE(run.json.value(QStringLiteral("exitStatus")).toInt(), 1);
        QCOMPARE(run.json.value(QStringLiteral("itemsAnnounced")).toInt(), 3);
        QCOMPARE(run.json.value(QStringLiteral("itemsReached")).toInt(), 2);
        QCOMPARE(outcomeOf(run.json, QStringLiteral("N-1")), QStringLiteral("imported"));
        const QJsonObject stopped = listed(run.json, QStringLiteral("N-QUITS"));
        QCOMPARE(stopped.value(QStringLiteral("outcome")).toString(), QStringLiteral("notImported"));
        QCOMPARE(stopped.value(QStringLiteral("reason")).toString(),
                 run.delegate->errors.first().descriptionInEnglish());
        QVERIFY(stopped.value(QStringLiteral("file")).isNull());
        QVERIFY(listed(run.json, QStringLiteral("N-3")).isEmpty());

        const QString html = QString::fromUtf8(TestSupport::fileContents(run.report.reportFile));
        QVERIFY(html.contains(QStringLiteral("<h1>Export failed.</h1>")));
        QVERIFY(html.contains(run.delegate->errors.first().localizedDescription.toHtmlEscaped()));
        QVERIFY(html.contains(QStringLiteral("The export came to 2 of 3 items.")));
        QVERIFY(html.contains(QStringLiteral("Nothing was handed to Nortavel 3.")));
    }

    void itemTheSourceCannotExportIsListed()
    {
        const QJsonArray items {
            item(QStringLiteral("image"), QStringLiteral("I-FAILS"), QStringLiteral("Lost picture"),
                 {{QStringLiteral("export"), QStringLiteral("fails")}}),
        };
        QVERIFY(installStandins(
            writeLibrary(QStringLiteral("report-fails"), QJsonObject {{QStringLiteral("items"), items}})));
        const Run run = exportAll();
        QCOMPARE(run.delegate->errors.size(), 1);
        QCOMPARE(run.delegate->errors.first().code, qint64(KSItemExportError));
        // Written before the error was told, and again, under the same names, before the end was.
        QCOMPARE(run.delegate->finalEvents(),
                 (QStringList {QStringLiteral("error %1").arg(KSItemExportError), QStringLiteral("end")}));
        QCOMPARE(reportFiles(),
                 (QStringList {QFileInfo(run.report.reportFile).fileName(),
                               QFileInfo(run.report.jsonReportFile).fileName()}));
        QCOMPARE(run.json.value(QStringLiteral("outcome")).toString(), QStringLiteral("failed"));
        const QJsonObject stopped = listed(run.json, QStringLiteral("I-FAILS"));
        QCOMPARE(stopped.value(QStringLiteral("outcome")).toString(), QStringLiteral("notImported"));
        QCOMPARE(stopped.value(QStringLiteral("reason")).toString(),
                 run.delegate->errors.first().descriptionInEnglish());
    }

    void onlyTheLastTwentyRunsAreKept()
    {
        QVERIFY(installStandins(SampleLibrary));
        QDir().mkpath(logsFolder());
        const QDir logs(logsFolder());
        // Twenty older runs, and files that only look like reports.
        for (int day = 1; day <= 20; ++day) {
            for (const char *extension : {"html", "json"})
                QVERIFY(TestSupport::writeFile(logs.filePath(QStringLiteral("Kastrel Export 2025-01-%1 08-00-00.%2")
                                                                 .arg(day, 2, 10, QLatin1Char('0'))
                                                                 .arg(QLatin1String(extension))),
                                               "{}"));
        }
        const QStringList unrelated {QStringLiteral("Kastrel Export 2020-01-01 08-00-00.txt"),
                                     QStringLiteral("Kastrel Export notes.html"), QStringLiteral("notes.json")};
        for (const QString &file : unrelated)
            QVERIFY(TestSupport::writeFile(logs.filePath(file), "keep"));

        OVClock::setCurrentDateTimeProvider(
            [] { return QDateTime(QDate(2026, 11, 24), QTime(19, 7, 44), Qt::LocalTime).toUTC(); });
        const Run run = exportAll();
        QCOMPARE(QFileInfo(run.report.reportFile).fileName(),
                 QStringLiteral("Kastrel Export 2026-11-24 19-07-44.html"));
        QVERIFY(!logs.exists(QStringLiteral("Kastrel Export 2025-01-01 08-00-00.html")));
        QVERIFY(!logs.exists(QStringLiteral("Kastrel Export 2025-01-01 08-00-00.json")));
        QVERIFY(logs.exists(QStringLiteral("Kastrel Export 2025-01-02 08-00-00.html")));
        QVERIFY(logs.exists(QStringLiteral("Kastrel Export 2025-01-02 08-00-00.json")));
        for (const QString &file : unrelated)
            QVERIFY2(logs.exists(file), qPrintable(file));
        QVERIFY(logs.exists(QStringLiteral("Kastrel Export.log")));

        // A second run in the same second keeps the first one's report.
        const Run again = exportAll();
        QCOMPARE(QFileInfo(again.report.reportFile).fileName(),
                 QStringLiteral("Kastrel Export 2026-11-24 19-07-44 (2).html"));
        QVERIFY(QFileInfo::exists(run.report.reportFile));
        QVERIFY(!logs.exists(QStringLiteral("Kastrel Export 2025-01-02 08-00-00.html")));
        QCOMPARE(reportFiles().size() - unrelated.size() + 1, 2 * KSReportFile::keptRuns);
    }

    void reportThatCannotBeWrittenIsTold()
    {
        QVERIFY(installStandins(SampleLibrary));
        // A file where the log folder would be: neither the log nor the report can be written.
        const QString logs = logsFolder();
        QVERIFY(QDir(logs).removeRecursively());
        QVERIFY(TestSupport::writeFile(logs, "in the way"));
        const Run run = exportAll();
        QVERIFY(QFile::remove(logs));
        // The run itself ended as ever; the problem is said.
        QCOMPARE(run.delegate->finalEvents(), QStringList {QStringLiteral("end")});
        QVERIFY(run.report.reportFile.isEmpty());
        QVERIFY2(
            run.report.englishReportProblem.startsWith(QLatin1String("The report of this run could not be written")),
            qPrintable(run.report.englishReportProblem));
    }

    void exportCommandNamesTheReport()
    {
        QVERIFY(installStandins(SampleLibrary));
        QProcess importer;
        importer.start(QDir(QStringLiteral(KI_BIN_DIR)).filePath(QStringLiteral("kastrel-importer")),
                       {QStringLiteral("export"), QStringLiteral("--json")});
        QVERIFY(importer.waitForFinished(240000));
        QCOMPARE(importer.exitCode(), 0);
        QVERIFY(lastImport().value(QStringLiteral("accepted")).toBool());
        const QJsonObject summary = QJsonDocument::fromJson(importer.readAllStandardOutput()).object();
        const QString reportFile = summary.value(QStringLiteral("reportFile")).toString();
        const QString jsonReportFile = summary.value(QStringLiteral("jsonReportFile")).toString();
        QVERIFY2(QFileInfo::exists(reportFile), qPrintable(reportFile));
        QVERIFY2(QFileInfo::exists(jsonReportFile), qPrintable(jsonReportFile));
        const QString errors = QString::fromUtf8(importer.readAllStandardError());
        const QString line = QStringLiteral("report: %1\n").arg(reportFile);
        QVERIFY2(errors.contains(line), qPrintable(errors));
        QVERIFY(errors.indexOf(line) < errors.indexOf(QStringLiteral("Export ended.")));
        // The file holds what --json printed, and the items besides.
        QJsonObject report = readJson(jsonReportFile);
        QCOMPARE(report.take(QStringLiteral("items")).toArray().size(), 39);
        // The target removes the export folder with the library file in it when it is done, which
        // may be before or after either was written.
        QJsonObject printed = summary;
        for (QJsonObject *object : {&report, &printed}) {
            object->remove(QStringLiteral("exportFolder"));
            object->remove(QStringLiteral("libraryFile"));
        }
        QCOMPARE(report, printed);
    }
};

QTEST_GUILESS_MAIN(TestRunReport)
#include "TestRunReport.moc"
