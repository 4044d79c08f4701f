// What the export does where things go wrong or names are unusual, against the in-memory
// applications: names fitted to the file system's limit in bytes, library files that XML
// readers accept, bookmark addresses kept, one export at a time, no session bus, and a
// cancelled run that says so and leaves no folder behind.
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "TestSupport.h"
#include "engine/DBusScriptingBackend.h"
#include "engine/KSExportJournal.h"
#include "engine/KSExportLock.h"
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"
#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVStandardPaths.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QXmlStreamReader>
#include <QtTest>
#include <sys/vfs.h>

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");

class RecordingDelegate : public KSImportOperationDelegate
{
public:
    QStringList events;
    QList<OVError> errors;
    // The report as an error's alert would show it, at the moment of the error.
    QList<KSExportReport> reportsAtErrors;

    void importOperationDidEncounterError(KSImportOperation *operation, const OVError &error) override
    {
        reportsAtErrors.append(KSExportReport::ofOperation(*operation));
        errors.append(error);
        events.append(QStringLiteral("error %1").arg(error.code));
    }
    void importOperationDidCancel(KSImportOperation *) override { events.append(QStringLiteral("cancel")); }
    void importOperationDidEnd(KSImportOperation *) override { events.append(QStringLiteral("end")); }
};

QString exportFolder()
{
    return QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"));
}

QString logPath()
{
    return QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
}

QString logText()
{
    return QString::fromUtf8(TestSupport::fileContents(logPath()));
}

QVariantMap allOptions()
{
    QVariantMap options;
    for (const char *key : {"notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives"})
        options.insert(QString::fromLatin1(key), true);
    return options;
}

QString repeated(const QString &unit, int count)
{
    QString text;
    for (int index = 0; index < count; ++index)
        text += unit;
    return text;
}

const QByteArray rtfNote = "{\\rtf1\\ansi Hello}";
const QByteArray minimalPdf = "%PDF-1.4\n%%EOF\n";

} // namespace

class TestNothingSilent : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<InMemoryScripting> m_apps;
    std::shared_ptr<RecordingDelegate> m_delegate;
    std::optional<InMemoryKastrel> m_source;
    std::unique_ptr<KSImportOperation> m_operation;

    InMemoryKastrel &source() { return *m_source; }

    void run()
    {
        m_operation = KSImportOperationInspector::make(allOptions(), m_delegate, m_apps);
        m_operation->main();
    }

    OVPlist items() const
    {
        return KSImportOperationInspector::libraryPlist(*m_operation)
            .value(QStringLiteral("Entities"))
            .value(QStringLiteral("Item"));
    }

    // An item of `kind` named `name` whose export is a small file of its kind.
    QString addItem(const QString &kind, const QString &id, const QString &name)
    {
        if (kind == QLatin1String("bookmark")) {
            const QString item = source().addItem(KastrelItemKind::Bookmark, id, name);
            source().setProperty(item, QStringLiteral("location"), QStringLiteral("http://example.org/page"));
            return item;
        }
        const KastrelItemKind itemKind = kind == QLatin1String("serialNumber") ? KastrelItemKind::SerialNumber
            : kind == QLatin1String("password")                                ? KastrelItemKind::Password
                                                                               : KastrelItemKind::Note;
        const QString item = source().addItem(itemKind, id, name);
        source().setExportFile(item, id + QStringLiteral(".rtf"), rtfNote);
        return item;
    }

    // Every record's file is there under the name the record gives, at most 255 bytes long.
    void verifyRecordsNameTheirFiles()
    {
        const OVPlist::Dictionary records = items().toDictionary();
        for (const OVPlist &record : records) {
            const QString path = record.value(QStringLiteral("absoluteFilename")).toString();
            const QString fileName = record.value(QStringLiteral("filename")).toString();
            QVERIFY2(QFileInfo::exists(path), qPrintable(path));
            QCOMPARE(QFileInfo(path).fileName(), fileName);
            QVERIFY2(QFile::encodeName(fileName).size() <= 255, qPrintable(fileName));
            if (record.contains(QStringLiteral("name")))
                QCOMPARE(record.value(QStringLiteral("name")).toString() + QStringLiteral(".nvnote"), fileName);
        }
    }

