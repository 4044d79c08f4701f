// The property-list value tree: storage, conversions and comparison.
#include "foundation/OVPlist.h"

#include <QSharedData>
#include <array>
#include <limits>
#include <variant>

// One node of a tree; a large library file holds millions, so it keeps only what every kind
// needs: the kind, the scalar bits, and one payload of the kind's own type.
class OVPlistData : public QSharedData
{
public:
    OVPlist::Type type = OVPlist::Type::Invalid;
    bool isUnsigned = false; // integer stored in `bits` above the signed range
    bool boolean = false;
    union {
        quint64 bits = 0; // integer (two's complement), UID
        double real;
    };
    std::variant<std::monostate, QString, QByteArray, QDateTime, OVPlist::Array, OVPlist::Dictionary> payload;

    // The payload as `T`, made so when it is not: only the node's own kind ever asks.
    template<class T> T &slot()
    {
        if (!std::holds_alternative<T>(payload))
            payload.template emplace<T>();
        return std::get<T>(payload);
    }
    template<class T> const T &slot() const
    {
        static const T empty;
        const T *value = std::get_if<T>(&payload);
        return value ? *value : empty;
    }

    QString &string() { return slot<QString>(); }
    const QString &string() const { return slot<QString>(); }
    QByteArray &data() { return slot<QByteArray>(); }
    const QByteArray &data() const { return slot<QByteArray>(); }
    QDateTime &date() { return slot<QDateTime>(); }
    const QDateTime &date() const { return slot<QDateTime>(); }
    OVPlist::Array &array() { return slot<OVPlist::Array>(); }
    const OVPlist::Array &array() const { return slot<OVPlist::Array>(); }
    OVPlist::Dictionary &dictionary() { return slot<OVPlist::Dictionary>(); }
    const OVPlist::Dictionary &dictionary() const { return slot<OVPlist::Dictionary>(); }
};

namespace {

QSharedDataPointer<OVPlistData> makeData(OVPlist::Type type)
{
    QSharedDataPointer<OVPlistData> d(new OVPlistData);
    d->type = type;
    return d;
}

// Truth values and small integers are common (every item record holds a few) and a node is
// never changed in place once shared, so each of them has one node that all values share.
constexpr long long sharedIntegerLimit = 16;

QSharedDataPointer<OVPlistData> sharedBoolean(bool value)
{
    static const QSharedDataPointer<OVPlistData> nodes[2] = {makeData(OVPlist::Type::Boolean), [] {
                                                                 auto d = makeData(OVPlist::Type::Boolean);
                                                                 d->boolean = true;
                                                                 return d;
                                                             }()};
    return nodes[value ? 1 : 0];
}

QSharedDataPointer<OVPlistData> integerData(long long value)
{
    static const auto nodes = [] {
        std::array<QSharedDataPointer<OVPlistData>, sharedIntegerLimit> made;
        for (long long i = 0; i < sharedIntegerLimit; ++i) {
            made[i] = makeData(OVPlist::Type::Integer);
            made[i]->bits = static_cast<quint64>(i);
        }
        return made;
    }();
    if (value >= 0 && value < sharedIntegerLimit)
        return nodes[static_cast<size_t>(value)];
    QSharedDataPointer<OVPlistData> d = makeData(OVPlist::Type::Integer);
    d->bits = static_cast<quint64>(value);
    return d;
}

} // namespace

OVPlist::OVPlist() = default;

OVPlist::OVPlist(const QString &string)
    : d(makeData(Type::String))
{
    d->string() = string;
}

OVPlist::OVPlist(const char *utf8String)
    : OVPlist(QString::fromUtf8(utf8String))
{ }

OVPlist::OVPlist(QLatin1String string)
    : OVPlist(QString(string))
{ }

OVPlist::OVPlist(int value)
    : OVPlist(static_cast<long long>(value))
{ }

OVPlist::OVPlist(unsigned int value)
    : OVPlist(static_cast<long long>(value))
{ }

OVPlist::OVPlist(long value)
    : OVPlist(static_cast<long long>(value))
{ }

OVPlist::OVPlist(unsigned long value)
    : OVPlist(static_cast<unsigned long long>(value))
{ }

OVPlist::OVPlist(long long value)
    : d(integerData(value))
{ }

OVPlist::OVPlist(unsigned long long value)
    : d(makeData(Type::Integer))
{
    d->bits = value;
    d->isUnsigned = value > static_cast<quint64>(std::numeric_limits<qint64>::max());
}

OVPlist::OVPlist(double value)
    : d(makeData(Type::Real))
{
    d->real = value;
}

