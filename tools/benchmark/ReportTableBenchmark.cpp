// kastrel-report-table-benchmark: how long the end report takes with many items, since a
// library can hold a hundred thousand. For each size it prints the time to make the window
// (the table's model sorts the items), to show it and draw it once, and to scroll to the end
// and draw again, each the best of three. Runs without a display (offscreen) unless one is
// asked for with QT_QPA_PLATFORM.
//
//   kastrel-report-table-benchmark [--items 1000,10000,100000]
#include "app/KSExportReportDialog.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTextStream>
#include <algorithm>
#include <functional>

namespace {

QTextStream out(stdout);

KSExportReport reportOf(int itemCount)
{
    using Outcome = KSReportItem::Outcome;
    static const Outcome outcomes[] = {Outcome::Imported,   Outcome::Imported,   Outcome::Imported,
                                       Outcome::PassedOver, Outcome::Incomplete, Outcome::OriginalFileAttached,
                                       Outcome::NotImported};
    static const QString keys[]
        = {QStringLiteral("notes"), QStringLiteral("bookmarks"), QStringLiteral("images"), QStringLiteral("PDFs")};
    KSExportReport report;
    report.importedTotal = itemCount;
    report.items.reserve(itemCount);
    for (int index = 0; index < itemCount; ++index) {
        KSReportItem item;
        item.identifier = QStringLiteral("K-%1").arg(index);
        item.name = QStringLiteral("Item number %1 of the library").arg(index);
        item.optionKey = keys[index % 4];
        item.outcome = outcomes[index % 7];
        if (item.outcome != Outcome::Imported)
            item.reason = QStringLiteral("a reason long enough to wrap onto a second line in a window of an "
                                         "ordinary width, as the scripting errors of a source often are (%1)")
                              .arg(index);
        report.items.append(item);
        if (item.needsAttention()) {
            KSImportOperation::ItemProblem problem;
            problem.identifier = item.identifier;
            problem.name = item.name;
            problem.kind = KSImportOperation::ItemProblemKind::NotImported;
            problem.reason = item.reason;
            report.problems.append(problem);
        }
    }
    return report;
}

// The best of three runs of `step`, in milliseconds.
double bestOfThree(const std::function<void()> &step)
{
    double best = 0;
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer timer;
        timer.start();
        step();
        const double elapsed = double(timer.nsecsElapsed()) / 1e6;
        best = run == 0 ? elapsed : std::min(best, elapsed);
    }
    return best;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QList<int> sizes {1000, 10000, 100000};
    const QStringList arguments = QApplication::arguments();
    const qsizetype option = arguments.indexOf(QStringLiteral("--items"));
    if (option > 0 && option + 1 < arguments.size()) {
        sizes.clear();
        for (const QString &size : arguments.at(option + 1).split(QLatin1Char(',')))
            sizes.append(size.toInt());
    }

    out << QStringLiteral("%1 %2 %3 %4\n")
               .arg(QStringLiteral("items"), 8)
               .arg(QStringLiteral("make ms"), 10)
               .arg(QStringLiteral("show ms"), 10)
               .arg(QStringLiteral("to end ms"), 10);
    for (const int size : sizes) {
        const KSExportReportDialog report {reportOf(size)};
        std::unique_ptr<QDialog> dialog;
        const double make = bestOfThree([&] { dialog = report.dialog(); });
        const double show = bestOfThree([&] {
            dialog = report.dialog();
            dialog->resize(800, 500);
            dialog->show();
            dialog->grab();
        });
        const double toEnd = bestOfThree([&] {
            auto *table = dialog->findChild<QAbstractItemView *>();
            table->scrollToTop();
            QApplication::processEvents();
            table->scrollToBottom();
            dialog->grab();
        });
        out << QStringLiteral("%1 %2 %3 %4\n")
                   .arg(size, 8)
                   .arg(make, 10, 'f', 1)
                   .arg(show, 10, 'f', 1)
                   .arg(toEnd, 10, 'f', 1);
        out.flush();
    }
    return 0;
}
