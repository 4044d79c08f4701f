// Filling printf-style formats from the string table.
#include "foundation/OVStringFormat.h"

#include <QtTest>

class TestStringFormat : public QObject
{
    Q_OBJECT

private slots:
    void objectsAndIntegers()
    {
        QCOMPARE(OVStringWithFormat(QStringLiteral("%@ %@"), {QStringLiteral("a"), QStringLiteral("b")}),
                 QStringLiteral("a b"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("%ld files"), {qint64(12)}), QStringLiteral("12 files"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("Exporting item with identifier: %@"), {QStringLiteral("x-1")}),
                 QStringLiteral("Exporting item with identifier: x-1"));
    }

    void positionalDoubles()
    {
        QCOMPARE(OVStringWithFormat(QStringLiteral("%1$.0lf of %2$.0lf records exported"), {3.0, 120.0}),
                 QStringLiteral("3 of 120 records exported"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("%2$@ before %1$@"), {QStringLiteral("a"), QStringLiteral("b")}),
                 QStringLiteral("b before a"));
    }

    void percentAndUnknown()
    {
        QCOMPARE(OVStringWithFormat(QStringLiteral("100%% done"), {}), QStringLiteral("100% done"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("50%"), {}), QStringLiteral("50%"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("%q"), {1}), QStringLiteral("%q"));
    }

    void missingArgumentGivesNoText()
    {
        QCOMPARE(OVStringWithFormat(QStringLiteral("[%@]"), {}), QStringLiteral("[]"));
    }

    void widthAndPrecision()
    {
        QCOMPARE(OVStringWithFormat(QStringLiteral("%05d|%-3d|%3d"), {42, 7, -5}), QStringLiteral("00042|7  | -5"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("%.2f"), {3.14159}), QStringLiteral("3.14"));
        QCOMPARE(OVStringWithFormat(QStringLiteral("%x %X"), {255, 255}), QStringLiteral("ff FF"));
    }
};

QTEST_GUILESS_MAIN(TestStringFormat)
#include "TestStringFormat.moc"
