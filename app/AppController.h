// The application's controller: owns the information window, the export options and the
// two sheets. At launch it shows the window with the notes; its three buttons run the
// export under the progress sheet, open the options sheet, and quit. After an export, how
// ever it ended, the application quits: one run of the application makes one export.
#pragma once

#include "engine/KSImportOptions.h"

#include <QObject>
#include <QVariantMap>
#include <memory>

namespace Ui {
class MainWindow;
}
class KSImportPanel;
class KSOptionsPanel;
class QMainWindow;
class QTextEdit;
class ScriptingBackend;

class AppController : public QObject
{
    Q_OBJECT

public:
    // Makes the seven options, all on, and the information window (not yet shown). `backend`
    // reaches the applications; by default the session bus.
    explicit AppController(std::shared_ptr<ScriptingBackend> backend = nullptr, QObject *parent = nullptr);
    ~AppController() override;

    QMainWindow *infoWindow() const { return m_infoWindow.get(); }
    QTextEdit *notesTextView() const;
    // Null until first used.
    KSImportPanel *importPanel() const { return m_importPanel.get(); }
    KSOptionsPanel *optionsPanel() const { return m_optionsPanel.get(); }
    const KSImportOptions &importOptions() const { return m_importOptions; }

    // Closing the information window quits.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
    // Loads the notes into the window, centres it and brings it to the front.
    void applicationWillFinishLaunching();

public slots:
    // Runs the export under the progress sheet, then terminates the application.
    void import();
    // Lets the person choose the kinds of items; a confirmed choice replaces the options.
    void showOptions();
    // Terminates the application.
    void cancel();
    // Ctrl+Q and Escape: terminates the application unless an export is running.
    void quitUnlessExporting();

public:
    // Whether the progress sheet is up.
    bool isExporting() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::shared_ptr<ScriptingBackend> m_backend;
    // The window first: the sheets, its children, must go before it does.
    std::unique_ptr<QMainWindow> m_infoWindow;
    std::unique_ptr<Ui::MainWindow> m_ui;
    std::unique_ptr<KSImportPanel> m_importPanel;
    std::unique_ptr<KSOptionsPanel> m_optionsPanel;
    KSImportOptions m_importOptions;
};
