// The progress sheet: its lines and bar for each notification, the error alert and the
// termination after it, cancelling, and whole runs on its worker thread against the
// applications in memory.
#include "AppTestSupport.h"
#include "app/KSImportPanel.h"
#include "app/KSProgressIndicator.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"
#include "foundation/KSTranslations.h"
#include "foundation/OVMainThread.h"

#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QtTest>
#include <limits>

using namespace AppTestSupport;

class TestImportPanel : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<TerminationRecorder> m_termination;
    QList<int> m_returnCodes;

    std::unique_ptr<KSImportPanel> makePanel(std::shared_ptr<ScriptingBackend> backend = nullptr)
    {
        if (!backend)
            backend = applicationsWithItems(0);
        return std::make_unique<KSImportPanel>(m_window.get(), std::move(backend));
    }

    void show(KSImportPanel &panel)
    {
        panel.showSheetOnWindow(m_window.get(), KSImportOptions(),
                                [this](int returnCode) { m_returnCodes.append(returnCode); });
    }

    static QString label(KSImportPanel &panel, const char *name)
    {
        return panel.findChild<QLabel *>(QString::fromLatin1(name))->text();
    }

private slots:
    // As the program does at start: English counts ("1 item") whatever the locale.
    void initTestCase() { KSTranslations::install(QLocale::c(), {}); }

    void init()
    {
        removeEarlierRuns();
        m_window = shownInformationWindow();
        m_alerts = std::make_unique<AlertRecorder>();
        m_termination = std::make_unique<TerminationRecorder>();
        m_returnCodes.clear();
    }

    void cleanup()
    {
        m_window.reset();
        m_termination.reset();
        m_alerts.reset();
    }

    void barUsesThreadedAnimationOnceLoaded()
    {
        const auto panel = makePanel();
        QVERIFY(panel->importProgress()->usesThreadedAnimation());
    }

    void showingPreparesAndRunsOnAWorkerThread()
    {
        const auto panel = makePanel();
        show(*panel);
        // Nothing of the run can have arrived yet: its notifications wait for this thread.
        QCOMPARE(panel->titleMessage(), QStringLiteral("Preparing..."));
        QVERIFY(panel->informationMessage().isNull());
        QCOMPARE(label(*panel, "titleLabel"), QStringLiteral("Preparing..."));
        QVERIFY(panel->importProgress()->isIndeterminate());
        QVERIFY(panel->importProgress()->isAnimating());
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->windowModality(), Qt::WindowModal);
        QCOMPARE(panel->parentWindow(), m_window.get());
        QVERIFY(panel->operation());
        QCOMPARE(panel->operation()->importOptions(), KSImportOptions());
        QTRY_VERIFY_WITH_TIMEOUT(!m_returnCodes.isEmpty(), 60000);
        QCOMPARE(m_returnCodes, QList<int> {1});
        QVERIFY(!panel->isVisible());
        panel->waitForOperation();
        QVERIFY(panel->isOperationFinished());
    }

    void stageOfUnknownLengthShowsItsName()
    {
        const auto panel = makePanel();
        panel->setInformationMessage(QStringLiteral("left over"));
        panel->importOperationWillStartImportingRecordsOfType(nullptr, QStringLiteral("Groups"));
        QCOMPARE(panel->titleMessage(), QStringLiteral("Exporting Groups"));
        QVERIFY(panel->informationMessage().isNull());
        QCOMPARE(label(*panel, "informationLabel"), QString());
        QVERIFY(panel->importProgress()->isIndeterminate());
        QVERIFY(panel->importProgress()->isAnimating());
    }

    void stageOfZeroRecordsHasMaximumZero()
    {
        const auto panel = makePanel();
        panel->importOperationWillStartImportingRecordsOfType(nullptr, QStringLiteral("Groups"));
        panel->importOperationWillStartImportingRecordsOfType(nullptr, 0, QStringLiteral("Items"));
        KSProgressIndicator *progress = panel->importProgress();
        QCOMPARE(progress->maxValue(), 0.0);
        QCOMPARE(progress->minValue(), 0.0);
        QCOMPARE(progress->doubleValue(), 0.0);
        QVERIFY(!progress->isIndeterminate());
        QVERIFY(!progress->isAnimating());
        QCOMPARE(panel->titleMessage(), QStringLiteral("Exporting Items"));
        QVERIFY(panel->informationMessage().isNull());
    }

    void threeRecordsOfAHundredAndTwenty()
    {
        const auto panel = makePanel();
        panel->importOperationWillStartImportingRecordsOfType(nullptr, 120, QStringLiteral("Items"));
        for (int record = 0; record < 3; ++record)
            panel->importOperationDidImportRecordOfType(nullptr, QString());
        QCOMPARE(panel->informationMessage(), QStringLiteral("3 of 120 records exported"));
        QCOMPARE(label(*panel, "informationLabel"), QStringLiteral("3 of 120 records exported"));
        QCOMPARE(panel->importProgress()->doubleValue(), 3.0);
        QCOMPARE(panel->importProgress()->maxValue(), 120.0);
        QCOMPARE(panel->importProgress()->value(), panel->importProgress()->maximum() / 40);
    }

    void errorShowsAnAlertAndTerminates()
    {
        const auto panel = makePanel();
        show(*panel);
        panel->importOperationDidEncounterError(nullptr,
                                                OVError {QStringLiteral("Kastrel Importer Error Domain"), 10001,
                                                         QStringLiteral("Unable to locate the Kastrel application.")});
        QCOMPARE(m_alerts->alerts.size(), 1);
        const KSAlert &alert = m_alerts->alerts.first();
        QCOMPARE(alert.messageText, QStringLiteral("An error occurred while exporting."));
        // The error's own text, then what reached Nortavel 3 (nothing) and where the log is.
        QVERIFY2(alert.informativeText.startsWith(QStringLiteral("Unable to locate the Kastrel application.\n\n"
                                                                 "Nothing was handed to Nortavel 3. ")),
                 qPrintable(alert.informativeText));
        QCOMPARE(alert.buttons, QStringList {QStringLiteral("Quit")});
        QCOMPARE(m_termination->count, 1);
        panel->waitForOperation();
    }

    void errorWithEmptyDescriptionIsUnknown()
    {
        const auto panel = makePanel();
        panel->importOperationDidEncounterError(
            nullptr, OVError {QStringLiteral("Kastrel Importer Error Domain"), 10004, QString()});
        QCOMPARE(m_alerts->alerts.size(), 1);
        QVERIFY(m_alerts->alerts.first().informativeText.startsWith(QStringLiteral("An unknown error occurred.\n\n")));
        QCOMPARE(m_termination->count, 1);
    }

    void errorOfARunNeverReachesItsCancellation()
    {
        // An object listed by the source but gone when read: the run reports an exception
        // (10004) and then its cancellation, which the sheet must not act on.
        auto applications = applicationsWithItems(2);
        InMemoryKastrel source = applications->kastrel(Source);
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Work"));
        source.removeObject(group);
        const auto panel = makePanel(applications);
        show(*panel);
        panel->waitForOperation();
        QCOMPARE(m_alerts->alerts.size(), 1);
        QVERIFY(!m_alerts->alerts.first().informativeText.isEmpty());
        QCOMPARE(m_termination->count, 1);
        QVERIFY(m_returnCodes.isEmpty());
        QVERIFY(panel->isSheetShown());
    }

    void cancelChangesTheTitleAtOnceAndClosesWhenConfirmed()
    {
        auto applications = applicationsWithItems(5);
        std::unique_ptr<KSImportPanel> panel;
        bool cancelledDuringRun = false;
        bool stillShownAfterCancel = false;
        QString titleAfterCancel;
        applications->setCallHook([&](const QString &call) {
            if (cancelledDuringRun || !call.startsWith(QStringLiteral("export ")))
                return;
            cancelledDuringRun = true;
            // The person presses Cancel while the worker is about to export its first item.
            OVPerformOnMainThreadAndWait([&] {
                panel->findChild<QPushButton *>(QStringLiteral("cancelButton"))->click();
                titleAfterCancel = panel->titleMessage();
                stillShownAfterCancel = panel->isSheetShown() && m_returnCodes.isEmpty();
                QVERIFY(!panel->importProgress()->isAnimating());
                QVERIFY(!panel->importProgress()->isIndeterminate());
            });
        });
        panel = makePanel(applications);
        show(*panel);
        QTRY_VERIFY_WITH_TIMEOUT(!m_returnCodes.isEmpty(), 60000);
        QVERIFY(cancelledDuringRun);
        QCOMPARE(titleAfterCancel, QStringLiteral("Cancelling..."));
        QVERIFY(stillShownAfterCancel);
        QCOMPARE(m_returnCodes, QList<int> {0});
        QVERIFY(!panel->isVisible());
        // Before the sheet closes, an alert says that the export was cancelled, that nothing
        // reached Nortavel 3, where the unfinished export was kept, and where the log is.
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("The export was cancelled."));
        const QString text = m_alerts->alerts.first().informativeText;
        QVERIFY2(
            text.startsWith(QStringLiteral("Nothing was handed to Nortavel 3. The unfinished export was kept in ")),
            qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("export --resume\"). The log is ")), qPrintable(text));
        QVERIFY(m_alerts->reports.isEmpty());
        panel->waitForOperation();
        QVERIFY(applications->exportCount() < 6);
    }

    void endedExportShowsWhatArrivedBeforeTheSheetCloses()
    {
        const auto panel = makePanel(applicationsWithItemsNeedingAttention());
        show(*panel);
        QTRY_VERIFY_WITH_TIMEOUT(!m_returnCodes.isEmpty(), 60000);
        panel->waitForOperation();
        QCOMPARE(m_returnCodes, QList<int> {1});
        QCOMPARE(m_alerts->alerts.size(), 0);
        QCOMPARE(m_alerts->reports.size(), 1);
        const KSExportReportDialog &report = m_alerts->reports.first();
        QCOMPARE(report.report.importedByKind.value(QStringLiteral("image")), 2);
        QCOMPARE(report.report.importedByKind.value(QStringLiteral("note")), 2);
        QVERIFY2(report.summaryText().startsWith(QStringLiteral("4 items reached Nortavel 3: 2 images, 2 notes.")),
                 qPrintable(report.summaryText()));
        QVERIFY(report.summaryText().contains(QStringLiteral("1 item did not arrive whole; it is listed below.")));
        const QStringList listed = report.listedItems();
        QCOMPARE(listed.size(), 2);
        QVERIFY2(listed.first().startsWith(
                     QStringLiteral("imported with its original file attached: \u201cDamaged\u201d (")),
                 qPrintable(listed.first()));
        QVERIFY(listed.last().startsWith(QStringLiteral("passed over: item I9 (")));
        const QString log = QDir(qEnvironmentVariable("XDG_DATA_HOME"))
                                .filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
        QCOMPARE(report.logText(), QStringLiteral("The log is %1.").arg(log));
    }

    void itemWithADateThatIsNoDateIsListedInTheReport()
    {
        auto applications = applicationsWithItems(2);
        const QString undated = applications->kastrel(Source).addItem(KastrelItemKind::Image, QStringLiteral("I7"),
                                                                      QStringLiteral("Undated"));
        applications->kastrel(Source).setProperty(undated, QStringLiteral("modificationDate"),
                                                  std::numeric_limits<double>::infinity());
        const auto panel = makePanel(applications);
        show(*panel);
        QTRY_VERIFY_WITH_TIMEOUT(!m_returnCodes.isEmpty(), 60000);
        panel->waitForOperation();
        QCOMPARE(m_alerts->alerts.size(), 0);
        QCOMPARE(m_alerts->reports.size(), 1);
        const KSExportReportDialog &report = m_alerts->reports.first();
        QCOMPARE(report.report.importedByKind.value(QStringLiteral("image")), 3);
        QVERIFY2(report.summaryText().contains(QStringLiteral("1 item arrived without part of what it carries.")),
                 qPrintable(report.summaryText()));
        QCOMPARE(report.listedItems().size(), 1);
        QVERIFY2(report.listedItems().first().contains(QStringLiteral("\u201cUndated\u201d (its \"modificationDate\" "
                                                                      "could not be used (")),
                 qPrintable(report.listedItems().first()));
    }

    void escapeCancelsInsteadOfClosing()
    {
        const auto panel = makePanel();
        panel->reject();
        QCOMPARE(panel->titleMessage(), QStringLiteral("Cancelling..."));
        QVERIFY(m_returnCodes.isEmpty());
    }

    void wholeRunCountsEveryItem()
    {
        auto applications = applicationsWithItems(4);
        std::unique_ptr<KSImportPanel> panel;
        QStringList titles;
        applications->setCallHook([&](const QString &call) {
            if (!call.startsWith(QStringLiteral("export ")))
                return;
            OVPerformOnMainThreadAndWait(
                [&] { titles.append(panel->titleMessage() + QStringLiteral(" / ") + panel->informationMessage()); });
        });
        panel = makePanel(applications);
        show(*panel);
        QTRY_VERIFY_WITH_TIMEOUT(!m_returnCodes.isEmpty(), 60000);
        QCOMPARE(m_returnCodes, QList<int> {1});
        QCOMPARE(titles.first(), QStringLiteral("Exporting Items / "));
        QCOMPARE(titles.at(1), QStringLiteral("Exporting Items / 1 of 5 records exported"));
        QCOMPARE(panel->informationMessage(), QStringLiteral("5 of 5 records exported"));
        QCOMPARE(panel->importProgress()->doubleValue(), 5.0);
        QCOMPARE(m_termination->count, 0); // the application controller decides that
        QCOMPARE(applications->importCalls().size(), 1);
    }
};

QTEST_MAIN(TestImportPanel)
#include "TestImportPanel.moc"
