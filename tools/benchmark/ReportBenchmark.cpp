// kastrel-report-benchmark: the cost of a run's report on its own, without the bus: N items
// are listed as the item loop lists them (every tenth with a problem, every fiftieth passed
// over, every hundredth sharing an identifier with an earlier one and a record removed), then
// the JSON and the HTML are made and written as the run writes them. Prints the time of each
// step, per item, the files' sizes and the peak memory (ru_maxrss), which shows that the
// files are never held whole.
//
//   kastrel-report-benchmark [--items N]
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"
#include "engine/KSReportFile.h"
#include "engine/KSReportHtml.h"
#include "engine/KSReportItemList.h"
#include "engine/KSRunSummary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>
#include <sys/resource.h>

namespace {

QTextStream out(stdout);

void printStep(const char *step, qint64 nanoseconds, qint64 items)
{
    out << QStringLiteral("%1 %2 ms, %3 us per item\n")
               .arg(QString::fromLatin1(step), -28)
               .arg(double(nanoseconds) / 1e6, 9, 'f', 1)
               .arg(double(nanoseconds) / 1e3 / double(qMax<qint64>(items, 1)), 7, 'f', 2);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    qint64 count = 100000;
    const QStringList arguments = application.arguments();
    const qsizetype given = arguments.indexOf(QStringLiteral("--items"));
    if (given > 0 && given + 1 < arguments.size())
        count = arguments.at(given + 1).toLongLong();

    QElapsedTimer timer;
    timer.start();
    KSReportItemList list;
    for (qint64 index = 0; index < count; ++index) {
        const QString identifier
            = QStringLiteral("ITEM-%1").arg(index % 100 == 99 ? index - 1 : index, 6, 10, QLatin1Char('0'));
        const qsizetype entry
            = list.add(identifier, QStringLiteral("Item %1 — Grüße 東京").arg(index), QStringLiteral("notes"));
        if (index % 50 == 49) {
            list.markPassedOver(entry, QStringLiteral("it has no name"), QStringLiteral("it has no name"));
            list.finishCurrent();
            continue;
        }
        const QString record = index % 100 == 99 ? identifier + QStringLiteral("-2") : identifier;
        if (index % 10 == 3)
            list.addProblem(entry, KSReportItem::Outcome::Incomplete, QStringLiteral("its dates could not be set"),
                            QStringLiteral("its dates could not be set"));
        list.markRecorded(entry, record, QStringLiteral("note"), QStringLiteral("Notes/Item %1.nvnote").arg(index));
        list.finishCurrent();
    }
    for (qint64 index = 99; index < count; index += 100) {
        const qsizetype entry = list.indexOfRecord(QStringLiteral("ITEM-%1-2").arg(index - 1, 6, 10, QLatin1Char('0')));
        if (entry >= 0)
            list.markRecordRemoved(entry);
    }
    printStep("listing the items", timer.nsecsElapsed(), count);

    const KSImportOperation operation {KSImportOptions()};
    KSExportReport report = KSExportReport::ofOperation(operation);
    report.items = list.items();
    QTemporaryDir folder;
    const QString json = folder.filePath(QStringLiteral("report.json"));
    const QString html = folder.filePath(QStringLiteral("report.html"));
    QString problem;
    timer.restart();
    const QJsonObject summary = KSRunSummary::summary(operation, report);
    if (!KSReportFile::write(
            json, [&](QIODevice &device) { KSRunSummary::writeWithItems(device, summary, report); }, &problem)) {
        QTextStream(stderr) << "cannot write: " << problem << '\n';
        return 1;
    }
    printStep("making and writing the JSON", timer.nsecsElapsed(), count);
    timer.restart();
    if (!KSReportFile::write(
            html,
            [&](QIODevice &device) {
                KSReportHtml::write(device, operation, report, QStringLiteral("Kastrel Export"));
            },
            &problem)) {
        QTextStream(stderr) << "cannot write: " << problem << '\n';
        return 1;
    }
    printStep("making and writing the HTML", timer.nsecsElapsed(), count);
    out << QStringLiteral("%1 items: JSON %2 KB, HTML %3 KB\n")
               .arg(count)
               .arg(QFileInfo(json).size() / 1024)
               .arg(QFileInfo(html).size() / 1024);
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    out << QStringLiteral("peak resident memory: %1 MB\n").arg(usage.ru_maxrss / 1024);
    return 0;
}
