// File names from titles, free names in a folder, and character clean-up.
#include "foundation/OVFileNameStrings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <stdexcept>

using namespace OVExtensions;

namespace {
void touch(const QDir &dir, const QString &name)
{
    QFile file(dir.filePath(name));
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
}
} // namespace

class TestFileNameStrings : public QObject
{
    Q_OBJECT

private slots:
    void sanitizeTrimsAndReplacesOneLeadingDot()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("  .hidden file  ")), QStringLiteral("-hidden file"));
    }

    void sanitizeReplacesSlashColonTilde()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("a/b:c~d")), QStringLiteral("a-b-c-d"));
    }

    void sanitizeKeepsBackslash()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("C:\\dir")), QStringLiteral("C-\\dir"));
    }

    void sanitizeCutsAtFirstLineBreak()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("First line\r\nSecond")), QStringLiteral("First line"));
    }

    void sanitizeKeepsBlankBeforeCutLineBreak()
    {
        // The trim after the cut is not made: the blank before the line break stays.
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("Title \nmore text")), QStringLiteral("Title "));
    }

    void sanitizeCutsAtEveryKindOfLineBreak_data()
    {
        QTest::addColumn<QString>("lineBreak");
        for (const char16_t c : {u'\n', u'\v', u'\f', u'\r', u'\u0085', u'\u2028', u'\u2029'})
            QTest::newRow(qPrintable(QString::number(c, 16))) << QString(QChar(c));
    }

    void sanitizeCutsAtEveryKindOfLineBreak()
    {
        QFETCH(QString, lineBreak);
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("ab") + lineBreak + QStringLiteral("cd")),
                 QStringLiteral("ab"));
    }

    void sanitizeReplacesOnlyTheFirstOfSeveralLeadingDots()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("....")), QStringLiteral("-..."));
        QCOMPARE(stringSanitizedForFileName(QStringLiteral("..x")), QStringLiteral("-.x"));
    }

    void sanitizeLeavesOtherCharactersAlone()
    {
        const QString title = QStringLiteral("tab\there\u0001 caf\u00e9 \u00fc\u0308");
        QCOMPARE(stringSanitizedForFileName(title), title);
    }

    void sanitizeOfWhiteSpaceOnlyIsEmpty()
    {
        QCOMPARE(stringSanitizedForFileName(QStringLiteral(" \t\n ")), QString());
        QVERIFY(stringSanitizedForFileName(QStringLiteral(" \t\n ")).isEmpty());
    }

    void sanitizeLongNameWithExtensionComesOutAt255()
    {
        const QString title = QString(296, QLatin1Char('t')) + QStringLiteral(".pdf");
        QCOMPARE(title.size(), 300);
        const QString name = stringSanitizedForFileName(title);
        QCOMPARE(name.size(), 255);
        // 254 minus the extension's 3 units of the title, then ".pdf" again.
        QCOMPARE(name, QString(251, QLatin1Char('t')) + QStringLiteral(".pdf"));
    }

    void sanitizeLongNameWithoutExtensionComesOutAt254()
    {
        const QString name = stringSanitizedForFileName(QString(300, QLatin1Char('x')));
        QCOMPARE(name, QString(254, QLatin1Char('x')));
    }

    void sanitizeLeaves255Alone()
    {
        const QString title = QString(251, QLatin1Char('y')) + QStringLiteral(".txt");
        QCOMPARE(title.size(), 255);
        QCOMPARE(stringSanitizedForFileName(title), title);
        const QString plain(255, QLatin1Char('z'));
        QCOMPARE(stringSanitizedForFileName(plain), plain);
    }

    void sanitizeAt256IsCut() { QCOMPARE(stringSanitizedForFileName(QString(256, QLatin1Char('z'))).size(), 254); }

    void sanitizeLongNameWithOverlongExtensionThrows()
    {
        const QString title = QStringLiteral("a.") + QString(300, QLatin1Char('e'));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, stringSanitizedForFileName(title));
    }

    void uniqueNameThatIsFreeIsReturnedUnchanged()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QUrl url = QUrl::fromLocalFile(dir.path());
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("a:b.txt"), url), QStringLiteral("a:b.txt"));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral(".hidden"), url), QStringLiteral(".hidden"));
    }

    void uniqueNameCountsUpPastTakenNames()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QDir folder(dir.path());
        touch(folder, QStringLiteral("Note.rtf"));
        touch(folder, QStringLiteral("Note 1.rtf"));
        touch(folder, QStringLiteral("Note 2.rtf"));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("Note.rtf"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("Note 3.rtf"));
    }

    void uniqueNameWithoutExtension()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        touch(QDir(dir.path()), QStringLiteral("Note"));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("Note"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("Note 1"));
    }

    void uniqueNameNumbersBeforeTheLastExtension()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        touch(QDir(dir.path()), QStringLiteral("archive.tar.gz"));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("archive.tar.gz"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("archive.tar 1.gz"));
    }

    void uniqueNameTestsTheUnsanitisedCandidate()
    {
        // 'a:b 1.txt' is free, so it is chosen, even though its sanitised form 'a-b 1.txt' is taken.
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QDir folder(dir.path());
        touch(folder, QStringLiteral("a:b.txt"));
        touch(folder, QStringLiteral("a-b 1.txt"));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("a:b.txt"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("a-b 1.txt"));
    }

    void uniqueNameCountsADanglingLinkAsTaken()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("nowhere")), dir.filePath(QStringLiteral("Link.txt"))));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("Link.txt"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("Link 1.txt"));
    }

    void uniqueNameCountsAFolderAsTaken()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("Agenda.nvnote")));
        QCOMPARE(makeFilenameUniqueInDirectoryAtURL(QStringLiteral("Agenda.nvnote"), QUrl::fromLocalFile(dir.path())),
                 QStringLiteral("Agenda 1.nvnote"));
    }

    void fileSystemRepresentationDecomposes()
    {
        const QString precomposed = QStringLiteral("/tmp/caf\u00e9.txt");
        const QString result = fileSystemRepresentationString(precomposed);
        QCOMPARE(result, QStringLiteral("/tmp/cafe\u0301.txt"));
        QCOMPARE(fileSystemRepresentationString(QStringLiteral("/plain/path")), QStringLiteral("/plain/path"));
    }

    void displayNameIsTheLastComponent()
    {
        QCOMPARE(fileDisplayName(QStringLiteral("/nowhere/Report.pdf")), QStringLiteral("Report.pdf"));
        QCOMPARE(fileDisplayName(QStringLiteral("/nowhere/Folder/")), QStringLiteral("Folder"));
    }

    void removingCharactersInSet()
    {
        const OVCharacterSet set = OVCharacterSet::withCharactersInString(QStringLiteral("ab"));
        QCOMPARE(stringByRemovingCharactersInSet(QStringLiteral("abcabxba"), set), QStringLiteral("cx"));
        QCOMPARE(stringByRemovingCharactersInSet(QStringLiteral("xyz"), set), QStringLiteral("xyz"));
        QCOMPARE(stringByRemovingCharactersInSet(QString(), set), QString());
    }

    void removingCharactersOutsideTheBasicPlane()
    {
        const QString emoji = QString::fromUcs4(U"\U0001F600");
        const OVCharacterSet set = OVCharacterSet::withCharactersInString(emoji);
        QCOMPARE(stringByRemovingCharactersInSet(QStringLiteral("a") + emoji + QStringLiteral("b"), set),
                 QStringLiteral("ab"));
    }

    void removingControlAndIllegalCharacters()
    {
        // Cc (NUL, BEL, DEL, C1), Cf (zero-width space, soft hyphen), a non-character, an unassigned code point.
        QString dirty = QStringLiteral("a");
        dirty += QChar(0x0000);
        dirty += QStringLiteral("b\u0007c\u007f\u0085d\u200be\u00adf\ufdd0g\uffffh");
        dirty += QString::fromUcs4(U"\U000E0080"); // unassigned
        dirty += QStringLiteral("i");
        QCOMPARE(stringByRemovingControlAndIllegalCharacters(dirty), QStringLiteral("abcdefghi"));
        const QString clean = QStringLiteral("Caf\u00e9 \u65e5\u672c");
        QCOMPARE(stringByRemovingControlAndIllegalCharacters(clean), clean);
    }

    void cStringStopsAtTheCount()
    {
        QCOMPARE(stringWithCString("abcdef", OVStringEncoding::UTF8, 3), QStringLiteral("abc"));
    }

    void cStringWithCountZeroIsEmpty()
    {
        const QString empty = stringWithCString("abcdef", OVStringEncoding::UTF8, 0);
        QVERIFY(!empty.isNull());
        QVERIFY(empty.isEmpty());
        QVERIFY(!stringWithCString(nullptr, OVStringEncoding::UTF8, 4).isNull());
    }

    void cStringStopsAtAZeroByte()
    {
        QCOMPARE(stringWithCString("ab\0cd", OVStringEncoding::ASCII, 5), QStringLiteral("ab"));
    }

    void cStringInvalidInTheEncodingIsNull()
    {
        QVERIFY(stringWithCString("caf\xff", OVStringEncoding::UTF8, 4).isNull());
        QVERIFY(stringWithCString("caf\xc3", OVStringEncoding::UTF8, 4).isNull()); // cut mid-character
        QVERIFY(stringWithCString("caf\xe9", OVStringEncoding::ASCII, 4).isNull());
        QCOMPARE(stringWithCString("caf\xe9", OVStringEncoding::ISOLatin1, 4), QStringLiteral("caf\u00e9"));
        QCOMPARE(stringWithCString("caf\xc3\xa9", OVStringEncoding::UTF8, 5), QStringLiteral("caf\u00e9"));
    }

    void pathExtensions()
    {
        QCOMPARE(pathExtension(QStringLiteral("archive.tar.gz")), QStringLiteral("gz"));
        QCOMPARE(stringByDeletingPathExtension(QStringLiteral("archive.tar.gz")), QStringLiteral("archive.tar"));
        QCOMPARE(pathExtension(QStringLiteral("Note")), QString());
        QCOMPARE(pathExtension(QStringLiteral(".hidden")), QString());
        QCOMPARE(pathExtension(QStringLiteral("dir.d/file")), QString());
        QCOMPARE(stringByDeletingPathExtension(QStringLiteral("dir.d/file")), QStringLiteral("dir.d/file"));
    }

    void appendingAPathExtensionDropsTrailingSlashes()
    {
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("Plans"), QStringLiteral("nvnote")),
                 QStringLiteral("Plans.nvnote"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("Plans/"), QStringLiteral("nvnote")),
                 QStringLiteral("Plans.nvnote"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("Plans///"), QStringLiteral("nvnote")),
                 QStringLiteral("Plans.nvnote"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("Q1/Q2 plan"), QStringLiteral("nvnote")),
                 QStringLiteral("Q1/Q2 plan.nvnote"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("archive.tar"), QStringLiteral("gz")),
                 QStringLiteral("archive.tar.gz"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("example.com/"), QStringLiteral("webloc")),
                 QStringLiteral("example.com.webloc"));
        // Nothing but slashes: the first stays, for the name rules to replace.
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("/"), QStringLiteral("nvnote")),
                 QStringLiteral("/.nvnote"));
        QCOMPARE(stringByAppendingPathExtension(QStringLiteral("//"), QStringLiteral("nvnote")),
                 QStringLiteral("/.nvnote"));
    }
};

QTEST_GUILESS_MAIN(TestFileNameStrings)
#include "TestFileNameStrings.moc"
