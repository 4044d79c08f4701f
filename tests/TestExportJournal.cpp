// The export journal on its own: what it writes reads back whole; a torn last line is dropped,
// anything else that does not read (garbage, another format, no header, a file named outside
// the export folder) makes the journal untrusted; lines are synced every 100 or after a second.
#include "engine/KSExportJournal.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

namespace {

KSExportJournal::Header header()
{
    return {QStringLiteral("com.fendwick.kastrel4"),
            QStringLiteral("2.5"),
            {QStringLiteral("notes"), QStringLiteral("images")},
            12};
}

KSExportJournal::Entry entry(int number)
{
    KSExportJournal::Entry entry;
    entry.optionKey = QStringLiteral("notes");
    entry.itemIdentifier = QStringLiteral("N%1").arg(number);
    entry.modificationDate = QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5, 678), Qt::UTC);
    entry.record.type = 1;
    entry.record.identifier = entry.itemIdentifier;
    entry.record.path = QStringLiteral("Notes/Note %1.nvnote").arg(number);
    entry.record.fileName = QStringLiteral("Note %1.nvnote").arg(number);
    entry.record.name = QStringLiteral("Note %1").arg(number);
    entry.record.dateCreated = QDateTime(QDate(2019, 5, 1), QTime(10, 0), Qt::UTC);
    entry.record.encrypted = number % 2 == 0;
    entry.record.comments = QStringLiteral("comments, \"quoted\"\nand a line");
    entry.record.tags = QStringLiteral("urgent,work");
    entry.record.label = QStringLiteral("L1");
    entry.record.groups = {OVPlist(QStringLiteral("LibraryGroup")), OVPlist(QStringLiteral("G1"))};
    entry.size = 1000 + number;
    entry.problems.append({2, entry.record.name, QStringLiteral("seine Daten"), QStringLiteral("its dates")});
    return entry;
}

} // namespace

class TestExportJournal : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(KSExportJournal::fileName); }

    void writeJournal(int entries)
    {
        KSExportJournal journal;
        QVERIFY(journal.begin(path(), header(), {}));
        for (int number = 0; number < entries; ++number)
            QVERIFY(journal.append(entry(number)));
        journal.close();
    }

    void appendBytes(const QByteArray &bytes)
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::Append));
        file.write(bytes);
    }

    QList<QByteArray> lines()
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
    }

    void writeLines(const QList<QByteArray> &lines)
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(lines.join('\n'));
    }

    void expectUntrusted(const QString &why)
    {
        QString problem;
        QVERIFY(!KSExportJournal::read(path(), &problem));
        QCOMPARE(problem, why);
    }

