// Which characters the XML library file can carry, and leaving out the rest.
#include "foundation/OVXmlCharacters.h"

#include <QtTest>

using namespace OVXmlCharacters;

class TestXmlCharacters : public QObject
{
    Q_OBJECT

private slots:
    void ordinaryTextIsCarried()
    {
        QVERIFY(canCarry(u""));
        QVERIFY(canCarry(u"Grüße <&> 日本 \U0001F600"));
        QVERIFY(canCarry(u"tab\tline\nreturn\r"));
        QVERIFY(canCarry(u"\u0020\uD7FF\uE000\uFFFD"));
        QVERIFY(canCarry(QString::fromUcs4(U"\U00010000\U0010FFFF")));
    }

    void forbiddenCharactersAreNotCarried_data()
    {
        QTest::addColumn<QString>("character");
        QTest::newRow("U+0000") << QString(QChar(0x0000));
        QTest::newRow("U+0001") << QString(QChar(0x0001));
        QTest::newRow("U+0008") << QString(QChar(0x0008));
        QTest::newRow("U+000B") << QString(QChar(0x000B));
        QTest::newRow("U+000C") << QString(QChar(0x000C));
        QTest::newRow("U+001F") << QString(QChar(0x001F));
        QTest::newRow("U+FFFE") << QString(QChar(0xFFFE));
        QTest::newRow("U+FFFF") << QString(QChar(0xFFFF));
        QTest::newRow("lone high surrogate") << QString(QChar(0xD83D));
        QTest::newRow("lone low surrogate") << QString(QChar(0xDE00));
        QTest::newRow("swapped pair") << QString(QChar(0xDE00)) + QChar(0xD83D);
    }

    void forbiddenCharactersAreNotCarried()
    {
        QFETCH(QString, character);
        QVERIFY(!canCarry(character));
        QVERIFY(!canCarry(QStringLiteral("before ") + character + QStringLiteral(" after")));
        QCOMPARE(carriable(QStringLiteral("before ") + character + QStringLiteral(" after")),
                 QStringLiteral("before  after"));
    }

    void carriableTextComesBackAsTheSameString()
    {
        // The writer calls this for every string of a large library: nothing copied when
        // nothing goes.
        const QString text = QStringLiteral("An ordinary title ") + QStringLiteral("\U0001F600");
        const QString result = carriable(text);
        QCOMPARE(result, text);
        QCOMPARE(result.constData(), text.constData());
    }

    void pairsAroundDroppedHalvesStayWhole()
    {
        // A lone high half before a whole pair goes; the pair stays.
        const QString text = QString(QChar(0xD83D)) + QStringLiteral("\U0001F600") + QChar(0xDE00);
        QCOMPARE(carriable(text), QStringLiteral("\U0001F600"));
        // Leaving out what stood between two halves must not join them into a character.
        const QString split = QString(QChar(0xD83D)) + QChar(0x0001) + QChar(0xDE00);
        QCOMPARE(carriable(split), QString());
    }

    void onlyForbiddenCharactersGiveTheEmptyString()
    {
        QCOMPARE(carriable(QString(QChar(0x0001)) + QChar(0xFFFF)), QString());
    }
};

QTEST_GUILESS_MAIN(TestXmlCharacters)
#include "TestXmlCharacters.moc"
