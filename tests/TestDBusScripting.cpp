// The D-Bus client of the scripting interfaces against a scripted peer on the test's private
// bus: every class, element and property read, absent values, failed calls of every sort
// (error replies, vanished names, replies of the wrong type), export, the target's commands,
// use from a worker thread, and the number of bus round trips the reads cost.
#include "ScriptingTestHelpers.h"
#include "TestConfig.h"
#include "TestSupport.h"
#include "engine/ApplicationLocator.h"
#include "engine/DBusScriptingBackend.h"
#include "engine/KSFourCharCode.h"
#include "engine/KSScriptingException.h"
#include "engine/KastrelApplication.h"
#include "engine/NortavelApplication.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>
#include <atomic>
#include <functional>
#include <optional>

namespace {

const QString Kastrel4 = QStringLiteral("com.fendwick.kastrel4");
const QString Nortavel = QStringLiteral("com.orvantis.Nortavel3");
const QString KastrelInterface = QStringLiteral("com.fendwick.Kastrel.Scripting");
const QString NortavelInterface = QStringLiteral("com.orvantis.Nortavel3.Scripting");

// A peer that serves either interface from a table, on a connection and a thread of its
// own, so that the client's blocking calls really cross the bus.
class ScriptedPeer : public QDBusVirtualObject
{
public:
    QString introspect(const QString &) const override { return QString(); }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        QMutexLocker lock(&mutex);
        calls.append(message.member());
        received.append(message);
        if (message.member() == QLatin1String("Elements")) {
            const QString key = message.arguments().value(0).value<QDBusObjectPath>().path() + QLatin1Char(' ')
                + message.arguments().value(1).toString();
            if (failOnce.remove(key)) {
                connection.send(message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.Failed"),
                                                         QStringLiteral("not now: %1").arg(key)));
                return true;
            }
        }
        if (const auto refusal = refusals.constFind(message.member()); refusal != refusals.constEnd()) {
            connection.send(message.createErrorReply(*refusal, QStringLiteral("No such object path '/'")));
            ++refusedCalls;
            return true;
        }
        if (const auto replacement = replacements.constFind(message.member()); replacement != replacements.constEnd()) {
            connection.send(message.createReply(*replacement));
            return true;
        }
        connection.send(answer(message));
        return true;
    }

    QDBusMessage answer(const QDBusMessage &message)
    {
        const QVariantList arguments = message.arguments();
        const QString member = message.member();
        if (message.interface() == NortavelInterface) {
            if (member == QLatin1String("Properties"))
                return message.createReply(QVariant(properties.value(QStringLiteral("/"))));
            if (member == QLatin1String("Activate") || member == QLatin1String("ImportFiles"))
                return message.createReply();
        } else if (message.interface() == KastrelInterface) {
            if (member == QLatin1String("Properties")) {
                QList<QVariantMap> dictionaries;
                for (const QDBusObjectPath &path : qdbus_cast<QList<QDBusObjectPath>>(arguments.value(0))) {
                    if (!properties.contains(path.path()))
                        return unknownObject(message, path.path());
                    dictionaries.append(properties.value(path.path()));
                }
                return message.createReply(QVariant::fromValue(dictionaries));
            }
            if (member == QLatin1String("Count") || member == QLatin1String("Elements")) {
                const QString container = arguments.value(0).value<QDBusObjectPath>().path();
                const QString key = container + QLatin1Char(' ') + arguments.value(1).toString();
                if (!elements.contains(key))
                    return unknownObject(message, key);
                const QStringList paths = elements.value(key);
                if (member == QLatin1String("Count"))
                    return message.createReply(QVariant(uint(paths.size())));
                QList<QDBusObjectPath> objectPaths;
                for (const QString &path : paths)
                    objectPaths.append(QDBusObjectPath(path));
                return message.createReply(QVariant::fromValue(objectPaths));
            }
            if (member == QLatin1String("ElementsOfEach") && servesElementsOfEach) {
                QList<QList<QDBusObjectPath>> lists;
                for (const QDBusObjectPath &container : qdbus_cast<QList<QDBusObjectPath>>(arguments.value(0))) {
                    const QString key = container.path() + QLatin1Char(' ') + arguments.value(1).toString();
                    if (!elements.contains(key))
                        return unknownObject(message, key);
                    QList<QDBusObjectPath> objectPaths;
                    for (const QString &path : elements.value(key))
                        objectPaths.append(QDBusObjectPath(path));
                    lists.append(objectPaths);
                }
                return message.createReply(QVariant::fromValue(lists));
            }
            if (member == QLatin1String("Export")) {
                const QList<QDBusObjectPath> items = qdbus_cast<QList<QDBusObjectPath>>(arguments.value(0));
                if (items.size() != 1 || !properties.contains(items.first().path()))
                    return unknownObject(message, QStringLiteral("export"));
                return message.createReply(QVariant(exports.value(items.first().path())));
            }
        }
        return message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), member);
    }

    static QDBusMessage unknownObject(const QDBusMessage &message, const QString &what)
    {
        return message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"),
                                        QStringLiteral("No such object: %1").arg(what));
    }

    int callCount(const QString &member)
    {
        QMutexLocker lock(&mutex);
        return int(calls.count(member));
    }

    // How many containers each call of `member` (ElementsOfEach or Properties) asked about.
    QList<int> objectsAskedFor(const QString &member)
    {
        QMutexLocker lock(&mutex);
        QList<int> sizes;
        for (const QDBusMessage &message : received) {
            if (message.interface() == KastrelInterface && message.member() == member)
                sizes.append(int(qdbus_cast<QList<QDBusObjectPath>>(message.arguments().value(0)).size()));
        }
        return sizes;
    }

    QMutex mutex;
    QHash<QString, QVariantMap> properties;
    QHash<QString, QStringList> elements; // "container element" -> objects
    QHash<QString, QString> exports; // item -> answer
    QHash<QString, QVariantList> replacements; // member -> reply arguments to answer instead
    QSet<QString> failOnce; // "container element" of Elements calls answered once with an error
    QHash<QString, QString> refusals; // member -> name of the error that answers every such call
    bool servesElementsOfEach = false; // otherwise answered as an unknown method
    std::atomic<int> refusedCalls {0};
    QStringList calls;
    QList<QDBusMessage> received;
};

// `count` items "<prefix>/0", "<prefix>/1", ... whose only property is their id, the number.
QStringList addNumberedItems(ScriptedPeer &peer, const QString &prefix, int count)
{
    QStringList items;
    for (int i = 0; i < count; ++i) {
        const QString item = QStringLiteral("%1/%2").arg(prefix).arg(i);
        peer.properties.insert(item, {{QStringLiteral("id"), QString::number(i)}});
        items.append(item);
    }
    return items;
}

// Lists `items` as the note items, each tagged with `tags`.
void listNotesWithTags(ScriptedPeer &peer, const QStringList &items, const QStringList &tags)
{
    for (const QString &item : items)
        peer.elements.insert(item + QStringLiteral(" tags"), tags);
    peer.elements.insert(QStringLiteral("/ noteItems"), items);
}

// How many objects each Properties call of the source interface asked for, in order.
QList<int> propertiesAskedFor(ScriptedPeer &peer)
{
    QMutexLocker lock(&peer.mutex);
    QList<int> sizes;
    for (const QDBusMessage &message : peer.received) {
        if (message.interface() == KastrelInterface && message.member() == QLatin1String("Properties"))
            sizes.append(int(qdbus_cast<QList<QDBusObjectPath>>(message.arguments().value(0)).size()));
    }
    return sizes;
}

