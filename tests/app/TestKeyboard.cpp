// The windows by keyboard alone: where the focus starts, what Return, Escape and Ctrl+Q do in
// each window, and a mnemonic on every button.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSImportPanel.h"
#include "app/KSOptionsPanel.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"
#include "foundation/OVMainThread.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QTextEdit>
#include <QtTest>

using namespace AppTestSupport;

class TestKeyboard : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<TerminationRecorder> m_termination;
    std::unique_ptr<AppController> m_controller;

    QPushButton *button(QWidget *window, const char *name) const
    {
        auto *found = window->findChild<QPushButton *>(QString::fromLatin1(name));
        if (!found)
            qFatal("no button %s", name);
        return found;
    }

    // Launches the application as a person sees it: window shown and active.
    void launch(std::shared_ptr<ScriptingBackend> backend = nullptr)
    {
        m_controller = std::make_unique<AppController>(std::move(backend));
        m_controller->applicationWillFinishLaunching();
        QVERIFY(QTest::qWaitForWindowActive(m_controller->infoWindow()));
    }

    KSOptionsPanel *openOptions()
    {
        m_controller->showOptions();
        KSOptionsPanel *panel = m_controller->optionsPanel();
        if (panel && panel->isVisible() && !QTest::qWaitForWindowActive(panel))
            qWarning("the options sheet did not become active");
        return panel;
    }

    // The letters after '&' in the texts of `window`'s buttons, one per button that has one.
    static QStringList mnemonics(QWidget *window)
    {
        QStringList letters;
        const auto buttons = window->findChildren<QAbstractButton *>();
        for (QAbstractButton *each : buttons) {
            const QString text = each->text();
            const qsizetype ampersand = text.indexOf(QLatin1Char('&'));
            if (ampersand >= 0 && ampersand + 1 < text.size())
                letters.append(text.at(ampersand + 1).toLower());
            else
                letters.append(QString());
        }
        return letters;
    }

    static void checkMnemonics(QWidget *window)
    {
        const QStringList letters = mnemonics(window);
        QVERIFY(!letters.isEmpty());
        QVERIFY2(!letters.contains(QString()), qPrintable(window->objectName() + QStringLiteral(": a button without")));
        QCOMPARE(QSet<QString>(letters.begin(), letters.end()).size(), letters.size());
    }

