#include "app/KSFocusStyle.h"

#include "app/KSReadableColors.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOption>

namespace {

// What non-text marks need against their surroundings to be seen.
constexpr double MinimumMarkContrast = 3.0;
constexpr int RingWidth = 2;

void drawRing(QPainter *painter, const QRect &rect, const QPalette &palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    QPen pen(KSFocusStyle::ringColor(palette), RingWidth);
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    const qreal inset = RingWidth / 2.0;
    painter->drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), 3, 3);
    painter->restore();
}

} // namespace

KSFocusStyle::KSFocusStyle(const QString &baseStyleName)
    : QProxyStyle(baseStyleName)
{ }

void KSFocusStyle::installOnDefaultStyle()
{
    QStyle *current = QApplication::style();
    if (!current || qobject_cast<KSFocusStyle *>(current))
        return;
    if (current->name().compare(QStringLiteral("fusion"), Qt::CaseInsensitive) != 0)
        return;
    QApplication::setStyle(new KSFocusStyle(current->name()));
}

QColor KSFocusStyle::ringColor(const QPalette &palette)
{
    return KSReadableColors::readableOn(palette.color(QPalette::Active, QPalette::Highlight),
                                        palette.color(QPalette::Active, QPalette::Window), MinimumMarkContrast);
}

void KSFocusStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    QProxyStyle::drawControl(element, option, painter, widget);
    if (element == CE_PushButton && (option->state & State_HasFocus))
        drawRing(painter, option->rect, option->palette);
}

void KSFocusStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                                 const QWidget *widget) const
{
    if (element == PE_FrameFocusRect) {
        // Around a check box's label, say: the same ring, a little outside the text.
        drawRing(painter, option->rect.adjusted(-1, -1, 1, 1), option->palette);
        return;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}
