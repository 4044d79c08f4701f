// The source's exports asked ahead of the item being recorded: a run gives the same records,
// files, log lines and events whatever the window, stops at the same item with the same error
// after a failure, a cancel or a source that quits, and exports given up leave no files.
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "TestSupport.h"
#include "engine/KSExportJournal.h"
#include "engine/KSExportWindow.h"
#include "engine/KSImportOperation.h"
#include "engine/KastrelApplication.h"
#include "foundation/OVPlistSerialization.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");

QVariantMap allOptions()
{
    QVariantMap options;
    for (const char *key : {"notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives"})
        options.insert(QString::fromLatin1(key), true);
    return options;
}

QString exportFolder()
{
    return QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"));
}

QString logPath()
{
    return QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
}

// The log's lines without their time stamps.
QStringList logLines()
{
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    static const QRegularExpression stamp(QStringLiteral("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4} "));
    for (QString &line : lines)
        line.remove(stamp);
    return lines;
}

// Every file and folder under `folder`, relative, with a digest of each file's bytes.
QStringList tree(const QString &folder)
{
    QStringList entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QString entry = QDir(folder).relativeFilePath(path);
        QFile file(path);
        if (it.fileInfo().isFile() && file.open(QIODevice::ReadOnly))
            entry += QLatin1Char(' ')
                + QString::fromLatin1(QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1).toHex());
        entries.append(entry);
    }
    entries.sort();
    return entries;
}

class RecordingDelegate : public KSImportOperationDelegate
{
public:
    QStringList events;
    std::function<void(KSImportOperation *)> onRecord;

    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type) override
    {
        events.append(QStringLiteral("stage ") + type);
    }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                        const QString &type) override
    {
        events.append(QStringLiteral("count %1 %2").arg(count).arg(type));
    }
    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type) override
    {
        events.append(QStringLiteral("record") + type);
        if (onRecord)
            onRecord(operation);
    }
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override
    {
        events.append(QStringLiteral("error %1 %2").arg(error.code).arg(error.localizedDescription));
    }
    void importOperationDidCancel(KSImportOperation *) override { events.append(QStringLiteral("cancel")); }
    void importOperationDidEnd(KSImportOperation *) override { events.append(QStringLiteral("end")); }
};

const QByteArray rtfNote = "{\\rtf1\\ansi{\\fonttbl\\f0\\fswiss Helvetica;}\\f0\\fs24 Hello {\\b bold} world}";

// What one run left behind, for comparing runs.
struct Outcome
{
    QStringList events;
    QStringList log;
    QByteArray library;
    QStringList files;
    QStringList released;
    int exports = 0;
};

} // namespace

