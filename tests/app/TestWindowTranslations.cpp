// Every window reads German under the German catalogue: the information window, the options
// sheet, the progress sheet, the alerts and the end-of-export report, each text translated
// and the mnemonics of each window unique.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSImportPanel.h"
#include "app/KSOptionsPanel.h"
#include "app/KSReportItemsModel.h"
#include "engine/KSImportOptions.h"
#include "foundation/KSTranslations.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

using namespace AppTestSupport;

namespace {

// The window title and the texts of every label, button and check box of `window`.
QStringList textsOf(const QWidget *window)
{
    QStringList texts {window->windowTitle()};
    for (const QLabel *label : window->findChildren<QLabel *>()) {
        if (!label->text().isEmpty())
            texts.append(label->text());
    }
    for (const QAbstractButton *button : window->findChildren<QAbstractButton *>())
        texts.append(button->text());
    return texts;
}

// Fails unless every mnemonic of the buttons of `window` is used once.
void checkMnemonicsUnique(const QWidget *window)
{
    QStringList keys;
    for (const QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
        const qsizetype ampersand = button->text().indexOf(QLatin1Char('&'));
        if (ampersand >= 0 && ampersand + 1 < button->text().size())
            keys.append(button->text().mid(ampersand + 1, 1).toLower());
    }
    const qsizetype used = keys.size();
    keys.removeDuplicates();
    QVERIFY2(keys.size() == used, qPrintable(textsOf(window).join(QStringLiteral(" | "))));
}

} // namespace

