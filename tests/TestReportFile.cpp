// The report files' names and keeping: named after the run's start, a later run of the same
// second numbered, written whole, and only the newest runs kept, both files of a pair and
// nothing but files named as reports.
#include "TestSupport.h"
#include "engine/KSReportFile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QDateTime start(QDate(2026, 11, 24), QTime(19, 7, 44), Qt::LocalTime);

void writePair(const QDir &folder, const QString &baseName)
{
    for (const char *extension : {".html", ".json"})
        QVERIFY(TestSupport::writeFile(folder.filePath(baseName + QLatin1String(extension)), "{}"));
}

} // namespace

class TestReportFile : public QObject
{
    Q_OBJECT

private slots:
    void namedAfterTheStartAndNumberedWhenTaken()
    {
        QTemporaryDir folder;
        const QDir logs(folder.path());
        QCOMPARE(KSReportFile::unusedBaseName(folder.path(), start),
                 QStringLiteral("Kastrel Export 2026-11-24 19-07-44"));
        // Either file of an earlier run takes the name.
        QVERIFY(TestSupport::writeFile(logs.filePath(QStringLiteral("Kastrel Export 2026-11-24 19-07-44.json")), "{}"));
        QCOMPARE(KSReportFile::unusedBaseName(folder.path(), start),
                 QStringLiteral("Kastrel Export 2026-11-24 19-07-44 (2)"));
        QVERIFY(TestSupport::writeFile(logs.filePath(QStringLiteral("Kastrel Export 2026-11-24 19-07-44 (2).html")),
                                       "<html>"));
        QCOMPARE(KSReportFile::unusedBaseName(folder.path(), start),
                 QStringLiteral("Kastrel Export 2026-11-24 19-07-44 (3)"));
    }

    void writesWholeFiles()
    {
        QTemporaryDir folder;
        const QString path = QDir(folder.path()).filePath(QStringLiteral("report.json"));
        QVERIFY(KSReportFile::write(path, [](QIODevice &device) { device.write("first"); }));
        QVERIFY(KSReportFile::write(path, [](QIODevice &device) { device.write("second"); }));
        QCOMPARE(TestSupport::fileContents(path), QByteArray("second"));
        QString problem;
        const auto writeX = [](QIODevice &device) { device.write("x"); };
        QVERIFY(!KSReportFile::write(QDir(folder.path()).filePath(QStringLiteral("missing/report.json")), writeX,
                                     &problem));
        QVERIFY(!problem.isEmpty());
    }

    void keepsTheNewestRunsOnly()
    {
        QTemporaryDir folder;
        const QDir logs(folder.path());
        writePair(logs, QStringLiteral("Kastrel Export 2025-01-01 08-00-00"));
        writePair(logs, QStringLiteral("Kastrel Export 2025-01-01 08-00-00 (2)"));
        writePair(logs, QStringLiteral("Kastrel Export 2025-01-01 08-00-00 (10)"));
        writePair(logs, QStringLiteral("Kastrel Export 2026-03-01 08-00-00"));
        // A run whose HTML alone is left counts as a run.
        QVERIFY(TestSupport::writeFile(logs.filePath(QStringLiteral("Kastrel Export 2024-12-31 23-59-59.html")), "x"));
        const QStringList unrelated {QStringLiteral("Kastrel Export.log"), QStringLiteral("Kastrel Export 2020.html"),
                                     QStringLiteral("Kastrel Export 2020-01-01 08-00-00.txt"),
                                     QStringLiteral("kastrel export 2020-01-01 08-00-00.html")};
        for (const QString &file : unrelated)
            QVERIFY(TestSupport::writeFile(logs.filePath(file), "keep"));

        QVERIFY(KSReportFile::removeOlderRuns(folder.path(), 2).isEmpty());
        QStringList left = logs.entryList(QDir::Files, QDir::Name);
        for (const QString &file : unrelated)
            QVERIFY2(left.removeAll(file) == 1, qPrintable(file));
        // The run numbered 10 came after the one numbered 2.
        QCOMPARE(left,
                 (QStringList {QStringLiteral("Kastrel Export 2025-01-01 08-00-00 (10).html"),
                               QStringLiteral("Kastrel Export 2025-01-01 08-00-00 (10).json"),
                               QStringLiteral("Kastrel Export 2026-03-01 08-00-00.html"),
                               QStringLiteral("Kastrel Export 2026-03-01 08-00-00.json")}));
    }
};

QTEST_GUILESS_MAIN(TestReportFile)
#include "TestReportFile.moc"
