#include "app/KSAlert.h"

#include <QMessageBox>
#include <QPushButton>

namespace {

KSAlert::Handler &installedHandler()
{
    static KSAlert::Handler handler;
    return handler;
}

} // namespace

void KSAlert::setHandler(Handler handler)
{
    installedHandler() = std::move(handler);
}

int KSAlert::runModal(QWidget *parent) const
{
    if (installedHandler())
        return installedHandler()(*this);

    QMessageBox box(parent);
    box.setWindowModality(Qt::ApplicationModal);
    box.setIcon(QMessageBox::Warning);
    box.setText(messageText);
    box.setInformativeText(informativeText);
    QList<QAbstractButton *> added;
    if (buttons.isEmpty()) {
        added.append(box.addButton(QMessageBox::Ok));
    } else {
        for (const QString &title : buttons)
            added.append(box.addButton(title, QMessageBox::AcceptRole));
    }
    box.setDefaultButton(qobject_cast<QPushButton *>(added.first()));
    box.exec();
    const auto pressed = added.indexOf(box.clickedButton());
    return pressed < 0 ? 0 : int(pressed);
}
