// One property-list value: string, integer, real, boolean, date, data, array, dictionary or
// keyed-archive UID. The kinds stay apart (the integer 1 never turns into the real 1.0, a date
// stays a date), so what is read can be written back unchanged. Values are implicitly shared:
// copies are cheap and a change detaches.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QSharedDataPointer>
#include <QString>
#include <QStringList>

class OVPlistData;

class OVPlist
{
public:
    enum class Type { Invalid, String, Integer, Real, Boolean, Date, Data, Array, Dictionary, Uid };

    // A dictionary keeps its keys sorted by plain UTF-16 comparison, the order writers use.
    using Array = QList<OVPlist>;
    using Dictionary = QMap<QString, OVPlist>;

    OVPlist(); // invalid: "no value"
    OVPlist(const QString &string);
    OVPlist(const char *utf8String);
    OVPlist(QLatin1String string);
    OVPlist(int value);
    OVPlist(unsigned int value);
    OVPlist(long value);
    OVPlist(unsigned long value);
    OVPlist(long long value);
    OVPlist(unsigned long long value); // kept unsigned when it does not fit a signed 64-bit integer
    OVPlist(double value);
    OVPlist(bool value);
    OVPlist(const QDateTime &date);
    OVPlist(const QByteArray &data);
    OVPlist(const Array &array);
    OVPlist(const QStringList &strings); // an array of strings
    OVPlist(const Dictionary &dictionary);
    OVPlist(const OVPlist &other);
    OVPlist(OVPlist &&other) noexcept;
    OVPlist &operator=(const OVPlist &other);
    OVPlist &operator=(OVPlist &&other) noexcept;
    ~OVPlist();

    static OVPlist array();
    static OVPlist dictionary();
    static OVPlist uid(quint64 value);
    static OVPlist unsignedInteger(quint64 value); // always flagged unsigned

    Type type() const;
    bool isValid() const { return type() != Type::Invalid; }
    bool isString() const { return type() == Type::String; }
    bool isInteger() const { return type() == Type::Integer; }
    bool isReal() const { return type() == Type::Real; }
    bool isNumber() const { return isInteger() || isReal(); }
    bool isBoolean() const { return type() == Type::Boolean; }
    bool isDate() const { return type() == Type::Date; }
    bool isData() const { return type() == Type::Data; }
    bool isArray() const { return type() == Type::Array; }
    bool isDictionary() const { return type() == Type::Dictionary; }
    bool isUid() const { return type() == Type::Uid; }
    // An integer above the signed 64-bit range, kept as unsigned.
    bool isUnsignedInteger() const;

    // Conversions answer the fallback when the value is of another kind. Numbers convert
    // among themselves (integer, real, boolean) the way a number object would.
    QString toString(const QString &fallback = QString()) const;
    qint64 toInteger(qint64 fallback = 0) const;
    quint64 toUnsignedInteger(quint64 fallback = 0) const;
    double toReal(double fallback = 0.0) const;
    bool toBool(bool fallback = false) const;
    QDateTime toDate() const; // UTC; invalid when not a date
    QByteArray toData() const;
    quint64 toUid(quint64 fallback = 0) const;
    Array toArray() const;
    Dictionary toDictionary() const;
    QStringList toStringList() const; // the string members of an array

    // Containers. size() is 0 for scalars.
    qsizetype size() const;
    bool isEmpty() const { return size() == 0; }

    // Arrays
    OVPlist at(qsizetype index) const; // invalid when out of range or not an array
    void append(const OVPlist &value); // turns an invalid value into an array; ignored on scalars
    OVPlist &operator[](qsizetype index); // index must be in range

    // Dictionaries
    bool contains(const QString &key) const;
    OVPlist value(const QString &key) const; // invalid when missing or not a dictionary
    void insert(const QString &key,
                const OVPlist &value); // turns an invalid value into a dictionary; ignored on others
    void remove(const QString &key);
    QStringList keys() const; // sorted
    // Entry for in-place changes; inserts an invalid value when missing. Only for dictionaries
    // and invalid values (which become dictionaries).
    OVPlist &operator[](const QString &key);
    // Entry for in-place changes, or nullptr when missing.
    OVPlist *find(const QString &key);

    // Deep comparison; kinds must match (1 != 1.0 != true).
    bool operator==(const OVPlist &other) const;
    bool operator!=(const OVPlist &other) const { return !(*this == other); }

    // A short readable rendering for logs and test failures.
    QString debugDescription() const;

    static QString typeName(Type type);

private:
    QSharedDataPointer<OVPlistData> d;
};

Q_DECLARE_METATYPE(OVPlist)

char *toString(const OVPlist &value); // QTest failure messages