class TestExportWindow : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<InMemoryScripting> m_apps;
    std::optional<InMemoryKastrel> m_source;

    InMemoryKastrel &source() { return *m_source; }

    // A library of every kind, with what makes the kinds differ: duplicate names, items
    // without a name, staged files of the same name, an unreadable note, dates and tags.
    void fillMixedLibrary()
    {
        const QDateTime created(QDate(2019, 3, 4), QTime(5, 6, 7), Qt::UTC);
        for (int i = 0; i < 12; ++i) {
            const QString name = i % 5 == 4 ? QString() : QStringLiteral("Note %1").arg(i % 3);
            const QString note = source().addItem(KastrelItemKind::Note, QStringLiteral("N%1").arg(i), name);
            source().setExportFile(note, QStringLiteral("Note %1.rtf").arg(i % 3),
                                   i == 7 ? QByteArray("\0\1binary", 8) : rtfNote);
            source().setProperty(note, QStringLiteral("creationDate"), created.addDays(i));
            source().addTagTo(note, source().addTag(QStringLiteral("tag %1").arg(i % 4)));
        }
        for (int i = 0; i < 4; ++i) {
            const QString bookmark
                = source().addItem(KastrelItemKind::Bookmark, QStringLiteral("B%1").arg(i), QStringLiteral("Site"));
            source().setProperty(bookmark, QStringLiteral("location"), QStringLiteral("https://example.org/%1").arg(i));
        }
        const QString serial
            = source().addItem(KastrelItemKind::SerialNumber, QStringLiteral("S1"), QStringLiteral("Licence"));
        source().setExportFile(serial, QStringLiteral("Licence.txt"), "ABC-123");
        const QString password
            = source().addItem(KastrelItemKind::Password, QStringLiteral("W1"), QStringLiteral("Bank"));
        source().setExportFile(password, QStringLiteral("Bank.txt"), "secret");
        source().setProperty(password, QStringLiteral("password"), QStringLiteral("x"));
        for (int i = 0; i < 9; ++i) {
            const QString image = source().addItem(KastrelItemKind::Image, QStringLiteral("I%1").arg(i),
                                                   i == 3 ? QString() : QStringLiteral("Photo %1").arg(i));
            source().setExportFile(image, QStringLiteral("Photo %1.jpg").arg(i), QByteArray(100 + i, 'i'));
        }
        for (int i = 0; i < 10; ++i) {
            const QString pdf = source().addItem(KastrelItemKind::PDFArchive, QStringLiteral("P%1").arg(i),
                                                 i == 2 ? QString() : QStringLiteral("Paper"));
            // Every PDF is staged under the same name: each must still arrive, numbered.
            source().setExportFile(
                pdf, QStringLiteral("Paper.pdf"),
                TestSupport::pdfBytes(i % 2 ? QStringLiteral("Safari") : QStringLiteral("Writer"), QString()));
        }
        for (int i = 0; i < 5; ++i) {
            const QString archive
                = source().addItem(KastrelItemKind::WebArchive, QStringLiteral("A%1").arg(i), QStringLiteral("Page"));
            source().setExportFile(archive, QStringLiteral("Page %1.webarchive").arg(i), QByteArray(50, 'a'));
        }
    }

    Outcome run(int window, const std::function<void(KSImportOperation *)> &onRecord = {})
    {
        QDir(TestSupport::isolatedFolder("XDG_DATA_HOME")).removeRecursively();
        QDir(exportFolder()).removeRecursively();
        m_apps->clearCalls();
        const auto delegate = std::make_shared<RecordingDelegate>();
        delegate->onRecord = onRecord;
        auto operation = KSImportOperationInspector::make(allOptions(), delegate, m_apps);
        KSImportOperationInspector::setExportWindow(*operation, window);
        operation->main();

        Outcome outcome;
        outcome.events = delegate->events;
        outcome.log = logLines();
        QBuffer buffer(&outcome.library);
        buffer.open(QIODevice::WriteOnly);
        const bool written = OVPlistSerialization::writePropertyList(
            KSImportOperationInspector::libraryPlist(*operation), &buffer, OVPlistSerialization::Format::Xml);
        if (!written)
            outcome.library = "the library could not be written";
        outcome.files = tree(exportFolder());
        outcome.released = m_apps->releasedObjects();
        outcome.exports = m_apps->exportCount();
        return outcome;
    }

    static void compareOutcomes(const Outcome &windowed, const Outcome &oneAtATime)
    {
        QCOMPARE(windowed.events, oneAtATime.events);
        QCOMPARE(windowed.log, oneAtATime.log);
        QCOMPARE(QString::fromUtf8(windowed.library), QString::fromUtf8(oneAtATime.library));
        QCOMPARE(windowed.files, oneAtATime.files);
        QCOMPARE(windowed.released, oneAtATime.released);
    }

    QStringList images(int count)
    {
        QStringList items;
        for (int i = 0; i < count; ++i) {
            items.append(source().addItem(KastrelItemKind::Image, QStringLiteral("I%1").arg(i),
                                          QStringLiteral("Image %1").arg(i)));
            source().setExportFile(items.last(), QStringLiteral("Image %1.png").arg(i), QByteArray(10, 'p'));
        }
        return items;
    }

