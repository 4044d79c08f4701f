// The RTF writer: the header macOS expects, escaping, Unicode with ASCII stand-ins, and round
// trips through the reader that keep the text and every kind of formatting the reader knows.
#include "TestSupport.h"
#include "formats/RTFDPackage.h"
#include "formats/RTFReader.h"
#include "formats/RTFWriter.h"
#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"

#include <QBuffer>
#include <QImage>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFragment>
#include <QtTest>

namespace {

QByteArray writeRTF(const QTextDocument &document, const QVariantMap &attributes = {})
{
    RTFWriter writer;
    QByteArray rtf;
    if (!writer.write(&document, &rtf, attributes))
        return {};
    return rtf;
}

QString describe(const QTextCharFormat &format)
{
    if (format.isImageFormat()) {
        const QTextImageFormat image = format.toImageFormat();
        return QStringLiteral("image %1 %2x%3 %4")
            .arg(RichTextAttachment::fileName(image))
            .arg(image.width())
            .arg(image.height())
            .arg(QString::fromLatin1(
                image.property(RichText::AttachmentContentsProperty).toByteArray().toHex().left(64)));
    }
    QStringList parts;
    parts << format.fontFamilies().toStringList().join(QLatin1Char(','));
    parts << QString::number(format.fontPointSize());
    parts << (format.fontWeight() > QFont::Medium ? QStringLiteral("bold") : QString());
    parts << (format.fontItalic() ? QStringLiteral("italic") : QString());
    parts << QString::number(int(format.underlineStyle()));
    parts << (format.hasProperty(QTextFormat::TextUnderlineColor) ? format.underlineColor().name(QColor::HexArgb)
                                                                  : QString());
    parts << (format.fontStrikeOut() ? QStringLiteral("strike") : QString());
    parts << (format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name(QColor::HexArgb)
                                                               : QString());
    parts << (format.hasProperty(QTextFormat::BackgroundBrush) ? format.background().color().name(QColor::HexArgb)
                                                               : QString());
    parts << QString::number(int(format.verticalAlignment()));
    parts << (format.isAnchor() ? format.anchorHref() : QString());
    return parts.join(QLatin1Char('|'));
}

QString describe(const QTextBlockFormat &format)
{
    QStringList parts;
    parts << (format.hasProperty(QTextFormat::BlockAlignment) ? QString::number(int(format.alignment())) : QString());
    parts << QString::number(format.leftMargin()) << QString::number(format.rightMargin())
          << QString::number(format.textIndent()) << QString::number(format.topMargin())
          << QString::number(format.bottomMargin()) << QString::number(format.lineHeightType())
          << QString::number(format.lineHeight()) << QString::number(int(format.layoutDirection()));
    for (const QTextOption::Tab &tab : format.tabPositions())
        parts << QStringLiteral("tab %1 %2").arg(tab.position).arg(int(tab.type));
    return parts.join(QLatin1Char('|'));
}

// The document as lines: each paragraph's format, then runs of equally formatted text.
QStringList describe(const QTextDocument &document)
{
    QStringList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        lines << QStringLiteral("P ") + describe(block.blockFormat());
        QString lastKey;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QString key = describe(it.fragment().charFormat());
            if (key == lastKey && !lines.isEmpty())
                lines.last() += it.fragment().text();
            else
                lines << key + QStringLiteral(" :") + it.fragment().text();
            lastKey = key;
        }
    }
    return lines;
}

QTextCharFormat baseFormat()
{
    QTextCharFormat format;
    format.setFontFamilies({QStringLiteral("Helvetica")});
    format.setFontPointSize(12);
    return format;
}