private slots:
    void init()
    {
        QDir(TestSupport::isolatedFolder("XDG_DATA_HOME")).removeRecursively();
        QDir(exportFolder()).removeRecursively();
        m_apps = std::make_shared<InMemoryScripting>();
        m_apps->addNortavel(Target, QStringLiteral("3.5"));
        m_source = m_apps->addKastrel(Source, QStringLiteral("2.5"));
        m_delegate = std::make_shared<RecordingDelegate>();
    }

    void cleanup() { m_operation.reset(); }

    // --- names ---------------------------------------------------------------------------

    void longNamesFitInBytes_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("extension");
        for (const char *kind : {"note", "serialNumber", "password", "bookmark"}) {
            const QString extension = QLatin1String(kind) == QLatin1String("bookmark") ? QStringLiteral(".webloc")
                                                                                       : QStringLiteral(".nvnote");
            QTest::newRow((QByteArray(kind) + ", 100 CJK").constData())
                << kind << repeated(QStringLiteral("漢"), 100) << extension;
            QTest::newRow((QByteArray(kind) + ", 200 CJK").constData())
                << kind << repeated(QStringLiteral("漢"), 200) << extension;
            QTest::newRow((QByteArray(kind) + ", 100 emoji").constData())
                << kind << repeated(QStringLiteral("😀"), 100) << extension;
        }
    }

    void longNamesFitInBytes()
    {
        QFETCH(QString, kind);
        QFETCH(QString, name);
        QFETCH(QString, extension);
        addItem(kind, QStringLiteral("X1"), name);
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("end")});
        QCOMPARE(items().size(), 1);
        const OVPlist record = items().value(QStringLiteral("X1"));
        const QString fileName = record.value(QStringLiteral("filename")).toString();
        QVERIFY2(fileName.endsWith(extension), qPrintable(fileName));
        QVERIFY(name.startsWith(fileName.left(40)));
        verifyRecordsNameTheirFiles();
        QVERIFY(m_operation->itemProblems().isEmpty());
        QCOMPARE(m_apps->importCalls().size(), 1);
    }

    void twinsBecomeTwoFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("stem");
        for (const char *kind : {"note", "serialNumber", "password", "bookmark"}) {
            QTest::newRow((QByteArray(kind) + ", ASCII").constData()) << kind << repeated(QStringLiteral("a"), 300);
            QTest::newRow((QByteArray(kind) + ", CJK").constData()) << kind << repeated(QStringLiteral("漢"), 300);
        }
    }

    void twinsBecomeTwoFiles()
    {
        QFETCH(QString, kind);
        QFETCH(QString, stem);
        addItem(kind, QStringLiteral("T1"), stem + QStringLiteral(" first"));
        addItem(kind, QStringLiteral("T2"), stem + QStringLiteral(" second"));
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("end")});
        QCOMPARE(items().size(), 2);
        const QString first = items().value(QStringLiteral("T1")).value(QStringLiteral("absoluteFilename")).toString();
        const QString second = items().value(QStringLiteral("T2")).value(QStringLiteral("absoluteFilename")).toString();
        QVERIFY2(first != second, qPrintable(first));
        verifyRecordsNameTheirFiles();
    }

    void pdfTwinsBecomeTwoFiles()
    {
        // The source names both files alike, already at the limit: the second must still get
        // a numbered name that fits, not stop the export.
        const QString name = repeated(QStringLiteral("p"), 251) + QStringLiteral(".pdf");
        for (const char *id : {"P1", "P2"}) {
            const QString item
                = source().addItem(KastrelItemKind::PDFArchive, QLatin1String(id), QStringLiteral("Report"));
            source().setExportFile(item, name, minimalPdf);
        }
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("end")});
        QCOMPARE(items().size(), 2);
        QCOMPARE(items().value(QStringLiteral("P2")).value(QStringLiteral("filename")).toString(),
                 repeated(QStringLiteral("p"), 249) + QStringLiteral(" 1.pdf"));
        verifyRecordsNameTheirFiles();
    }

    void nameWithALineBreakKeepsItsExtension_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("note") << "note" << QStringLiteral("First.nvnote");
        QTest::newRow("serial number") << "serialNumber" << QStringLiteral("First.nvnote");
        QTest::newRow("bookmark") << "bookmark" << QStringLiteral("First Second.webloc");
    }

    void nameWithALineBreakKeepsItsExtension()
    {
        QFETCH(QString, kind);
        QFETCH(QString, fileName);
        // A bookmark's name has its line breaks made blanks as it is set; a note's is cut at the first.
        addItem(kind, QStringLiteral("L1"), QStringLiteral("First\nSecond"));
        run();
        QCOMPARE(items().value(QStringLiteral("L1")).value(QStringLiteral("filename")).toString(), fileName);
        verifyRecordsNameTheirFiles();
    }

    // --- the library file ----------------------------------------------------------------

    void controlCharactersLeaveTheLibraryReadable()
    {
        const QString control = QStringLiteral("\u0001\u0002\u001f\uffff");
        const QString note = addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("Note") + control);
        source().setProperty(note, QStringLiteral("comments"), QStringLiteral("said") + control);
        const QString tag = source().addTag(QStringLiteral("tag\u000b"));
        source().addTagTo(note, tag);
        const QString group = source().addFolderCollection(QStringLiteral("G1"), QStringLiteral("Group\u0003"));
        source().addMember(group, note);
        source().addLabel(QStringLiteral("L1"), QStringLiteral("Label\u0008"), QStringLiteral("rgb 1 0 0 1"));
        addItem(QStringLiteral("note"), QStringLiteral("N2"), QStringLiteral("Ordinary"));
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("end")});
        // The note, the group and the label lose characters; the ordinary note does not.
        QCOMPARE(m_operation->recordsWithUncarriableCharacters(), qint64(3));
        QVERIFY(logText().contains(
            QStringLiteral("Left characters that XML cannot carry out of 3 records of the library file")));

        const QString libraryFile = QDir(exportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"));
        QCOMPARE(m_operation->handedOffLibraryFile(), libraryFile);
        const QByteArray bytes = TestSupport::fileContents(libraryFile);
        QXmlStreamReader reader(bytes);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        OVError error;
        const OVPlist library = OVPlistSerialization::propertyListWithData(bytes, nullptr, &error);
        QVERIFY2(library.isValid(), qPrintable(error.localizedDescription));
        const OVPlist record
            = library.value(QStringLiteral("Entities")).value(QStringLiteral("Item")).value(QStringLiteral("N1"));
        QCOMPARE(record.value(QStringLiteral("comments")).toString(), QStringLiteral("said"));
        QCOMPARE(record.value(QStringLiteral("tagsString")).toString(), QStringLiteral("tag"));
        // The file's name holds none of them either, so the record names a file that is there.
        QCOMPARE(record.value(QStringLiteral("filename")).toString(), QStringLiteral("Note.nvnote"));
        QVERIFY(QFileInfo::exists(record.value(QStringLiteral("absoluteFilename")).toString()));
    }

    void imageNamedWithAControlCharacterIsRenamedSoTheLibraryCanNameIt()
    {
        const QString image = source().addItem(KastrelItemKind::Image, QStringLiteral("I1"), QStringLiteral("Photo"));
        source().setExportFile(image, QStringLiteral("Photo\u0001.png"), QByteArray("not really a png"));
        run();
        const OVPlist record = items().value(QStringLiteral("I1"));
        QCOMPARE(record.value(QStringLiteral("filename")).toString(), QStringLiteral("Photo.png"));
        QVERIFY(QFileInfo::exists(record.value(QStringLiteral("absoluteFilename")).toString()));
        QCOMPARE(m_apps->importCalls().size(), 1);
    }

    // --- bookmarks -----------------------------------------------------------------------

    void bookmarkAddressesAreKept_data()
    {
        QTest::addColumn<QString>("location");
        QTest::addColumn<QString>("written");
        QTest::newRow("international host") << "http://bücher.example/"
                                            << "http://xn--bcher-kva.example/";
        QTest::newRow("blank") << "http://example.com/a b"
                               << "http://example.com/a%20b";
        QTest::newRow("accented path") << "https://example.com/café"
                                       << "https://example.com/caf%C3%A9";
        QTest::newRow("data") << "data:text/plain,hello world"
                              << "data:text/plain,hello%20world";
    }

    void bookmarkAddressesAreKept()
    {
        QFETCH(QString, location);
        QFETCH(QString, written);
        const QString item = source().addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
        source().setProperty(item, QStringLiteral("location"), location);
        run();
        const QString path = items().value(QStringLiteral("B1")).value(QStringLiteral("absoluteFilename")).toString();
        const OVPlist file = OVPlistSerialization::propertyListWithData(TestSupport::fileContents(path));
        QCOMPARE(file.value(QStringLiteral("URL")).toString(), written);
        QVERIFY(m_operation->itemProblems().isEmpty());
    }

    void locationThatIsNoAddressIsListed()
    {
        const QString item = source().addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
        source().setProperty(item, QStringLiteral("location"), QStringLiteral("not a url"));
        run();
        QVERIFY(items().value(QStringLiteral("B1")).isValid()); // the bookmark is still written
        const auto problems = m_operation->itemProblems();
        QCOMPARE(problems.size(), 1);
        QCOMPARE(problems.first().kind, KSImportOperation::ItemProblemKind::Incomplete);
        QCOMPARE(problems.first().name, QStringLiteral("Site"));
        QVERIFY(problems.first().reason.contains(QStringLiteral("not a url")));
    }

    // --- the run -------------------------------------------------------------------------

    void secondExportEndsAtOnce()
    {
        KSExportLock first;
        bool otherRunning = true;
        QVERIFY(first.tryLock(&otherRunning));
        QVERIFY(!otherRunning);
        addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("Note"));
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("error 10002")});
        QCOMPARE(m_delegate->errors.first().localizedDescription,
                 QStringLiteral("Another export is running. Wait until it has ended, then export again."));
        QVERIFY(!QFileInfo::exists(logPath()));
        QVERIFY(!QFileInfo::exists(exportFolder()));
        QCOMPARE(m_apps->exportCount(), 0);
        first.unlock();
        run();
        QCOMPARE(m_delegate->events.last(), QStringLiteral("end"));
    }

    void noSessionBusSaysSo()
    {
        const QDBusConnection nowhere = QDBusConnection::connectToBus(
            QStringLiteral("unix:path=") + QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("no-bus")),
            QStringLiteral("nowhere"));
        QVERIFY(!nowhere.isConnected());
        KSImportOperation operation({}, m_delegate, std::make_shared<DBusScriptingBackend>(nowhere));
        operation.main();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("error 10005")});
        const QString text = m_delegate->errors.first().localizedDescription;
        QVERIFY2(text.contains(QStringLiteral("there is no D-Bus session bus")), qPrintable(text));
        QVERIFY(text.contains(QStringLiteral("dbus-run-session")));
        QVERIFY(!QFileInfo::exists(logPath()));
        QDBusConnection::disconnectFromBus(QStringLiteral("nowhere"));
    }

    void cancelledRunSaysSoAndKeepsItsFolder()
    {
        addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("One"));
        addItem(QStringLiteral("note"), QStringLiteral("N2"), QStringLiteral("Two"));
        m_operation = KSImportOperationInspector::make(allOptions(), m_delegate, m_apps);
        KSImportOperation *operation = m_operation.get();
        m_apps->setCallHook([operation](const QString &call) {
            if (call.startsWith(QStringLiteral("export ")))
                operation->cancel();
        });
        m_operation->main();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("cancel")});
        QCOMPARE(m_operation->keptExportFolder(), exportFolder());
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
        QVERIFY(m_operation->handedOffLibraryFile().isNull());
        const QString log = logText();
        const qsizetype cancelled = log.indexOf(QStringLiteral(" Export cancelled\n"));
        const qsizetype removed = log.indexOf(QStringLiteral(" Kept the unfinished export folder ") + exportFolder());
        const qsizetype ended = log.indexOf(QStringLiteral(" *** Export ended"));
        QVERIFY2(cancelled > 0 && removed > cancelled && ended > removed, qPrintable(log));
    }

    void errorInTheItemStageSaysAtOnceThatTheFolderIsKept()
    {
        addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("One"));
        source().setExportFails(addItem(QStringLiteral("note"), QStringLiteral("N2"), QStringLiteral("Two")));
        run();
        QCOMPARE(m_delegate->events.first(), QStringLiteral("error 10003"));
        // Known when the error is shown, before the run winds up and closes the journal.
        QCOMPARE(m_delegate->reportsAtErrors.first().keptExportFolder, QDir::cleanPath(exportFolder()));
        QVERIFY(m_delegate->reportsAtErrors.first().keptExportFolderText().contains(QDir::cleanPath(exportFolder())));
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
    }

    void errorBeforeTheItemStageKeepsNoFolder()
    {
        KSExportLock first;
        bool otherRunning = true;
        QVERIFY(first.tryLock(&otherRunning));
        addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("Note"));
        run();
        QCOMPARE(m_delegate->reportsAtErrors.size(), 1);
        QVERIFY(m_delegate->reportsAtErrors.first().keptExportFolder.isEmpty());
        QVERIFY(m_delegate->reportsAtErrors.first().keptExportFolderText().isEmpty());
        first.unlock();
    }

    void endedRunKeepsItsFolderForTheTarget()
    {
        addItem(QStringLiteral("note"), QStringLiteral("N1"), QStringLiteral("One"));
        run();
        QCOMPARE(m_delegate->events, QStringList {QStringLiteral("end")});
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(QStringLiteral("Kastrel.nvlibxml"))));
        QVERIFY(!logText().contains(QStringLiteral("unfinished export folder")));
        QVERIFY(!logText().contains(QStringLiteral("Export cancelled")));
    }

    void temporaryFilesStayOffAMemoryFileSystem()
    {
        // An ordinary folder on the disk is kept; a memory file system gives way to /var/tmp.
        QCOMPARE(OVStandardPaths::temporaryRootFor(qEnvironmentVariable("TMPDIR")), qEnvironmentVariable("TMPDIR"));
        struct statfs status;
        if (::statfs("/dev/shm", &status) != 0 || status.f_type != 0x01021994)
            QSKIP("/dev/shm is not a memory file system here");
        QCOMPARE(OVStandardPaths::temporaryRootFor(QStringLiteral("/dev/shm")), QStringLiteral("/var/tmp"));
    }
};

QTEST_GUILESS_MAIN(TestNothingSilent)
#include "TestNothingSilent.moc"
