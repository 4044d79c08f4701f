#include "app/KSAlert.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

namespace {

KSAlert::Handler &installedHandler()
{
    static KSAlert::Handler handler;
    return handler;
}

// Where each button keeps its place among the titles, whatever order the box lays them out in.
const char *const ButtonIndexProperty = "alertButtonIndex";

// Lines longer than this many average characters wrap; shorter ones keep to one line.
constexpr int LongestUnwrappedLine = 75;

// The title with a mnemonic on its first letter, unless it carries one already.
QString withMnemonic(const QString &title)
{
    if (title.contains(QLatin1Char('&')))
        return title;
    return QLatin1Char('&') + title;
}

// A message box lets a word-wrapped label be as narrow as its longest word, and wraps even a
// short sentence into a column; each label is given the width of its text, up to a limit.
void fitLabelToText(QLabel *label, int widthLimit)
{
    if (!label || label->text().isEmpty())
        return;
    int widest = 0;
    const QStringList lines = label->text().split(QLatin1Char('\n'));
    for (const QString &line : lines)
        widest = qMax(widest, label->fontMetrics().horizontalAdvance(line));
    label->setMinimumWidth(qMin(widest + 2, widthLimit));
}

} // namespace

void KSAlert::setHandler(Handler handler)
{
    installedHandler() = std::move(handler);
}

std::unique_ptr<QMessageBox> KSAlert::messageBox(QWidget *parent) const
{
    auto box = std::make_unique<QMessageBox>(parent);
    box->setWindowModality(Qt::ApplicationModal);
    box->setIcon(QMessageBox::Warning);
    box->setText(messageText);
    box->setInformativeText(informativeText);
    QList<QAbstractButton *> added;
    if (buttons.isEmpty()) {
        added.append(box->addButton(QMessageBox::Ok));
    } else {
        for (const QString &title : buttons)
            added.append(box->addButton(withMnemonic(title), QMessageBox::AcceptRole));
    }
    for (int index = 0; index < added.size(); ++index)
        added[index]->setProperty(ButtonIndexProperty, index);
    box->setDefaultButton(qobject_cast<QPushButton *>(added.first()));

    int widthLimit = box->fontMetrics().averageCharWidth() * LongestUnwrappedLine;
    if (const QScreen *screen = parent ? parent->screen() : QGuiApplication::primaryScreen())
        widthLimit = qMin(widthLimit, screen->availableGeometry().width() / 2);
    fitLabelToText(box->findChild<QLabel *>(QStringLiteral("qt_msgbox_label")), widthLimit);
    fitLabelToText(box->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")), widthLimit);
    return box;
}

int KSAlert::runModal(QWidget *parent) const
{
    if (installedHandler())
        return installedHandler()(*this);

    const std::unique_ptr<QMessageBox> box = messageBox(parent);
    box->exec();
    const QAbstractButton *pressed = box->clickedButton();
    return pressed ? pressed->property(ButtonIndexProperty).toInt() : 0;
}
