// The source stand-in over the session bus: every class, element and property it serves,
// absent values, what each version offers, the lists of many containers in one call, exports
// and their faults, a source that handles one call at a time, and its installation as an
// activatable application.
#include "TestConfig.h"
#include "TestSupport.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>
#include <limits>
#include <memory>

using PropertyList = QList<QVariantMap>;
Q_DECLARE_METATYPE(PropertyList)

namespace {

const QString kInterface = QStringLiteral("com.fendwick.Kastrel.Scripting");

QString standinExecutable()
{
    return QStringLiteral(KI_BIN_DIR "/kastrel-standin");
}

QString libraryPath()
{
    return TestSupport::testDataPath(QStringLiteral("standins/kastrel-library"));
}

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QDBusObjectPath objectPath(const QString &path)
{
    return QDBusObjectPath(path);
}

} // namespace

// One running stand-in, started by hand and ended with the test function.
class Standin
{
public:
    bool start(const QString &identifier, const QStringList &extraArguments, const QString &library = libraryPath())
    {
        m_identifier = identifier;
        return TestSupport::startStandin(m_process, standinExecutable(),
                                         QStringList {QStringLiteral("serve"), QStringLiteral("--library"), library,
                                                      QStringLiteral("--identifier"), identifier}
                                             + extraArguments);
    }

    ~Standin()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            m_process.waitForFinished();
        }
    }

    QProcess &process() { return m_process; }

    QDBusMessage call(const QString &method, const QVariantList &arguments = {}) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(m_identifier, QStringLiteral("/"), kInterface, method);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    }

    PropertyList properties(const QStringList &paths) const
    {
        QList<QDBusObjectPath> objects;
        for (const QString &path : paths)
            objects << objectPath(path);
        const QDBusMessage reply = call(QStringLiteral("Properties"), {QVariant::fromValue(objects)});
        if (reply.type() != QDBusMessage::ReplyMessage)
            return {};
        return qdbus_cast<PropertyList>(reply.arguments().value(0));
    }

    QVariantMap propertiesOf(const QString &path) const { return properties({path}).value(0); }

    QDBusMessage elementsOfEach(const QStringList &containers, const QString &element) const
    {
        QList<QDBusObjectPath> objects;
        for (const QString &path : containers)
            objects << objectPath(path);
        return call(QStringLiteral("ElementsOfEach"), {QVariant::fromValue(objects), element});
    }

    QStringList elements(const QString &container, const QString &element) const
    {
        const QDBusMessage reply
            = call(QStringLiteral("Elements"), {QVariant::fromValue(objectPath(container)), element});
        QStringList paths;
        if (reply.type() != QDBusMessage::ReplyMessage)
            return {QStringLiteral("error: ") + reply.errorMessage()};
        for (const QDBusObjectPath &path : qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0)))
            paths << path.path();
        return paths;
    }

    // The object of the given class whose "id" is `id`, found through the application's element.
    QString itemWithId(const QString &element, const QString &id) const
    {
        const QStringList paths = elements(QStringLiteral("/"), element);
        const PropertyList dictionaries = properties(paths);
        for (int i = 0; i < dictionaries.size(); ++i) {
            if (dictionaries.at(i).value(QStringLiteral("id")).toString() == id)
                return paths.at(i);
        }
        return QString();
    }

    QString exportItem(const QString &item, const QString &folder, QDBusMessage *replyOut = nullptr) const
    {
        const QDBusMessage reply
            = call(QStringLiteral("Export"), {QVariant::fromValue(QList<QDBusObjectPath> {objectPath(item)}), folder});
        if (replyOut)
            *replyOut = reply;
        return reply.arguments().value(0).toString();
    }

private:
    QString m_identifier;
    QProcess m_process;
};

class TestKastrelStandin : public QObject
{
    Q_OBJECT

private:
    // Runs the stand-in to its end (install, or a start that fails) and answers its exit code.
    static int runStandin(const QStringList &arguments, QByteArray *standardError = nullptr)
    {
        QProcess process;
        process.start(standinExecutable(), arguments);
        if (!process.waitForFinished(30000))
            return -1;
        if (standardError)
            *standardError = process.readAllStandardError();
        return process.exitCode();
    }

    std::unique_ptr<Standin> startStandin(const QStringList &arguments,
                                          const QString &identifier = QStringLiteral("com.fendwick.kastrel4"),
                                          const QString &library = libraryPath())
    {
        auto standin = std::make_unique<Standin>();
        if (!standin->start(identifier, arguments, library))
            return nullptr;
        return standin;
    }

private slots:
    void initTestCase()
    {
        qDBusRegisterMetaType<PropertyList>();
        QVERIFY2(QFileInfo::exists(standinExecutable()), qPrintable(standinExecutable()));
    }

