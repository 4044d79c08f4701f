// The note attributes record, its archive in both format versions, and the coder extensions.
#include "documents/NVNoteAttributes.h"

#include "documents/NVColorCoding.h"
#include "foundation/OVKeyedUnarchiver.h"

#include <QSettings>
#include <mutex>

namespace {

const QString className = QStringLiteral("NVNoteAttributes");

QString subkey(const QString &key, const char *field)
{
    return key + QLatin1Char('.') + QLatin1String(field);
}

} // namespace

void encodeRangeInNortavel(OVKeyedArchiver &coder, const OVRange &range, const QString &key)
{
    // Unsigned 64-bit values travel as their signed bit patterns and come back unchanged.
    coder.encodeInt(qint64(range.location), subkey(key, "location"));
    coder.encodeInt(qint64(range.length), subkey(key, "length"));
}

OVRange decodeRangeInNortavel(OVKeyedUnarchiver &coder, const QString &key)
{
    return OVRange {quint64(coder.decodeInt(subkey(key, "location"))), quint64(coder.decodeInt(subkey(key, "length")))};
}

void encodeCGRectInNortavel(OVKeyedArchiver &coder, const QRectF &rect, const QString &key)
{
    coder.encodeDouble(rect.x(), subkey(key, "origin.x"));
    coder.encodeDouble(rect.y(), subkey(key, "origin.y"));
    coder.encodeDouble(rect.width(), subkey(key, "size.width"));
    coder.encodeDouble(rect.height(), subkey(key, "size.height"));
}

QRectF decodeCGRectInNortavel(OVKeyedUnarchiver &coder, const QString &key)
{
    return QRectF(coder.decodeDouble(subkey(key, "origin.x")), coder.decodeDouble(subkey(key, "origin.y")),
                  coder.decodeDouble(subkey(key, "size.width")), coder.decodeDouble(subkey(key, "size.height")));
}

NVNoteAttributes::NVNoteAttributes()
    : m_fileVersion(currentFileVersion)
{
    const QSettings defaults;
    m_scaleFactor = double(defaults.value(defaultScaleFactorKey()).toFloat());
    m_rulerVisible = defaults.value(showRulerKey()).toBool();
}

NVNoteAttributes::NVNoteAttributes(OVKeyedUnarchiver &coder)
{
    m_fileVersion = coder.decodeInt(QStringLiteral("fileVersion"));
    m_visibleChars = decodeRangeInNortavel(coder, QStringLiteral("visibleChars"));
    m_selectedChars = decodeRangeInNortavel(coder, QStringLiteral("selectedChars"));
    const QVariant typing = coder.decodeObject(QStringLiteral("typingAttributes"));
    if (typing.metaType() == QMetaType::fromType<QVariantMap>())
        m_typingAttributes = typing.toMap();
    m_layoutOrientation = coder.decodeInt(QStringLiteral("layoutOrientation"));
    m_hyphenationFactor = double(coder.decodeFloat(QStringLiteral("hyphenationFactor")));
    m_scaleFactor = coder.decodeDouble(QStringLiteral("scaleFactor"));
    m_rulerVisible = coder.decodeBool(QStringLiteral("rulerVisible"));
    if (m_fileVersion < currentFileVersion) {
        // Archives before version 2000 kept the rectangle as the coder's own rect string and
        // the colour as an archived colour object.
        m_visibleRect = coder.decodeRect(QStringLiteral("visibleRect"));
        const QVariant color = coder.decodeObject(QStringLiteral("backgroundColor"));
        if (color.metaType() == QMetaType::fromType<QColor>())
            m_backgroundColor = color.value<QColor>();
        return;
    }
    m_visibleRect = decodeCGRectInNortavel(coder, QStringLiteral("visibleCGRect"));
    const QVariant components = coder.decodeObject(QStringLiteral("backgroundColorComponents"));
    if (components.metaType() == QMetaType::fromType<QVariantMap>()) {
        const QVariantMap map = components.toMap();
        auto component
            = [&map](const char *name) { return qBound(0.0f, map.value(QLatin1String(name)).toFloat(), 1.0f); };
        m_backgroundColor
            = QColor::fromRgbF(component("red"), component("green"), component("blue"), component("alpha"));
    }
}

