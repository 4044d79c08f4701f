// The target stand-in: validating library interchange files (directly and over the bus),
// refusing malformed ones with their problems in the report and nothing imported, ingesting
// a good one, and installing itself as an activatable application.
#include "TestConfig.h"
#include "TestSupport.h"
#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"
#include "standins/nortavel/NortavelLibraryValidator.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <functional>

namespace {

using TestSupport::writeFile;

const QString kInterface = QStringLiteral("com.orvantis.Nortavel3.Scripting");
const QString kEntityName = QStringLiteral("com.orvantis.Nortavel.EntityName");
const QString kRuleSet = QStringLiteral("0F8C2A4E-5B1D-4E7A-9C3B-2D6E8F0A1B2C");
const QString kRuleValueUrgent = QStringLiteral("A1B2C3D4-E5F6-4A7B-8C9D-0E1F2A3B4C5D");
const QString kRuleValueWork = QStringLiteral("B2C3D4E5-F6A7-4B8C-9D0E-1F2A3B4C5D6E");
const QString kEmptyRuleSet = QStringLiteral("C3D4E5F6-A7B8-4C9D-8E0F-2A3B4C5D6E7F");
constexpr uint kCopyMethod = 0x54666370; // 'Tfcp'

QString executable()
{
    return QStringLiteral(KI_BIN_DIR "/nortavel3-standin");
}

QByteArray archivedString(const QString &text)
{
    return OVKeyedArchiver::archivedDataWithRootObject(text);
}

OVPlist record(const QString &entity, const QString &identifier)
{
    OVPlist dictionary = OVPlist::dictionary();
    dictionary.insert(kEntityName, entity);
    dictionary.insert(QStringLiteral("identifier"), identifier);
    return dictionary;
}

OVPlist groupRecord(const QString &entity, const QString &identifier, const QString &name, int groupType)
{
    OVPlist group = record(entity, identifier);
    group.insert(QStringLiteral("name"), name);
    group.insert(QStringLiteral("groupType"), groupType);
    group.insert(QStringLiteral("library"), QStringLiteral("Library"));
    group.insert(QStringLiteral("parent"), QStringLiteral("RootFolder"));
    return group;
}

OVPlist ruleValue(const QString &identifier, const QString &ruleSet, const QString &tag)
{
    OVPlist value = record(QStringLiteral("RuleValue"), identifier);
    value.insert(QStringLiteral("keyString"), QStringLiteral("tags.name"));
    value.insert(QStringLiteral("conditionType"), 101);
    value.insert(QStringLiteral("valueType"), 8);
    value.insert(QStringLiteral("ruleSet"), ruleSet);
    value.insert(QStringLiteral("valueData"), archivedString(tag));
    return value;
}

} // namespace

