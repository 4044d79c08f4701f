// Keyed archive reader: resolves UIDs in "$objects" into QVariants, one object at a time,
// each at most once.
#include "foundation/OVKeyedUnarchiver.h"

#include "foundation/OVLocalization.h"
#include "foundation/OVPlistSerialization.h"

#include <QDateTime>
#include <QPointF>
#include <QReadWriteLock>
#include <QRegularExpression>
#include <QSizeF>
#include <QUrl>
#include <QUuid>
#include <cmath>

namespace {

QReadWriteLock &registryLock()
{
    static QReadWriteLock lock;
    return lock;
}

QHash<QString, OVKeyedUnarchiver::DecodeFunction> &registry()
{
    static QHash<QString, OVKeyedUnarchiver::DecodeFunction> entries;
    return entries;
}

OVKeyedUnarchiver::DecodeFunction registeredDecoder(const QString &className)
{
    QReadLocker locker(&registryLock());
    return registry().value(className);
}

// Seconds between the Unix epoch and NSDate's reference date, 2001-01-01T00:00:00Z.
constexpr double referenceDateOffsetSeconds = 978307200.0;

// The numbers of "{{x, y}, {w, h}}", "{x, y}" and the like.
QList<double> numbersIn(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("[-+]?(?:\\d+\\.?\\d*|\\.\\d+)(?:[eE][-+]?\\d+)?"));
    QList<double> numbers;
    auto matches = number.globalMatch(text);
    while (matches.hasNext() && numbers.size() < 5)
        numbers.append(matches.next().captured().toDouble());
    return numbers;
}

bool isOneOf(const QString &name, std::initializer_list<const char *> names)
{
    for (const char *candidate : names) {
        if (name == QLatin1String(candidate))
            return true;
    }
    return false;
}

QString escapedKey(const QString &key)
{
    return key.startsWith(QLatin1Char('$')) ? QLatin1Char('$') + key : key;
}

} // namespace

void OVKeyedUnarchiver::registerClass(const QString &className, DecodeFunction decode)
{
    QWriteLocker locker(&registryLock());
    registry().insert(className, std::move(decode));
}

QString OVKeyedUnarchiver::errorDomain()
{
    return OVKeyedArchiver::errorDomain();
}

QRectF OVKeyedUnarchiver::rectFromString(const QString &text)
{
    const QList<double> numbers = numbersIn(text);
    if (numbers.size() != 4)
        return QRectF();
    return QRectF(numbers[0], numbers[1], numbers[2], numbers[3]);
}

