// What the source application hands over is not to be trusted: names with "/", "..", control
// characters, carriage returns, thousands of characters or different Unicode forms of one
// name, tag names with commas, a megabyte of colour, and Export answers that point outside
// the folder given. The export writes and deletes nothing outside the export folder, the log
// folder and the user's temporary folder; and the per-user temporary folder is refused when it
// is a link or another user's, never followed and never deleted.
#include "FaultHarness.h"
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "engine/KSImportErrors.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVStandardPaths.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QScopeGuard>
#include <QSet>
#include <QtTest>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace FaultHarness;

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The test's throw-away root: the parent of its home and temporary folders.
QString testRoot()
{
    return QFileInfo(QDir::homePath()).absolutePath();
}

// Everything under the test's root except the folders the run may write: the temporary
// folder (export folder and all), the data folder (log folder, the stand-ins' installation
// and the target's own data) and the runtime folder of the bus.
QMap<QString, QString> outsideSnapshot()
{
    QMap<QString, QString> entries = snapshot(testRoot());
    const QStringList allowed {QStringLiteral("tmp"), QStringLiteral("data"), QStringLiteral("runtime"),
                               QStringLiteral("cache"), QStringLiteral("config")};
    for (auto entry = entries.begin(); entry != entries.end();) {
        if (allowed.contains(entry.key().section(QLatin1Char('/'), 0, 0)))
            entry = entries.erase(entry);
        else
            ++entry;
    }
    return entries;
}

} // namespace

