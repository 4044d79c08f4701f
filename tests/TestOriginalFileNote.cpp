// Notes that keep the exported file: the text names the item, and the exported file, or every
// file of an exported folder, lies in the package byte for byte.
#include "TestSupport.h"
#include "formats/NVOriginalFileNote.h"
#include "formats/RTFDPackage.h"
#include "formats/RichTextAttributes.h"
#include "formats/RichTextReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QtTest>

namespace {

using TestSupport::fileContents;
using TestSupport::writeFile;

// Random bytes with zero bytes among them, as an exported binary file would hold.
QByteArray binaryBytes(int size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator generator(4711);
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i % 7 == 0 ? 0 : generator.bounded(256));
    return bytes;
}

QString noteText(const QString &notePath)
{
    QTextDocument document;
    RichTextReader reader;
    if (!reader.read(notePath, &document))
        qWarning("reading the note failed: %s", qPrintable(reader.errorString()));
    return document.toPlainText();
}

// Whether the note's text names the item in quotes and says `phrase`; the text is shown when not.
bool noteSays(const QString &notePath, const QString &itemName, const QString &phrase)
{
    const QString text = noteText(notePath);
    const bool says = text.contains(QLatin1Char('"') + itemName + QLatin1Char('"')) && text.contains(phrase);
    if (!says)
        qWarning("the note says: %s", qPrintable(text));
    return says;
}

// The members of the package other than its text.
QStringList attachedFiles(const QString &notePath)
{
    QStringList names = QDir(notePath).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    names.removeOne(RTFDPackage::textFileName);
    return names;
}

} // namespace

class TestOriginalFileNote : public QObject
{
    Q_OBJECT

private slots:
    void binaryFileIsAttachedUnchanged()
    {
        QTemporaryDir work;
        const QByteArray bytes = binaryBytes(5000);
        const QString original = work.filePath(QStringLiteral("Holiday plans.bin"));
        QVERIFY(writeFile(original, bytes));
        const QString note = work.filePath(QStringLiteral("Holiday plans.nvnote"));
        OVError error;
        QVERIFY2(NVOriginalFileNote::write(QStringLiteral("Holiday plans"), original, note, &error),
                 qPrintable(error.localizedDescription));
        QVERIFY(QFileInfo::exists(note + QStringLiteral("/TXT.rtf")));
        QVERIFY(noteSays(note, QStringLiteral("Holiday plans"), QStringLiteral("is attached to this note unchanged")));
        QCOMPARE(attachedFiles(note), QStringList {QStringLiteral("Holiday plans.bin")});
        QCOMPARE(fileContents(note + QStringLiteral("/Holiday plans.bin")), bytes);
        QCOMPARE(fileContents(original), bytes); // the original stays where it was

        // The text refers to the member, so the attachment comes back with the note.
        RTFDPackage package;
        QVERIFY(package.readFromDirectory(note));
        QVERIFY(package.file(RTFDPackage::textFileName).contains("\\NeXTGraphic Holiday plans.bin"));
        QTextDocument document;
        QVERIFY(package.toDocument(&document));
        QCOMPARE(document.toPlainText().count(QChar::ObjectReplacementCharacter), 1);
    }

    void txtWithZeroBytesIsAttached()
    {
        QTemporaryDir work;
        const QByteArray bytes("plain words\0\0 with zero bytes\n", 30);
        const QString original = work.filePath(QStringLiteral("Scan.txt"));
        QVERIFY(writeFile(original, bytes));
        QTextDocument unreadable;
        QVERIFY(!RichTextReader().read(original, &unreadable));
        const QString note = work.filePath(QStringLiteral("Scan.nvnote"));
        QVERIFY(NVOriginalFileNote::write(QStringLiteral("Scan"), original, note));
        QCOMPARE(fileContents(note + QStringLiteral("/Scan.txt")), bytes);
    }

    void folderWithoutTextKeepsEveryFile()
    {
        QTemporaryDir work;
        const QString original = work.filePath(QStringLiteral("Broken.rtfd"));
        const QByteArray picture = binaryBytes(800);
        const QByteArray nested = binaryBytes(1200);
        QVERIFY(writeFile(original + QStringLiteral("/picture.png"), picture));
        QVERIFY(writeFile(original + QStringLiteral("/sub/inner.dat"), nested));
        const QString note = work.filePath(QStringLiteral("Broken.nvnote"));
        OVError error;
        QVERIFY2(NVOriginalFileNote::write(QStringLiteral("Broken"), original, note, &error),
                 qPrintable(error.localizedDescription));
        QCOMPARE(attachedFiles(note), (QStringList {QStringLiteral("picture.png"), QStringLiteral("sub - inner.dat")}));
        QCOMPARE(fileContents(note + QStringLiteral("/picture.png")), picture);
        QCOMPARE(fileContents(note + QStringLiteral("/sub - inner.dat")), nested);
        QVERIFY(noteSays(note, QStringLiteral("Broken"), QStringLiteral("are attached to this note unchanged")));
    }

