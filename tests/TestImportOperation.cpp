// The export run end to end against the in-memory applications: finding the target and the
// source, the version rules, the log and its framing, the export folder, the stages for
// groups, smart groups and labels, the library file, the hand-off, and the notifications.
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "TestSupport.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "engine/KSScriptingException.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVStandardPaths.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString SandboxedTarget = QStringLiteral("com.orvantis.Nortavel3.mac");
const QString Source = QStringLiteral("com.fendwick.kastrel4");
const QString LegacySource = QStringLiteral("com.fendwick.kastrel");

// Writes down every notification as a short line, and on which thread it arrived.
class RecordingDelegate : public KSImportOperationDelegate
{
public:
    QStringList events;
    QList<OVError> errors;
    bool allOnMainThread = true;

    void note(const QString &event)
    {
        allOnMainThread = allOnMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        events.append(event);
    }
    void importOperationDidStart(KSImportOperation *) override { note(QStringLiteral("start")); }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type) override
    {
        note(QStringLiteral("stage ") + type);
    }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                        const QString &type) override
    {
        note(QStringLiteral("count %1 %2").arg(count).arg(type));
    }
    void importOperationDidImportRecordOfType(KSImportOperation *, const QString &type) override
    {
        note(QStringLiteral("record ") + type);
    }
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override
    {
        errors.append(error);
        note(QStringLiteral("error %1 %2").arg(error.code).arg(error.localizedDescription));
    }
    void importOperationDidCancel(KSImportOperation *) override { note(QStringLiteral("cancel")); }
    void importOperationDidEnd(KSImportOperation *) override { note(QStringLiteral("end")); }
};

// A delegate that answers none of the notifications.
class SilentDelegate : public KSImportOperationDelegate
{
};

QString readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

QString plainLogPath()
{
    return QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
}

QString sandboxBase()
{
    return QDir::home().filePath(QStringLiteral(".var/app/com.orvantis.Nortavel3.mac/data"));
}

QString plainExportFolder()
{
    return QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"));
}

// Log lines without their date stamps.
QStringList logTexts(const QString &path)
{
    QStringList texts;
    const QStringList lines = readAll(path).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines)
        texts.append(line.mid(26));
    return texts;
}

} // namespace

class TestImportOperation : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<InMemoryScripting> m_apps;
    std::shared_ptr<RecordingDelegate> m_delegate;

    InMemoryKastrel addSource(const QString &version = QStringLiteral("2.5"), const QString &identifier = Source)
    {
        return m_apps->addKastrel(identifier, version);
    }

    std::unique_ptr<KSImportOperation> run(const QVariantMap &options = {})
    {
        auto operation = KSImportOperationInspector::make(options, m_delegate, m_apps);
        operation->main();
        return operation;
    }

    OVPlist writtenLibrary(const QString &folder = plainExportFolder())
    {
        OVError error;
        const OVPlist library = OVPlistSerialization::propertyListWithContentsOfFile(
            QDir(folder).filePath(QStringLiteral("Kastrel.nvlibxml")), nullptr, &error);
        if (!library.isValid())
            qWarning() << error.localizedDescription;
        return library;
    }

    static OVPlist table(const OVPlist &library, const QString &entity)
    {
        return library.value(QStringLiteral("Entities")).value(entity);
    }

