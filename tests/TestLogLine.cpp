// The export log's line writer.
#include "foundation/OVClock.h"
#include "foundation/OVLogLine.h"

#include <QBuffer>
#include <QTimeZone>
#include <QtTest>
#include <cstdlib>
#include <ctime>

using namespace OVExtensions;

class TestLogLine : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        const QDateTime fixed(QDate(2026, 11, 15), QTime(23, 27, 53), Qt::UTC);
        OVClock::setCurrentDateTimeProvider([fixed] { return fixed; });
    }

    void cleanup() { OVClock::setCurrentDateTimeProvider({}); }

    void asciiLineIsWrittenWhole()
    {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        const qint64 written = writeLogLine(buffer, QStringLiteral("Export started"));
        QCOMPARE(buffer.data(), QByteArray("2026-11-15 23:27:53 +0000 Export started\n"));
        QCOMPARE(written, qint64(buffer.data().size()));
    }

    void accentedLetterLosesTheLastByte()
    {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        writeLogLine(buffer, QStringLiteral("Caf\u00e9"));
        // "é" takes two UTF-8 bytes but one UTF-16 unit: the line feed is not written.
        QCOMPARE(buffer.data(), QByteArray("2026-11-15 23:27:53 +0000 Caf\xc3\xa9"));
        writeLogLine(buffer, QStringLiteral("next"));
        QCOMPARE(buffer.data(),
                 QByteArray("2026-11-15 23:27:53 +0000 Caf\xc3\xa9"
                            "2026-11-15 23:27:53 +0000 next\n"));
    }

    void characterBeyondTheBasicPlaneLosesTwoBytes()
    {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        writeLogLine(buffer, QString::fromUcs4(U"x\U0001F600y"));
        // Four UTF-8 bytes, two UTF-16 units: "y" and the line feed go.
        QCOMPARE(buffer.data(), QByteArray("2026-11-15 23:27:53 +0000 x\xf0\x9f\x98\x80"));
    }

    void writeErrorIsAnswered()
    {
        QBuffer buffer; // not open
        QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): device not open");
        QCOMPARE(writeLogLine(buffer, QStringLiteral("x")), qint64(-1));
    }

    void dateIsUtcWhateverTheTimeZone()
    {
        const QByteArray previous = qgetenv("TZ");
        qputenv("TZ", "Pacific/Kiritimati"); // UTC+14
        tzset();
        OVClock::setCurrentDateTimeProvider({});
        const QDateTime before = QDateTime::currentDateTimeUtc();
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        writeLogLine(buffer, QStringLiteral("zone"));
        const QDateTime after = QDateTime::currentDateTimeUtc();
        if (previous.isNull())
            qunsetenv("TZ");
        else
            qputenv("TZ", previous);
        tzset();

        const QByteArray line = buffer.data();
        QVERIFY2(line.endsWith(" +0000 zone\n"), line.constData());
        QDateTime stamped
            = QDateTime::fromString(QString::fromLatin1(line.left(19)), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        stamped.setTimeZone(QTimeZone::utc());
        QVERIFY(stamped.isValid());
        QVERIFY(stamped >= before.addSecs(-1) && stamped <= after);
    }

    void dateDescription()
    {
        const QDateTime zoned(QDate(2026, 1, 2), QTime(3, 4, 5), QTimeZone(3600 * 5));
        QCOMPARE(logDateDescription(zoned), QStringLiteral("2026-01-01 22:04:05 +0000"));
    }
};

QTEST_GUILESS_MAIN(TestLogLine)
#include "TestLogLine.moc"