OVPlist::OVPlist(bool value)
    : d(sharedBoolean(value))
{ }

OVPlist::OVPlist(const QDateTime &date)
    : d(makeData(Type::Date))
{
    d->date() = date.toUTC();
}

OVPlist::OVPlist(const QByteArray &data)
    : d(makeData(Type::Data))
{
    d->data() = data;
}

OVPlist::OVPlist(const Array &array)
    : d(makeData(Type::Array))
{
    d->array() = array;
}

OVPlist::OVPlist(const QStringList &strings)
    : d(makeData(Type::Array))
{
    d->array().reserve(strings.size());
    for (const QString &string : strings)
        d->array().append(OVPlist(string));
}

OVPlist::OVPlist(const Dictionary &dictionary)
    : d(makeData(Type::Dictionary))
{
    d->dictionary() = dictionary;
}

OVPlist::OVPlist(const OVPlist &other) = default;
OVPlist::OVPlist(OVPlist &&other) noexcept = default;
OVPlist &OVPlist::operator=(const OVPlist &other) = default;
OVPlist &OVPlist::operator=(OVPlist &&other) noexcept = default;
OVPlist::~OVPlist() = default;

OVPlist OVPlist::array()
{
    return OVPlist(Array());
}

OVPlist OVPlist::dictionary()
{
    return OVPlist(Dictionary());
}

OVPlist OVPlist::uid(quint64 value)
{
    OVPlist result;
    result.d = makeData(Type::Uid);
    result.d->bits = value;
    return result;
}

OVPlist OVPlist::unsignedInteger(quint64 value)
{
    OVPlist result(static_cast<unsigned long long>(value));
    result.d->isUnsigned = true;
    return result;
}

OVPlist::Type OVPlist::type() const
{
    return d ? d->type : Type::Invalid;
}

bool OVPlist::isUnsignedInteger() const
{
    return isInteger() && d->isUnsigned;
}

QString OVPlist::toString(const QString &fallback) const
{
    return isString() ? d->string() : fallback;
}

qint64 OVPlist::toInteger(qint64 fallback) const
{
    switch (type()) {
    case Type::Integer:
        return static_cast<qint64>(d->bits);
    case Type::Real:
        if (d->real != d->real)
            return 0;
        if (d->real >= 9.2233720368547758e18)
            return std::numeric_limits<qint64>::max();
        if (d->real <= -9.2233720368547758e18)
            return std::numeric_limits<qint64>::min();
        return static_cast<qint64>(d->real);
    case Type::Boolean:
        return d->boolean ? 1 : 0;
    default:
        return fallback;
    }
}

quint64 OVPlist::toUnsignedInteger(quint64 fallback) const
{
    if (isInteger())
        return d->bits;
    return isNumber() || isBoolean() ? static_cast<quint64>(toInteger()) : fallback;
}

double OVPlist::toReal(double fallback) const
{
    switch (type()) {
    case Type::Real:
        return d->real;
    case Type::Integer:
        return d->isUnsigned ? static_cast<double>(d->bits) : static_cast<double>(static_cast<qint64>(d->bits));
    case Type::Boolean:
        return d->boolean ? 1.0 : 0.0;
    default:
        return fallback;
    }
}

bool OVPlist::toBool(bool fallback) const
{
    switch (type()) {
    case Type::Boolean:
        return d->boolean;
    case Type::Integer:
        return d->bits != 0;
    case Type::Real:
        return d->real != 0.0;
    default:
        return fallback;
    }
}

QDateTime OVPlist::toDate() const
{
    return isDate() ? d->date() : QDateTime();
}

QByteArray OVPlist::toData() const
{
    return isData() ? d->data() : QByteArray();
}

quint64 OVPlist::toUid(quint64 fallback) const
{
    return isUid() ? d->bits : fallback;
}

OVPlist::Array OVPlist::toArray() const
{
    return isArray() ? d->array() : Array();
}

OVPlist::Dictionary OVPlist::toDictionary() const
{
    return isDictionary() ? d->dictionary() : Dictionary();
}

QStringList OVPlist::toStringList() const
{
    QStringList strings;
    if (!isArray())
        return strings;
    strings.reserve(d->array().size());
    for (const OVPlist &member : d->array()) {
        if (member.isString())
            strings.append(member.toString());
    }
    return strings;
}

qsizetype OVPlist::size() const
{
    if (isArray())
        return d->array().size();
    if (isDictionary())
        return d->dictionary().size();
    return 0;
}

OVPlist OVPlist::at(qsizetype index) const
{
    if (!isArray() || index < 0 || index >= d->array().size())
        return OVPlist();
    return d->array().at(index);
}

