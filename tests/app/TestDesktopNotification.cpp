// The notification at the end of an export: sent through the notification service on the
// session bus when a long export ends, is cancelled or fails while the information window is
// not the active one, before the report or alert; none for a short export or while the
// window is active; and an end that is never held up by a missing or silent service.
#include "AppTestSupport.h"
#include "app/KSImportPanel.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QtTest>
#include <chrono>

using namespace AppTestSupport;
using namespace std::chrono_literals;
using Person = SheetRun::Person;

namespace {

const QString NotificationService = QStringLiteral("org.freedesktop.Notifications");
const QString NotificationPath = QStringLiteral("/org/freedesktop/Notifications");

struct Notification
{
    QString appName;
    uint replacesId = 0;
    QString appIcon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};

} // namespace

// A notification service such as a desktop runs, keeping every Notify call; one that
// does not answer keeps the caller's reply for ever.
class RecordingNotificationService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QList<Notification> notifications;
    bool answers = true;

    bool start()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        return bus.registerObject(NotificationPath, this, QDBusConnection::ExportAllSlots)
            && bus.registerService(NotificationService);
    }
    ~RecordingNotificationService() override
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(NotificationService);
        bus.unregisterObject(NotificationPath);
    }

public slots:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout)
    {
        notifications.append({appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        if (!answers)
            setDelayedReply(true);
        return uint(notifications.size());
    }
};

class TestDesktopNotification : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<SheetRun> m_run;
    std::unique_ptr<RecordingNotificationService> m_service;
    // How many notifications had arrived when each report or alert was shown.
    QList<int> m_notificationsBeforeShowing;

    // The notification sent before the report or alert reaches the service while it is
    // shown; one sent later would not.
    void countNotificationsWhenShown()
    {
        const bool arrived = QTest::qWaitFor([this] { return m_service && !m_service->notifications.isEmpty(); }, 2000);
        Q_UNUSED(arrived) // counted below either way
        m_notificationsBeforeShowing.append(m_service ? int(m_service->notifications.size()) : 0);
    }

    void waitForTheEnd(KSImportPanel &panel, bool endsTheSheet = true)
    {
        // Well below the bus's own 25 seconds for an answer: a call that waited would show.
        if (endsTheSheet)
            QTRY_VERIFY_WITH_TIMEOUT(!m_run->returnCodes.isEmpty(), 20000);
        else
            QTRY_COMPARE_WITH_TIMEOUT(m_run->termination.count, 1, 20000);
        panel.waitForOperation();
        QCoreApplication::processEvents();
    }

private slots:
    void init()
    {
        m_run = std::make_unique<SheetRun>();
        m_notificationsBeforeShowing.clear();
        KSAlert::setHandler([this](const KSAlert &alert) {
            m_run->alerts.alerts.append(alert);
            countNotificationsWhenShown();
            return 0;
        });
        KSExportReportDialog::setHandler([this](const KSExportReportDialog &report) {
            m_run->alerts.reports.append(report);
            countNotificationsWhenShown();
        });
        m_service = std::make_unique<RecordingNotificationService>();
        QVERIFY(m_service->start());
    }

    void cleanup()
    {
        m_service.reset();
        m_run.reset();
    }

    void longExportEndedWhileAwaySaysWhatArrived()
    {
        const auto panel = m_run->start(applicationsWithItemsNeedingAttention(), 0ms, Person::LooksAway);
        waitForTheEnd(*panel);
        QCOMPARE(m_run->returnCodes, QList<int> {1});
        QCOMPARE(m_run->alerts.reports.size(), 1);
        QCOMPARE(m_service->notifications.size(), 1);
        QCOMPARE(m_notificationsBeforeShowing, QList<int> {1});
        const Notification &notification = m_service->notifications.first();
        QCOMPARE(notification.appName, QStringLiteral("Kastrel Importer"));
        QCOMPARE(notification.replacesId, 0u);
        QCOMPARE(notification.appIcon, QStringLiteral("com.orvantis.KastrelImporter"));
        QCOMPARE(notification.summary, QStringLiteral("Export ended"));
        // Four arrived; the note that arrived as its original file and the image without a
        // name need a look.
        QCOMPARE(notification.body,
                 QStringLiteral("4 items reached Nortavel 3. 2 items need attention; the report lists them."));
        QVERIFY(notification.actions.isEmpty());
        QCOMPARE(notification.hints.value(QStringLiteral("desktop-entry")).toString(),
                 QStringLiteral("com.orvantis.KastrelImporter"));
        QCOMPARE(notification.expireTimeout, -1);
    }

    void exportWhereEverythingArrivedSaysOnlyHowMany()
    {
        const auto panel = m_run->start(applicationsWithItems(3), 0ms, Person::LooksAway);
        waitForTheEnd(*panel);
        QCOMPARE(m_service->notifications.size(), 1);
        QCOMPARE(m_service->notifications.first().body, QStringLiteral("4 items reached Nortavel 3."));
    }

    void shortExportIsNotNotified()
    {
        const auto panel = m_run->start(applicationsWithItems(2), 1h, Person::LooksAway);
        waitForTheEnd(*panel);
        QCOMPARE(m_run->alerts.reports.size(), 1);
        QCOMPARE(m_service->notifications.size(), 0);
    }

    void exportEndedInTheActiveWindowIsNotNotified()
    {
        const auto panel = m_run->start(applicationsWithItems(2), 0ms, Person::Stays);
        waitForTheEnd(*panel);
        QCOMPARE(m_run->alerts.reports.size(), 1);
        QCOMPARE(m_service->notifications.size(), 0);
    }

    void cancelledExportSaysSo()
    {
        const auto panel = m_run->start(applicationsWithItems(3), 0ms, Person::LooksAway,
                                        [](KSImportPanel &sheet) { sheet.cancel(); });
        waitForTheEnd(*panel);
        QCOMPARE(m_run->returnCodes, QList<int> {0});
        QCOMPARE(m_run->alerts.alerts.size(), 1);
        QCOMPARE(m_service->notifications.size(), 1);
        QCOMPARE(m_notificationsBeforeShowing, QList<int> {1});
        QCOMPARE(m_service->notifications.first().summary, QStringLiteral("Export cancelled"));
        QCOMPARE(m_service->notifications.first().body, QStringLiteral("Nothing was handed to Nortavel 3."));
    }

    void failedExportSaysSo()
    {
        // A group listed by the source but gone when read: the run ends with an error.
        auto applications = applicationsWithItems(2);
        InMemoryKastrel source = applications->kastrel(Source);
        source.removeObject(source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Work")));
        const auto panel = m_run->start(applications, 0ms, Person::LooksAway);
        waitForTheEnd(*panel, false);
        QCOMPARE(m_run->alerts.alerts.size(), 1);
        QCOMPARE(m_service->notifications.size(), 1);
        QCOMPARE(m_notificationsBeforeShowing, QList<int> {1});
        const Notification &notification = m_service->notifications.first();
        QCOMPARE(notification.summary, QStringLiteral("Export failed"));
        QVERIFY2(notification.body.endsWith(QStringLiteral("\nNothing was handed to Nortavel 3.")),
                 qPrintable(notification.body));
        QVERIFY2(m_run->alerts.alerts.first().informativeText.startsWith(
                     notification.body.section(QLatin1Char('\n'), 0, 0) + QStringLiteral("\n\n")),
                 qPrintable(notification.body));
    }

    void endWithoutANotificationServiceGoesOn()
    {
        m_service.reset();
        QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(NotificationService));
        const auto panel = m_run->start(applicationsWithItems(2), 0ms, Person::LooksAway);
        waitForTheEnd(*panel);
        QCOMPARE(m_run->returnCodes, QList<int> {1});
        QCOMPARE(m_run->alerts.reports.size(), 1);
        QVERIFY(m_run->alerts.alerts.isEmpty());
    }

    void endIsNotHeldUpByAServiceThatNeverAnswers()
    {
        m_service->answers = false;
        const auto panel = m_run->start(applicationsWithItems(2), 0ms, Person::LooksAway);
        waitForTheEnd(*panel);
        QCOMPARE(m_run->returnCodes, QList<int> {1});
        QCOMPARE(m_service->notifications.size(), 1);
    }
};

QTEST_MAIN(TestDesktopNotification)
#include "TestDesktopNotification.moc"
