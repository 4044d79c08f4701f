// RTFD packages: reading folders with and without attachments, keeping attachment files byte
// for byte, writing atomically, and refusing to read anything outside the package.
#include "TestSupport.h"
#include "formats/RTFDPackage.h"
#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QtTest>

namespace {

using TestSupport::fileContents;
using TestSupport::writeFile;

// Attachments of a document by file name, in text order.
QList<QPair<QString, QByteArray>> attachmentsOf(const QTextDocument &document)
{
    QList<QPair<QString, QByteArray>> found;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (it.fragment().charFormat().isImageFormat()) {
                const QTextImageFormat format = it.fragment().charFormat().toImageFormat();
                found.append({RichTextAttachment::fileName(format), RichTextAttachment::contents(&document, format)});
            }
    return found;
}

QByteArray attachmentRTF(const QByteArray &name)
{
    return "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;}\\f0 before "
           "{{\\NeXTGraphic "
        + name + " \\width400 \\height400\n}\xac} after}";
}

} // namespace

class TestRTFDPackage : public QObject
{
    Q_OBJECT

private slots:
    void fixturePackagesKeepTheirAttachments_data()
    {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QStringList>("attachments");
        QTest::newRow("png with space and @")
            << QStringLiteral("rtfd/LazyHackintosh-Credits.rtfd") << QStringList {QStringLiteral("logo@1x copy.png")};
        QTest::newRow("tiff") << QStringLiteral("rtfd/iAvro-Credits.rtfd")
                              << QStringList {
                                     QStringLiteral("Pasted Graphic 1.tiff"), QStringLiteral("Pasted Graphic 2.tiff"),
                                     QStringLiteral("Pasted Graphic 4.tiff"), QStringLiteral("Pasted Graphic 5.tiff")};
        QTest::newRow("pdf and png") << QStringLiteral("rtfd/openthesaurus-finishup_de.rtfd")
                                     << QStringList {QStringLiteral("success.pdf"), QStringLiteral("Dictionary_44.png"),
                                                     QStringLiteral("FAQ_44.png")};
        QTest::newRow("text only") << QStringLiteral("rtfd/LazyHackintosh-zh-Hans-Credits.rtfd") << QStringList();
    }

    void fixturePackagesKeepTheirAttachments()
    {
        QFETCH(QString, fixture);
        QFETCH(QStringList, attachments);
        KI_REQUIRE_FIXTURE(path, fixture);
        QTextDocument document;
        QVariantMap attributes;
        RTFDPackage package;
        QVERIFY2(package.readDocument(path, &document, &attributes), qPrintable(package.errorString()));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::RTFDDocumentType);
        const auto found = attachmentsOf(document);
        QStringList names;
        for (const auto &attachment : found) {
            names << attachment.first;
            QCOMPARE(attachment.second, fileContents(path + QLatin1Char('/') + attachment.first));
        }
        QCOMPARE(names, attachments);

