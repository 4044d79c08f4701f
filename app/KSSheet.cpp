#include "app/KSSheet.h"

KSSheet::KSSheet(QWidget *parent)
    : QDialog(parent)
{
    setWindowModality(Qt::WindowModal);
}

void KSSheet::beginSheet(QWidget *parentWindow, CompletionHandler completionHandler)
{
    m_parentWindow = parentWindow;
    if (parentWidget() != parentWindow)
        setParent(parentWindow, windowFlags()); // keeps it a dialog, now over this window
    setWindowModality(Qt::WindowModal);
    m_completionHandler = std::move(completionHandler);
    open();
}

void KSSheet::endSheet(int returnCode)
{
    hide();
    // The keyboard goes back to the window the sheet covered, as it does when a sheet ends;
    // not every window manager gives it back by itself.
    if (m_parentWindow && m_parentWindow->isVisible())
        m_parentWindow->activateWindow();
    setResult(returnCode);
    // Taken out first: the handler may begin the sheet again.
    CompletionHandler handler = std::move(m_completionHandler);
    m_completionHandler = nullptr;
    if (handler)
        handler(returnCode);
}