OVKeyedUnarchiver::OVKeyedUnarchiver(const OVPlist &archive)
{
    const OVPlist objects = archive.value(QStringLiteral("$objects"));
    const OVPlist top = archive.value(QStringLiteral("$top"));
    if (!objects.isArray() || !top.isDictionary()) {
        failWithError(OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a keyed archive.")));
        return;
    }
    m_objects = objects.toArray();
    m_top = top.toDictionary();
}

OVKeyedUnarchiver::OVKeyedUnarchiver(const QByteArray &data)
{
    OVError error;
    const OVPlist archive = OVPlistSerialization::propertyListWithData(data, nullptr, &error);
    if (!archive.isValid()) {
        failWithError(OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a keyed archive."))
                      + OVText::untranslated(QStringLiteral(" ")) + error.description());
        return;
    }
    *this = OVKeyedUnarchiver(archive);
}

QVariant OVKeyedUnarchiver::unarchivedObjectWithPropertyList(const OVPlist &archive, OVError *error)
{
    OVKeyedUnarchiver unarchiver(archive);
    if (!unarchiver.hasError() && !unarchiver.containsValueForKey(QStringLiteral("root")))
        unarchiver.failWithError(
            OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive has no root object.")));
    const QVariant root = unarchiver.decodeObject(QStringLiteral("root"));
    if (unarchiver.hasError()) {
        if (error)
            *error = unarchiver.error();
        return QVariant();
    }
    return root;
}

QVariant OVKeyedUnarchiver::unarchivedObjectWithData(const QByteArray &data, OVError *error)
{
    OVError readError;
    const OVPlist archive = OVPlistSerialization::propertyListWithData(data, nullptr, &readError);
    if (!archive.isValid()) {
        OVSetError(error, errorDomain(), DecodeCorruptError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a keyed archive."))
                       + OVText::untranslated(QStringLiteral(" ")) + readError.description());
        return QVariant();
    }
    return unarchivedObjectWithPropertyList(archive, error);
}

QVariant OVKeyedUnarchiver::unarchivedObjectOfType(const QByteArray &data, QMetaType type, OVError *error)
{
    const QVariant root = unarchivedObjectWithData(data, error);
    if (root.isValid() && root.metaType() == type)
        return root;
    if (root.isValid() || (error && error->domain.isEmpty()))
        OVSetError(error, errorDomain(), DecodeWrongClassError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive's root object is not a %1."))
                       .arg(QString::fromLatin1(type.name())));
    return QVariant();
}

void OVKeyedUnarchiver::failWithError(const OVText &description, int code)
{
    if (m_failed)
        return;
    m_failed = true;
    m_error = OVMakeError(errorDomain(), code, description);
}

QString OVKeyedUnarchiver::className() const
{
    return m_frames.empty() ? QString() : m_frames.back().className;
}

QStringList OVKeyedUnarchiver::classes() const
{
    return m_frames.empty() ? QStringList() : m_frames.back().classes;
}

OVPlist OVKeyedUnarchiver::field(const QString &key) const
{
    const OVPlist::Dictionary &fields = m_frames.empty() ? m_top : m_frames.back().fields;
    return fields.value(escapedKey(key));
}

bool OVKeyedUnarchiver::containsValueForKey(const QString &key) const
{
    return !m_failed && field(key).isValid();
}

OVPlist OVKeyedUnarchiver::resolved(const QString &key)
{
    const OVPlist value = field(key);
    if (!value.isUid())
        return value;
    if (value.toUid() >= quint64(m_objects.size())) {
        failWithError(OVLocalizedText(
            QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive refers to an object it does not hold.")));
        return OVPlist();
    }
    return m_objects.at(qsizetype(value.toUid()));
}

OVPlist OVKeyedUnarchiver::typed(const QString &key, bool (*accepts)(const OVPlist &), const char *mismatch)
{
    if (m_failed)
        return OVPlist();
    const OVPlist value = resolved(key);
    if (value.isValid() && !accepts(value)) {
        failWithError(OVLocalizedText(mismatch).arg(key));
        return OVPlist();
    }
    return value;
}

OVPlist OVKeyedUnarchiver::number(const QString &key)
{
    return typed(
        key, [](const OVPlist &value) { return value.isNumber() || value.isBoolean(); },
        QT_TRANSLATE_NOOP("KastrelImporter", "The value for the key %1 is not a number."));
}

qint64 OVKeyedUnarchiver::decodeInt(const QString &key)
{
    return number(key).toInteger();
}

double OVKeyedUnarchiver::decodeDouble(const QString &key)
{
    return number(key).toReal();
}

float OVKeyedUnarchiver::decodeFloat(const QString &key)
{
    return float(number(key).toReal());
}

bool OVKeyedUnarchiver::decodeBool(const QString &key)
{
    return number(key).toBool();
}

QByteArray OVKeyedUnarchiver::decodeBytes(const QString &key)
{
    return typed(
               key, [](const OVPlist &value) { return value.isData(); },
               QT_TRANSLATE_NOOP("KastrelImporter", "The value for the key %1 is not data."))
        .toData();
}

QRectF OVKeyedUnarchiver::decodeRect(const QString &key)
{
    const OVPlist text = typed(
        key, [](const OVPlist &value) { return value.isString(); },
        QT_TRANSLATE_NOOP("KastrelImporter", "The value for the key %1 is not a rectangle."));
    return rectFromString(text.toString());
}

QVariant OVKeyedUnarchiver::decodeObject(const QString &key)
{
    if (m_failed)
        return QVariant();
    const OVPlist value = field(key);
    if (!value.isValid())
        return QVariant();
    if (!value.isUid()) {
        failWithError(OVLocalizedText(
                          QT_TRANSLATE_NOOP("KastrelImporter", "The value for the key %1 is not an object reference."))
                          .arg(key));
        return QVariant();
    }
    return objectAt(value.toUid());
}

QVariant OVKeyedUnarchiver::objectAt(quint64 uid)
{
    if (m_failed || uid == 0)
        return QVariant();
    if (uid >= quint64(m_objects.size())) {
        failWithError(OVLocalizedText(
            QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive refers to an object it does not hold.")));
        return QVariant();
    }
    const auto known = m_decoded.constFind(uid);
    if (known != m_decoded.cend())
        return known.value();
    if (m_inProgress.contains(uid)) {
        failWithError(OVLocalizedText(
            QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds an object that contains itself.")));
        return QVariant();
    }
    if (int(m_frames.size()) >= maximumDepth) {
        failWithError(
            OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive nests its objects too deeply.")));
        return QVariant();
    }
    const OVPlist entry = m_objects.at(qsizetype(uid));
    QVariant result;
    switch (entry.type()) {
    case OVPlist::Type::String:
        result = entry.toString();
        break;
    case OVPlist::Type::Integer:
        result = entry.isUnsignedInteger() ? QVariant(entry.toUnsignedInteger()) : QVariant(entry.toInteger());
        break;
    case OVPlist::Type::Real:
        result = entry.toReal();
        break;
    case OVPlist::Type::Boolean:
        result = entry.toBool();
        break;
    case OVPlist::Type::Data:
        result = entry.toData();
        break;
    case OVPlist::Type::Date:
        result = entry.toDate();
        break;
    case OVPlist::Type::Dictionary:
        m_inProgress.insert(uid);
        result = decodeClassObject(entry);
        m_inProgress.remove(uid);
        break;
    default:
        failWithError(OVLocalizedText(
            QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds an object of no known form.")));
        return QVariant();
    }
    if (m_failed)
        return QVariant();
    m_decoded.insert(uid, result);
    return result;
}

QVariant OVKeyedUnarchiver::decodeClassObject(const OVPlist &fields)
{
    const OVPlist classReference = fields.value(QStringLiteral("$class"));
    const OVPlist classEntry = classReference.isUid() && classReference.toUid() < quint64(m_objects.size())
        ? m_objects.at(qsizetype(classReference.toUid()))
        : OVPlist();
    const QString name = classEntry.value(QStringLiteral("$classname")).toString();
    if (name.isEmpty()) {
        failWithError(OVLocalizedText(
            QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds an object without a class.")));
        return QVariant();
    }
    QStringList candidates {name};
    candidates += classEntry.value(QStringLiteral("$classes")).toStringList();

    m_frames.push_back(Frame {fields.toDictionary(), name, candidates});
    QVariant result;
    bool known = false;
    for (const QString &candidate : std::as_const(candidates)) {
        if (const DecodeFunction decode = registeredDecoder(candidate)) {
            result = decode(*this);
            known = true;
            break;
        }
        result = decodeBuiltIn(candidate, &known);
        if (known)
            break;
    }
    m_frames.pop_back();
    if (!known)
        failWithError(OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter",
                                                        "The keyed archive holds an object of the unknown class %1."))
                          .arg(name),
                      DecodeUnknownClassError);
    return m_failed ? QVariant() : result;
}

QVariant OVKeyedUnarchiver::decodeBuiltIn(const QString &name, bool *known)
{
    *known = true;
    if (isOneOf(name, {"NSString", "NSMutableString"})) {
        if (containsValueForKey(QStringLiteral("NS.string"))) {
            const OVPlist text = resolved(QStringLiteral("NS.string"));
            if (!text.isString())
                failWithError(
                    OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a broken string.")));
            return text.toString();
        }
        return QString::fromUtf8(decodeBytes(QStringLiteral("NS.bytes")));
    }
    if (isOneOf(name, {"NSData", "NSMutableData"})) {
        const QString key
            = containsValueForKey(QStringLiteral("NS.data")) ? QStringLiteral("NS.data") : QStringLiteral("NS.bytes");
        return decodeBytes(key);
    }
    if (isOneOf(name, {"NSDate", "__NSDate"})) {
        const double seconds = decodeDouble(QStringLiteral("NS.time")) + referenceDateOffsetSeconds;
        if (!(std::abs(seconds) < 8.0e12)) {
            failWithError(
                OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a date out of range.")));
            return QVariant();
        }
        return QDateTime::fromMSecsSinceEpoch(qint64(std::floor(seconds * 1000.0)), Qt::UTC);
    }
    if (isOneOf(name, {"NSArray", "NSMutableArray", "NSSet", "NSMutableSet", "NSOrderedSet", "NSMutableOrderedSet"})) {
        const OVPlist references = field(QStringLiteral("NS.objects"));
        if (references.isValid() && !references.isArray()) {
            failWithError(
                OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a broken array.")));
            return QVariant();
        }
        QVariantList members;
        members.reserve(references.size());
        for (qsizetype i = 0; i < references.size() && !m_failed; ++i) {
            const OVPlist reference = references.at(i);
            if (!reference.isUid())
                failWithError(
                    OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a broken array.")));
            members.append(objectAt(reference.toUid()));
        }
        return members;
    }
    if (isOneOf(name, {"NSDictionary", "NSMutableDictionary"})) {
        const OVPlist keys = field(QStringLiteral("NS.keys"));
        const OVPlist objects = field(QStringLiteral("NS.objects"));
        if ((keys.isValid() && !keys.isArray()) || (objects.isValid() && !objects.isArray())
            || keys.size() != objects.size()) {
            failWithError(
                OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter",
                                                  "The keyed archive holds a dictionary whose keys and objects differ "
                                                  "in number.")));
            return QVariant();
        }
        QVariantMap entries;
        for (qsizetype i = 0; i < keys.size() && !m_failed; ++i) {
            if (!keys.at(i).isUid() || !objects.at(i).isUid()) {
                failWithError(OVLocalizedText(
                    QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a broken dictionary.")));
                break;
            }
            const QVariant key = objectAt(keys.at(i).toUid());
            if (!m_failed && key.metaType() != QMetaType::fromType<QString>()) {
                failWithError(OVLocalizedText(QT_TRANSLATE_NOOP(
                    "KastrelImporter", "The keyed archive holds a dictionary key that is not a string.")));
                break;
            }
            entries.insert(key.toString(), objectAt(objects.at(i).toUid()));
        }
        return entries;
    }
    if (name == QLatin1String("NSNull"))
        return QVariant::fromValue(nullptr);
    if (name == QLatin1String("NSURL")) {
        const QVariant base = decodeObject(QStringLiteral("NS.base"));
        const QVariant relative = decodeObject(QStringLiteral("NS.relative"));
        const QUrl url(relative.toString());
        return base.metaType() == QMetaType::fromType<QUrl>() ? base.toUrl().resolved(url) : url;
    }
    if (name == QLatin1String("NSUUID")) {
        const QByteArray bytes = decodeBytes(QStringLiteral("NS.uuidbytes"));
        if (bytes.size() != 16) {
            failWithError(
                OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "The keyed archive holds a broken UUID.")));
            return QVariant();
        }
        return QUuid::fromRfc4122(bytes);
    }
    if (name == QLatin1String("NSValue")) {
        switch (decodeInt(QStringLiteral("NS.special"))) {
        case 1: {
            const QList<double> numbers = numbersIn(resolved(QStringLiteral("NS.pointval")).toString());
            return numbers.size() == 2 ? QPointF(numbers[0], numbers[1]) : QPointF();
        }
        case 2: {
            const QList<double> numbers = numbersIn(resolved(QStringLiteral("NS.sizeval")).toString());
            return numbers.size() == 2 ? QSizeF(numbers[0], numbers[1]) : QSizeF();
        }
        case 3:
            return decodeRect(QStringLiteral("NS.rectval"));
        case 4:
            return QVariant::fromValue(OVRange {quint64(decodeInt(QStringLiteral("NS.rangeval.location"))),
                                                quint64(decodeInt(QStringLiteral("NS.rangeval.length")))});
        default:
            failWithError(OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter",
                                                            "The keyed archive holds a value of an unknown kind.")),
                          DecodeUnknownClassError);
            return QVariant();
        }
    }
    *known = false;
    return QVariant();
}
