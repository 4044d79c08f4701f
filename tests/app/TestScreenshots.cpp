// Pictures of every window for a person to look at, written into <build>/screenshots: the
// information window, the options sheet, the progress sheet and the end-of-export report,
// each in a light and a dark palette, and in German. Each window is also checked to fit its
// contents, in German too, whose words run longer.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSApplicationIcon.h"
#include "app/KSExportReportDialog.h"
#include "app/KSImportPanel.h"
#include "app/KSOptionsPanel.h"
#include "app/KSProgressIndicator.h"
#include "foundation/KSTranslations.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMainWindow>
#include <QStyle>
#include <QTextEdit>
#include <QtTest>

using namespace AppTestSupport;

namespace {

// Every label and button shows its whole text: none is narrower than its own size hint.
void checkNothingCutOff(QWidget *window)
{
    const auto buttons = window->findChildren<QAbstractButton *>();
    for (QAbstractButton *button : buttons) {
        if (button->isVisible())
            QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));
    }
    const auto labels = window->findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (label->isVisible() && !label->wordWrap())
            QVERIFY2(label->width() >= label->sizeHint().width(), qPrintable(label->text()));
    }
}

KSImportOperation::ItemProblem sampleProblem(const KSReportItem &item, KSImportOperation::ItemProblemKind kind)
{
    KSImportOperation::ItemProblem problem;
    problem.identifier = item.identifier;
    problem.name = item.name;
    problem.optionKey = item.optionKey;
    problem.kind = kind;
    problem.reason = item.reason;
    return problem;
}

// A report with an item of every outcome, names in Japanese and with accents, a reason too
// long for one line, and a report file that is there (so that it can be opened).
KSExportReport sampleReport()
{
    using Outcome = KSReportItem::Outcome;
    KSExportReport report;
    report.importedByKind = {{QStringLiteral("note"), 1204},
                             {QStringLiteral("bookmark"), 311},
                             {QStringLiteral("image"), 87},
                             {QStringLiteral("webPage"), 12}};
    report.importedTotal = 1614;

    const KSReportItem notImported = reportItem(
        QStringLiteral("K-0412"), QStringLiteral("\u4f1a\u8b70\u306e\u8b70\u4e8b\u9332"), QStringLiteral("PDFs"),
        Outcome::NotImported,
        OVStringWithFormat(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "its text could not be read (%@)")),
            {QStringLiteral("Kastrel answered the export command with error -1728: the document's file was moved "
                            "or removed while the export ran")}));
    const KSReportItem attached = reportItem(
        QStringLiteral("K-1187"), QStringLiteral("Meeting notes 2019"), QStringLiteral("notes"),
        Outcome::OriginalFileAttached,
        OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "its text could not be read (%@)")),
                           {QStringLiteral("\\cf9 out of range")}));
    const KSReportItem incomplete
        = reportItem(QStringLiteral("K-0733"), QStringLiteral("Caf\u00e9 M\u00fcller"), QStringLiteral("bookmarks"),
                     Outcome::Incomplete, QStringLiteral("its \"modificationDate\" could not be used"));
    const KSReportItem passedOver
        = reportItem(QStringLiteral("K-2231"), QString(), QStringLiteral("images"), Outcome::PassedOver,
                     OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "it has no name")));
    report.items = {
        reportItem(QStringLiteral("K-0001"), QStringLiteral("\u6771\u4eac\u306e\u5730\u56f3"), QStringLiteral("images"),
                   Outcome::Imported),
        notImported,
        reportItem(QStringLiteral("K-0002"), QStringLiteral("R\u00e9sum\u00e9 (fran\u00e7ais)"),
                   QStringLiteral("notes"), Outcome::Imported),
        passedOver,
        attached,
        reportItem(QStringLiteral("K-0003"), QStringLiteral("Wi-Fi"), QStringLiteral("passwords"), Outcome::Imported),
        incomplete,
    };
    report.problems = {sampleProblem(notImported, KSImportOperation::ItemProblemKind::NotImported),
                       sampleProblem(attached, KSImportOperation::ItemProblemKind::OriginalFileAttached),
                       sampleProblem(incomplete, KSImportOperation::ItemProblemKind::Incomplete)};
    KSImportOperation::SkippedItem skipped;
    skipped.identifier = passedOver.identifier;
    skipped.optionKey = passedOver.optionKey;
    skipped.reason = passedOver.reason;
    report.passedOver.append(skipped);

    const QDir logs(
        QDir(qEnvironmentVariable("XDG_DATA_HOME", QDir::tempPath())).filePath(QStringLiteral("Nortavel 3/Logs")));
    logs.mkpath(QStringLiteral("."));
    report.logFile = logs.filePath(QStringLiteral("Kastrel Export.log"));
    report.reportFile = logs.filePath(QStringLiteral("Kastrel Export Report.html"));
    QFile reportFile(report.reportFile);
    if (!reportFile.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(report.reportFile));
    report.libraryFile = QStringLiteral("/var/tmp/person/Kastrel/Kastrel.nvlibxml");
    return report;
}

} // namespace

