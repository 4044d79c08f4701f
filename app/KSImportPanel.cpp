#include "app/KSImportPanel.h"

#include "app/KSAlert.h"
#include "app/KSApplicationTermination.h"
#include "app/KSDesktopOpen.h"
#include "app/KSExportReportDialog.h"
#include "app/KSInterfaceTexts.h"
#include "app/KSProgressIndicator.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"
#include "ui_ImportPanel.h"

#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QThread>

// The engine holds its delegate strongly, while the sheet belongs to its window: the engine
// gets this small forwarder instead, which drops whatever arrives once the sheet has stopped
// following the run or is gone.
class KSImportPanel::Forwarder : public KSImportOperationDelegate
{
public:
    explicit Forwarder(KSImportPanel *panel)
        : m_panel(panel)
    { }

    void detach() { m_panel.clear(); }

    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, const QString &type) override
    {
        if (m_panel)
            m_panel->importOperationWillStartImportingRecordsOfType(operation, type);
    }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, quint64 count,
                                                        const QString &type) override
    {
        if (m_panel)
            m_panel->importOperationWillStartImportingRecordsOfType(operation, count, type);
    }
    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type) override
    {
        if (m_panel)
            m_panel->importOperationDidImportRecordOfType(operation, type);
    }
    void importOperationDidEncounterError(KSImportOperation *operation, const OVError &error) override
    {
        if (m_panel)
            m_panel->importOperationDidEncounterError(operation, error);
    }
    void importOperationDidCancel(KSImportOperation *operation) override
    {
        if (m_panel)
            m_panel->importOperationDidCancel(operation);
    }
    void importOperationDidEnd(KSImportOperation *operation) override
    {
        if (m_panel)
            m_panel->importOperationDidEnd(operation);
    }

private:
    // Only touched on the main thread, where every notification arrives.
    QPointer<KSImportPanel> m_panel;
};

KSImportPanel::KSImportPanel(QWidget *parent, std::shared_ptr<ScriptingBackend> backend)
    : KSSheet(parent)
    , m_ui(std::make_unique<Ui::ImportPanel>())
    , m_backend(std::move(backend))
{
    m_ui->setupUi(this);
    KSInterfaceTexts::localize(this);
    m_ui->importProgress->setUsesThreadedAnimation(true);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &KSImportPanel::cancel);
    connect(&m_runner, &KSImportRunner::finished, this, &KSImportPanel::operationFinished);
}

KSImportPanel::~KSImportPanel()
{
    if (m_runner.operation()) {
        stopFollowingOperation();
        waitForOperation();
    }
}

KSProgressIndicator *KSImportPanel::importProgress() const
{
    return m_ui->importProgress;
}

QString KSImportPanel::titleMessage() const
{
    const std::lock_guard<std::mutex> lock(m_messageMutex);
    return m_titleMessage;
}

void KSImportPanel::setTitleMessage(const QString &message)
{
    {
        const std::lock_guard<std::mutex> lock(m_messageMutex);
        m_titleMessage = message;
    }
    m_ui->titleLabel->setText(message);
}

QString KSImportPanel::informationMessage() const
{
    const std::lock_guard<std::mutex> lock(m_messageMutex);
    return m_informationMessage;
}

void KSImportPanel::setInformationMessage(const QString &message)
{
    {
        const std::lock_guard<std::mutex> lock(m_messageMutex);
        m_informationMessage = message;
    }
    m_ui->informationLabel->setText(message);
}

void KSImportPanel::setTitleAndInformation(const QString &title, const QString &information)
{
    setTitleMessage(title);
    setInformationMessage(information);
}

void KSImportPanel::showSheetOnWindow(QWidget *parentWindow, const KSImportOptions &importOptions,
                                      CompletionHandler completionHandler)
{
    if (m_runner.operation()) {
        // A sheet runs one export at a time; the one before must be over first.
        stopFollowingOperation();
        waitForOperation();
    }

    importProgress()->setIndeterminate(true);
    importProgress()->startAnimation();
    setTitleAndInformation(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Preparing...")), QString());
    beginSheet(parentWindow, std::move(completionHandler));
    m_runTimer.start();

    m_forwarder = std::make_shared<Forwarder>(this);
    auto operation = std::make_shared<KSImportOperation>(importOptions, m_forwarder, m_backend);
    operation->setResume(m_resume);
    m_runner.start(operation);
}

void KSImportPanel::waitForOperation()
{
    if (!m_runner.operation())
        return;
    if (m_runner.isRunning()) {
        // The worker hands every notification to this thread and waits for it, so this
        // thread must go on serving events until the worker is through.
        QEventLoop loop;
        connect(this, &KSImportPanel::operationFinished, &loop, &QEventLoop::quit);
        loop.exec();
    }
    m_runner.wait();
}

void KSImportPanel::cancel()
{
    importProgress()->setIndeterminate(false);
    importProgress()->stopAnimation();
    setTitleAndInformation(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Cancelling...")), QString());
    if (m_runner.operation())
        m_runner.operation()->cancel();
}

void KSImportPanel::reject()
{
    cancel();
}

void KSImportPanel::stopFollowingOperation()
{
    if (m_forwarder)
        m_forwarder->detach();
    if (m_runner.operation())
        m_runner.operation()->cancel();
}

void KSImportPanel::importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type)
{
    importProgress()->setIndeterminate(true);
    importProgress()->startAnimation();
    setTitleAndInformation(
        OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Exporting %@")), {type}), QString());
}

void KSImportPanel::importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                                   const QString &type)
{
    KSProgressIndicator *progress = importProgress();
    progress->stopAnimation();
    progress->setIndeterminate(false);
    progress->setMinValue(0.0);
    progress->setMaxValue(double(count));
    progress->setDoubleValue(0.0);
    m_launcherProgress.setProgress(0.0);
    setTitleAndInformation(
        OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Exporting %@")), {type}), QString());
}

void KSImportPanel::importOperationDidImportRecordOfType(KSImportOperation *, const QString &)
{
    KSProgressIndicator *progress = importProgress();
    progress->incrementBy(1.0);
    if (progress->maxValue() > progress->minValue())
        m_launcherProgress.setProgress((progress->doubleValue() - progress->minValue())
                                       / (progress->maxValue() - progress->minValue()));
    setInformationMessage(OVStringWithFormat(
        OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "%1$.0lf of %2$.0lf records exported")),
        {progress->doubleValue(), progress->maxValue()}));
}