class TestWindowTranslations : public QObject
{
    Q_OBJECT

    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<TerminationRecorder> m_termination;
    std::unique_ptr<QMainWindow> m_window;

private slots:
    void initTestCase()
    {
        const QString catalogue = KSTranslations::install(
            QLocale(QStringLiteral("de_DE")), {QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations")});
        QVERIFY2(catalogue.endsWith(QLatin1String("kastrel-importer_de.qm")), "the German catalogue is built");
    }

    void init()
    {
        removeEarlierRuns();
        m_alerts = std::make_unique<AlertRecorder>();
        m_termination = std::make_unique<TerminationRecorder>();
        m_window = std::make_unique<QMainWindow>();
        m_window->show();
    }

    void cleanup()
    {
        m_window.reset();
        m_termination.reset();
        m_alerts.reset();
    }

    void informationWindow()
    {
        AppController controller;
        controller.applicationWillFinishLaunching();
        QCOMPARE(textsOf(controller.infoWindow()),
                 (QStringList {QStringLiteral("Kastrel Importer"), QStringLiteral("&Optionen \u2026"),
                               QStringLiteral("&Beenden"), QStringLiteral("&Exportieren")}));
        checkMnemonicsUnique(controller.infoWindow());
    }

    void optionsSheetAndItsAlert()
    {
        KSOptionsPanel panel(m_window.get());
        panel.showOptionsSheetOnWindow(m_window.get(), KSImportOptions::none(), [](int) {});
        QCOMPARE(textsOf(&panel),
                 (QStringList {QStringLiteral("Exportoptionen"),
                               QStringLiteral("W\u00e4hlen Sie die Arten von Kastrel-Objekten, die exportiert werden "
                                              "sollen:"),
                               QStringLiteral("&Notizen"), QStringLiteral("&Lesezeichen"),
                               QStringLiteral("&Seriennummern"), QStringLiteral("&Passw\u00f6rter"),
                               QStringLiteral("&Bilder"), QStringLiteral("P&DF-Dokumente"),
                               QStringLiteral("&Webarchive"), QStringLiteral("&Abbrechen"), QStringLiteral("&OK")}));
        checkMnemonicsUnique(&panel);

        panel.findChild<QPushButton *>(QStringLiteral("saveButton"))->click();
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("Keine Arten ausgew\u00e4hlt!"));
        QVERIFY(m_alerts->alerts.first().informativeText.startsWith(QStringLiteral("W\u00e4hlen Sie mindestens")));
        panel.cancelOptions();
    }

    void progressSheetAndItsAlerts()
    {
        KSImportPanel panel(m_window.get(), applicationsWithItems(0));
        QCOMPARE(panel.windowTitle(), QStringLiteral("Export l\u00e4uft"));
        QCOMPARE(panel.findChild<QPushButton *>(QStringLiteral("cancelButton"))->text(), QStringLiteral("&Abbrechen"));
        panel.importOperationWillStartImportingRecordsOfType(nullptr, QStringLiteral("Gruppen"));
        QCOMPARE(panel.findChild<QLabel *>(QStringLiteral("titleLabel"))->text(),
                 QStringLiteral("Gruppen werden exportiert"));

        panel.importOperationDidEncounterError(
            nullptr,
            OVMakeError(
                QStringLiteral("Kastrel Importer Error Domain"), 10001,
                OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "Unable to locate the Kastrel application."))));
        QCOMPARE(m_alerts->alerts.size(), 1);
        const KSAlert &alert = m_alerts->alerts.first();
        QCOMPARE(alert.messageText, QStringLiteral("Beim Exportieren ist ein Fehler aufgetreten."));
        QVERIFY2(alert.informativeText.startsWith(QStringLiteral("Das Programm Kastrel wurde nicht gefunden.\n\n"
                                                                 "Nichts wurde an Nortavel 3 \u00fcbergeben. ")),
                 qPrintable(alert.informativeText));
        QCOMPARE(alert.buttons, QStringList {QStringLiteral("Beenden")});
    }

    void cancelledAlert()
    {
        KSImportPanel panel(m_window.get(), applicationsWithItems(0));
        panel.importOperationDidCancel(nullptr);
        QCOMPARE(m_alerts->alerts.size(), 1);
        QCOMPARE(m_alerts->alerts.first().messageText, QStringLiteral("Der Export wurde abgebrochen."));
        QCOMPARE(m_alerts->alerts.first().buttons, QStringList {QStringLiteral("Beenden")});
    }

    void reportDialog()
    {
        KSExportReportDialog report;
        report.report.importedTotal = 3;
        report.report.importedByKind.insert(QStringLiteral("note"), 1);
        report.report.importedByKind.insert(QStringLiteral("image"), 2);
        report.report.passedOver.append({QStringLiteral("I9"), QStringLiteral("images"),
                                         QStringLiteral("es hat keinen Namen"), QStringLiteral("it has no name")});
        report.report.logFile = QStringLiteral("/tmp/Kastrel Export.log");
        KSReportItem passedOver;
        passedOver.identifier = QStringLiteral("I9");
        passedOver.optionKey = QStringLiteral("images");
        passedOver.outcome = KSReportItem::Outcome::PassedOver;
        passedOver.reason = QStringLiteral("es hat keinen Namen");
        report.report.items = {passedOver};
        const QTemporaryDir folder;
        report.report.reportFile = folder.filePath(QStringLiteral("Bericht.html"));
        QFile reportFile(report.report.reportFile);
        QVERIFY(reportFile.open(QIODevice::WriteOnly));
        reportFile.close();
        QCOMPARE(report.reportFileText(), QStringLiteral("Der Bericht ist %1.").arg(report.report.reportFile));
        const KSReportItemsModel table(report.report.items);
        QCOMPARE(table.headerData(KSReportItemsModel::OutcomeColumn, Qt::Horizontal).toString(),
                 QStringLiteral("Was geschah"));
        QCOMPARE(table.data(table.index(0, KSReportItemsModel::KindColumn)).toString(), QStringLiteral("Bild"));
        QCOMPARE(table.data(table.index(0, KSReportItemsModel::OutcomeColumn)).toString(),
                 QStringLiteral("\u00fcbergangen"));
        QCOMPARE(report.summaryText(),
                 QStringLiteral("3 Objekte sind in Nortavel 3 angekommen: 2 Bilder, 1 Notiz. "
                                "1 Objekt wurde \u00fcbergangen."));
        QCOMPARE(report.listedItems(),
                 QStringList {QStringLiteral("\u00fcbergangen: Objekt I9 (es hat keinen Namen)")});
        QCOMPARE(report.logText(), QStringLiteral("Das Protokoll ist /tmp/Kastrel Export.log."));

        // The window itself, as the person sees it.
        KSExportReportDialog::setHandler(nullptr);
        QStringList texts;
        QTimer::singleShot(0, this, [&texts] {
            auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            texts = textsOf(dialog);
            checkMnemonicsUnique(dialog);
            dialog->reject();
        });
        report.runModal(m_window.get());
        QVERIFY2(texts.contains(QStringLiteral("Export beendet")), qPrintable(texts.join(QStringLiteral(" | "))));
        QVERIFY(texts.contains(QStringLiteral("&Beenden")));
        QVERIFY(texts.contains(QStringLiteral("&Protokollordner \u00f6ffnen")));
        QVERIFY(texts.contains(QStringLiteral("Be&richt \u00f6ffnen")));
    }
};

QTEST_MAIN(TestWindowTranslations)
#include "TestWindowTranslations.moc"