class TestHostileInput : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        plantSentinels(QDir(testRoot()).filePath(QStringLiteral("sentinels")));
        plantSentinels(QDir(QDir::homePath()).filePath(QStringLiteral("sentinels")));
        // A path taken for relative by mistake lands in the working folder: make it a watched one.
        const QString workingFolder = QDir(QDir::homePath()).filePath(QStringLiteral("working folder"));
        QVERIFY(QDir().mkpath(workingFolder));
        QVERIFY(QDir::setCurrent(workingFolder));
    }

    void hostileNamesStayInsideTheExportFolder()
    {
        const QString nfc = QStringLiteral("Caf\u00e9");
        const QString nfd = QStringLiteral("Cafe\u0301");
        const QStringList names {QStringLiteral("a/b"),
                                 QStringLiteral(".."),
                                 QStringLiteral("."),
                                 QStringLiteral("../../../sentinels/sentinel.txt"),
                                 QStringLiteral("/etc/passwd"),
                                 QStringLiteral("~/sentinels/link"),
                                 QStringLiteral("\u0001ctrl\u0007\u001b[31mred\u007f"),
                                 QStringLiteral("tab\there"),
                                 QStringLiteral("carriage\rreturn"),
                                 QStringLiteral("crlf\r\nname"),
                                 QString(10000, QLatin1Char('n')),
                                 nfc,
                                 nfd};
        QJsonArray items;
        int index = 0;
        for (const QString &name : names) {
            for (const char *kind : {"note", "image", "bookmark", "pdfArchive", "webArchive", "password"}) {
                // Two notes whose names are cut to the same 255 units share one package: the
                // uniquing tests the uncut numbered name. Only one note gets the long name.
                if (name.size() > 255 && QLatin1String(kind) == QLatin1String("password"))
                    continue;
                items.append(
                    item(QString::fromLatin1(kind), QStringLiteral("I%1").arg(++index), name,
                         {{QStringLiteral("tags"), QJsonArray {QStringLiteral("one, two,three"), QStringLiteral(",")}},
                          {QStringLiteral("label"), QStringLiteral("L1")}}));
            }
        }
        const QString megabyteColour = QStringLiteral("rgb ") + QString(1 << 20, QLatin1Char('1'));
        const QJsonObject manifest {
            {QStringLiteral("labels"),
             QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("L1")},
                                      {QStringLiteral("name"), QStringLiteral("../Huge")},
                                      {QStringLiteral("color"), megabyteColour}}}},
            {QStringLiteral("tagCollections"),
             QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("T1")},
                                      {QStringLiteral("name"), QStringLiteral("/")},
                                      {QStringLiteral("tags"), QJsonArray {QStringLiteral("one, two,three")}}}}},
            {QStringLiteral("folderCollections"),
             QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("G1")},
                                      {QStringLiteral("name"), QStringLiteral("..")},
                                      {QStringLiteral("items"), QJsonArray {QStringLiteral("I1")}}}}},
            {QStringLiteral("items"), items}};
        QVERIFY(installStandins(writeLibrary(QStringLiteral("hostile"), manifest)));
        const QMap<QString, QString> before = outsideSnapshot();

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation);

        QVERIFY2(delegate->errors.isEmpty(), qPrintable(delegate->errors.value(0).localizedDescription));
        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("end")}));
        const QStringList changed = differences(before, outsideSnapshot());
        QVERIFY2(changed.isEmpty(), qPrintable(changed.join(QLatin1Char('\n'))));

        // Every record's file lies inside the export folder, and the tags went in unchanged.
        const QString folder = QDir::cleanPath(operation->filesPath()) + QLatin1Char('/');
        const OVPlist records = KSImportOperationInspector::libraryPlist(*operation)
                                    .value(QStringLiteral("Entities"))
                                    .value(QStringLiteral("Item"));
        QCOMPARE(records.size(), items.size());
        QSet<QString> paths;
        for (const OVPlist &record : records.toDictionary()) {
            const QString path = record.value(QStringLiteral("absoluteFilename")).toString();
            QVERIFY2(QDir::cleanPath(path).startsWith(folder), qPrintable(path));
            QVERIFY2(!record.value(QStringLiteral("filename")).toString().contains(QLatin1Char('/')), qPrintable(path));
            QCOMPARE(record.value(QStringLiteral("tagsString")).toString(), QStringLiteral("one, two,three,,"));
            paths.insert(path);
        }
        // Names equal after normalisation are still two files.
        QCOMPARE(paths.size(), records.size());

        // The target took it all: every item file was there, inside the folder.
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.value(QStringLiteral("accepted")).toBool(), QJsonDocument(imported).toJson().constData());
    }

    void nameBeginningWithAColonIsAFileNotAResource()
    {
        // "/Report" arrives as ":Report.pdf"; Qt reads a path beginning with ":" as a resource.
        const QString folder = QDir(QDir::homePath()).filePath(QStringLiteral("colon"));
        QVERIFY(QDir().mkpath(folder));
        QFile taken(QDir(folder).absolutePath() + QStringLiteral("/:Report.pdf"));
        QVERIFY(taken.open(QIODevice::WriteOnly));
        taken.close();
        QCOMPARE(OVExtensions::makeFilenameUniqueInDirectoryAtURL(QStringLiteral(":Report.pdf"),
                                                                  QUrl::fromLocalFile(folder)),
                 QStringLiteral("-Report 1.pdf"));
        QCOMPARE(
            OVExtensions::makeFilenameUniqueInDirectoryAtURL(QStringLiteral(":Free.pdf"), QUrl::fromLocalFile(folder)),
            QStringLiteral(":Free.pdf"));
    }

    void exportAnswerOutsideTheFolderIsNoAnswer_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("absolute");
        QTest::addColumn<QString>("text");
        const QString database = QStringLiteral("Unable to export database item with name \"Liar\".");
        const QString pdf = QStringLiteral("Unable to export PDF item with name \"Liar\".");
        for (const bool absolute : {true, false}) {
            const char *how = absolute ? "absolute" : "relative";
            QTest::addRow("note, %s", how) << int(KastrelItemKind::Note) << absolute << database;
            QTest::addRow("serial number, %s", how) << int(KastrelItemKind::SerialNumber) << absolute << database;
            QTest::addRow("image, %s", how) << int(KastrelItemKind::Image) << absolute << database;
            QTest::addRow("PDF, %s", how) << int(KastrelItemKind::PDFArchive) << absolute << pdf;
            QTest::addRow("web archive, %s", how) << int(KastrelItemKind::WebArchive) << absolute << database;
        }
    }

    void exportAnswerOutsideTheFolderIsNoAnswer()
    {
        QFETCH(int, kind);
        QFETCH(bool, absolute);
        QFETCH(QString, text);
        const QString sentinels = QDir(testRoot()).filePath(QStringLiteral("sentinels"));
        const QString victim = QDir(sentinels).filePath(QStringLiteral("sentinel.txt"));
        const QByteArray contents = readFile(victim);
        QVERIFY(!contents.isEmpty());

        QDir(exportFolder()).removeRecursively();
        const auto apps = std::make_shared<InMemoryScripting>();
        apps->addNortavel(Target, QStringLiteral("3.6"));
        InMemoryKastrel source = apps->addKastrel(Source, QStringLiteral("2.5"));
        const QString liar = source.addItem(KastrelItemKind(kind), QStringLiteral("X1"), QStringLiteral("Liar"));
        // The source "writes" the file outside (with the bytes already there) and answers its path.
        QString folderGiven = KSImportOperationInspector::firstStagingFolder(exportFolder());
        if (KastrelItemKind(kind) == KastrelItemKind::Image)
            folderGiven = QDir(exportFolder()).filePath(QStringLiteral("Images"));
        else if (KastrelItemKind(kind) == KastrelItemKind::WebArchive)
            folderGiven = QDir(exportFolder()).filePath(QStringLiteral("Web Pages"));
        source.setExportFile(liar, absolute ? victim : QDir(folderGiven).relativeFilePath(victim), contents);
        const QMap<QString, QString> before = snapshot(sentinels);

        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation, apps);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10003"), QStringLiteral("end")}));
        QCOMPARE(delegate->errors.first().localizedDescription, text);
        QCOMPARE(KSImportOperationInspector::libraryPlist(*operation)
                     .value(QStringLiteral("Entities"))
                     .value(QStringLiteral("Item"))
                     .size(),
                 0);
        const QStringList changed = differences(before, snapshot(sentinels));
        QVERIFY2(changed.isEmpty(), qPrintable(changed.join(QLatin1Char('\n'))));
        QVERIFY(!QFileInfo::exists(QDir(exportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))));
        for (const InMemoryScripting::ImportCall &call : apps->importCalls())
            QFAIL(qPrintable(QStringLiteral("handed to the target: ") + call.files.join(QLatin1Char(','))));
    }

    void temporaryFolderThatIsALinkIsRefused()
    {
        const QString path
            = OVStandardPaths::temporaryRootFor() + QStringLiteral("/kastrel-importer-") + QString::number(::getuid());
        if (QFileInfo::exists(path) || QFileInfo(path).isSymLink())
            QSKIP("the per-user temporary folder is in use on this machine; not touching it");
        const QString elsewhere = QDir(testRoot()).filePath(QStringLiteral("sentinels"));
        QVERIFY(QFile::link(elsewhere, path));
        const auto removeLink = qScopeGuard([&] { ::unlink(QFile::encodeName(path).constData()); });
        const QMap<QString, QString> before = snapshot(elsewhere);

        runWithoutTemporaryFolderVariable();

        QVERIFY(QFileInfo(path).isSymLink());
        QCOMPARE(QFileInfo(path).symLinkTarget(), elsewhere);
        const QStringList changed = differences(before, snapshot(elsewhere));
        QVERIFY2(changed.isEmpty(), qPrintable(changed.join(QLatin1Char('\n'))));
    }

    void temporaryFolderOfAnotherUserIsRefused()
    {
        if (::geteuid() != 0)
            QSKIP("giving a folder to another user needs root");
        const struct passwd *nobody = ::getpwnam("nobody");
        if (!nobody)
            QSKIP("no user nobody");
        const QString path
            = OVStandardPaths::temporaryRootFor() + QStringLiteral("/kastrel-importer-") + QString::number(::getuid());
        if (QFileInfo::exists(path) || QFileInfo(path).isSymLink())
            QSKIP("the per-user temporary folder is in use on this machine; not touching it");
        QVERIFY(QDir().mkpath(path + QStringLiteral("/Kastrel/Notes")));
        const auto removeFolder = qScopeGuard([&] { QDir(path).removeRecursively(); });
        QFile kept(path + QStringLiteral("/Kastrel/Notes/theirs.txt"));
        QVERIFY(kept.open(QIODevice::WriteOnly));
        kept.write("not ours\n");
        kept.close();
        QVERIFY(::chown(QFile::encodeName(path).constData(), nobody->pw_uid, nobody->pw_gid) == 0);
        const QMap<QString, QString> before = snapshot(path);

        runWithoutTemporaryFolderVariable();

        struct stat status;
        QVERIFY(::lstat(QFile::encodeName(path).constData(), &status) == 0);
        QCOMPARE(status.st_uid, nobody->pw_uid);
        const QStringList changed = differences(before, snapshot(path));
        QVERIFY2(changed.isEmpty(), qPrintable(changed.join(QLatin1Char('\n'))));
    }

private:
    // A run with TMPDIR unset, against the in-memory applications: it must stop with 10002
    // before anything is written.
    void runWithoutTemporaryFolderVariable()
    {
        const auto apps = std::make_shared<InMemoryScripting>();
        apps->addNortavel(Target, QStringLiteral("3.6"));
        InMemoryKastrel source = apps->addKastrel(Source, QStringLiteral("2.5"));
        source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Note"));

        const QByteArray saved = qgetenv("TMPDIR");
        qunsetenv("TMPDIR");
        std::unique_ptr<KSImportOperation> operation;
        const auto delegate = runWithAllOptions(operation, apps);
        qputenv("TMPDIR", saved);

        QCOMPARE(delegate->finalEvents(), QStringList({QStringLiteral("error 10002"), QStringLiteral("end")}));
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Unable to create the temporary directory to export files."));
        QVERIFY(readLog().contains(QStringLiteral("refusing to use it")));
        QVERIFY(apps->importCalls().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestHostileInput)
#include "TestHostileInput.moc"
