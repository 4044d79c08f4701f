// Code pages of RTF text: which one each font charset and document keyword selects, and that
// every one of them really decodes, the Macintosh scripts and the double-byte pages included.
#include "formats/RTFCodePages.h"

#include <QtTest>

class TestRTFCodePages : public QObject
{
    Q_OBJECT

private slots:
    void charsetsSelectTheirCodePages_data()
    {
        QTest::addColumn<int>("charset");
        QTest::addColumn<int>("codePage");
        const QList<QPair<int, int>> table = {
            {77, 10000}, {78, 10001}, {79, 10003}, {80, 10008}, {81, 10002}, {82, 1361},  {83, 10005}, {84, 10004},
            {85, 10006}, {86, 10081}, {87, 10021}, {88, 10029}, {89, 10007}, {128, 932},  {129, 949},  {130, 1361},
            {134, 936},  {136, 950},  {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {179, 1256},
            {180, 1256}, {181, 1255}, {186, 1257}, {204, 1251}, {222, 874},  {238, 1250}, {254, 437},  {255, 850},
        };
        for (const auto &[charset, codePage] : table)
            QTest::addRow("charset %d", charset) << charset << codePage;
    }

    void charsetsSelectTheirCodePages()
    {
        QFETCH(int, charset);
        QFETCH(int, codePage);
        // The font's charset wins over whatever the document says.
        QCOMPARE(RTFCodePages::codePageForCharset(charset, 1252), codePage);
        QCOMPARE(RTFCodePages::codePageForCharset(charset, 10001), codePage);
    }

    void eachCodePageDecodes_data()
    {
        QTest::addColumn<int>("codePage");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Mac Roman") << 10000 << QByteArray("\x8a\xa5") << QString::fromUtf8("ä•");
        QTest::newRow("Mac Japanese") << 10001 << QByteArray("\x82\x52\x83\x7b\x83\x5e\x83\x93")
                                      << QString::fromUtf8("３ボタン");
        QTest::newRow("a lead byte without its trail byte")
            << 932 << QByteArray("\x82\xa0\x82") << QString::fromUtf8("あ\ufffd");
        QTest::newRow("Mac Japanese single bytes")
            << 10001 << QByteArray("a\xfd\xfe\xff\xa0\x82\xa0") << QString::fromUtf8("a©™…\u00a0あ");
        QTest::newRow("Mac traditional Chinese") << 10002 << QByteArray("\xa4\x40\xfd") << QString::fromUtf8("一©");
        QTest::newRow("Mac Korean") << 10003 << QByteArray("\xb0\xa1") << QString::fromUtf8("가");
        QTest::newRow("Mac Arabic") << 10004 << QByteArray("\xc7\xe4") << QString::fromUtf8("\u0627\u0644");
        QTest::newRow("Mac Hebrew") << 10005 << QByteArray("\xf9\xec\xe5\xed") << QString::fromUtf8("שלום");
        QTest::newRow("Mac Greek") << 10006 << QByteArray("\xe1\xe2") << QString::fromUtf8("αβ");
        QTest::newRow("Mac Cyrillic") << 10007 << QByteArray("\x80\xe0") << QString::fromUtf8("Аа");
        QTest::newRow("Mac simplified Chinese") << 10008 << QByteArray("\xb0\xa1\x80") << QString::fromUtf8("啊ü");
        QTest::newRow("Mac Romanian") << 10010 << QByteArray("\xaf\xbf") << QString::fromUtf8("Șș");
        QTest::newRow("Mac Ukrainian") << 10017 << QByteArray("\x80") << QString::fromUtf8("А");
        QTest::newRow("Mac Thai") << 10021 << QByteArray("\xa1\xd2\x80") << QString::fromUtf8("กา«");
        QTest::newRow("Mac Central European") << 10029 << QByteArray("\x87") << QString::fromUtf8("á");
        QTest::newRow("Mac Icelandic") << 10079 << QByteArray("\xdc\xdd") << QString::fromUtf8("Ðð");
        QTest::newRow("Mac Turkish") << 10081 << QByteArray("\xda") << QString::fromUtf8("Ğ");
        QTest::newRow("Mac Croatian") << 10082 << QByteArray("\xa9") << QString::fromUtf8("Š");
        QTest::newRow("Shift-JIS") << 932 << QByteArray("\x82\xa0") << QString::fromUtf8("あ");
        QTest::newRow("GBK") << 936 << QByteArray("\xc8\xed") << QString::fromUtf8("软");
        QTest::newRow("Korean") << 949 << QByteArray("\xb0\xa1") << QString::fromUtf8("가");
        QTest::newRow("Big5") << 950 << QByteArray("\xa4\x40") << QString::fromUtf8("一");
        QTest::newRow("Johab Hangul") << 1361 << QByteArray("\x88\x61\xd0\x65") << QString::fromUtf8("가한");
        QTest::newRow("Johab symbols") << 1361 << QByteArray("\xd9\x31") << QString::fromUtf8("\u3000");
        QTest::newRow("Greek") << 1253 << QByteArray("\xe1") << QString::fromUtf8("α");
        QTest::newRow("Turkish") << 1254 << QByteArray("\xf0") << QString::fromUtf8("ğ");
        QTest::newRow("Hebrew") << 1255 << QByteArray("\xf9") << QString::fromUtf8("ש");
        QTest::newRow("Arabic") << 1256 << QByteArray("\xc7") << QString::fromUtf8("\u0627");
        QTest::newRow("Baltic") << 1257 << QByteArray("\xe0") << QString::fromUtf8("ą");
        QTest::newRow("Vietnamese") << 1258 << QByteArray("\xe0") << QString::fromUtf8("à");
        QTest::newRow("Thai") << 874 << QByteArray("\xa1") << QString::fromUtf8("ก");
        QTest::newRow("DOS Latin") << 437 << QByteArray("\x81") << QString::fromUtf8("ü");
        QTest::newRow("DOS Greek") << 737 << QByteArray("\x80") << QString::fromUtf8("Α");
        QTest::newRow("DOS Hebrew") << 862 << QByteArray("\x80") << QString::fromUtf8("א");
    }

    void eachCodePageDecodes()
    {
        QFETCH(int, codePage);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QCOMPARE(RTFCodePages::decode(bytes, codePage), expected);
    }

    // Positions that once decoded wrongly, each as Apple's mapping table for the script gives it.
    void rarePositionsOfTheMacintoshScripts_data()
    {
        QTest::addColumn<int>("codePage");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Hebrew brackets written right to left")
            << 10005 << QByteArray("\xfb\xfc\xfd\xfe\xff") << QString::fromUtf8("}]{[|");
        QTest::newRow("Hebrew ligatures that are two characters")
            << 10005 << QByteArray("\x81\xc0") << QString::fromUtf8("\u05f2\u05b7\u05dc\u05b9");
        QTest::newRow("Hebrew positioning marks keep Apple's values")
            << 10005 << QByteArray("\xc2\xc5") << QString::fromUtf8("\uf89b\uf89e");
        QTest::newRow("Thai vowels and tone marks drawn high")
            << 10021 << QByteArray("\x93\x94\x95\x96\x97") << QString::fromUtf8("\u0e47\u0e34\u0e35\u0e36\u0e37");
        QTest::newRow("Thai word joiner, trade mark and registered")
            << 10021 << QByteArray("\xdb\xee\xfa\xfb") << QString::fromUtf8("\u2060™®©");
        QTest::newRow("Thai bytes without a character")
            << 10021 << QByteArray("\xfc\xfd") << QString::fromUtf8("\ufffd\ufffd");
        QTest::newRow("Korean single bytes")
            << 10003 << QByteArray("\x80\x81\x83\xb0\xa1") << QString::fromUtf8("\u00a0₩©가");
        // A byte that is neither a character nor the first of two must not take the next one.
        QTest::newRow("Korean byte without a character") << 10003
                                                         << QByteArray("\x82"
                                                                       "ab")
                                                         << QString::fromUtf8("\ufffdab");
        QTest::newRow("simplified Chinese byte without a character") << 10008
                                                                     << QByteArray("\x85"
                                                                                   "a")
                                                                     << QString::fromUtf8("\ufffda");
        QTest::newRow("traditional Chinese byte without a character") << 10002
                                                                      << QByteArray("\x90"
                                                                                    "a\xa4\x40")
                                                                      << QString::fromUtf8("\ufffda一");
        QTest::newRow("Japanese half-width katakana") << 10001
                                                      << QByteArray("\xb1\xb2"
                                                                    "a")
                                                      << QString::fromUtf8("ｱｲa");
    }

    void rarePositionsOfTheMacintoshScripts()
    {
        QFETCH(int, codePage);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QCOMPARE(RTFCodePages::decode(bytes, codePage), expected);
    }

    void leadBytesOfTheDoubleBytePages()
    {
        QVERIFY(RTFCodePages::isLeadByte(10001, 0x82));
        QVERIFY(!RTFCodePages::isLeadByte(10001, 0xA0)); // a character of its own on the Mac
        QVERIFY(!RTFCodePages::isLeadByte(10001, 0xB3)); // half-width katakana
        QVERIFY(RTFCodePages::isLeadByte(936, 0x81));
        QVERIFY(!RTFCodePages::isLeadByte(10008, 0x81));
        QVERIFY(!RTFCodePages::isLeadByte(1252, 0x82));
        QVERIFY(RTFCodePages::isMultiByte(10003));
        QVERIFY(!RTFCodePages::isMultiByte(10004));
    }
};

QTEST_GUILESS_MAIN(TestRTFCodePages)
#include "TestRTFCodePages.moc"