void KSImportPanel::importOperationDidEncounterError(KSImportOperation *operation, const OVError &error)
{
    const QString errorText = error.localizedDescription.isEmpty()
        ? OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "An unknown error occurred."))
        : error.localizedDescription;
    const KSExportReport report = reportOf(operation);
    tellADistractedPerson(KSDesktopNotifier::Ending::Failed, errorText + QLatin1Char('\n') + whatWasHanded(report));
    runEndingAlert(
        endingAlert(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "An error occurred while exporting.")),
                    errorText, report),
        report, this);
    // No export goes on past an error shown to the person: whatever the engine still sends
    // (its cancellation, its end) no longer reaches the sheet.
    stopFollowingOperation();
    m_launcherProgress.hide();
    KSApplicationTermination::terminate();
}

void KSImportPanel::importOperationDidCancel(KSImportOperation *operation)
{
    const KSExportReport report = reportOf(operation);
    tellADistractedPerson(KSDesktopNotifier::Ending::Cancelled, whatWasHanded(report));
    runEndingAlert(endingAlert(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "The export was cancelled.")),
                               QString(), report),
                   report, this);
    finishSheet(0);
}

void KSImportPanel::importOperationDidEnd(KSImportOperation *operation)
{
    KSExportReportDialog dialog {KSExportReport::ofOperation(*operation)};
    tellADistractedPerson(KSDesktopNotifier::Ending::Ended, KSDesktopNotifier::countsText(dialog.report));
    dialog.runModal(this);
    finishSheet(1);
}

void KSImportPanel::finishSheet(int returnCode)
{
    m_launcherProgress.hide();
    endSheet(returnCode);
}

bool KSImportPanel::isParentWindowActive() const
{
    const QWidget *window = parentWindow();
    // The sheet and the alerts over the window are windows of their own, children of it.
    for (const QWidget *active = QApplication::activeWindow(); window && active; active = active->parentWidget()) {
        if (active == window)
            return true;
    }
    return false;
}

void KSImportPanel::tellADistractedPerson(KSDesktopNotifier::Ending ending, const QString &body)
{
    const std::chrono::milliseconds duration {m_runTimer.isValid() ? m_runTimer.elapsed() : 0};
    if (!m_desktopNotifier.shouldNotify(duration, isParentWindowActive()))
        return;
    KSDesktopNotifier::notify(KSDesktopNotifier::summaryText(ending), body);
    m_launcherProgress.setUrgent(true);
}

KSExportReport KSImportPanel::reportOf(KSImportOperation *operation) const
{
    if (!operation)
        operation = m_runner.operation().get();
    return operation ? KSExportReport::ofOperation(*operation) : KSExportReport();
}

QString KSImportPanel::whatWasHanded(const KSExportReport &report)
{
    return report.libraryFile.isEmpty()
        ? OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Nothing was handed to Nortavel 3."))
        : OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "The library was handed to Nortavel 3."));
}

QString KSImportPanel::whatReachedTheTarget(const KSExportReport &report)
{
    const KSExportReportDialog files {report};
    QStringList sentences {whatWasHanded(report), report.keptExportFolderText(), files.logText(),
                           files.reportFileText()};
    sentences.removeAll(QString());
    return sentences.join(QLatin1Char(' '));
}

KSAlert KSImportPanel::endingAlert(const QString &message, const QString &errorText, const KSExportReport &report)
{
    KSAlert alert;
    alert.messageText = message;
    alert.informativeText = errorText.isEmpty() ? whatReachedTheTarget(report)
                                                : errorText + QStringLiteral("\n\n") + whatReachedTheTarget(report);
    alert.buttons = QStringList {OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Quit"))};
    if (KSExportReportDialog {report}.canOpenReportFile())
        alert.buttons.append(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Open &Report")));
    return alert;
}

void KSImportPanel::runEndingAlert(const KSAlert &alert, const KSExportReport &report, QWidget *parent)
{
    // The report opens in an application of its own, which stays when this one quits.
    if (alert.runModal(parent) == OpenReportButton && alert.buttons.size() > OpenReportButton)
        KSDesktopOpen::open(report.reportFile, parent);
}
