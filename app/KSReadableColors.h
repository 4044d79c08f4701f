// Colour arithmetic for text that must stay readable whatever the palette: the contrast ratio
// of two colours as accessibility guidelines define it, and a colour moved just far enough
// towards black or white to reach a ratio against its background.
#pragma once

#include <QColor>

namespace KSReadableColors {

// The smallest contrast text may have against its background: 4.5 to 1.
inline constexpr double MinimumTextContrast = 4.5;

// The relative luminance of `color` (0 black, 1 white), from its sRGB components.
double relativeLuminance(const QColor &color);

// (lighter + 0.05) / (darker + 0.05): 1 for equal colours, 21 for black on white.
double contrastRatio(const QColor &first, const QColor &second);

// `color` itself when it reaches `minimumRatio` against `background`; otherwise the same hue
// made darker on a light background or lighter on a dark one, step by step, until it does
// (black or white at the very end, which always reach 4.5).
QColor readableOn(const QColor &color, const QColor &background, double minimumRatio = MinimumTextContrast);

} // namespace KSReadableColors