// Runs a ScriptedPeer under a well-known name until it is destroyed or quits.
class PeerHost
{
public:
    explicit PeerHost(const QString &name)
        : m_name(name)
        , m_connectionName(QStringLiteral("peer-") + name)
    {
        m_thread.start();
        peer.moveToThread(&m_thread);
        m_connection = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName));
        QVERIFY(m_connection->isConnected());
        QVERIFY(m_connection->registerVirtualObject(QStringLiteral("/"), &peer));
        QVERIFY(m_connection->registerService(name));
    }

    ~PeerHost()
    {
        quit();
        m_thread.quit();
        m_thread.wait();
    }

    // The application goes away: its name is released and its objects unregistered.
    void quit()
    {
        if (!m_connection)
            return;
        m_connection->unregisterService(m_name);
        m_connection->unregisterObject(QStringLiteral("/"));
        m_connection.reset();
        QDBusConnection::disconnectFromBus(m_connectionName);
    }

    ScriptedPeer peer;

private:
    QString m_name;
    QString m_connectionName;
    QThread m_thread;
    std::unique_ptr<QDBusConnection> m_connection;
};

QVariant path(const QString &objectPath)
{
    return QVariant::fromValue(QDBusObjectPath(objectPath));
}

// A small library: two groups, a tag collection with two tags, two labels, one item of
// every kind, as a version-2 source serves it.
void fillLibrary(ScriptedPeer &peer, const QString &version)
{
    peer.properties.insert(QStringLiteral("/"), {{QStringLiteral("version"), version}});
    peer.properties.insert(QStringLiteral("/g/1"),
                           {{QStringLiteral("id"), QStringLiteral("G1")},
                            {QStringLiteral("name"), QStringLiteral("Work")},
                            {QStringLiteral("comments"), QStringLiteral("Office")}});
    peer.properties.insert(
        QStringLiteral("/g/2"),
        {{QStringLiteral("id"), QStringLiteral("G2")}, {QStringLiteral("name"), QStringLiteral("")}});
    peer.properties.insert(QStringLiteral("/tc/1"),
                           {{QStringLiteral("id"), QStringLiteral("TC1")},
                            {QStringLiteral("name"), QStringLiteral("Urgent")},
                            {QStringLiteral("comments"), QStringLiteral("")},
                            {QStringLiteral("tagCollectionBehavior"), 0x5467416Cu}});
    peer.properties.insert(QStringLiteral("/t/1"), {{QStringLiteral("name"), QStringLiteral("home")}});
    peer.properties.insert(QStringLiteral("/t/2"), {{QStringLiteral("name"), QStringLiteral("a,b")}});
    peer.properties.insert(QStringLiteral("/l/1"),
                           {{QStringLiteral("id"), QStringLiteral("L1")},
                            {QStringLiteral("name"), QStringLiteral("Red")},
                            {QStringLiteral("color"), QStringLiteral("rgb 1 0 0 1")}});
    peer.properties.insert(QStringLiteral("/l/2"),
                           {{QStringLiteral("id"), QStringLiteral("L2")},
                            {QStringLiteral("name"), QStringLiteral("Grey")},
                            {QStringLiteral("color"), QStringLiteral("gray 0.5 1")}});
    const QStringList kinds {QStringLiteral("noteItems"),         QStringLiteral("bookmarkItems"),
                             QStringLiteral("serialNumberItems"), QStringLiteral("passwordItems"),
                             QStringLiteral("imageItems"),        QStringLiteral("pdfArchiveItems"),
                             QStringLiteral("webArchiveItems")};
    for (int i = 0; i < kinds.size(); ++i) {
        const QString item = QStringLiteral("/i/%1").arg(i);
        peer.properties.insert(item,
                               {{QStringLiteral("id"), QStringLiteral("I%1").arg(i)},
                                {QStringLiteral("name"), QStringLiteral("Item %1").arg(i)}});
        peer.elements.insert(QStringLiteral("/ ") + kinds[i], {item});
        peer.elements.insert(item + QStringLiteral(" tags"), {});
    }
    QVariantMap &note = peer.properties[QStringLiteral("/i/0")];
    note.insert(QStringLiteral("comments"), QStringLiteral("see me"));
    note.insert(QStringLiteral("creationDate"), 1234567890.25);
    note.insert(QStringLiteral("modificationDate"), -86400.0);
    note.insert(QStringLiteral("label"), path(QStringLiteral("/l/2")));
    note.insert(QStringLiteral("encrypted"), true);
    peer.properties[QStringLiteral("/i/1")].insert(QStringLiteral("location"), QStringLiteral("https://example.org/"));
    peer.properties[QStringLiteral("/i/3")].insert(QStringLiteral("password"), QStringLiteral("x"));
    peer.properties[QStringLiteral("/i/4")].insert(QStringLiteral("encrypted"), false);
    peer.elements.insert(QStringLiteral("/i/0 tags"), {QStringLiteral("/t/1"), QStringLiteral("/t/2")});
    peer.elements.insert(QStringLiteral("/ folderCollections"), {QStringLiteral("/g/1"), QStringLiteral("/g/2")});
    peer.elements.insert(QStringLiteral("/g/1 databaseItems"), {QStringLiteral("/i/0"), QStringLiteral("/i/4")});
    peer.elements.insert(QStringLiteral("/g/2 databaseItems"), {});
    peer.elements.insert(QStringLiteral("/ tagCollections"), {QStringLiteral("/tc/1")});
    peer.elements.insert(QStringLiteral("/tc/1 tags"), {QStringLiteral("/t/1"), QStringLiteral("/t/2")});
    peer.elements.insert(QStringLiteral("/ labels"), {QStringLiteral("/l/1"), QStringLiteral("/l/2")});
}

// The small library of a source that offers ElementsOfEach, with `count` notes
// "<prefix>/0", ... each tagged with `tags`.
QStringList fillLibraryWithTaggedNotes(ScriptedPeer &peer, const QString &prefix, int count, const QStringList &tags)
{
    peer.servesElementsOfEach = true;
    fillLibrary(peer, QStringLiteral("2.1"));
    const QStringList items = addNumberedItems(peer, prefix, count);
    listNotesWithTags(peer, items, tags);
    return items;
}

QString standInPath(const QString &name)
{
    return QStringLiteral(KI_BIN_DIR "/") + name;
}

// A library folder for the source stand-in: three labels, three tag collections, two groups
// and items of every kind, one of whose exports fails.
QString standInLibrary()
{
    return TestSupport::testDataPath(QStringLiteral("scripting/standin-library"));
}

// Reads and exports every note as the item stage does: its name, the export, its record's
// properties, its tags' names and its label's id. Answers how many exports wrote a file.
int exportNotesAsTheItemStageDoes(const KastrelApplication &kastrel, const QString &folder)
{
    int written = 0;
    for (const KastrelDatabaseItem &item : kastrel.noteItems().get()) {
        item.name();
        if (!kastrel.exportTo({item}, folder).isNull())
            ++written;
        item.id();
        item.comments();
        item.creationDate();
        item.modificationDate();
        if (item.respondsToEncrypted())
            item.encrypted();
        item.respondsToPassword();
        for (const KastrelTag &tag : item.tags().get())
            tag.name();
        if (const std::optional<KastrelLabel> label = item.label())
            label->id();
    }
    return written;
}

// Runs a stand-in executable to completion (install) and answers its exit code.
int runToCompletion(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForFinished(-1))
        return -1;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// A stand-in serving in the foreground until the test ends.
class ServingStandIn
{
public:
    ServingStandIn(const QString &program, const QStringList &arguments, const QString &identifier)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, arguments);
        const QByteArray ready = QStringLiteral("ready %1").arg(identifier).toUtf8();
        while (!m_output.contains(ready) && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(-1);
            m_output += m_process.readAllStandardOutput();
        }
        m_ready = m_output.contains(ready);
    }

    ~ServingStandIn()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(-1);
        }
    }

    bool isReady() const { return m_ready; }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
    QByteArray m_output;
    bool m_ready = false;
};

} // namespace

