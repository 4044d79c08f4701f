// The RTF reader: code pages, Unicode escapes, tables, character and paragraph formatting,
// pictures, attachments, links, the real files in the shared fixtures (compared with the
// independent unrtf), and damaged input that must neither crash nor hang.
#include "TestSupport.h"
#include "formats/RTFDPackage.h"
#include "formats/RTFReader.h"
#include "formats/RichTextAttachment.h"
#include "formats/RichTextAttributes.h"
#include "formats/RichTextReader.h"

#include <QBuffer>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QtTest>

namespace {

QString readText(const QByteArray &rtf, QTextDocument *document = nullptr)
{
    QTextDocument local;
    QTextDocument *target = document ? document : &local;
    RTFReader reader;
    if (!reader.read(rtf, target))
        return QStringLiteral("<error>");
    return target->toRawText();
}

QByteArray wrap(const QByteArray &body)
{
    return "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;}"
           "{\\colortbl;\\red255\\green255\\blue255;\\red255\\green0\\blue0;\\red0\\green0\\blue255;}\n"
        + body + "}";
}

// The character format at a position of the document's text.
QTextCharFormat formatAt(const QTextDocument &document, int position)
{
    QTextCursor cursor(const_cast<QTextDocument *>(&document));
    cursor.setPosition(position + 1);
    return cursor.charFormat();
}

// The text as unrtf gives it, for comparison with ours: unrtf shows each link as the word
// "hyperlink" and each attachment as its file name, and its white space differs, so all white
// space is removed from both sides.
QString withoutWhiteSpace(const QString &text)
{
    QString out;
    for (const QChar c : text)
        if (!c.isSpace() && c != QChar::ObjectReplacementCharacter && c.unicode() != 0xAD)
            out.append(c);
    return out;
}

QString unrtfText(const QString &path)
{
    QTemporaryDir work;
    QProcess process;
    process.setWorkingDirectory(work.path());
    process.start(QStringLiteral("/usr/bin/unrtf"), {QStringLiteral("--html"), QStringLiteral("--nopict"), path});
    if (!process.waitForFinished(60000))
        return QStringLiteral("<unrtf failed>");
    const QString html = QString::fromUtf8(process.readAllStandardOutput());
    QTextDocument document;
    document.setHtml(html);
    return document.toPlainText();
}

QString ourComparableText(const QTextDocument &document)
{
    QString out;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QString lastHref;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            const QString href = format.isAnchor() ? format.anchorHref() : QString();
            if (!href.isEmpty()) {
                if (href != lastHref)
                    out += QStringLiteral("hyperlink");
                lastHref = href;
                continue;
            }
            lastHref.clear();
            if (format.isImageFormat()) {
                out += RichTextAttachment::fileName(format.toImageFormat());
                continue;
            }
            out += it.fragment().text();
        }
        out += QLatin1Char('\n');
    }
    return out;
}

} // namespace

class TestRTFReader : public QObject
{
    Q_OBJECT

private slots:
    void rejectsDataThatIsNotRTF()
    {
        QTextDocument document;
        RTFReader reader;
        QVERIFY(!reader.read(QByteArray("hello"), &document));
        QCOMPARE(reader.error().domain, RichText::ErrorDomain);
        QCOMPARE(reader.error().code, qint64(RichText::FileReadCorruptFileError));
        QVERIFY(reader.hasError());
        QCOMPARE(reader.errorString(), QStringLiteral("The data is not RTF."));
        // A read that succeeds forgets the failure before it.
        QVERIFY(reader.read(wrap("fine"), &document));
        QVERIFY(!reader.hasError());
    }

    void readsThroughADevice()
    {
        QByteArray rtf = wrap("Device text");
        QBuffer buffer(&rtf);
        QTextDocument document;
        RTFReader reader;
        QVERIFY(reader.read(&buffer, &document));
        QCOMPARE(document.toPlainText(), QStringLiteral("Device text"));
    }

    void paragraphsAndSpecialCharacters()
    {
        const QString text = readText(wrap("One\\par Two\\\nThree\\line Four\\tab Five\t"
                                           "\\emdash\\endash\\bullet\\lquote\\rquote\\ldblquote\\rdblquote"
                                           "\\~\\-\\_\\{\\}\\\\"));
        QCOMPARE(text,
                 QString::fromUtf8("One\u2029Two\u2029Three\u2028Four\tFive\t\u2014\u2013\u2022\u2018\u2019"
                                   "\u201c\u201d\u00a0\u00ad\u2011{}\\"));
    }

    void controlWordDelimitersAndLineEnds()
    {
        QCOMPARE(readText(wrap("\\b Bold\\b0  two\r\nlines")), QStringLiteral("Bold twolines"));
    }

