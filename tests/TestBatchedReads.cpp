// Whole runs end to end through the session bus against the source stand-in, reading element
// lists in batches (ElementsOfEach) or, from a source that does not offer that, one list at a
// time: the same records, log lines and events either way, in fewer calls; and a source whose
// ElementsOfEach fails ends the run as any failed read of the source does.
#include "FaultHarness.h"
#include "engine/DBusScriptingBackend.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QtTest>

using namespace FaultHarness;

namespace {

const QString SourceName = QStringLiteral("com.fendwick.kastrel4");

QJsonArray strings(const QStringList &list)
{
    return QJsonArray::fromStringList(list);
}

// Items of several kinds with tags and labels, three groups and two tag collections.
QString taggedLibrary()
{
    QJsonArray items;
    const QStringList kinds {QStringLiteral("note"), QStringLiteral("bookmark"), QStringLiteral("image"),
                             QStringLiteral("serialNumber")};
    QStringList identifiers;
    for (int i = 0; i < 24; ++i) {
        const QString id = QStringLiteral("ITEM-%1").arg(i);
        identifiers.append(id);
        QJsonObject extra {{QStringLiteral("tags"),
                            strings({QStringLiteral("t%1").arg(i % 5), QStringLiteral("t%1").arg(i % 7 + 5)})}};
        if (i % 3 == 0)
            extra.insert(QStringLiteral("label"), QStringLiteral("L%1").arg(i % 2));
        items.append(item(kinds.at(i % kinds.size()), id, QStringLiteral("Item %1").arg(i), extra));
    }
    QJsonArray groups;
    for (int g = 0; g < 3; ++g)
        groups.append(QJsonObject {{QStringLiteral("id"), QStringLiteral("G%1").arg(g)},
                                   {QStringLiteral("name"), QStringLiteral("Group %1").arg(g)},
                                   {QStringLiteral("items"), strings(identifiers.mid(g * 5, 9))}});
    QJsonArray collections;
    for (int c = 0; c < 2; ++c)
        collections.append(QJsonObject {
            {QStringLiteral("id"), QStringLiteral("TC%1").arg(c)},
            {QStringLiteral("name"), QStringLiteral("Tags %1").arg(c)},
            {QStringLiteral("behavior"), QStringLiteral("TgAl")},
            {QStringLiteral("tags"), strings({QStringLiteral("t%1").arg(c), QStringLiteral("t%1").arg(c + 6)})}});
    QJsonArray labels;
    for (int l = 0; l < 2; ++l)
        labels.append(QJsonObject {{QStringLiteral("id"), QStringLiteral("L%1").arg(l)},
                                   {QStringLiteral("name"), QStringLiteral("Label %1").arg(l)},
                                   {QStringLiteral("color"), QStringLiteral("rgb 1 0 0 1")}});
    return writeLibrary(QStringLiteral("tagged"),
                        QJsonObject {{QStringLiteral("items"), items},
                                     {QStringLiteral("folderCollections"), groups},
                                     {QStringLiteral("tagCollections"), collections},
                                     {QStringLiteral("labels"), labels}});
}

// What a run left for a person or a program to see, the parts that differ from run to run
// (times, fresh identifiers) taken out.
struct RunAccount
{
    QStringList events;
    QStringList logLines;
    QJsonObject taken;
    QJsonObject files;
    QMap<QString, quint64> calls;
};

RunAccount runAgainst(const QString &library, const QString &elementsOfEach)
{
    QFile::remove(logFilePath());
    if (!installStandins(library, {QStringLiteral("--elements-of-each"), elementsOfEach}))
        return {};
    const auto backend = std::make_shared<DBusScriptingBackend>();
    std::unique_ptr<KSImportOperation> operation;
    const auto delegate = runWithAllOptions(operation, backend);
    RunAccount account;
    account.events = delegate->events;
    account.calls = backend->roundTripsByMethod();
    // Every line begins with its date and time; the rest is what the run wrote.
    static const QRegularExpression date(QStringLiteral("^\\S+ \\S+ \\S+ "));
    for (const QString &line : readLog().split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        account.logLines.append(QString(line).remove(date));
    const QJsonObject import = lastImport();
    account.taken = import.value(QStringLiteral("taken")).toObject();
    account.files = import.value(QStringLiteral("files")).toObject();
    return account;
}

quint64 sourceCalls(const RunAccount &account, const QString &method)
{
    return account.calls.value(SourceName + QLatin1Char(' ') + method);
}

} // namespace

class TestBatchedReads : public QObject
{
    Q_OBJECT

private slots:
    void batchedReadsGiveTheSameRunAsOneListAtATime()
    {
        const QString library = taggedLibrary();
        const RunAccount batched = runAgainst(library, QStringLiteral("served"));
        const RunAccount oneAtATime = runAgainst(library, QStringLiteral("missing"));

        QVERIFY(!batched.events.isEmpty());
        QCOMPARE(batched.events.last(), QStringLiteral("end"));
        QCOMPARE(batched.events, oneAtATime.events);
        QVERIFY(batched.logLines.contains(QStringLiteral("Adding tag t6 to smart group TC0")));
        QCOMPARE(batched.logLines, oneAtATime.logLines);
        QCOMPARE(batched.taken.value(QStringLiteral("tables")).toObject().value(QStringLiteral("Item")).toInt(), 24);
        QCOMPARE(batched.taken, oneAtATime.taken);
        QCOMPARE(batched.files, oneAtATime.files);

        // Batched: the lists of the groups, of the tag collections and of the tags of each of the
        // four kinds' items in one call each; Elements only for the application's own lists
        // (groups, tag collections, labels and the seven kinds of items).
        QCOMPARE(sourceCalls(batched, QStringLiteral("ElementsOfEach")), 2u + 4u);
        QCOMPARE(sourceCalls(batched, QStringLiteral("Elements")), 3u + 7u);
        // Without it: asked once, then one Elements call per group, tag collection and item.
        QCOMPARE(sourceCalls(oneAtATime, QStringLiteral("ElementsOfEach")), 1u);
        QCOMPARE(sourceCalls(oneAtATime, QStringLiteral("Elements")), 3u + 7u + 3u + 2u + 24u);
        QCOMPARE(sourceCalls(batched, QStringLiteral("Export")), sourceCalls(oneAtATime, QStringLiteral("Export")));
        QVERIFY(sourceCalls(batched, QStringLiteral("Properties"))
                <= sourceCalls(oneAtATime, QStringLiteral("Properties")));
    }

