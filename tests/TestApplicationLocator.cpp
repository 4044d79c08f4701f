// Finding applications: desktop entries in the XDG data folders, and the bus names that give
// a proxy (owned now, or activatable).
#include "ScriptingTestHelpers.h"
#include "engine/ApplicationLocator.h"
#include "engine/DBusScriptingBackend.h"
#include "engine/KastrelApplication.h"
#include "engine/NortavelApplication.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QtTest>

namespace {

const QString Kastrel4 = QStringLiteral("com.fendwick.kastrel4");

QByteArray desktopEntry(const QString &name)
{
    return QStringLiteral("[Desktop Entry]\nType=Application\nName=%1\nExec=true\n").arg(name).toUtf8();
}

} // namespace

class TestApplicationLocator : public QObject
{
    Q_OBJECT

private:
    QByteArray m_dataHome;
    QByteArray m_dataDirs;
    QByteArray m_home;
    QString m_root;

private slots:
    void init()
    {
        m_dataHome = qgetenv("XDG_DATA_HOME");
        m_dataDirs = qgetenv("XDG_DATA_DIRS");
        m_home = qgetenv("HOME");
        m_root = QFileInfo(QString::fromLocal8Bit(m_home)).absolutePath();
        QVERIFY(m_root.contains(QLatin1String("kastrel-test.")));
    }

    void cleanup()
    {
        qputenv("XDG_DATA_HOME", m_dataHome);
        qputenv("XDG_DATA_DIRS", m_dataDirs);
        qputenv("HOME", m_home);
    }

    void foldersFollowTheEnvironment()
    {
        qputenv("XDG_DATA_HOME", "/data/home");
        qputenv("XDG_DATA_DIRS", "/one:relative/skipped::/two/");
        QCOMPARE(ApplicationLocator::applicationFolders(),
                 (QStringList {QStringLiteral("/data/home/applications"), QStringLiteral("/one/applications"),
                               QStringLiteral("/two/applications")}));
    }

    void foldersHaveDefaults()
    {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_DATA_DIRS");
        qputenv("HOME", "/home/someone");
        const QStringList expected {QStringLiteral("/home/someone/.local/share/applications"),
                                    QStringLiteral("/usr/local/share/applications"),
                                    QStringLiteral("/usr/share/applications")};
        QCOMPARE(ApplicationLocator::applicationFolders(), expected);
        qputenv("XDG_DATA_HOME", "");
        qputenv("XDG_DATA_DIRS", "");
        QCOMPARE(ApplicationLocator::applicationFolders(), expected);
        qputenv("XDG_DATA_HOME", "relative/data");
        QCOMPARE(ApplicationLocator::applicationFolders(), expected);
    }

