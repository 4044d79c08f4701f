// The command line in-process against the applications in memory: its arguments, its
// progress lines and errors, its exit statuses, Ctrl-C, and the --json summary.
#include "ExportFixtures.h"
#include "cli/CommandLine.h"
#include "cli/CommandLineExport.h"
#include "cli/CommandLineOutput.h"
#include "cli/KSExitStatus.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"
#include "foundation/KSTranslations.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <csignal>
#include <limits>

using namespace ExportFixtures;

class TestCommandLine : public QObject
{
    Q_OBJECT

private:
    QBuffer m_output;
    QBuffer m_error;

    QString output() const { return QString::fromUtf8(m_output.data()); }
    QString error() const { return QString::fromUtf8(m_error.data()); }

    QJsonObject summary() const
    {
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(m_output.data(), &parseError);
        if (parseError.error != QJsonParseError::NoError)
            qWarning() << parseError.errorString() << output();
        return document.object();
    }

    static QStringList arguments(const char *line)
    {
        return QString::fromLatin1(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }

private slots:
    // As the program does: the English counts ("1 item") whatever the locale.
    void initTestCase() { KSTranslations::install(QLocale::c()); }

    void init()
    {
        removeEarlierRuns();
        m_output.setData(QByteArray());
        m_error.setData(QByteArray());
        m_output.open(QIODevice::WriteOnly);
        m_error.open(QIODevice::WriteOnly);
        CommandLineOutput::redirect(&m_output, &m_error);
        CommandLineOutput::setErrorIsTerminal(false);
    }

    void cleanup()
    {
        CommandLineOutput::redirect(nullptr, nullptr);
        CommandLineOutput::setErrorIsTerminal(std::nullopt);
        m_output.close();
        m_error.close();
    }

    void windowOrCommandLine()
    {
        QVERIFY(!CommandLine::handles({}));
        QVERIFY(!CommandLine::handles(arguments("-platform offscreen")));
        QVERIFY(CommandLine::handles(arguments("export")));
        QVERIFY(CommandLine::handles(arguments("--help")));
        QVERIFY(CommandLine::handles(arguments("--version")));
        QVERIFY(CommandLine::handles(arguments("frobnicate")));
    }

    void helpAndVersion()
    {
        QCOMPARE(CommandLine::run(arguments("--help")), 0);
        QVERIFY(output().contains(QStringLiteral("kastrel-importer export [--only KEYS] [--json]")));
        m_output.buffer().clear();
        m_output.seek(0);
        QCOMPARE(CommandLine::run(arguments("--version")), 0);
        QVERIFY(output().startsWith(QStringLiteral("Kastrel Importer ")));
        m_output.buffer().clear();
        m_output.seek(0);
        QCOMPARE(CommandLine::run(arguments("export --help")), 0);
        QVERIFY(output().contains(QStringLiteral("notes,bookmarks,serialNumbers,passwords,images,PDFs,webArchives")));
    }

    void unknownCommandOrArgument()
    {
        QCOMPARE(CommandLine::run(arguments("frobnicate")), KSExitStatus::UsageError);
        QVERIFY(error().contains(QStringLiteral("unknown command \"frobnicate\"")));
        QCOMPARE(CommandLine::run(arguments("export --fast")), KSExitStatus::UsageError);
        QVERIFY(error().contains(QStringLiteral("unknown argument \"--fast\"")));
        QCOMPARE(CommandLine::run(arguments("export --only")), KSExitStatus::UsageError);
    }

    void onlyKeysSelectThoseKinds()
    {
        const auto options = CommandLineExport::importOptionsForKeys(QStringLiteral("images, PDFs"));
        QVERIFY(options);
        KSImportOptions expected = KSImportOptions::none();
        expected.set(KSImportKind::Images, true);
        expected.set(KSImportKind::PDFs, true);
        QCOMPARE(*options, expected);
    }

    void unknownKeyNamesTheValidOnes()
    {
        QString message;
        QVERIFY(!CommandLineExport::importOptionsForKeys(QStringLiteral("notes,movies"), &message));
        QCOMPARE(message,
                 QStringLiteral("unknown key \"movies\"; valid keys: "
                                "notes,bookmarks,serialNumbers,passwords,images,PDFs,webArchives"));
        QVERIFY(!CommandLineExport::importOptionsForKeys(QString(), &message));
        QVERIFY(message.contains(QStringLiteral("valid keys")));
        // Keys are matched exactly, as the engine reads them.
        QVERIFY(!CommandLineExport::importOptionsForKeys(QStringLiteral("pdfs")));

        auto applications = applicationsWithItems(1);
        QCOMPARE(CommandLine::run(arguments("export --only notes,movies"), applications), KSExitStatus::UsageError);
        QVERIFY(error().contains(QStringLiteral("unknown key \"movies\"; valid keys: notes,bookmarks,")));
        QCOMPARE(applications->calls().size(), 0); // nothing was run
    }

    void runThatEndsExitsZero()
    {
        auto applications = applicationsWithItems(3);
        CommandLineExport command(applications);
        QCOMPARE(command.run({}), 0);
        QCOMPARE(command.lastOperation()->importOptions(), KSImportOptions());
        const QStringList lines = error().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY2(lines.contains(QStringLiteral("Exporting Groups")), qPrintable(error()));
        QVERIFY(lines.contains(QStringLiteral("Exporting Smart Groups")));
        QVERIFY(lines.contains(QStringLiteral("Exporting Labels")));
        QVERIFY(lines.contains(QStringLiteral("Exporting Items")));
        QVERIFY(lines.contains(QStringLiteral("4 of 4 records exported")));
        QCOMPARE(lines.last(), QStringLiteral("Export ended."));
        QVERIFY(!error().contains(QLatin1Char('\r'))); // no bar off a terminal
        QVERIFY(output().isEmpty());
        QCOMPARE(applications->importCalls().size(), 1);
    }

    void onlyExportsTheChosenKinds()
    {
        auto applications = applicationsWithItems(3);
        QCOMPARE(CommandLine::run(arguments("export --only images --json"), applications), 0);
        const QJsonObject json = summary();
        QCOMPARE(json.value(QStringLiteral("announced")).toObject(), (QJsonObject {{QStringLiteral("images"), 3}}));
        QCOMPARE(json.value(QStringLiteral("exported")).toObject(), (QJsonObject {{QStringLiteral("image"), 3}}));
    }

    void reportedErrorExitsOne()
    {
        auto applications = std::make_shared<InMemoryScripting>();
        applications->addNortavel(Target, QStringLiteral("3.5")); // and no source at all
        QCOMPARE(CommandLine::run(arguments("export"), applications), 1);
        QVERIFY2(error().contains(QStringLiteral("error 10001: Unable to locate the Kastrel application.\n")),
                 qPrintable(error()));
    }

    void missingTargetExitsOne()
    {
        auto applications = std::make_shared<InMemoryScripting>();
        QCOMPARE(CommandLine::run(arguments("export --json"), applications), 1);
        QVERIFY(error().contains(QStringLiteral("error 10005: ")));
        const QJsonObject json = summary();
        QCOMPARE(json.value(QStringLiteral("outcome")).toString(), QStringLiteral("failed"));
        QVERIFY(json.value(QStringLiteral("logFile")).isNull());
    }

    void itemsThatDidNotArriveWholeExitThree()
    {
        auto applications = applicationsWithItems(2);
        InMemoryKastrel source = applications->kastrel(Source);
        const QString broken = source.addItem(KastrelItemKind::Note, QStringLiteral("N2"), QStringLiteral("Damaged"));
        source.setExportFile(broken, QStringLiteral("Damaged.rtf"), QByteArray("\x89PNG\r\n\x1a\n\0\0\0", 11));
        source.addItem(KastrelItemKind::Image, QStringLiteral("I9"), QString()); // passed over: does not count
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Cannot write note: ")));
        QCOMPARE(CommandLine::run(arguments("export --json"), applications), 3);
        const QJsonObject json = summary();
        QCOMPARE(json.value(QStringLiteral("exitStatus")).toInt(), KSExitStatus::ItemsMissing);
        const QJsonArray problems = json.value(QStringLiteral("problems")).toArray();
        QCOMPARE(problems.size(), 1);
        const QJsonObject problem = problems.first().toObject();
        QCOMPARE(problem.value(QStringLiteral("identifier")).toString(), QStringLiteral("N2"));
        QCOMPARE(problem.value(QStringLiteral("name")).toString(), QStringLiteral("Damaged"));
        QCOMPARE(problem.value(QStringLiteral("kind")).toString(), QStringLiteral("originalFileAttached"));
        QCOMPARE(problem.value(QStringLiteral("optionKey")).toString(), QStringLiteral("notes"));
        QVERIFY(!problem.value(QStringLiteral("reason")).toString().isEmpty());
        QVERIFY(QFileInfo::exists(json.value(QStringLiteral("libraryFile")).toString()));
        QVERIFY(error().contains(QStringLiteral("imported with its original file attached: \"Damaged\" (")));
        QVERIFY(error().contains(QStringLiteral("passed over: item I9 (")));
        QVERIFY2(error().endsWith(QStringLiteral("Export ended, but 1 item did not arrive whole (listed above).\n")),
                 qPrintable(error()));
        QVERIFY(!error().contains(QStringLiteral("Export ended.\n")));
    }

    void itemsWithoutPartOfWhatTheyCarryExitThree()
    {
        auto applications = applicationsWithItems(1);
        InMemoryKastrel source = applications->kastrel(Source);
        const QString odd = source.addItem(KastrelItemKind::Image, QStringLiteral("I7"), QStringLiteral("Undated"));
        source.setProperty(odd, QStringLiteral("creationDate"), std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(CommandLine::run(arguments("export --json"), applications), 3);
        const QJsonObject json = summary();
        QCOMPARE(json.value(QStringLiteral("exitStatus")).toInt(), 3);
        QCOMPARE(json.value(QStringLiteral("exported")).toObject().value(QStringLiteral("image")).toInt(), 2);
        const QJsonArray problems = json.value(QStringLiteral("problems")).toArray();
        QCOMPARE(problems.size(), 1);
        QCOMPARE(problems.first().toObject().value(QStringLiteral("kind")).toString(), QStringLiteral("incomplete"));
        QVERIFY(problems.first()
                    .toObject()
                    .value(QStringLiteral("reason"))
                    .toString()
                    .startsWith(QStringLiteral("its \"creationDate\" could not be used (")));
        QVERIFY2(error().endsWith(QStringLiteral("Export ended, but 1 item did not arrive whole (listed above).\n")),
                 qPrintable(error()));
    }

    void passedOverItemsAloneKeepStatusZero()
    {
        auto applications = applicationsWithItems(1);
        applications->kastrel(Source).addItem(KastrelItemKind::Image, QStringLiteral("I9"), QString());
        QCOMPARE(CommandLine::run(arguments("export"), applications), 0);
        QVERIFY(error().contains(QStringLiteral("passed over: item I9 (")));
        QVERIFY(error().endsWith(QStringLiteral("Export ended.\n")));
    }

    void failedRunSaysNothingWasHandedOver()
    {
        auto applications = applicationsWithItems(1);
        applications->kastrel(Source).setVersion(QStringLiteral("1.2"));
        QCOMPARE(CommandLine::run(arguments("export --json"), applications), 1);
        QVERIFY(error().endsWith(QStringLiteral("Export failed. Nothing was handed to Nortavel 3.\n")));
        QVERIFY(!error().contains(QStringLiteral("Export ended.")));
        QVERIFY(summary().value(QStringLiteral("libraryFile")).isNull());
        QCOMPARE(summary().value(QStringLiteral("handedOff")).toBool(), false);
    }

    void helpTellsEveryExitStatus()
    {
        const QString usage = CommandLineExport::usage();
        QVERIFY(usage.contains(QStringLiteral("3 ended but items that should have arrived did")));
    }

    void interruptCancelsAndExitsTwo()
    {
        auto applications = applicationsWithItems(5);
        bool interrupted = false;
        applications->setCallHook([&](const QString &call) {
            if (interrupted || !call.startsWith(QStringLiteral("export ")))
                return;
            interrupted = true;
            std::raise(SIGINT); // Ctrl-C, while the first item is being exported
        });
        struct sigaction before = {};
        sigaction(SIGINT, nullptr, &before);
        CommandLineExport command(applications);
        QCOMPARE(command.run(arguments("--json")), 2);
        QVERIFY(interrupted);
        QVERIFY(command.lastOperation()->isCancelled());
        QVERIFY2(error().contains(QStringLiteral("Cancelling...\n")), qPrintable(error()));
        QVERIFY(error().contains(QStringLiteral("Export cancelled.\n")));
        QVERIFY(applications->exportCount() < 6);
        QCOMPARE(summary().value(QStringLiteral("outcome")).toString(), QStringLiteral("cancelled"));
        // No library file; the folder is kept for a run that continues the export, and said so.
        QVERIFY(summary().value(QStringLiteral("libraryFile")).isNull());
        QVERIFY(!summary().value(QStringLiteral("keptExportFolder")).isNull());
        QCOMPARE(summary().value(QStringLiteral("keptExportFolder")), summary().value(QStringLiteral("exportFolder")));
        QVERIFY2(error().contains(QStringLiteral("unfinished export kept in: ")), qPrintable(error()));
        QVERIFY(error().endsWith(QStringLiteral("Export cancelled. Nothing was handed to Nortavel 3.\n")));
        // The handler is gone with the run: what was there before is back.
        struct sigaction after = {};
        sigaction(SIGINT, nullptr, &after);
        QVERIFY(after.sa_handler == before.sa_handler);
    }

    void jsonSummary()
    {
        auto applications = applicationsWithItems(2);
        InMemoryKastrel source = applications->kastrel(Source);
        source.addItem(KastrelItemKind::Image, QStringLiteral("I9"), QString()); // no name: passed over
        source.addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
        CommandLineExport command(applications);
        const int status = command.run(arguments("--json"));
        const QJsonObject json = summary();
        QCOMPARE(json.value(QStringLiteral("exitStatus")).toInt(), status);
        const QJsonObject announced = json.value(QStringLiteral("announced")).toObject();
        QCOMPARE(announced.value(QStringLiteral("images")).toInt(), 3);
        QCOMPARE(announced.value(QStringLiteral("notes")).toInt(), 1);
        QCOMPARE(announced.value(QStringLiteral("bookmarks")).toInt(), 1);
        const QJsonObject exported = json.value(QStringLiteral("exported")).toObject();
        QCOMPARE(exported.value(QStringLiteral("image")).toInt(), 2);
        QCOMPARE(exported.value(QStringLiteral("note")).toInt(), 1);
        const QJsonArray skipped = json.value(QStringLiteral("skipped")).toArray();
        QCOMPARE(skipped.size(), 1);
        QCOMPARE(skipped.first().toObject().value(QStringLiteral("identifier")).toString(), QStringLiteral("I9"));
        QCOMPARE(skipped.first().toObject().value(QStringLiteral("optionKey")).toString(), QStringLiteral("images"));
        QVERIFY(!skipped.first().toObject().value(QStringLiteral("reason")).toString().isEmpty());
        const QString folder = QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"));
        QCOMPARE(json.value(QStringLiteral("exportFolder")).toString(), folder);
        QCOMPARE(json.value(QStringLiteral("libraryFile")).toString(), folder + QStringLiteral("/Kastrel.nvlibxml"));
        QCOMPARE(
            json.value(QStringLiteral("logFile")).toString(),
            QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log")));
        // Whatever the bookmark's fate, every reported error is in the summary and on the console.
        const QJsonArray errors = json.value(QStringLiteral("errors")).toArray();
        for (const QJsonValue &entry : errors) {
            const QJsonObject object = entry.toObject();
            QVERIFY(error().contains(QStringLiteral("error %1: %2")
                                         .arg(object.value(QStringLiteral("code")).toInteger())
                                         .arg(object.value(QStringLiteral("text")).toString())));
            QCOMPARE(object.value(QStringLiteral("domain")).toString().isEmpty(), false);
        }
        QCOMPARE(json.value(QStringLiteral("outcome")).toString(),
                 errors.isEmpty() ? QStringLiteral("ended") : QStringLiteral("failed"));
    }

    void liveBarOnATerminal()
    {
        CommandLineOutput::setErrorIsTerminal(true);
        auto applications = applicationsWithItems(2);
        QCOMPARE(CommandLine::run(arguments("export"), applications), 0);
        QVERIFY(error().contains(QStringLiteral("\r\033[K[")));
        QVERIFY(error().contains(QStringLiteral("] 3 of 3 records exported")));
        QVERIFY(error().contains(QStringLiteral("Exporting Items\n")));
    }
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "TestCommandLine.moc"
