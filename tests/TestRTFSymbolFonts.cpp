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
            << int(Font::Wingdings) << QByteArray("\xa7\xfc\x6c\x76") << QString::fromUtf8("▪✓●❖");
        QTest::newRow("Wingdings beyond the first plane")
            << int(Font::Wingdings) << QByteArray("\x4a\x43") << QString::fromUtf8("☺👍");
        QTest::newRow("Zapf Dingbats") << int(Font::ZapfDingbats) << QByteArray("\x33\x6c\x48\xac")
                                       << QString::fromUtf8("✓●★①");
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