        // Written out and read back: the same text and the same files.
        QTemporaryDir work;
        const QString copy = work.filePath(QStringLiteral("copy.rtfd"));
        RTFDPackage written;
        QVERIFY2(written.writeDocument(&document, copy), qPrintable(written.errorString()));
        QStringList expectedFiles = attachments;
        expectedFiles << QStringLiteral("TXT.rtf");
        expectedFiles.sort();
        QCOMPARE(QDir(copy).entryList(QDir::Files, QDir::Name), expectedFiles);
        for (const QString &name : attachments)
            QCOMPARE(fileContents(copy + QLatin1Char('/') + name), fileContents(path + QLatin1Char('/') + name));
        QTextDocument back;
        QVERIFY(RTFDPackage().readDocument(copy, &back));
        QCOMPARE(back.toRawText(), document.toRawText());
        QCOMPARE(attachmentsOf(back), found);
    }

    void packageWithOnlyText()
    {
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("only.rtfd"));
        QVERIFY(QDir().mkpath(path));
        QVERIFY(writeFile(path + QStringLiteral("/TXT.rtf"), "{\\rtf1\\ansi Only text}"));
        QTextDocument document;
        QVERIFY(RTFDPackage().readDocument(path, &document));
        QCOMPARE(document.toPlainText(), QStringLiteral("Only text"));
    }

    void missingPackagesAndFoldersWithoutTextFail()
    {
        QTemporaryDir work;
        QTextDocument document;
        RTFDPackage package;
        QVERIFY(!package.readDocument(work.filePath(QStringLiteral("none.rtfd")), &document));
        QCOMPARE(package.error().code, qint64(RichText::FileReadNoSuchFileError));
        QVERIFY(!package.readDocument(work.path(), &document));
        QCOMPARE(package.error().code, qint64(RichText::FileReadCorruptFileError));
        QVERIFY(package.isEmpty());
    }

    void attachmentsNamingMissingOrOutsideFilesAreLeftOut()
    {
        QTemporaryDir work;
        const QString outside = work.filePath(QStringLiteral("secret.png"));
        QVERIFY(writeFile(outside, TestSupport::pngBytes(2, 2, Qt::blue)));
        const QString path = work.filePath(QStringLiteral("a/b/hostile.rtfd"));
        QVERIFY(QDir().mkpath(path));
        QVERIFY(QFile::link(outside, path + QStringLiteral("/link.png")));
        QVERIFY(QDir().mkpath(path + QStringLiteral("/sub")));
        QVERIFY(writeFile(path + QStringLiteral("/sub/inner.png"), TestSupport::pngBytes(2, 2, Qt::blue)));
        for (const QByteArray &name : {QByteArray("missing.png"), QByteArray("../../../secret.png"),
                                       QByteArray("../../x"), QByteArray("link.png"), QByteArray("sub/inner.png"),
                                       QByteArray("sub"), QByteArray(".."), QByteArray("TXT.rtf")}) {
            QVERIFY(writeFile(path + QStringLiteral("/TXT.rtf"), attachmentRTF(name)));
            QTextDocument document;
            QVERIFY(RTFDPackage().readDocument(path, &document));
            QCOMPARE(document.toRawText(), QStringLiteral("before  after"));
        }
    }

    void attachmentNamesInUTF8AndDecomposed()
    {
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("accents.rtfd"));
        QVERIFY(QDir().mkpath(path));
        const QByteArray png = TestSupport::pngBytes(2, 2, Qt::red);
        // The file system keeps the name composed; the text spells it decomposed, as raw UTF-8
        // bytes in a document whose code page is Windows Latin 1.
        QVERIFY(writeFile(path + QString::fromUtf8("/biblioth\u00e8que.png"), png));
        QVERIFY(writeFile(path + QStringLiteral("/TXT.rtf"), attachmentRTF("bibliothe\xcc\x80que.png")));
        QTextDocument document;
        QVERIFY(RTFDPackage().readDocument(path, &document));
        QCOMPARE(attachmentsOf(document).size(), 1);
        QCOMPARE(attachmentsOf(document).first().second, png);
    }

    void attachmentsThatAreNotImagesKeepTheirBytes()
    {
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("mixed.rtfd"));
        QVERIFY(QDir().mkpath(path));
        QByteArray binary;
        for (int i = 0; i < 256; ++i)
            binary.append(char(i));
        QVERIFY(writeFile(path + QStringLiteral("/data.bin"), binary));
        QVERIFY(writeFile(path + QStringLiteral("/TXT.rtf"), attachmentRTF("data.bin")));
        QTextDocument document;
        QVERIFY(RTFDPackage().readDocument(path, &document));
        QCOMPARE(attachmentsOf(document).value(0).second, binary);
        const QString copy = work.filePath(QStringLiteral("copy.rtfd"));
        QVERIFY(RTFDPackage().writeDocument(&document, copy));
        QCOMPARE(fileContents(copy + QStringLiteral("/data.bin")), binary);
        QVERIFY(
            fileContents(copy + QStringLiteral("/TXT.rtf")).contains("\\NeXTGraphic data.bin \\width400 \\height400"));
    }

    void attachmentNamesAreUniqueInThePackage()
    {
        QTextDocument document;
        QTextCursor cursor(&document);
        cursor.insertText(
            QString(QChar::ObjectReplacementCharacter),
            RichTextAttachment::makeFormat(&document, QStringLiteral("a.png"), TestSupport::pngBytes(2, 2, Qt::blue)));
        cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                          RichTextAttachment::makeFormat(&document, QStringLiteral("a.png"), "other bytes"));
        cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                          RichTextAttachment::makeFormat(&document, QStringLiteral("../evil/TXT.rtf"), "evil"));
        cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                          RichTextAttachment::makeFormat(&document, QStringLiteral("NoteAttributes"), "n"));
        RTFDPackage package;
        QVERIFY(package.fromDocument(&document, {}, {QStringLiteral("NoteAttributes")}));
        QCOMPARE(package.fileNames(),
                 (QStringList {QStringLiteral("-evil-TXT.rtf"), QStringLiteral("NoteAttributes 2"),
                               QStringLiteral("TXT.rtf"), QStringLiteral("a 2.png"), QStringLiteral("a.png")}));
        QCOMPARE(package.file(QStringLiteral("a 2.png")), QByteArray("other bytes"));
        QTextDocument back;
        QVERIFY(package.toDocument(&back));
        QCOMPARE(attachmentsOf(back).size(), 4);
        QCOMPARE(attachmentsOf(back).at(1).second, QByteArray("other bytes"));
    }

    void imagesWithoutStoredBytesAreWrittenAsPNG()
    {
        QTextDocument document;
        QImage image(4, 4, QImage::Format_ARGB32);
        image.fill(Qt::red);
        document.addResource(QTextDocument::ImageResource, QUrl(QStringLiteral("mem://pic")), image);
        QTextCursor cursor(&document);
        QTextImageFormat format;
        format.setName(QStringLiteral("mem://pic"));
        cursor.insertImage(format);
        RTFDPackage package;
        QVERIFY(package.fromDocument(&document));
        QCOMPARE(package.fileNames(), (QStringList {QStringLiteral("TXT.rtf"), QStringLiteral("pic.png")}));
        QImage written;
        QVERIFY(written.loadFromData(package.file(QStringLiteral("pic.png")), "PNG"));
        QCOMPARE(written.size(), QSize(4, 4));
    }

    void writingReplacesAnExistingPackageWhole()
    {
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("note.rtfd"));
        QVERIFY(QDir().mkpath(path));
        QVERIFY(writeFile(path + QStringLiteral("/TXT.rtf"), "{\\rtf1 old}"));
        QVERIFY(writeFile(path + QStringLiteral("/stale.png"), "stale"));
        QTextDocument document;
        document.setPlainText(QStringLiteral("new"));
        QVERIFY(RTFDPackage().writeDocument(&document, path));
        QCOMPARE(QDir(path).entryList(QDir::Files), QStringList {QStringLiteral("TXT.rtf")});
        QTextDocument back;
        QVERIFY(RTFDPackage().readDocument(path, &back));
        QCOMPARE(back.toPlainText(), QStringLiteral("new"));
        // No staging folders are left behind.
        QCOMPARE(QDir(work.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList {QStringLiteral("note.rtfd")});
    }

    void writingAPlainFileReplacesIt()
    {
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("was-a-file.rtfd"));
        QVERIFY(writeFile(path, "plain file"));
        QTextDocument document;
        document.setPlainText(QStringLiteral("package"));
        QVERIFY(RTFDPackage().writeDocument(&document, path));
        QVERIFY(QFileInfo(path).isDir());
    }

    void failedWritesLeaveNothingBehind()
    {
        QTemporaryDir work;
        QTextDocument document;
        document.setPlainText(QStringLiteral("x"));
        RTFDPackage package;
        QVERIFY(!package.writeDocument(&document, work.filePath(QStringLiteral("no/such/folder/n.rtfd"))));
        QCOMPARE(package.error().domain, RichText::ErrorDomain);
        QVERIFY(!package.errorString().isEmpty());
        RTFDPackage bad;
        bad.setFile(QStringLiteral("TXT.rtf"), "{\\rtf1 x}");
        bad.setFile(QStringLiteral("../escape"), "x");
        const QString path = work.filePath(QStringLiteral("bad.rtfd"));
        QVERIFY(!bad.writeToDirectory(path));
        QCOMPARE(bad.error().code, qint64(RichText::FileWriteInvalidFileNameError));
        QCOMPARE(QDir(work.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
        QVERIFY(!QFileInfo::exists(work.filePath(QStringLiteral("escape"))));
    }
};

QTEST_MAIN(TestRTFDPackage)
#include "TestRTFDPackage.moc"
