// Text in symbol fonts becomes the characters those fonts show.
#include "formats/RTFSymbolFonts.h"

#include <QtTest>

using RTFSymbolFonts::Font;

class TestRTFSymbolFonts : public QObject
{
    Q_OBJECT

private slots:
    void fontsAreKnownByName()
    {
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("Symbol")), Font::Symbol);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("symbol")), Font::Symbol);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("Wingdings")), Font::Wingdings);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("ZapfDingbats")), Font::ZapfDingbats);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("Zapf Dingbats")), Font::ZapfDingbats);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("Helvetica")), Font::None);
        QCOMPARE(RTFSymbolFonts::fontForName(QStringLiteral("Wingdings 2")), Font::None); // another table
    }

    void bytesBecomeWhatTheFontShows_data()
    {
        QTest::addColumn<int>("font");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Greek letters") << int(Font::Symbol) << QByteArray("abgW") << QString::fromUtf8("αβγΩ");
        QTest::newRow("Symbol signs") << int(Font::Symbol) << QByteArray("\xb7\xb9\xa3 1+2")
                                      << QString::fromUtf8("•≠≤ 1+2");
        QTest::newRow("Wingdings bullets")
            << int(Font::Wingdings) << QByteArray("\xa7\xfc\x6c\x76\x9f") << QString::fromUtf8("▪✓⚫❖•");
        QTest::newRow("Wingdings beyond the first plane")
            << int(Font::Wingdings) << QByteArray("\x4a\x43") << QString::fromUtf8("☺👍");
        QTest::newRow("Zapf Dingbats") << int(Font::ZapfDingbats) << QByteArray("\x33\x6c\x48\xac")
                                       << QString::fromUtf8("✓●★①");
        // Codes that once showed other pictures, as Unicode mapped the font.
        QTest::newRow("Wingdings circled digits")
            << int(Font::Wingdings) << QByteArray("\x80\x81\x8a\x8b\x8c") << QString::fromUtf8("🄋➀➉🄌➊");
        QTest::newRow("Wingdings folders and documents")
            << int(Font::Wingdings) << QByteArray("\x30\x31\x32\x36") << QString::fromUtf8("🗀🗁🗎⏳");
        QTest::newRow("Wingdings shapes") << int(Font::Wingdings) << QByteArray("\x6e\x6f\x9e\xa0\xa1\xb2")
                                          << QString::fromUtf8("◼🞏∙⬝⭘⯎");
        QTest::newRow("Wingdings hand and skull")
            << int(Font::Wingdings) << QByteArray("\x42\x48\x4e") << QString::fromUtf8("🖏🖗🕱");
        QTest::newRow("the Windows logo keeps its private-use form")
            << int(Font::Wingdings) << QByteArray("\xff") << QString(QChar(0xF0FF));
        QTest::newRow("the radical extender keeps its private-use form")
            << int(Font::Symbol) << QByteArray("\x60") << QString(QChar(0xF060));
        QTest::newRow("empty codes keep their private-use form")
            << int(Font::Symbol) << QByteArray("\x80") << QString(QChar(0xF080));
    }

    void bytesBecomeWhatTheFontShows()
    {
        QFETCH(int, font);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QCOMPARE(RTFSymbolFonts::decode(bytes, Font(font)), expected);
    }

    void charactersInPrivateUseFormAreMapped()
    {
        QCOMPARE(RTFSymbolFonts::mapCharacter(0xF0B7, Font::Symbol), QString::fromUtf8("•"));
        QCOMPARE(RTFSymbolFonts::mapCharacter(0xF0A7, Font::Wingdings), QString::fromUtf8("▪"));
        QCOMPARE(RTFSymbolFonts::mapCharacter(u'a', Font::Symbol), QString::fromUtf8("α"));
        // Real Unicode text in a symbol font is already what it shows.
        QCOMPARE(RTFSymbolFonts::mapCharacter(0x03B1, Font::Symbol), QString::fromUtf8("α"));
        QCOMPARE(RTFSymbolFonts::mapCharacter(0x2022, Font::Wingdings), QString::fromUtf8("•"));
    }
};

QTEST_GUILESS_MAIN(TestRTFSymbolFonts)
#include "TestRTFSymbolFonts.moc"