private slots:
    void whatIsWrittenReadsBackWhole()
    {
        writeJournal(3);
        const std::optional<KSExportJournal::Contents> contents = KSExportJournal::read(path());
        QVERIFY(contents);
        QCOMPARE(contents->header.sourceIdentifier, header().sourceIdentifier);
        QCOMPARE(contents->header.sourceVersion, header().sourceVersion);
        QCOMPARE(contents->header.options, header().options);
        QCOMPARE(contents->header.announcedItems, 12);
        QVERIFY(!contents->droppedTornLine);
        QCOMPARE(contents->entries.size(), 3);
        for (int number = 0; number < 3; ++number) {
            const KSExportJournal::Entry &read = contents->entries.at(number);
            const KSExportJournal::Entry written = entry(number);
            QCOMPARE(read.itemIdentifier, written.itemIdentifier);
            QCOMPARE(read.modificationDate, written.modificationDate);
            QCOMPARE(read.size, written.size);
            QCOMPARE(read.record.path, written.record.path);
            QCOMPARE(read.record.fileName, written.record.fileName);
            QCOMPARE(read.record.name, written.record.name);
            QCOMPARE(read.record.dateCreated, written.record.dateCreated);
            QVERIFY(!read.record.dateModified.isValid());
            QCOMPARE(read.record.encrypted, written.record.encrypted);
            QCOMPARE(read.record.comments, written.record.comments);
            QCOMPARE(read.record.tags, written.record.tags);
            QCOMPARE(read.record.label, written.record.label);
            QCOMPARE(read.record.groups.size(), 2);
            QCOMPARE(read.record.groups.at(1).toString(), QStringLiteral("G1"));
            QCOMPARE(read.problems.size(), 1);
            QCOMPARE(read.problems.first().kind, 2);
            QCOMPARE(read.problems.first().reason, QStringLiteral("seine Daten"));
            QCOMPARE(read.problems.first().englishReason, QStringLiteral("its dates"));
        }
    }

    void beginReplacesAnEarlierJournalWithTheEntriesGiven()
    {
        writeJournal(5);
        KSExportJournal journal;
        QVERIFY(journal.begin(path(), header(), {entry(7)}));
        journal.close();
        const std::optional<KSExportJournal::Contents> contents = KSExportJournal::read(path());
        QVERIFY(contents);
        QCOMPARE(contents->entries.size(), 1);
        QCOMPARE(contents->entries.first().itemIdentifier, QStringLiteral("N7"));
        QVERIFY(!QFileInfo::exists(path() + QStringLiteral(".new")));
    }

    void aTornLastLineIsDropped()
    {
        writeJournal(4);
        const QByteArray line = QJsonDocument(KSExportJournal::entryObject(entry(4))).toJson(QJsonDocument::Compact);
        appendBytes(line.left(line.size() / 2));
        const std::optional<KSExportJournal::Contents> contents = KSExportJournal::read(path());
        QVERIFY(contents);
        QVERIFY(contents->droppedTornLine);
        QCOMPARE(contents->entries.size(), 4);
    }

    void garbageInsideIsNotTrusted()
    {
        writeJournal(4);
        QList<QByteArray> all = lines();
        all[2] = "\x01\xff not json at all";
        writeLines(all);
        expectUntrusted(QStringLiteral("line 3 of the journal does not read"));
    }

    void aLineWithoutItsKeysIsNotTrusted()
    {
        writeJournal(2);
        appendBytes("{\"optionKey\": \"notes\"}\n");
        expectUntrusted(QStringLiteral("line 4 of the journal does not read"));
    }

    void aFileOutsideTheFolderIsNotTrusted()
    {
        for (const QString &outside : {QStringLiteral("../elsewhere/Note.nvnote"), QStringLiteral("/etc/Note.nvnote"),
                                       QStringLiteral("Notes/../../Note.nvnote")}) {
            writeJournal(1);
            KSExportJournal::Entry escaping = entry(1);
            escaping.record.path = outside;
            escaping.record.fileName = QStringLiteral("Note.nvnote");
            appendBytes(QJsonDocument(KSExportJournal::entryObject(escaping)).toJson(QJsonDocument::Compact) + '\n');
            expectUntrusted(QStringLiteral("line 3 of the journal does not read"));
        }
    }

    void headerMustBeThereAndOfThisFormat()
    {
        QFile::remove(path());
        expectUntrusted(QStringLiteral("there is no journal of an earlier export"));

        writeLines({"", ""});
        expectUntrusted(QStringLiteral("the journal has no readable header"));

        writeJournal(1);
        QList<QByteArray> all = lines();
        all[0].replace("\"kastrelExportJournal\":1", "\"kastrelExportJournal\":2");
        writeLines(all);
        expectUntrusted(QStringLiteral("the journal is of format 2, not 1"));
    }

    void linesAreSyncedEveryHundredItems()
    {
        qint64 now = 0;
        KSExportJournal journal([&now] { return now; });
        QVERIFY(journal.begin(path(), header(), {}));
        QCOMPARE(journal.unsyncedLines(), 0);
        for (int number = 0; number < KSExportJournal::syncEveryItems - 1; ++number)
            QVERIFY(journal.append(entry(number)));
        QCOMPARE(journal.unsyncedLines(), KSExportJournal::syncEveryItems - 1);
        QVERIFY(journal.append(entry(99)));
        QCOMPARE(journal.unsyncedLines(), 0);
        // Written at once all the same: a killed importer loses none of them.
        QCOMPARE(KSExportJournal::read(path())->entries.size(), KSExportJournal::syncEveryItems);
    }

    void linesAreSyncedOnceTheOldestHasWaitedASecond()
    {
        qint64 now = 0;
        KSExportJournal journal([&now] { return now; });
        QVERIFY(journal.begin(path(), header(), {}));
        QVERIFY(journal.append(entry(0)));
        now = 600;
        QVERIFY(journal.append(entry(1)));
        QVERIFY(journal.syncIfDue());
        QCOMPARE(journal.unsyncedLines(), 2);
        now = KSExportJournal::syncEveryMilliseconds;
        QVERIFY(journal.syncIfDue());
        QCOMPARE(journal.unsyncedLines(), 0);
        // The next line waits its own second.
        QVERIFY(journal.append(entry(2)));
        now += KSExportJournal::syncEveryMilliseconds - 1;
        QVERIFY(journal.syncIfDue());
        QCOMPARE(journal.unsyncedLines(), 1);
        now += 1;
        QVERIFY(journal.append(entry(3)));
        QCOMPARE(journal.unsyncedLines(), 0);
    }

    void sizeOnDiskCountsAPackagesFiles()
    {
        const QString package = m_folder.filePath(QStringLiteral("Note.nvnote"));
        QVERIFY(QDir().mkpath(package + QStringLiteral("/inner")));
        QFile text(package + QStringLiteral("/TXT.rtf"));
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write(QByteArray(100, 'a'));
        text.close();
        QFile picture(package + QStringLiteral("/inner/picture.png"));
        QVERIFY(picture.open(QIODevice::WriteOnly));
        picture.write(QByteArray(23, 'b'));
        picture.close();
        QCOMPARE(KSExportJournal::sizeOnDisk(package), 123);
        QCOMPARE(KSExportJournal::sizeOnDisk(package + QStringLiteral("/TXT.rtf")), 100);
        QCOMPARE(KSExportJournal::sizeOnDisk(m_folder.filePath(QStringLiteral("missing"))), -1);
    }
};

QTEST_GUILESS_MAIN(TestExportJournal)
#include "TestExportJournal.moc"