QColor NVNoteAttributes::convertBackgroundColorForWriting()
{
    if (!m_backgroundColor.isValid())
        return QColor();
    m_backgroundColor = m_backgroundColor.toRgb();
    return m_backgroundColor;
}

void NVNoteAttributes::encodeWithCoder(OVKeyedArchiver &coder)
{
    coder.encodeInt(currentFileVersion, QStringLiteral("fileVersion"));
    encodeRangeInNortavel(coder, m_visibleChars, QStringLiteral("visibleChars"));
    encodeRangeInNortavel(coder, m_selectedChars, QStringLiteral("selectedChars"));
    if (m_typingAttributes)
        coder.encodeObject(*m_typingAttributes, QStringLiteral("typingAttributes"));
    coder.encodeInt(m_layoutOrientation, QStringLiteral("layoutOrientation"));
    coder.encodeFloat(float(m_hyphenationFactor), QStringLiteral("hyphenationFactor"));
    coder.encodeDouble(m_scaleFactor, QStringLiteral("scaleFactor"));
    encodeCGRectInNortavel(coder, m_visibleRect, QStringLiteral("visibleCGRect"));
    coder.encodeBool(m_rulerVisible, QStringLiteral("rulerVisible"));
    if (!m_backgroundColor.isValid())
        return;
    const QColor rgb = convertBackgroundColorForWriting();
    const bool converted = rgb.isValid();
    const QVariantMap components {
        {QStringLiteral("red"), converted ? rgb.redF() : 0.0f},
        {QStringLiteral("green"), converted ? rgb.greenF() : 0.0f},
        {QStringLiteral("blue"), converted ? rgb.blueF() : 0.0f},
        {QStringLiteral("alpha"), converted ? rgb.alphaF() : 0.0f},
    };
    coder.encodeObject(components, QStringLiteral("backgroundColorComponents"));
}

NVNoteAttributes NVNoteAttributes::copy() const
{
    NVNoteAttributes copy;
    copy.setFileVersion(m_fileVersion);
    copy.setVisibleChars(m_visibleChars);
    copy.setSelectedChars(m_selectedChars);
    copy.setTypingAttributes(m_typingAttributes);
    copy.setLayoutOrientation(m_layoutOrientation);
    copy.setHyphenationFactor(m_hyphenationFactor);
    copy.setVisibleRect(m_visibleRect);
    copy.setRulerVisible(m_rulerVisible);
    copy.setScaleFactor(m_scaleFactor);
    copy.setBackgroundColor(m_backgroundColor);
    return copy;
}

QByteArray NVNoteAttributes::archivedData(OVError *error)
{
    registerClass();
    // The archiver works on a copy; converting here first lets the record itself change too.
    convertBackgroundColorForWriting();
    return OVKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(*this), error);
}

std::optional<NVNoteAttributes> NVNoteAttributes::fromArchivedData(const QByteArray &data, OVError *error)
{
    registerClass();
    return OVKeyedUnarchiver::unarchivedObjectOfClass<NVNoteAttributes>(data, error);
}

void NVNoteAttributes::registerClass()
{
    static std::once_flag once;
    std::call_once(once, [] {
        NVColorCoding::registerClasses();
        OVKeyedArchiver::registerClass(QMetaType::fromType<NVNoteAttributes>(), className,
                                       {className, QStringLiteral("NSObject")},
                                       [](OVKeyedArchiver &coder, const QVariant &object) {
                                           NVNoteAttributes attributes = object.value<NVNoteAttributes>();
                                           attributes.encodeWithCoder(coder);
                                       });
        OVKeyedUnarchiver::registerClass(
            className, [](OVKeyedUnarchiver &coder) { return QVariant::fromValue(NVNoteAttributes(coder)); });
    });
}

bool NVNoteAttributes::operator==(const NVNoteAttributes &other) const
{
    return m_fileVersion == other.m_fileVersion && m_visibleChars == other.m_visibleChars
        && m_selectedChars == other.m_selectedChars && m_typingAttributes == other.m_typingAttributes
        && m_layoutOrientation == other.m_layoutOrientation && m_hyphenationFactor == other.m_hyphenationFactor
        && m_scaleFactor == other.m_scaleFactor && m_rulerVisible == other.m_rulerVisible
        && m_visibleRect == other.m_visibleRect && m_backgroundColor == other.m_backgroundColor;
}