// An export folder as the importer leaves it: item files in their sub-folders and the
// library file "Kastrel.nvlibxml" describing them.
class ExportFolder
{
public:
    explicit ExportFolder(const QString &path)
        : m_path(path)
    {
        writeFile(itemPath("Notes/Agenda.nvnote/TXT.rtf"), "{\\rtf1\\ansi Agenda}");
        writeFile(itemPath("Notes/Bank.nvnote/TXT.rtf"), "{\\rtf1\\ansi Login}");
        writeFile(itemPath("Images/Photo.png"), "image bytes");
        writeFile(itemPath("Bookmarks/Example.webloc"), "bookmark bytes");
        writeFile(itemPath("Documents/Manual.pdf"), "document bytes");
        writeFile(itemPath("Web Pages/Saved page.pdf"), "web page bytes");
        writeFile(itemPath("Web Pages/Archive.webarchive"), "web archive bytes");
        QDir().mkpath(itemPath("TMP"));

        OVPlist entities = OVPlist::dictionary();
        OVPlist groups = OVPlist::dictionary();
        OVPlist work = groupRecord(QStringLiteral("ItemGroup"), QStringLiteral("G-work"), QStringLiteral("Work"), 50);
        work.insert(QStringLiteral("comments"), QStringLiteral("Work things"));
        // "N-skipped" had no name and was not exported: the group still lists it.
        work.insert(QStringLiteral("items"),
                    QStringList {QStringLiteral("N-agenda"), QStringLiteral("I-photo"), QStringLiteral("N-skipped")});
        groups.insert(QStringLiteral("G-work"), work);
        OVPlist empty
            = groupRecord(QStringLiteral("ItemGroup"), QStringLiteral("G-empty"), QStringLiteral("Empty"), 50);
        empty.insert(QStringLiteral("items"), OVPlist::array());
        groups.insert(QStringLiteral("G-empty"), empty);
        entities.insert(QStringLiteral("ItemGroup"), groups);

        OVPlist smartGroups = OVPlist::dictionary();
        OVPlist urgent
            = groupRecord(QStringLiteral("SmartGroup"), QStringLiteral("TC-all"), QStringLiteral("Urgent work"), 60);
        urgent.insert(QStringLiteral("ruleSet"), kRuleSet);
        smartGroups.insert(QStringLiteral("TC-all"), urgent);
        OVPlist nothing
            = groupRecord(QStringLiteral("SmartGroup"), QStringLiteral("TC-empty"), QStringLiteral("Nothing yet"), 60);
        nothing.insert(QStringLiteral("ruleSet"), kEmptyRuleSet);
        smartGroups.insert(QStringLiteral("TC-empty"), nothing);
        entities.insert(QStringLiteral("SmartGroup"), smartGroups);

        OVPlist ruleSets = OVPlist::dictionary();
        OVPlist set = record(QStringLiteral("RuleSet"), kRuleSet);
        set.insert(QStringLiteral("matchAll"), true);
        set.insert(QStringLiteral("smartGroup"), QStringLiteral("TC-all"));
        set.insert(QStringLiteral("ruleValues"), QStringList {kRuleValueUrgent, kRuleValueWork});
        ruleSets.insert(kRuleSet, set);
        OVPlist emptySet = record(QStringLiteral("RuleSet"), kEmptyRuleSet);
        emptySet.insert(QStringLiteral("matchAll"), false);
        emptySet.insert(QStringLiteral("smartGroup"), QStringLiteral("TC-empty"));
        emptySet.insert(QStringLiteral("ruleValues"), OVPlist::array());
        ruleSets.insert(kEmptyRuleSet, emptySet);
        entities.insert(QStringLiteral("RuleSet"), ruleSets);

        OVPlist ruleValues = OVPlist::dictionary();
        ruleValues.insert(kRuleValueUrgent, ruleValue(kRuleValueUrgent, kRuleSet, QStringLiteral("urgent")));
        ruleValues.insert(kRuleValueWork, ruleValue(kRuleValueWork, kRuleSet, QStringLiteral("work")));
        entities.insert(QStringLiteral("RuleValue"), ruleValues);

        OVPlist labels = OVPlist::dictionary();
        OVPlist label = record(QStringLiteral("Label"), QStringLiteral("L-red"));
        label.insert(QStringLiteral("name"), QStringLiteral("Important"));
        label.insert(QStringLiteral("groupType"), 1020);
        label.insert(QStringLiteral("labelLibrary"), QStringLiteral("Library"));
        label.insert(QStringLiteral("redComponent"), 1.0);
        label.insert(QStringLiteral("greenComponent"), 0.0);
        label.insert(QStringLiteral("blueComponent"), 0.0);
        label.insert(QStringLiteral("alphaComponent"), 1.0);
        labels.insert(QStringLiteral("L-red"), label);
        entities.insert(QStringLiteral("Label"), labels);

        OVPlist items = OVPlist::dictionary();
        const QDateTime created(QDate(2019, 5, 1), QTime(10, 0), Qt::UTC);
        auto item = [&](const char *id, int type, const char *file, bool named) {
            OVPlist entry = record(QStringLiteral("Item"), QString::fromLatin1(id));
            entry.insert(QStringLiteral("itemType"), type);
            entry.insert(QStringLiteral("absoluteFilename"), itemPath(file));
            const QString fileName = QFileInfo(itemPath(file)).fileName();
            entry.insert(QStringLiteral("filename"), fileName);
            if (named) {
                entry.insert(QStringLiteral("name"), fileName.left(fileName.lastIndexOf(QLatin1Char('.'))));
                entry.insert(QStringLiteral("dateCreated"), created);
                entry.insert(QStringLiteral("dateModified"), created.addDays(3));
            }
            entry.insert(QStringLiteral("extensionHidden"), true);
            entry.insert(QStringLiteral("groups"), QStringList {QStringLiteral("LibraryGroup")});
            items.insert(QString::fromLatin1(id), entry);
        };
        item("N-agenda", 1, "Notes/Agenda.nvnote", true);
        item("P-bank", 1, "Notes/Bank.nvnote", true);
        item("I-photo", 3, "Images/Photo.png", true);
        item("B-web", 6, "Bookmarks/Example.webloc", false);
        item("D-manual", 2, "Documents/Manual.pdf", false);
        item("D-page", 7, "Web Pages/Saved page.pdf", false);
        item("W-archive", 7, "Web Pages/Archive.webarchive", true);
        OVPlist &agenda = items[QStringLiteral("N-agenda")];
        agenda.insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), false);
        agenda.insert(QStringLiteral("comments"), QStringLiteral("First note"));
        agenda.insert(QStringLiteral("tagsString"), QStringLiteral("urgent,work"));
        agenda.insert(QStringLiteral("label"), QStringLiteral("L-red"));
        agenda.insert(QStringLiteral("groups"), QStringList {QStringLiteral("LibraryGroup"), QStringLiteral("G-work")});
        items[QStringLiteral("P-bank")].insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), true);
        items[QStringLiteral("I-photo")].insert(QStringLiteral("groups"),
                                                QStringList {QStringLiteral("LibraryGroup"), QStringLiteral("G-work")});
        entities.insert(QStringLiteral("Item"), items);

        m_library = OVPlist::dictionary();
        m_library.insert(QStringLiteral("Entities"), entities);
        m_library.insert(QStringLiteral("ExporterVersion"), 350);
        m_library.insert(QStringLiteral("RemoveFileOnCompletion"), m_path);
    }

    QString path() const { return m_path; }
    QString itemPath(const char *relative) const { return m_path + QLatin1Char('/') + QString::fromUtf8(relative); }
    QString libraryFile() const { return m_path + QStringLiteral("/Kastrel.nvlibxml"); }
    OVPlist &library() { return m_library; }
    OVPlist &table(const char *name) { return m_library[QStringLiteral("Entities")][QString::fromLatin1(name)]; }

    bool write() const
    {
        return OVPlistSerialization::writePropertyListToFile(m_library, libraryFile(),
                                                             OVPlistSerialization::Format::Xml);
    }

