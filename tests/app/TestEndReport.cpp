// The end report's table of items and its "Open Report" button, the alerts that name the
// report file, and the counts in English forms when the person's language has no catalogue.
#include "AppTestSupport.h"
#include "app/KSExportReportDialog.h"
#include "app/KSImportPanel.h"
#include "app/KSReportItemsModel.h"
#include "app/KSReportItemsView.h"
#include "foundation/KSTranslations.h"

#include <QDesktopServices>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QUrl>

using namespace AppTestSupport;

namespace {

// Every outcome, in the order a run might meet them: whole items among those that need a look.
QList<KSReportItem> itemsOfEveryOutcome()
{
    using Outcome = KSReportItem::Outcome;
    return {
        reportItem(QStringLiteral("N1"), QStringLiteral("Shopping"), QStringLiteral("notes"), Outcome::Imported),
        reportItem(QStringLiteral("B1"), QStringLiteral("Caf\u00e9 list"), QStringLiteral("bookmarks"),
                   Outcome::Incomplete, QStringLiteral("its address could not be read")),
        reportItem(QStringLiteral("I1"), QString(), QStringLiteral("images"), Outcome::PassedOver,
                   QStringLiteral("it has no name")),
        reportItem(QStringLiteral("S1"), QStringLiteral("\u65e5\u672c\u8a9e\u306e\u30e1\u30e2"),
                   QStringLiteral("serialNumbers"), Outcome::NotImported,
                   QStringLiteral("Kastrel could not export it")),
        reportItem(QStringLiteral("N2"), QStringLiteral("Minutes"), QStringLiteral("notes"),
                   Outcome::OriginalFileAttached, QStringLiteral("its text could not be read")),
        reportItem(QStringLiteral("P1"), QStringLiteral("Bank"), QStringLiteral("passwords"), Outcome::Imported),
        reportItem(QStringLiteral("W1"), QStringLiteral("Archive"), QStringLiteral("webArchives"), Outcome::NotImported,
                   QStringLiteral("the file was empty")),
    };
}

// Catches what the desktop is asked to open.
class OpenedUrls : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;

    OpenedUrls() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

public slots:
    void open(const QUrl &url) { urls.append(url); }
};

QPushButton *openReportButton(const QDialog &dialog)
{
    return dialog.findChild<QPushButton *>(QStringLiteral("openReport"));
}

} // namespace

class TestEndReport : public QObject
{
    Q_OBJECT

    std::unique_ptr<AlertRecorder> m_alerts;
    QTemporaryDir m_folder;