    void codePages_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("expected");
        QTest::newRow("1252") << QByteArray("{\\rtf1\\ansi\\ansicpg1252 \\'e4\\'80\\'97}") << QString::fromUtf8("ä€—");
        QTest::newRow("1250") << QByteArray("{\\rtf1\\ansi\\ansicpg1250 \\'9a\\'e8}") << QString::fromUtf8("šč");
        QTest::newRow("1251") << QByteArray("{\\rtf1\\ansi\\ansicpg1251 \\'cf\\'f0\\'e8}") << QString::fromUtf8("При");
        QTest::newRow("10000") << QByteArray("{\\rtf1\\ansi\\ansicpg10000 \\'8a\\'9f}") << QString::fromUtf8("äü");
        QTest::newRow("mac") << QByteArray("{\\rtf1\\mac \\'8a\\'a5}") << QString::fromUtf8("ä•");
        QTest::newRow("pca") << QByteArray("{\\rtf1\\pca \\'81\\'e1}") << QString::fromUtf8("üß");
        QTest::newRow("raw 8-bit bytes") << QByteArray("{\\rtf1\\ansi \xe4\xf6}") << QString::fromUtf8("äö");
        QTest::newRow("font charset 1251 in a 1252 document")
            << QByteArray("{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0\\fcharset0 Arial;}{\\f1\\fcharset204 Arial;}}"
                          "\\f0 \\'e4\\f1 \\'e4}")
            << QString::fromUtf8("äд");
        QTest::newRow("GBK under charset 134")
            << QByteArray("{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fnil\\fcharset134 PingFangSC-Regular;}"
                          "\\f0 \\'c8\\'ed\\'bc\\'fe}")
            << QString::fromUtf8("软件");
        QTest::newRow("Western bytes under charset 0 in a Japanese document")
            << QByteArray("{\\rtf1\\ansi\\ansicpg932{\\fonttbl\\f0\\fnil\\fcharset0 LucidaGrande;}\\f0 a \\'97 b}")
            << QString::fromUtf8("a — b");
        QTest::newRow("Shift-JIS under charset 128")
            << QByteArray("{\\rtf1\\ansi\\ansicpg1252{\\fonttbl\\f0\\fnil\\fcharset128 Osaka;}\\f0 \\'82\\'a0}")
            << QString::fromUtf8("あ");
    }

    void codePages()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, expected);
        QCOMPARE(readText(rtf), expected);
    }

    void unicodeEscapes_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("default skip of one") << QByteArray("\\u228a b") << QString::fromUtf8("ä b");
        QTest::newRow("uc0") << QByteArray("\\uc0\\u8364 x") << QString::fromUtf8("€x");
        QTest::newRow("uc2 with hex fallback") << QByteArray("\\uc2\\u8364\\'80\\'80x") << QString::fromUtf8("€x");
        QTest::newRow("negative values") << QByteArray("\\u-3913 ?") << QString::fromUtf8("\uf0b7");
        QTest::newRow("surrogate pair") << QByteArray("\\u-10179 ?\\u-8704 ?") << QString::fromUtf8("😀");
        QTest::newRow("skip stops at group end") << QByteArray("{\\uc3\\u233 a}bc") << QString::fromUtf8("ébc");
        QTest::newRow("control word counts as one") << QByteArray("\\u233\\tab x") << QString::fromUtf8("éx");
        QTest::newRow("control characters are dropped")
            << QByteArray("\\u0 ?x\\'07y\\u9 ?z") << QStringLiteral("xy\tz");
        QTest::newRow("uc is group scoped") << QByteArray("{\\uc0 }\\u233 xy") << QString::fromUtf8("éy");
    }

    void unicodeEscapes()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        QCOMPARE(readText(wrap(body)), expected);
    }

    void ignorableAndUnknownDestinationsAreSkipped()
    {
        const QString text = readText(wrap("A{\\*\\generator Riched20;}{\\*\\unknowndest hidden {nested} text}"
                                           "{\\stylesheet{\\s0 Normal;}}{\\info{\\author Me}{\\operator X}}"
                                           "\\unknownword B{\\*\\bkmkstart mark}C{\\nonshppict{\\pict\\wmetafile8 00}}"
                                           "{\\header Header text}D"));
        QCOMPARE(text, QStringLiteral("ABCD"));
    }

    void fontTableGivesFamiliesAndClasses()
    {
        QTextDocument document;
        readText("{\\rtf1\\ansi{\\fonttbl\\f0\\froman\\fcharset0 Times-Roman;\\f1\\fmodern\\fcharset0 Menlo-Regular;"
                 "{\\f2\\fnil\\fcharset0{\\*\\panose 0000}Grouped Font{\\*\\falt Other};}}"
                 "\\f0 a\\f1 b\\f2 c}",
                 &document);
        QCOMPARE(formatAt(document, 0).fontFamilies().toStringList(), QStringList {QStringLiteral("Times-Roman")});
        QCOMPARE(formatAt(document, 0).fontStyleHint(), QFont::Serif);
        QCOMPARE(formatAt(document, 1).fontFamilies().toStringList(), QStringList {QStringLiteral("Menlo-Regular")});
        QCOMPARE(formatAt(document, 1).fontStyleHint(), QFont::TypeWriter);
        QCOMPARE(formatAt(document, 2).fontFamilies().toStringList(), QStringList {QStringLiteral("Grouped Font")});

        // Names with code-page bytes and \uN escapes.
        readText("{\\rtf1\\ansi{\\fonttbl\\f0\\fnil\\fcharset0 Caf\\'e9\\u8364 ? Sans;"
                 "\\f1\\fnil\\fcharset134 \\'cb\\'ce\\'cc\\'e5;}\\f0 a\\f1 b}",
                 &document);
        QCOMPARE(formatAt(document, 0).fontFamilies().toStringList(), QStringList {QString::fromUtf8("Café€ Sans")});
        QCOMPARE(formatAt(document, 1).fontFamilies().toStringList(), QStringList {QString::fromUtf8("宋体")});
    }

    void colourTablesIncludingExpanded()
    {
        QTextDocument document;
        readText(
            "{\\rtf1\\ansi{\\colortbl;\\red255\\green255\\blue255;\\red0\\green0\\blue233;\\red10\\green20\\blue30;}"
            "{\\*\\expandedcolortbl;;\\cssrgb\\c0\\c0\\c93333;\\csgenericrgb\\c50196\\c50196\\c50196\\c50000;}"
            "\\cf2 a\\cf3 b\\cf0 c\\cb2 d\\cf99 e}",
            &document);
        QCOMPARE(formatAt(document, 0).foreground().color(), QColor(0, 0, 238));
        QCOMPARE(formatAt(document, 1).foreground().color(), QColor(128, 128, 128, 128));
        QVERIFY(!formatAt(document, 2).hasProperty(QTextFormat::ForegroundBrush));
        QCOMPARE(formatAt(document, 3).background().color(), QColor(0, 0, 238));
        QVERIFY(!formatAt(document, 4).hasProperty(QTextFormat::ForegroundBrush));
    }

    void characterFormatting()
    {
        QTextDocument document;
        readText(wrap("\\b b\\b0\\i i\\i0\\ul u\\ulnone\\strike s\\strike0\\fs36 z\\fs24\\cf2 r\\cf0\\cb3 g\\cb0"
                      "\\super p\\nosupersub\\sub d\\sub0 {\\b x}y\\uldash h\\ulnone\\ul\\ulc2 c\\plain n"),
                 &document);
        QCOMPARE(document.toPlainText(), QStringLiteral("biuszrgpdxyhcn"));
        QCOMPARE(formatAt(document, 0).fontWeight(), int(QFont::Bold));
        QVERIFY(formatAt(document, 1).fontItalic());
        QVERIFY(formatAt(document, 2).fontUnderline());
        QVERIFY(formatAt(document, 3).fontStrikeOut());
        QCOMPARE(formatAt(document, 4).fontPointSize(), 18.0);
        QCOMPARE(formatAt(document, 5).foreground().color(), QColor(255, 0, 0));
        QCOMPARE(formatAt(document, 6).background().color(), QColor(0, 0, 255));
        QCOMPARE(formatAt(document, 7).verticalAlignment(), QTextCharFormat::AlignSuperScript);
        QCOMPARE(formatAt(document, 8).verticalAlignment(), QTextCharFormat::AlignSubScript);
        QCOMPARE(formatAt(document, 9).fontWeight(), int(QFont::Bold));
        QVERIFY(formatAt(document, 10).fontWeight() != QFont::Bold);
        QCOMPARE(formatAt(document, 11).underlineStyle(), QTextCharFormat::DashUnderline);
        QCOMPARE(formatAt(document, 12).underlineColor(), QColor(255, 0, 0));
        QCOMPARE(formatAt(document, 13).fontPointSize(), 12.0);
        QVERIFY(!formatAt(document, 13).fontUnderline());
        for (int i = 0; i < 14; ++i)
            QCOMPARE(formatAt(document, i).fontFamilies().toStringList(), QStringList {QStringLiteral("Helvetica")});
    }

    void paragraphFormatting()
    {
        QTextDocument document;
        readText(wrap("\\pard\\qc Centre\\par\\pard\\qr\\li720\\ri360\\fi-360\\sb120\\sa240 Right\\par"
                      "\\pard\\tx720\\tqr\\tx2880\\tqc\\tx4000\\qj\\sl360\\slmult1 Tabs\\par\\pard Plain"),
                 &document);
        QCOMPARE(document.blockCount(), 4);
        const QTextBlockFormat centre = document.findBlockByNumber(0).blockFormat();
        QCOMPARE(centre.alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
        const QTextBlockFormat right = document.findBlockByNumber(1).blockFormat();
        QCOMPARE(right.alignment() & Qt::AlignHorizontal_Mask, Qt::AlignRight);
        QCOMPARE(right.leftMargin(), 36.0);
        QCOMPARE(right.rightMargin(), 18.0);
        QCOMPARE(right.textIndent(), -18.0);
        QCOMPARE(right.topMargin(), 6.0);
        QCOMPARE(right.bottomMargin(), 12.0);
        const QTextBlockFormat tabs = document.findBlockByNumber(2).blockFormat();
        QCOMPARE(tabs.alignment() & Qt::AlignHorizontal_Mask, Qt::AlignJustify);
        const QList<QTextOption::Tab> stops = tabs.tabPositions();
        QCOMPARE(stops.size(), 3);
        QCOMPARE(stops.at(0), QTextOption::Tab(36.0, QTextOption::LeftTab));
        QCOMPARE(stops.at(1), QTextOption::Tab(144.0, QTextOption::RightTab));
        QCOMPARE(stops.at(2), QTextOption::Tab(200.0, QTextOption::CenterTab));
        QCOMPARE(tabs.lineHeightType(), int(QTextBlockFormat::ProportionalHeight));
        QCOMPARE(tabs.lineHeight(), 150.0);
        const QTextBlockFormat plain = document.findBlockByNumber(3).blockFormat();
        QVERIFY(!plain.hasProperty(QTextFormat::BlockAlignment));
        QVERIFY(plain.tabPositions().isEmpty());
    }

    void hyperlinkFieldsBecomeAnchors()
    {
        QTextDocument document;
        readText(wrap("See {\\field{\\*\\fldinst{HYPERLINK \"https://example.org/a\"}}{\\fldrslt \\cf2 \\ul the "
                      "site}} now"),
                 &document);
        QCOMPARE(document.toPlainText(), QStringLiteral("See the site now"));
        QCOMPARE(formatAt(document, 5).anchorHref(), QStringLiteral("https://example.org/a"));
        QVERIFY(formatAt(document, 5).isAnchor());
        QVERIFY(!formatAt(document, 14).isAnchor());
        QVERIFY(!formatAt(document, 14).fontUnderline());
    }

    void picturesPngAndJpeg()
    {
        const QByteArray png = TestSupport::pngBytes(4, 3, Qt::red);
        QImage image(5, 5, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "JPEG");
        QTextDocument document;
        readText(wrap("a{\\*\\shppict{\\pict\\pngblip\\picw4\\pich3\\picwgoal80\\pichgoal60\n" + png.toHex()
                      + "}}{\\nonshppict{\\pict\\wmetafile8 0102}}b{\\pict\\jpegblip\\bin"
                      + QByteArray::number(jpeg.size()) + " " + jpeg + "}c"),
                 &document);
        QCOMPARE(document.toRawText(), QStringLiteral("a\uFFFCb\uFFFCc"));
        const QTextImageFormat first = formatAt(document, 1).toImageFormat();
        QVERIFY(first.isValid());
        QCOMPARE(RichTextAttachment::contents(&document, first), png);
        QCOMPARE(first.width(), 4.0);
        QCOMPARE(first.height(), 3.0);
        QVERIFY(RichTextAttachment::fileName(first).endsWith(QLatin1String(".png")));
        const QTextImageFormat second = formatAt(document, 3).toImageFormat();
        QCOMPARE(RichTextAttachment::contents(&document, second), jpeg);
        QVERIFY(RichTextAttachment::fileName(second).endsWith(QLatin1String(".jpeg")));
        QVERIFY(RichTextAttachment::fileName(first) != RichTextAttachment::fileName(second));
    }

    void attachmentsAreResolvedThroughTheLoader()
    {
        const QByteArray png = TestSupport::pngBytes(2, 2, Qt::red);
        RTFReader reader;
        QStringList asked;
        reader.setAttachmentLoader([&](const QString &name, QByteArray *contents) {
            asked.append(name);
            if (name != QLatin1String("logo@1x copy.png"))
                return false;
            *contents = png;
            return true;
        });
        QTextDocument document;
        QVERIFY(reader.read(wrap("{{\\NeXTGraphic logo@1x copy.png \\width4000 \\height1200\n}\xac}\\\n"
                                 "{{\\NeXTGraphic missing.pdf \\width400 \\height400 \\appleattachmentpadding0 "
                                 "\\appleembedtype0 \\appleaqc\n}\xac}after"),
                            &document));
        QCOMPARE(asked, (QStringList {QStringLiteral("logo@1x copy.png"), QStringLiteral("missing.pdf")}));
        QCOMPARE(document.toRawText(), QStringLiteral("\uFFFC\u2029after"));
        const QTextImageFormat format = formatAt(document, 0).toImageFormat();
        QCOMPARE(RichTextAttachment::fileName(format), QStringLiteral("logo@1x copy.png"));
        QCOMPARE(RichTextAttachment::contents(&document, format), png);
        QCOMPARE(format.width(), 200.0);
        QCOMPARE(format.height(), 60.0);
    }

    void attachmentsWithoutALoaderAreLeftOut()
    {
        QCOMPARE(readText(wrap("x{{\\NeXTGraphic a.png \\width20 \\height20\n}\xac}y")), QStringLiteral("xy"));
    }

    void documentAttributes()
    {
        RTFReader reader;
        QTextDocument document;
        QVERIFY(reader.read(QByteArray("{\\rtf1\\ansi{\\info{\\title The Title}{\\author Wolfgang}{\\creatim\\yr2020}}"
                                       "{\\*\\background {\\shp{\\*\\shpinst\\shpleft0{\\sp{\\sn fillColor}{\\sv "
                                       "3368601}}}}}Text}"),
                            &document));
        QCOMPARE(document.toPlainText(), QStringLiteral("Text"));
        const QVariantMap attributes = reader.documentAttributes();
        QCOMPARE(attributes.value(RichText::DocumentTypeAttribute).toString(), RichText::RTFDocumentType);
        QCOMPARE(attributes.value(RichText::TitleAttribute).toString(), QStringLiteral("The Title"));
        QCOMPARE(attributes.value(RichText::AuthorAttribute).toString(), QStringLiteral("Wolfgang"));
        QCOMPARE(attributes.value(RichText::BackgroundColorAttribute).value<QColor>(), QColor(0x99, 0x66, 0x33));
    }

    // Damaged and hostile input.

    void unbalancedBraces()
    {
        QCOMPARE(readText("{\\rtf1\\ansi {\\b bold {\\i deeper"), QStringLiteral("bold deeper"));
        QCOMPARE(readText("{\\rtf1\\ansi text} after the end}}}"), QStringLiteral("text"));
        QCOMPARE(readText("{\\rtf1\\ansi a}}}}{{{b"), QStringLiteral("a"));
    }

    void truncatedFiles()
    {
        const QByteArray full = wrap("Hello \\b world\\b0 \\'e4{\\field{\\*\\fldinst{HYPERLINK \"x\"}}{\\fldrslt link}}"
                                     "{\\pict\\pngblip 89504e47}\\u8364 ?end");
        for (int length = 0; length < full.size(); ++length) {
            QTextDocument document;
            RTFReader reader;
            const bool ok = reader.read(full.left(length), &document);
            QCOMPARE(ok, RTFReader::looksLikeRTF(full.left(length)));
        }
        QCOMPARE(readText(full.left(full.indexOf("world") + 3)), QStringLiteral("Hello wor"));
        QCOMPARE(readText(QByteArray("{\\rtf1 a\\")), QStringLiteral("a"));
        QCOMPARE(readText(QByteArray("{\\rtf1 a\\'e")), QStringLiteral("a"));
    }

    void hugeParameters()
    {
        QCOMPARE(readText(wrap("\\fs99999999999999999999 a\\u99999999999999999999 b\\uc99999999999999999999 c"
                               "\\li-99999999999999999999 d\\bin99999999999999999999")),
                 QString::fromUtf8("a\uFFFDcd"));
        QTextDocument document;
        readText(wrap("\\fs99999999999999999999 big"), &document);
        QVERIFY(formatAt(document, 0).fontPointSize() > 0);
        QCOMPARE(readText(wrap("\\aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa5 x")),
                 QStringLiteral("x"));
    }

    void deeplyNestedGroups()
    {
        const int depth = 100000;
        QByteArray rtf = "{\\rtf1\\ansi ";
        rtf += QByteArray(depth, '{');
        rtf += "deep";
        rtf += QByteArray(depth, '}');
        rtf += " after}";
        QCOMPARE(readText(rtf), QStringLiteral("deep after"));
        // Unclosed as well.
        QCOMPARE(readText("{\\rtf1 " + QByteArray(depth, '{') + "x"), QStringLiteral("x"));
    }

    void binaryWhoseLengthLies()
    {
        QCOMPARE(readText(wrap("a{\\pict\\pngblip\\bin500 short}b")), QStringLiteral("a"));
        QCOMPARE(readText(wrap("a\\bin3 xyzb")), QStringLiteral("ab"));
        QCOMPARE(readText(wrap("a\\bin-5 b")), QStringLiteral("ab"));
    }

    void pictureWithOddHex()
    {
        const QByteArray hex = TestSupport::pngBytes(2, 2, Qt::red).toHex();
        QTextDocument document;
        // A lost digit damages the image; the text around it stays.
        readText(wrap("a{\\pict\\pngblip " + hex + "f}b{\\pict\\pngblip zz1}c"), &document);
        const QString raw = document.toRawText();
        QVERIFY(raw.startsWith(QLatin1Char('a')));
        QVERIFY(raw.contains(QLatin1Char('b')));
        QVERIFY(raw.endsWith(QLatin1Char('c')));
        QVERIFY(raw.size() <= 4);
    }

    void largeDocumentsAreReadInOnePass()
    {
        // About 50 MB: long paragraphs with formatting changes, escapes and a skipped binary blob.
        QByteArray paragraph;
        for (int i = 0; i < 200; ++i)
            paragraph += "Some text \\b bold\\b0  and \\'e4\\u8364 ? more ";
        paragraph += "\\par\n";
        QByteArray rtf = wrap("");
        rtf.chop(1);
        rtf.reserve(52 * 1024 * 1024);
        const QByteArray blob = "{\\*\\blob " + QByteArray(1024 * 1024, 'a') + "}";
        while (rtf.size() < 50 * 1024 * 1024)
            rtf += rtf.size() % 10 == 0 ? blob : paragraph;
        rtf += "}";
        QTextDocument document;
        RTFReader reader;
        QVERIFY(reader.read(rtf, &document));
        QVERIFY(document.blockCount() > 1000);
        QVERIFY(document.findBlockByNumber(0).text().startsWith(QStringLiteral("Some text bold and ä€ more")));
    }

    void macintoshScripts_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Japanese font in a Mac Japanese document")
            << QByteArray("{\\rtf1\\mac\\ansicpg10001{\\fonttbl\\f0\\fnil\\fcharset78 HiraKakuPro-W3;}"
                          "\\f0 \\'82\\'52\\'83\\'7b\\'83\\'5e\\'83\\'93}")
            << QString::fromUtf8("３ボタン");
        QTest::newRow("Roman font in a Mac Japanese document")
            << QByteArray("{\\rtf1\\mac\\ansicpg10001{\\fonttbl\\f0\\fnil\\fcharset77 LucidaGrande;}"
                          "\\f0 (Mirai\\'aa)}")
            << QString::fromUtf8("(Mirai™)");
        QTest::newRow("document code page alone")
            << QByteArray("{\\rtf1\\mac\\ansicpg10001 \\'82\\'a0}") << QString::fromUtf8("あ");
        QTest::newRow("Korean") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset79 AppleGothic;}\\f0 \\'b0\\'a1}")
                                << QString::fromUtf8("가");
        QTest::newRow("simplified Chinese")
            << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset80 STSong;}\\f0 \\'b0\\'a1}") << QString::fromUtf8("啊");
        QTest::newRow("traditional Chinese")
            << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset81 LiSong;}\\f0 \\'a4\\'40}") << QString::fromUtf8("一");
        QTest::newRow("Hebrew") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset83 Raanana;}\\f0 \\'f9\\'ec}")
                                << QString::fromUtf8("של");
        QTest::newRow("Arabic") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset84 GeezaPro;}\\f0 \\'c7\\'e4}")
                                << QString::fromUtf8("\u0627\u0644");
        QTest::newRow("Greek") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset85 Helvetica;}\\f0 \\'e1}")
                               << QString::fromUtf8("α");
        QTest::newRow("Thai") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset87 Thonburi;}\\f0 \\'a1}")
                              << QString::fromUtf8("ก");
        QTest::newRow("Central European")
            << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset88 Helvetica;}\\f0 \\'87}") << QString::fromUtf8("á");
        QTest::newRow("Cyrillic") << QByteArray("{\\rtf1\\mac{\\fonttbl\\f0\\fcharset89 Helvetica;}\\f0 \\'80}")
                                  << QString::fromUtf8("А");
        QTest::newRow("code page of the font table")
            << QByteArray("{\\rtf1\\ansi{\\fonttbl{\\f0\\fcharset0\\cpg1251 Arial;}}\\f0 \\'e4}")
            << QString::fromUtf8("д");
    }

    void macintoshScripts()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, expected);
        QCOMPARE(readText(rtf), expected);
    }

    void doubleByteCharactersSplitAcrossEscapes_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("escaped lead, plain trail") << QByteArray("\\'82R\\'83\\'5e") << QString::fromUtf8("３タ");
        QTest::newRow("trail byte is an escaped backslash") << QByteArray("\\'95\\\\x") << QString::fromUtf8("表x");
        QTest::newRow("trail byte is an escaped brace") << QByteArray("\\'83\\{") << QString::fromUtf8("ボ");
        QTest::newRow("raw lead and trail bytes") << QByteArray("\x82\xa0\x82\xa2") << QString::fromUtf8("あい");
        QTest::newRow("a first byte alone is a Western byte")
            << QByteArray("{\\'96\\tab}A") << QString::fromUtf8("\u2013\tA");
    }

    void doubleByteCharactersSplitAcrossEscapes()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const QString text
            = readText("{\\rtf1\\ansi\\ansicpg932{\\fonttbl\\f0\\fnil\\fcharset128 MS-Mincho;}\\f0 " + body + "}");
        QCOMPARE(text, expected);
    }

    void symbolFontsShowTheirCharacters_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Greek written as Latin letters")
            << QByteArray("x \\f1 abg\\f0  y") << QString::fromUtf8("x αβγ y");
        QTest::newRow("escaped byte") << QByteArray("\\f1\\'b7") << QString::fromUtf8("•");
        QTest::newRow("private-use character") << QByteArray("\\f1\\u-3913 ?") << QString::fromUtf8("•");
        QTest::newRow("Unicode in a symbol font") << QByteArray("\\f1\\uc0\\u945 ") << QString::fromUtf8("α");
        QTest::newRow("Wingdings list bullet") << QByteArray("{\\f2\\'a7}\\tab Item") << QString::fromUtf8("▪\tItem");
        QTest::newRow("Zapf Dingbats") << QByteArray("\\f3 3") << QString::fromUtf8("✓");
    }

    void symbolFontsShowTheirCharacters()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const QByteArray rtf = "{\\rtf1\\ansi{\\fonttbl\\f0\\fswiss Helvetica;{\\f1\\ftech\\fcharset2 Symbol;}"
                               "{\\f2\\fnil\\fcharset2 Wingdings;}{\\f3\\fnil ZapfDingbats;}}\\f0 "
            + body + "}";
        QCOMPARE(readText(rtf), expected);
    }

    void footnotesFollowTheText()
    {
        QTextDocument document;
        const QString text = readText(wrap("Claim.{\\super\\chftn}{\\footnote\\pard\\plain{\\super\\chftn} First "
                                           "source.}\\par Second{\\super\\chftn}{\\*\\footnote{\\super\\chftn} Other "
                                           "\\i source\\i0 .\\par More.} end.\\par"),
                                      &document);
        QCOMPARE(text,
                 QString::fromUtf8("Claim.1\u2029Second2 end.\u2029\u20291 First source.\u20292 Other source.\u2029"
                                   "More."));
    }

    void listMarkersThatTheWriterRendered()
    {
        QCOMPARE(readText(wrap("{\\listtext\\tab 1.\\tab}One\\par{\\*\\listtext\\tab 2.\\tab}Two\\par"
                               "{\\pntext\\f0 3.\\tab}{\\*\\pn\\pnlvlbody\\pndec{\\pntxta .}}Three")),
                 QStringLiteral("\t1.\tOne\u2029\t2.\tTwo\u20293.\tThree"));
    }

    void listMarkersThatTheListTableDefines()
    {
        const QByteArray table
            = "{\\rtf1\\ansi{\\fonttbl{\\f0 Times;}{\\f1\\fcharset2 Symbol;}}"
              "{\\*\\listtable{\\list\\listtemplateid1{\\listlevel\\levelnfc0\\levelstartat1{\\leveltext\\'02\\'00.;}"
              "{\\levelnumbers\\'01;}}{\\listlevel\\levelnfc4\\levelstartat1{\\leveltext\\'04\\'00.\\'01);}"
              "{\\levelnumbers\\'01\\'03;}}\\listid7}"
              "{\\list{\\listlevel\\levelnfc23{\\leveltext\\'01\\u-3913 ?;}\\f1}\\listid8}"
              "{\\list{\\listlevel\\levelnfc2\\levelstartat3{\\leveltext\\'02\\'00.;}}\\listid9}}"
              "{\\*\\listoverridetable{\\listoverride\\listid7\\listoverridecount0\\ls1}"
              "{\\listoverride\\listid8\\listoverridecount0\\ls2}{\\listoverride\\listid9\\ls3}}\n";
        QCOMPARE(
            readText(table
                     + "\\pard\\ls1 One\\par\\pard\\ls1\\ilvl1 Sub\\par\\pard\\ls1\\ilvl1 Sub\\par\\pard\\ls1 Two\\par"
                       "\\pard\\ls1\\ilvl1 Sub\\par\\pard\\ls2 Dot\\par\\pard\\ls3 Roman\\par\\pard Plain}"),
            QString::fromUtf8("1.\tOne\u2029"
                              "1.a)\tSub\u2029"
                              "1.b)\tSub\u2029"
                              "2.\tTwo\u2029"
                              "2.a)\tSub\u2029"
                              "•\tDot\u2029"
                              "iii.\tRoman\u2029"
                              "Plain"));
        // A marker the writer rendered wins; Cocoa's lists show only what \listtext renders.
        QCOMPARE(readText(table + "\\pard\\ls1{\\listtext 9.\\tab}Nine\\par\\pard\\ls1 Next}"),
                 QString::fromUtf8("9.\tNine\u20291.\tNext"));
        QByteArray cocoa = table;
        cocoa.replace("\\rtf1\\ansi", "\\rtf1\\ansi\\cocoartf2761");
        QCOMPARE(readText(cocoa + "\\pard\\ls1 Continued}"), QStringLiteral("Continued"));
    }

    void sloppyWritersAreReadToo()
    {
        QCOMPARE(readText("{\n    \\rtf1\\ansi\n    {\\fonttbl\\f0\\fswiss Helvetica;}\n    \\f0 Indented}").trimmed(),
                 QStringLiteral("Indented"));
        QVERIFY(RTFReader::looksLikeRTF("\r\n{ \r\n\t\\rtf1 x}"));
        QVERIFY(!RTFReader::looksLikeRTF("{ x \\rtf1}"));
        // Cell text of a nested table, written inside the table's properties.
        QCOMPARE(readText(wrap("A\\cell{\\*\\nesttableprops\\trowd\\cellx100 B\\nestcell\\nestrow}"
                               "{\\nonesttables\\par B}\\row")),
                 QStringLiteral("A\tB\t\u2029\u2029"));
        // RTF made from HTML mail: \htmlrtf switches on and off, the text between stays.
        QCOMPARE(readText(wrap("{\\*\\htmltag84 <b>}\\htmlrtf {\\b \\htmlrtf0 bold\\htmlrtf }\\htmlrtf0  text"
                               "{\\*\\htmltag84 &reg;}\\htmlrtf \\'ae\\htmlrtf0")),
                 QString::fromUtf8("bold text®"));
        // Unknown control words are no text, but their group's text is; known destinations go.
        QCOMPARE(readText(wrap("a{\\madeupword kept} b{\\xe index entry}{\\tc contents entry}c")),
                 QStringLiteral("akept bc"));
    }

    void whatTheNoteLeavesOutIsReported_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("leftOut");
        QTest::newRow("nothing") << QByteArray("Text") << QStringList();
        QTest::newRow("empty header") << QByteArray("{\\header\\pard\\par}Text") << QStringList();
        QTest::newRow("header") << QByteArray("{\\header Page head}{\\footerf Foot}Text")
                                << QStringList {QStringLiteral("page headers and footers")};
        QTest::newRow("comment") << QByteArray("Text{\\*\\atnid JS}{\\*\\annotation Check this}")
                                 << QStringList {QStringLiteral("comments")};
        QTest::newRow("object without result")
            << QByteArray("Text{\\object\\objemb{\\*\\objclass Excel.Sheet}{\\*\\objdata 0102}}")
            << QStringList {QStringLiteral("embedded objects it cannot show")};
        QTest::newRow("object with result")
            << QByteArray("{\\object{\\*\\objdata 0102}{\\result Shown}}") << QStringList();
        QTest::newRow("metafile picture") << QByteArray("{\\pict\\wmetafile8 0100090000}")
                                          << QStringList {QStringLiteral("pictures in a format it cannot keep")};
        QTest::newRow("metafile fallback of a kept picture")
            << QByteArray("{\\*\\shppict{\\pict\\pngblip 89504e47}}{\\nonshppict{\\pict\\wmetafile8 0100}}")
            << QStringList();
    }

    void whatTheNoteLeavesOutIsReported()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, leftOut);
        QTextDocument document;
        RTFReader reader;
        QVERIFY(reader.read(wrap(body), &document));
        QCOMPARE(reader.documentAttributes().value(RichText::LeftOutContentAttribute).toStringList(), leftOut);
    }

    // Files of the shared corpus that real writers made, each showing one kind of text that
    // must arrive.

    void corpusFilesKeepTheirText_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QStringList>("absent");
        QTest::newRow("Mac OS X 10.4 Japanese")
            << QStringLiteral("rtf/Cheetah3Djp__Mouse_mirai.rtf")
            << QStringList {QString::fromUtf8("３ボタンマウス (Mirai™):")} << QStringList {QString::fromUtf8("‚R")};
        QTest::newRow("Mac OS X Japanese credits")
            << QStringLiteral("rtf/freecell__Credits.rtf")
            << QStringList {QString::fromUtf8("テスト協力者"), QString::fromUtf8("フリーセルFAQ")} << QStringList();
        QTest::newRow("pandoc footnotes")
            << QStringLiteral("rtf/pandoc__footnote.rtf")
            << QStringList {QStringLiteral("See Sahlins, Bateson, and Geertz for a complete bibliography.")}
            << QStringList();
        QTest::newRow("Word footnote") << QStringLiteral("rtf/tika__testRTFVarious.rtf")
                                       << QStringList {QStringLiteral("This is a footnote.")} << QStringList();
        QTest::newRow("Word footnote in a test file")
            << QStringLiteral("rtf/rtfjs-sample__source.rtf")
            << QStringList {QStringLiteral("This is the actual content of the footnote.")} << QStringList();
        QTest::newRow("blanks before rtf1") << QStringLiteral("rtf/rtfparser-rs__RTF-test.rtf")
                                            << QStringList {QStringLiteral("Je suis un document RTF")}
                                            << QStringList {QStringLiteral("\\rtf1"), QStringLiteral("fonttbl")};
        QTest::newRow("nested table") << QStringLiteral("rtf/striprtf__nested_table.rtf")
                                      << QStringList {QStringLiteral("Calcium-Score"), QStringLiteral("RCA")}
                                      << QStringList();
        QTest::newRow("RTF made from HTML mail")
            << QStringLiteral("rtf/tika__testRTFHyperlink.rtf")
            << QStringList {QStringLiteral("frequently asked questions"), QString::fromUtf8("Office Outlook® 2003!")}
            << QStringList();
        QTest::newRow("dash of a list in a double-byte font")
            << QStringLiteral("rtf/tika__testRTFListLibreOffice.rtf")
            << QStringList {QString::fromUtf8("\u2013\tfirst")} << QStringList {QString(QChar(0xFFFD))};
    }

    void corpusFilesKeepTheirText()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, expected);
        QFETCH(QStringList, absent);
        KI_REQUIRE_CORPUS(path, file);
        QTextDocument document;
        RichTextReader reader;
        QVERIFY2(reader.read(path, &document), qPrintable(reader.errorString()));
        const QString text = document.toPlainText();
        for (const QString &part : std::as_const(expected))
            QVERIFY2(text.contains(part), qPrintable(part));
        for (const QString &part : std::as_const(absent))
            QVERIFY2(!text.contains(part), qPrintable(part));
    }

    // The fixtures, compared with what unrtf reads from them.

    void fixturesReadLikeAnIndependentReader_data()
    {
        QTest::addColumn<QString>("fixture");
        for (const char *name :
             {"rtf/neovim-mac-Credits.rtf", "rtf/vAmiga-Credits.rtf", "rtf/iAvro-Credits-HEAD-TXT.rtf",
              "rtf/sequelpro-Credits-cocoartf1038.rtf", "rtf/cooViewer-Credits-ansicpg932.rtf",
              "rtfd/LazyHackintosh-Credits.rtfd", "rtfd/LazyHackintosh-zh-Hans-Credits.rtfd", "rtfd/iAvro-Credits.rtfd",
              "rtfd/openthesaurus-finishup_de.rtfd", "rtfd/openthesaurus-readme_de.rtfd"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void fixturesReadLikeAnIndependentReader()
    {
        QFETCH(QString, fixture);
        KI_REQUIRE_FIXTURE(path, fixture);
        if (!QFileInfo::exists(QStringLiteral("/usr/bin/unrtf")))
            QSKIP("unrtf is not installed");
        QTextDocument document;
        QString rtfPath = path;
        if (fixture.endsWith(QLatin1String(".rtfd"))) {
            rtfPath = path + QStringLiteral("/TXT.rtf");
            RTFDPackage package;
            QVERIFY2(package.readDocument(path, &document), qPrintable(package.errorString()));
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            RTFReader reader;
            QVERIFY(reader.read(&file, &document));
        }
        const QString ours = withoutWhiteSpace(ourComparableText(document));
        const QString theirs = withoutWhiteSpace(unrtfText(rtfPath));
        QVERIFY(!ours.isEmpty());
        QCOMPARE(ours, theirs);
    }

    void fixtureDetails()
    {
        KI_REQUIRE_FIXTURE(vAmiga, "rtf/vAmiga-Credits.rtf");
        QFile file(vAmiga);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QTextDocument document;
        RTFReader reader;
        QVERIFY(reader.read(&file, &document));
        const QString text = document.toPlainText();
        QVERIFY(text.contains(QString::fromUtf8("Fakultät für Informatik")));
        QVERIFY(text.contains(QStringLiteral("Author:\t\tDirk W. Hoffmann")));
        const int author = text.indexOf(QStringLiteral("Dirk"));
        QCOMPARE(formatAt(document, author).fontFamilies().toStringList(), QStringList {QStringLiteral("Times-Bold")});
        QCOMPARE(formatAt(document, author).fontWeight(), int(QFont::Bold));
        QCOMPARE(formatAt(document, 0).foreground().color(), QColor(128, 128, 128));
        const QList<QTextOption::Tab> tabs = document.firstBlock().blockFormat().tabPositions();
        QCOMPARE(tabs.size(), 2);
        QCOMPARE(tabs.at(0).type, QTextOption::RightTab);
        QCOMPARE(tabs.at(0).position, 43.0);
        const int link = text.indexOf(QStringLiteral("dirk.hoffmann@h-ka.de"));
        QCOMPARE(formatAt(document, link).anchorHref(), QStringLiteral("mailto:dirk.hoffmann@hs-karlsruhe.de"));
    }
};

QTEST_MAIN(TestRTFReader)
#include "TestRTFReader.moc"