class TestScreenshots : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AlertRecorder> m_alerts;
    QPalette m_lightPalette;

    void useLook(const QString &look)
    {
        QApplication::setPalette(look == QLatin1String("dark") ? darkPalette() : m_lightPalette);
    }

    static QString fileName(const QString &window, const QString &look)
    {
        // At a scale above 1 (QT_SCALE_FACTOR=2) the pictures say so.
        const qreal scale = qApp->devicePixelRatio();
        const QString suffix = scale > 1 ? QStringLiteral("-%1x").arg(scale) : QString();
        return window + QLatin1Char('-') + look + suffix;
    }

private slots:
    void initTestCase()
    {
        m_lightPalette = QApplication::palette();
        KSApplicationIcon::install();
        // As the program does: English counts ("1 item") before any language of its own.
        KSTranslations::install(QLocale::c(), {});
    }
    void init() { m_alerts = std::make_unique<AlertRecorder>(); }
    void cleanup()
    {
        QApplication::setPalette(m_lightPalette);
        m_alerts.reset();
    }

    // German comes last: a translator once installed stays for the rest of the program.
    void windows_data()
    {
        QTest::addColumn<QString>("look");
        QTest::addColumn<bool>("german");
        QTest::newRow("light") << QStringLiteral("light") << false;
        QTest::newRow("dark") << QStringLiteral("dark") << false;
        QTest::newRow("german") << QStringLiteral("german") << true;
    }

    void windows()
    {
        QFETCH(QString, look);
        QFETCH(bool, german);
        useLook(look);
        if (german) {
            const QLocale locale(QLocale::German, QLocale::Germany);
            QLocale::setDefault(locale); // the notes' resource follows the default locale
            QVERIFY(
                !KSTranslations::install(locale, {QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations")})
                     .isEmpty());
        }
        AppController controller;
        controller.applicationWillFinishLaunching();
        const QString notes = controller.notesTextView()->toPlainText();
        QVERIFY(notes.contains(german ? QStringLiteral("Was Sie brauchen") : QStringLiteral("What you need")));
        QVERIFY(QTest::qWaitForWindowExposed(controller.infoWindow()));
        checkNothingCutOff(controller.infoWindow());
        saveScreenshot(controller.infoWindow(), fileName(QStringLiteral("information-window"), look));

        controller.showOptions();
        KSOptionsPanel *options = controller.optionsPanel();
        QVERIFY(options && options->isVisible());
        QVERIFY(QTest::qWaitForWindowExposed(options));
        checkNothingCutOff(options);
        saveScreenshot(options, fileName(QStringLiteral("options-sheet"), look));
        options->cancelOptions();

        // The progress sheet as it looks a while into an export.
        KSImportPanel progress(controller.infoWindow());
        progress.setTitleMessage(
            OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Exporting %@")),
                               {OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Items"))}));
        progress.setInformationMessage(OVStringWithFormat(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "%1$.0lf of %2$.0lf records exported")),
            {1234.0, 5000.0}));
        progress.importProgress()->setIndeterminate(false);
        progress.importProgress()->setMaxValue(5000);
        progress.importProgress()->setDoubleValue(1234);
        progress.show();
        QVERIFY(QTest::qWaitForWindowExposed(&progress));
        checkNothingCutOff(&progress);
        saveScreenshot(&progress, fileName(QStringLiteral("progress-sheet"), look));
        progress.hide();

        const KSExportReportDialog report {sampleReport()};
        const std::unique_ptr<QDialog> dialog = report.dialog(controller.infoWindow());
        // The size the window takes on a desktop's screen; the test's screen is a small one.
        dialog->resize(dialog->sizeHint().expandedTo(QSize(780, 420)));
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
        checkNothingCutOff(dialog.get());
        QVERIFY(dialog->findChild<QWidget *>(QStringLiteral("openReport")));
        saveScreenshot(dialog.get(), fileName(QStringLiteral("end-report"), look));
    }
};

QTEST_MAIN(TestScreenshots)
#include "TestScreenshots.moc"