private slots:
    void init()
    {
        // Every test starts with no logs, export folders or containers left by another.
        QDir(TestSupport::isolatedFolder("XDG_DATA_HOME")).removeRecursively();
        QDir(QDir::home().filePath(QStringLiteral(".var"))).removeRecursively();
        QDir(plainExportFolder()).removeRecursively();
        m_apps = std::make_shared<InMemoryScripting>();
        m_delegate = std::make_shared<RecordingDelegate>();
    }

    // --- the run, its log and its target -----------------------------------------------

    void noTargetGivesOneErrorAndNothingElse()
    {
        addSource();
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("error 10005 Nortavel app not found.")});
        QCOMPARE(m_delegate->errors.first().domain, QStringLiteral("Kastrel Importer Error Domain"));
        QVERIFY(!QFileInfo::exists(plainLogPath()));
        QVERIFY(!QFileInfo::exists(QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3"))));
        QVERIFY(!QFileInfo::exists(QDir(sandboxBase()).filePath(QStringLiteral("Nortavel 3"))));
        QCOMPARE(m_apps->exportCount(), 0);
    }

    void targetInstalledButNotReachable()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        m_apps->setReachable(Target, false);
        run();
        QCOMPARE(m_delegate->events,
                 (QStringList {QStringLiteral("error 10005 Unable to launch Nortavel."), QStringLiteral("end")}));
    }

    void sandboxedEditionAloneUsesItsContainer()
    {
        addSource().addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        m_apps->addNortavel(SandboxedTarget, QStringLiteral("3.6"));
        run();
        const QString support = QDir(sandboxBase()).filePath(QStringLiteral("Nortavel 3"));
        QVERIFY(QFileInfo::exists(QDir(support).filePath(QStringLiteral("Logs/Kastrel Export.log"))));
        const QString folder = QDir(support).filePath(QStringLiteral("LibraryImport/Kastrel"));
        QVERIFY(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("Kastrel.nvlibxml"))));
        QVERIFY(!QFileInfo::exists(plainLogPath()));
        QCOMPARE(m_apps->importCalls().size(), 1);
        QCOMPARE(m_apps->importCalls().first().identifier, SandboxedTarget);
        QCOMPARE(m_apps->importCalls().first().files,
                 QStringList {QDir(folder).filePath(QStringLiteral("Kastrel.nvlibxml"))});
        QCOMPARE(m_delegate->events.last(), QStringLiteral("end"));
    }

    void bothEditionsPlainOneWins()
    {
        addSource();
        m_apps->addNortavel(SandboxedTarget, QStringLiteral("3.6"));
        m_apps->addNortavel(Target, QStringLiteral("3.6"));
        run();
        QVERIFY(QFileInfo::exists(plainLogPath()));
        QVERIFY(!QFileInfo::exists(QDir(sandboxBase()).filePath(QStringLiteral("Nortavel 3"))));
        QCOMPARE(m_apps->importCalls().first().identifier, Target);
        QVERIFY(QFileInfo::exists(QDir(plainExportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))));
    }

    void secondRunAppendsToTheLog()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        run();
        const QStringList texts = logTexts(plainLogPath());
        QCOMPARE(texts.count(QStringLiteral("*** Export started")), 2);
        QCOMPARE(texts.count(QStringLiteral("*** Export ended")), 2);
        QCOMPARE(texts.first(), QStringLiteral("*** Export started"));
        QCOMPARE(texts.last(), QStringLiteral("*** Export ended"));
        const qsizetype secondStart = texts.lastIndexOf(QStringLiteral("*** Export started"));
        QCOMPARE(texts.at(secondStart - 1), QStringLiteral("*** Export ended"));
        const QRegularExpression stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+0000 "));
        for (const QString &line : readAll(plainLogPath()).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            QVERIFY2(stamp.match(line).hasMatch(), qPrintable(line));
    }

    void failedSourceCheckIsLoggedThenEnds()
    {
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QCOMPARE(m_delegate->events,
                 (QStringList {QStringLiteral("error 10001 Unable to locate the Kastrel application."),
                               QStringLiteral("end")}));
        const QStringList texts = logTexts(plainLogPath());
        QCOMPARE(texts,
                 (QStringList {QStringLiteral("*** Export started"),
                               QStringLiteral("Error: Error Domain=Kastrel Importer Error Domain Code=10001 "
                                              "\"Unable to locate the Kastrel application.\" "
                                              "UserInfo={NSLocalizedDescription=Unable to locate the Kastrel "
                                              "application.}"),
                               QStringLiteral("*** Export ended")}));
    }

    void exceptionInAStageBecomes10004ThenCancel()
    {
        InMemoryKastrel source = addSource();
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        source.removeObject(group); // listed, but gone when read
        const auto operation = run();
        QCOMPARE(m_delegate->errors.size(), 1);
        QCOMPARE(m_delegate->errors.first().code, qint64(10004));
        // A failed scripting call is told in words; its own reason goes to the log.
        QCOMPARE(m_delegate->errors.first().localizedDescription,
                 QStringLiteral("Kastrel did not answer as expected during the export. Nothing was handed to "
                                "Nortavel 3; the details are in the log."));
        QVERIFY(logTexts(plainLogPath())
                    .contains(QStringLiteral("Scripting failure: ") + Source + QStringLiteral(": no object ") + group));
        QCOMPARE(m_delegate->events.last(), QStringLiteral("cancel"));
        QCOMPARE(m_delegate->events.count(QStringLiteral("cancel")), 1);
        QVERIFY(!m_delegate->events.contains(QStringLiteral("end")));
        QVERIFY(KSImportOperationInspector::logStream(*operation));
        QVERIFY(!KSImportOperationInspector::logStream(*operation)->isOpen());
        const QStringList texts = logTexts(plainLogPath());
        QVERIFY(!texts.contains(QStringLiteral("*** Export ended")));
        // The error, then the unfinished export folder removed: the run's last two lines.
        QVERIFY(texts.at(texts.size() - 2)
                    .startsWith(QStringLiteral("Error: Error Domain=Kastrel Importer Error Domain Code=10004")));
        QCOMPARE(texts.last(), QStringLiteral("Removed the unfinished export folder ") + plainExportFolder());
        QVERIFY(!QFileInfo::exists(plainExportFolder()));
        QVERIFY(m_apps->importCalls().isEmpty());
    }

    void exceptionInAStageIsReportedWithItsReason()
    {
        InMemoryKastrel source = addSource();
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const QString reason = QStringLiteral("The group's members could not be counted");
        m_apps->failNextCall(QStringLiteral("elements ") + group,
                             std::make_exception_ptr(std::runtime_error(reason.toStdString())));
        run();
        QCOMPARE(m_delegate->errors.size(), 1);
        QCOMPARE(m_delegate->errors.first().code, qint64(10004));
        QCOMPARE(m_delegate->errors.first().domain, QStringLiteral("Kastrel Importer Error Domain"));
        QCOMPARE(m_delegate->errors.first().localizedDescription, reason);
        QCOMPARE(m_delegate->errors.first().descriptionInEnglish(), reason);
        QCOMPARE(m_delegate->events,
                 (QStringList {QStringLiteral("stage Groups"), QStringLiteral("error 10004 ") + reason,
                               QStringLiteral("cancel")}));
        QVERIFY(logTexts(plainLogPath())
                    .contains(QStringLiteral("Error: Error Domain=Kastrel Importer Error Domain Code=10004 \"") + reason
                              + QStringLiteral("\" UserInfo={NSLocalizedDescription=") + reason + QStringLiteral("}")));
    }

    void scriptingFailureInAStageKeepsItsReasonForTheLog()
    {
        InMemoryKastrel source = addSource();
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const QString reason = QStringLiteral("Elements of the group in com.fendwick.kastrel4 failed: it went away");
        m_apps->failNextCall(
            QStringLiteral("elements ") + group,
            std::make_exception_ptr(KSScriptingException(reason, KSScriptingException::Failure::Quit, Source)));
        run();
        QCOMPARE(m_delegate->errors.size(), 1);
        QCOMPARE(m_delegate->errors.first().code, qint64(10004));
        // The person reads what became of Kastrel; the reason thrown is the log's.
        QCOMPARE(m_delegate->errors.first().localizedDescription,
                 QStringLiteral("Kastrel quit during the export. Nothing was handed to Nortavel 3; the details are "
                                "in the log."));
        QCOMPARE(m_delegate->events.last(), QStringLiteral("cancel"));
        QVERIFY(logTexts(plainLogPath()).contains(QStringLiteral("Scripting failure: ") + reason));
    }

    // --- version rules ------------------------------------------------------------------

    void sourceVersions_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<quint64>("major");
        QTest::newRow("1.4.2") << QStringLiteral("1.4.2") << false << quint64(0);
        QTest::newRow("1.0") << QStringLiteral("1.0") << false << quint64(0);
        QTest::newRow("1.5") << QStringLiteral("1.5") << true << quint64(1);
        QTest::newRow("1.10") << QStringLiteral("1.10") << true << quint64(1);
        QTest::newRow("2.0") << QStringLiteral("2.0") << true << quint64(2);
        QTest::newRow("4.1.3") << QStringLiteral("4.1.3") << true << quint64(4);
        QTest::newRow("0.9") << QStringLiteral("0.9") << true << quint64(0);
        QTest::newRow("2.0b3") << QStringLiteral("2.0b3") << true << quint64(2);
    }

    void sourceVersions()
    {
        QFETCH(QString, version);
        QFETCH(bool, accepted);
        QFETCH(quint64, major);
        addSource(version);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        if (accepted) {
            QCOMPARE(m_delegate->errors.size(), 0);
            QCOMPARE(KSImportOperationInspector::majorVersion(*operation), major);
            QCOMPARE(m_apps->importCalls().size(), 1);
        } else {
            QCOMPARE(
                m_delegate->events,
                (QStringList {QStringLiteral("error 10006 Kastrel 1.5 or later is required."), QStringLiteral("end")}));
            QVERIFY(m_apps->importCalls().isEmpty());
        }
    }

    void targetVersions_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("3.4.9") << QStringLiteral("3.4.9") << false;
        QTest::newRow("2.9") << QStringLiteral("2.9") << false;
        QTest::newRow("3.5") << QStringLiteral("3.5") << true;
        QTest::newRow("3.10") << QStringLiteral("3.10") << true;
        QTest::newRow("4.0") << QStringLiteral("4.0") << true;
        QTest::newRow("3.5.2") << QStringLiteral("3.5.2") << true;
    }

    void targetVersions()
    {
        QFETCH(QString, version);
        QFETCH(bool, accepted);
        addSource();
        m_apps->addNortavel(Target, version);
        run();
        if (accepted) {
            QCOMPARE(m_delegate->events.last(), QStringLiteral("end"));
            QCOMPARE(m_delegate->errors.size(), 0);
        } else {
            QCOMPARE(m_delegate->events,
                     (QStringList {QStringLiteral("error 10006 Nortavel 3.5 or later is required."),
                                   QStringLiteral("end")}));
        }
    }

    void unreadableSourceVersionEndsIn10004_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no dot") << QStringLiteral("5") << QStringLiteral("The source version \"5\" has no minor part");
        QTest::newRow("empty") << QStringLiteral("") << QStringLiteral("The source version \"\" has no minor part");
    }

    void unreadableSourceVersionEndsIn10004()
    {
        QFETCH(QString, version);
        QFETCH(QString, reason);
        addSource(version);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QCOMPARE(m_delegate->events, (QStringList {QStringLiteral("error 10004 ") + reason, QStringLiteral("cancel")}));
        QCOMPARE(m_delegate->errors.size(), 1);
        QCOMPARE(m_delegate->errors.first().localizedDescription, reason);
        QCOMPARE(m_delegate->errors.first().descriptionInEnglish(), reason);
    }

    void absentSourceVersionReadsAsZero()
    {
        addSource(QString());
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        QCOMPARE(m_delegate->errors.size(), 0);
        QCOMPARE(KSImportOperationInspector::majorVersion(*operation), quint64(0));
        QCOMPARE(m_delegate->events.last(), QStringLiteral("end"));
    }

    void absentTargetVersionIsRefused()
    {
        addSource();
        m_apps->addNortavel(Target, QString());
        run();
        QCOMPARE(
            m_delegate->events,
            (QStringList {QStringLiteral("error 10006 Nortavel 3.5 or later is required."), QStringLiteral("end")}));
    }

    void sourceIdentifiersInOrder()
    {
        addSource(QStringLiteral("2.0"), LegacySource);
        addSource(QStringLiteral("4.0"), Source);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        QCOMPARE(KSImportOperationInspector::kastrelApp(*operation)->bundleIdentifier(), Source);
        QCOMPARE(KSImportOperationInspector::majorVersion(*operation), quint64(4));
        QVERIFY(!m_apps->calls().contains(QStringLiteral("proxy ") + LegacySource));
    }

    void legacySourceIdentifierIsTheFallback()
    {
        addSource(QStringLiteral("1.6"), LegacySource);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        const QStringList calls = m_apps->calls();
        QVERIFY(calls.indexOf(QStringLiteral("proxy ") + Source)
                < calls.indexOf(QStringLiteral("proxy ") + LegacySource));
        QCOMPARE(KSImportOperationInspector::kastrelApp(*operation)->bundleIdentifier(), LegacySource);
        QCOMPARE(KSImportOperationInspector::majorVersion(*operation), quint64(1));
        QCOMPARE(m_delegate->errors.size(), 0);
    }

    // --- the export folder --------------------------------------------------------------

    void exportFolderIsThePerUserTemporaryFolders()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        QCOMPARE(operation->filesPath(), plainExportFolder());
        QVERIFY(logTexts(plainLogPath()).contains(QStringLiteral("Exporting to directory: ") + plainExportFolder()));
    }

    void withoutTMPDIRTheUsersOwnTemporaryFolderIsUsed()
    {
        const QByteArray previous = qgetenv("TMPDIR");
        qunsetenv("TMPDIR");
        const QString expected
            = OVStandardPaths::temporaryRootFor() + QStringLiteral("/kastrel-importer-%1").arg(::getuid());
        const bool existed = QFileInfo::exists(expected);
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        const auto operation = run();
        qputenv("TMPDIR", previous);
        QCOMPARE(operation->filesPath(), expected + QStringLiteral("/Kastrel"));
        struct stat status;
        QCOMPARE(::lstat(QFile::encodeName(expected).constData(), &status), 0);
        QCOMPARE(int(status.st_mode & 0777), 0700);
        QCOMPARE(status.st_uid, ::getuid());
        QVERIFY(OVStandardPaths::removeItemAtPath(existed ? expected + QStringLiteral("/Kastrel") : expected));
    }

    void staleExportFolderIsEmptiedBeforeTheStages()
    {
        const QString folder = plainExportFolder();
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/Notes/old.nvnote")));
        QFile stale(folder + QStringLiteral("/Kastrel.nvlibxml"));
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write("old");
        stale.close();
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        QStringList seenAtFirstStage;
        m_apps->setCallHook([&](const QString &call) {
            if (call.startsWith(QStringLiteral("elements / folderCollections")) && seenAtFirstStage.isEmpty())
                seenAtFirstStage = QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        });
        run();
        QVERIFY(m_apps->calls().contains(QStringLiteral("elements / folderCollections")));
        QCOMPARE(seenAtFirstStage, QStringList());
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Notes/old.nvnote")));
        QVERIFY(readAll(folder + QStringLiteral("/Kastrel.nvlibxml")).contains(QStringLiteral("<plist")));
    }

    void exportFolderThatCannotBeCreated()
    {
        // A file where the temporary folder should be: nothing can be created below it.
        const QString blocker = QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("not-a-folder"));
        QFile file(blocker);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        const QByteArray previous = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(blocker));
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        qputenv("TMPDIR", previous);
        QCOMPARE(m_delegate->events,
                 (QStringList {QStringLiteral("error 10002 Unable to create the temporary directory to export files."),
                               QStringLiteral("end")}));
        const QStringList texts = logTexts(plainLogPath());
        const qsizetype error = texts.indexOf(QRegularExpression(QStringLiteral("^Error: .*Code=10002.*")));
        QVERIFY(error > 0);
        QCOMPARE(texts.at(error + 1),
                 QStringLiteral("Unable to create directory ") + blocker + QStringLiteral("/Kastrel: Not a directory"));
        QCOMPARE(m_apps->elementFetches(QStringLiteral("folderCollections")), 0);
    }

    void exportFolderThatCannotBeRemoved()
    {
        // Root ignores folder permissions, so there an immutable file stands in the way instead.
        const QString folder = plainExportFolder();
        const QString locked = folder + QStringLiteral("/locked");
        const QString file = locked + QStringLiteral("/file");
        QVERIFY(QDir().mkpath(locked));
        QFile inner(file);
        QVERIFY(inner.open(QIODevice::WriteOnly));
        inner.close();
        const bool root = ::geteuid() == 0;
        if (root) {
            if (QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), file}) != 0)
                QSKIP("cannot make a file immutable here");
        } else {
            QVERIFY(QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        if (root)
            QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), file});
        else
            QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QCOMPARE(m_delegate->events,
                 (QStringList {QStringLiteral("error 10002 Unable to create the temporary directory to export files."),
                               QStringLiteral("end")}));
        const QStringList texts = logTexts(plainLogPath());
        const qsizetype error = texts.indexOf(QRegularExpression(QStringLiteral("^Error: .*Code=10002.*")));
        QVERIFY(error > 0);
        const QString cause = root ? QStringLiteral("Operation not permitted") : QStringLiteral("Permission denied");
        QCOMPARE(texts.at(error + 1),
                 QStringLiteral("Unable to remove directory ") + folder + QStringLiteral(": ") + file
                     + QStringLiteral(": ") + cause);
        QCOMPARE(m_apps->elementFetches(QStringLiteral("folderCollections")), 0);
    }

    void aLinkAtTheExportFolderIsRemovedNotFollowed()
    {
        QTemporaryDir elsewhere;
        QFile precious(elsewhere.filePath(QStringLiteral("precious.txt")));
        QVERIFY(precious.open(QIODevice::WriteOnly));
        precious.close();
        QVERIFY(QFile::link(elsewhere.path(), plainExportFolder()));
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QVERIFY(QFileInfo::exists(elsewhere.filePath(QStringLiteral("precious.txt"))));
        QVERIFY(!QFileInfo(plainExportFolder()).isSymLink());
        QVERIFY(QFileInfo(plainExportFolder()).isDir());
    }

    void cancelledLabelsStageWritesNoLibraryFile()
    {
        InMemoryKastrel source = addSource();
        source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        auto operation = KSImportOperationInspector::make({}, m_delegate, m_apps);
        KSImportOperation *raw = operation.get();
        m_apps->setCallHook([raw](const QString &call) {
            if (call == QStringLiteral("elements / labels"))
                raw->cancel();
        });
        operation->main();
        QVERIFY(!QFileInfo::exists(QDir(plainExportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))));
        QVERIFY(!KSImportOperationInspector::libraryPlist(*operation)
                     .contains(KSLibraryRecords::exporterVersionKey)); // items never ran
        QVERIFY(!table(KSImportOperationInspector::libraryPlist(*operation), QStringLiteral("Item")).isValid());
        QVERIFY(m_apps->importCalls().isEmpty());
        QCOMPARE(m_apps->activateCount(Target), 0);
        QCOMPARE(m_delegate->events.last(), QStringLiteral("cancel"));
    }

    // --- the hand-off and the library file ----------------------------------------------

    void handOffActivatesAndImportsWithCopyAndRatingZero()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QCOMPARE(m_apps->activateCount(Target), 1);
        QCOMPARE(m_apps->importCalls().size(), 1);
        const InMemoryScripting::ImportCall call = m_apps->importCalls().first();
        QCOMPARE(call.by, quint32(0x54666370));
        QCOMPARE(call.options, (QVariantMap {{QStringLiteral("withRating"), 0}}));
        QCOMPARE(call.files, QStringList {QDir(plainExportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))});
        const QStringList calls = m_apps->calls();
        QVERIFY(calls.indexOf(QStringLiteral("activate ") + Target)
                < calls.indexOf(QStringLiteral("importFiles ") + Target));
    }

    void libraryFileHasItsTopLevelKeysAndEveryTable()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist library = writtenLibrary();
        QVERIFY(library.isDictionary());
        QCOMPARE(library.keys(),
                 (QStringList {QStringLiteral("Entities"), QStringLiteral("ExporterVersion"),
                               QStringLiteral("RemoveFileOnCompletion")}));
        QCOMPARE(library.value(QStringLiteral("ExporterVersion")), OVPlist(350));
        QCOMPARE(library.value(QStringLiteral("RemoveFileOnCompletion")), OVPlist(plainExportFolder()));
        for (const char *entity : {"ItemGroup", "SmartGroup", "RuleSet", "RuleValue", "Label", "Item"}) {
            const OVPlist entries = table(library, QString::fromLatin1(entity));
            QVERIFY2(entries.isDictionary(), entity);
            QCOMPARE(entries.size(), 0);
        }
        const QString text = readAll(QDir(plainExportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml")));
        QVERIFY(text.startsWith(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist")));
    }

    void groupsBecomeItemGroupRecords()
    {
        InMemoryKastrel source = addSource(QStringLiteral("2.1"));
        const QString a = source.addItem(KastrelItemKind::Note, QStringLiteral("I-A"), QStringLiteral("A"));
        const QString b = source.addItem(KastrelItemKind::Image, QStringLiteral("I-B"), QStringLiteral("B"));
        const QString full
            = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Travel"), QStringLiteral("Trips"));
        source.addMember(full, b);
        source.addMember(full, a);
        source.addFolderCollection(QStringLiteral("G2"), QStringLiteral("Empty"), QString());
        // Comments that are there but empty are no comments either.
        source.addFolderCollection(QStringLiteral("G3"), QStringLiteral("Blank"), QStringLiteral(""));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist groups = table(writtenLibrary(), QStringLiteral("ItemGroup"));
        QCOMPARE(groups.keys(), (QStringList {QStringLiteral("G1"), QStringLiteral("G2"), QStringLiteral("G3")}));
        QVERIFY(groups.value(QStringLiteral("G3")).isDictionary());
        QVERIFY(!groups.value(QStringLiteral("G3")).contains(QStringLiteral("comments")));
        OVPlist expected = OVPlist::dictionary();
        expected.insert(QStringLiteral("com.orvantis.Nortavel.EntityName"), QStringLiteral("ItemGroup"));
        expected.insert(QStringLiteral("identifier"), QStringLiteral("G1"));
        expected.insert(QStringLiteral("name"), QStringLiteral("Travel"));
        expected.insert(QStringLiteral("groupType"), 50);
        expected.insert(QStringLiteral("library"), QStringLiteral("Library"));
        expected.insert(QStringLiteral("parent"), QStringLiteral("RootFolder"));
        expected.insert(QStringLiteral("comments"), QStringLiteral("Trips"));
        expected.insert(QStringLiteral("items"), QStringList {QStringLiteral("I-B"), QStringLiteral("I-A")});
        QCOMPARE(groups.value(QStringLiteral("G1")), expected);
        const OVPlist empty = groups.value(QStringLiteral("G2"));
        QVERIFY(!empty.contains(QStringLiteral("comments")));
        QVERIFY(empty.value(QStringLiteral("items")).isArray());
        QCOMPARE(empty.value(QStringLiteral("items")).size(), 0);
        QCOMPARE(m_apps->elementFetches(QStringLiteral("databaseItems")), 3);
        QCOMPARE(m_apps->elementFetches(QStringLiteral("items")), 0);
        QVERIFY(logTexts(plainLogPath()).contains(QStringLiteral("Exporting group with identifier G1")));
    }

    void versionOneListsMembersAsItemsAndMatchesAll()
    {
        InMemoryKastrel source = addSource(QStringLiteral("1.6"));
        const QString a = source.addItem(KastrelItemKind::Note, QStringLiteral("I-A"), QStringLiteral("A"));
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Old"));
        source.addMember(group, a);
        source.addTagCollection(QStringLiteral("S1"), QStringLiteral("Smart"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QCOMPARE(m_delegate->errors.size(), 0);
        const OVPlist library = writtenLibrary();
        QCOMPARE(table(library, QStringLiteral("ItemGroup")).value(QStringLiteral("G1")).value(QStringLiteral("items")),
                 OVPlist(QStringList {QStringLiteral("I-A")}));
        QCOMPARE(m_apps->elementFetches(QStringLiteral("items")), 1);
        QCOMPARE(m_apps->elementFetches(QStringLiteral("databaseItems")), 0);
        const QString ruleSet = table(library, QStringLiteral("SmartGroup"))
                                    .value(QStringLiteral("S1"))
                                    .value(QStringLiteral("ruleSet"))
                                    .toString();
        QCOMPARE(table(library, QStringLiteral("RuleSet")).value(ruleSet).value(QStringLiteral("matchAll")),
                 OVPlist(true));
        QCOMPARE(m_apps->propertyReads(QStringLiteral("tagCollectionBehavior")), 0);
    }

    void behaviourDecidesMatchAllFromVersionTwo()
    {
        InMemoryKastrel source = addSource(QStringLiteral("2.0"));
        source.addTagCollection(QStringLiteral("ALL"), QStringLiteral("All"), QString(), 0x5467416C);
        source.addTagCollection(QStringLiteral("ANY"), QStringLiteral("Any"), QString(), 0x5467416E);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist library = writtenLibrary();
        const auto matchAll = [&](const QString &smartGroup) {
            const QString ruleSet = table(library, QStringLiteral("SmartGroup"))
                                        .value(smartGroup)
                                        .value(QStringLiteral("ruleSet"))
                                        .toString();
            return table(library, QStringLiteral("RuleSet")).value(ruleSet).value(QStringLiteral("matchAll"));
        };
        QCOMPARE(matchAll(QStringLiteral("ALL")), OVPlist(true));
        QCOMPARE(matchAll(QStringLiteral("ANY")), OVPlist(false));
        QCOMPARE(m_apps->propertyReads(QStringLiteral("tagCollectionBehavior")), 2);
    }

    void smartGroupWithThreeTags()
    {
        InMemoryKastrel source = addSource(QStringLiteral("2.0"));
        const QString collection = source.addTagCollection(QStringLiteral("S1"), QStringLiteral("Work"),
                                                           QStringLiteral("Work things"), 0x5467416C);
        for (const char *name : {"urgent", "caf\xc3\xa9", "later"})
            source.addTagTo(collection, source.addTag(QString::fromUtf8(name)));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist library = writtenLibrary();
        const OVPlist smartGroup = table(library, QStringLiteral("SmartGroup")).value(QStringLiteral("S1"));
        QCOMPARE(smartGroup.value(QStringLiteral("groupType")), OVPlist(60));
        QCOMPARE(smartGroup.value(QStringLiteral("comments")), OVPlist(QStringLiteral("Work things")));
        QCOMPARE(smartGroup.value(QStringLiteral("parent")), OVPlist(QStringLiteral("RootFolder")));
        const QString ruleSetId = smartGroup.value(QStringLiteral("ruleSet")).toString();
        const QRegularExpression uuid(
            QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"));
        QVERIFY(uuid.match(ruleSetId).hasMatch());
        QCOMPARE(table(library, QStringLiteral("RuleSet")).size(), 1);
        const OVPlist ruleSet = table(library, QStringLiteral("RuleSet")).value(ruleSetId);
        QCOMPARE(ruleSet.value(QStringLiteral("identifier")), OVPlist(ruleSetId));
        QCOMPARE(ruleSet.value(QStringLiteral("smartGroup")), OVPlist(QStringLiteral("S1")));
        const QStringList ruleValues = ruleSet.value(QStringLiteral("ruleValues")).toStringList();
        QCOMPARE(ruleValues.size(), 3);
        QCOMPARE(table(library, QStringLiteral("RuleValue")).size(), 3);
        QStringList names;
        for (const QString &id : ruleValues) {
            QVERIFY(uuid.match(id).hasMatch());
            const OVPlist value = table(library, QStringLiteral("RuleValue")).value(id);
            QCOMPARE(value.value(QStringLiteral("com.orvantis.Nortavel.EntityName")),
                     OVPlist(QStringLiteral("RuleValue")));
            QCOMPARE(value.value(QStringLiteral("identifier")), OVPlist(id));
            QCOMPARE(value.value(QStringLiteral("ruleSet")), OVPlist(ruleSetId));
            QCOMPARE(value.value(QStringLiteral("keyString")), OVPlist(QStringLiteral("tags.name")));
            QCOMPARE(value.value(QStringLiteral("conditionType")), OVPlist(101));
            QCOMPARE(value.value(QStringLiteral("valueType")), OVPlist(8));
            const OVPlist archive
                = OVPlistSerialization::propertyListWithData(value.value(QStringLiteral("valueData")).toData());
            QCOMPARE(archive.value(QStringLiteral("$archiver")), OVPlist(QStringLiteral("NSKeyedArchiver")));
            QCOMPARE(archive.value(QStringLiteral("$version")), OVPlist(100000));
            const quint64 root = archive.value(QStringLiteral("$top")).value(QStringLiteral("root")).toUid();
            QCOMPARE(archive.value(QStringLiteral("$objects")).at(0), OVPlist(QStringLiteral("$null")));
            names.append(archive.value(QStringLiteral("$objects")).at(qsizetype(root)).toString());
        }
        QCOMPARE(names, (QStringList {QStringLiteral("urgent"), QStringLiteral("caf\u00e9"), QStringLiteral("later")}));
        QVERIFY(logTexts(plainLogPath()).contains(QStringLiteral("Adding tag urgent to smart group S1")));
        // The line with the accented tag loses its line feed, so the next one runs on behind it.
        const QRegularExpression runOn(QStringLiteral("Adding tag caf\u00e9 to smart group S1\\d{4}-\\d\\d-\\d\\d "));
        QVERIFY(runOn.match(readAll(plainLogPath())).hasMatch());
    }

    void smartGroupWithoutTagsHasAnEmptyRuleSet()
    {
        addSource(QStringLiteral("2.0")).addTagCollection(QStringLiteral("S0"), QStringLiteral("None"), QString(), 0);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist library = writtenLibrary();
        QCOMPARE(table(library, QStringLiteral("RuleSet")).size(), 1);
        const OVPlist ruleSet
            = table(library, QStringLiteral("RuleSet")).value(table(library, QStringLiteral("RuleSet")).keys().first());
        QVERIFY(ruleSet.value(QStringLiteral("ruleValues")).isArray());
        QCOMPARE(ruleSet.value(QStringLiteral("ruleValues")).size(), 0);
        QVERIFY(!table(library, QStringLiteral("SmartGroup"))
                     .value(QStringLiteral("S0"))
                     .contains(QStringLiteral("comments")));
        QVERIFY(table(library, QStringLiteral("RuleValue")).isDictionary());
    }

    void twoRunsDifferOnlyInFreshIdentifiers()
    {
        InMemoryKastrel source = addSource(QStringLiteral("2.0"));
        const QString collection = source.addTagCollection(QStringLiteral("S1"), QStringLiteral("Work"), QString(), 0);
        source.addTagTo(collection, source.addTag(QStringLiteral("one")));
        source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group"));
        source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist first = writtenLibrary();
        run();
        const OVPlist second = writtenLibrary();
        QCOMPARE(table(first, QStringLiteral("ItemGroup")), table(second, QStringLiteral("ItemGroup")));
        QCOMPARE(table(first, QStringLiteral("Label")), table(second, QStringLiteral("Label")));
        QVERIFY(table(first, QStringLiteral("SmartGroup")) != table(second, QStringLiteral("SmartGroup")));
        QVERIFY(table(first, QStringLiteral("RuleSet")).keys() != table(second, QStringLiteral("RuleSet")).keys());
        QVERIFY(table(first, QStringLiteral("RuleValue")).keys() != table(second, QStringLiteral("RuleValue")).keys());
        // Apart from the fresh identifiers, the smart group is the same.
        OVPlist a = table(first, QStringLiteral("SmartGroup")).value(QStringLiteral("S1"));
        OVPlist b = table(second, QStringLiteral("SmartGroup")).value(QStringLiteral("S1"));
        a.remove(QStringLiteral("ruleSet"));
        b.remove(QStringLiteral("ruleSet"));
        QCOMPARE(a, b);
    }

    void noCollectionsOrLabelsGiveEmptyTables()
    {
        addSource(QStringLiteral("2.0"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist library = writtenLibrary();
        for (const char *entity : {"ItemGroup", "SmartGroup", "RuleSet", "RuleValue", "Label"}) {
            QVERIFY2(table(library, QString::fromLatin1(entity)).isDictionary(), entity);
            QVERIFY2(table(library, QString::fromLatin1(entity)).isEmpty(), entity);
        }
    }

    void labelColoursInDeviceRGB_data()
    {
        QTest::addColumn<QString>("color");
        QTest::addColumn<QList<double>>("components");
        QTest::newRow("rgb") << QStringLiteral("rgb 1 0.5 0 1") << QList<double> {1, 0.5, 0, 1};
        QTest::newRow("gray") << QStringLiteral("gray 0.5 1") << QList<double> {0.5, 0.5, 0.5, 1};
        QTest::newRow("cmyk") << QStringLiteral("cmyk 0 1 1 0 1") << QList<double> {1, 0, 0, 1};
        QTest::newRow("named") << QStringLiteral("orange") << QList<double> {1, 165.0 / 255, 0, 1};
        QTest::newRow("unreadable") << QStringLiteral("no colour at all") << QList<double> {0, 0, 0, 0};
    }

    void labelColoursInDeviceRGB()
    {
        QFETCH(QString, color);
        QFETCH(QList<double>, components);
        addSource().addLabel(QStringLiteral("L1"), QStringLiteral("Label"), color);
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        const OVPlist label = table(writtenLibrary(), QStringLiteral("Label")).value(QStringLiteral("L1"));
        QCOMPARE(label.value(QStringLiteral("groupType")), OVPlist(1020));
        QCOMPARE(label.value(QStringLiteral("labelLibrary")), OVPlist(QStringLiteral("Library")));
        QCOMPARE(label.value(QStringLiteral("name")), OVPlist(QStringLiteral("Label")));
        QVERIFY(!label.contains(QStringLiteral("library")));
        QVERIFY(!label.contains(QStringLiteral("parent")));
        const char *keys[] = {"redComponent", "greenComponent", "blueComponent", "alphaComponent"};
        for (int i = 0; i < 4; ++i) {
            const OVPlist component = label.value(QString::fromLatin1(keys[i]));
            QVERIFY2(component.isReal(), keys[i]);
            QVERIFY2(qAbs(component.toReal() - components.at(i)) < 0.0001, keys[i]);
        }
    }

    // --- cancelling and notifications ---------------------------------------------------

    void cancellingDuringGroupsStopsBeforeTheNextCollection()
    {
        InMemoryKastrel source = addSource();
        source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("One"));
        source.addFolderCollection(QStringLiteral("G2"), QStringLiteral("Two"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        auto operation = KSImportOperationInspector::make({}, m_delegate, m_apps);
        KSImportOperation *raw = operation.get();
        m_apps->setCallHook([raw](const QString &call) {
            if (call.startsWith(QStringLiteral("elements ")) && call.endsWith(QStringLiteral(" databaseItems")))
                raw->cancel();
        });
        operation->main();
        const OVPlist groups = table(KSImportOperationInspector::libraryPlist(*operation), QStringLiteral("ItemGroup"));
        QCOMPARE(groups.keys(), QStringList {QStringLiteral("G1")});
        QCOMPARE(m_delegate->events, (QStringList {QStringLiteral("stage Groups"), QStringLiteral("cancel")}));
        QVERIFY(!table(KSImportOperationInspector::libraryPlist(*operation), QStringLiteral("SmartGroup")).isValid());
        QCOMPARE(m_apps->elementFetches(QStringLiteral("tagCollections")), 0);
        QCOMPARE(m_apps->elementFetches(QStringLiteral("labels")), 0);
    }

    void eventsArriveInStageOrder()
    {
        addSource();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        run();
        QCOMPARE(
            m_delegate->events,
            (QStringList {QStringLiteral("stage Groups"), QStringLiteral("stage Smart Groups"),
                          QStringLiteral("stage Labels"), QStringLiteral("count 0 Items"), QStringLiteral("end")}));
        const QStringList texts = logTexts(plainLogPath());
        QVERIFY(texts.indexOf(QStringLiteral("Exporting groups"))
                < texts.indexOf(QStringLiteral("Exporting smart groups")));
        QVERIFY(texts.indexOf(QStringLiteral("Exporting smart groups"))
                < texts.indexOf(QStringLiteral("Exporting labels")));
    }

    void eventsOfARunWithItemsArriveInStageOrder()
    {
        InMemoryKastrel source = addSource();
        const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
        source.setExportFile(note, QStringLiteral("Agenda.txt"), "Things to do");
        const QString bookmark
            = source.addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
        source.setProperty(bookmark, QStringLiteral("location"), QStringLiteral("https://example.org/"));
        source.addItem(KastrelItemKind::SerialNumber, QStringLiteral("S1"), QStringLiteral("Licence"));
        source.addItem(KastrelItemKind::Password, QStringLiteral("P1"), QStringLiteral("Mail"));
        source.addItem(KastrelItemKind::Image, QStringLiteral("I1"), QStringLiteral("Photo"));
        const QString pdf = source.addItem(KastrelItemKind::PDFArchive, QStringLiteral("D1"), QStringLiteral("Paper"));
        source.setExportFile(pdf, QStringLiteral("Paper.pdf"), "%PDF-1.4\n%%EOF\n");
        source.addItem(KastrelItemKind::WebArchive, QStringLiteral("W1"), QStringLiteral("Page"));
        source.addItem(KastrelItemKind::Image, QStringLiteral("I2"), QString()); // passed over, still counted
        source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group"));
        source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        QVariantMap options;
        for (const char *key : {"notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives"})
            options.insert(QString::fromLatin1(key), true);
        run(options);
        QStringList expected {QStringLiteral("stage Groups"), QStringLiteral("stage Smart Groups"),
                              QStringLiteral("stage Labels"), QStringLiteral("count 8 Items")};
        for (int record = 0; record < 8; ++record)
            expected.append(QStringLiteral("record "));
        expected.append(QStringLiteral("end"));
        QCOMPARE(m_delegate->events, expected);
        QCOMPARE(m_delegate->errors.size(), 0);
        QCOMPARE(m_apps->importCalls().size(), 1);
    }

    void notificationsRunOnTheMainThreadWhileTheWorkerWaits()
    {
        InMemoryKastrel source = addSource();
        source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("One"));
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        auto operation = KSImportOperationInspector::make<std::shared_ptr<KSImportOperation>>({}, m_delegate, m_apps);
        QThread *worker = QThread::create([operation] { operation->main(); });
        worker->start();
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 30000);
        delete worker;
        QVERIFY(m_delegate->allOnMainThread);
        QCOMPARE(
            m_delegate->events,
            (QStringList {QStringLiteral("stage Groups"), QStringLiteral("stage Smart Groups"),
                          QStringLiteral("stage Labels"), QStringLiteral("count 0 Items"), QStringLiteral("end")}));
    }

    void silentDelegateGetsNothingAndTheRunCompletes()
    {
        m_apps->addNortavel(Target, QStringLiteral("3.5")); // no source: one error
        auto operation = KSImportOperationInspector::make({}, std::make_shared<SilentDelegate>(), m_apps);
        operation->main();
        const QStringList texts = logTexts(plainLogPath());
        QVERIFY(texts.contains(QStringLiteral("*** Export ended")));
        QCOMPARE(texts.filter(QStringLiteral("Error: ")).size(), 1);
    }

    void noDelegateStillLogsErrors()
    {
        m_apps->addNortavel(Target, QStringLiteral("2.0"));
        addSource();
        KSImportOperation operation(KSImportOptions::none(), nullptr, m_apps);
        operation.main();
        const QStringList texts = logTexts(plainLogPath());
        QCOMPARE(texts.filter(QStringLiteral("Error: Error Domain=Kastrel Importer Error Domain Code=10006")).size(),
                 1);
        QCOMPARE(texts.last(), QStringLiteral("*** Export ended"));
    }

    void propertiesStartEmpty()
    {
        const QVariantMap options {{QStringLiteral("notes"), true}};
        KSImportOperation operation(KSImportOperationInspector::options(options), nullptr, m_apps);
        const OVPlist &library = KSImportOperationInspector::libraryPlist(operation);
        QVERIFY(library.isDictionary());
        QCOMPARE(library.size(), 0);
        QVERIFY(!KSImportOperationInspector::delegate(operation));
        QCOMPARE(KSImportOperationInspector::importOptions(operation), KSImportOperationInspector::options(options));
        QVERIFY(!KSImportOperationInspector::logStream(operation));
        QVERIFY(!KSImportOperationInspector::kastrelApp(operation));
        QCOMPARE(KSImportOperationInspector::majorVersion(operation), quint64(0));
        QVERIFY(operation.filesPath().isNull());
        QVERIFY(operation.logFilePath().isNull());
        QVERIFY(operation.handedOffLibraryFile().isNull());
        QVERIFY(operation.itemProblems().isEmpty());
        QVERIFY(!operation.isCancelled());
    }
};

QTEST_GUILESS_MAIN(TestImportOperation)
#include "TestImportOperation.moc"
