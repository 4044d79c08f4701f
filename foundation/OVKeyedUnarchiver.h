// Reads keyed archives written by NSKeyedArchiver (or OVKeyedArchiver) back into QVariants.
//
// The built-in classes mirror OVKeyedArchiver's (NSString, NSNumber, NSData, NSDate, NSArray,
// NSSet, NSDictionary, NSNull, NSURL, NSUUID, NSValue with ranges, rects, points and sizes,
// and their mutable kinds). Other classes join through registerClass() with a decode function
// that reads the object's fields through this coder. A broken archive (a UID outside
// "$objects", an object that holds itself, no root, unknown classes, mismatched dictionary
// halves) ends decoding with an error; nothing recurses without bound.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVPlist.h"

#include <QHash>
#include <QRectF>
#include <QSet>
#include <QVariant>
#include <functional>
#include <optional>

class OVKeyedUnarchiver
{
public:
    using DecodeFunction = std::function<QVariant(OVKeyedUnarchiver &coder)>;

    // Decodes objects whose "$classname" (or, failing that, one of its "$classes") is
    // `className`. The function reads the fields with the decode calls below and answers the
    // object, or calls failWithError().
    static void registerClass(const QString &className, DecodeFunction decode);

    // Objects may nest this deep (arrays in dictionaries in objects...).
    static constexpr int maximumDepth = 256;

    explicit OVKeyedUnarchiver(const OVPlist &archive);
    explicit OVKeyedUnarchiver(const QByteArray &data);

    // The root object, or a null QVariant with an error.
    [[nodiscard]] static QVariant unarchivedObjectWithData(const QByteArray &data, OVError *error = nullptr);
    [[nodiscard]] static QVariant unarchivedObjectWithPropertyList(const OVPlist &archive, OVError *error = nullptr);
    // The root object when it is of `type`; otherwise a null QVariant with an error.
    [[nodiscard]] static QVariant unarchivedObjectOfType(const QByteArray &data, QMetaType type,
                                                         OVError *error = nullptr);
    template<typename T>
    [[nodiscard]] static std::optional<T> unarchivedObjectOfClass(const QByteArray &data, OVError *error = nullptr)
    {
        const QVariant object = unarchivedObjectOfType(data, QMetaType::fromType<T>(), error);
        return object.isValid() ? std::optional<T>(object.value<T>()) : std::nullopt;
    }

    // Field decoders. Inside a decode function they read the fields of the object being decoded;
    // on the unarchiver itself they read the keys of "$top" (the root is "root"). A missing key
    // gives 0, false, an empty value or a null QVariant; a value of the wrong kind fails the archive.
    bool containsValueForKey(const QString &key) const;
    QVariant decodeObject(const QString &key);
    qint64 decodeInt(const QString &key);
    double decodeDouble(const QString &key);
    float decodeFloat(const QString &key);
    bool decodeBool(const QString &key);
    QByteArray decodeBytes(const QString &key);
    QRectF decodeRect(const QString &key); // the NSRect string form "{{x, y}, {w, h}}"

    // The class of the object being decoded.
    QString className() const;
    QStringList classes() const;

    bool hasError() const { return m_failed; }
    OVError error() const { return m_error; }
    // Ends decoding; the first error is kept.
    void failWithError(const OVText &description, int code = DecodeCorruptError);

    static QString errorDomain();
    enum ErrorCode {
        DecodeCorruptError = 4864, // not an archive, broken references, wrong kinds of values
        DecodeUnknownClassError = 4865, // a class nobody registered
        DecodeWrongClassError = 4866, // the root is not of the class asked for
    };

    // Parses "{{x, y}, {w, h}}" (NSRectFromString); anything else gives a null rectangle.
    static QRectF rectFromString(const QString &text);

private:
    struct Frame
    {
        OVPlist::Dictionary fields;
        QString className;
        QStringList classes;
    };

    OVPlist field(const QString &key) const;
    OVPlist resolved(const QString &key); // follows a UID to its entry in "$objects"
    // The resolved value when `accepts` it; otherwise fails the archive with `mismatch` (%1 the key).
    OVPlist typed(const QString &key, bool (*accepts)(const OVPlist &), const char *mismatch);
    OVPlist number(const QString &key);
    QVariant objectAt(quint64 uid);
    QVariant decodeClassObject(const OVPlist &fields);
    QVariant decodeBuiltIn(const QString &className, bool *known);

    OVPlist::Array m_objects;
    OVPlist::Dictionary m_top;
    std::vector<Frame> m_frames; // the objects being decoded, innermost last
    QHash<quint64, QVariant> m_decoded;
    QSet<quint64> m_inProgress;
    bool m_failed = false;
    OVError m_error;
};
