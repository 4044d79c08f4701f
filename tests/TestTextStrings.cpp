// Text clean-up, case-insensitive comparisons and the quantity and time phrases.
#include "foundation/OVTextStrings.h"

#include <QtTest>

using namespace OVExtensions;

class TestTextStrings : public QObject
{
    Q_OBJECT

private slots:
    void removingNewlinesAndTabs()
    {
        QCOMPARE(stringByRemovingNewlinesAndTabs(QStringLiteral("\ta\nb\t")), QStringLiteral("a b"));
    }

    void removingNewlinesMakesTwoBlanksOfCRLF()
    {
        QCOMPARE(stringByRemovingNewlines(QStringLiteral("a\r\nb")), QStringLiteral("a  b"));
        // Tabs stay inside; only the ends are trimmed of blanks and tabs.
        QCOMPARE(stringByRemovingNewlines(QStringLiteral(" a\tb\n")), QStringLiteral("a\tb"));
    }

    void otherLineBreaksAreNotTouched()
    {
        const QString text = QStringLiteral("a\u2028b\u000bc\u0085d");
        QCOMPARE(stringByRemovingNewlines(text), text);
        QCOMPARE(stringByRemovingNewlinesAndTabs(text), text);
        QCOMPARE(stringByStandardizingNewlines(text), text);
    }

    void escapingQuotes()
    {
        QCOMPARE(stringByEscapingQuotes(QStringLiteral("It's")), QStringLiteral("It\\'s"));
        QCOMPARE(stringByEscapingQuotes(QStringLiteral("say \"hi\" \\")), QStringLiteral("say \\\"hi\\\" \\"));
    }

    void escapingBackslashes()
    {
        QCOMPARE(stringByEscapingBackslashes(QStringLiteral("a\\b")), QStringLiteral("a\\\\b"));
    }

    void trimmingWhitespaceTakesLineBreaksToo()
    {
        QCOMPARE(stringByTrimmingWhitespace(QStringLiteral("\n\t a b \r\n\u2029")), QStringLiteral("a b"));
    }

    void standardizingNewlines()
    {
        QCOMPARE(stringByStandardizingNewlines(QStringLiteral("a\r\nb\n\rc\rd\ne")), QStringLiteral("a\nb\nc\nd\ne"));
        QCOMPARE(stringByStandardizingNewlines(QStringLiteral("\r\r\n")), QStringLiteral("\n\n"));
    }

    void percentEncodingBlanksAndLetters()
    {
        QCOMPARE(percentEncodedURLString(QStringLiteral("Caf\u00e9 au lait")), QStringLiteral("Caf%C3%A9%20au%20lait"));
        QCOMPARE(percentEncodedURLString(QStringLiteral("http://x.org/a?b=c&d=%20#f")),
                 QStringLiteral("http://x.org/a?b=c&d=%20#f"));
        QCOMPARE(percentEncodedURLString(QStringLiteral("a\"<>\\^`{|}b")),
                 QStringLiteral("a%22%3C%3E%5C%5E%60%7B%7C%7Db"));
        QCOMPARE(percentEncodedURLString(QString::fromUcs4(U"\U0001F600")), QStringLiteral("%F0%9F%98%80"));
    }

    void startsAndEndsWithIgnoreCase()
    {
        QVERIFY(startsWith(QStringLiteral("abcdef"), QStringLiteral("ABC")));
        QVERIFY(endsWith(QStringLiteral("a.url"), QStringLiteral(".URL")));
        QVERIFY(!startsWith(QStringLiteral("ab"), QStringLiteral("abc")));
        QVERIFY(!endsWith(QStringLiteral("rl"), QStringLiteral(".url")));
        QVERIFY(!startsWith(QStringLiteral("abcdef"), QStringLiteral("bc")));
    }

    void emptyArgumentAnsweredDifferently()
    {
        QVERIFY(!containsString(QStringLiteral("abc"), QString()));
        QVERIFY(!containsString(QStringLiteral("abc"), QStringLiteral("")));
        QVERIFY(startsWith(QStringLiteral("abc"), QString()));
        QVERIFY(endsWith(QStringLiteral("abc"), QString()));
    }

    void containsIgnoresCase()
    {
        QVERIFY(containsString(QStringLiteral("public.url"), QStringLiteral("URL")));
        QVERIFY(!containsString(QStringLiteral("public.text"), QStringLiteral("url")));
    }

    void caseInsensitiveEquality()
    {
        QVERIFY(isCaseInsensitiveEqualToString(QStringLiteral("\u00c9t\u00e9"), QStringLiteral("\u00e9T\u00c9")));
        QVERIFY(!isCaseInsensitiveEqualToString(QStringLiteral("a"), QStringLiteral("b")));
    }

    void quantities()
    {
        const QString file = QStringLiteral("file");
        const QString files = QStringLiteral("files");
        QCOMPARE(stringWithQuantity(1, file, files), QStringLiteral("1 file"));
        QCOMPARE(stringWithQuantity(0, file, files), QStringLiteral("0 files"));
        QCOMPARE(stringWithQuantity(2, file, files), QStringLiteral("2 files"));
        QCOMPARE(stringWithQuantity(-1, file, files), QStringLiteral("-1 files"));
    }

    void timeIntervals_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("phrase");
        QTest::newRow("0") << 0.0 << QStringLiteral("0 seconds remaining");
        QTest::newRow("0.2") << 0.2 << QStringLiteral("1 second remaining");
        QTest::newRow("1") << 1.0 << QStringLiteral("1 second remaining");
        QTest::newRow("59.5") << 59.5 << QStringLiteral("60 seconds remaining");
        QTest::newRow("60") << 60.0 << QStringLiteral("1 minute remaining");
        QTest::newRow("150") << 150.0 << QStringLiteral("2 minutes remaining");
        QTest::newRow("7199") << 7199.0 << QStringLiteral("1 hour remaining");
        QTest::newRow("7200") << 7200.0 << QStringLiteral("2 hours remaining");
        QTest::newRow("90000") << 90000.0 << QStringLiteral("1 day remaining");
        QTest::newRow("172800") << 172800.0 << QStringLiteral("2 days remaining");
        QTest::newRow("-0.5") << -0.5 << QStringLiteral("-1 days remaining");
        QTest::newRow("-86400") << -86400.0 << QStringLiteral("-1 days remaining");
        QTest::newRow("-86401") << -86401.0 << QStringLiteral("-2 days remaining");
    }

    void timeIntervals()
    {
        QFETCH(double, seconds);
        QFETCH(QString, phrase);
        QCOMPARE(stringForTimeInterval(seconds), phrase);
    }

    void receiverIsLeftUnchanged()
    {
        const QString text = QStringLiteral("a\r\nb");
        const QString copy = text;
        stringByRemovingNewlines(text);
        stringByStandardizingNewlines(text);
        QCOMPARE(text, copy);
    }
};

QTEST_GUILESS_MAIN(TestTextStrings)
#include "TestTextStrings.moc"
