// One item's bad data never stops the export, and no item vanishes: a date that is no date, a
// value of the wrong type or a label reference that leads nowhere leaves that item without
// the value and lists it as incomplete; two items with one identifier both arrive; a name with
// a carriage return reaches the library file so that any XML reader finds its file. In memory
// against the scripting double, and end to end through the bus against both stand-ins, where
// the library file is also read by Python's plistlib and by xmllint.
#include "FaultHarness.h"
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "foundation/OVPlistSerialization.h"

#include <QDBusObjectPath>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>
#include <limits>

using namespace FaultHarness;

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");

using Problem = KSImportOperation::ItemProblem;
using ProblemKind = KSImportOperation::ItemProblemKind;

QString describe(const QList<Problem> &problems)
{
    QStringList lines;
    for (const Problem &problem : problems)
        lines.append(
            QStringLiteral("%1 kind %2: %3").arg(problem.identifier).arg(int(problem.kind)).arg(problem.englishReason));
    return lines.join(QLatin1Char('\n'));
}

OVPlist itemTable(const KSImportOperation &operation)
{
    return KSImportOperationInspector::libraryPlist(operation)
        .value(QStringLiteral("Entities"))
        .value(QStringLiteral("Item"));
}

// Both applications, in memory, the source still empty.
std::shared_ptr<InMemoryScripting> applications()
{
    const auto apps = std::make_shared<InMemoryScripting>();
    apps->addNortavel(Target, QStringLiteral("3.6"));
    apps->addKastrel(Source, QStringLiteral("2.5"));
    return apps;
}

// Runs a process to its end and answers its exit code (-1 when it did not end by itself) and
// what it printed.
int runProcess(const QString &program, const QStringList &arguments, QString *output,
               QByteArray *standardOutput = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(240000) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished(10000);
        return -1;
    }
    const QByteArray out = process.readAllStandardOutput();
    if (standardOutput)
        *standardOutput = out;
    if (output)
        *output = QString::fromUtf8(process.readAllStandardError()) + QString::fromUtf8(out).left(8000);
    return process.exitCode();
}

// Values a source can really send for an item's optional properties, each of which the item
// must survive: name, property, value on the bus (in the stand-in's "served" form).
struct BadValue
{
    const char *id;
    const char *property;
    QJsonValue served;
};

QList<BadValue> badValues()
{
    const auto date = [](const QJsonValue &value) { return QJsonObject {{QStringLiteral("date"), value}}; };
    return {
        {"nan", "creationDate", date(QStringLiteral("NaN"))},
        {"inf", "modificationDate", date(QStringLiteral("Infinity"))},
        {"neginf", "creationDate", date(QStringLiteral("-Infinity"))},
        {"huge", "creationDate", date(1e300)},
        {"tiny", "modificationDate", date(-1e300)},
        {"year10000", "creationDate", date(253402300800.0)},
        {"year0", "creationDate", date(-62135596801.0)},
        {"datestring", "modificationDate", QStringLiteral("yesterday")},
        {"commentsnumber", "comments", QJsonObject {{QStringLiteral("integer"), 7}}},
        {"encryptedstring", "encrypted", QStringLiteral("yes")},
        {"labelstring", "label", QStringLiteral("L1")},
        {"labelnowhere", "label", QJsonObject {{QStringLiteral("objectPath"), QStringLiteral("/labels/99")}}},
    };
}

} // namespace

