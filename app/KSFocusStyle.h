// A clearly visible keyboard focus. The default style marks a focused button or check box
// with a one-pixel outline in a shade close to the button's own, which is hard to find on
// many screens. This style draws, on top of whatever the style it wraps draws, a two-pixel
// ring in the palette's highlight colour, moved to stand at least 3:1 against the window.
#pragma once

#include <QProxyStyle>

class KSFocusStyle : public QProxyStyle
{
    Q_OBJECT

public:
    // Wraps the style named `baseStyleName`.
    explicit KSFocusStyle(const QString &baseStyleName);

    // Wraps the application's style when it is the default one (styles of a desktop theme
    // draw their own focus and stay as they are).
    static void installOnDefaultStyle();

    // The colour of the ring on `palette`.
    static QColor ringColor(const QPalette &palette);

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget = nullptr) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget = nullptr) const override;
};