    // A report file that is there.
    QString writtenReportFile()
    {
        const QString path = m_folder.filePath(QStringLiteral("Kastrel Export Report.html"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write("<html></html>") < 0)
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

private slots:
    void init() { m_alerts = std::make_unique<AlertRecorder>(); }
    void cleanup() { m_alerts.reset(); }

    void rowsNeedingAttentionComeFirstInTheRunsOrder()
    {
        const KSReportItemsModel model(itemsOfEveryOutcome());
        QCOMPARE(model.rowCount(), 7);
        QStringList order;
        for (int row = 0; row < model.rowCount(); ++row)
            order.append(model.itemAt(row).identifier);
        QCOMPARE(order,
                 (QStringList {QStringLiteral("S1"), QStringLiteral("W1"), QStringLiteral("N2"), QStringLiteral("B1"),
                               QStringLiteral("I1"), QStringLiteral("N1"), QStringLiteral("P1")}));
    }

    void columnsNameKindWhatHappenedAndWhy()
    {
        const KSReportItemsModel model(itemsOfEveryOutcome());
        QCOMPARE(model.columnCount(), 4);
        QStringList headers;
        for (int column = 0; column < model.columnCount(); ++column)
            headers.append(model.headerData(column, Qt::Horizontal).toString());
        QCOMPARE(headers,
                 (QStringList {QStringLiteral("Item"), QStringLiteral("Kind"), QStringLiteral("What happened"),
                               QStringLiteral("Why")}));
        const auto row = [&model](int row) {
            QStringList cells;
            for (int column = 0; column < model.columnCount(); ++column)
                cells.append(model.data(model.index(row, column)).toString());
            return cells;
        };
        QCOMPARE(row(0),
                 (QStringList {QStringLiteral("\u65e5\u672c\u8a9e\u306e\u30e1\u30e2"), QStringLiteral("serial number"),
                               QStringLiteral("not imported"), QStringLiteral("Kastrel could not export it")}));
        QCOMPARE(row(2),
                 (QStringList {QStringLiteral("Minutes"), QStringLiteral("note"),
                               QStringLiteral("imported with its original file attached"),
                               QStringLiteral("its text could not be read")}));
        QCOMPARE(row(3),
                 (QStringList {QStringLiteral("Caf\u00e9 list"), QStringLiteral("bookmark"),
                               QStringLiteral("not fully imported"), QStringLiteral("its address could not be read")}));
        // An item without a name is told by its identifier.
        QCOMPARE(row(4),
                 (QStringList {QStringLiteral("I1"), QStringLiteral("image"), QStringLiteral("passed over"),
                               QStringLiteral("it has no name")}));
        QCOMPARE(
            row(6),
            (QStringList {QStringLiteral("Bank"), QStringLiteral("password"), QStringLiteral("imported"), QString()}));
        QCOMPARE(KSExportReport::itemKindDescription(QStringLiteral("webArchives")), QStringLiteral("web archive"));
        QCOMPARE(KSExportReport::itemKindDescription(QStringLiteral("PDFs")), QStringLiteral("PDF document"));
        QCOMPARE(KSExportReport::itemKindDescription(QStringLiteral("somethingNew")), QStringLiteral("somethingNew"));
    }

    void fullTextInTheToolTip()
    {
        const KSReportItemsModel model(itemsOfEveryOutcome());
        for (int column = 0; column < model.columnCount(); ++column)
            QCOMPARE(model.data(model.index(1, column), Qt::ToolTipRole),
                     model.data(model.index(1, column), Qt::DisplayRole));
        QVERIFY(!model.data(model.index(7, 0)).isValid());
    }

    void outcomeDescriptionsAreThoseOfTheProblemKinds()
    {
        QCOMPARE(KSExportReport::problemKindDescription(KSImportOperation::ItemProblemKind::NotImported),
                 KSExportReport::outcomeDescription(KSReportItem::Outcome::NotImported));
        QCOMPARE(KSExportReport::problemKindDescription(KSImportOperation::ItemProblemKind::OriginalFileAttached),
                 KSExportReport::outcomeDescription(KSReportItem::Outcome::OriginalFileAttached));
        QCOMPARE(KSExportReport::problemKindDescription(KSImportOperation::ItemProblemKind::Incomplete),
                 KSExportReport::outcomeDescription(KSReportItem::Outcome::Incomplete));
    }

    void longReasonsWrapInsteadOfScrollingSideways()
    {
        QList<KSReportItem> items = itemsOfEveryOutcome();
        items[3].reason
            = QStringLiteral("Kastrel answered the export command with an error that goes on and on "
                             "and on, far wider than any window, %1")
                  .arg(QString(400, QLatin1Char('x')).replace(QStringLiteral("xxxx"), QStringLiteral("xxx ")));
        KSExportReportDialog report;
        report.report.items = items;
        report.report.importedTotal = 2;
        const std::unique_ptr<QDialog> dialog = report.dialog();
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
        auto *table = dialog->findChild<KSReportItemsView *>();
        QVERIFY(table);
        QCOMPARE(table->model()->rowCount(), 7);
        QVERIFY(table->wordWrap());
        QVERIFY(!table->horizontalScrollBar()->isVisible());
        QCOMPARE(table->horizontalScrollBar()->maximum(), 0);
        // The row of the long reason (shown first) has grown to hold its lines.
        QTRY_VERIFY(table->rowHeight(0) > 2 * table->rowHeight(5));
        // The summary stays above the table, as before.
        QVERIFY(dialog->findChild<QLabel *>()->text().startsWith(QStringLiteral("2 items reached Nortavel 3.")));
    }

    void rowsScrolledIntoViewAreFittedToo()
    {
        KSExportReportDialog report;
        for (int index = 0; index < 2000; ++index)
            report.report.items.append(
                reportItem(QStringLiteral("K-%1").arg(index), QStringLiteral("Item"), QStringLiteral("notes"),
                           KSReportItem::Outcome::NotImported,
                           QString(60, QLatin1Char('w')).replace(QLatin1Char('w'), QStringLiteral("word "))));
        const std::unique_ptr<QDialog> dialog = report.dialog();
        dialog->resize(600, 400);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
        auto *table = dialog->findChild<KSReportItemsView *>();
        const int unfitted = table->verticalHeader()->defaultSectionSize();
        QVERIFY(table->rowHeight(0) > unfitted);
        // Far down, rows not yet seen keep the default height until they are.
        QCOMPARE(table->rowHeight(1999), unfitted);
        table->scrollToBottom();
        QTRY_VERIFY(table->rowHeight(1999) > unfitted);
        // And the end stays in view: the last row is the one at the bottom.
        QCOMPARE(table->rowAt(table->viewport()->height() - 1), 1999);
    }

    void withoutItemsTheProblemsAreListed()
    {
        KSExportReportDialog report;
        KSImportOperation::ItemProblem problem;
        problem.name = QStringLiteral("Damaged");
        problem.kind = KSImportOperation::ItemProblemKind::NotImported;
        problem.reason = QStringLiteral("broken");
        report.report.problems.append(problem);
        const std::unique_ptr<QDialog> dialog = report.dialog();
        QVERIFY(!dialog->findChild<KSReportItemsView *>());
        QCOMPARE(report.listedItems(), QStringList {QStringLiteral("not imported: \u201cDamaged\u201d (broken)")});
    }

    void openReportOnlyWithAReportFileThatIsThere()
    {
        KSExportReportDialog report;
        QVERIFY(!openReportButton(*report.dialog()));
        QCOMPARE(report.reportFileText(), QString());
        report.report.reportFile = m_folder.filePath(QStringLiteral("gone.html"));
        QVERIFY(!openReportButton(*report.dialog()));
        QCOMPARE(report.reportFileText(), QString());
        report.report.reportFile = writtenReportFile();
        QVERIFY(openReportButton(*report.dialog()));
        QCOMPARE(report.reportFileText(), QStringLiteral("The report is %1.").arg(report.report.reportFile));
    }

    void openReportOpensTheReportFile()
    {
        KSExportReportDialog report;
        report.report.reportFile = writtenReportFile();
        report.report.logFile = m_folder.filePath(QStringLiteral("Kastrel Export.log"));
        const std::unique_ptr<QDialog> dialog = report.dialog();
        const QStringList labels = [&dialog] {
            QStringList texts;
            for (const QLabel *label : dialog->findChildren<QLabel *>())
                texts.append(label->text());
            return texts;
        }();
        QVERIFY2(labels.contains(QStringLiteral("The log is %1. The report is %2.")
                                     .arg(report.report.logFile, report.report.reportFile)),
                 qPrintable(labels.join(QLatin1Char('\n'))));
        OpenedUrls opened;
        openReportButton(*dialog)->click();
        QCOMPARE(opened.urls, QList<QUrl> {QUrl::fromLocalFile(report.report.reportFile)});
        QVERIFY(m_alerts->alerts.isEmpty());
    }

    void aReportThatCannotBeOpenedIsTold()
    {
        KSExportReportDialog report;
        report.report.reportFile = writtenReportFile();
        const std::unique_ptr<QDialog> dialog = report.dialog();
        QVERIFY(QFile::remove(report.report.reportFile));
        OpenedUrls opened;
        openReportButton(*dialog)->click();
        QVERIFY(opened.urls.isEmpty());
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText,
                 QStringLiteral("Kastrel Export Report.html could not be opened."));
        QCOMPARE(m_alerts->alerts.first().informativeText,
                 QStringLiteral("%1 is not there any more.").arg(report.report.reportFile));
    }

    void openLogFolderOpensTheFolderOrSaysWhyNot()
    {
        KSExportReportDialog report;
        const QString folder = m_folder.filePath(QStringLiteral("Logs"));
        QVERIFY(QDir().mkpath(folder));
        report.report.logFile = folder + QStringLiteral("/Kastrel Export.log");
        const std::unique_ptr<QDialog> dialog = report.dialog();
        QPushButton *openLogFolder = nullptr;
        for (QPushButton *button : dialog->findChildren<QPushButton *>()) {
            if (button->text() == QStringLiteral("&Open Log Folder"))
                openLogFolder = button;
        }
        QVERIFY(openLogFolder);
        OpenedUrls opened;
        openLogFolder->click();
        QCOMPARE(opened.urls, QList<QUrl> {QUrl::fromLocalFile(folder)});
        QVERIFY(QDir(folder).removeRecursively());
        openLogFolder->click();
        QCOMPARE(opened.urls.size(), 1);
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().informativeText, QStringLiteral("%1 is not there any more.").arg(folder));
    }

