// The options sheet: a private copy of the options edited by its check boxes, the alert for
// an empty choice, and the return codes of confirming and cancelling.
#include "AppTestSupport.h"
#include "app/KSOptionsPanel.h"
#include "engine/KSImportOptions.h"

#include <QCheckBox>
#include <QMainWindow>
#include <QPushButton>
#include <QtTest>

using namespace AppTestSupport;

class TestOptionsPanel : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<KSOptionsPanel> m_panel;
    std::unique_ptr<AlertRecorder> m_alerts;
    QList<int> m_returnCodes;

    void show(const KSImportOptions &options)
    {
        m_panel->showOptionsSheetOnWindow(m_window.get(), options,
                                          [this](int returnCode) { m_returnCodes.append(returnCode); });
    }

    void click(const char *button) { m_panel->findChild<QPushButton *>(QString::fromLatin1(button))->click(); }

private slots:
    void init()
    {
        m_window = std::make_unique<QMainWindow>();
        m_window->resize(560, 460);
        m_window->show();
        m_panel = std::make_unique<KSOptionsPanel>(m_window.get());
        m_alerts = std::make_unique<AlertRecorder>();
        m_returnCodes.clear();
    }

    void cleanup()
    {
        m_panel.reset();
        m_window.reset();
        m_alerts.reset();
    }

    void oneCheckBoxPerOptionKey()
    {
        for (const QString &key : KSImportOptions::allKeys()) {
            QCheckBox *box = m_panel->checkBoxForKey(key);
            QVERIFY2(box, qPrintable(key));
            QVERIFY(!box->text().isEmpty());
        }
        QCOMPARE(m_panel->findChildren<QCheckBox *>().size(), 7);
    }

    void showingTicksTheBoxesOfTheGivenOptions()
    {
        KSImportOptions options;
        options.set(KSImportKind::Images, false);
        show(options);
        QVERIFY(m_panel->isVisible());
        QCOMPARE(m_panel->windowModality(), Qt::WindowModal);
        QCOMPARE(m_panel->parentWindow(), m_window.get());
        QVERIFY(!m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Images))->isChecked());
        QVERIFY(m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->isChecked());
    }

    void tickingStoresABooleanUnderTheKey()
    {
        show(KSImportOptions());
        m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Bookmarks))->click();
        QVERIFY(!m_panel->importOptions().contains(KSImportKind::Bookmarks));
        m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Bookmarks))->click();
        QVERIFY(m_panel->importOptions().contains(KSImportKind::Bookmarks));
    }

    void allClearedIsRefusedWithAnAlert()
    {
        show(KSImportOptions());
        for (const QString &key : KSImportOptions::allKeys())
            m_panel->checkBoxForKey(key)->click();
        click("saveButton");
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("No types selected!"));
        QCOMPARE(m_alerts->alerts.first().informativeText,
                 QStringLiteral("Select at least one type of Kastrel item to import and try again."));
        QVERIFY(m_alerts->alerts.first().buttons.isEmpty()); // the one standard button
        QVERIFY(m_returnCodes.isEmpty());
        QVERIFY(m_panel->isVisible());
        QVERIFY(m_panel->isSheetShown());
        QCOMPARE(m_panel->importOptions(), KSImportOptions::none());
        for (const QString &key : KSImportOptions::allKeys())
            QVERIFY(!m_panel->checkBoxForKey(key)->isChecked());
    }

    void emptyOptionsAreRefusedToo()
    {
        show(KSImportOptions::none());
        m_panel->saveOptions();
        QCOMPARE(m_alerts->alerts.size(), 1);
        QVERIFY(m_returnCodes.isEmpty());
    }

    void onlyPDFsConfirmsWithOne()
    {
        show(KSImportOptions());
        for (const QString &key : KSImportOptions::allKeys()) {
            if (key != KSImportOptions::keyOf(KSImportKind::PDFs))
                m_panel->checkBoxForKey(key)->click();
        }
        click("saveButton");
        QCOMPARE(m_returnCodes, QList<int> {1});
        QVERIFY(!m_panel->isVisible());
        QCOMPARE(m_alerts->alerts.size(), 0);
        KSImportOptions expected = KSImportOptions::none();
        expected.set(KSImportKind::PDFs, true);
        QCOMPARE(m_panel->importOptions(), expected);
    }

    void cancelLeavesTheCallersOptionsAlone()
    {
        const KSImportOptions options;
        const KSImportOptions before = options;
        show(options);
        m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Passwords))->click();
        click("cancelButton");
        QCOMPARE(m_returnCodes, QList<int> {0});
        QVERIFY(!m_panel->isVisible());
        QCOMPARE(options, before);
    }

    void escapeCancels()
    {
        show(KSImportOptions());
        QTest::keyClick(m_panel.get(), Qt::Key_Escape);
        QCOMPARE(m_returnCodes, QList<int> {0});
    }

    void eachShowingStartsFromTheOptionsPassedIn()
    {
        show(KSImportOptions());
        m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->click();
        click("cancelButton");
        show(KSImportOptions());
        QVERIFY(m_panel->checkBoxForKey(KSImportOptions::keyOf(KSImportKind::Notes))->isChecked());
        QCOMPARE(m_panel->importOptions(), KSImportOptions());
    }
};

QTEST_MAIN(TestOptionsPanel)
#include "TestOptionsPanel.moc"
