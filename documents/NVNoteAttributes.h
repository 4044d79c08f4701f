// The view state kept beside a note's rich text: visible and selected characters, typing
// attributes, layout orientation, hyphenation, zoom, ruler, visible rectangle and page
// colour. A plain value record that is keyed-archived as the "NoteAttributes" member of a note
// package; its archive carries a format version so that older archives are still read.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVKeyedArchiver.h"

#include <QColor>
#include <QMetaType>
#include <QRectF>
#include <QVariantMap>
#include <optional>

class OVKeyedUnarchiver;

class NVNoteAttributes
{
public:
    // The archive format this class writes.
    static constexpr qint64 currentFileVersion = 2000;

    // User-default keys read by the default constructor.
    static QString defaultScaleFactorKey() { return QStringLiteral("DefaultNoteScaleFactor"); }
    static QString showRulerKey() { return QStringLiteral("NewNotesShowRuler"); }

    // A new record: version 2000, zoom and ruler from the user defaults (QSettings), the rest
    // zero or null.
    NVNoteAttributes();
    // A record read from an archive. Nothing is defaulted: a missing key gives 0, null or false.
    explicit NVNoteAttributes(OVKeyedUnarchiver &coder);

    // Writes the record. Writing converts a background colour to device RGB and keeps the
    // converted colour in the record.
    void encodeWithCoder(OVKeyedArchiver &coder);
    // A new record made through the default constructor with every field of this one; the
    // typing attributes and the colour are shared, and the file version is kept.
    NVNoteAttributes copy() const;

    // The record as a keyed archive with itself as the root (binary, as macOS writes it).
    [[nodiscard]] QByteArray archivedData(OVError *error = nullptr);
    // The record in an archive; nothing with an error when the archive is broken or its root is
    // not a note attributes record.
    [[nodiscard]] static std::optional<NVNoteAttributes> fromArchivedData(const QByteArray &data,
                                                                          OVError *error = nullptr);

    // Makes the class known to the keyed archiver and unarchiver (and colours and fonts with it).
    static void registerClass();

    qint64 fileVersion() const { return m_fileVersion; }
    void setFileVersion(qint64 fileVersion) { m_fileVersion = fileVersion; }
    OVRange visibleChars() const { return m_visibleChars; }
    void setVisibleChars(const OVRange &range) { m_visibleChars = range; }
    OVRange selectedChars() const { return m_selectedChars; }
    void setSelectedChars(const OVRange &range) { m_selectedChars = range; }
    // Text attributes by name (QFont under "NSFont", QColor under "NSColor"...); nullopt is null.
    std::optional<QVariantMap> typingAttributes() const { return m_typingAttributes; }
    void setTypingAttributes(const std::optional<QVariantMap> &attributes) { m_typingAttributes = attributes; }
    qint64 layoutOrientation() const { return m_layoutOrientation; }
    void setLayoutOrientation(qint64 orientation) { m_layoutOrientation = orientation; }
    double hyphenationFactor() const { return m_hyphenationFactor; }
    void setHyphenationFactor(double factor) { m_hyphenationFactor = factor; }
    double scaleFactor() const { return m_scaleFactor; }
    void setScaleFactor(double factor) { m_scaleFactor = factor; }
    bool rulerVisible() const { return m_rulerVisible; }
    void setRulerVisible(bool visible) { m_rulerVisible = visible; }
    QRectF visibleRect() const { return m_visibleRect; }
    void setVisibleRect(const QRectF &rect) { m_visibleRect = rect; }
    // An invalid QColor is no colour.
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor &color) { m_backgroundColor = color; }

    bool operator==(const NVNoteAttributes &other) const;
    bool operator!=(const NVNoteAttributes &other) const { return !(*this == other); }

private:
    // The device RGB form of the background colour, stored back; invalid when there is none.
    QColor convertBackgroundColorForWriting();

    qint64 m_fileVersion = 0;
    OVRange m_visibleChars;
    OVRange m_selectedChars;
    std::optional<QVariantMap> m_typingAttributes;
    qint64 m_layoutOrientation = 0;
    double m_hyphenationFactor = 0.0;
    double m_scaleFactor = 0.0;
    bool m_rulerVisible = false;
    QRectF m_visibleRect;
    QColor m_backgroundColor;
};

Q_DECLARE_METATYPE(NVNoteAttributes)

// The keyed-coder extensions the record's archive uses for ranges and rectangles. The target
// application reads the same form: a range as two integers under "<key>.location" and
// "<key>.length"; a rectangle as four doubles under "<key>.origin.x", "<key>.origin.y",
// "<key>.size.width" and "<key>.size.height" (the field names of the geometry structures,
// in the dotted style of NSValue's own "NS.rangeval.location").
void encodeRangeInNortavel(OVKeyedArchiver &coder, const OVRange &range, const QString &key);
OVRange decodeRangeInNortavel(OVKeyedUnarchiver &coder, const QString &key);
void encodeCGRectInNortavel(OVKeyedArchiver &coder, const QRectF &rect, const QString &key);
QRectF decodeCGRectInNortavel(OVKeyedUnarchiver &coder, const QString &key);
