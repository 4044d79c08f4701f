// Replays every input that once broke a reader, kept under tests/data/regressions/<reader>/
// (the names are those of the fuzzers), through the same entry points the fuzzers drive; and
// a few inputs every reader must survive. A reader that crashes, hangs or aborts on one
// fails the suite.
#include "FuzzInputs.h"
#include "TestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QtTest>

class TestHostileInputRegressions : public QObject
{
    Q_OBJECT

private slots:
    void keptInputs_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("path");
        const QDir regressions(TestSupport::testDataPath(QStringLiteral("regressions")));
        int kept = 0;
        for (const QString &target : regressions.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QDirIterator files(regressions.filePath(target), QDir::Files | QDir::Hidden);
            while (files.hasNext()) {
                const QString path = files.next();
                QTest::addRow("%s/%s", qPrintable(target), qPrintable(QFileInfo(path).fileName())) << target << path;
                ++kept;
            }
        }
        if (kept == 0)
            QTest::newRow("none kept") << QString() << QString();
    }

    void keptInputs()
    {
        QFETCH(QString, target);
        QFETCH(QString, path);
        if (target.isEmpty())
            QSKIP("no kept inputs");
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY2(FuzzInputs::run(target, file.readAll()), qPrintable(QStringLiteral("unknown reader ") + target));
    }

    void everyReaderSurvivesTheUsualSuspects_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("input");
        const QList<QPair<const char *, QByteArray>> inputs {
            {"empty", QByteArray()},
            {"zero bytes", QByteArray(64, '\0')},
            {"all ones", QByteArray(64, '\xff')},
            {"open braces", QByteArray(100000, '{')},
            {"close braces", QByteArray(1000, '}')},
            {"open arrays", QByteArray(100000, '(')},
            {"binary plist header", QByteArrayLiteral("bplist00")},
            {"xml plist cut", QByteArrayLiteral("<?xml version=\"1.0\"?><plist><dict><key>a</key><array><dict>")},
            {"rtf cut", QByteArrayLiteral("{\\rtf1\\ansi\\uc9999999\\u-99999999 \\bin999999999 ")},
            {"pdf header", QByteArrayLiteral("%PDF-1.7\ntrailer<</Root 1 0 R/Info<</Creator(Safari)>>>>")},
            {"url file", QByteArrayLiteral("[InternetShortcut]\r\nURL=\r\nURL")},
        };
        for (const QString &target : FuzzInputs::targetNames()) {
            for (const auto &input : inputs)
                QTest::addRow("%s, %s", qPrintable(target), input.first) << target << input.second;
        }
    }

    void everyReaderSurvivesTheUsualSuspects()
    {
        QFETCH(QString, target);
        QFETCH(QByteArray, input);
        QVERIFY(FuzzInputs::run(target, input));
    }
};

QTEST_MAIN(TestHostileInputRegressions)
#include "TestHostileInputRegressions.moc"
