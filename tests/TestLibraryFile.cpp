// The library file being built: what its item records hold, what it answers of them, and
// how it writes and reads itself back.
#include "engine/KSLibraryFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

KSItemRecord itemRecord(const QString &identifier, qint64 type, const QString &path)
{
    KSItemRecord record;
    record.type = type;
    record.identifier = identifier;
    record.path = path;
    record.fileName = QFileInfo(path).fileName();
    record.groups = {KSLibraryRecords::libraryGroup()};
    return record;
}

bool touch(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly);
}

} // namespace

class TestLibraryFile : public QObject
{
    Q_OBJECT

private slots:
    void itemRecordHoldsOnlyWhatIsSet()
    {
        KSItemRecord bare = itemRecord(QStringLiteral("B"), 6, QStringLiteral("/x/Bookmarks/B.webloc"));
        const OVPlist plain = KSLibraryRecords::item(bare);
        QCOMPARE(plain.keys(),
                 (QStringList {QStringLiteral("absoluteFilename"), QStringLiteral("com.orvantis.Nortavel.EntityName"),
                               QStringLiteral("extensionHidden"), QStringLiteral("filename"), QStringLiteral("groups"),
                               QStringLiteral("identifier"), QStringLiteral("itemType")}));
        QCOMPARE(plain.value(QStringLiteral("extensionHidden")), OVPlist(true));

        KSItemRecord full = bare;
        full.name = QStringLiteral("B");
        full.dateCreated = QDateTime::fromMSecsSinceEpoch(1000, Qt::UTC);
        full.encrypted = false;
        full.comments = QStringLiteral("c");
        full.tags = QStringLiteral("a,b");
        full.label = QStringLiteral("L");
        const OVPlist record = KSLibraryRecords::item(full);
        QCOMPARE(record.value(QStringLiteral("name")), OVPlist(QStringLiteral("B")));
        QVERIFY(record.value(QStringLiteral("dateCreated")).isDate());
        QVERIFY(!record.contains(QStringLiteral("dateModified")));
        QCOMPARE(record.value(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport")), OVPlist(false));
        QCOMPARE(record.value(QStringLiteral("tagsString")), OVPlist(QStringLiteral("a,b")));
        QCOMPARE(record.value(QStringLiteral("label")), OVPlist(QStringLiteral("L")));
    }

    void answersItsFilesCountsAndIdentifiers()
    {
        KSLibraryFile library;
        library.begin();
        library.beginItems(QStringLiteral("/x"));
        library.addItem(itemRecord(QStringLiteral("N1"), 1, QStringLiteral("/x/Notes/a.nvnote")));
        library.addItem(itemRecord(QStringLiteral("N2"), 1, QStringLiteral("/x/Notes//b.nvnote")));
        library.addItem(itemRecord(QStringLiteral("I1"), 3, QStringLiteral("/x/Images/c.png")));
        QVERIFY(library.containsItem(QStringLiteral("N2")));
        QVERIFY(!library.containsItem(QStringLiteral("N3")));
        QCOMPARE(library.itemCountsByType(), (QMap<qint64, qint64> {{1, 2}, {3, 1}}));
        QCOMPARE(library.files(),
                 (QSet<QString> {QStringLiteral("/x/Notes/a.nvnote"), QStringLiteral("/x/Notes/b.nvnote"),
                                 QStringLiteral("/x/Images/c.png")}));
        QCOMPARE(library.propertyList().value(KSLibraryRecords::exporterVersionKey), OVPlist(350));
        QCOMPARE(library.propertyList().value(KSLibraryRecords::removeFileOnCompletionKey),
                 OVPlist(QStringLiteral("/x")));
    }

    void removesItemsWhoseFilesAreNotThere()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString there = folder.filePath(QStringLiteral("there.png"));
        QVERIFY(touch(there));
        KSLibraryFile library;
        library.begin();
        library.beginItems(folder.path());
        library.addItem(itemRecord(QStringLiteral("A"), 3, there));
        KSItemRecord named = itemRecord(QStringLiteral("B"), 1, folder.filePath(QStringLiteral("gone.nvnote")));
        named.name = QStringLiteral("gone");
        library.addItem(named);
        library.addItem(itemRecord(QStringLiteral("C"), 3, QStringLiteral("/elsewhere/c.png")));

        QSet<QString> kept;
        const QList<KSLibraryFile::RemovedItem> removed = library.removeItemsWithoutFiles(folder.path(), &kept);
        QCOMPARE(removed.size(), 2);
        QCOMPARE(removed.at(0).identifier, QStringLiteral("B"));
        QCOMPARE(removed.at(0).name, QStringLiteral("gone"));
        QCOMPARE(removed.at(1).identifier, QStringLiteral("C"));
        QCOMPARE(removed.at(1).name, QStringLiteral("c.png")); // no name: the file's
        QCOMPARE(kept, QSet<QString> {there});
        QCOMPARE(library.itemCountsByType(), (QMap<qint64, qint64> {{3, 1}}));
    }

    void countsRecordsThatLoseCharacters()
    {
        KSLibraryFile library;
        library.begin();
        library.beginLabels();
        library.addLabel(QStringLiteral("L1"), QStringLiteral("fine"), QColor(Qt::red));
        library.addLabel(QStringLiteral("L2"), QStringLiteral("bell\a"), QColor(Qt::red));
        QCOMPARE(library.recordsWithUncarriableCharacters(), qint64(1));
    }

    void writesAndReadsItselfBack()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString file = folder.filePath(QStringLiteral("item.png"));
        QVERIFY(touch(file));
        KSLibraryFile library;
        library.begin();
        library.beginItems(folder.path());
        library.addItem(itemRecord(QStringLiteral("A"), 3, file));
        const QString path = folder.filePath(QStringLiteral("Kastrel.nvlibxml"));
        OVText problem;
        QVERIFY(library.write(path, &problem));
        QVERIFY(problem.english.isEmpty());
        // Nothing but the file and the item: the temporary file was renamed into place.
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files, QDir::Name),
                 (QStringList {QStringLiteral("Kastrel.nvlibxml"), QStringLiteral("item.png")}));
        QVERIFY(KSLibraryFile::readBack(path, {file}));

        // A file it names that is not among those found is a file never handed over.
        QVERIFY(!KSLibraryFile::readBack(path, {}, &problem));
        QCOMPARE(problem.english, QStringLiteral("it names %1, which is not there").arg(file));
    }

    void failsToWriteIntoAFolderThatIsNotThere()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        KSLibraryFile library;
        library.begin();
        OVText problem;
        QVERIFY(!library.write(folder.filePath(QStringLiteral("missing/Kastrel.nvlibxml")), &problem));
        QVERIFY(!problem.english.isEmpty());
    }

    void readBackRejectsBrokenXml()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString path = folder.filePath(QStringLiteral("Kastrel.nvlibxml"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<plist><dict><key>a</key>");
        file.close();
        OVText problem;
        QVERIFY(!KSLibraryFile::readBack(path, {}, &problem));
        QVERIFY2(problem.english.startsWith(QStringLiteral("line ")), qPrintable(problem.english));
    }
};

QTEST_GUILESS_MAIN(TestLibraryFile)
#include "TestLibraryFile.moc"
