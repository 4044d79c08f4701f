// Application-modal alerts, behind a seam: the application shows a message box and waits
// for the person; a test installs a handler that sees the alert and answers at once, so no
// test ever waits for a click.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QMessageBox;
class QWidget;

struct KSAlert
{
    QString messageText;
    QString informativeText;
    // Button titles, the default first; empty means the one standard "OK" button.
    QStringList buttons;

    // Shows the alert application-modally and answers the index of the button pressed.
    int runModal(QWidget *parent = nullptr) const;

    // The message box runModal shows, not yet shown: its buttons carry mnemonics, and it is
    // wide enough that a sentence of an ordinary length stays on one line.
    std::unique_ptr<QMessageBox> messageBox(QWidget *parent = nullptr) const;

    // Replaces the message box for every later alert; an empty handler restores it.
    using Handler = std::function<int(const KSAlert &alert)>;
    static void setHandler(Handler handler);
};
