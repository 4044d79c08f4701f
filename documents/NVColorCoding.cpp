// NSColor and NSFont fields in keyed archives, as macOS writes them.
#include "documents/NVColorCoding.h"

#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVKeyedUnarchiver.h"

#include <mutex>

namespace {

// Components as macOS prints them, blanks between, at most ten significant digits. QColor
// keeps 16 bits a channel, so the shortest text that comes back as the same channel value is
// written: 0.5 rather than 0.5000076294.
QByteArray componentText(const QList<double> &components)
{
    QByteArrayList parts;
    for (const double component : components) {
        const long channel = qRound(component * 65535.0);
        QByteArray text;
        for (int digits = 1; digits <= 10; ++digits) {
            text = QByteArray::number(component, 'g', digits);
            if (qRound(text.toDouble() * 65535.0) == channel)
                break;
        }
        parts.append(text);
    }
    return parts.join(' ');
}

// NSRGB, NSWhite and NSCMYK end in a NUL byte; NSComponents does not. Missing numbers read as 0.
QList<double> components(const QByteArray &text, int wanted)
{
    QList<double> numbers;
    const QByteArray plain = text.left(text.indexOf('\0') < 0 ? text.size() : text.indexOf('\0'));
    for (const QByteArray &part : plain.simplified().split(' ')) {
        if (numbers.size() == wanted + 1)
            break;
        bool ok = false;
        const double value = part.toDouble(&ok);
        if (ok)
            numbers.append(qBound(0.0, value, 1.0));
    }
    return numbers;
}

double componentAt(const QList<double> &numbers, int index, double fallback = 0.0)
{
    return index < numbers.size() ? numbers.at(index) : fallback;
}

} // namespace