    void applicationAnswersItsVersion()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.5.1")});
        QVERIFY(standin);
        const QVariantMap application = standin->propertiesOf(QStringLiteral("/"));
        QCOMPARE(application.value(QStringLiteral("version")).toString(), QStringLiteral("2.5.1"));
        QCOMPARE(application.size(), 1);
    }

    void applicationWithoutVersionLeavesItOut()
    {
        auto standin = startStandin({});
        QVERIFY(standin);
        const PropertyList dictionaries = standin->properties({QStringLiteral("/")});
        QCOMPARE(dictionaries.size(), 1);
        QVERIFY(dictionaries.first().isEmpty());
    }

    void applicationListsEveryElement_data()
    {
        QTest::addColumn<QString>("element");
        QTest::addColumn<int>("count");
        QTest::newRow("folderCollections") << "folderCollections" << 2;
        QTest::newRow("tagCollections") << "tagCollections" << 3;
        QTest::newRow("labels") << "labels" << 4;
        QTest::newRow("noteItems") << "noteItems" << 5;
        QTest::newRow("bookmarkItems") << "bookmarkItems" << 3;
        QTest::newRow("serialNumberItems") << "serialNumberItems" << 1;
        QTest::newRow("passwordItems") << "passwordItems" << 1;
        QTest::newRow("imageItems") << "imageItems" << 2;
        QTest::newRow("pdfArchiveItems") << "pdfArchiveItems" << 2;
        QTest::newRow("webArchiveItems") << "webArchiveItems" << 1;
    }

    void applicationListsEveryElement()
    {
        QFETCH(QString, element);
        QFETCH(int, count);
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QDBusMessage countReply
            = standin->call(QStringLiteral("Count"), {QVariant::fromValue(objectPath(QStringLiteral("/"))), element});
        QCOMPARE(countReply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(countReply.signature(), QStringLiteral("u"));
        QCOMPARE(countReply.arguments().value(0).toUInt(), uint(count));
        const QStringList paths = standin->elements(QStringLiteral("/"), element);
        QCOMPARE(paths.size(), count);
        QCOMPARE(standin->properties(paths).size(), count);
    }

    void elementsKeepLibraryOrder()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QStringList ids;
        for (const QVariantMap &note : standin->properties(standin->elements(QStringLiteral("/"), "noteItems")))
            ids << note.value(QStringLiteral("id")).toString();
        QCOMPARE(ids, (QStringList {"N-rtf", "N-plain", "N-package", "N-unnamed", "N-empty"}));
    }

    void replySignaturesFollowTheContract()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QDBusMessage properties = standin->call(QStringLiteral("Properties"),
                                                      {QVariant::fromValue(QList<QDBusObjectPath> {objectPath("/")})});
        QCOMPARE(properties.signature(), QStringLiteral("aa{sv}"));
        const QDBusMessage elements = standin->call(QStringLiteral("Elements"),
                                                    {QVariant::fromValue(objectPath("/")), QStringLiteral("labels")});
        QCOMPARE(elements.signature(), QStringLiteral("ao"));
    }

    void folderCollectionsListItemsAtVersionOne()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("1.5")});
        QVERIFY(standin);
        const QStringList folders = standin->elements(QStringLiteral("/"), QStringLiteral("folderCollections"));
        QCOMPARE(folders.size(), 2);
        const QVariantMap work = standin->propertiesOf(folders.first());
        QCOMPARE(work.value(QStringLiteral("id")).toString(), QStringLiteral("G-work"));
        QCOMPARE(work.value(QStringLiteral("name")).toString(), QStringLiteral("Work"));
        QCOMPARE(work.value(QStringLiteral("comments")).toString(), QStringLiteral("Work things"));
        QStringList memberIds;
        for (const QVariantMap &item : standin->properties(standin->elements(folders.first(), "items")))
            memberIds << item.value(QStringLiteral("id")).toString();
        QCOMPARE(memberIds, (QStringList {"N-rtf", "I-photo", "B-web"}));
        QVERIFY(standin->elements(folders.last(), QStringLiteral("items")).isEmpty());
        QCOMPARE(standin->propertiesOf(folders.last()).value(QStringLiteral("comments")).toString(), QString());

        const QDBusMessage refused
            = standin->call(QStringLiteral("Elements"),
                            {QVariant::fromValue(objectPath(folders.first())), QStringLiteral("databaseItems")});
        QCOMPARE(refused.type(), QDBusMessage::ErrorMessage);
        const QDBusMessage refusedCount
            = standin->call(QStringLiteral("Count"),
                            {QVariant::fromValue(objectPath(folders.first())), QStringLiteral("databaseItems")});
        QCOMPARE(refusedCount.type(), QDBusMessage::ErrorMessage);
    }

    void folderCollectionsListDatabaseItemsFromVersionTwo()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("4.1.3")});
        QVERIFY(standin);
        const QStringList folders = standin->elements(QStringLiteral("/"), QStringLiteral("folderCollections"));
        QCOMPARE(standin->elements(folders.first(), QStringLiteral("databaseItems")).size(), 3);
        const QDBusMessage refused = standin->call(
            QStringLiteral("Elements"), {QVariant::fromValue(objectPath(folders.first())), QStringLiteral("items")});
        QCOMPARE(refused.type(), QDBusMessage::ErrorMessage);
    }

    void tagCollectionBehaviorOnlyFromVersionTwo()
    {
        auto versionOne = startStandin({QStringLiteral("--version"), QStringLiteral("1.9")});
        QVERIFY(versionOne);
        const QStringList collections = versionOne->elements(QStringLiteral("/"), QStringLiteral("tagCollections"));
        for (const QVariantMap &collection : versionOne->properties(collections))
            QVERIFY(!collection.contains(QStringLiteral("tagCollectionBehavior")));
        versionOne.reset();

        auto versionTwo = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(versionTwo);
        const PropertyList dictionaries = versionTwo->properties(collections);
        QCOMPARE(dictionaries.size(), 3);
        const QVariant all = dictionaries.at(0).value(QStringLiteral("tagCollectionBehavior"));
        QCOMPARE(all.typeId(), QMetaType::UInt);
        QCOMPARE(all.toUInt(), 0x5467416Cu);
        QCOMPARE(dictionaries.at(1).value(QStringLiteral("tagCollectionBehavior")).toUInt(), 0x5467416Eu);
        // A collection without a behaviour in the library answers none.
        QVERIFY(!dictionaries.at(2).contains(QStringLiteral("tagCollectionBehavior")));
        QCOMPARE(dictionaries.at(0).value(QStringLiteral("name")).toString(), QStringLiteral("Urgent work"));
        QCOMPARE(dictionaries.at(0).value(QStringLiteral("comments")).toString(), QStringLiteral("Both tags"));
    }

    void tagsAreSharedObjects()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QStringList collections = standin->elements(QStringLiteral("/"), QStringLiteral("tagCollections"));
        const QStringList collectionTags = standin->elements(collections.first(), QStringLiteral("tags"));
        QCOMPARE(collectionTags.size(), 2);
        QCOMPARE(standin->propertiesOf(collectionTags.at(0)), (QVariantMap {{"name", "urgent"}}));
        QCOMPARE(standin->propertiesOf(collectionTags.at(1)), (QVariantMap {{"name", "work"}}));
        QVERIFY(standin->elements(collections.last(), QStringLiteral("tags")).isEmpty());

        const QString agenda = standin->itemWithId(QStringLiteral("noteItems"), QStringLiteral("N-rtf"));
        const QString plans = standin->itemWithId(QStringLiteral("noteItems"), QStringLiteral("N-plain"));
        const QStringList agendaTags = standin->elements(agenda, QStringLiteral("tags"));
        QCOMPARE(agendaTags, collectionTags);
        // One tag, one path, whoever carries it.
        QCOMPARE(standin->elements(plans, QStringLiteral("tags")), QStringList {collectionTags.at(1)});
    }

    void labelsAnswerColoursInEveryForm()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QStringList colours;
        QStringList names;
        for (const QVariantMap &label : standin->properties(standin->elements(QStringLiteral("/"), "labels"))) {
            colours << label.value(QStringLiteral("color")).toString();
            names << label.value(QStringLiteral("name")).toString();
            QVERIFY(label.contains(QStringLiteral("id")));
        }
        QCOMPARE(colours, (QStringList {"rgb 1 0 0 1", "gray 0.5 1", "cmyk 0 0.5 1 0 1", "orange"}));
        QCOMPARE(names, (QStringList {"Important", "Someday", "Print", "Warm"}));
    }

    void itemsAnswerTheirProperties()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QVariantMap agenda = standin->propertiesOf(standin->itemWithId("noteItems", "N-rtf"));
        QCOMPARE(agenda.value(QStringLiteral("name")).toString(), QStringLiteral("Agenda"));
        QCOMPARE(agenda.value(QStringLiteral("comments")).toString(), QStringLiteral("First note"));
        QCOMPARE(agenda.value(QStringLiteral("creationDate")).typeId(), QMetaType::Double);
        QCOMPARE(agenda.value(QStringLiteral("creationDate")).toDouble(),
                 double(QDateTime(QDate(2019, 5, 1), QTime(10, 0), Qt::UTC).toSecsSinceEpoch()));
        QCOMPARE(agenda.value(QStringLiteral("modificationDate")).toDouble(),
                 QDateTime(QDate(2020, 2, 3), QTime(4, 5, 6), Qt::UTC).toSecsSinceEpoch() + 0.5);
        QCOMPARE(agenda.value(QStringLiteral("encrypted")).typeId(), QMetaType::Bool);
        QCOMPARE(agenda.value(QStringLiteral("encrypted")).toBool(), false);
        const QString label = qvariant_cast<QDBusObjectPath>(agenda.value(QStringLiteral("label"))).path();
        QCOMPARE(standin->propertiesOf(label).value(QStringLiteral("id")).toString(), QStringLiteral("L-red"));
        QVERIFY(!agenda.contains(QStringLiteral("password")));
        QVERIFY(!agenda.contains(QStringLiteral("location")));

        const QVariantMap bookmark = standin->propertiesOf(standin->itemWithId("bookmarkItems", "B-web"));
        QCOMPARE(bookmark.value(QStringLiteral("location")).toString(), QStringLiteral("https://example.com/"));
        const QVariantMap emptyBookmark = standin->propertiesOf(standin->itemWithId("bookmarkItems", "B-empty"));
        QCOMPARE(emptyBookmark.value(QStringLiteral("location")).toString(), QString());
        QVERIFY(emptyBookmark.contains(QStringLiteral("location")));

        const QVariantMap password = standin->propertiesOf(standin->itemWithId("passwordItems", "P-bank"));
        QVERIFY(password.contains(QStringLiteral("password")));
        QVERIFY(!password.contains(QStringLiteral("encrypted")));

        const QVariantMap image = standin->propertiesOf(standin->itemWithId("imageItems", "I-photo"));
        QCOMPARE(image.value(QStringLiteral("encrypted")).toBool(), true);
        QVERIFY(!image.contains(QStringLiteral("creationDate")));
        QVERIFY(image.contains(QStringLiteral("modificationDate")));
    }

    void servedValuesAreAnsweredAsGiven()
    {
        QTemporaryDir folder;
        QFile manifest(folder.filePath(QStringLiteral("library.json")));
        QVERIFY(manifest.open(QIODevice::WriteOnly));
        manifest.write(R"({"items": [{"kind": "bookmark", "id": "a", "name": "A", "creationDate": 0,)"
                       R"( "location": "https://example.org/", "served": {"creationDate": {"date": "NaN"},)"
                       R"( "modificationDate": {"date": "-Infinity"}, "encrypted": "yes",)"
                       R"( "comments": {"integer": 7}, "label": {"objectPath": "/labels/99"},)"
                       R"( "location": true, "name": 1e300}},)"
                       R"( {"kind": "note", "id": "a", "served": {"creationDate": {"date": "Infinity"}}}]})");
        manifest.close();
        auto standin = startStandin({}, QStringLiteral("com.fendwick.kastrel4"), folder.path());
        QVERIFY(standin);

        const QVariantMap served = standin->propertiesOf(QStringLiteral("/items/0"));
        QCOMPARE(served.value(QStringLiteral("id")).toString(), QStringLiteral("a"));
        QVERIFY(std::isnan(served.value(QStringLiteral("creationDate")).toDouble()));
        QCOMPARE(served.value(QStringLiteral("modificationDate")).toDouble(), -std::numeric_limits<double>::infinity());
        QCOMPARE(served.value(QStringLiteral("encrypted")).typeId(), QMetaType::QString);
        QCOMPARE(served.value(QStringLiteral("comments")).typeId(), QMetaType::Int);
        QCOMPARE(served.value(QStringLiteral("comments")).toInt(), 7);
        QCOMPARE(qvariant_cast<QDBusObjectPath>(served.value(QStringLiteral("label"))).path(),
                 QStringLiteral("/labels/99"));
        QCOMPARE(served.value(QStringLiteral("location")).typeId(), QMetaType::Bool);
        QCOMPARE(served.value(QStringLiteral("name")).toDouble(), 1e300);
        // Two items may share an identifier.
        const QVariantMap second = standin->propertiesOf(QStringLiteral("/items/1"));
        QCOMPARE(second.value(QStringLiteral("id")).toString(), QStringLiteral("a"));
        QCOMPARE(second.value(QStringLiteral("creationDate")).toDouble(), std::numeric_limits<double>::infinity());
    }

    void servedValuesTheStandinCannotSendAreRefused_data()
    {
        QTest::addColumn<QByteArray>("served");
        QTest::newRow("not an object") << QByteArray(R"("NaN")");
        QTest::newRow("unknown date word") << QByteArray(R"({"creationDate": {"date": "soon"}})");
        QTest::newRow("no object path") << QByteArray(R"({"label": {"objectPath": "labels"}})");
        QTest::newRow("two forms") << QByteArray(R"({"label": {"objectPath": "/a", "integer": 1}})");
        QTest::newRow("null") << QByteArray(R"({"label": null})");
    }

    void servedValuesTheStandinCannotSendAreRefused()
    {
        QFETCH(QByteArray, served);
        QTemporaryDir folder;
        QFile manifest(folder.filePath(QStringLiteral("library.json")));
        QVERIFY(manifest.open(QIODevice::WriteOnly));
        manifest.write(R"({"items": [{"kind": "note", "id": "a", "served": )" + served + "}]}");
        manifest.close();
        QByteArray standardError;
        QCOMPARE(runStandin({QStringLiteral("--library"), folder.path()}, &standardError), 2);
        QVERIFY2(standardError.contains("items[0]: \"served\""), standardError.constData());
    }

    void absentValuesAreLeftOut()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QVariantMap unnamed = standin->propertiesOf(standin->itemWithId("noteItems", "N-unnamed"));
        QCOMPARE(QSet<QString>(unnamed.keyBegin(), unnamed.keyEnd()), (QSet<QString> {"id", "comments"}));
        const QVariantMap emptyName = standin->propertiesOf(standin->itemWithId("noteItems", "N-empty"));
        QVERIFY(emptyName.contains(QStringLiteral("name")));
        QCOMPARE(emptyName.value(QStringLiteral("name")).toString(), QString());
        const QString plain = standin->itemWithId("noteItems", "N-plain");
        QVERIFY(!standin->propertiesOf(plain).contains(QStringLiteral("label")));
        QVERIFY(standin->elements(standin->itemWithId("noteItems", "N-unnamed"), "tags").isEmpty());
    }

    void manyObjectsInOneCall()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QStringList paths {QStringLiteral("/")};
        for (const char *element : {"labels", "noteItems", "imageItems", "tagCollections"})
            paths << standin->elements(QStringLiteral("/"), QString::fromLatin1(element));
        const PropertyList dictionaries = standin->properties(paths);
        QCOMPARE(dictionaries.size(), paths.size());
        QCOMPARE(dictionaries.at(0).value(QStringLiteral("version")).toString(), QStringLiteral("2.0"));
        QCOMPARE(dictionaries.at(1).value(QStringLiteral("id")).toString(), QStringLiteral("L-red"));
        QCOMPARE(dictionaries.at(5).value(QStringLiteral("id")).toString(), QStringLiteral("N-rtf"));
        QCOMPARE(dictionaries.last().value(QStringLiteral("id")).toString(), QStringLiteral("TC-empty"));
    }

    void unknownPathsAndElementsAreErrors_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("element");
        QTest::newRow("properties of an unknown item") << "Properties"
                                                       << "/items/9999"
                                                       << "";
        QTest::newRow("properties of an unknown class") << "Properties"
                                                        << "/documents/0"
                                                        << "";
        QTest::newRow("properties with a leading zero") << "Properties"
                                                        << "/items/01"
                                                        << "";
        QTest::newRow("elements of an unknown path") << "Elements"
                                                     << "/labels/77"
                                                     << "labels";
        QTest::newRow("unknown element of the application") << "Elements"
                                                            << "/"
                                                            << "soundItems";
        QTest::newRow("element of a label") << "Elements"
                                            << "/labels/0"
                                            << "tags";
        QTest::newRow("count of an unknown element") << "Count"
                                                     << "/"
                                                     << "folders";
        QTest::newRow("count of an unknown path") << "Count"
                                                  << "/tags/500"
                                                  << "tags";
    }

    void unknownPathsAndElementsAreErrors()
    {
        QFETCH(QString, method);
        QFETCH(QString, path);
        QFETCH(QString, element);
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QVariantList arguments;
        if (method == QLatin1String("Properties"))
            arguments << QVariant::fromValue(QList<QDBusObjectPath> {objectPath("/"), objectPath(path)});
        else
            arguments << QVariant::fromValue(objectPath(path)) << element;
        const QDBusMessage reply = standin->call(method, arguments);
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QVERIFY(!reply.errorMessage().isEmpty());
    }

    void exportWritesFilesNamedAfterTheItem()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QDir library(libraryPath());

        const QString agenda = standin->exportItem(standin->itemWithId("noteItems", "N-rtf"), folder.path());
        QCOMPARE(agenda, folder.filePath(QStringLiteral("Agenda.rtf")));
        QCOMPARE(fileBytes(agenda), fileBytes(library.filePath(QStringLiteral("notes/agenda.rtf"))));

        const QString plain = standin->exportItem(standin->itemWithId("noteItems", "N-plain"), folder.path());
        QCOMPARE(plain, folder.filePath(QStringLiteral("Plans:Ideas: more.txt")));
        QCOMPARE(fileBytes(plain), QByteArray("Just text\nover two lines"));

        const QString package = standin->exportItem(standin->itemWithId("noteItems", "N-package"), folder.path());
        QCOMPARE(package, folder.filePath(QStringLiteral("With picture.rtfd")));
        QVERIFY(QFileInfo(package).isDir());
        QCOMPARE(fileBytes(package + QStringLiteral("/TXT.rtf")),
                 fileBytes(library.filePath(QStringLiteral("notes/picture.rtfd/TXT.rtf"))));
        QCOMPARE(fileBytes(package + QStringLiteral("/pixel.png")),
                 fileBytes(library.filePath(QStringLiteral("notes/picture.rtfd/pixel.png"))));

        const QString serial = standin->exportItem(standin->itemWithId("serialNumberItems", "S-editor"), folder.path());
        QCOMPARE(serial, folder.filePath(QStringLiteral("Editor licence.rtf")));
        const QByteArray rtf = fileBytes(serial);
        QVERIFY(rtf.startsWith("{\\rtf1"));
        QVERIFY(rtf.contains("Serial: 1234-ABCD\\\nOwner: Zo\\u235  \\{test\\}"));

        const QString password = standin->exportItem(standin->itemWithId("passwordItems", "P-bank"), folder.path());
        QCOMPARE(password, folder.filePath(QStringLiteral("Bank.rtf")));
        // A password item's content is its password: the export carries it after the text.
        QVERIFY(fileBytes(password).contains("Login: me\\\nPassword: secret}"));

        for (const auto &[element, id, name, source] :
             {std::tuple {"imageItems", "I-photo", "Photo.png", "images/photo.png"},
              std::tuple {"pdfArchiveItems", "D-page", "Saved page.pdf", "pdfs/page.pdf"},
              std::tuple {"webArchiveItems", "W-archive", "Archive.webarchive", "webarchives/page.webarchive"}}) {
            const QString written = standin->exportItem(standin->itemWithId(element, id), folder.path());
            QCOMPARE(written, folder.filePath(QString::fromUtf8(name)));
            QCOMPARE(fileBytes(written), fileBytes(library.filePath(QString::fromUtf8(source))));
        }
    }

    void exportGivesATakenNameANumber()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        const QString item = standin->itemWithId("imageItems", "I-photo");
        QCOMPARE(standin->exportItem(item, folder.path()), folder.filePath(QStringLiteral("Photo.png")));
        QCOMPARE(standin->exportItem(item, folder.path()), folder.filePath(QStringLiteral("Photo 2.png")));
        QCOMPARE(standin->exportItem(item, folder.path()), folder.filePath(QStringLiteral("Photo 3.png")));
    }

    void exportOfAnUnnamedItemUsesUntitled()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        QCOMPARE(standin->exportItem(standin->itemWithId("noteItems", "N-unnamed"), folder.path()),
                 folder.filePath(QStringLiteral("Untitled.txt")));
    }

    void exportFailureAnswersNothing()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        QDBusMessage reply;
        const QString written
            = standin->exportItem(standin->itemWithId("imageItems", "I-fails"), folder.path(), &reply);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.signature(), QStringLiteral("s"));
        QCOMPARE(written, QString());
        QVERIFY(QDir(folder.path()).isEmpty());
        // So does a bookmark, which the application does not export, and a missing folder.
        QCOMPARE(standin->exportItem(standin->itemWithId("bookmarkItems", "B-web"), folder.path()), QString());
        QCOMPARE(standin->exportItem(standin->itemWithId("imageItems", "I-photo"), folder.filePath("missing")),
                 QString());
    }

    void exportWithMalformedArgumentsIsAnError()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        const QString photo = standin->itemWithId("imageItems", "I-photo");
        const QList<QList<QDBusObjectPath>> malformed {{},
                                                       {objectPath(photo), objectPath(photo)},
                                                       {objectPath(QStringLiteral("/labels/0"))},
                                                       {objectPath(QStringLiteral("/items/4242"))}};
        for (const QList<QDBusObjectPath> &items : malformed) {
            const QDBusMessage reply
                = standin->call(QStringLiteral("Export"), {QVariant::fromValue(items), folder.path()});
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        }
        for (const QString &relative : {QStringLiteral("relative/folder"), QString()}) {
            const QDBusMessage reply = standin->call(
                QStringLiteral("Export"), {QVariant::fromValue(QList<QDBusObjectPath> {objectPath(photo)}), relative});
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        }
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void exportCanTakeTheApplicationDown()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        QTemporaryDir folder;
        QDBusMessage reply;
        standin->exportItem(standin->itemWithId("pdfArchiveItems", "D-quits"), folder.path(), &reply);
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QVERIFY(standin->process().waitForFinished(30000));
        QCOMPARE(standin->process().exitCode(), 3);
        QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered("com.fendwick.kastrel4").value());
    }

    void delayedRepliesStillArrive()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0"),
                                     QStringLiteral("--reply-delay"), QStringLiteral("50")});
        QVERIFY(standin);
        QCOMPARE(standin->propertiesOf(QStringLiteral("/")).value(QStringLiteral("version")).toString(),
                 QStringLiteral("2.0"));
        QCOMPARE(standin->elements(QStringLiteral("/"), QStringLiteral("labels")).size(), 4);
        const QDBusMessage error = standin->call(QStringLiteral("Count"), {QVariant::fromValue(objectPath("/x")), "y"});
        QCOMPARE(error.type(), QDBusMessage::ErrorMessage);
        QTemporaryDir folder;
        QCOMPARE(standin->exportItem(standin->itemWithId("imageItems", "I-photo"), folder.path()),
                 folder.filePath(QStringLiteral("Photo.png")));
    }

    void elementsOfEachAnswersWhatElementsWouldForEach()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QStringList containers = standin->elements(QStringLiteral("/"), QStringLiteral("noteItems"))
            + standin->elements(QStringLiteral("/"), QStringLiteral("tagCollections"));
        QVERIFY(containers.size() > 2);
        const QDBusMessage reply = standin->elementsOfEach(containers, QStringLiteral("tags"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.signature(), QStringLiteral("aao"));
        const auto lists = qdbus_cast<QList<QList<QDBusObjectPath>>>(reply.arguments().value(0));
        QCOMPARE(lists.size(), containers.size());
        int tags = 0;
        for (qsizetype i = 0; i < containers.size(); ++i) {
            QStringList paths;
            for (const QDBusObjectPath &path : lists.at(i))
                paths << path.path();
            QCOMPARE(paths, standin->elements(containers.at(i), QStringLiteral("tags")));
            tags += int(paths.size());
        }
        QVERIFY(tags > 0);

        // No containers: no lists. The same container twice: its list twice.
        const QDBusMessage none = standin->elementsOfEach({}, QStringLiteral("tags"));
        QCOMPARE(qdbus_cast<QList<QList<QDBusObjectPath>>>(none.arguments().value(0)).size(), 0);
        const QString group = standin->elements(QStringLiteral("/"), QStringLiteral("folderCollections")).value(0);
        const QDBusMessage twice = standin->elementsOfEach({group, group}, QStringLiteral("databaseItems"));
        const auto members = qdbus_cast<QList<QList<QDBusObjectPath>>>(twice.arguments().value(0));
        QCOMPARE(members.size(), 2);
        QCOMPARE(members.at(0), members.at(1));
        QCOMPARE(qsizetype(members.at(0).size()), standin->elements(group, QStringLiteral("databaseItems")).size());
    }

    void elementsOfEachFailsWholeForOneUnknownContainerOrElement()
    {
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0")});
        QVERIFY(standin);
        const QStringList notes = standin->elements(QStringLiteral("/"), QStringLiteral("noteItems"));
        const QDBusMessage unknown
            = standin->elementsOfEach({notes.value(0), QStringLiteral("/items/9999")}, QStringLiteral("tags"));
        QCOMPARE(unknown.type(), QDBusMessage::ErrorMessage);
        QCOMPARE(unknown.errorName(), QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"));
        // A label has no tags: the element fails for it, and so the whole call.
        const QDBusMessage wrongElement
            = standin->elementsOfEach({notes.value(0), QStringLiteral("/labels/0")}, QStringLiteral("tags"));
        QCOMPARE(wrongElement.type(), QDBusMessage::ErrorMessage);
        QCOMPARE(wrongElement.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
    }

    void elementsOfEachCanBeMissingOrFailing_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("error");
        QTest::newRow("missing") << "missing"
                                 << "org.freedesktop.DBus.Error.UnknownMethod";
        QTest::newRow("failing") << "failing"
                                 << "org.freedesktop.DBus.Error.Failed";
    }

    void elementsOfEachCanBeMissingOrFailing()
    {
        QFETCH(QString, answer);
        QFETCH(QString, error);
        auto standin = startStandin(
            {QStringLiteral("--version"), QStringLiteral("2.0"), QStringLiteral("--elements-of-each"), answer});
        QVERIFY(standin);
        const QStringList notes = standin->elements(QStringLiteral("/"), QStringLiteral("noteItems"));
        QVERIFY(!notes.isEmpty());
        const QDBusMessage reply = standin->elementsOfEach(notes, QStringLiteral("tags"));
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QCOMPARE(reply.errorName(), error);
        // Every list can still be had one at a time.
        QVERIFY(!standin->elements(notes.value(0), QStringLiteral("tags")).value(0).startsWith(QLatin1String("error")));
    }

    void elementsOfEachTakesOnlyKnownAnswers()
    {
        QByteArray standardError;
        QCOMPARE(runStandin({QStringLiteral("--library"), libraryPath(), QStringLiteral("--elements-of-each"),
                             QStringLiteral("sometimes")},
                            &standardError),
                 2);
        QVERIFY(standardError.contains("--elements-of-each"));
        QCOMPARE(runStandin({QStringLiteral("--library"), libraryPath(), QStringLiteral("--serial-delay"),
                             QStringLiteral("soon")},
                            &standardError),
                 2);
        QVERIFY(standardError.contains("--serial-delay"));
    }

    // Calls sent together are answered one after the other, each after the delay: the last of
    // them cannot be answered before all of their delays have passed.
    void serialDelayHandlesOneCallAtATime()
    {
        const int delay = 150;
        auto standin = startStandin({QStringLiteral("--version"), QStringLiteral("2.0"),
                                     QStringLiteral("--serial-delay"), QString::number(delay)});
        QVERIFY(standin);
        QCOMPARE(standin->propertiesOf(QStringLiteral("/")).value(QStringLiteral("version")).toString(),
                 QStringLiteral("2.0"));
        const int calls = 4;
        QList<QDBusPendingCall> pending;
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < calls; ++i) {
            QDBusMessage message = QDBusMessage::createMethodCall(
                QStringLiteral("com.fendwick.kastrel4"), QStringLiteral("/"), kInterface, QStringLiteral("Count"));
            message.setArguments({QVariant::fromValue(objectPath(QStringLiteral("/"))), QStringLiteral("labels")});
            pending.append(QDBusConnection::sessionBus().asyncCall(message));
        }
        for (QDBusPendingCall &call : pending) {
            call.waitForFinished();
            QCOMPARE(call.reply().type(), QDBusMessage::ReplyMessage);
            QCOMPARE(call.reply().arguments().value(0).toUInt(), 4u);
        }
        QVERIFY2(clock.elapsed() >= calls * delay, qPrintable(QString::number(clock.elapsed())));
        // Errors take their time too, and the stand-in goes on answering.
        clock.restart();
        const QDBusMessage error = standin->call(QStringLiteral("Count"), {QVariant::fromValue(objectPath("/x")), "y"});
        QCOMPARE(error.type(), QDBusMessage::ErrorMessage);
        QVERIFY(clock.elapsed() >= delay);
        QCOMPARE(standin->elements(QStringLiteral("/"), QStringLiteral("labels")).size(), 4);
    }

    void aBrokenLibraryIsRefusedAtStart()
    {
        QTemporaryDir folder;
        QFile manifest(folder.filePath(QStringLiteral("library.json")));
        QVERIFY(manifest.open(QIODevice::WriteOnly));
        manifest.write(R"({"items": [{"kind": "note", "id": "a", "label": "nowhere"}]})");
        manifest.close();
        QByteArray standardError;
        QCOMPARE(runStandin({QStringLiteral("--library"), folder.path()}, &standardError), 2);
        QVERIFY(standardError.contains("unknown label"));
    }

    void installWritesDesktopEntryAndServiceFile()
    {
        const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
        QVERIFY(!dataHome.isEmpty());
        QCOMPARE(runStandin({QStringLiteral("install"), QStringLiteral("--library"), libraryPath(),
                             QStringLiteral("--identifier"), QStringLiteral("com.fendwick.kastrel"),
                             QStringLiteral("--version"), QStringLiteral("1.5")}),
                 0);

        const QString desktop = fileBytes(dataHome + QStringLiteral("/applications/com.fendwick.kastrel.desktop"));
        QVERIFY(desktop.startsWith(QStringLiteral("[Desktop Entry]\n")));
        QVERIFY(desktop.contains(QStringLiteral("\nType=Application\n")));
        QVERIFY(desktop.contains(QStringLiteral("\nExec=") + standinExecutable()
                                 + QStringLiteral(" serve --identifier com.fendwick.kastrel --version 1.5 --library ")
                                 + libraryPath() + QStringLiteral("\n")));

        const QString service = fileBytes(dataHome + QStringLiteral("/dbus-1/services/com.fendwick.kastrel.service"));
        QCOMPARE(service,
                 QStringLiteral("[D-BUS Service]\nName=com.fendwick.kastrel\nExec=") + standinExecutable()
                     + QStringLiteral(" serve --identifier com.fendwick.kastrel --version 1.5 --library ")
                     + libraryPath() + QStringLiteral("\n"));
    }

    void installPassesTheSourceBehaviourOn()
    {
        QTemporaryDir home;
        QCOMPARE(
            runStandin({QStringLiteral("install"), QStringLiteral("--library"), libraryPath(),
                        QStringLiteral("--serial-delay"), QStringLiteral("10"), QStringLiteral("--elements-of-each"),
                        QStringLiteral("missing"), QStringLiteral("--data-home"), home.path()}),
            0);
        const QString service
            = fileBytes(home.filePath(QStringLiteral("dbus-1/services/com.fendwick.kastrel4.service")));
        QVERIFY2(service.endsWith(QStringLiteral(" --library ") + libraryPath()
                                  + QStringLiteral(" --serial-delay 10 --elements-of-each missing\n")),
                 qPrintable(service));
    }

    void installQuotesAwkwardArguments()
    {
        QTemporaryDir home;
        const QString library = home.filePath(QStringLiteral("My \"odd\" library's $folder"));
        QVERIFY(QDir().mkpath(library));
        QFile manifest(library + QStringLiteral("/library.json"));
        QVERIFY(manifest.open(QIODevice::WriteOnly));
        manifest.write("{}");
        manifest.close();
        QCOMPARE(
            runStandin({QStringLiteral("install"), QStringLiteral("--library"), library, QStringLiteral("--identifier"),
                        QStringLiteral("com.fendwick.kastrel4"), QStringLiteral("--version"), QStringLiteral("100%"),
                        QStringLiteral("--data-home"), home.path()}),
            0);
        const QString desktop = fileBytes(home.filePath(QStringLiteral("applications/com.fendwick.kastrel4.desktop")));
        QVERIFY2(desktop.contains(QStringLiteral("--library \"") + home.path()
                                  + QStringLiteral("/My \\\\\"odd\\\\\" library's \\\\$folder\"")),
                 qPrintable(desktop));
        QVERIFY(desktop.contains(QStringLiteral("--version 100%%")));
        const QString service
            = fileBytes(home.filePath(QStringLiteral("dbus-1/services/com.fendwick.kastrel4.service")));
        QVERIFY2(service.contains(QStringLiteral("--library '") + home.path()
                                  + QStringLiteral("/My \"odd\" library'\\\\''s $folder'")),
                 qPrintable(service));

        // The bus daemon reads the quoting back to the same folder: the activated stand-in serves it.
        const QString services = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/dbus-1/services");
        QVERIFY(QDir().mkpath(services));
        QVERIFY(QFile::copy(home.filePath(QStringLiteral("dbus-1/services/com.fendwick.kastrel4.service")),
                            services + QStringLiteral("/com.fendwick.kastrel4.service")));
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("com.fendwick.kastrel4"), QStringLiteral("/"),
                                                           kInterface, QStringLiteral("Properties"));
        call.setArguments({QVariant::fromValue(QList<QDBusObjectPath> {objectPath("/")})});
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(qdbus_cast<PropertyList>(reply.arguments().value(0)).value(0).value("version").toString(),
                 QStringLiteral("100%"));
        stopActivated(QStringLiteral("com.fendwick.kastrel4"));
    }

    void installedStandinIsActivatedByTheBus()
    {
        const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
        QCOMPARE(runStandin({QStringLiteral("install"), QStringLiteral("--library"), libraryPath(),
                             QStringLiteral("--identifier"), QStringLiteral("com.fendwick.kastrel"),
                             QStringLiteral("--version"), QStringLiteral("1.5")}),
                 0);

        QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
        QVERIFY(!bus->isServiceRegistered(QStringLiteral("com.fendwick.kastrel")).value());
        const QDBusReply<QStringList> activatable = bus->activatableServiceNames();
        QVERIFY(activatable.value().contains(QStringLiteral("com.fendwick.kastrel")));

        QDBusInterface kastrel(QStringLiteral("com.fendwick.kastrel"), QStringLiteral("/"), kInterface);
        QVERIFY2(kastrel.isValid(), qPrintable(kastrel.lastError().message()));
        const QDBusMessage reply
            = kastrel.call(QStringLiteral("Properties"), QVariant::fromValue(QList<QDBusObjectPath> {objectPath("/")}));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(qdbus_cast<PropertyList>(reply.arguments().value(0)).value(0).value("version").toString(),
                 QStringLiteral("1.5"));
        QVERIFY(bus->isServiceRegistered(QStringLiteral("com.fendwick.kastrel")).value());
        const QDBusMessage count
            = kastrel.call(QStringLiteral("Count"), QVariant::fromValue(objectPath("/")), QStringLiteral("noteItems"));
        QCOMPARE(count.arguments().value(0).toUInt(), 5u);
        stopActivated(QStringLiteral("com.fendwick.kastrel"));
    }

    void installRefusesABadIdentifier()
    {
        QCOMPARE(runStandin({QStringLiteral("install"), QStringLiteral("--library"), libraryPath(),
                             QStringLiteral("--identifier"), QStringLiteral("not a bus name")}),
                 2);
        QVERIFY(!QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/applications/not a bus name.desktop"));
    }

private:
    // Ends a stand-in that the bus started, by the process id the bus knows it by.
    static void stopActivated(const QString &name)
    {
        const QDBusReply<uint> pid = QDBusConnection::sessionBus().interface()->servicePid(name);
        if (pid.isValid() && pid.value() > 0)
            QProcess::execute(QStringLiteral("kill"), {QString::number(pid.value())});
    }
};

QTEST_GUILESS_MAIN(TestKastrelStandin)
#include "TestKastrelStandin.moc"
