// Writes keyed archives in the layout of NSKeyedArchiver: "$archiver", "$version" 100000,
// "$top" with "root", "$objects" starting with "$null", UIDs, and "$class" dictionaries.
//
// Objects are QVariants. Built in: strings, integers, doubles, floats, booleans, data, dates
// (NSDate), lists (NSArray), string-keyed maps (NSDictionary), nullptr (NSNull), QUrl (NSURL),
// QUuid (NSUUID), OVRange and QRectF (NSValue). Other Qt types join through registerClass()
// with an encode function that writes the object's fields through this coder.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

#include <QHash>
#include <QMetaType>
#include <QRectF>
#include <QVariant>
#include <functional>
#include <vector>

// A range of characters (NSRange).
struct OVRange
{
    quint64 location = 0;
    quint64 length = 0;

    bool operator==(const OVRange &other) const { return location == other.location && length == other.length; }
    bool operator!=(const OVRange &other) const { return !(*this == other); }
};
Q_DECLARE_METATYPE(OVRange)

class OVKeyedArchiver
{
public:
    using EncodeFunction = std::function<void(OVKeyedArchiver &coder, const QVariant &object)>;

    // How values of `type` are archived: the class name, its class chain for "$classes" (most
    // derived first, normally ending in "NSObject") and the function that encodes the fields.
    static void registerClass(QMetaType type, const QString &className, const QStringList &classes,
                              EncodeFunction encode);

    OVKeyedArchiver();

    // Field encoders. Inside an encode function they write the fields of the object being
    // encoded; on the archiver itself they write the keys of "$top" (the root is "root").
    // A key beginning with "$" is stored with one more "$" in front.
    void encodeObject(const QVariant &object, const QString &key); // a null QVariant is $null
    void encodeInt(qint64 value, const QString &key);
    void encodeDouble(double value, const QString &key);
    void encodeFloat(float value, const QString &key); // widened; the value stays a float's
    void encodeBool(bool value, const QString &key);
    void encodeBytes(const QByteArray &bytes, const QString &key);
    void encodeRect(const QRectF &rect, const QString &key); // as the string "{{x, y}, {w, h}}"

    // The first failure (an object of a type nobody registered) ends the archive.
    bool hasError() const { return m_failed; }
    OVError error() const { return m_error; }
    void failWithError(const OVText &description);

    // The finished archive; invalid after a failure.
    OVPlist encodedPropertyList() const;
    QByteArray encodedData(OVPlistSerialization::Format format = OVPlistSerialization::Format::Binary,
                           OVError *error = nullptr) const;

    // An archive whose root object is `root`.
    [[nodiscard]] static OVPlist archivedPropertyListWithRootObject(const QVariant &root, OVError *error = nullptr);
    [[nodiscard]] static QByteArray archivedDataWithRootObject(const QVariant &root, OVError *error = nullptr,
                                                               OVPlistSerialization::Format format
                                                               = OVPlistSerialization::Format::Binary);

    static QString errorDomain();
    enum ErrorCode { EncodeUnknownClassError = 4865 }; // a type nobody registered

    // The NSRect string form, "{{x, y}, {w, h}}".
    static QString stringFromRect(const QRectF &rect);

private:
    OVPlist::Dictionary &current();
    void set(const QString &key, const OVPlist &value);
    quint64 reference(const QVariant &object);
    quint64 stringReference(const QString &text);
    quint64 classReference(const QString &className, const QStringList &classes);
    quint64 object(const QString &className, const QStringList &classes, const std::function<void()> &fields);

    OVPlist::Array m_objects;
    OVPlist::Dictionary m_top;
    std::vector<OVPlist::Dictionary> m_fields; // the objects being encoded, innermost last
    QHash<QString, quint64> m_strings;
    QHash<QString, quint64> m_classes;
    bool m_failed = false;
    OVError m_error;
};
