// The progress sheet: runs one export on a worker thread of its own, follows it through the
// engine's notifications (a title line, an information line and a bar), lets the person
// cancel it, shows an error in an alert after which the application terminates, and ends
// with 1 when the engine has ended (after the report of what arrived) or 0 when it confirms a
// cancellation (after an alert saying so). While it runs, the task bar shows how far the
// export is; when an export that took a while ends while its window is not the active one,
// a desktop notification says how it ended. Its window comes from the interface file
// "ImportPanel".
#pragma once

#include "app/KSAlert.h"
#include "app/KSDesktopNotifier.h"
#include "app/KSLauncherProgress.h"
#include "app/KSSheet.h"
#include "engine/KSImportOperationDelegate.h"
#include "engine/KSImportOptions.h"
#include "engine/KSImportRunner.h"

#include <QElapsedTimer>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <mutex>

namespace Ui {
class ImportPanel;
}
class KSImportOperation;
class KSProgressIndicator;
class QThread;
class ScriptingBackend;

class KSImportPanel : public KSSheet, public KSImportOperationDelegate
{
    Q_OBJECT

public:
    // `backend` reaches the applications for every run; by default the session bus.
    explicit KSImportPanel(QWidget *parent = nullptr, std::shared_ptr<ScriptingBackend> backend = nullptr);
    // Stops following a run that is still going, cancels it and waits for its thread.
    ~KSImportPanel() override;

    KSProgressIndicator *importProgress() const;

    // The upper line (what is being done) and the lower one (how far it is; null shows nothing).
    QString titleMessage() const;
    void setTitleMessage(const QString &message);
    QString informationMessage() const;
    void setInformationMessage(const QString &message);

    // Shows the sheet on `parentWindow` and starts an export with `importOptions` on the
    // sheet's worker thread; `completionHandler` gets the return code when the sheet ends.
    void showSheetOnWindow(QWidget *parentWindow, const KSImportOptions &importOptions,
                           CompletionHandler completionHandler);
    // Whether the next export continues the one an earlier run left unfinished.
    void setResume(bool resume) { m_resume = resume; }

    // The run begun last, while the sheet keeps it (for summaries and tests).
    KSImportOperation *operation() const { return m_runner.operation().get(); }
    // Whether the worker thread of the last run has finished (true before any run).
    bool isOperationFinished() const { return !m_runner.isRunning(); }
    // Returns once the worker thread has finished, serving its hand-offs to this thread.
    void waitForOperation();

    // What tells a person who looked away that the export ended, and the task bar's progress.
    KSDesktopNotifier &desktopNotifier() { return m_desktopNotifier; }
    const KSLauncherProgress &launcherProgress() const { return m_launcherProgress; }
    // Whether the window the sheet is on, or a window of its own such as the sheet, is the
    // active window.
    bool isParentWindowActive() const;

public slots:
    // Asks the engine to stop; the sheet stays until the engine confirms.
    void cancel();
    // Escape and the window's close button cancel the export rather than hide the sheet.
    void reject() override;

public:
    // The engine's notifications, on the main thread while the engine waits.
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, const QString &type) override;
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, quint64 count,
                                                        const QString &type) override;
    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type) override;
    void importOperationDidEncounterError(KSImportOperation *operation, const OVError &error) override;
    void importOperationDidCancel(KSImportOperation *operation) override;
    void importOperationDidEnd(KSImportOperation *operation) override;

    // The alert of a run that failed (after `errorText`) or was cancelled (no error text): what
    // reached Nortavel 3, where the log and the report file are, a Quit button, and an Open
    // Report button when the report file is there.
    static KSAlert endingAlert(const QString &message, const QString &errorText, const KSExportReport &report);
    // Shows `alert` over `parent` until the person answers, and opens the report file when
    // that was the answer.
    static void runEndingAlert(const KSAlert &alert, const KSExportReport &report, QWidget *parent);
    static constexpr int OpenReportButton = 1;

signals:
    void operationFinished();

private:
    class Forwarder;

    // Nothing more the engine sends reaches the sheet, and the engine is told to stop.
    void stopFollowingOperation();
    void setTitleAndInformation(const QString &title, const QString &information);
    // Whether anything reached the target, and where the log and the report file are: what
    // every alert ends with.
    static QString whatReachedTheTarget(const KSExportReport &report);
    // The account of `operation` (null: the sheet's own run; none: an empty one).
    KSExportReport reportOf(KSImportOperation *operation) const;
    // "Nothing was handed to Nortavel 3." or "The library was handed to Nortavel 3."
    static QString whatWasHanded(const KSExportReport &report);
    // At the engine's word that the run is over, before any alert or report: notifies the
    // desktop when the person may have looked away, and marks the task bar's entry.
    void tellADistractedPerson(KSDesktopNotifier::Ending ending, const QString &body);
    // Takes the progress off the task bar, then ends the sheet with `returnCode`.
    void finishSheet(int returnCode);

    std::unique_ptr<Ui::ImportPanel> m_ui;
    std::shared_ptr<ScriptingBackend> m_backend;

    // The sheet's "queue": one worker thread and the operation it runs, for one run.
    KSImportRunner m_runner;
    std::shared_ptr<Forwarder> m_forwarder;
    // Measures the run from the moment the sheet is shown.
    QElapsedTimer m_runTimer;
    KSDesktopNotifier m_desktopNotifier;
    KSLauncherProgress m_launcherProgress;

    mutable std::mutex m_messageMutex;
    QString m_titleMessage;
    QString m_informationMessage;
    bool m_resume = false;
};