private:
    QString m_path;
    OVPlist m_library;
};

// One running target stand-in with its own data folder and report.
class Target
{
public:
    bool start(const QString &dataFolder, const QStringList &extra = {})
    {
        m_report = dataFolder + QStringLiteral("/report.json");
        return TestSupport::startStandin(m_process, executable(),
                                         QStringList {QStringLiteral("serve"), QStringLiteral("--data"), dataFolder,
                                                      QStringLiteral("--report"), m_report}
                                             + extra);
    }

    ~Target()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }

    QDBusMessage call(const QString &method, const QVariantList &arguments = {}) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("com.orvantis.Nortavel3"),
                                                              QStringLiteral("/"), kInterface, method);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    }

    // Sends the import command and waits for the ingestion behind it: the next call is
    // answered only after it.
    QJsonObject import(const QStringList &files, QDBusMessage *replyOut = nullptr)
    {
        const QDBusMessage reply = call(QStringLiteral("ImportFiles"),
                                        {files, kCopyMethod, QVariantMap {{QStringLiteral("withRating"), 0}}});
        if (replyOut)
            *replyOut = reply;
        call(QStringLiteral("Properties"));
        QFile file(m_report);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    QString report() const { return m_report; }

private:
    QProcess m_process;
    QString m_report;
};

class TestNortavelStandin : public QObject
{
    Q_OBJECT

private:
    static bool hasProblem(const QList<Standin::NortavelLibraryProblem> &problems, const QString &table,
                           const QString &identifier, const QString &key)
    {
        for (const Standin::NortavelLibraryProblem &problem : problems) {
            if (problem.table == table && problem.identifier == identifier && problem.key == key)
                return true;
        }
        return false;
    }

    static QString describe(const QList<Standin::NortavelLibraryProblem> &problems)
    {
        QStringList lines;
        for (const Standin::NortavelLibraryProblem &problem : problems)
            lines << problem.toString();
        return lines.join(QLatin1Char('\n'));
    }

private slots:
    void initTestCase() { QVERIFY2(QFileInfo::exists(executable()), qPrintable(executable())); }

    void goodLibraryIsValid()
    {
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        Standin::NortavelLibraryValidator validator(exportFolder.libraryFile());
        QVERIFY2(validator.validate(exportFolder.library()), qPrintable(describe(validator.problems())));
        // The member that was not exported is tolerated and mentioned.
        QCOMPARE(validator.warnings().size(), 1);
        QCOMPARE(validator.warnings().first().identifier, QStringLiteral("G-work"));
    }

    void emptyTablesAreValid()
    {
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        for (const QString &table : Standin::NortavelLibraryValidator::tableNames())
            exportFolder.library()[QStringLiteral("Entities")].insert(table, OVPlist::dictionary());
        Standin::NortavelLibraryValidator validator(exportFolder.libraryFile());
        QVERIFY2(validator.validate(exportFolder.library()), qPrintable(describe(validator.problems())));
    }