class TestItemFaults : public QObject
{
    Q_OBJECT

private slots:
    // In memory: each unusable value leaves its item without it, listed as incomplete.
    void unusablePropertyValuesLeaveTheItemWithoutThem_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("recordKey"); // the key the record must not hold
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        const int note = int(KastrelItemKind::Note);
        const int image = int(KastrelItemKind::Image);
        QTest::newRow("NaN creation date") << note << "creationDate" << QVariant(nan) << "dateCreated";
        QTest::newRow("infinite modification date")
            << image << "modificationDate" << QVariant(infinity) << "dateModified";
        QTest::newRow("minus infinity") << note << "creationDate" << QVariant(-infinity) << "dateCreated";
        QTest::newRow("1e300") << image << "creationDate" << QVariant(1e300) << "dateCreated";
        QTest::newRow("-1e300") << note << "modificationDate" << QVariant(-1e300) << "dateModified";
        QTest::newRow("year 10000") << note << "creationDate" << QVariant(253402300800.0) << "dateCreated";
        QTest::newRow("rounding into year 10000")
            << note << "creationDate" << QVariant(253402300799.9996) << "dateCreated";
        QTest::newRow("before year 1") << note << "creationDate" << QVariant(-62135596801.0) << "dateCreated";
        QTest::newRow("date as text") << note << "creationDate" << QVariant(QStringLiteral("2020")) << "dateCreated";
        QTest::newRow("comments as integer") << note << "comments" << QVariant(7) << "comments";
        QTest::newRow("encrypted as text")
            << note << "encrypted" << QVariant(QStringLiteral("yes")) << "com.orvantis.Nortavel.EncryptItemOnImport";
        QTest::newRow("label as text") << image << "label" << QVariant(QStringLiteral("L1")) << "label";
        QTest::newRow("label leading nowhere")
            << note << "label" << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/nowhere/1"))) << "label";
        QTest::newRow("location as truth value")
            << int(KastrelItemKind::Bookmark) << "location" << QVariant(true) << "absent";
    }

    void unusablePropertyValuesLeaveTheItemWithoutThem()
    {
        QFETCH(int, kind);
        QFETCH(QString, property);
        QFETCH(QVariant, value);
        QFETCH(QString, recordKey);
        const auto apps = applications();
        InMemoryKastrel source = apps->kastrel(Source);
        const QString label
            = source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        const QString ordinary = source.addItem(KastrelItemKind::Note, QStringLiteral("N0"), QStringLiteral("Fine"));
        source.setLabel(ordinary, label);
        const QString bad = source.addItem(KastrelItemKind(kind), QStringLiteral("BAD"), QStringLiteral("Bad value"));
        source.setProperty(bad, QStringLiteral("creationDate"), QDateTime::fromSecsSinceEpoch(1500000000, Qt::UTC));
        source.setProperty(bad, QStringLiteral("modificationDate"), QDateTime::fromSecsSinceEpoch(1600000000, Qt::UTC));
        source.setProperty(bad, property, value);
        const QString after = source.addItem(KastrelItemKind::Note, QStringLiteral("N9"), QStringLiteral("After"));

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation, apps);

        QVERIFY2(delegate->errors.isEmpty(), qPrintable(delegate->errors.value(0).localizedDescription));
        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("end")}));
        QCOMPARE(apps->importCalls().size(), 1);
        const OVPlist items = itemTable(*operation);
        QCOMPARE(items.size(), 3);
        const OVPlist record = items.value(QStringLiteral("BAD"));
        QVERIFY(record.isDictionary());
        QVERIFY2(!record.contains(recordKey), qPrintable(recordKey));
        QCOMPARE(items.value(QStringLiteral("N0")).value(QStringLiteral("label")).toString(), QStringLiteral("L1"));
        QVERIFY(items.contains(QStringLiteral("N9")));
        Q_UNUSED(after)

        // Listed once, as incomplete, naming the property; the other items are not.
        const QList<Problem> problems = operation->itemProblems();
        QCOMPARE(problems.size(), 1);
        QCOMPARE(problems.first().identifier, QStringLiteral("BAD"));
        QCOMPARE(problems.first().name, QStringLiteral("Bad value"));
        QCOMPARE(problems.first().kind, ProblemKind::Incomplete);
        QVERIFY2(
            problems.first().englishReason.startsWith(QStringLiteral("its \"%1\" could not be used (").arg(property)),
            qPrintable(problems.first().englishReason));
        QVERIFY2(readLog().contains(QStringLiteral("Item with identifier BAD (\"Bad value\") was not fully imported: "
                                                   "its \"%1\" could not be used")
                                        .arg(property)),
                 qPrintable(readLog().right(2000)));
    }

    // The date range is that of the years 1 to 9999, both ends included.
    void datesAtTheEndsOfTheRangeArrive()
    {
        const auto apps = applications();
        InMemoryKastrel source = apps->kastrel(Source);
        const QString item = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Old"));
        source.setProperty(item, QStringLiteral("creationDate"), -62135596800.0);
        source.setProperty(item, QStringLiteral("modificationDate"), 253402300799.0);

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation, apps);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("end")}));
        QVERIFY2(operation->itemProblems().isEmpty(), qPrintable(describe(operation->itemProblems())));
        const OVPlist record = itemTable(*operation).value(QStringLiteral("N1"));
        QCOMPARE(record.value(QStringLiteral("dateCreated")).toDate(), QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC));
        QCOMPARE(record.value(QStringLiteral("dateModified")).toDate(),
                 QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), Qt::UTC));
    }

    // A required property still stops the run: without an identifier there is no record.
    void unreadableIdentifierStillStopsTheRun()
    {
        const auto apps = applications();
        InMemoryKastrel source = apps->kastrel(Source);
        const QString item = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Note"));
        source.setProperty(item, QStringLiteral("id"), 12);

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation, apps);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10004"), QStringLiteral("cancel")}));
        QVERIFY(apps->importCalls().isEmpty());
    }

    // Two items with one identifier both arrive; the later one under an identifier of its own,
    // the same in every run, outside the groups, which keep the first.
    void sharedIdentifiersGiveEveryItemARecord()
    {
        const auto apps = applications();
        InMemoryKastrel source = apps->kastrel(Source);
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Work"));
        const QString first = source.addItem(KastrelItemKind::Note, QStringLiteral("D"), QStringLiteral("First"));
        source.addItem(KastrelItemKind::Note, QStringLiteral("D"), QStringLiteral("Second"));
        source.addItem(KastrelItemKind::Note, QStringLiteral("D-2"), QStringLiteral("Taken"));
        source.addItem(KastrelItemKind::Bookmark, QStringLiteral("D"), QStringLiteral("Site"));
        source.addMember(group, first);

        for (int run = 0; run < 2; ++run) {
            std::unique_ptr<KSImportOperation> operation;
            const auto delegate = runWithAllOptions(operation, apps);

            QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("end")}));
            const OVPlist items = itemTable(*operation);
            QCOMPARE(items.size(), 4);
            QCOMPARE(items.value(QStringLiteral("D")).value(QStringLiteral("name")).toString(),
                     QStringLiteral("First"));
            QCOMPARE(items.value(QStringLiteral("D-2")).value(QStringLiteral("name")).toString(),
                     QStringLiteral("Second"));
            QCOMPARE(items.value(QStringLiteral("D-2-2")).value(QStringLiteral("name")).toString(),
                     QStringLiteral("Taken"));
            QCOMPARE(items.value(QStringLiteral("D-3")).value(QStringLiteral("itemType")).toInteger(), 6);
            for (const char *identifier : {"D-2", "D-2-2", "D-3"})
                QCOMPARE(items.value(QString::fromLatin1(identifier)).value(QStringLiteral("identifier")).toString(),
                         QString::fromLatin1(identifier));
            QCOMPARE(items.value(QStringLiteral("D")).value(QStringLiteral("groups")).toArray().size(), 2);
            QCOMPARE(items.value(QStringLiteral("D-2")).value(QStringLiteral("groups")).toArray(),
                     OVPlist::Array {OVPlist(QStringLiteral("LibraryGroup"))});

            const QList<Problem> problems = operation->itemProblems();
            QCOMPARE(problems.size(), 3);
            QCOMPARE(problems.at(0).identifier, QStringLiteral("D"));
            QCOMPARE(problems.at(0).name, QStringLiteral("Second"));
            QCOMPARE(problems.at(0).kind, ProblemKind::Incomplete);
            QCOMPARE(problems.at(0).englishReason,
                     QStringLiteral("its identifier is that of an earlier item: it arrived as \"D-2\", outside the "
                                    "groups that list \"D\""));
            QCOMPARE(problems.at(1).identifier, QStringLiteral("D-2"));
            QCOMPARE(problems.at(2).optionKey, QStringLiteral("bookmarks"));
            QVERIFY(readLog().contains(QStringLiteral("Item with identifier D (\"Second\") was not fully imported: "
                                                      "its identifier is that of an earlier item")));
        }
    }

    // Through the bus: a library holding every such value, shared identifiers and names with
    // carriage returns among ordinary items ends with exit status 3, every item in the target
    // or listed, and a library file that plistlib and xmllint read, naming files that are there.
    void everyBadValueTogetherThroughTheBus()
    {
        const QString importer = QDir(QStringLiteral(KI_BIN_DIR)).filePath(QStringLiteral("kastrel-importer"));
        if (!QFileInfo(importer).isExecutable())
            QSKIP("kastrel-importer is not built");
        const QString xmllint = QStandardPaths::findExecutable(QStringLiteral("xmllint"));
        if (xmllint.isEmpty())
            QSKIP("xmllint is not installed (Debian package libxml2-utils)");

        QJsonArray items;
        const QStringList kinds {QStringLiteral("note"),         QStringLiteral("bookmark"),
                                 QStringLiteral("serialNumber"), QStringLiteral("password"),
                                 QStringLiteral("image"),        QStringLiteral("pdfArchive"),
                                 QStringLiteral("webArchive")};
        for (const QString &kind : kinds)
            items.append(item(kind, QStringLiteral("fine-") + kind, QStringLiteral("Fine ") + kind,
                              {{QStringLiteral("label"), QStringLiteral("L1")},
                               {QStringLiteral("creationDate"), QStringLiteral("2019-05-01T10:00:00Z")}}));
        QStringList incomplete;
        int index = 0;
        for (const BadValue &bad : badValues()) {
            // Every bad value on a kind in turn; bookmarks and PDFs keep their dates on the file.
            const QString kind = kinds.at(index++ % kinds.size());
            const QString id = QStringLiteral("bad-") + QString::fromLatin1(bad.id);
            items.append(
                item(kind, id, QStringLiteral("Bad ") + QString::fromLatin1(bad.id),
                     {{QStringLiteral("served"), QJsonObject {{QString::fromLatin1(bad.property), bad.served}}}}));
            incomplete.append(id);
        }
        items.append(item(QStringLiteral("bookmark"), QStringLiteral("bad-location"), QStringLiteral("Bad location"),
                          {{QStringLiteral("served"), QJsonObject {{QStringLiteral("location"), true}}}}));
        incomplete.append(QStringLiteral("bad-location"));
        // Shared identifiers: two notes, and a note and a bookmark.
        items.append(item(QStringLiteral("note"), QStringLiteral("twice"), QStringLiteral("Twice one")));
        items.append(item(QStringLiteral("note"), QStringLiteral("twice"), QStringLiteral("Twice two")));
        items.append(item(QStringLiteral("bookmark"), QStringLiteral("twice"), QStringLiteral("Twice three")));
        // Carriage returns, alone and before a line feed, in names, comments and tags.
        for (const QString &kind : kinds) {
            items.append(item(kind, QStringLiteral("cr-") + kind, QStringLiteral("carriage\rreturn ") + kind,
                              {{QStringLiteral("comments"), QStringLiteral("one\rtwo\r\nthree")},
                               {QStringLiteral("tags"), QJsonArray {QStringLiteral("a\rb")}}}));
            items.append(item(kind, QStringLiteral("crlf-") + kind, QStringLiteral("crlf\r\n") + kind));
        }
        const QJsonObject manifest {
            {QStringLiteral("labels"),
             QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("L1")},
                                      {QStringLiteral("name"), QStringLiteral("Red\rlabel")},
                                      {QStringLiteral("color"), QStringLiteral("red")}}}},
            {QStringLiteral("folderCollections"),
             QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("G1")},
                                      {QStringLiteral("name"), QStringLiteral("Group\r\nname")},
                                      {QStringLiteral("items"), QJsonArray {QStringLiteral("fine-note")}}}}},
            {QStringLiteral("items"), items}};
        QVERIFY(installStandins(writeLibrary(QStringLiteral("item-faults"), manifest)));

        QString output;
        QByteArray json;
        const int status = runProcess(importer, {QStringLiteral("export"), QStringLiteral("--json")}, &output, &json);
        QVERIFY2(status == 3, qPrintable(output));
        const QJsonObject summary = QJsonDocument::fromJson(json).object();
        QCOMPARE(summary.value(QStringLiteral("exitStatus")).toInt(), 3);
        QMap<QString, QStringList> listed;
        for (const QJsonValue &value : summary.value(QStringLiteral("problems")).toArray()) {
            const QJsonObject problem = value.toObject();
            QCOMPARE(problem.value(QStringLiteral("kind")).toString(), QStringLiteral("incomplete"));
            listed[problem.value(QStringLiteral("identifier")).toString()].append(
                problem.value(QStringLiteral("reason")).toString());
        }
        for (const QString &id : std::as_const(incomplete))
            QVERIFY2(listed.value(id).size() == 1, qPrintable(id + QLatin1Char('\n') + output));
        QCOMPARE(listed.value(QStringLiteral("twice")).size(), 2);
        QCOMPARE(listed.size(), incomplete.size() + 1);

        // Every item in the target: one record per item of the manifest.
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.value(QStringLiteral("accepted")).toBool(), QJsonDocument(imported).toJson().constData());
        const QJsonObject files = imported.value(QStringLiteral("files")).toObject();
        QCOMPARE(files.size(), items.size());
        for (const char *id : {"twice", "twice-2", "twice-3", "cr-image", "crlf-pdfArchive", "cr-note"})
            QVERIFY2(files.contains(QString::fromLatin1(id)), id);

        // Other programs read the library file: the project's reader, plistlib and xmllint.
        const QString library = QDir(imported.value(QStringLiteral("libraryFolder")).toString())
                                    .filePath(QStringLiteral("Kastrel.nvlibxml"));
        const OVPlist records = OVPlistSerialization::propertyListWithContentsOfFile(library)
                                    .value(QStringLiteral("Entities"))
                                    .value(QStringLiteral("Item"));
        QVERIFY(records.value(QStringLiteral("cr-image"))
                    .value(QStringLiteral("absoluteFilename"))
                    .toString()
                    .contains(QStringLiteral("carriage\rreturn image")));
        QCOMPARE(records.value(QStringLiteral("cr-note")).value(QStringLiteral("comments")).toString(),
                 QStringLiteral("one\rtwo\r\nthree"));
        QCOMPARE(records.value(QStringLiteral("cr-note")).value(QStringLiteral("tagsString")).toString(),
                 QStringLiteral("a\rb"));
        QVERIFY2(runProcess(QStringLiteral("/usr/bin/python3"),
                            {QStringLiteral(KI_SOURCE_DIR "/tests/scripts/check_library_file.py"), library,
                             QString::number(items.size())},
                            &output)
                     == 0,
                 qPrintable(output));
        QVERIFY2(runProcess(xmllint, {QStringLiteral("--noout"), library}, &output) == 0, qPrintable(output));
        // plistlib sees the carriage returns of the paths as they are on disk.
        const QString script = QStringLiteral(
            "import plistlib, sys\n"
            "items = plistlib.load(open(sys.argv[1], 'rb'))['Entities']['Item']\n"
            "sys.exit(0 if 'carriage\\rreturn image' in items['cr-image']['absoluteFilename']\n"
            "         and 'crlf\\r\\nwebArchive' in items['crlf-webArchive']['absoluteFilename'] else 1)\n");
        QVERIFY2(runProcess(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), script, library}, &output) == 0,
                 qPrintable(output));
    }
};

QTEST_GUILESS_MAIN(TestItemFaults)
#include "TestItemFaults.moc"
