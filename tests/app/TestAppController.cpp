// The application controller: the default options, the notes in the information window,
// the options sheet's copy and confirmation, and termination after every export.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSImportPanel.h"
#include "app/KSOptionsPanel.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"
#include "foundation/OVMainThread.h"

#include <QApplication>
#include <QCheckBox>
#include <QGuiApplication>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QTextEdit>
#include <QTimer>
#include <QtTest>

using namespace AppTestSupport;

namespace {

// The lines the application writes to its console log while a test runs.
QStringList &consoleLines()
{
    static QStringList lines;
    return lines;
}

// Only the windows' own category counts: the confirmation line must come through it, so that
// QT_LOGGING_RULES can tell it apart and turn it off.
void recordConsoleLine(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtInfoMsg && qstrcmp(context.category, "kastrel.app") == 0)
        consoleLines().append(message);
}

} // namespace

class TestAppController : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<TerminationRecorder> m_termination;
    QtMessageHandler m_previousHandler = nullptr;

    static void clickButton(QWidget *window, const char *name)
    {
        window->findChild<QPushButton *>(QString::fromLatin1(name))->click();
    }

    static QStringList optionLines()
    {
        QStringList lines;
        for (const QString &line : consoleLines()) {
            if (line.startsWith(QStringLiteral("Import options are: ")))
                lines.append(line);
        }
        return lines;
    }