private slots:
    void init()
    {
        removeEarlierRuns();
        m_alerts = std::make_unique<AlertRecorder>();
        m_termination = std::make_unique<TerminationRecorder>();
    }

    void cleanup()
    {
        if (m_controller && m_controller->importPanel())
            m_controller->importPanel()->waitForOperation();
        m_controller.reset();
        m_termination.reset();
        m_alerts.reset();
    }

    void focusStartsOnExportAndTheNotesShowNoCaret()
    {
        launch();
        QWidget *exportButton = button(m_controller->infoWindow(), "importButton");
        QCOMPARE(QApplication::focusWidget(), exportButton);
        const Qt::TextInteractionFlags flags = m_controller->notesTextView()->textInteractionFlags();
        QVERIFY(!(flags & Qt::TextEditable));
        QVERIFY(!(flags & Qt::TextSelectableByKeyboard));
        QVERIFY(flags & Qt::TextSelectableByMouse);
        QVERIFY(m_controller->notesTextView()->isReadOnly());
    }

    void returnOnTheFirstFocusStartsTheExport()
    {
        launch(applicationsWithItems(1));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(m_controller->importPanel());
        QVERIFY(m_controller->isExporting());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
    }

    void returnInTheNotesStartsTheExport()
    {
        launch(applicationsWithItems(1));
        QTextEdit *notes = m_controller->notesTextView();
        notes->setFocus(Qt::MouseFocusReason);
        QCOMPARE(QApplication::focusWidget(), notes);
        QTest::keyClick(notes, Qt::Key_Return);
        QVERIFY(m_controller->importPanel());
        QVERIFY(m_controller->isExporting());
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
    }

    void returnOnAFocusedButtonPressesThatButton()
    {
        launch();
        QPushButton *quit = button(m_controller->infoWindow(), "quitButton");
        quit->setFocus(Qt::TabFocusReason);
        QTest::keyClick(quit, Qt::Key_Return);
        QCOMPARE(m_termination->count, 1);
        QVERIFY(!m_controller->importPanel());

        QPushButton *options = button(m_controller->infoWindow(), "optionsButton");
        options->setFocus(Qt::TabFocusReason);
        QTest::keyClick(options, Qt::Key_Return);
        QVERIFY(m_controller->optionsPanel() && m_controller->optionsPanel()->isVisible());
        QVERIFY(!m_controller->importPanel());
    }

    void returnOnTheOptionsCancelButtonDiscards()
    {
        launch();
        KSOptionsPanel *panel = openOptions();
        QVERIFY(panel);
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        QPushButton *cancel = button(panel, "cancelButton");
        cancel->setFocus(Qt::TabFocusReason);
        QTest::keyClick(cancel, Qt::Key_Return);
        QVERIFY(!panel->isVisible());
        QCOMPARE(m_controller->importOptions(), KSImportOptions());
    }

    void returnOnACheckBoxConfirms()
    {
        launch();
        KSOptionsPanel *panel = openOptions();
        QCheckBox *notes = panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes));
        notes->click();
        notes->setFocus(Qt::TabFocusReason);
        QTest::keyClick(notes, Qt::Key_Return);
        QVERIFY(!panel->isVisible());
        QVERIFY(!m_controller->importOptions().contains(KSImportKind::Notes));
    }

    void escapeDiscardsTheOptions()
    {
        launch();
        KSOptionsPanel *panel = openOptions();
        panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Images))->click();
        QTest::keyClick(panel, Qt::Key_Escape);
        QVERIFY(!panel->isVisible());
        QCOMPARE(m_controller->importOptions(), KSImportOptions());
        QCOMPARE(m_termination->count, 0);
    }

    void escapeCancelsTheExport()
    {
        auto applications = applicationsWithItems(3);
        bool escaped = false;
        applications->setCallHook([&](const QString &call) {
            if (escaped || !call.startsWith(QStringLiteral("export ")))
                return;
            escaped = true;
            OVPerformOnMainThreadAndWait([&] { QTest::keyClick(m_controller->importPanel(), Qt::Key_Escape); });
        });
        launch(applications);
        m_controller->import();
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        QVERIFY(escaped);
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("The export was cancelled."));
        QVERIFY(m_controller->importPanel()->operation()->isCancelled());
    }

    void escapeInTheWindowQuits()
    {
        launch();
        QTest::keyClick(m_controller->infoWindow(), Qt::Key_Escape);
        QCOMPARE(m_termination->count, 1);
    }

    void controlQQuitsWhenNoExportRuns()
    {
        launch();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(m_termination->count, 1);
    }

    void controlQDoesNothingWhileExporting()
    {
        auto applications = applicationsWithItems(2);
        int terminationsDuringExport = -1;
        bool pressed = false;
        applications->setCallHook([&](const QString &call) {
            if (pressed || !call.startsWith(QStringLiteral("export ")))
                return;
            pressed = true;
            OVPerformOnMainThreadAndWait([&] {
                QTest::keyClick(m_controller->importPanel(), Qt::Key_Q, Qt::ControlModifier);
                QTest::keyClick(m_controller->infoWindow(), Qt::Key_Q, Qt::ControlModifier);
                terminationsDuringExport = m_termination->count;
            });
        });
        launch(applications);
        m_controller->import();
        QTRY_COMPARE_WITH_TIMEOUT(m_termination->count, 1, 60000);
        QVERIFY(pressed);
        QCOMPARE(terminationsDuringExport, 0);
        QVERIFY(!m_controller->importPanel()->operation()->isCancelled());
        QCOMPARE(m_alerts->reports.size(), 1);
    }

    void everyButtonHasItsOwnMnemonic()
    {
        launch();
        checkMnemonics(m_controller->infoWindow());
        checkMnemonics(openOptions());
        KSImportPanel panel(m_controller->infoWindow());
        checkMnemonics(&panel);
    }

    void mnemonicsPressTheirButtons()
    {
        launch();
        QTest::keyClick(m_controller->infoWindow(), Qt::Key_O, Qt::AltModifier);
        // A mnemonic presses its button as a click seen on the screen: a moment later.
        QTRY_VERIFY(m_controller->optionsPanel() && m_controller->optionsPanel()->isVisible());
        KSOptionsPanel *panel = m_controller->optionsPanel();
        QVERIFY(QTest::qWaitForWindowActive(panel));
        QTest::keyClick(panel, Qt::Key_N, Qt::AltModifier); // Notes
        QTRY_VERIFY(!panel->importOptions().contains(KSImportKind::Notes));
        QTest::keyClick(panel, Qt::Key_C, Qt::AltModifier); // Cancel
        QTRY_VERIFY(!panel->isVisible());
        QCOMPARE(m_controller->importOptions(), KSImportOptions());
        QVERIFY(QTest::qWaitForWindowActive(m_controller->infoWindow()));
        QCOMPARE(QApplication::activeWindow(), m_controller->infoWindow());
        QTest::keyClick(m_controller->infoWindow(), Qt::Key_Q, Qt::AltModifier);
        QTRY_COMPARE(m_termination->count, 1);
    }

    void alertButtonsCarryMnemonics()
    {
        KSAlert alert;
        alert.messageText = QStringLiteral("Something");
        alert.buttons = QStringList {QStringLiteral("Quit"), QStringLiteral("&Retry")};
        const auto box = alert.messageBox();
        QStringList texts;
        const auto buttons = box->buttons();
        for (QAbstractButton *each : buttons)
            texts.append(each->text());
        texts.sort();
        QCOMPARE(texts, (QStringList {QStringLiteral("&Quit"), QStringLiteral("&Retry")}));
    }
};

QTEST_MAIN(TestKeyboard)
#include "TestKeyboard.moc"
