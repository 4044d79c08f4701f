// The export's progress on the task bar: launcher-entry Update signals on the session bus for
// the application's desktop entry, rising with the progress sheet's bar, only when the whole
// percentage done changes, marked for attention when a long export ends while the person is away,
// and taken off when the sheet ends.
#include "AppTestSupport.h"
#include "app/KSImportPanel.h"
#include "app/KSLauncherProgress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QtTest>
#include <chrono>

using namespace AppTestSupport;
using namespace std::chrono_literals;

namespace {

struct LauncherUpdate
{
    QString path;
    QString applicationUri;
    QVariantMap properties;
};

} // namespace

// A task bar as a desktop runs one: it keeps every Update signal on the bus.
class LauncherEntryListener : public QObject
{
    Q_OBJECT

public:
    QList<LauncherUpdate> updates;

    bool listen()
    {
        return QDBusConnection::sessionBus().connect(
            QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"), this,
            SLOT(update(QString, QVariantMap, QDBusMessage)));
    }
    ~LauncherEntryListener() override
    {
        QDBusConnection::sessionBus().disconnect(
            QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"), this,
            SLOT(update(QString, QVariantMap, QDBusMessage)));
    }

    // Whether the last update took the progress off.
    bool ended() const
    {
        return !updates.isEmpty()
            && updates.last().properties.value(QStringLiteral("progress-visible"), true).toBool() == false;
    }

public slots:
    void update(const QString &applicationUri, const QVariantMap &properties, const QDBusMessage &message)
    {
        updates.append({message.path(), applicationUri, properties});
    }
};

class TestLauncherProgress : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<SheetRun> m_run;
    std::unique_ptr<LauncherEntryListener> m_listener;

    // Runs an export to its end.
    void run(const std::shared_ptr<InMemoryScripting> &applications, std::chrono::milliseconds minimumDuration,
             SheetRun::Person person)
    {
        const auto panel = m_run->start(applications, minimumDuration, person);
        QTRY_VERIFY_WITH_TIMEOUT(!m_run->returnCodes.isEmpty(), 120000);
        panel->waitForOperation();
        QVERIFY(!panel->launcherProgress().isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(m_listener->ended(), 20000);
    }

private slots:
    void init()
    {
        m_run = std::make_unique<SheetRun>();
        m_listener = std::make_unique<LauncherEntryListener>();
        QVERIFY(m_listener->listen());
    }

    void cleanup()
    {
        m_listener.reset();
        m_run.reset();
    }

    void progressRisesByWholePercentagesAndIsTakenOffAtTheEnd()
    {
        run(applicationsWithItems(500), 1h, SheetRun::Person::Stays);
        QCOMPARE(m_run->returnCodes, QList<int> {1});
        const QList<LauncherUpdate> &updates = m_listener->updates;
        // 501 records counted: far fewer signals than records.
        QVERIFY2(updates.size() >= 3 && updates.size() <= 102, qPrintable(QString::number(updates.size())));
        double previous = -1.0;
        for (const LauncherUpdate &update : updates) {
            QCOMPARE(update.path, QStringLiteral("/com/canonical/unity/launcherentry/KastrelImporter"));
            QCOMPARE(update.applicationUri, QStringLiteral("application://com.orvantis.KastrelImporter.desktop"));
            QVERIFY(!update.properties.value(QStringLiteral("urgent")).toBool());
            if (&update == &updates.last())
                break;
            QCOMPARE(update.properties.value(QStringLiteral("progress-visible")), QVariant(true));
            const double progress = update.properties.value(QStringLiteral("progress")).toDouble();
            QVERIFY2(progress > previous, qPrintable(QStringLiteral("%1 after %2").arg(progress).arg(previous)));
            previous = progress;
        }
        QCOMPARE(updates.first().properties.value(QStringLiteral("progress")).toDouble(), 0.0);
        QCOMPARE(previous, 1.0);
        QVERIFY(m_listener->ended());
    }

    void longExportEndedWhileAwayMarksTheEntryUntilTheSheetEnds()
    {
        run(applicationsWithItems(3), 0ms, SheetRun::Person::LooksAway);
        const QList<LauncherUpdate> &updates = m_listener->updates;
        QVERIFY(updates.size() >= 3);
        const LauncherUpdate &mark = updates.at(updates.size() - 2);
        QCOMPARE(mark.properties, (QVariantMap {{QStringLiteral("urgent"), true}}));
        QCOMPARE(updates.last().properties.value(QStringLiteral("urgent")), QVariant(false));
    }

    void sameWholePercentageSendsNothingMore()
    {
        {
            KSLauncherProgress progress;
            progress.setProgress(0.001);
            progress.setProgress(0.002);
            progress.setProgress(0.004);
            QCOMPARE(progress.percentage(), 0);
            progress.setProgress(0.5);
            progress.setProgress(0.501);
            QCOMPARE(progress.percentage(), 50);
            QVERIFY(progress.isVisible());
        } // taken off when it goes
        QTRY_VERIFY_WITH_TIMEOUT(m_listener->ended(), 20000);
        QCOMPARE(m_listener->updates.size(), 3);
        QCOMPARE(m_listener->updates.at(1).properties.value(QStringLiteral("progress")).toDouble(), 0.5);
    }

    void nothingShownIsNothingToTakeOff()
    {
        KSLauncherProgress progress;
        progress.hide();
        progress.setUrgent(false);
        QTest::qWait(200);
        QVERIFY(m_listener->updates.isEmpty());
    }
};

QTEST_MAIN(TestLauncherProgress)
#include "TestLauncherProgress.moc"
