#include "app/KSInterfaceTexts.h"

#include "foundation/OVLocalization.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QWidget>

namespace KSInterfaceTexts {

namespace {

QString lookedUp(const QString &english)
{
    if (english.isEmpty())
        return english;
    return QCoreApplication::translate(OVStringTableContext, english.toUtf8().constData());
}

} // namespace

void localize(QWidget *window)
{
    window->setWindowTitle(lookedUp(window->windowTitle()));
    const auto labels = window->findChildren<QLabel *>();
    for (QLabel *label : labels)
        label->setText(lookedUp(label->text()));
    const auto buttons = window->findChildren<QAbstractButton *>();
    for (QAbstractButton *button : buttons)
        button->setText(lookedUp(button->text()));
}

} // namespace KSInterfaceTexts