    void errorAndCancelAlertsNameTheReport()
    {
        KSExportReport report;
        report.logFile = m_folder.filePath(QStringLiteral("Kastrel Export.log"));
        report.reportFile = writtenReportFile();
        const KSAlert failed = KSImportPanel::endingAlert(QStringLiteral("An error occurred while exporting."),
                                                          QStringLiteral("Kastrel went away."), report);
        QCOMPARE(failed.informativeText,
                 QStringLiteral("Kastrel went away.\n\nNothing was handed to Nortavel 3. The log is %1. "
                                "The report is %2.")
                     .arg(report.logFile, report.reportFile));
        QCOMPARE(failed.buttons, (QStringList {QStringLiteral("Quit"), QStringLiteral("Open &Report")}));
        const KSAlert cancelled
            = KSImportPanel::endingAlert(QStringLiteral("The export was cancelled."), QString(), report);
        QCOMPARE(cancelled.informativeText,
                 QStringLiteral("Nothing was handed to Nortavel 3. The log is %1. The report is %2.")
                     .arg(report.logFile, report.reportFile));

        // A stopped run whose folder is kept says where, and how to continue it.
        report.keptExportFolder = m_folder.filePath(QStringLiteral("Kastrel"));
        QCOMPARE(KSImportPanel::endingAlert(QStringLiteral("x"), QString(), report).informativeText,
                 QStringLiteral("Nothing was handed to Nortavel 3. The unfinished export was kept in %1: exporting "
                                "again offers to continue it (\"kastrel-importer export --resume\"). The log is %2. "
                                "The report is %3.")
                     .arg(report.keptExportFolder, report.logFile, report.reportFile));
        report.keptExportFolder.clear();

        // A report that could not be written is said instead.
        report.reportFile.clear();
        report.reportProblem = QStringLiteral("The report of this run could not be written to /nowhere (No space).");
        QCOMPARE(KSImportPanel::endingAlert(QStringLiteral("x"), QString(), report).informativeText,
                 QStringLiteral("Nothing was handed to Nortavel 3. The log is %1. %2")
                     .arg(report.logFile, report.reportProblem));
        QCOMPARE(KSExportReportDialog {report}.reportFileText(), report.reportProblem);
        report.reportProblem.clear();

        const KSAlert withoutReport = KSImportPanel::endingAlert(QStringLiteral("x"), QString(), report);
        QVERIFY(!withoutReport.informativeText.contains(QStringLiteral("report")));
        QCOMPARE(withoutReport.buttons, QStringList {QStringLiteral("Quit")});
    }