// A document with every kind of formatting the reader produces.
void fillRichDocument(QTextDocument *document)
{
    QTextCursor cursor(document);
    auto add = [&](const QString &text, const std::function<void(QTextCharFormat &)> &change) {
        QTextCharFormat format = baseFormat();
        change(format);
        cursor.insertText(text, format);
    };
    QTextBlockFormat centred;
    centred.setAlignment(Qt::AlignHCenter);
    cursor.setBlockFormat(centred);
    add(QStringLiteral("Plain "), [](QTextCharFormat &) {});
    add(QStringLiteral("bold "), [](QTextCharFormat &f) { f.setFontWeight(QFont::Bold); });
    add(QStringLiteral("italic "), [](QTextCharFormat &f) { f.setFontItalic(true); });
    add(QStringLiteral("both "), [](QTextCharFormat &f) {
        f.setFontWeight(QFont::Bold);
        f.setFontItalic(true);
    });
    add(QStringLiteral("under "), [](QTextCharFormat &f) { f.setUnderlineStyle(QTextCharFormat::SingleUnderline); });
    add(QStringLiteral("coloured-under "), [](QTextCharFormat &f) {
        f.setUnderlineStyle(QTextCharFormat::SingleUnderline);
        f.setUnderlineColor(QColor(0, 128, 0));
    });
    add(QStringLiteral("strike "), [](QTextCharFormat &f) { f.setFontStrikeOut(true); });
    add(QStringLiteral("big "), [](QTextCharFormat &f) { f.setFontPointSize(24.5); });
    add(QStringLiteral("mono "), [](QTextCharFormat &f) {
        f.setFontFamilies({QStringLiteral("Menlo-Regular")});
        f.setFontStyleHint(QFont::TypeWriter);
    });
    add(QStringLiteral("serif "), [](QTextCharFormat &f) {
        f.setFontFamilies({QStringLiteral("Times-Roman")});
        f.setFontStyleHint(QFont::Serif);
    });
    add(QStringLiteral("red "), [](QTextCharFormat &f) { f.setForeground(QColor(200, 10, 20)); });
    add(QStringLiteral("white "), [](QTextCharFormat &f) { f.setForeground(QColor(255, 255, 255)); });
    add(QStringLiteral("translucent "), [](QTextCharFormat &f) { f.setForeground(QColor(10, 20, 30, 128)); });
    add(QStringLiteral("highlight "), [](QTextCharFormat &f) { f.setBackground(QColor(255, 255, 0)); });
    add(QStringLiteral("sup"), [](QTextCharFormat &f) { f.setVerticalAlignment(QTextCharFormat::AlignSuperScript); });
    add(QStringLiteral("sub "), [](QTextCharFormat &f) { f.setVerticalAlignment(QTextCharFormat::AlignSubScript); });
    add(QStringLiteral("link"), [](QTextCharFormat &f) {
        f.setAnchor(true);
        f.setAnchorHref(QStringLiteral("https://example.org/a?q=1&r={2}"));
        f.setForeground(QColor(0, 0, 238));
    });
    add(QStringLiteral(" after"), [](QTextCharFormat &) {});

    QTextBlockFormat indented;
    indented.setAlignment(Qt::AlignRight);
    indented.setLeftMargin(36);
    indented.setRightMargin(18);
    indented.setTextIndent(-18);
    indented.setTopMargin(6);
    indented.setBottomMargin(12);
    cursor.insertBlock(indented);
    add(QString::fromUtf8("Ünïcödé – “quotes” € 😀 \\ { } tab\there\u2028line"), [](QTextCharFormat &) {});

    QTextBlockFormat tabs;
    tabs.setAlignment(Qt::AlignJustify);
    tabs.setTabPositions({QTextOption::Tab(36, QTextOption::LeftTab), QTextOption::Tab(144, QTextOption::RightTab),
                          QTextOption::Tab(200, QTextOption::CenterTab)});
    tabs.setLineHeight(150, QTextBlockFormat::ProportionalHeight);
    cursor.insertBlock(tabs);
    add(QStringLiteral("a\tb\tc"), [](QTextCharFormat &) {});

    QTextBlockFormat fixed;
    fixed.setLineHeight(20, QTextBlockFormat::FixedHeight);
    fixed.setAlignment(Qt::AlignLeft);
    cursor.insertBlock(fixed);
    add(QStringLiteral("image "), [](QTextCharFormat &) {});
    cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                      RichTextAttachment::makeFormat(document, QStringLiteral("Picture 1.png"),
                                                     TestSupport::pngBytes(3, 2, Qt::green), QSizeF(30, 20)));
    cursor.insertBlock(QTextBlockFormat());
    cursor.insertBlock(QTextBlockFormat());
    add(QStringLiteral("after two paragraph ends"), [](QTextCharFormat &) {});
}

QTextDocument *roundTrip(const QTextDocument &document, QTextDocument *into, const QVariantMap &attributes = {},
                         QVariantMap *attributesRead = nullptr)
{
    RTFReader reader;
    if (!reader.read(writeRTF(document, attributes), into))
        return nullptr;
    if (attributesRead)
        *attributesRead = reader.documentAttributes();
    return into;
}

} // namespace