private slots:
    void init()
    {
        m_apps = std::make_shared<InMemoryScripting>();
        m_apps->addNortavel(Target, QStringLiteral("3.6"));
        m_source = m_apps->addKastrel(Source, QStringLiteral("2.5"));
    }

    void runIsTheSameWhateverTheWindow_data()
    {
        QTest::addColumn<int>("window");
        for (const int window : {2, 3, KSImportOperation::DefaultExportWindow, 40})
            QTest::addRow("window %d", window) << window;
    }

    void runIsTheSameWhateverTheWindow()
    {
        QFETCH(int, window);
        fillMixedLibrary();
        const Outcome oneAtATime = run(1);
        QCOMPARE(oneAtATime.events.last(), QStringLiteral("end"));
        QCOMPARE(oneAtATime.events.filter(QStringLiteral("record")).size(), 42);
        const Outcome windowed = run(window);
        compareOutcomes(windowed, oneAtATime);
        QCOMPARE(windowed.exports, oneAtATime.exports);
        // The staging folder is left as one export at a time leaves it: empty.
        QVERIFY(windowed.files.contains(QStringLiteral("TMP")));
        QCOMPARE(windowed.files.filter(QRegularExpression(QStringLiteral("^TMP/"))), QStringList());
    }

    void exportsAreAskedAheadOfTheItemBeingRecorded()
    {
        images(6);
        int exportsAtFirstRecord = -1;
        const auto firstRecord = [&](KSImportOperation *) {
            if (exportsAtFirstRecord < 0)
                exportsAtFirstRecord = m_apps->exportCount();
        };
        run(4, firstRecord);
        QCOMPARE(exportsAtFirstRecord, 4);
        exportsAtFirstRecord = -1;
        run(1, firstRecord);
        QCOMPARE(exportsAtFirstRecord, 1);
    }

    void itemsWithoutNameTakeNoPlaceInTheWindow()
    {
        QStringList exported = images(2);
        const QStringList unnamed = {source().addItem(KastrelItemKind::Image, QStringLiteral("X1"), QString()),
                                     source().addItem(KastrelItemKind::Image, QStringLiteral("X2"), QString())};
        exported.append(source().addItem(KastrelItemKind::Image, QStringLiteral("I9"), QStringLiteral("Last")));
        source().setExportFile(exported.last(), QStringLiteral("Last.png"), "png");
        const Outcome outcome = run(3);
        QCOMPARE(m_apps->exportedItems(), exported);
        QCOMPARE(outcome.events.filter(QStringLiteral("record")).size(), 5);
        QCOMPARE(outcome.events.last(), QStringLiteral("end"));
    }

    void failureStopsAtTheSameItemWithTheSameError()
    {
        const QStringList items = images(8);
        source().setExportFails(items.at(2));
        const Outcome oneAtATime = run(1);
        QCOMPARE(oneAtATime.events.filter(QStringLiteral("record")).size(), 2);
        QVERIFY(oneAtATime.events.contains(
            QStringLiteral("error 10003 Unable to export database item with name \"Image 2\".")));
        const Outcome windowed = run(KSImportOperation::DefaultExportWindow);
        compareOutcomes(windowed, oneAtATime);
        // The items after it were asked for ahead, and given up.
        QVERIFY(windowed.exports > oneAtATime.exports);
    }

    void cancelStopsAtTheSameItem()
    {
        images(10);
        // Copied afresh into each run, with its own count.
        const auto cancelAtThird = [records = 0](KSImportOperation *operation) mutable {
            if (++records == 3)
                operation->cancel();
        };
        const Outcome oneAtATime = run(1, cancelAtThird);
        QCOMPARE(oneAtATime.events.filter(QStringLiteral("record")).size(), 3);
        QCOMPARE(oneAtATime.events.last(), QStringLiteral("cancel"));
        const Outcome windowed = run(KSImportOperation::DefaultExportWindow, cancelAtThird);
        compareOutcomes(windowed, oneAtATime);
        // An unfinished export keeps its folder, with the journal a later run continues it from.
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
    }

    void sourceThatQuitsMidWindowIsReportedWhereTheRunStands()
    {
        const QStringList items = images(8);
        const QString quitting = items.at(4);
        const auto quitAtFifth = [this, quitting](const QString &call) {
            if (call.startsWith(QStringLiteral("export ") + quitting + QLatin1Char(' ')))
                m_apps->quit(Source);
        };
        m_apps->setCallHook(quitAtFifth);
        const Outcome oneAtATime = run(1);
        QCOMPARE(oneAtATime.events.filter(QStringLiteral("record")).size(), 4);
        const QString error = oneAtATime.events.filter(QStringLiteral("error 10004")).value(0);
        QVERIFY2(error.contains(QStringLiteral("while \"Image 4\" was being exported")), qPrintable(error));
        QCOMPARE(oneAtATime.events.last(), QStringLiteral("cancel"));

        // Asked ahead, the fifth export is asked while the first item is being recorded: the
        // source is gone from then on, and the run stops at the first item, which it names.
        init();
        QCOMPARE(images(8).at(4), quitting); // the same library again, the source running again
        m_apps->setCallHook(quitAtFifth);
        const Outcome windowed = run(KSImportOperation::DefaultExportWindow);
        QCOMPARE(windowed.events.filter(QStringLiteral("record")).size(), 0);
        QCOMPARE(windowed.events.filter(QStringLiteral("error ")),
                 QStringList {QString(error).replace(QStringLiteral("Image 4"), QStringLiteral("Image 0"))});
        QCOMPARE(windowed.events.last(), QStringLiteral("cancel"));
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
    }

    void exportsGivenUpLeaveNoFiles()
    {
        const QStringList items = images(6);
        // The fourth answers the first one's file, as a confused source might: it is kept.
        source().setExportFile(items.at(3), QStringLiteral("Image 0.png"), QByteArray(10, 'p'));
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const KastrelApplication application = *KastrelApplication::applicationWithBundleIdentifier(*m_apps, Source);
        const QList<KastrelDatabaseItem> listed = application.imageItems().get();
        const QString kept = folder.filePath(QStringLiteral("Image 0.png"));
        {
            KSExportWindow exports(
                application, listed, 4, [](const KastrelDatabaseItem &) { return true; },
                [&folder](int) { return folder.path(); }, [kept] { return QSet<QString> {kept}; });
            QString given;
            QCOMPARE(exports.take(0, &given), kept);
            QCOMPARE(given, folder.path());
            QCOMPARE(exports.take(1, nullptr), folder.filePath(QStringLiteral("Image 1.png")));
            // Items 2 to 4 are in flight now.
            QCOMPARE(m_apps->exportCount(), 5);
            QVERIFY(QFileInfo::exists(folder.filePath(QStringLiteral("Image 4.png"))));
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files),
                 (QStringList {QStringLiteral("Image 0.png"), QStringLiteral("Image 1.png")}));
        QCOMPARE(m_apps->exportCount(), 5); // nothing asked for after giving up
    }

    void stagedExportsInFlightEachHaveAFolder()
    {
        for (int i = 0; i < 4; ++i) {
            const QString pdf
                = source().addItem(KastrelItemKind::PDFArchive, QStringLiteral("P%1").arg(i), QStringLiteral("Same"));
            source().setExportFile(pdf, QStringLiteral("Same.pdf"),
                                   TestSupport::pdfBytes(QStringLiteral("Writer"), QString()));
        }
        const Outcome outcome = run(3);
        QStringList folders;
        for (const QString &call : m_apps->calls().filter(QStringLiteral("export ")))
            folders.append(call.section(QLatin1Char(' '), 2));
        const QString staging = QDir(exportFolder()).filePath(QStringLiteral("TMP"));
        QCOMPARE(folders,
                 (QStringList {staging + QStringLiteral("/1"), staging + QStringLiteral("/2"),
                               staging + QStringLiteral("/3"), staging + QStringLiteral("/1")}));
        QCOMPARE(outcome.files.filter(QStringLiteral("Documents/")).size(), 4);
        QVERIFY(outcome.files.filter(QStringLiteral("Documents/"))
                    .first()
                    .startsWith(QStringLiteral("Documents/Same 1.pdf ")));
    }
};

QTEST_GUILESS_MAIN(TestExportWindow)
#include "TestExportWindow.moc"
