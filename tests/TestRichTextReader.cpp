// The rich-text reader: every accepted format, the format decided by content when the
// extension is missing or wrong, plain text in every common encoding, and the failures.
#include "TestSupport.h"
#include "formats/RichTextAttributes.h"
#include "formats/RichTextReader.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QtTest>

namespace {

using TestSupport::writeFile;

QString readFileText(const QString &path, QVariantMap *attributes = nullptr, bool *ok = nullptr)
{
    QTextDocument document;
    RichTextReader reader;
    const bool read = reader.read(path, &document);
    if (attributes)
        *attributes = reader.documentAttributes();
    if (ok)
        *ok = read;
    return document.toPlainText();
}

} // namespace

class TestRichTextReader : public QObject
{
    Q_OBJECT

private slots:
    void formatIsDecidedByContent_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<int>("format");
        using F = RichTextReader::Format;
        QTest::newRow("rtf") << QByteArray("{\\rtf1 x}") << QStringLiteral("a.rtf") << int(F::RTF);
        QTest::newRow("rtf named txt") << QByteArray("{\\rtf1 x}") << QStringLiteral("a.txt") << int(F::RTF);
        QTest::newRow("rtf without extension") << QByteArray("\r\n {\\rtf1 x}") << QString() << int(F::RTF);
        QTest::newRow("text named rtf") << QByteArray("just text") << QStringLiteral("a.rtf") << int(F::PlainText);
        QTest::newRow("html") << QByteArray("<!DOCTYPE html><html><body>x</body></html>") << QString() << int(F::HTML);
        QTest::newRow("html named txt") << QByteArray("  <html>\n<body>x") << QStringLiteral("a.txt") << int(F::HTML);
        QTest::newRow("xhtml") << QByteArray("<?xml version=\"1.0\"?>\n<html xmlns=\"x\">") << QString()
                               << int(F::HTML);
        QTest::newRow("text named html") << QByteArray("a < b") << QStringLiteral("a.html") << int(F::PlainText);
        QTest::newRow("markdown") << QByteArray("# Title\n\n*x*") << QStringLiteral("a.md") << int(F::Markdown);
        QTest::newRow("markdown named other")
            << QByteArray("# Title") << QStringLiteral("a.MarkDown") << int(F::Markdown);
        QTest::newRow("rtf named md") << QByteArray("{\\rtf1 x}") << QStringLiteral("a.md") << int(F::RTF);
        QTest::newRow("pdf") << QByteArray("%PDF-1.4\n...") << QStringLiteral("a.rtf") << int(F::Unknown);
        QTest::newRow("binary") << QByteArray("ab\0cd\x01\x02", 7) << QString() << int(F::Unknown);
        QTest::newRow("utf-16 is text") << QByteArray("\xff\xfeh\0i\0", 6) << QString() << int(F::PlainText);
    }

    void formatIsDecidedByContent()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, fileName);
        QFETCH(int, format);
        QCOMPARE(int(RichTextReader::detectFormat(data, fileName)), format);
    }

    void plainTextEncodings_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("expected");
        const QString text = QString::fromUtf8("Grüße — “naïve” €");
        QStringEncoder utf16le(QStringConverter::Utf16LE);
        QStringEncoder utf16be(QStringConverter::Utf16BE);
        QTest::newRow("utf-8") << text.toUtf8() << text;
        QTest::newRow("utf-8 with bom") << QByteArray("\xef\xbb\xbf") + text.toUtf8() << text;
        QTest::newRow("utf-16le bom") << QByteArray("\xff\xfe") + QByteArray(utf16le.encode(text)) << text;
        QTest::newRow("utf-16be bom") << QByteArray("\xfe\xff") + QByteArray(utf16be.encode(text)) << text;
        QTest::newRow("utf-16le without bom")
            << QByteArray(utf16le.encode(QStringLiteral("plain words"))) << QStringLiteral("plain words");
        QTest::newRow("windows-1252") << QByteArray("Gr\xfc\xdf"
                                                    "e \x97 \x93na\xefve\x94 \x80")
                                      << text;
        QTest::newRow("mac roman") << QByteArray("Gr\x9f\xa7"
                                                 "e \xd1 \xd2na\x95ve\xd3 \xdb")
                                   << text;
        QTest::newRow("line ends") << QByteArray("a\r\nb\rc\nd") << QStringLiteral("a\nb\nc\nd");
    }

    void plainTextEncodings()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, expected);
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(reader.readData(data, &document, QStringLiteral("note.txt")));
        const QVariantMap attributes = reader.documentAttributes();
        QCOMPARE(document.toPlainText(), expected);
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::PlainTextDocumentType);
    }

    void htmlKeepsFormattingAndTitle()
    {
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(reader.readData("<html><head><meta charset=\"utf-8\"><title>T</title></head>"
                                "<body><p>caf\xc3\xa9 <b>bold</b></p></body></html>",
                                &document));
        const QVariantMap attributes = reader.documentAttributes();
        QCOMPARE(document.toPlainText(), QString::fromUtf8("café bold"));
        QTextCursor cursor(&document);
        cursor.setPosition(7);
        QCOMPARE(cursor.charFormat().fontWeight(), int(QFont::Bold));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::HTMLDocumentType);
        QCOMPARE(attributes.value(RichText::TitleAttribute).toString(), QStringLiteral("T"));
    }

    void htmlWithoutDeclaredCharsetInALegacyEncoding()
    {
        QTextDocument document;
        QVERIFY(RichTextReader().readData("<html><body>Gr\xfc\xdf"
                                          "e</body></html>",
                                          &document));
        QCOMPARE(document.toPlainText(), QString::fromUtf8("Grüße"));
        QVERIFY(RichTextReader().readData("<html><head><meta charset=\"windows-1251\"></head><body>\xcf\xf0\xe8</body>"
                                          "</html>",
                                          &document));
        QCOMPARE(document.toPlainText(), QString::fromUtf8("При"));
    }

    void markdownIsRendered()
    {
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(reader.readData("# Heading\n\nSome **strong** text\n", &document, QStringLiteral("n.md")));
        const QVariantMap attributes = reader.documentAttributes();
        QCOMPARE(document.toPlainText(), QStringLiteral("Heading\nSome strong text"));
        QTextCursor cursor(document.findBlockByNumber(1));
        cursor.setPosition(cursor.position() + 7);
        QCOMPARE(cursor.charFormat().fontWeight(), int(QFont::Bold));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::MarkdownDocumentType);
    }

    void filesOfEveryKind()
    {
        QTemporaryDir work;
        QVERIFY(writeFile(work.filePath(QStringLiteral("a.rtf")), "{\\rtf1\\ansi R\\'e9sum\\'e9}"));
        QVERIFY(writeFile(work.filePath(QStringLiteral("no-extension")), "{\\rtf1\\ansi RTF}"));
        QVERIFY(writeFile(work.filePath(QStringLiteral("wrong.html")), "{\\rtf1\\ansi RTF too}"));
        QVERIFY(writeFile(work.filePath(QStringLiteral("b.txt")), "text"));
        QVERIFY(QDir().mkpath(work.filePath(QStringLiteral("c.rtfd"))));
        QVERIFY(writeFile(work.filePath(QStringLiteral("c.rtfd/TXT.rtf")), "{\\rtf1\\ansi package}"));
        QVERIFY(QDir().mkpath(work.filePath(QStringLiteral("package-without-extension"))));
        QVERIFY(writeFile(work.filePath(QStringLiteral("package-without-extension/TXT.rtf")), "{\\rtf1\\ansi p2}"));
        QVariantMap attributes;
        QCOMPARE(readFileText(work.filePath(QStringLiteral("a.rtf")), &attributes), QString::fromUtf8("Résumé"));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::RTFDocumentType);
        QCOMPARE(readFileText(work.filePath(QStringLiteral("no-extension"))), QStringLiteral("RTF"));
        QCOMPARE(readFileText(work.filePath(QStringLiteral("wrong.html"))), QStringLiteral("RTF too"));
        QCOMPARE(readFileText(work.filePath(QStringLiteral("b.txt"))), QStringLiteral("text"));
        QCOMPARE(readFileText(work.filePath(QStringLiteral("c.rtfd")), &attributes), QStringLiteral("package"));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::RTFDDocumentType);
        QCOMPARE(readFileText(work.filePath(QStringLiteral("package-without-extension"))), QStringLiteral("p2"));
    }

    void readsThroughADevice()
    {
        QByteArray data("{\\rtf1 device}");
        QBuffer buffer(&data);
        QTextDocument document;
        QVERIFY(RichTextReader().read(&buffer, &document));
        QCOMPARE(document.toPlainText(), QStringLiteral("device"));
    }

    void fixturePackageThroughTheGeneralReader()
    {
        KI_REQUIRE_FIXTURE(path, "rtfd/openthesaurus-readme_de.rtfd");
        bool ok = false;
        const QString text = readFileText(path, nullptr, &ok);
        QVERIFY(ok);
        QVERIFY(text.contains(QString::fromUtf8("Unter Umständen")));
    }

    void failures()
    {
        QTemporaryDir work;
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(!reader.read(work.filePath(QStringLiteral("missing.rtf")), &document));
        QCOMPARE(reader.error().domain, RichText::ErrorDomain);
        QCOMPARE(reader.error().code, qint64(RichText::FileReadNoSuchFileError));
        QVERIFY(!reader.read(work.path(), &document));
        QCOMPARE(reader.error().code, qint64(RichText::FileReadCorruptFileError));
        QVERIFY(writeFile(work.filePath(QStringLiteral("binary.rtf")), QByteArray("\x89PNG\r\n\x1a\n\0\0", 10)));
        QVERIFY(!reader.read(work.filePath(QStringLiteral("binary.rtf")), &document));
        QCOMPARE(reader.error().code, qint64(RichText::FileReadCorruptFileError));
        QVERIFY(reader.hasError());
        QVERIFY(!reader.errorString().isEmpty());
    }

    void txtNameIsReadAsPlainText_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("lower case") << QStringLiteral("notes.txt");
        QTest::newRow("upper case") << QStringLiteral("NOTES.TXT");
        QTest::newRow("mixed case") << QStringLiteral("notes.Txt");
    }

    void txtNameIsReadAsPlainText()
    {
        QFETCH(QString, fileName);
        const QByteArray data("{\\rtf1 not really rich text}");
        QTemporaryDir work;
        const QString path = work.filePath(fileName);
        QVERIFY(writeFile(path, data));
        QVariantMap attributes;
        bool ok = false;
        QCOMPARE(readFileText(path, &attributes, &ok), QStringLiteral("{\\rtf1 not really rich text}"));
        QVERIFY(ok);
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::PlainTextDocumentType);

        QTextDocument document;
        QVERIFY(RichTextReader().readData(data, &document, fileName));
        QCOMPARE(document.toPlainText(), QStringLiteral("{\\rtf1 not really rich text}"));
        QByteArray bytes = data;
        QBuffer buffer(&bytes);
        QVERIFY(RichTextReader().read(&buffer, &document, fileName));
        QCOMPARE(document.toPlainText(), QStringLiteral("{\\rtf1 not really rich text}"));
    }

    void txtNameKeepsMarkupAsText()
    {
        QTextDocument document;
        QVERIFY(RichTextReader().readData("<html><body><b>x</b></body></html>", &document, QStringLiteral("page.txt")));
        QCOMPARE(document.toPlainText(), QStringLiteral("<html><body><b>x</b></body></html>"));
    }

    void otherNamesStillSniffTheContent_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("no name") << QString();
        QTest::newRow("rtf") << QStringLiteral("notes.rtf");
        QTest::newRow("txt inside the name") << QStringLiteral("notes.txt.rtf");
        QTest::newRow("txt without a dot") << QStringLiteral("notestxt");
    }

    void otherNamesStillSniffTheContent()
    {
        QFETCH(QString, fileName);
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(reader.readData("{\\rtf1 not really rich text}", &document, fileName));
        const QVariantMap attributes = reader.documentAttributes();
        QCOMPARE(document.toPlainText(), QStringLiteral("not really rich text"));
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::RTFDocumentType);
    }

    void binaryTxtFails_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("zero bytes in text") << QByteArray("some text\0\0\0 and more text", 26);
        QByteArray late(6000, 'a');
        late[5000] = '\0';
        QTest::newRow("zero byte after the first kilobytes") << late;
        QTest::newRow("png") << QByteArray("\x89PNG\r\n\x1a\n\0\0", 10);
    }

    void binaryTxtFails()
    {
        QFETCH(QByteArray, data);
        QTemporaryDir work;
        const QString path = work.filePath(QStringLiteral("binary.txt"));
        QVERIFY(writeFile(path, data));
        QTextDocument document;
        RichTextReader reader;
        QVERIFY(!reader.read(path, &document));
        QCOMPARE(reader.error().domain, RichText::ErrorDomain);
        QCOMPARE(reader.error().code, qint64(RichText::FileReadCorruptFileError));
        QVERIFY(!reader.errorString().isEmpty());
        QVERIFY(!RichTextReader().readData(data, &document, QStringLiteral("binary.txt")));
    }

    void utf16TxtIsText()
    {
        QTextDocument document;
        QVERIFY(RichTextReader().readData(QByteArray("{\0\\\0r\0t\0f\0", 10), &document, QStringLiteral("wide.txt")));
        QCOMPARE(document.toPlainText(), QStringLiteral("{\\rtf"));
    }

    void emptyFileIsEmptyText()
    {
        QTextDocument document;
        QVERIFY(RichTextReader().readData(QByteArray(), &document, QStringLiteral("empty.txt")));
        QCOMPARE(document.toPlainText(), QString());
    }
};

QTEST_MAIN(TestRichTextReader)
#include "TestRichTextReader.moc"
