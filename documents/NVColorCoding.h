// Colours and fonts in keyed archives: NSColor as QColor and NSFont as QFont, registered with
// OVKeyedArchiver and OVKeyedUnarchiver.
//
// Reading takes the RGB spaces (NSRGB, or NSComponents where newer archives add it), the white
// spaces (NSWhite), CMYK (NSCMYK) and named colours (through their fallback colour). A QColor
// is written in device RGB, or CMYK when it is a CMYK colour; encodeColor() writes the other
// spaces when a caller needs them.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class OVKeyedArchiver;
class OVKeyedUnarchiver;

namespace NVColorCoding {

// The NSColorSpace codes of archived colours.
enum ColorSpace {
    CalibratedRGB = 1,
    DeviceRGB = 2,
    CalibratedWhite = 3,
    DeviceWhite = 4,
    DeviceCMYK = 5,
    Named = 6,
    Pattern = 10,
};

// Registers NSColor and NSFont with the archiver and the unarchiver; repeated calls are harmless.
void registerClasses();

// The fields of an NSColor in `space` (RGB, white or CMYK), into the object being encoded.
void encodeColor(OVKeyedArchiver &coder, const QColor &color, ColorSpace space);
// An NSColor's fields as a QColor; an invalid QColor for patterns and unusable fields.
QColor decodeColor(OVKeyedUnarchiver &coder);

// The fields of an NSFont, and back.
void encodeFont(OVKeyedArchiver &coder, const QFont &font);
QFont decodeFont(OVKeyedUnarchiver &coder);

// "Menlo-Regular" from a font whose family is Menlo and style Regular; "Helvetica-Bold" from
// a bold Helvetica; "Helvetica" from a plain one.
QString postScriptName(const QFont &font);

} // namespace NVColorCoding
