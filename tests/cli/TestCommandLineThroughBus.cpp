// The export command end to end: the kastrel-importer executable against the two stand-in
// applications serving the bundled sample library, each scenario on a session bus of its
// own with its own data folders. Exit statuses, --only, an unknown key, no display at all,
// Ctrl-C once and twice, and the --json summary against what the Nortavel 3 stand-in really
// took in.
#include "TestConfig.h"
#include "cli/KSExitStatus.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>
#include <csignal>
#include <memory>

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");
const QString SampleLibrary = QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library");

QString executable(const char *name)
{
    return QDir(QStringLiteral(KI_BIN_DIR)).filePath(QString::fromLatin1(name));
}

// One private session bus with its own data and temporary folders; the applications
// installed on it start when first called and end with the bus.
class Scenario
{
public:
    explicit Scenario(const QString &name)
        : m_root(QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("scenario-") + name))
    {
        QDir(m_root).removeRecursively();
        for (const char *folder : {"data", "system-data", "tmp"})
            QDir().mkpath(QDir(m_root).filePath(QString::fromLatin1(folder)));
        QFile::setPermissions(QDir(m_root).filePath(QStringLiteral("tmp")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome());
        m_environment.insert(QStringLiteral("XDG_DATA_DIRS"), QDir(m_root).filePath(QStringLiteral("system-data")));
        m_environment.insert(QStringLiteral("TMPDIR"), QDir(m_root).filePath(QStringLiteral("tmp")));
    }

    ~Scenario()
    {
        if (m_importer && m_importer->state() != QProcess::NotRunning) {
            m_importer->kill();
            m_importer->waitForFinished(30000);
        }
        if (!m_connectionName.isEmpty())
            QDBusConnection::disconnectFromBus(m_connectionName);
        if (m_bus.state() != QProcess::NotRunning) {
            m_bus.terminate();
            m_bus.waitForFinished(30000);
        }
    }

    // No display of any kind and no platform chosen, as on a server or over ssh.
    void leaveOutTheDisplay()
    {
        for (const char *variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            m_environment.remove(QString::fromLatin1(variable));
    }

    QString dataHome() const { return QDir(m_root).filePath(QStringLiteral("data")); }
    QString report() const { return QDir(m_root).filePath(QStringLiteral("nortavel/import-report.json")); }

    bool startBus()
    {
        m_bus.setProcessEnvironment(m_environment);
        m_bus.start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--config-file=" KI_SOURCE_DIR "/tests/session.conf"), QStringLiteral("--nofork"),
                     QStringLiteral("--print-address=1")});
        if (!m_bus.waitForStarted(30000))
            return false;
        while (!m_bus.canReadLine()) {
            if (!m_bus.waitForReadyRead(30000))
                return false;
        }
        const QString address = QString::fromUtf8(m_bus.readLine()).trimmed();
        m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
        m_connectionName = QStringLiteral("scenario ") + m_root;
        return !address.isEmpty();
    }

    bool install(const char *standin, const QStringList &arguments)
    {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(executable(standin), QStringList {QStringLiteral("install")} + arguments);
        return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit
            && process.exitCode() == 0;
    }

    bool installSource(const QStringList &extra = {})
    {
        return install("kastrel-standin",
                       QStringList {QStringLiteral("--library"), SampleLibrary, QStringLiteral("--identifier"), Source,
                                    QStringLiteral("--version"), QStringLiteral("2.5")}
                           + extra);
    }

    bool installTarget()
    {
        return install("nortavel3-standin",
                       {QStringLiteral("--identifier"), Target, QStringLiteral("--version"), QStringLiteral("3.6"),
                        QStringLiteral("--data"), QDir(m_root).filePath(QStringLiteral("nortavel")),
                        QStringLiteral("--report"), report()});
    }

    QProcess &startImporter(const QStringList &arguments)
    {
        m_importer = std::make_unique<QProcess>();
        m_importer->setProcessEnvironment(m_environment);
        m_importer->start(executable("kastrel-importer"), arguments);
        m_importer->waitForStarted(30000);
        return *m_importer;
    }

    // Runs the importer to its end; its exit code, or -1 when it did not exit normally.
    int runImporter(const QStringList &arguments)
    {
        QProcess &importer = startImporter(arguments);
        if (!importer.waitForFinished(240000) || importer.exitStatus() != QProcess::NormalExit)
            return -1;
        return importer.exitCode();
    }

    QString errorText()
    {
        m_errorText += QString::fromUtf8(m_importer->readAllStandardError());
        return m_errorText;
    }

    // Reads standard error until `text` has appeared (or the importer has ended).
    bool waitForError(const QString &text)
    {
        m_importer->setReadChannel(QProcess::StandardError);
        while (!errorText().contains(text)) {
            if (m_importer->state() == QProcess::NotRunning || !m_importer->waitForReadyRead(120000))
                return errorText().contains(text);
        }
        return true;
    }

    QString outputText() const { return QString::fromUtf8(m_importer->readAllStandardOutput()); }
    QJsonObject summary() const { return QJsonDocument::fromJson(m_importer->readAllStandardOutput()).object(); }

    // The target's report, once it has finished taking the library in: a later call to the
    // target is answered only then.
    QJsonObject importReport()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(
            m_environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")), m_connectionName);
        QDBusInterface target(Target, QStringLiteral("/"), QStringLiteral("com.orvantis.Nortavel3.Scripting"), bus);
        const QDBusReply<QVariantMap> properties = target.call(QStringLiteral("Properties"));
        if (!properties.isValid())
            qWarning() << properties.error().message();
        QFile file(report());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object();
    }