    void symbolicLinksInTheFolderAreNotFollowed()
    {
        QTemporaryDir work;
        const QString outside = work.filePath(QStringLiteral("outside"));
        QVERIFY(writeFile(outside + QStringLiteral("/secret.txt"), "not part of the item"));
        const QString original = work.filePath(QStringLiteral("Linked.rtfd"));
        QVERIFY(writeFile(original + QStringLiteral("/own.dat"), "own"));
        QVERIFY(QFile::link(outside + QStringLiteral("/secret.txt"), original + QStringLiteral("/file-link.txt")));
        QVERIFY(QFile::link(outside, original + QStringLiteral("/folder-link")));
        const QString note = work.filePath(QStringLiteral("Linked.nvnote"));
        QVERIFY(NVOriginalFileNote::write(QStringLiteral("Linked"), original, note));
        QCOMPARE(attachedFiles(note), QStringList {QStringLiteral("own.dat")});
        QCOMPARE(fileContents(note + QStringLiteral("/own.dat")), QByteArray("own"));
    }

    void emptyFolderSaysSo()
    {
        QTemporaryDir work;
        const QString original = work.filePath(QStringLiteral("Empty.rtfd"));
        QVERIFY(QDir().mkpath(original));
        const QString note = work.filePath(QStringLiteral("Empty.nvnote"));
        QVERIFY(NVOriginalFileNote::write(QStringLiteral("Empty"), original, note));
        QCOMPARE(attachedFiles(note), QStringList());
        QVERIFY(noteSays(note, QStringLiteral("Empty"), QStringLiteral("is empty")));
    }

    void missingOriginalFailsAndWritesNothing()
    {
        QTemporaryDir work;
        const QString note = work.filePath(QStringLiteral("Missing.nvnote"));
        OVError error;
        QVERIFY(!NVOriginalFileNote::write(QStringLiteral("Missing"), work.filePath(QStringLiteral("gone.bin")), note,
                                           &error));
        QCOMPARE(error.domain, RichText::ErrorDomain);
        QCOMPARE(error.code, qint64(RichText::FileReadNoSuchFileError));
        QVERIFY(!error.localizedDescription.isEmpty());
        QVERIFY(!QFileInfo::exists(note));
        QCOMPARE(QDir(work.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
    }

    void missingFolderForTheNoteFails()
    {
        QTemporaryDir work;
        const QString original = work.filePath(QStringLiteral("data.bin"));
        QVERIFY(writeFile(original, binaryBytes(10)));
        OVError error;
        QVERIFY(!NVOriginalFileNote::write(QStringLiteral("Data"), original,
                                           work.filePath(QStringLiteral("no/such/folder/Data.nvnote")), &error));
        QVERIFY(!error.localizedDescription.isEmpty());
    }

    void oddItemNamesStillWork()
    {
        QTemporaryDir work;
        const QString original = work.filePath(QStringLiteral("odd.bin"));
        QVERIFY(writeFile(original, binaryBytes(64)));
        const QString note = work.filePath(QStringLiteral("odd.nvnote"));
        const QString name = QStringLiteral("\"Quoted\" {braces} \\ back\tslash\nnext\x01line");
        QVERIFY(NVOriginalFileNote::write(name, original, note));
        QVERIFY(noteSays(note, QStringLiteral("\"Quoted\" {braces} \\ back slash next line"),
                         QStringLiteral("could not read the text")));
        QCOMPARE(fileContents(note + QStringLiteral("/odd.bin")), binaryBytes(64));
    }

    void longAndOddFileNamesMakeValidMembers()
    {
        QTemporaryDir work;
        const QString original = work.filePath(QStringLiteral("Odd.rtfd"));
        const QString longName = QString(120, QChar(0x00E9)) + QStringLiteral(".data"); // 245 bytes in UTF-8
        const QString deepName = QString(100, QLatin1Char('d')) + QStringLiteral("/") + QString(100, QLatin1Char('e'))
            + QStringLiteral("/") + QString(100, QLatin1Char('f')) + QStringLiteral(".bin");
        QVERIFY(writeFile(original + QLatin1Char('/') + longName, "long"));
        QVERIFY(writeFile(original + QLatin1Char('/') + deepName, "deep"));
        QVERIFY(writeFile(original + QStringLiteral("/.hidden"), "hidden"));
        QVERIFY(writeFile(original + QStringLiteral("/ line\nbreak.txt "), "break"));
        const QString note = work.filePath(QStringLiteral("Odd.nvnote"));
        OVError error;
        QVERIFY2(NVOriginalFileNote::write(QStringLiteral("Odd"), original, note, &error),
                 qPrintable(error.localizedDescription));
        const QStringList members = attachedFiles(note);
        QCOMPARE(members.size(), 4);
        QByteArrayList contents;
        for (const QString &member : members) {
            QVERIFY2(member.toUtf8().size() <= 255, qPrintable(member));
            QVERIFY2(!member.startsWith(QLatin1Char('.')), qPrintable(member));
            QVERIFY2(!member.contains(QLatin1Char('\n')), qPrintable(member));
            contents.append(fileContents(note + QLatin1Char('/') + member));
        }
        std::sort(contents.begin(), contents.end());
        QCOMPARE(contents, (QByteArrayList {"break", "deep", "hidden", "long"}));
        QVERIFY(members.contains(QStringLiteral("linebreak.txt")));
        QVERIFY(members.contains(QStringLiteral("hidden")));

        // Every member is found again from the text, so the package reads back whole.
        RTFDPackage package;
        QVERIFY(package.readFromDirectory(note));
        QTextDocument document;
        QVERIFY(package.toDocument(&document));
        QCOMPARE(document.toPlainText().count(QChar::ObjectReplacementCharacter), 4);
    }
};

QTEST_MAIN(TestOriginalFileNote)
#include "TestOriginalFileNote.moc"
