#include "app/KSReadableColors.h"

#include <algorithm>
#include <cmath>

namespace KSReadableColors {

namespace {

double linearComponent(double component)
{
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

} // namespace

double relativeLuminance(const QColor &color)
{
    const QColor rgb = color.toRgb();
    return 0.2126 * linearComponent(rgb.redF()) + 0.7152 * linearComponent(rgb.greenF())
        + 0.0722 * linearComponent(rgb.blueF());
}

double contrastRatio(const QColor &first, const QColor &second)
{
    const double a = relativeLuminance(first);
    const double b = relativeLuminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor readableOn(const QColor &color, const QColor &background, double minimumRatio)
{
    if (contrastRatio(color, background) >= minimumRatio)
        return color;
    // Which way has room: away from the background's own lightness.
    const bool darkBackground = relativeLuminance(background) < 0.18;
    const QColor end = darkBackground ? QColor(Qt::white) : QColor(Qt::black);
    const QColor start = color.toRgb();
    for (int step = 1; step <= 20; ++step) {
        const double t = step / 20.0;
        const QColor mixed = QColor::fromRgbF(float(start.redF() + (end.redF() - start.redF()) * t),
                                              float(start.greenF() + (end.greenF() - start.greenF()) * t),
                                              float(start.blueF() + (end.blueF() - start.blueF()) * t));
        if (contrastRatio(mixed, background) >= minimumRatio)
            return mixed;
    }
    return end;
}

} // namespace KSReadableColors