void OVPlist::append(const OVPlist &value)
{
    if (!isValid())
        d = makeData(Type::Array);
    if (isArray())
        d->array().append(value);
}

OVPlist &OVPlist::operator[](qsizetype index)
{
    Q_ASSERT(isArray() && index >= 0 && index < d->array().size());
    return d->array()[index];
}

bool OVPlist::contains(const QString &key) const
{
    return isDictionary() && d->dictionary().contains(key);
}

OVPlist OVPlist::value(const QString &key) const
{
    return isDictionary() ? d->dictionary().value(key) : OVPlist();
}

void OVPlist::insert(const QString &key, const OVPlist &value)
{
    if (!isValid())
        d = makeData(Type::Dictionary);
    if (isDictionary())
        d->dictionary().insert(key, value);
}

void OVPlist::remove(const QString &key)
{
    if (isDictionary())
        d->dictionary().remove(key);
}

QStringList OVPlist::keys() const
{
    return isDictionary() ? d->dictionary().keys() : QStringList();
}

OVPlist &OVPlist::operator[](const QString &key)
{
    if (!isValid())
        d = makeData(Type::Dictionary);
    Q_ASSERT(isDictionary());
    return d->dictionary()[key];
}

OVPlist *OVPlist::find(const QString &key)
{
    if (!isDictionary())
        return nullptr;
    const auto it = d->dictionary().find(key);
    return it == d->dictionary().end() ? nullptr : &it.value();
}

bool OVPlist::operator==(const OVPlist &other) const
{
    if (d == other.d)
        return true;
    if (type() != other.type())
        return false;
    switch (type()) {
    case Type::Invalid:
        return true;
    case Type::String:
        return d->string() == other.d->string();
    case Type::Integer:
        return d->bits == other.d->bits && d->isUnsigned == other.d->isUnsigned;
    case Type::Uid:
        return d->bits == other.d->bits;
    case Type::Real:
        return d->real == other.d->real || (d->real != d->real && other.d->real != other.d->real);
    case Type::Boolean:
        return d->boolean == other.d->boolean;
    case Type::Date:
        return d->date() == other.d->date();
    case Type::Data:
        return d->data() == other.d->data();
    case Type::Array:
        return d->array() == other.d->array();
    case Type::Dictionary:
        return d->dictionary() == other.d->dictionary();
    }
    return false;
}

QString OVPlist::typeName(Type type)
{
    switch (type) {
    case Type::Invalid:
        return QStringLiteral("invalid");
    case Type::String:
        return QStringLiteral("string");
    case Type::Integer:
        return QStringLiteral("integer");
    case Type::Real:
        return QStringLiteral("real");
    case Type::Boolean:
        return QStringLiteral("boolean");
    case Type::Date:
        return QStringLiteral("date");
    case Type::Data:
        return QStringLiteral("data");
    case Type::Array:
        return QStringLiteral("array");
    case Type::Dictionary:
        return QStringLiteral("dictionary");
    case Type::Uid:
        return QStringLiteral("uid");
    }
    return QString();
}

QString OVPlist::debugDescription() const
{
    switch (type()) {
    case Type::Invalid:
        return QStringLiteral("(invalid)");
    case Type::String:
        return QLatin1Char('"') + d->string() + QLatin1Char('"');
    case Type::Integer:
        return d->isUnsigned ? QString::number(d->bits) : QString::number(static_cast<qint64>(d->bits));
    case Type::Real:
        return QString::number(d->real, 'g', 17) + QStringLiteral(" (real)");
    case Type::Boolean:
        return d->boolean ? QStringLiteral("true") : QStringLiteral("false");
    case Type::Date:
        return d->date().toString(Qt::ISODateWithMs);
    case Type::Data:
        return QStringLiteral("<%1 bytes>").arg(d->data().size());
    case Type::Uid:
        return QStringLiteral("UID(%1)").arg(d->bits);
    case Type::Array: {
        QStringList parts;
        for (const OVPlist &member : d->array())
            parts.append(member.debugDescription());
        return QLatin1Char('(') + parts.join(QStringLiteral(", ")) + QLatin1Char(')');
    }
    case Type::Dictionary: {
        QStringList parts;
        for (auto it = d->dictionary().cbegin(); it != d->dictionary().cend(); ++it)
            parts.append(it.key() + QStringLiteral(" = ") + it.value().debugDescription());
        return QLatin1Char('{') + parts.join(QStringLiteral("; ")) + QLatin1Char('}');
    }
    }
    return QString();
}

char *toString(const OVPlist &value)
{
    return qstrdup(value.debugDescription().toUtf8().constData());
}