class TestRTFWriter : public QObject
{
    Q_OBJECT

private slots:
    void headerIsTheOneMacOSWrites()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("Hello"));
        const QByteArray rtf = writeRTF(document);
        QVERIFY(
            rtf.startsWith("{\\rtf1\\ansi\\ansicpg1252\\cocoartf2761\n\\cocoatextscaling0\\cocoaplatform0"
                           "{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;}\n{\\colortbl;\\red255\\green255\\blue255;}\n"
                           "{\\*\\expandedcolortbl;;}\n"));
        QVERIFY(rtf.contains("\\pard"));
        QVERIFY(rtf.contains("\\f0\\fs24 \\cf0 Hello}"));
        QVERIFY(rtf.endsWith("Hello}"));
    }

    void specialCharactersAreEscaped()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("a\\b{c}d"));
        QVERIFY(writeRTF(document).contains("a\\\\b\\{c\\}d"));
    }

    void nonAsciiIsWrittenAsUnicodeWithAsciiFallback()
    {
        QTextDocument document;
        document.setPlainText(QString::fromUtf8("é€😀—\u00a0ß"));
        const QByteArray rtf = writeRTF(document);
        for (const char c : rtf)
            QVERIFY(static_cast<unsigned char>(c) < 0x80);
        QVERIFY(rtf.contains("\\u233 e"));
        QVERIFY(rtf.contains("\\u8364 ?"));
        QVERIFY(rtf.contains("\\u-10179 ?\\u-8704 ?"));
        QVERIFY(rtf.contains("\\u8212 -"));
        QVERIFY(rtf.contains("\\u160  "));
        QTextDocument back;
        QVERIFY(roundTrip(document, &back));
        QCOMPARE(back.toPlainText(), document.toPlainText());
    }

    void paragraphsEndLikeMacOS()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("one\ntwo\n\nfour"));
        const QByteArray rtf = writeRTF(document);
        QVERIFY(rtf.contains("one\\\ntwo\\\n\\\nfour}"));
    }

    void writesThroughADevice()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("device"));
        QByteArray bytes;
        QBuffer buffer(&bytes);
        RTFWriter writer;
        QVERIFY(writer.write(&document, &buffer));
        QCOMPARE(bytes, writeRTF(document));
    }

    void aDeviceThatTakesNothingFails()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("device"));
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        RTFWriter writer;
        QVERIFY(!writer.write(&document, &buffer));
        QVERIFY(writer.hasError());
        QCOMPARE(writer.error().domain, RichText::ErrorDomain);
        QCOMPARE(writer.error().code, qint64(RichText::FileWriteUnknownError));
        QVERIFY(!writer.errorString().isEmpty());
        QVERIFY(!writer.write(nullptr, &bytes));
        QCOMPARE(writer.errorString(), QStringLiteral("There is no document to write."));
        QVERIFY(writer.write(&document, &bytes));
        QVERIFY(!writer.hasError());
    }

    void formattingSurvivesARoundTrip()
    {
        QTextDocument original;
        fillRichDocument(&original);
        QTextDocument back;
        QVERIFY(roundTrip(original, &back));
        QCOMPARE(back.toRawText(), original.toRawText());
        QCOMPARE(describe(back), describe(original));
        // And a second trip changes nothing more.
        QTextDocument again;
        QVERIFY(roundTrip(back, &again));
        QCOMPARE(describe(again), describe(back));
    }

    void emptyParagraphsKeepTheirFormatting()
    {
        QTextDocument original;
        RTFReader reader;
        QVERIFY(reader.read(QByteArray("{\\rtf1\\ansi{\\fonttbl\\f0\\fnil Menlo;}\\f0\\fs24 a\\\n\\fs72 \\\nb}"),
                            &original));
        QCOMPARE(original.blockCount(), 3);
        QCOMPARE(original.findBlockByNumber(1).charFormat().fontPointSize(), 36.0);
        QTextDocument back;
        QVERIFY(roundTrip(original, &back));
        QCOMPARE(back.findBlockByNumber(1).charFormat().fontPointSize(), 36.0);
        QCOMPARE(back.findBlockByNumber(1).charFormat().fontFamilies().toStringList(),
                 QStringList {QStringLiteral("Menlo")});
    }

    void picturesAreEmbeddedByteForByte()
    {
        QTextDocument original;
        fillRichDocument(&original);
        const QByteArray rtf = writeRTF(original);
        QVERIFY(rtf.contains("{\\pict\\pngblip\\picwgoal600\\pichgoal400"));
        QTextDocument back;
        QVERIFY(roundTrip(original, &back));
        const int position = back.toRawText().indexOf(QChar::ObjectReplacementCharacter);
        QVERIFY(position > 0);
        QTextCursor cursor(&back);
        cursor.setPosition(position + 1);
        QCOMPARE(RichTextAttachment::contents(&back, cursor.charFormat().toImageFormat()),
                 TestSupport::pngBytes(3, 2, Qt::green));
    }

    void attachmentsThatAreNotImagesAreLeftOutOfPlainRTF()
    {
        QTextDocument document;
        QTextCursor cursor(&document);
        cursor.insertText(QStringLiteral("a"));
        cursor.insertText(
            QString(QChar::ObjectReplacementCharacter),
            RichTextAttachment::makeFormat(&document, QStringLiteral("doc.pdf"), "%PDF-1.4 not an image"));
        cursor.insertText(QStringLiteral("b"));
        QTextDocument back;
        QVERIFY(roundTrip(document, &back));
        QCOMPARE(back.toPlainText(), QStringLiteral("ab"));
    }

    void packageReferencesNameEachAttachmentOnce()
    {
        QTextDocument document;
        QTextCursor cursor(&document);
        const QByteArray png = TestSupport::pngBytes(3, 2, Qt::green);
        for (int i = 0; i < 3; ++i)
            cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                              RichTextAttachment::makeFormat(&document, QStringLiteral("same.png"), png));
        cursor.insertText(QString(QChar::ObjectReplacementCharacter),
                          RichTextAttachment::makeFormat(&document, QStringLiteral("TXT.rtf"), "x"));
        RTFWriter writer;
        writer.setAttachmentMode(RTFWriter::AttachmentMode::PackageReferences);
        writer.setReservedFileNames({QStringLiteral("TXT.rtf")});
        QByteArray rtf;
        QVERIFY(writer.write(&document, &rtf));
        QStringList names;
        for (const RTFWriter::Attachment &attachment : writer.attachments())
            names << attachment.fileName;
        QCOMPARE(names,
                 (QStringList {QStringLiteral("same.png"), QStringLiteral("same 2.png"), QStringLiteral("same 3.png"),
                               QStringLiteral("TXT 2.rtf")}));
        QVERIFY(rtf.contains("{{\\NeXTGraphic same 2.png \\width60 \\height40 \\appleattachmentpadding0 "
                             "\\appleembedtype0 \\appleaqc\n}\xac}"));
    }

    void documentAttributesRoundTrip()
    {
        QTextDocument document;
        document.setPlainText(QStringLiteral("text"));
        const QVariantMap attributes {{RichText::BackgroundColorAttribute, QColor(0x12, 0x34, 0x56)},
                                      {RichText::TitleAttribute, QString::fromUtf8("Tïtle")},
                                      {RichText::AuthorAttribute, QStringLiteral("Someone")}};
        QTextDocument back;
        QVariantMap read;
        QVERIFY(roundTrip(document, &back, attributes, &read));
        QCOMPARE(back.toPlainText(), QStringLiteral("text"));
        QCOMPARE(read.value(RichText::BackgroundColorAttribute).value<QColor>(), QColor(0x12, 0x34, 0x56));
        QCOMPARE(read.value(RichText::TitleAttribute).toString(), QString::fromUtf8("Tïtle"));
        QCOMPARE(read.value(RichText::AuthorAttribute).toString(), QStringLiteral("Someone"));
    }

    void quotesInLinkTargetsArePercentEncoded()
    {
        QTextDocument document;
        QTextCursor cursor(&document);
        QTextCharFormat link;
        link.setAnchor(true);
        link.setAnchorHref(QStringLiteral("https://example.org/?q=\"x\""));
        cursor.insertText(QStringLiteral("link"), link);
        QTextDocument back;
        QVERIFY(roundTrip(document, &back));
        QTextCursor backCursor(&back);
        backCursor.setPosition(1);
        QCOMPARE(backCursor.charFormat().anchorHref(), QStringLiteral("https://example.org/?q=%22x%22"));
    }

    void emptyDocument()
    {
        QTextDocument document;
        QTextDocument back;
        back.setPlainText(QStringLiteral("old"));
        QVERIFY(roundTrip(document, &back));
        QCOMPARE(back.toPlainText(), QString());
    }

    void fixturesSurviveARoundTrip_data()
    {
        QTest::addColumn<QString>("fixture");
        for (const char *name :
             {"rtf/neovim-mac-Credits.rtf", "rtf/vAmiga-Credits.rtf", "rtf/iAvro-Credits-HEAD-TXT.rtf",
              "rtf/sequelpro-Credits-cocoartf1038.rtf", "rtf/cooViewer-Credits-ansicpg932.rtf",
              "rtfd/LazyHackintosh-zh-Hans-Credits.rtfd/TXT.rtf", "rtfd/openthesaurus-readme_de.rtfd/TXT.rtf"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void fixturesSurviveARoundTrip()
    {
        QFETCH(QString, fixture);
        KI_REQUIRE_FIXTURE(path, fixture);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QTextDocument original;
        RTFReader reader;
        QVERIFY(reader.read(&file, &original));
        QTextDocument back;
        QVERIFY(roundTrip(original, &back));
        QCOMPARE(back.toRawText(), original.toRawText());
        QCOMPARE(describe(back), describe(original));
    }
};

QTEST_MAIN(TestRTFWriter)
#include "TestRTFWriter.moc"