class TestDBusScripting : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qDBusRegisterMetaType<QList<QVariantMap>>();
        qDBusRegisterMetaType<QList<QList<QDBusObjectPath>>>();
    }

    void readsEveryClassAndProperty()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        QVERIFY(kastrel);
        QCOMPARE(kastrel->version(), QStringLiteral("2.1"));

        const QList<KastrelFolderCollection> groups = kastrel->folderCollections().get();
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups[0].id(), QStringLiteral("G1"));
        QCOMPARE(groups[0].name(), QStringLiteral("Work"));
        QCOMPARE(groups[0].comments(), QStringLiteral("Office"));
        QVERIFY(!groups[1].name().isNull());
        QVERIFY(groups[1].name().isEmpty());
        QVERIFY(groups[1].comments().isNull());
        QCOMPARE(groups[0].databaseItems().count(), 2u);
        const QList<KastrelDatabaseItem> members = groups[0].databaseItems().get();
        QCOMPARE(members[0].id(), QStringLiteral("I0"));
        QCOMPARE(members[1].id(), QStringLiteral("I4"));
        QVERIFY(groups[1].databaseItems().get().isEmpty());
        // A version-2 source offers no "items".
        QVERIFY(scriptingFailureOf([&] { groups[0].items().get(); }).contains(QLatin1String("UnknownObject")));

        const KastrelTagCollection collection = kastrel->tagCollections().get().value(0);
        QCOMPARE(collection.id(), QStringLiteral("TC1"));
        QCOMPARE(collection.name(), QStringLiteral("Urgent"));
        QVERIFY(collection.comments().isEmpty());
        QCOMPARE(collection.tagCollectionBehavior(), std::optional<quint32>(KSTagCollectionBehaviorMatchAll));
        const QList<KastrelTag> tags = collection.tags().get();
        QCOMPARE(tags.size(), 2);
        QCOMPARE(tags[1].name(), QStringLiteral("a,b"));

        const QList<KastrelLabel> labels = kastrel->labels().get();
        QCOMPARE(labels[0].color(), QColor(Qt::red));
        QCOMPARE(labels[1].name(), QStringLiteral("Grey"));
        QCOMPARE(labels[1].color(), QColor::fromRgbF(0.5f, 0.5f, 0.5f, 1.0f));

        const KastrelDatabaseItem note = kastrel->noteItems().get().value(0);
        QCOMPARE(note.kind(), KastrelItemKind::Note);
        QCOMPARE(note.name(), QStringLiteral("Item 0"));
        QCOMPARE(note.comments(), QStringLiteral("see me"));
        QCOMPARE(note.creationDate(), QDateTime::fromMSecsSinceEpoch(1234567890250, Qt::UTC));
        QCOMPARE(note.modificationDate(), QDateTime(QDate(1969, 12, 31), QTime(0, 0), Qt::UTC));
        QVERIFY(note.respondsToEncrypted());
        QCOMPARE(note.encrypted(), std::optional<bool>(true));
        QCOMPARE(note.label().value().id(), QStringLiteral("L2"));
        QCOMPARE(note.tags().count(), 2u);
        QCOMPARE(note.tags().get().value(0).name(), QStringLiteral("home"));

        const KastrelDatabaseItem bookmark = kastrel->bookmarkItems().get().value(0);
        QCOMPARE(bookmark.kind(), KastrelItemKind::Bookmark);
        QCOMPARE(bookmark.location(), QStringLiteral("https://example.org/"));
        QVERIFY(!bookmark.respondsToEncrypted());
        QCOMPARE(bookmark.encrypted(), std::nullopt);
        QVERIFY(!bookmark.label());
        QVERIFY(bookmark.creationDate().isNull());
        QVERIFY(bookmark.comments().isNull());
        QVERIFY(bookmark.tags().get().isEmpty());

        const KastrelDatabaseItem password = kastrel->passwordItems().get().value(0);
        QVERIFY(password.respondsToPassword());
        QVERIFY(!password.respondsToEncrypted());
        QCOMPARE(kastrel->serialNumberItems().get().value(0).name(), QStringLiteral("Item 2"));
        QCOMPARE(kastrel->imageItems().get().value(0).encrypted(), std::optional<bool>(false));
        QCOMPARE(kastrel->pdfArchiveItems().count(), 1u);
        QCOMPARE(kastrel->webArchiveItems().get().value(0).id(), QStringLiteral("I6"));
    }

    void sourceWithoutVersionAnswersNone()
    {
        PeerHost host(Kastrel4);
        host.peer.properties.insert(QStringLiteral("/"), {});
        DBusScriptingBackend backend;
        QVERIFY(KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4)->version().isNull());
    }

    void listsFetchTheirPropertiesInOneCall()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList many = addNumberedItems(host.peer, QStringLiteral("/many"), 2500);
        host.peer.elements.insert(QStringLiteral("/ noteItems"), many);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const quint64 before = backend.roundTripCount();
        QStringList ids;
        for (const KastrelDatabaseItem &item : kastrel->noteItems().get())
            ids.append(item.id());
        QCOMPARE(ids.size(), 2500);
        QCOMPARE(ids.last(), QStringLiteral("2499"));
        // One Elements call and three Properties calls of at most a thousand objects.
        QCOMPARE(backend.roundTripCount() - before, 4u);
        QCOMPARE(host.peer.callCount(QStringLiteral("Properties")), 3);

        // Read again, and through a second listing: all from the cache but the listing.
        for (const KastrelDatabaseItem &item : kastrel->noteItems().get())
            item.name();
        QCOMPARE(backend.roundTripCount() - before, 5u);
    }

    void listingFetchesNothingUntilAnObjectIsRead()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList many = addNumberedItems(host.peer, QStringLiteral("/lazy"), 1500);
        host.peer.elements.insert(QStringLiteral("/ noteItems"), many);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> items = kastrel->noteItems().get();
        QCOMPARE(host.peer.callCount(QStringLiteral("Properties")), 0);

        // Reading from the middle fetches that object and the thousand-batch after it; the
        // objects before it come in a batch of their own when they are read.
        QCOMPARE(items.at(700).id(), QStringLiteral("700"));
        QCOMPARE(propertiesAskedFor(host.peer).last(), 800);
        QCOMPARE(items.at(1499).id(), QStringLiteral("1499"));
        QCOMPARE(items.at(0).id(), QStringLiteral("0"));
        QCOMPARE(propertiesAskedFor(host.peer).last(), 700);
        QCOMPARE(items.at(699).id(), QStringLiteral("699"));
        QCOMPARE(host.peer.callCount(QStringLiteral("Properties")), 2);
    }

    void objectsAreReadInTheOrderOfTheirNewestListing()
    {
        // Items listed first by their groups, then by their kind, as a run lists them: reading
        // in the kind's order costs one call per thousand, whatever order the groups had.
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/ordered"), 2000);
        QStringList shuffled(items.crbegin(), items.crend());
        host.peer.elements.insert(QStringLiteral("/g/1 databaseItems"), shuffled);
        host.peer.elements.insert(QStringLiteral("/g/2 databaseItems"), shuffled.mid(0, 500));
        host.peer.elements.insert(QStringLiteral("/ noteItems"), items);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        for (const KastrelFolderCollection &group : kastrel->folderCollections().get())
            group.databaseItems().get();
        const qsizetype before = propertiesAskedFor(host.peer).size();
        for (const KastrelDatabaseItem &item : kastrel->noteItems().get())
            item.id();
        QCOMPARE(propertiesAskedFor(host.peer).mid(before), (QList<int> {1000, 1000}));
    }

    void releasedObjectsAreForgottenAndReadAgainAlone()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/released"), 10);
        host.peer.elements.insert(QStringLiteral("/ imageItems"), items);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->imageItems().get();
        for (const KastrelDatabaseItem &item : listed) {
            item.id();
            item.release();
        }
        QCOMPARE(propertiesAskedFor(host.peer), (QList<int> {10}));

        // A changed value shows: nothing of the released object was kept.
        host.peer.properties[items.at(3)].insert(QStringLiteral("id"), QStringLiteral("changed"));
        QCOMPARE(listed.at(3).id(), QStringLiteral("changed"));
        QCOMPARE(listed.at(3).id(), QStringLiteral("changed"));
        QCOMPARE(propertiesAskedFor(host.peer), (QList<int> {10, 1}));
    }

    void tagsOfTheNextItemsAreAskedForAhead()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/ahead"), 40);
        listNotesWithTags(host.peer, items, {QStringLiteral("/t/1")});
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->noteItems().get();

        // Reading the first item's tags asks for those of the sixteen after it too.
        QCOMPARE(listed.at(0).tags().get().size(), 1);
        QTRY_COMPARE(host.peer.callCount(QStringLiteral("Elements")), 1 + 1 + 16);
        const quint64 before = backend.roundTripCount();
        for (const KastrelDatabaseItem &item : listed.mid(1))
            QCOMPARE(item.tags().get().value(0).objectPath(), QStringLiteral("/t/1"));
        // Every list was asked for once, and the counter saw each call.
        QTRY_COMPARE(host.peer.callCount(QStringLiteral("Elements")), 1 + 40);
        QCOMPARE(backend.roundTripCount() - before, quint64(40 - 1 - 16));
    }

    void aListAskedForAheadThatFailedIsAskedForAgain()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/retry"), 5);
        listNotesWithTags(host.peer, items, {QStringLiteral("/t/2")});
        host.peer.failOnce.insert(QStringLiteral("/retry/3 tags"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->noteItems().get();
        for (const KastrelDatabaseItem &item : listed)
            QCOMPARE(item.tags().get().size(), 1);
        QCOMPARE(host.peer.callCount(QStringLiteral("Elements")), 1 + 5 + 1);

        // A list that cannot be had fails the read that needs it, with the bus's error.
        host.peer.elements.remove(QStringLiteral("/retry/4 tags"));
        const QString failure = scriptingFailureOf([&] { listed.at(4).tags().get(); });
        QVERIFY2(failure.contains(QLatin1String("Elements")) && failure.contains(QLatin1String("/retry/4"))
                     && failure.contains(QLatin1String("UnknownObject")),
                 qPrintable(failure));
    }

    void tagsOfManyItemsAreReadInOneCallPerThousand()
    {
        PeerHost host(Kastrel4);
        host.peer.servesElementsOfEach = true;
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/many"), 2500);
        for (qsizetype i = 0; i < items.size(); ++i) {
            // A tag of its own, and from the second thousand on one that every item before had.
            const QString own = QStringLiteral("/own/%1").arg(i);
            host.peer.properties.insert(own, {{QStringLiteral("name"), QStringLiteral("own %1").arg(i)}});
            host.peer.elements.insert(items.at(i) + QStringLiteral(" tags"),
                                      i < 1000 ? QStringList {own} : QStringList {own, QStringLiteral("/own/0")});
        }
        host.peer.elements.insert(QStringLiteral("/ noteItems"), items);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        qsizetype index = 0;
        for (const KastrelDatabaseItem &item : kastrel->noteItems().get()) {
            QStringList names;
            for (const KastrelTag &tag : item.tags().get())
                names.append(tag.name());
            QStringList expected {QStringLiteral("own %1").arg(index)};
            if (index++ >= 1000)
                expected.append(QStringLiteral("own 0"));
            QCOMPARE(names, expected);
            item.release();
        }
        QCOMPARE(host.peer.objectsAskedFor(QStringLiteral("ElementsOfEach")), (QList<int> {1000, 1000, 500}));
        // The list of items only; the tags' names come in one call after each list of lists.
        QCOMPARE(host.peer.callCount(QStringLiteral("Elements")), 1);
        // Names already read are not asked for again.
        QCOMPARE(host.peer.objectsAskedFor(QStringLiteral("Properties")), (QList<int> {1000, 1000, 500}));
        const QMap<QString, quint64> calls = backend.roundTripsByMethod();
        QCOMPARE(calls.value(Kastrel4 + QStringLiteral(" ElementsOfEach")), 3u);
        QCOMPARE(calls.value(Kastrel4 + QStringLiteral(" Properties")), 3u);
    }

    void membersOfEveryGroupAndTheirIdentifiersInTwoCalls()
    {
        PeerHost host(Kastrel4);
        host.peer.servesElementsOfEach = true;
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/member"), 90);
        QStringList groups;
        for (int g = 0; g < 30; ++g) {
            const QString group = QStringLiteral("/group/%1").arg(g);
            host.peer.properties.insert(group, {{QStringLiteral("id"), QStringLiteral("G%1").arg(g)}});
            host.peer.elements.insert(group + QStringLiteral(" databaseItems"), items.mid(g * 2, 5));
            groups.append(group);
        }
        host.peer.elements.insert(QStringLiteral("/ folderCollections"), groups);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const quint64 before = backend.roundTripCount();
        QStringList read;
        for (const KastrelFolderCollection &group : kastrel->folderCollections().get()) {
            group.id();
            for (const KastrelDatabaseItem &member : group.databaseItems().get())
                read.append(member.id());
        }
        QCOMPARE(read.size(), 30 * 5);
        QCOMPARE(read.mid(5, 5), (QStringList {"2", "3", "4", "5", "6"}));
        // The groups' list and properties, their lists of members, the members' properties.
        QCOMPARE(backend.roundTripCount() - before, 4u);
        QCOMPARE(host.peer.objectsAskedFor(QStringLiteral("ElementsOfEach")), QList<int> {30});
        QCOMPARE(host.peer.objectsAskedFor(QStringLiteral("Properties")), (QList<int> {30, 63}));
    }

    void aSourceWithoutElementsOfEachIsAskedForItOnce()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/plain"), 40);
        listNotesWithTags(host.peer, items, {QStringLiteral("/t/1")});
        for (int g = 1; g <= 2; ++g)
            host.peer.elements.insert(QStringLiteral("/g/%1 databaseItems").arg(g), items.mid(g, 3));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        for (const KastrelFolderCollection &group : kastrel->folderCollections().get())
            QCOMPARE(group.databaseItems().get().size(), 3);
        for (const KastrelDatabaseItem &item : kastrel->noteItems().get())
            QCOMPARE(item.tags().get().value(0).name(), QStringLiteral("home"));
        QCOMPARE(host.peer.callCount(QStringLiteral("ElementsOfEach")), 1);
        // Lists one at a time, as today: the list of groups, each group's members, the list of
        // notes, each note's tags.
        QTRY_COMPARE(host.peer.callCount(QStringLiteral("Elements")), 1 + 2 + 1 + 40);
    }

    void aFailedElementsOfEachFailsTheRead()
    {
        PeerHost host(Kastrel4);
        fillLibraryWithTaggedNotes(host.peer, QStringLiteral("/failing"), 5, {QStringLiteral("/t/1")});
        host.peer.refusals.insert(QStringLiteral("ElementsOfEach"),
                                  QStringLiteral("org.freedesktop.DBus.Error.Failed"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->noteItems().get();
        const std::optional<KSScriptingException> failure = scriptingExceptionOf([&] { listed.at(0).tags().get(); });
        QVERIFY(failure);
        QCOMPARE(failure->failure(), KSScriptingException::Failure::Other);
        QCOMPARE(failure->reason(),
                 QStringLiteral("ElementsOfEach of element \"tags\" of 5 objects from /failing/0 in "
                                "com.fendwick.kastrel4 failed: org.freedesktop.DBus.Error.Failed: No such object path "
                                "'/'"));
        // Not asked again one list at a time: the source offers the call, and refused it.
        QCOMPARE(host.peer.callCount(QStringLiteral("Elements")), 1);
    }

    void aListedObjectThatCannotBeReadFailsOnlyItsOwnRead()
    {
        PeerHost host(Kastrel4);
        const QStringList items
            = fillLibraryWithTaggedNotes(host.peer, QStringLiteral("/items"), 4, {QStringLiteral("/t/1")});
        host.peer.elements.insert(items.at(2) + QStringLiteral(" tags"), {QStringLiteral("/t/ghost")});
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->noteItems().get();
        // The tags' names read ahead in one call fail for the ghost; the others are read
        // when they are needed, and the ghost's read fails with its own error.
        QCOMPARE(listed.at(0).tags().get().value(0).name(), QStringLiteral("home"));
        QCOMPARE(listed.at(1).tags().get().value(0).name(), QStringLiteral("home"));
        const KastrelTag ghost = listed.at(2).tags().get().value(0);
        const QString failure = scriptingFailureOf([&] { ghost.name(); });
        QVERIFY2(failure.startsWith(QLatin1String("Properties of /t/ghost in com.fendwick.kastrel4 failed: "))
                     && failure.contains(QLatin1String("UnknownObject")),
                 qPrintable(failure));
        QCOMPARE(listed.at(3).tags().get().value(0).name(), QStringLiteral("home"));
        QCOMPARE(host.peer.callCount(QStringLiteral("ElementsOfEach")), 1);
    }

    void releasedItemsAreNotAskedForAhead()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        const QStringList items = addNumberedItems(host.peer, QStringLiteral("/gone"), 3);
        listNotesWithTags(host.peer, items, {});
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> listed = kastrel->noteItems().get();
        listed.at(1).release();
        listed.at(0).tags().get();
        listed.at(2).tags().get();
        QCOMPARE(host.peer.callCount(QStringLiteral("Elements")), 1 + 2);
    }

    void recurringTagsAndLabelsAreReadOnce()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        QStringList items;
        for (int i = 0; i < 50; ++i) {
            const QString item = QStringLiteral("/tagged/%1").arg(i);
            host.peer.properties.insert(
                item,
                {{QStringLiteral("id"), QString::number(i)}, {QStringLiteral("label"), path(QStringLiteral("/l/1"))}});
            host.peer.elements.insert(item + QStringLiteral(" tags"), {QStringLiteral("/t/1"), QStringLiteral("/t/2")});
            items.append(item);
        }
        host.peer.elements.insert(QStringLiteral("/ imageItems"), items);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        for (const KastrelDatabaseItem &item : kastrel->imageItems().get()) {
            QStringList names;
            for (const KastrelTag &tag : item.tags().get())
                names.append(tag.name());
            QCOMPARE(names.join(QLatin1Char(',')), QStringLiteral("home,a,b"));
            QCOMPARE(item.label().value().id(), QStringLiteral("L1"));
        }
        // Elements and Properties of the list, then per item only its tags' Elements; the
        // tags' and the label's properties once.
        QCOMPARE(host.peer.callCount(QStringLiteral("Elements")), 51);
        QCOMPARE(host.peer.callCount(QStringLiteral("Properties")), 3);
    }

    void exportOfManyItemsStaysWithinThreeRoundTripsEach()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        QStringList items;
        const int count = 300;
        for (int i = 0; i < count; ++i) {
            const QString item = QStringLiteral("/budget/%1").arg(i);
            host.peer.properties.insert(item,
                                        {{QStringLiteral("id"), QString::number(i)},
                                         {QStringLiteral("name"), QStringLiteral("Note %1").arg(i)},
                                         {QStringLiteral("comments"), QStringLiteral("c")},
                                         {QStringLiteral("creationDate"), 1.0},
                                         {QStringLiteral("modificationDate"), 2.0},
                                         {QStringLiteral("encrypted"), false},
                                         {QStringLiteral("label"), path(QStringLiteral("/l/%1").arg(1 + i % 2))}});
            host.peer.elements.insert(item + QStringLiteral(" tags"), {QStringLiteral("/t/%1").arg(1 + i % 2)});
            host.peer.exports.insert(item, QStringLiteral("/tmp/Note %1.rtf").arg(i));
            items.append(item);
        }
        host.peer.elements.insert(QStringLiteral("/ noteItems"), items);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const quint64 before = backend.roundTripCount();
        // What an item export reads: the list and its count, then per item the export, its
        // properties, its tags' names, its label's id.
        QCOMPARE(kastrel->noteItems().count(), quint32(count));
        QCOMPARE(exportNotesAsTheItemStageDoes(*kastrel, QDir::tempPath()), count);
        const quint64 trips = backend.roundTripCount() - before;
        QVERIFY2(trips <= quint64(3 * count), qPrintable(QString::number(trips)));
        QVERIFY2(trips <= quint64(2 * count + 10), qPrintable(QString::number(trips)));
    }

    void exportAnswersThePathOrNothing()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        host.peer.exports.insert(QStringLiteral("/i/0"), QStringLiteral("/tmp/export/Item 0.rtfd"));
        host.peer.exports.insert(QStringLiteral("/i/4"), QString(QLatin1String("")));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const KastrelDatabaseItem note = kastrel->noteItems().get().value(0);
        QCOMPARE(kastrel->exportTo({note}, QStringLiteral("/tmp/export")), QStringLiteral("/tmp/export/Item 0.rtfd"));
        QVERIFY(kastrel->exportTo(kastrel->imageItems().get(), QStringLiteral("/tmp/export")).isNull());

        QMutexLocker lock(&host.peer.mutex);
        const QDBusMessage call = host.peer.received.last();
        QCOMPARE(call.member(), QStringLiteral("Export"));
        QCOMPARE(call.signature(), QStringLiteral("aos"));
        QCOMPARE(qdbus_cast<QList<QDBusObjectPath>>(call.arguments().value(0)),
                 QList<QDBusObjectPath> {QDBusObjectPath(QStringLiteral("/i/4"))});
        QCOMPARE(call.arguments().value(1).toString(), QStringLiteral("/tmp/export"));
    }

    void errorRepliesFailWithWhatWasAsked()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const KastrelDatabaseItem ghost(kastrel->scripting(), QStringLiteral("/ghost/1"), KastrelItemKind::Note);
        const QString failure = scriptingFailureOf([&] { ghost.name(); });
        QVERIFY2(failure.contains(QLatin1String("Properties")) && failure.contains(QLatin1String("/ghost/1"))
                     && failure.contains(Kastrel4) && failure.contains(QLatin1String("UnknownObject")),
                 qPrintable(failure));
        const QString countFailure = scriptingFailureOf([&] { ghost.tags().count(); });
        QVERIFY2(countFailure.contains(QLatin1String("Count")) && countFailure.contains(QLatin1String("\"tags\"")),
                 qPrintable(countFailure));
        QVERIFY(scriptingFailureOf([&] {
                    kastrel->exportTo({ghost}, QDir::tempPath());
                }).contains(QLatin1String("Export")));
    }

    void repliesOfTheWrongTypeFail_data()
    {
        QTest::addColumn<QString>("member");
        QTest::addColumn<QVariantList>("reply");
        QTest::newRow("count as string") << QStringLiteral("Count") << QVariantList {QStringLiteral("3")};
        QTest::newRow("count as int") << QStringLiteral("Count") << QVariantList {3};
        QTest::newRow("elements as strings")
            << QStringLiteral("Elements") << QVariantList {QStringList {QStringLiteral("/i/0")}};
        QTest::newRow("elements with two answers")
            << QStringLiteral("Elements") << QVariantList {QVariant::fromValue(QList<QDBusObjectPath>()), 1};
        QTest::newRow("properties as one dictionary")
            << QStringLiteral("Properties") << QVariantList {QVariantMap {{QStringLiteral("id"), QStringLiteral("x")}}};
        QTest::newRow("properties of too few objects")
            << QStringLiteral("Properties") << QVariantList {QVariant::fromValue(QList<QVariantMap>())};
        QTest::newRow("properties of too many objects")
            << QStringLiteral("Properties") << QVariantList {QVariant::fromValue(QList<QVariantMap> {{}, {}})};
        QTest::newRow("export as object path")
            << QStringLiteral("Export") << QVariantList {path(QStringLiteral("/tmp/x"))};
        QTest::newRow("export without answer") << QStringLiteral("Export") << QVariantList {};
    }

    void repliesOfTheWrongTypeFail()
    {
        QFETCH(QString, member);
        QFETCH(QVariantList, reply);
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        host.peer.replacements.insert(member, reply);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const KastrelDatabaseItem note(kastrel->scripting(), QStringLiteral("/i/0"), KastrelItemKind::Note);
        const QString failure = scriptingFailureOf([&] {
            if (member == QLatin1String("Count"))
                kastrel->noteItems().count();
            else if (member == QLatin1String("Elements"))
                kastrel->noteItems().get();
            else if (member == QLatin1String("Properties"))
                note.id();
            else
                kastrel->exportTo({note}, QDir::tempPath());
        });
        QVERIFY2(failure.contains(member) && failure.contains(Kastrel4), qPrintable(failure));
    }

    void propertiesOfTheWrongTypeFail()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        host.peer.properties[QStringLiteral("/i/0")] = {{QStringLiteral("name"), 7},
                                                        {QStringLiteral("creationDate"), QStringLiteral("today")},
                                                        {QStringLiteral("label"), QStringLiteral("/l/1")},
                                                        {QStringLiteral("encrypted"), 1u},
                                                        {QStringLiteral("comments"), QStringList {}}};
        host.peer.properties[QStringLiteral("/tc/1")].insert(QStringLiteral("tagCollectionBehavior"), 5);
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const KastrelDatabaseItem note = kastrel->noteItems().get().value(0);
        QVERIFY(scriptingFailureOf([&] { note.name(); }).contains(QLatin1String("\"name\" of /i/0")));
        QVERIFY(!scriptingFailureOf([&] { note.creationDate(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { note.label(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { note.encrypted(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { note.comments(); }).isNull());
        QVERIFY(
            !scriptingFailureOf([&] { kastrel->tagCollections().get().value(0).tagCollectionBehavior(); }).isNull());
    }

    void vanishedApplicationFails()
    {
        auto host = std::make_unique<PeerHost>(Kastrel4);
        fillLibrary(host->peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> notes = kastrel->noteItems().get();
        host->quit();
        const QString failure = scriptingFailureOf([&] { kastrel->exportTo(notes, QDir::tempPath()); });
        QVERIFY2(failure.contains(Kastrel4) && failure.contains(QLatin1String("ServiceUnknown")), qPrintable(failure));
        QVERIFY(!scriptingFailureOf([&] { kastrel->labels().count(); }).isNull());
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4));
    }

    // A program on its way out takes its objects off the bus before it leaves it; a call that
    // comes in between is refused as if the object were not there. Whether the refusing
    // connection then leaves tells that apart from a real refusal.
    void refusalOfAnApplicationThatThenLeavesIsAQuit()
    {
        auto host = std::make_unique<PeerHost>(Kastrel4);
        fillLibrary(host->peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> notes = kastrel->noteItems().get();
        host->peer.refusals.insert(QStringLiteral("Export"),
                                   QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"));
        const std::optional<KSScriptingException> failure
            = scriptingExceptionOf([&] { kastrel->exportTo(notes, QDir::tempPath()); });
        QVERIFY(failure);
        QCOMPARE(failure->failure(), KSScriptingException::Failure::Other);
        QVERIFY2(failure->answeredBy().startsWith(QLatin1Char(':')), qPrintable(failure->answeredBy()));
        QVERIFY(failure->reason().contains(QLatin1String("org.freedesktop.DBus.Error.UnknownObject")));

        // It leaves a moment after the refusal, while the failure is being settled.
        std::optional<KSScriptingException::Failure> settled;
        std::unique_ptr<QThread> settling(QThread::create([&] { settled = backend.settledFailure(*failure); }));
        settling->start();
        QThread::msleep(300);
        host->quit();
        QVERIFY(settling->wait(30000));
        QCOMPARE(settled, std::optional(KSScriptingException::Failure::Quit));
    }

    void refusalOfAnApplicationThatStaysIsNoQuit()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        const QList<KastrelDatabaseItem> notes = kastrel->noteItems().get();
        host.peer.refusals.insert(QStringLiteral("Export"), QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"));
        const std::optional<KSScriptingException> failure
            = scriptingExceptionOf([&] { kastrel->exportTo(notes, QDir::tempPath()); });
        QVERIFY(failure);
        QCOMPARE(host.peer.refusedCalls.load(), 1);
        QCOMPARE(backend.settledFailure(*failure), KSScriptingException::Failure::Other);
        // Failures the bus itself tells are settled already.
        const KSScriptingException gone(QStringLiteral("gone"), KSScriptingException::Failure::Quit, Kastrel4);
        QCOMPARE(backend.settledFailure(gone), KSScriptingException::Failure::Quit);
        const KSScriptingException wrongType(QStringLiteral("wrong type"));
        QCOMPARE(backend.settledFailure(wrongType), KSScriptingException::Failure::Other);
    }

    void drivesTheTarget()
    {
        PeerHost host(Nortavel);
        host.peer.properties.insert(QStringLiteral("/"), {{QStringLiteral("version"), QStringLiteral("3.5.2")}});
        DBusScriptingBackend backend;
        const auto nortavel = NortavelApplication::applicationWithBundleIdentifier(backend, Nortavel);
        QVERIFY(nortavel);
        QCOMPARE(nortavel->version(), QStringLiteral("3.5.2"));
        nortavel->activate();
        NortavelImportOptions options;
        options.withRating = 0;
        nortavel->importFiles({QStringLiteral("/tmp/Kastrel/Kastrel.nvlibxml")}, KSNortavelImportMethodCopy, options);

        QMutexLocker lock(&host.peer.mutex);
        QCOMPARE(
            host.peer.calls,
            (QStringList {QStringLiteral("Properties"), QStringLiteral("Activate"), QStringLiteral("ImportFiles")}));
        const QDBusMessage import = host.peer.received.last();
        QCOMPARE(import.interface(), NortavelInterface);
        QCOMPARE(import.path(), QStringLiteral("/"));
        QCOMPARE(import.signature(), QStringLiteral("asua{sv}"));
        QCOMPARE(import.arguments().value(0).toStringList(),
                 QStringList {QStringLiteral("/tmp/Kastrel/Kastrel.nvlibxml")});
        QCOMPARE(import.arguments().value(1).toUInt(), 0x54666370u);
        const QVariantMap sent = qdbus_cast<QVariantMap>(import.arguments().value(2));
        QCOMPARE(sent.keys(), QStringList {QStringLiteral("withRating")});
        QCOMPARE(sent.value(QStringLiteral("withRating")).metaType(), QMetaType::fromType<int>());
        QCOMPARE(sent.value(QStringLiteral("withRating")).toInt(), 0);
    }

    void targetWithoutVersionOrWithAWrongOne()
    {
        PeerHost host(Nortavel);
        host.peer.properties.insert(QStringLiteral("/"), {});
        DBusScriptingBackend backend;
        const auto nortavel = NortavelApplication::applicationWithBundleIdentifier(backend, Nortavel);
        QVERIFY(nortavel->version().isNull());
        {
            QMutexLocker lock(&host.peer.mutex);
            host.peer.properties.insert(QStringLiteral("/"), {{QStringLiteral("version"), 35}});
        }
        QVERIFY(scriptingFailureOf([&] { nortavel->version(); }).contains(QLatin1String("version")));
        {
            QMutexLocker lock(&host.peer.mutex);
            host.peer.replacements.insert(QStringLiteral("Activate"), {true});
        }
        QVERIFY(scriptingFailureOf([&] { nortavel->activate(); }).contains(QLatin1String("Activate")));
    }

    void worksFromAWorkerThread()
    {
        PeerHost host(Kastrel4);
        fillLibrary(host.peer, QStringLiteral("2.1"));
        DBusScriptingBackend backend;
        QStringList names;
        QString failure;
        std::unique_ptr<QThread> worker(QThread::create([&] {
            failure = scriptingFailureOf([&] {
                const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
                for (const KastrelLabel &label : kastrel->labels().get())
                    names.append(label.name());
            });
        }));
        worker->start();
        QVERIFY(worker->wait());
        QVERIFY2(failure.isNull(), qPrintable(failure));
        QCOMPARE(names, (QStringList {QStringLiteral("Red"), QStringLiteral("Grey")}));
    }

    // The source stand-in, installed and started by the bus on the first call.
    void standInIsFoundStartedAndRead()
    {
        const QString program = standInPath(QStringLiteral("kastrel-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the source stand-in is not built");
        const QString library = standInLibrary();
        QCOMPARE(runToCompletion(program,
                                 {QStringLiteral("install"), QStringLiteral("--library"), library,
                                  QStringLiteral("--version"), QStringLiteral("2.1.3")}),
                 0);
        reloadSessionBusConfiguration();

        QVERIFY(!ApplicationLocator::absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(!bus.interface()->isServiceRegistered(Kastrel4).value());
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, Kastrel4);
        QVERIFY(kastrel);
        QCOMPARE(kastrel->version(), QStringLiteral("2.1.3"));
        QVERIFY(bus.interface()->isServiceRegistered(Kastrel4).value());

        const QList<KastrelLabel> labels = kastrel->labels().get();
        QCOMPARE(labels.size(), 3);
        QCOMPARE(labels[0].id(), QStringLiteral("L1"));
        QCOMPARE(labels[0].name(), QStringLiteral("Important"));
        QCOMPARE(labels[0].color(), QColor(Qt::red));
        QCOMPARE(labels[1].color(), QColor::fromRgbF(0.5f, 0.5f, 0.5f, 1.0f));
        QCOMPARE(labels[2].color(), QColor(255, 165, 0));

        const QList<KastrelTagCollection> collections = kastrel->tagCollections().get();
        QCOMPARE(collections.size(), 3);
        QCOMPARE(collections[0].id(), QStringLiteral("T1"));
        QCOMPARE(collections[0].name(), QStringLiteral("Urgent"));
        QCOMPARE(collections[0].comments(), QStringLiteral("all of them"));
        QCOMPARE(collections[0].tagCollectionBehavior(), std::optional<quint32>(KSTagCollectionBehaviorMatchAll));
        QCOMPARE(collections[1].tagCollectionBehavior(), std::optional<quint32>(KSFourCharCode("TgAn")));
        QCOMPARE(collections[2].tagCollectionBehavior(), std::nullopt);
        QCOMPARE(collections[0].tags().count(), 2u);
        const QList<KastrelTag> tags = collections[0].tags().get();
        QCOMPARE(tags[0].name(), QStringLiteral("urgent"));
        QCOMPARE(tags[1].name(), QStringLiteral("work"));
        QVERIFY(collections[2].tags().get().isEmpty());

        const QList<KastrelFolderCollection> groups = kastrel->folderCollections().get();
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups[0].id(), QStringLiteral("G1"));
        QCOMPARE(groups[0].name(), QStringLiteral("Work"));
        QCOMPARE(groups[0].comments(), QStringLiteral("office"));
        QCOMPARE(groups[1].comments(), QString(QLatin1String("")));
        QStringList members;
        for (const KastrelDatabaseItem &member : groups[0].databaseItems().get())
            members.append(member.id());
        QCOMPARE(members, (QStringList {QStringLiteral("N1"), QStringLiteral("I1")}));
        QVERIFY(groups[1].databaseItems().get().isEmpty());
        QVERIFY(!scriptingFailureOf([&] { groups[0].items().get(); }).isNull());

        const QList<KastrelDatabaseItem> notes = kastrel->noteItems().get();
        QCOMPARE(kastrel->noteItems().count(), 2u);
        QCOMPARE(notes.size(), 2);
        QCOMPARE(notes[0].kind(), KastrelItemKind::Note);
        QCOMPARE(notes[0].id(), QStringLiteral("N1"));
        QCOMPARE(notes[0].name(), QStringLiteral("Agenda"));
        QCOMPARE(notes[0].comments(), QStringLiteral("see me"));
        QCOMPARE(notes[0].creationDate(), QDateTime(QDate(2019, 5, 1), QTime(10, 0), Qt::UTC));
        QCOMPARE(notes[0].modificationDate(), QDateTime::fromMSecsSinceEpoch(1588000000500, Qt::UTC));
        QCOMPARE(notes[0].label().value().id(), QStringLiteral("L2"));
        QVERIFY(notes[0].respondsToEncrypted());
        QCOMPARE(notes[0].encrypted(), std::optional<bool>(false));
        QVERIFY(!notes[0].respondsToPassword());
        QStringList noteTags;
        for (const KastrelTag &tag : notes[0].tags().get())
            noteTags.append(tag.name());
        QCOMPARE(noteTags, (QStringList {QStringLiteral("urgent"), QStringLiteral("home")}));
        // The tag "urgent" of the note and of the collection is one object.
        QCOMPARE(notes[0].tags().get().value(0).objectPath(), tags[0].objectPath());

        // A note with nothing but an id and a body: every other property is absent.
        QCOMPARE(notes[1].id(), QStringLiteral("N2"));
        QVERIFY(notes[1].name().isNull());
        QVERIFY(notes[1].creationDate().isNull());
        QVERIFY(notes[1].modificationDate().isNull());
        QVERIFY(!notes[1].label());
        QVERIFY(!notes[1].respondsToEncrypted());
        QVERIFY(notes[1].location().isNull());
        QVERIFY(notes[1].tags().get().isEmpty());

        const KastrelDatabaseItem bookmark = kastrel->bookmarkItems().get().value(0);
        QCOMPARE(bookmark.kind(), KastrelItemKind::Bookmark);
        QCOMPARE(bookmark.location(), QStringLiteral("https://example.org/"));
        QCOMPARE(kastrel->serialNumberItems().get().value(0).name(), QStringLiteral("Key"));
        const KastrelDatabaseItem password = kastrel->passwordItems().get().value(0);
        QVERIFY(password.respondsToPassword());
        QVERIFY(!password.respondsToEncrypted());
        const KastrelDatabaseItem image = kastrel->imageItems().get().value(0);
        QCOMPARE(image.encrypted(), std::optional<bool>(true));
        QCOMPARE(image.label().value().name(), QStringLiteral("Important"));
        QCOMPARE(kastrel->pdfArchiveItems().get().value(0).id(), QStringLiteral("D1"));
        QCOMPARE(kastrel->webArchiveItems().get().value(0).id(), QStringLiteral("W1"));

        // Export: the written file, or nothing.
        QTemporaryDir folder;
        const QString written = kastrel->exportTo({notes[0]}, folder.path());
        QVERIFY2(written.startsWith(folder.path() + QLatin1Char('/')), qPrintable(written));
        QVERIFY(QFileInfo::exists(written));
        const QString again = kastrel->exportTo({notes[0]}, folder.path());
        QVERIFY(again != written && QFileInfo::exists(again));
        QVERIFY(kastrel->exportTo(kastrel->webArchiveItems().get(), folder.path()).isNull());
        QVERIFY(kastrel->exportTo({bookmark}, folder.path()).isNull());
        QVERIFY(!scriptingFailureOf([&] { kastrel->exportTo(notes, folder.path()); }).isNull());

        // An object that is not (or no longer) there.
        const KastrelDatabaseItem vanished(kastrel->scripting(), QStringLiteral("/items/999"), KastrelItemKind::Note);
        const QString failure = scriptingFailureOf([&] { vanished.name(); });
        QVERIFY2(failure.contains(QLatin1String("/items/999")) && failure.contains(QLatin1String("UnknownObject")),
                 qPrintable(failure));
        QVERIFY(!scriptingFailureOf([&] { vanished.tags().get(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { kastrel->exportTo({vanished}, folder.path()); }).isNull());
    }

    void standInOfMajorVersionOneListsItems()
    {
        const QString program = standInPath(QStringLiteral("kastrel-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the source stand-in is not built");
        const QString library = standInLibrary();
        const QString identifier = QStringLiteral("com.fendwick.kastrel");
        ServingStandIn standIn(program,
                               {QStringLiteral("serve"), QStringLiteral("--library"), library,
                                QStringLiteral("--identifier"), identifier, QStringLiteral("--version"),
                                QStringLiteral("1.6")},
                               identifier);
        QVERIFY(standIn.isReady());
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, identifier);
        QVERIFY(kastrel);
        QCOMPARE(kastrel->version(), QStringLiteral("1.6"));
        const KastrelFolderCollection group = kastrel->folderCollections().get().value(0);
        QCOMPARE(group.items().count(), 2u);
        QCOMPARE(group.items().get().value(1).id(), QStringLiteral("I1"));
        QVERIFY(!scriptingFailureOf([&] { group.databaseItems().get(); }).isNull());
        for (const KastrelTagCollection &collection : kastrel->tagCollections().get())
            QCOMPARE(collection.tagCollectionBehavior(), std::nullopt);
    }

    void standInWithoutVersionAnswersNone()
    {
        const QString program = standInPath(QStringLiteral("kastrel-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the source stand-in is not built");
        const QString library = standInLibrary();
        const QString identifier = QStringLiteral("com.fendwick.kastrel.unversioned");
        ServingStandIn standIn(
            program,
            {QStringLiteral("serve"), QStringLiteral("--library"), library, QStringLiteral("--identifier"), identifier},
            identifier);
        QVERIFY(standIn.isReady());
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, identifier);
        QVERIFY(kastrel->version().isNull());
    }

    void standInThatQuitsDuringAnExportFails()
    {
        const QString program = standInPath(QStringLiteral("kastrel-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the source stand-in is not built");
        QTemporaryDir library;
        writeTestFile(library.path() + QStringLiteral("/library.json"),
                      QByteArrayLiteral("{\"items\": [{\"kind\": \"serialNumber\", \"id\": \"S1\", \"name\": \"Key\","
                                        " \"text\": \"x\", \"export\": \"quits\"}]}"));
        const QString identifier = QStringLiteral("com.fendwick.kastrel.quitting");
        ServingStandIn standIn(program,
                               {QStringLiteral("serve"), QStringLiteral("--library"), library.path(),
                                QStringLiteral("--identifier"), identifier, QStringLiteral("--version"),
                                QStringLiteral("2.0")},
                               identifier);
        QVERIFY(standIn.isReady());
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, identifier);
        const QList<KastrelDatabaseItem> items = kastrel->serialNumberItems().get();
        QCOMPARE(items.size(), 1);
        QTemporaryDir folder;
        const QString failure = scriptingFailureOf([&] { kastrel->exportTo(items, folder.path()); });
        QVERIFY2(failure.contains(QLatin1String("Export")) && failure.contains(identifier), qPrintable(failure));
        QVERIFY(standIn.process().waitForFinished(-1));
        QVERIFY(!scriptingFailureOf([&] { kastrel->serialNumberItems().count(); }).isNull());
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(backend, identifier));
    }

    void standInLibraryExportStaysWithinThreeRoundTripsPerItem()
    {
        const QString program = standInPath(QStringLiteral("kastrel-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the source stand-in is not built");
        QTemporaryDir library;
        QJsonArray items;
        QJsonArray labels;
        for (int i = 0; i < 3; ++i)
            labels.append(QJsonObject {{QStringLiteral("id"), QStringLiteral("L%1").arg(i)},
                                       {QStringLiteral("name"), QStringLiteral("Label %1").arg(i)},
                                       {QStringLiteral("color"), QStringLiteral("gray 0.5 1")}});
        const int count = 200;
        for (int i = 0; i < count; ++i)
            items.append(
                QJsonObject {{QStringLiteral("kind"), QStringLiteral("note")},
                             {QStringLiteral("id"), QStringLiteral("N%1").arg(i)},
                             {QStringLiteral("name"), QStringLiteral("Note %1").arg(i)},
                             {QStringLiteral("text"), QStringLiteral("body %1").arg(i)},
                             {QStringLiteral("creationDate"), 1000.0 * i},
                             {QStringLiteral("label"), QStringLiteral("L%1").arg(i % 3)},
                             {QStringLiteral("tags"),
                              QJsonArray {QStringLiteral("t%1").arg(i % 5), QStringLiteral("t%1").arg(i % 7)}}});
        writeTestFile(
            library.path() + QStringLiteral("/library.json"),
            QJsonDocument(QJsonObject {{QStringLiteral("labels"), labels}, {QStringLiteral("items"), items}}).toJson());
        const QString identifier = QStringLiteral("com.fendwick.kastrel.budget");
        ServingStandIn standIn(program,
                               {QStringLiteral("serve"), QStringLiteral("--library"), library.path(),
                                QStringLiteral("--identifier"), identifier, QStringLiteral("--version"),
                                QStringLiteral("2.0")},
                               identifier);
        QVERIFY(standIn.isReady());
        DBusScriptingBackend backend;
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(backend, identifier);
        const quint64 before = backend.roundTripCount();
        QTemporaryDir folder;
        for (const KastrelLabel &label : kastrel->labels().get())
            label.color();
        QCOMPARE(kastrel->noteItems().count(), quint32(count));
        QCOMPARE(exportNotesAsTheItemStageDoes(*kastrel, folder.path()), count);
        const quint64 trips = backend.roundTripCount() - before;
        QVERIFY2(trips <= quint64(3 * count), qPrintable(QString::number(trips)));
    }

    void targetStandInTakesTheImportCommand()
    {
        const QString program = standInPath(QStringLiteral("nortavel3-standin"));
        if (!QFileInfo(program).isExecutable())
            QSKIP("the target stand-in is not built");
        QTemporaryDir data;
        ServingStandIn standIn(program,
                               {QStringLiteral("serve"), QStringLiteral("--version"), QStringLiteral("3.5.1"),
                                QStringLiteral("--data"), data.path()},
                               Nortavel);
        QVERIFY(standIn.isReady());
        DBusScriptingBackend backend;
        const auto nortavel = NortavelApplication::applicationWithBundleIdentifier(backend, Nortavel);
        QVERIFY(nortavel);
        QCOMPARE(nortavel->version(), QStringLiteral("3.5.1"));
        nortavel->activate();
        NortavelImportOptions options;
        options.withRating = 0;
        // A library file that is not there is refused by the application, not by the call.
        nortavel->importFiles({data.filePath(QStringLiteral("missing/Kastrel.nvlibxml"))}, KSNortavelImportMethodCopy,
                              options);
        QCOMPARE(nortavel->version(), QStringLiteral("3.5.1"));
        // Arguments outside the command's rules are D-Bus errors.
        QVERIFY(scriptingFailureOf([&] {
                    nortavel->importFiles({QStringLiteral("relative.nvlibxml")}, KSNortavelImportMethodCopy, options);
                }).contains(QLatin1String("ImportFiles")));
        QVERIFY(!scriptingFailureOf([&] {
                     nortavel->importFiles({data.filePath(QStringLiteral("x.nvlibxml"))}, KSFourCharCode("Tfmv"),
                                           options);
                 }).isNull());
    }
};

QTEST_GUILESS_MAIN(TestDBusScripting)
#include "TestDBusScripting.moc"