private:
    QString m_root;
    QProcessEnvironment m_environment;
    QProcess m_bus;
    QString m_connectionName;
    std::unique_ptr<QProcess> m_importer;
    QString m_errorText;
};

#define START_SCENARIO(scenario, name)                                                                                 \
    Scenario scenario(QStringLiteral(name));                                                                           \
    QVERIFY2(scenario.startBus(), "a private session bus starts")

} // namespace

class TestCommandLineThroughBus : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const char *name : {"kastrel-importer", "kastrel-standin", "nortavel3-standin"}) {
            if (!QFileInfo(executable(name)).isExecutable())
                QSKIP(qPrintable(QStringLiteral("%1 is not built").arg(QString::fromLatin1(name))));
        }
        if (!QFileInfo::exists(SampleLibrary + QStringLiteral("/library.json")))
            QSKIP("the sample library is not there");
    }

    void wholeExportEndsWithStatusZero()
    {
        START_SCENARIO(scenario, "whole");
        QVERIFY(scenario.installSource());
        QVERIFY(scenario.installTarget());
        QCOMPARE(scenario.runImporter({QStringLiteral("export"), QStringLiteral("--json")}), KSExitStatus::Ended);
        QVERIFY2(!scenario.errorText().contains(QStringLiteral("error ")), qPrintable(scenario.errorText()));
        QVERIFY(scenario.errorText().contains(QStringLiteral("Exporting Groups\n")));
        QVERIFY(scenario.errorText().contains(QStringLiteral("39 of 39 records exported\n")));

        const QJsonObject summary = scenario.summary();
        QCOMPARE(summary.value(QStringLiteral("outcome")).toString(), QStringLiteral("ended"));
        QCOMPARE(summary.value(QStringLiteral("errors")).toArray().size(), 0);
        const QJsonObject announced = summary.value(QStringLiteral("announced")).toObject();
        QCOMPARE(announced.value(QStringLiteral("notes")).toInt(), 12);
        QCOMPARE(announced.value(QStringLiteral("PDFs")).toInt(), 9);
        QCOMPARE(announced.value(QStringLiteral("bookmarks")).toInt(), 8);
        QCOMPARE(announced.value(QStringLiteral("webArchives")).toInt(), 2);
        QCOMPARE(summary.value(QStringLiteral("exportedTotal")).toInt(), 36);
        QCOMPARE(summary.value(QStringLiteral("skipped")).toArray().size(), 3);
        for (const QJsonValue &skipped : summary.value(QStringLiteral("skipped")).toArray())
            QVERIFY(!skipped.toObject().value(QStringLiteral("reason")).toString().isEmpty());
        const QString log = summary.value(QStringLiteral("logFile")).toString();
        QCOMPARE(log, QDir(scenario.dataHome()).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log")));
        QVERIFY(QFileInfo::exists(log));

        // What the summary says was exported is what the target took in.
        const QJsonObject imported
            = scenario.importReport().value(QStringLiteral("imports")).toArray().first().toObject();
        QVERIFY(imported.value(QStringLiteral("accepted")).toBool());
        QCOMPARE(imported.value(QStringLiteral("file")).toString(),
                 summary.value(QStringLiteral("libraryFile")).toString());
        QCOMPARE(imported.value(QStringLiteral("removed")).toString(),
                 summary.value(QStringLiteral("exportFolder")).toString());
        const QJsonObject tables
            = imported.value(QStringLiteral("taken")).toObject().value(QStringLiteral("tables")).toObject();
        QCOMPARE(tables.value(QStringLiteral("Item")).toInt(), 36);
        int exported = 0;
        const QJsonObject byKind = summary.value(QStringLiteral("exported")).toObject();
        for (const QJsonValue &count : byKind)
            exported += count.toInt();
        QCOMPARE(exported, 36);
    }

    void reportedErrorGivesStatusOne()
    {
        START_SCENARIO(scenario, "no-source");
        QVERIFY(scenario.installTarget()); // and no Kastrel installed
        QCOMPARE(scenario.runImporter({QStringLiteral("export")}), KSExitStatus::Failed);
        QVERIFY2(
            scenario.errorText().contains(QStringLiteral("error 10001: Unable to locate the Kastrel application.\n")),
            qPrintable(scenario.errorText()));
    }

    void onlyExportsTheChosenKinds()
    {
        START_SCENARIO(scenario, "only");
        QVERIFY(scenario.installSource());
        QVERIFY(scenario.installTarget());
        QCOMPARE(scenario.runImporter({QStringLiteral("export"), QStringLiteral("--only"),
                                       QStringLiteral("images,webArchives"), QStringLiteral("--json")}),
                 KSExitStatus::Ended);
        const QJsonObject summary = scenario.summary();
        QCOMPARE(summary.value(QStringLiteral("announced")).toObject(),
                 (QJsonObject {{QStringLiteral("images"), 4}, {QStringLiteral("webArchives"), 2}}));
        const QJsonObject exported = summary.value(QStringLiteral("exported")).toObject();
        QCOMPARE(exported.keys(), (QStringList {QStringLiteral("image"), QStringLiteral("webPage")}));
        const QJsonObject imported
            = scenario.importReport().value(QStringLiteral("imports")).toArray().first().toObject();
        QVERIFY(imported.value(QStringLiteral("accepted")).toBool());
        QCOMPARE(imported.value(QStringLiteral("taken"))
                     .toObject()
                     .value(QStringLiteral("tables"))
                     .toObject()
                     .value(QStringLiteral("Item")),
                 summary.value(QStringLiteral("exportedTotal")));
    }

    void unknownKeyIsRefused()
    {
        START_SCENARIO(scenario, "unknown-key");
        QCOMPARE(
            scenario.runImporter({QStringLiteral("export"), QStringLiteral("--only"), QStringLiteral("notes,movies")}),
            KSExitStatus::UsageError);
        QVERIFY(scenario.errorText().contains(
            QStringLiteral("unknown key \"movies\"; valid keys: "
                           "notes,bookmarks,serialNumbers,passwords,images,PDFs,webArchives")));
        QVERIFY(!QFileInfo::exists(QDir(scenario.dataHome()).filePath(QStringLiteral("Nortavel 3"))));
    }

    void commandsNeedNoDisplay()
    {
        START_SCENARIO(scenario, "no-display");
        QVERIFY(scenario.installSource());
        QVERIFY(scenario.installTarget());
        scenario.leaveOutTheDisplay();
        QCOMPARE(scenario.runImporter({QStringLiteral("--version")}), KSExitStatus::Ended);
        QVERIFY2(scenario.outputText().startsWith(QStringLiteral("Kastrel Importer ")),
                 qPrintable(scenario.errorText()));
        QCOMPARE(scenario.runImporter({QStringLiteral("export"), QStringLiteral("--only"), QStringLiteral("notes")}),
                 KSExitStatus::Ended);
        QVERIFY2(scenario.errorText().contains(QStringLiteral("Export ended.\n")), qPrintable(scenario.errorText()));
    }

    void interruptCancelsWithStatusTwo()
    {
        START_SCENARIO(scenario, "interrupt");
        // Every reply of the source is held back a little, so the run is still going when
        // the interrupt comes.
        QVERIFY(scenario.installSource({QStringLiteral("--reply-delay"), QStringLiteral("100")}));
        QVERIFY(scenario.installTarget());
        QProcess &importer = scenario.startImporter({QStringLiteral("export"), QStringLiteral("--json")});
        QVERIFY(scenario.waitForError(QStringLiteral("Exporting Groups\n")));
        ::kill(pid_t(importer.processId()), SIGINT);
        QVERIFY(importer.waitForFinished(240000));
        QCOMPARE(importer.exitStatus(), QProcess::NormalExit);
        QCOMPARE(importer.exitCode(), KSExitStatus::Cancelled);
        QVERIFY2(scenario.errorText().contains(QStringLiteral("Cancelling...\n")), qPrintable(scenario.errorText()));
        QVERIFY(scenario.errorText().contains(QStringLiteral("Export cancelled.\n")));
        QVERIFY(!scenario.errorText().contains(QStringLiteral("error ")));
        QCOMPARE(scenario.summary().value(QStringLiteral("outcome")).toString(), QStringLiteral("cancelled"));
    }

    void secondInterruptStopsAtOnce()
    {
        START_SCENARIO(scenario, "interrupt-twice");
        // Replies slow enough that the cancelled run is still waiting on one when the
        // second interrupt comes.
        QVERIFY(scenario.installSource({QStringLiteral("--reply-delay"), QStringLiteral("2000")}));
        QVERIFY(scenario.installTarget());
        QProcess &importer = scenario.startImporter({QStringLiteral("export")});
        QVERIFY(scenario.waitForError(QStringLiteral("Exporting Groups\n")));
        ::kill(pid_t(importer.processId()), SIGINT);
        QVERIFY(scenario.waitForError(QStringLiteral("Cancelling...\n")));
        ::kill(pid_t(importer.processId()), SIGINT);
        QVERIFY(importer.waitForFinished(240000));
        QCOMPARE(importer.exitStatus(), QProcess::CrashExit); // ended by the signal itself
        QVERIFY(!scenario.errorText().contains(QStringLiteral("Export cancelled.")));
    }
};

QTEST_GUILESS_MAIN(TestCommandLineThroughBus)
#include "TestCommandLineThroughBus.moc"
