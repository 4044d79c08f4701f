// The test launcher's promises: a private home, private XDG folders, a private session bus
// and no display. Other tests rely on these, so they are checked once here.
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QtTest>

class TestTestEnvironment : public QObject
{
    Q_OBJECT

private slots:
    void homeIsPrivate()
    {
        const QString home = qEnvironmentVariable("HOME");
        QVERIFY(home.contains(QLatin1String("kastrel-test.")));
        QVERIFY(QDir(home).exists());
        const QString root = QFileInfo(home).absolutePath();
        QCOMPARE(QFileInfo(qEnvironmentVariable("XDG_DATA_HOME")).absolutePath(), root);
        QCOMPARE(QFileInfo(qEnvironmentVariable("XDG_CONFIG_HOME")).absolutePath(), root);
        QVERIFY(qEnvironmentVariable("TMPDIR").contains(QLatin1String("kastrel-test.")));
    }

    void sessionBusIsPrivateAndEmpty()
    {
        QVERIFY(qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"));
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY2(bus.isConnected(), qPrintable(bus.lastError().message()));
        const QStringList names = bus.interface()->registeredServiceNames().value();
        for (const QString &name : names)
            QVERIFY2(name.startsWith(QLatin1Char(':')) || name == QLatin1String("org.freedesktop.DBus"),
                     qPrintable(name));
    }

    void noDisplay()
    {
        QVERIFY(!qEnvironmentVariableIsSet("DISPLAY"));
        QCOMPARE(qEnvironmentVariable("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
};

QTEST_GUILESS_MAIN(TestTestEnvironment)
#include "TestTestEnvironment.moc"
