// The window's question before an export, when an earlier one stopped unfinished: its text
// tells how far it got, and the answer decides whether the export continues it, starts
// over, or does not start at all. Without an unfinished export nothing is asked.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSExportReportDialog.h"
#include "app/KSImportPanel.h"
#include "app/KSResumeQuestion.h"
#include "engine/KSExportJournal.h"
#include "engine/KSImportOperation.h"

#include <QDir>
#include <QtTest>

using namespace AppTestSupport;

class TestResumeQuestion : public QObject
{
    Q_OBJECT

    std::unique_ptr<TerminationRecorder> m_termination;
    QList<KSAlert> m_alerts;
    int m_answer = 0;

    static QString exportFolder()
    {
        return KSImportOperation::exportFolderForTarget(KSImportOperation::targetIdentifier);
    }

    // An unfinished export of `announced` items that recorded `recorded` of them.
    static void leaveUnfinishedExport(int recorded, int announced)
    {
        QVERIFY(QDir().mkpath(exportFolder()));
        QList<KSExportJournal::Entry> entries;
        for (int number = 0; number < recorded; ++number) {
            KSExportJournal::Entry entry;
            entry.optionKey = QStringLiteral("notes");
            entry.itemIdentifier = QStringLiteral("N%1").arg(number);
            entry.record.identifier = entry.itemIdentifier;
            entry.record.path = QStringLiteral("Notes/N%1.nvnote").arg(number);
            entry.record.fileName = QStringLiteral("N%1.nvnote").arg(number);
            entries.append(entry);
        }
        KSExportJournal journal;
        QVERIFY(journal.begin(
            QDir(exportFolder()).filePath(KSExportJournal::fileName),
            {QStringLiteral("com.fendwick.kastrel4"), QStringLiteral("2.5"), {QStringLiteral("notes")}, announced},
            entries));
    }

    // Presses Export with the alert answered by button `answer`.
    void pressExport(AppController &controller, int answer)
    {
        m_answer = answer;
        controller.import();
    }

private slots:
    void init()
    {
        removeEarlierRuns();
        QDir(exportFolder()).removeRecursively();
        m_alerts.clear();
        m_termination = std::make_unique<TerminationRecorder>();
        KSAlert::setHandler([this](const KSAlert &alert) {
            m_alerts.append(alert);
            return m_alerts.size() == 1 ? m_answer : 0;
        });
        KSExportReportDialog::setHandler([](const KSExportReportDialog &) {});
    }

    void cleanup()
    {
        KSAlert::setHandler(nullptr);
        KSExportReportDialog::setHandler(nullptr);
        m_termination.reset();
    }

    void nothingIsAskedWithoutAnUnfinishedExport()
    {
        AppController controller(applicationsWithItems(2));
        pressExport(controller, 2);
        QVERIFY(controller.importPanel());
        QVERIFY(!controller.importPanel()->operation()->resume());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        for (const KSAlert &alert : std::as_const(m_alerts))
            QVERIFY(!alert.messageText.startsWith(QStringLiteral("An earlier export")));
    }

    void cancelStartsNothing()
    {
        leaveUnfinishedExport(3, 10);
        AppController controller(applicationsWithItems(2));
        pressExport(controller, 2);
        QCOMPARE(m_alerts.size(), 1);
        QCOMPARE(m_alerts.first().messageText,
                 QStringLiteral("An earlier export stopped after 3 of 10 items. Continue it, or start over?"));
        QCOMPARE(m_alerts.first().buttons,
                 QStringList({QStringLiteral("Continue"), QStringLiteral("Start Over"), QStringLiteral("Cancel")}));
        QVERIFY(!controller.importPanel());
        QCOMPARE(m_termination->count, 0);
        QVERIFY(QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)));
    }

    void continueAsksTheRunToContinue()
    {
        leaveUnfinishedExport(3, 10);
        AppController controller(applicationsWithItems(2));
        pressExport(controller, 0);
        QVERIFY(controller.importPanel());
        QVERIFY(controller.importPanel()->operation()->resume());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
    }

    void continueExportsTheKindsOfTheEarlierExport()
    {
        // The earlier export chose notes only; the window's options are every kind.
        leaveUnfinishedExport(3, 10);
        AppController controller(applicationsWithItems(2));
        pressExport(controller, 0);
        QVERIFY(controller.importPanel());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        controller.importPanel()->waitForOperation();
        const KSImportOperation &operation = *controller.importPanel()->operation();
        QVERIFY(operation.importOptions().contains(KSImportKind::Notes));
        QVERIFY(!operation.importOptions().contains(KSImportKind::Images));
        QVERIFY2(operation.notContinuedReason().english.isEmpty(), qPrintable(operation.notContinuedReason().english));
        QVERIFY(!operation.handedOffLibraryFile().isNull());
        for (const KSAlert &alert : std::as_const(m_alerts))
            QVERIFY2(alert.messageText != QStringLiteral("An error occurred while exporting."),
                     qPrintable(alert.informativeText));
    }

    void startOverRunsFromTheFirstItem()
    {
        leaveUnfinishedExport(3, 10);
        AppController controller(applicationsWithItems(2));
        pressExport(controller, 1);
        QVERIFY(controller.importPanel());
        QVERIFY(!controller.importPanel()->operation()->resume());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        controller.importPanel()->waitForOperation();
        QCOMPARE(controller.importPanel()->operation()->resumedItemCount(), 0);
    }
};

QTEST_MAIN(TestResumeQuestion)
#include "TestResumeQuestion.moc"