    void malformedLibrariesAreRefused_data()
    {
        QTest::addColumn<std::function<void(ExportFolder &)>>("damage");
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("key");

        using Damage = std::function<void(ExportFolder &)>;
        const QString none;
        QTest::newRow("missing table") << Damage([](ExportFolder &f) {
            f.library()[QStringLiteral("Entities")].remove(QStringLiteral("Label"));
        }) << "Label" << none << none;
        QTest::newRow("unknown table") << Damage([](ExportFolder &f) {
            f.library()[QStringLiteral("Entities")].insert(QStringLiteral("Folder"), OVPlist::dictionary());
        }) << "Folder" << none << none;
        QTest::newRow("table of the wrong type") << Damage([](ExportFolder &f) {
            f.library()[QStringLiteral("Entities")].insert(QStringLiteral("RuleValue"), OVPlist::array());
        }) << "RuleValue" << none << none;
        QTest::newRow("missing top-level key")
            << Damage([](ExportFolder &f) { f.library().remove(QStringLiteral("ExporterVersion")); }) << none << none
            << "ExporterVersion";
        QTest::newRow("wrong exporter version")
            << Damage([](ExportFolder &f) { f.library().insert(QStringLiteral("ExporterVersion"), 351); }) << none
            << none << "ExporterVersion";
        QTest::newRow("removal flag instead of path")
            << Damage([](ExportFolder &f) { f.library().insert(QStringLiteral("RemoveFileOnCompletion"), true); })
            << none << none << "RemoveFileOnCompletion";
        QTest::newRow("removal of another folder") << Damage([](ExportFolder &f) {
            f.library().insert(QStringLiteral("RemoveFileOnCompletion"), QDir::homePath());
        }) << none << none << "RemoveFileOnCompletion";
        QTest::newRow("unknown top-level key")
            << Damage([](ExportFolder &f) { f.library().insert(QStringLiteral("Extra"), 1); }) << none << none
            << "Extra";
        QTest::newRow("wrong type: group type as text") << Damage([](ExportFolder &f) {
            f.table("ItemGroup")[QStringLiteral("G-work")].insert(QStringLiteral("groupType"), QStringLiteral("50"));
        }) << "ItemGroup"
                                                        << "G-work"
                                                        << "groupType";
        QTest::newRow("wrong type: real for an integer") << Damage([](ExportFolder &f) {
            f.table("Label")[QStringLiteral("L-red")].insert(QStringLiteral("groupType"), 1020.0);
        }) << "Label"
                                                         << "L-red"
                                                         << "groupType";
        QTest::newRow("wrong type: integer for a real") << Damage([](ExportFolder &f) {
            f.table("Label")[QStringLiteral("L-red")].insert(QStringLiteral("redComponent"), 1);
        }) << "Label"
                                                        << "L-red"
                                                        << "redComponent";
        QTest::newRow("wrong type: integer for a boolean") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("extensionHidden"), 1);
        }) << "Item"
                                                           << "I-photo"
                                                           << "extensionHidden";
        QTest::newRow("wrong type: date as text") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("dateCreated"),
                                                              QStringLiteral("2019-05-01"));
        }) << "Item"
                                                  << "I-photo"
                                                  << "dateCreated";
        QTest::newRow("wrong constant") << Damage([](ExportFolder &f) {
            f.table("SmartGroup")[QStringLiteral("TC-all")].insert(QStringLiteral("groupType"), 50);
        }) << "SmartGroup"
                                        << "TC-all"
                                        << "groupType";
        QTest::newRow("wrong parent") << Damage([](ExportFolder &f) {
            f.table("ItemGroup")[QStringLiteral("G-work")].insert(QStringLiteral("parent"), QStringLiteral("G-empty"));
        }) << "ItemGroup"
                                      << "G-work"
                                      << "parent";
        QTest::newRow("wrong key string") << Damage([](ExportFolder &f) {
            f.table("RuleValue")[kRuleValueWork].insert(QStringLiteral("keyString"), QStringLiteral("name"));
        }) << "RuleValue" << kRuleValueWork
                                          << "keyString";
        QTest::newRow("missing key") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("B-web")].remove(QStringLiteral("groups"));
        }) << "Item"
                                     << "B-web"
                                     << "groups";
        QTest::newRow("unknown record key") << Damage([](ExportFolder &f) {
            f.table("Label")[QStringLiteral("L-red")].insert(QStringLiteral("parent"), QStringLiteral("RootFolder"));
        }) << "Label"
                                            << "L-red"
                                            << "parent";
        QTest::newRow("empty comments written") << Damage([](ExportFolder &f) {
            f.table("ItemGroup")[QStringLiteral("G-empty")].insert(QStringLiteral("comments"), QString());
        }) << "ItemGroup"
                                                << "G-empty"
                                                << "comments";
        QTest::newRow("identifier differs from key") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("D-manual")].insert(QStringLiteral("identifier"), QStringLiteral("D-other"));
        }) << "Item"
                                                     << "D-manual"
                                                     << "identifier";
        QTest::newRow("entity name differs from table") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("D-manual")].insert(kEntityName, QStringLiteral("Label"));
        }) << "Item"
                                                        << "D-manual" << kEntityName;
        QTest::newRow("lower-case rule set identifier") << Damage([](ExportFolder &f) {
            OVPlist set = f.table("RuleSet").value(kEmptyRuleSet);
            f.table("RuleSet").remove(kEmptyRuleSet);
            set.insert(QStringLiteral("identifier"), kEmptyRuleSet.toLower());
            f.table("RuleSet").insert(kEmptyRuleSet.toLower(), set);
            f.table("SmartGroup")[QStringLiteral("TC-empty")].insert(QStringLiteral("ruleSet"),
                                                                     kEmptyRuleSet.toLower());
        }) << "RuleSet" << kEmptyRuleSet.toLower() << "identifier";
        QTest::newRow("missing item file")
            << Damage([](ExportFolder &f) { QFile::remove(f.itemPath("Images/Photo.png")); }) << "Item"
            << "I-photo"
            << "absoluteFilename";
        QTest::newRow("item file outside the export folder") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("absoluteFilename"),
                                                              QDir::homePath() + QStringLiteral("/Photo.png"));
        }) << "Item"
                                                             << "I-photo"
                                                             << "absoluteFilename";
        QTest::newRow("file name is not the path's") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("filename"), QStringLiteral("Other.png"));
        }) << "Item"
                                                     << "I-photo"
                                                     << "filename";
        QTest::newRow("name is not the file name") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("name"), QStringLiteral("Picture"));
        }) << "Item"
                                                   << "I-photo"
                                                   << "name";
        QTest::newRow("unknown item kind") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("itemType"), 9);
        }) << "Item"
                                           << "I-photo"
                                           << "itemType";
        QTest::newRow("dangling label") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("N-agenda")].insert(QStringLiteral("label"), QStringLiteral("L-gone"));
        }) << "Item"
                                        << "N-agenda"
                                        << "label";
        QTest::newRow("dangling group") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(
                QStringLiteral("groups"), QStringList {QStringLiteral("LibraryGroup"), QStringLiteral("G-gone")});
        }) << "Item"
                                        << "I-photo"
                                        << "groups";
        QTest::newRow("groups without the library group") << Damage([](ExportFolder &f) {
            f.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("groups"),
                                                              QStringList {QStringLiteral("G-work")});
        }) << "Item"
                                                          << "I-photo"
                                                          << "groups";
        QTest::newRow("dangling rule set") << Damage([](ExportFolder &f) {
            f.table("SmartGroup")[QStringLiteral("TC-all")].insert(
                QStringLiteral("ruleSet"), QStringLiteral("00000000-0000-4000-8000-000000000000"));
        }) << "SmartGroup"
                                           << "TC-all"
                                           << "ruleSet";
        QTest::newRow("rule set of another smart group") << Damage([](ExportFolder &f) {
            f.table("RuleSet")[kEmptyRuleSet].insert(QStringLiteral("smartGroup"), QStringLiteral("TC-all"));
        }) << "RuleSet" << kEmptyRuleSet << "smartGroup";
        QTest::newRow("rule value not listed by its rule set") << Damage([](ExportFolder &f) {
            f.table("RuleSet")[kRuleSet].insert(QStringLiteral("ruleValues"), QStringList {kRuleValueUrgent});
        }) << "RuleValue" << kRuleValueWork << "ruleSet";
        QTest::newRow("rule value pointing elsewhere") << Damage([](ExportFolder &f) {
            f.table("RuleValue")[kRuleValueWork].insert(QStringLiteral("ruleSet"), kEmptyRuleSet);
        }) << "RuleSet" << kRuleSet << "ruleValues";
        QTest::newRow("value data is no keyed archive") << Damage([](ExportFolder &f) {
            f.table("RuleValue")[kRuleValueWork].insert(QStringLiteral("valueData"), QByteArray("work"));
        }) << "RuleValue" << kRuleValueWork << "valueData";
        QTest::newRow("value data archives no string") << Damage([](ExportFolder &f) {
            f.table("RuleValue")[kRuleValueWork].insert(QStringLiteral("valueData"),
                                                        OVKeyedArchiver::archivedDataWithRootObject(42));
        }) << "RuleValue" << kRuleValueWork << "valueData";
        QTest::newRow("label component out of range") << Damage([](ExportFolder &f) {
            f.table("Label")[QStringLiteral("L-red")].insert(QStringLiteral("alphaComponent"), 1.5);
        }) << "Label"
                                                      << "L-red"
                                                      << "alphaComponent";
        QTest::newRow("record that is no dictionary")
            << Damage([](ExportFolder &f) { f.table("Label").insert(QStringLiteral("L-odd"), QStringLiteral("red")); })
            << "Label"
            << "L-odd" << none;
    }

    void malformedLibrariesAreRefused()
    {
        QFETCH(std::function<void(ExportFolder &)>, damage);
        QFETCH(QString, table);
        QFETCH(QString, identifier);
        QFETCH(QString, key);
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        damage(exportFolder);
        Standin::NortavelLibraryValidator validator(exportFolder.libraryFile());
        QVERIFY(!validator.validate(exportFolder.library()));
        QVERIFY2(hasProblem(validator.problems(), table, identifier, key), qPrintable(describe(validator.problems())));
    }

    void anythingThatIsNoLibraryIsRefusedQuietly()
    {
        Standin::NortavelLibraryValidator validator;
        QVERIFY(!validator.validate(QByteArray("not a property list")));
        QCOMPARE(validator.problems().size(), 1);
        QVERIFY(!validator.validate(QByteArray()));
        QVERIFY(!validator.validate(OVPlist(QStringList {QStringLiteral("Entities")})));
        QVERIFY(!validator.validate(OVPlist()));
        OVPlist odd = OVPlist::dictionary();
        odd.insert(QStringLiteral("Entities"), OVPlist::dictionary());
        odd[QStringLiteral("Entities")].insert(QStringLiteral("Item"), OVPlist::dictionary());
        odd[QStringLiteral("Entities")][QStringLiteral("Item")].insert(QStringLiteral("x"), OVPlist::dictionary());
        QVERIFY(!validator.validate(odd));
        QVERIFY(
            hasProblem(validator.problems(), QStringLiteral("Item"), QStringLiteral("x"), QStringLiteral("groups")));
    }

    // Damaged bytes of a good file (cut short anywhere, bytes changed anywhere) are refused
    // or accepted, never a crash: what a fuzzer checks, kept here for every build.
    void damagedBytesNeverCrash()
    {
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        for (const auto format : {OVPlistSerialization::Format::Xml, OVPlistSerialization::Format::Binary}) {
            const QByteArray good = OVPlistSerialization::dataWithPropertyList(exportFolder.library(), format);
            QVERIFY(!good.isEmpty());
            Standin::NortavelLibraryValidator validator(exportFolder.libraryFile());
            QVERIFY(validator.validate(good));
            for (qsizetype at = 0; at < good.size(); at += 53) {
                QVERIFY(!validator.validate(good.left(at)));
                QVERIFY(!validator.problems().isEmpty());
                QByteArray changed = good;
                changed[at] = char(changed.at(at) ^ 0x5a);
                if (!validator.validate(changed))
                    QVERIFY(!validator.problems().isEmpty());
                changed[at] = '\0';
                if (!validator.validate(changed))
                    QVERIFY(!validator.problems().isEmpty());
            }
        }
    }

    void goodLibraryIsIngested()
    {
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        // A link inside a package that points back up would be a loop if it were followed.
        QVERIFY(QFile::link(QStringLiteral(".."), exportFolder.itemPath("Notes/Agenda.nvnote/loop")));
        QVERIFY(exportFolder.write());
        const QString data = folder.filePath(QStringLiteral("data"));
        Target target;
        QVERIFY(target.start(data, {QStringLiteral("--version"), QStringLiteral("3.5.2")}));

        const QDBusMessage properties = target.call(QStringLiteral("Properties"));
        QCOMPARE(properties.signature(), QStringLiteral("a{sv}"));
        QCOMPARE(qdbus_cast<QVariantMap>(properties.arguments().value(0)).value(QStringLiteral("version")).toString(),
                 QStringLiteral("3.5.2"));
        QCOMPARE(target.call(QStringLiteral("Activate")).type(), QDBusMessage::ReplyMessage);

        QDBusMessage reply;
        const QJsonObject report = target.import({exportFolder.libraryFile()}, &reply);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        const QJsonObject entry = report.value(QStringLiteral("imports")).toArray().at(0).toObject();
        QVERIFY2(entry.value(QStringLiteral("accepted")).toBool(), QJsonDocument(entry).toJson().constData());
        QCOMPARE(entry.value(QStringLiteral("problems")).toArray().size(), 0);
        QCOMPARE(entry.value(QStringLiteral("method")).toString(), QStringLiteral("Tfcp"));
        QCOMPARE(entry.value(QStringLiteral("options")).toObject().value(QStringLiteral("withRating")).toInt(-1), 0);
        QCOMPARE(entry.value(QStringLiteral("activatedBefore")).toBool(), true);
        const QJsonObject taken = entry.value(QStringLiteral("taken")).toObject();
        QCOMPARE(
            taken.value(QStringLiteral("tables")).toObject(),
            (QJsonObject {
                {"ItemGroup", 2}, {"SmartGroup", 2}, {"RuleSet", 2}, {"RuleValue", 2}, {"Label", 1}, {"Item", 7}}));
        QCOMPARE(taken.value(QStringLiteral("itemsByKind")).toObject(),
                 (QJsonObject {{"Notes", 2}, {"Images", 1}, {"Bookmarks", 1}, {"Documents", 1}, {"Web Pages", 2}}));
        QCOMPARE(taken.value(QStringLiteral("encryptedItems")).toInt(), 1);

        const QDir imported(entry.value(QStringLiteral("libraryFolder")).toString());
        QCOMPARE(imported.path(), data + QStringLiteral("/Library/Import 1"));
        QVERIFY(QFileInfo(imported.filePath(QStringLiteral("Items/Notes/Agenda.nvnote/TXT.rtf"))).isFile());
        QCOMPARE(QFileInfo(imported.filePath(QStringLiteral("Items/Notes/Agenda.nvnote/loop"))).symLinkTarget(),
                 imported.filePath(QStringLiteral("Items/Notes")));
        QVERIFY(QFileInfo::exists(imported.filePath(QStringLiteral("Items/Web Pages/Archive.webarchive"))));
        QVERIFY(QFileInfo::exists(imported.filePath(QStringLiteral("Kastrel.nvlibxml"))));
        QCOMPARE(entry.value(QStringLiteral("files")).toObject().value(QStringLiteral("I-photo")).toString(),
                 QStringLiteral("Items/Images/Photo.png"));
        QFile photo(imported.filePath(QStringLiteral("Items/Images/Photo.png")));
        QVERIFY(photo.open(QIODevice::ReadOnly));
        QCOMPARE(photo.readAll(), QByteArray("image bytes"));

        // The export folder is gone once its contents are in the library.
        QCOMPARE(entry.value(QStringLiteral("removed")).toString(), exportFolder.path());
        QVERIFY(!QFileInfo::exists(exportFolder.path()));
        QVERIFY(QDir(data + QStringLiteral("/Library")).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)
                == QStringList {QStringLiteral("Import 1")});
    }

    void malformedFileIsRefusedOverTheBus_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("key");
        QTest::newRow("missing table") << "missing table"
                                       << "RuleSet"
                                       << "";
        QTest::newRow("wrong type") << "wrong type"
                                    << "Item"
                                    << "itemType";
        QTest::newRow("missing item file") << "missing item file"
                                           << "Item"
                                           << "absoluteFilename";
        QTest::newRow("dangling label") << "dangling label"
                                        << "Item"
                                        << "label";
        QTest::newRow("not a property list") << "not a property list"
                                             << ""
                                             << "";
    }

    void malformedFileIsRefusedOverTheBus()
    {
        QFETCH(QString, damage);
        QFETCH(QString, table);
        QFETCH(QString, key);
        QTemporaryDir folder;
        ExportFolder exportFolder(folder.filePath(QStringLiteral("Kastrel")));
        if (damage == QLatin1String("missing table"))
            exportFolder.library()[QStringLiteral("Entities")].remove(QStringLiteral("RuleSet"));
        else if (damage == QLatin1String("wrong type"))
            exportFolder.table("Item")[QStringLiteral("B-web")].insert(QStringLiteral("itemType"), QStringLiteral("6"));
        else if (damage == QLatin1String("missing item file"))
            QVERIFY(QDir(exportFolder.itemPath("Notes/Agenda.nvnote")).removeRecursively());
        else if (damage == QLatin1String("dangling label"))
            exportFolder.table("Item")[QStringLiteral("I-photo")].insert(QStringLiteral("label"),
                                                                         QStringLiteral("L-x"));
        QVERIFY(exportFolder.write());
        if (damage == QLatin1String("not a property list"))
            QVERIFY(writeFile(exportFolder.libraryFile(), "<plist><dict><key>Entities"));

        const QString data = folder.filePath(QStringLiteral("data"));
        Target target;
        QVERIFY(target.start(data, {QStringLiteral("--version"), QStringLiteral("3.5")}));
        QDBusMessage reply;
        const QJsonObject report = target.import({exportFolder.libraryFile()}, &reply);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        const QJsonObject entry = report.value(QStringLiteral("imports")).toArray().at(0).toObject();
        QCOMPARE(entry.value(QStringLiteral("file")).toString(), exportFolder.libraryFile());
        QCOMPARE(entry.value(QStringLiteral("accepted")).toBool(true), false);
        QVERIFY(!entry.contains(QStringLiteral("taken")));
        QCOMPARE(entry.value(QStringLiteral("activatedBefore")).toBool(true), false);
        const QJsonArray problems = entry.value(QStringLiteral("problems")).toArray();
        QVERIFY(!problems.isEmpty());
        bool found = false;
        for (const QJsonValue problem : problems) {
            const QJsonObject object = problem.toObject();
            QVERIFY(!object.value(QStringLiteral("message")).toString().isEmpty());
            found = found
                || (object.value(QStringLiteral("table")).toString() == table
                    && object.value(QStringLiteral("key")).toString() == key);
        }
        QVERIFY2(found, QJsonDocument(problems).toJson().constData());

        // Nothing imported, nothing half-imported, and the export folder left alone.
        QVERIFY(QDir(data + QStringLiteral("/Library")).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)
                || !QFileInfo::exists(data + QStringLiteral("/Library")));
        QVERIFY(QDir(data).entryList({QStringLiteral(".incoming-*")}, QDir::Dirs | QDir::Hidden).isEmpty());
        QVERIFY(QFileInfo::exists(exportFolder.libraryFile()));
    }

    void malformedCommandIsAnError_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<uint>("by");
        QTest::addColumn<QVariantMap>("options");
        const QStringList file {QStringLiteral("/tmp/Kastrel/Kastrel.nvlibxml")};
        QTest::newRow("no files") << QStringList() << kCopyMethod << QVariantMap();
        QTest::newRow("relative path") << QStringList {QStringLiteral("Kastrel.nvlibxml")} << kCopyMethod
                                       << QVariantMap();
        QTest::newRow("unknown method") << file << 0x54666d76u << QVariantMap();
        QTest::newRow("unknown option") << file << kCopyMethod << QVariantMap {{QStringLiteral("withColour"), 1}};
        QTest::newRow("rating as text") << file << kCopyMethod << QVariantMap {{QStringLiteral("withRating"), "0"}};
    }

    void malformedCommandIsAnError()
    {
        QFETCH(QStringList, files);
        QFETCH(uint, by);
        QFETCH(QVariantMap, options);
        QTemporaryDir folder;
        Target target;
        QVERIFY(target.start(folder.path()));
        const QDBusMessage reply = target.call(QStringLiteral("ImportFiles"), {files, by, options});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        target.call(QStringLiteral("Properties"));
        QVERIFY(!QFileInfo::exists(target.report()));
    }

    void noVersionIsLeftOut()
    {
        QTemporaryDir folder;
        Target target;
        QVERIFY(target.start(folder.path()));
        const QDBusMessage reply = target.call(QStringLiteral("Properties"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QVERIFY(qdbus_cast<QVariantMap>(reply.arguments().value(0)).isEmpty());
    }

    void installedStandinIsActivatedByTheBus()
    {
        const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
        QProcess install;
        install.start(executable(),
                      {QStringLiteral("install"), QStringLiteral("--identifier"),
                       QStringLiteral("com.orvantis.Nortavel3.mac"), QStringLiteral("--version"),
                       QStringLiteral("3.6")});
        QVERIFY(install.waitForFinished(30000));
        QCOMPARE(install.exitCode(), 0);
        QFile desktop(dataHome + QStringLiteral("/applications/com.orvantis.Nortavel3.mac.desktop"));
        QVERIFY(desktop.open(QIODevice::ReadOnly));
        QVERIFY(desktop.readAll().contains("\nExec=" + executable().toUtf8()
                                           + " serve --identifier com.orvantis.Nortavel3.mac --version 3.6\n"));
        QFile service(dataHome + QStringLiteral("/dbus-1/services/com.orvantis.Nortavel3.mac.service"));
        QVERIFY(service.open(QIODevice::ReadOnly));
        QCOMPARE(service.readAll(),
                 "[D-BUS Service]\nName=com.orvantis.Nortavel3.mac\nExec=" + executable().toUtf8()
                     + " serve --identifier com.orvantis.Nortavel3.mac --version 3.6\n");

        // The services folder did not exist when this test's bus started; the installer has the
        // bus read it again, so the name is listed as activatable before anyone calls it.
        const QDBusReply<QStringList> activatable
            = QDBusConnection::sessionBus().interface()->activatableServiceNames();
        QVERIFY(activatable.value().contains(QStringLiteral("com.orvantis.Nortavel3.mac")));

        QDBusMessage call
            = QDBusMessage::createMethodCall(QStringLiteral("com.orvantis.Nortavel3.mac"), QStringLiteral("/"),
                                             kInterface, QStringLiteral("Properties"));
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(qdbus_cast<QVariantMap>(reply.arguments().value(0)).value(QStringLiteral("version")).toString(),
                 QStringLiteral("3.6"));
        const QDBusReply<uint> pid
            = QDBusConnection::sessionBus().interface()->servicePid(QStringLiteral("com.orvantis.Nortavel3.mac"));
        QVERIFY(pid.isValid());
        QProcess::execute(QStringLiteral("kill"), {QString::number(pid.value())});
    }
};

QTEST_GUILESS_MAIN(TestNortavelStandin)
#include "TestNortavelStandin.moc"