    void openReportInTheAlertOpensTheReportFile()
    {
        KSExportReport report;
        report.reportFile = writtenReportFile();
        const KSAlert alert
            = KSImportPanel::endingAlert(QStringLiteral("The export was cancelled."), QString(), report);
        OpenedUrls opened;
        KSAlert::setHandler([](const KSAlert &) { return KSImportPanel::OpenReportButton; });
        KSImportPanel::runEndingAlert(alert, report, nullptr);
        QCOMPARE(opened.urls, QList<QUrl> {QUrl::fromLocalFile(report.reportFile)});
        KSAlert::setHandler([](const KSAlert &) { return 0; });
        KSImportPanel::runEndingAlert(alert, report, nullptr);
        QCOMPARE(opened.urls.size(), 1);
    }

    // Last: the English counts, once installed, stay for the rest of the program.
    void countsInEnglishFormsWhateverTheLocale()
    {
        KSExportReportDialog report;
        report.report.importedTotal = 1;
        report.report.importedByKind.insert(QStringLiteral("note"), 1);
        KSImportOperation::ItemProblem problem;
        problem.kind = KSImportOperation::ItemProblemKind::NotImported;
        report.report.problems.append(problem);
        // No catalogue found at all: the C locale, with the counts built into the program.
        KSTranslations::install(QLocale::c(), {});
        QCOMPARE(report.summaryText(),
                 QStringLiteral("1 item reached Nortavel 3: 1 note. 1 item did not arrive whole; it is listed below."));
        report.report.importedTotal = 2;
        report.report.importedByKind.insert(QStringLiteral("note"), 2);
        report.report.problems.append(problem);
        report.report.recordsWithUncarriableCharacters = 1;
        QCOMPARE(report.summaryText(),
                 QStringLiteral("2 items reached Nortavel 3: 2 notes. 2 items did not arrive "
                                "whole; they are listed below."));
        QVERIFY(report.listedItems().contains(
            QStringLiteral("characters that XML cannot carry were left out of 1 record")));
        // A language without a catalogue reads English counts too.
        KSTranslations::install(QLocale(QStringLiteral("fr_FR")),
                                {QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations")});
        QCOMPARE(KSExportReport::kindCountText(QStringLiteral("webPage"), 1), QStringLiteral("1 web page"));
        QCOMPARE(KSExportReport::kindCountText(QStringLiteral("webPage"), 0), QStringLiteral("0 web pages"));
    }
};

QTEST_MAIN(TestEndReport)
#include "TestEndReport.moc"
