// Reads the colour strings of the scripting interface into device-RGB colours:
// "rgb R G B A", "gray W A", "cmyk C M Y K A" (components from 0 to 1 as decimal numbers) and
// the CSS/SVG colour keywords. Text that is none of these gives an invalid QColor: the
// conversion "yields no colour". So is any text longer than 4096 characters, which no colour
// needs, so that rubbish of any length costs nothing.
#pragma once

#include <QColor>
#include <QStringView>

namespace ScriptingColor {

QColor deviceRGBColor(QStringView text);

} // namespace ScriptingColor