namespace NVColorCoding {

void encodeColor(OVKeyedArchiver &coder, const QColor &color, ColorSpace space)
{
    if (!color.isValid()) {
        coder.failWithError(OVText::untranslated(QStringLiteral("An invalid colour cannot be archived.")));
        return;
    }
    QList<double> values;
    QString key;
    switch (space) {
    case CalibratedWhite:
    case DeviceWhite: {
        const QColor rgb = color.toRgb();
        // The luminance weights of the sRGB primaries.
        values = {0.2126 * rgb.redF() + 0.7152 * rgb.greenF() + 0.0722 * rgb.blueF()};
        key = QStringLiteral("NSWhite");
        break;
    }
    case DeviceCMYK: {
        const QColor cmyk = color.toCmyk();
        values = {cmyk.cyanF(), cmyk.magentaF(), cmyk.yellowF(), cmyk.blackF()};
        key = QStringLiteral("NSCMYK");
        break;
    }
    default: {
        const QColor rgb = color.toRgb();
        values = {rgb.redF(), rgb.greenF(), rgb.blueF()};
        key = QStringLiteral("NSRGB");
        space = space == CalibratedRGB ? CalibratedRGB : DeviceRGB;
        break;
    }
    }
    if (color.alphaF() < 1.0)
        values.append(color.alphaF());
    coder.encodeInt(space, QStringLiteral("NSColorSpace"));
    coder.encodeBytes(componentText(values) + '\0', key);
}

QColor decodeColor(OVKeyedUnarchiver &coder)
{
    const bool hasSpace = coder.containsValueForKey(QStringLiteral("NSColorSpace"));
    qint64 space = coder.decodeInt(QStringLiteral("NSColorSpace"));
    if (!hasSpace)
        space = coder.containsValueForKey(QStringLiteral("NSWhite")) ? DeviceWhite : DeviceRGB;
    switch (space) {
    case CalibratedRGB:
    case DeviceRGB: {
        // NSComponents holds the colour in its own (usually sRGB) space, closer to what a
        // Linux screen shows than the generic-RGB NSRGB beside it.
        const bool modern = coder.containsValueForKey(QStringLiteral("NSComponents"));
        const QList<double> numbers
            = components(coder.decodeBytes(modern ? QStringLiteral("NSComponents") : QStringLiteral("NSRGB")), 4);
        return QColor::fromRgbF(float(componentAt(numbers, 0)), float(componentAt(numbers, 1)),
                                float(componentAt(numbers, 2)), float(componentAt(numbers, 3, 1.0)));
    }
    case CalibratedWhite:
    case DeviceWhite: {
        const QString key = coder.containsValueForKey(QStringLiteral("NSWhite")) ? QStringLiteral("NSWhite")
                                                                                 : QStringLiteral("NSComponents");
        const QList<double> numbers = components(coder.decodeBytes(key), 2);
        const float white = float(componentAt(numbers, 0));
        return QColor::fromRgbF(white, white, white, float(componentAt(numbers, 1, 1.0)));
    }
    case DeviceCMYK: {
        const QList<double> numbers = components(coder.decodeBytes(QStringLiteral("NSCMYK")), 5);
        return QColor::fromCmykF(float(componentAt(numbers, 0)), float(componentAt(numbers, 1)),
                                 float(componentAt(numbers, 2)), float(componentAt(numbers, 3)),
                                 float(componentAt(numbers, 4, 1.0)));
    }
    case Named: {
        const QVariant fallback = coder.decodeObject(QStringLiteral("NSColor"));
        return fallback.metaType() == QMetaType::fromType<QColor>() ? fallback.value<QColor>() : QColor();
    }
    default:
        return QColor();
    }
}

QString postScriptName(const QFont &font)
{
    QString name = font.family();
    name.remove(QLatin1Char(' '));
    QString style = font.styleName();
    style.remove(QLatin1Char(' '));
    if (style.isEmpty()) {
        if (font.bold())
            style += QStringLiteral("Bold");
        if (font.italic())
            style += QStringLiteral("Italic");
    }
    return style.isEmpty() ? name : name + QLatin1Char('-') + style;
}

void encodeFont(OVKeyedArchiver &coder, const QFont &font)
{
    coder.encodeObject(postScriptName(font), QStringLiteral("NSName"));
    coder.encodeDouble(font.pointSizeF() > 0 ? font.pointSizeF() : 12.0, QStringLiteral("NSSize"));
    // The flags macOS writes for an ordinary font; their meaning is not documented.
    coder.encodeInt(16, QStringLiteral("NSfFlags"));
}

QFont decodeFont(OVKeyedUnarchiver &coder)
{
    const QString name = coder.decodeObject(QStringLiteral("NSName")).toString();
    const qsizetype dash = name.indexOf(QLatin1Char('-'));
    const QString family = dash < 0 ? name : name.left(dash);
    const QString style = dash < 0 ? QString() : name.mid(dash + 1);
    QFont font(family);
    if (!style.isEmpty())
        font.setStyleName(style);
    if (style.contains(QLatin1String("Bold"), Qt::CaseInsensitive))
        font.setBold(true);
    if (style.contains(QLatin1String("Italic"), Qt::CaseInsensitive)
        || style.contains(QLatin1String("Oblique"), Qt::CaseInsensitive))
        font.setItalic(true);
    const double size = coder.decodeDouble(QStringLiteral("NSSize"));
    if (size > 0 && size < 10000)
        font.setPointSizeF(size);
    return font;
}

void registerClasses()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const QStringList colorClasses {QStringLiteral("NSColor"), QStringLiteral("NSObject")};
        OVKeyedArchiver::registerClass(QMetaType::fromType<QColor>(), QStringLiteral("NSColor"), colorClasses,
                                       [](OVKeyedArchiver &coder, const QVariant &object) {
                                           const QColor color = object.value<QColor>();
                                           encodeColor(coder, color,
                                                       color.spec() == QColor::Cmyk ? DeviceCMYK : DeviceRGB);
                                       });
        OVKeyedUnarchiver::registerClass(QStringLiteral("NSColor"), [](OVKeyedUnarchiver &coder) {
            return QVariant::fromValue(decodeColor(coder));
        });
        const QStringList fontClasses {QStringLiteral("NSFont"), QStringLiteral("NSObject")};
        OVKeyedArchiver::registerClass(
            QMetaType::fromType<QFont>(), QStringLiteral("NSFont"), fontClasses,
            [](OVKeyedArchiver &coder, const QVariant &object) { encodeFont(coder, object.value<QFont>()); });
        OVKeyedUnarchiver::registerClass(
            QStringLiteral("NSFont"), [](OVKeyedUnarchiver &coder) { return QVariant::fromValue(decodeFont(coder)); });
    });
}

} // namespace NVColorCoding