    void noDesktopEntryMeansNotInstalled()
    {
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());
        QVERIFY(DBusScriptingBackend().absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());
    }

    void findsTheFirstDesktopEntryInSearchOrder()
    {
        const QString home = m_root + QStringLiteral("/search-home");
        const QString first = m_root + QStringLiteral("/search-first");
        const QString second = m_root + QStringLiteral("/search-second");
        qputenv("XDG_DATA_HOME", home.toLocal8Bit());
        qputenv("XDG_DATA_DIRS", (first + QLatin1Char(':') + second).toLocal8Bit());
        const QString fileName = QStringLiteral("/applications/%1.desktop").arg(Kastrel4);

        writeTestFile(second + fileName, desktopEntry(QStringLiteral("Second")));
        QCOMPARE(ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4), second + fileName);
        writeTestFile(first + fileName, desktopEntry(QStringLiteral("First")));
        QCOMPARE(ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4), first + fileName);
        writeTestFile(home + fileName, desktopEntry(QStringLiteral("Home")));
        QCOMPARE(ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4), home + fileName);
        QCOMPARE(DBusScriptingBackend().absolutePathForAppBundleWithIdentifier(Kastrel4), home + fileName);

        // Another identifier is another file; a prefix is not a match.
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(QStringLiteral("com.fendwick.kastrel"))
                    .isNull());
    }

    void oddEntriesAndIdentifiersAreNotInstalled()
    {
        const QString home = m_root + QStringLiteral("/odd-home");
        qputenv("XDG_DATA_HOME", home.toLocal8Bit());
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        QVERIFY(QDir().mkpath(home + QStringLiteral("/applications/%1.desktop").arg(Kastrel4)));
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());

        writeTestFile(home + QStringLiteral("/elsewhere.desktop"), desktopEntry(QStringLiteral("Elsewhere")));
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(QStringLiteral("../elsewhere")).isNull());
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(QString()).isNull());
        QVERIFY(ApplicationLocator::absolutePathForAppBundleWithIdentifier(QStringLiteral("")).isNull());
    }

    void busNamesAreChecked_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("valid");
        QTest::newRow("source") << Kastrel4 << true;
        QTest::newRow("sandboxed target") << QStringLiteral("com.orvantis.Nortavel3.mac") << true;
        QTest::newRow("hyphen and underscore") << QStringLiteral("a-b.c_d") << true;
        QTest::newRow("one element") << QStringLiteral("kastrel") << false;
        QTest::newRow("empty element") << QStringLiteral("com..kastrel") << false;
        QTest::newRow("leading digit") << QStringLiteral("com.4kastrel") << false;
        QTest::newRow("unique name") << QStringLiteral(":1.42") << false;
        QTest::newRow("slash") << QStringLiteral("com/fendwick.kastrel") << false;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("too long") << QStringLiteral("a.") + QString(300, QLatin1Char('b')) << false;
    }

    void busNamesAreChecked()
    {
        QFETCH(QString, name);
        QFETCH(bool, valid);
        QCOMPARE(ApplicationLocator::isValidBusName(name), valid);
    }

    void noOwnerAndNotActivatableMeansNoProxy()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(bus.isConnected());
        QVERIFY(!ApplicationLocator::hasProxy(bus, QStringLiteral("com.fendwick.nobody")));
        DBusScriptingBackend backend;
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(backend, QStringLiteral("com.fendwick.nobody")));
        QVERIFY(!NortavelApplication::applicationWithBundleIdentifier(backend, QStringLiteral("com.fendwick.nobody")));
        QVERIFY(!ApplicationLocator::hasProxy(bus, QStringLiteral("not a name")));
    }

    void ownedNameGivesAProxy()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        const QString name = QStringLiteral("com.fendwick.owned");
        QVERIFY(bus.registerService(name));
        QVERIFY(ApplicationLocator::hasProxy(bus, name));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, name);
        QVERIFY(kastrel);
        QCOMPARE(kastrel->bundleIdentifier(), name);
        QVERIFY(NortavelApplication::applicationWithBundleIdentifier(backend, name));
        QVERIFY(bus.unregisterService(name));
        QVERIFY(!ApplicationLocator::hasProxy(bus, name));
    }

    void activatableNameGivesAProxy()
    {
        // The bus only lists the name; nothing is started by asking.
        const QString name = QStringLiteral("com.fendwick.activatable");
        const QString services = QString::fromLocal8Bit(m_dataHome) + QStringLiteral("/dbus-1/services/");
        writeTestFile(services + name + QStringLiteral(".service"),
                      QStringLiteral("[D-BUS Service]\nName=%1\nExec=/bin/false\n").arg(name).toUtf8());
        reloadSessionBusConfiguration();
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(ApplicationLocator::hasProxy(bus, name));
        QVERIFY(!bus.interface()->isServiceRegistered(name).value());
        DBusScriptingBackend backend;
        QVERIFY(KastrelApplication::applicationWithBundleIdentifier(backend, name));

        QVERIFY(QFile::remove(services + name + QStringLiteral(".service")));
        reloadSessionBusConfiguration();
        QVERIFY(!ApplicationLocator::hasProxy(bus, name));
    }

    void disconnectedBusGivesNoProxy()
    {
        const QDBusConnection nowhere = QDBusConnection::connectToBus(
            QStringLiteral("unix:path=%1/no-such-socket").arg(m_root), QStringLiteral("nowhere"));
        QVERIFY(!nowhere.isConnected());
        QVERIFY(!ApplicationLocator::hasProxy(nowhere, Kastrel4));
        DBusScriptingBackend backend(nowhere);
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4));
        QDBusConnection::disconnectFromBus(QStringLiteral("nowhere"));
    }
};

QTEST_GUILESS_MAIN(TestApplicationLocator)
#include "TestApplicationLocator.moc"
