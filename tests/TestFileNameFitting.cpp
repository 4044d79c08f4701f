// File names fitted to the file system's limit in bytes, and free fitted names in a folder.
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

using namespace OVExtensions;

namespace {

const QString noteExtension = QStringLiteral("nvnote");

qsizetype bytes(const QString &name)
{
    return QFile::encodeName(name).size();
}

bool create(const QString &folder, const QString &name)
{
    QFile file(folder + QLatin1Char('/') + name);
    return file.open(QIODevice::WriteOnly);
}

bool exists(const QString &folder, const QString &name)
{
    return QFileInfo::exists(folder + QLatin1Char('/') + name);
}

// The part before ".nvnote", checked to be `unit` repeated whole.
bool isWholeRepeats(const QString &name, const QString &unit)
{
    const QString base = name.chopped(noteExtension.size() + 1);
    return !base.isEmpty() && base.size() % unit.size() == 0 && base == unit.repeated(base.size() / unit.size());
}

} // namespace

class TestFileNameFitting : public QObject
{
    Q_OBJECT

private slots:
    void ordinaryFolderTakes255Bytes()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QCOMPARE(maximumFileNameBytes(dir.path()), qsizetype(255));
    }

    void aNameThatFitsIsUnchanged_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << QStringLiteral("Meeting notes.nvnote");
        QTest::newRow("colon and blanks") << QStringLiteral(":Report  .nvnote");
        QTest::newRow("tab") << QStringLiteral("a\tb.nvnote");
        QTest::newRow("255 bytes") << QString(248, QLatin1Char('x')) + QStringLiteral(".nvnote");
        QTest::newRow("255 bytes of CJK") << QString(82, QChar(0x65E5)) + QStringLiteral("ab.nvnote");
    }

    void aNameThatFitsIsUnchanged()
    {
        QFETCH(QString, name);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QCOMPARE(fileNameFittedToFolder(name, dir.path(), noteExtension), name);
        QCOMPARE(fileNameFittedToFolder(name, dir.path()), name);
    }

    void longNamesFitInBytesAndCanBeCreated_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("100 CJK") << QString(100, QChar(0x65E5));
        QTest::newRow("200 CJK") << QString(200, QChar(0x672C));
        QTest::newRow("100 emoji") << QStringLiteral("\U0001F600").repeated(100);
        QTest::newRow("300 ASCII") << QString(300, QLatin1Char('a'));
    }

    void longNamesFitInBytesAndCanBeCreated()
    {
        QFETCH(QString, title);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = fileNameFittedToFolder(stringSanitizedForFileName(title), dir.path(), noteExtension);
        QVERIFY2(bytes(name) <= 255, qPrintable(QString::number(bytes(name))));
        QVERIFY(bytes(name) > 240); // cut no shorter than needed
        QVERIFY(name.endsWith(QStringLiteral(".nvnote")));
        QVERIFY(title.startsWith(name.chopped(7)));
        QVERIFY(create(dir.path(), name));
        QVERIFY(exists(dir.path(), name));
    }

    void aLongNameKeepsItsOwnExtension()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = fileNameFittedToFolder(QString(200, QChar(0x65E5)) + QStringLiteral(".pdf"), dir.path());
        QVERIFY(bytes(name) <= 255);
        QCOMPARE(name, QString(83, QChar(0x65E5)) + QStringLiteral(".pdf"));
        QVERIFY(create(dir.path(), name));
    }

    void anOverlongExtensionIsCutWithTheName()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = fileNameFittedToFolder(QStringLiteral("a.") + QString(300, QChar(0x00E9)), dir.path());
        QVERIFY(bytes(name) <= 255);
        QVERIFY(name.startsWith(QStringLiteral("a.")));
        QVERIFY(create(dir.path(), name));
    }

    void combiningSequencesAreNotSplit()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString accented = QStringLiteral("e\u0301");
        for (int extra = 0; extra < 3; ++extra) {
            const QString title = QString(extra, QLatin1Char('x')) + accented.repeated(100);
            const QString name = fileNameFittedToFolder(title, dir.path(), noteExtension);
            QVERIFY(bytes(name) <= 255);
            QVERIFY(name.chopped(7).endsWith(QChar(0x0301)));
            QVERIFY(isWholeRepeats(name.mid(extra), accented));
        }
    }

    void emojiSequencesAreNotSplit_data()
    {
        QTest::addColumn<QString>("emoji");
        QTest::newRow("skin tone") << QStringLiteral("\U0001F44D\U0001F3FD");
        QTest::newRow("family") << QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466");
        QTest::newRow("flag") << QStringLiteral("\U0001F1EF\U0001F1F5");
    }

    void emojiSequencesAreNotSplit()
    {
        QFETCH(QString, emoji);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        for (int extra = 0; extra < 4; ++extra) {
            const QString prefix(extra, QLatin1Char('x'));
            const QString name = fileNameFittedToFolder(prefix + emoji.repeated(60), dir.path(), noteExtension);
            QVERIFY(bytes(name) <= 255);
            QVERIFY(name.startsWith(prefix));
            QVERIFY(isWholeRepeats(name.mid(extra), emoji));
            QVERIFY(create(dir.path(), name));
        }
    }

    void aSingleHugeCharacterIsStillCut()
    {
        // One letter under 300 marks is one user-perceived character longer than any name.
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = fileNameFittedToFolder(QLatin1Char('e') + QString(300, QChar(0x0301)), dir.path());
        QVERIFY(!name.isEmpty());
        QVERIFY(bytes(name) <= 255);
        QVERIFY(create(dir.path(), name));
    }

    void theExtensionLostAtALineBreakComesBack()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString sanitized = stringSanitizedForFileName(QStringLiteral("Shopping\nmilk, eggs.nvnote"));
        QCOMPARE(sanitized, QStringLiteral("Shopping"));
        QCOMPARE(fileNameFittedToFolder(sanitized, dir.path(), noteExtension), QStringLiteral("Shopping.nvnote"));
        QCOMPARE(fileNameFittedToFolder(QStringLiteral("Shopping.nvnote"), dir.path(), noteExtension),
                 QStringLiteral("Shopping.nvnote"));
    }

    void charactersXmlCannotCarryAreDropped()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = QStringLiteral("a") + QChar(0x0001) + QStringLiteral("b") + QChar(0x001F) + QChar(0xFFFE)
            + QStringLiteral("c") + QChar(0xFFFF) + QChar(0xD83D) + QStringLiteral("d\te\U0001F600");
        QCOMPARE(fileNameFittedToFolder(name, dir.path(), noteExtension), QStringLiteral("abcd\te\U0001F600.nvnote"));
    }

    void nothingCarriableGivesNothing()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QCOMPARE(fileNameFittedToFolder(QString(QChar(0x0001)), dir.path()), QString());
    }

    void longTwinsGetTwoFiles_data()
    {
        QTest::addColumn<QString>("stem");
        QTest::newRow("ASCII") << QString(300, QLatin1Char('t'));
        QTest::newRow("CJK") << QString(300, QChar(0x65E5));
        QTest::newRow("emoji") << QStringLiteral("\U0001F600").repeated(300);
    }

    void longTwinsGetTwoFiles()
    {
        QFETCH(QString, stem);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QStringList written;
        for (const QString &ending : {QStringLiteral(" first"), QStringLiteral(" second")}) {
            const QString fitted
                = fileNameFittedToFolder(stringSanitizedForFileName(stem + ending), dir.path(), noteExtension);
            const QString name = makeFittedFilenameUniqueInDirectory(fitted, dir.path());
            QVERIFY(bytes(name) <= 255);
            QVERIFY(name.endsWith(QStringLiteral(".nvnote")));
            QVERIFY(create(dir.path(), name));
            written.append(name);
        }
        QVERIFY(written.at(0) != written.at(1));
        QVERIFY(exists(dir.path(), written.at(0)));
        QVERIFY(exists(dir.path(), written.at(1)));
        QVERIFY(written.at(1).chopped(7).endsWith(QStringLiteral(" 1")));
    }

    void aCandidateCutForItsNumber()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = QString(251, QLatin1Char('x')) + QStringLiteral(".txt");
        QVERIFY(create(dir.path(), name));
        QCOMPARE(makeFittedFilenameUniqueInDirectory(name, dir.path()),
                 QString(249, QLatin1Char('x')) + QStringLiteral(" 1.txt"));
    }

    void anOverlongExtensionStillGetsNumbers()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name = QStringLiteral("a.") + QString(300, QLatin1Char('e'));
        QStringList written;
        for (int i = 0; i < 3; ++i) {
            const QString free = makeFittedFilenameUniqueInDirectory(name, dir.path());
            QVERIFY(bytes(free) <= 255);
            QVERIFY(!written.contains(free));
            QVERIFY(create(dir.path(), free));
            written.append(free);
        }
        QVERIFY(written.last().endsWith(QStringLiteral(" 2")));
    }

    void aTooLongFreeNameIsFitted()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString name
            = makeFittedFilenameUniqueInDirectory(QString(100, QChar(0x65E5)) + QStringLiteral(".rtf"), dir.path());
        QCOMPARE(name, QString(83, QChar(0x65E5)) + QStringLiteral(".rtf"));
    }

    void fittingNamesGetTheUnfittedAnswer_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("counted up") << QStringList {QStringLiteral("Note.rtf"), QStringLiteral("Note 1.rtf")}
                                    << QStringLiteral("Note.rtf") << QStringLiteral("Note 2.rtf");
        QTest::newRow("no extension") << QStringList {QStringLiteral("Note")} << QStringLiteral("Note")
                                      << QStringLiteral("Note 1");
        QTest::newRow("free with colon") << QStringList {} << QStringLiteral("a:b.txt") << QStringLiteral("a:b.txt");
        QTest::newRow("taken with colon") << QStringList {QStringLiteral(":Report.pdf")}
                                          << QStringLiteral(":Report.pdf") << QStringLiteral("-Report 1.pdf");
        QTest::newRow("last extension") << QStringList {QStringLiteral("archive.tar.gz")}
                                        << QStringLiteral("archive.tar.gz") << QStringLiteral("archive.tar 1.gz");
    }

    void fittingNamesGetTheUnfittedAnswer()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, name);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        for (const QString &taken : present)
            QVERIFY(create(dir.path(), taken));
        QCOMPARE(makeFittedFilenameUniqueInDirectory(name, dir.path()), expected);
        QCOMPARE(makeFittedFilenameUniqueInDirectory(name, dir.path()),
                 makeFilenameUniqueInDirectoryAtURL(name, QUrl::fromLocalFile(dir.path())));
    }

    void aDanglingLinkTakesItsName()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("gone")), dir.filePath(QStringLiteral("Note.rtf"))));
        QCOMPARE(makeFittedFilenameUniqueInDirectory(QStringLiteral("Note.rtf"), dir.path()),
                 QStringLiteral("Note 1.rtf"));
    }
};

QTEST_GUILESS_MAIN(TestFileNameFitting)
#include "TestFileNameFitting.moc"