private slots:
    void init()
    {
        removeEarlierRuns();
        m_alerts = std::make_unique<AlertRecorder>();
        m_termination = std::make_unique<TerminationRecorder>();
        consoleLines().clear();
        m_previousHandler = qInstallMessageHandler(recordConsoleLine);
    }

    void cleanup()
    {
        qInstallMessageHandler(m_previousHandler);
        m_termination.reset();
        m_alerts.reset();
    }

    void startsWithAllSevenKindsOn()
    {
        const AppController controller;
        for (const KSImportKind kind : KSImportOptions::allKinds())
            QVERIFY(controller.importOptions().contains(kind));
        QVERIFY(!controller.importPanel());
        QVERIFY(!controller.optionsPanel());
        QVERIFY(controller.applicationShouldTerminateAfterLastWindowClosed());
    }

    void launchShowsTheNotesCentred()
    {
        AppController controller;
        controller.applicationWillFinishLaunching();
        QVERIFY(controller.infoWindow()->isVisible());
        const QString notes = controller.notesTextView()->toPlainText();
        QVERIFY(notes.contains(QStringLiteral("Nortavel 3")));
        QVERIFY(notes.contains(QStringLiteral("Nothing in Kastrel is changed")));
        QVERIFY(controller.notesTextView()->isReadOnly());
        const QRect screen = controller.infoWindow()->screen()->availableGeometry();
        const QPoint offset = controller.infoWindow()->geometry().center() - screen.center();
        QVERIFY2(offset.manhattanLength() <= 2, "the window is centred");
    }

    void freshLaunchExportsAllSevenKinds()
    {
        AppController controller(applicationsWithItems(2));
        controller.applicationWillFinishLaunching();
        clickButton(controller.infoWindow(), "importButton");
        QVERIFY(controller.importPanel());
        QCOMPARE(controller.importPanel()->parentWindow(), controller.infoWindow());
        QCOMPARE(controller.importPanel()->operation()->importOptions(), KSImportOptions());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        const QMap<QString, quint64> announced = controller.importPanel()->operation()->announcedItemCounts();
        QCOMPARE(announced.value(KSImportOptions::keyOf(KSImportKind::Images)), quint64(2));
        QCOMPARE(announced.value(KSImportOptions::keyOf(KSImportKind::Notes)), quint64(1));
    }

    void cancellingTheOptionsKeepsThemAll()
    {
        AppController controller;
        controller.applicationWillFinishLaunching();
        clickButton(controller.infoWindow(), "optionsButton");
        KSOptionsPanel *panel = controller.optionsPanel();
        QVERIFY(panel && panel->isVisible());
        QCOMPARE(panel->parentWindow(), controller.infoWindow());
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Images))->click();
        panel->cancelOptions();
        QCOMPARE(controller.importOptions(), KSImportOptions());
        QVERIFY(optionLines().isEmpty());
    }

    void savingTheOptionsReplacesThemAndLogsOnce()
    {
        AppController controller;
        controller.applicationWillFinishLaunching();
        controller.showOptions();
        KSOptionsPanel *panel = controller.optionsPanel();
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Images))->click();
        panel->saveOptions();
        KSImportOptions expected;
        expected.set(KSImportKind::Notes, false);
        expected.set(KSImportKind::Images, false);
        QCOMPARE(controller.importOptions(), expected);
        QCOMPARE(optionLines().size(), 1);
        QCOMPARE(optionLines().first(),
                 QStringLiteral("Import options are: {\n    PDFs = 1;\n    bookmarks = 1;\n    images = 0;\n"
                                "    notes = 0;\n    passwords = 1;\n    serialNumbers = 1;\n    webArchives = 1;\n}"));
    }

    void secondShowingStartsFromTheLastSavedOptions()
    {
        AppController controller;
        controller.showOptions();
        KSOptionsPanel *panel = controller.optionsPanel();
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Bookmarks))->click();
        panel->saveOptions();
        controller.showOptions();
        QCOMPARE(controller.optionsPanel(), panel); // made once, reused
        QVERIFY(!panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Bookmarks))->isChecked());
        QVERIFY(panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->isChecked());
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        panel->cancelOptions();
        controller.showOptions();
        QVERIFY(panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->isChecked());
        QVERIFY(!panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Bookmarks))->isChecked());
        panel->cancelOptions();
    }

    void savedOptionsReachTheExport()
    {
        AppController controller(applicationsWithItems(2));
        controller.showOptions();
        for (const QString &key : KSImportOptions::allKeys()) {
            if (key != KSImportOptions::keyOf(KSImportKind::Images))
                controller.optionsPanel()->checkBoxForKey(key)->click();
        }
        controller.optionsPanel()->saveOptions();
        controller.import();
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        const QMap<QString, quint64> announced = controller.importPanel()->operation()->announcedItemCounts();
        QCOMPARE(announced.value(KSImportOptions::keyOf(KSImportKind::Images)), quint64(2));
        QVERIFY(!announced.contains(KSImportOptions::keyOf(KSImportKind::Notes)));
    }

    void terminatesAfterACancelledExport()
    {
        auto applications = applicationsWithItems(3);
        AppController controller(applications);
        bool cancelled = false;
        applications->setCallHook([&](const QString &call) {
            if (cancelled || !call.startsWith(QStringLiteral("export ")))
                return;
            cancelled = true;
            OVPerformOnMainThreadAndWait([&] { controller.importPanel()->cancel(); });
        });
        controller.import();
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        QVERIFY(cancelled);
        QVERIFY(!controller.importPanel()->isVisible());
        QCOMPARE(controller.importPanel()->result(), 0); // the sheet's return code
    }

    void terminatesAfterAFailedExport()
    {
        auto applications = std::make_shared<InMemoryScripting>(); // no applications at all
        AppController controller(applications);
        controller.import();
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("An error occurred while exporting."));
        controller.importPanel()->waitForOperation();
        QCOMPARE(m_termination->count, 1);
    }

    void mainEventLoopEndsAfterTheExport()
    {
        m_termination.reset(); // the real termination: the main event loop ends
        auto applications = applicationsWithItems(2);
        AppController controller(applications);
        controller.applicationWillFinishLaunching();
        QTimer::singleShot(0, &controller, &AppController::import);
        QCOMPARE(QApplication::exec(), 0);
        QVERIFY(!controller.importPanel()->isVisible());
        QCOMPARE(applications->importCalls().size(), 1);
    }

    void mainEventLoopEndsAfterAnErrorAndTheRunIsLeft()
    {
        m_termination.reset();
        auto applications = applicationsWithItems(3);
        // A note cannot be exported: an error alert, then termination while the
        // run still has items to go.
        InMemoryKastrel source = applications->kastrel(Source);
        source.setExportFails(source.addItem(KastrelItemKind::Note, QStringLiteral("N0"), QStringLiteral("Broken")));
        std::unique_ptr<AppController> controller = std::make_unique<AppController>(applications);
        QTimer::singleShot(0, controller.get(), &AppController::import);
        QCOMPARE(QApplication::exec(), 0);
        QCOMPARE(m_alerts->alerts.size(), 1);
        // Going away waits for the run's thread, which stops at its next look at the flag.
        controller.reset();
        QCOMPARE(m_alerts->alerts.size(), 1);
    }

    void quitButtonTerminates()
    {
        AppController controller;
        controller.applicationWillFinishLaunching();
        clickButton(controller.infoWindow(), "quitButton");
        QCOMPARE(m_termination->count, 1);
    }
};

QTEST_MAIN(TestAppController)
#include "TestAppController.moc"
