// A sheet: a dialog that is window-modal over one parent window, begun with a completion
// handler and ended with a return code (1 confirmed or finished, 0 cancelled). Both of the
// application's sheets are one.
#pragma once

#include <QDialog>
#include <QPointer>
#include <functional>

class KSSheet : public QDialog
{
    Q_OBJECT

public:
    using CompletionHandler = std::function<void(int returnCode)>;

    explicit KSSheet(QWidget *parent = nullptr);

    // The window the sheet is attached to, while it is.
    QWidget *parentWindow() const { return m_parentWindow; }

    bool isSheetShown() const { return m_completionHandler != nullptr; }

protected:
    // Attaches the sheet to `parentWindow` and shows it; `completionHandler` is called once,
    // with the return code, when the sheet ends.
    void beginSheet(QWidget *parentWindow, CompletionHandler completionHandler);
    // Takes the sheet off the screen, then calls the completion handler with `returnCode`.
    void endSheet(int returnCode);

private:
    QPointer<QWidget> m_parentWindow;
    CompletionHandler m_completionHandler;
};
