// Reading the scripting interface's colour strings into device-RGB colours.
#include "engine/ScriptingColor.h"

#include <QtTest>

class TestScriptingColor : public QObject
{
    Q_OBJECT

private:
    static void compareColor(const QColor &actual, double red, double green, double blue, double alpha)
    {
        QVERIFY(actual.isValid());
        QCOMPARE(actual.spec(), QColor::Rgb);
        const double tolerance = 1.0 / 65535.0 + 1e-6;
        QVERIFY2(qAbs(actual.redF() - red) <= tolerance, qPrintable(QString::number(actual.redF())));
        QVERIFY2(qAbs(actual.greenF() - green) <= tolerance, qPrintable(QString::number(actual.greenF())));
        QVERIFY2(qAbs(actual.blueF() - blue) <= tolerance, qPrintable(QString::number(actual.blueF())));
        QVERIFY2(qAbs(actual.alphaF() - alpha) <= tolerance, qPrintable(QString::number(actual.alphaF())));
    }

private slots:
    void readsColors_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("red");
        QTest::addColumn<double>("green");
        QTest::addColumn<double>("blue");
        QTest::addColumn<double>("alpha");
        QTest::newRow("rgb") << QStringLiteral("rgb 1 0.5 0.25 0.75") << 1.0 << 0.5 << 0.25 << 0.75;
        QTest::newRow("rgb with bare fractions") << QStringLiteral("rgb .5 1. 0 1") << 0.5 << 1.0 << 0.0 << 1.0;
        QTest::newRow("rgb with long fractions") << QStringLiteral("rgb 0.333333333333 0.666666666666 0.1 1")
                                                 << 0.333333333333 << 0.666666666666 << 0.1 << 1.0;
        QTest::newRow("blanks around and between") << QStringLiteral("  rgb\t0 0  1 \n1 ") << 0.0 << 0.0 << 1.0 << 1.0;
        QTest::newRow("gray") << QStringLiteral("gray 0.5 1") << 0.5 << 0.5 << 0.5 << 1.0;
        QTest::newRow("gray translucent") << QStringLiteral("gray 0 0.5") << 0.0 << 0.0 << 0.0 << 0.5;
        QTest::newRow("cmyk cyan") << QStringLiteral("cmyk 1 0 0 0 1") << 0.0 << 1.0 << 1.0 << 1.0;
        QTest::newRow("cmyk with black") << QStringLiteral("cmyk 0 0.5 1 0.5 1") << 0.5 << 0.25 << 0.0 << 1.0;
        QTest::newRow("cmyk black") << QStringLiteral("cmyk 0 0 0 1 0.25") << 0.0 << 0.0 << 0.0 << 0.25;
        QTest::newRow("keyword orange") << QStringLiteral("orange") << 1.0 << 165 / 255.0 << 0.0 << 1.0;
        QTest::newRow("keyword in capitals")
            << QStringLiteral("DarkSlateGray") << 47 / 255.0 << 79 / 255.0 << 79 / 255.0 << 1.0;
        QTest::newRow("keyword transparent") << QStringLiteral("transparent") << 0.0 << 0.0 << 0.0 << 0.0;
        QTest::newRow("keyword rebeccapurple")
            << QStringLiteral("rebeccapurple") << 0x66 / 255.0 << 0x33 / 255.0 << 0x99 / 255.0 << 1.0;
        QTest::newRow("colour space in capitals") << QStringLiteral("RGB 0 1 0 1") << 0.0 << 1.0 << 0.0 << 1.0;
    }

    void readsColors()
    {
        QFETCH(QString, text);
        QFETCH(double, red);
        QFETCH(double, green);
        QFETCH(double, blue);
        QFETCH(double, alpha);
        compareColor(ScriptingColor::deviceRGBColor(text), red, green, blue, alpha);
    }

    void unreadableTextGivesNoColor_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QString(QLatin1String(""));
        QTest::newRow("blanks") << QStringLiteral("   ");
        QTest::newRow("unknown keyword") << QStringLiteral("blurple");
        QTest::newRow("hex notation") << QStringLiteral("#ff8000");
        QTest::newRow("keyword with digits") << QStringLiteral("gray50");
        QTest::newRow("rgb missing alpha") << QStringLiteral("rgb 1 0 0");
        QTest::newRow("rgb one too many") << QStringLiteral("rgb 1 0 0 1 1");
        QTest::newRow("gray missing alpha") << QStringLiteral("gray 0.5");
        QTest::newRow("cmyk missing alpha") << QStringLiteral("cmyk 0 0 0 1");
        QTest::newRow("component above one") << QStringLiteral("rgb 1.5 0 0 1");
        QTest::newRow("negative component") << QStringLiteral("rgb -0.1 0 0 1");
        QTest::newRow("exponent") << QStringLiteral("rgb 1e-1 0 0 1");
        QTest::newRow("comma decimal") << QStringLiteral("rgb 0,5 0 0 1");
        QTest::newRow("two points") << QStringLiteral("rgb 0.5.1 0 0 1");
        QTest::newRow("lone point") << QStringLiteral("rgb . 0 0 1");
        QTest::newRow("not a number") << QStringLiteral("rgb nan 0 0 1");
        QTest::newRow("infinity") << QStringLiteral("rgb inf 0 0 1");
        QTest::newRow("unknown colour space") << QStringLiteral("hsv 0 0 0 1");
        QTest::newRow("keyword and numbers") << QStringLiteral("orange 1");
        QTest::newRow("numbers only") << QStringLiteral("0 0 0 1");
        QTest::newRow("two keywords") << QStringLiteral("orange red");
        QTest::newRow("css function") << QStringLiteral("rgb(255,0,0)");
    }

    void unreadableTextGivesNoColor()
    {
        QFETCH(QString, text);
        QVERIFY(!ScriptingColor::deviceRGBColor(text).isValid());
    }

    void hugeTextsAreRefusedAtOnce_data()
    {
        QTest::addColumn<QString>("text");
        const qsizetype megabyte = 1024 * 1024;
        QTest::newRow("letters") << QString(megabyte, QLatin1Char('a'));
        QTest::newRow("blanks") << QString(megabyte, QLatin1Char(' '));
        QTest::newRow("digits after rgb") << QStringLiteral("rgb ") + QString(megabyte, QLatin1Char('0'));
        QString words = QStringLiteral("rgb");
        while (words.size() < megabyte)
            words += QStringLiteral(" 0.5");
        QTest::newRow("many components") << words;
        QTest::newRow("keyword then blanks") << QStringLiteral("orange") + QString(megabyte, QLatin1Char(' '));
    }

    void hugeTextsAreRefusedAtOnce()
    {
        QFETCH(QString, text);
        // Reading is linear and stops early; a thousand readings of a megabyte would take
        // minutes if it were not.
        for (int i = 0; i < 1000; ++i)
            QVERIFY(!ScriptingColor::deviceRGBColor(text).isValid());
    }

    void longestReadableTextIsRead()
    {
        const QString fraction = QStringLiteral("0.") + QString(1000, QLatin1Char('5'));
        const QString text = QStringLiteral("rgb %1 %1 %1 1").arg(fraction);
        compareColor(ScriptingColor::deviceRGBColor(text), 0.5555555, 0.5555555, 0.5555555, 1.0);
    }
};

QTEST_GUILESS_MAIN(TestScriptingColor)
#include "TestScriptingColor.moc"