    void failingElementsOfEachEndsTheRunAsAFailedRead()
    {
        const QString library = writeLibrary(
            QStringLiteral("failing-lists"),
            QJsonObject {{QStringLiteral("items"),
                          QJsonArray {item(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("First"),
                                           {{QStringLiteral("tags"), strings({QStringLiteral("a")})}}),
                                      item(QStringLiteral("note"), QStringLiteral("N2"), QStringLiteral("Second"),
                                           {{QStringLiteral("tags"), strings({QStringLiteral("b")})}})}}});
        QVERIFY(installStandins(library, {QStringLiteral("--elements-of-each"), QStringLiteral("failing")}));
        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10004"), QStringLiteral("cancel")}));
        QCOMPARE(delegate->errors.size(), 1);
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Kastrel did not answer as expected while \"First\" was being exported. Nothing was "
                                "handed to Nortavel 3; the details are in the log."));
        const QStringList failures = readLog().split(QLatin1Char('\n')).filter(QStringLiteral("Scripting failure: "));
        QCOMPARE(failures.size(), 1);
        QVERIFY2(failures.first().contains(
                     QStringLiteral("Scripting failure: ElementsOfEach of element \"tags\" of 2 objects from /items/0 "
                                    "in com.fendwick.kastrel4 failed: org.freedesktop.DBus.Error.Failed: ")),
                 qPrintable(failures.first()));
        QVERIFY(readLog().contains(QStringLiteral("Kept the unfinished export folder ") + exportFolder()));
        QVERIFY(!QFileInfo::exists(QDir(exportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))));
        QVERIFY(lastImport().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestBatchedReads)
#include "TestBatchedReads.moc"
