// Keyed archive writer: flattens a QVariant object graph into "$objects".
#include "foundation/OVKeyedArchiver.h"

#include "foundation/OVLocalization.h"

#include <QDateTime>
#include <QLocale>
#include <QReadWriteLock>
#include <QUrl>
#include <QUuid>

namespace {

struct ClassEntry
{
    QString className;
    QStringList classes;
    OVKeyedArchiver::EncodeFunction encode;
};

QReadWriteLock &registryLock()
{
    static QReadWriteLock lock;
    return lock;
}

QHash<int, ClassEntry> &registry()
{
    static QHash<int, ClassEntry> entries;
    return entries;
}

QStringList chain(const char *className)
{
    return {QString::fromLatin1(className), QStringLiteral("NSObject")};
}

// Seconds between the Unix epoch and NSDate's reference date, 2001-01-01T00:00:00Z.
constexpr double referenceDateOffsetSeconds = 978307200.0;

QString numberText(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

} // namespace

void OVKeyedArchiver::registerClass(QMetaType type, const QString &className, const QStringList &classes,
                                    EncodeFunction encode)
{
    QWriteLocker locker(&registryLock());
    registry().insert(type.id(), ClassEntry {className, classes, std::move(encode)});
}

OVKeyedArchiver::OVKeyedArchiver()
{
    m_objects.append(OVPlist(QStringLiteral("$null")));
}

QString OVKeyedArchiver::errorDomain()
{
    return QStringLiteral("OVKeyedArchiveErrorDomain");
}

QString OVKeyedArchiver::stringFromRect(const QRectF &rect)
{
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(numberText(rect.x()), numberText(rect.y()), numberText(rect.width()), numberText(rect.height()));
}

void OVKeyedArchiver::failWithError(const OVText &description)
{
    if (m_failed)
        return;
    m_failed = true;
    m_error = OVMakeError(errorDomain(), EncodeUnknownClassError, description);
}

OVPlist::Dictionary &OVKeyedArchiver::current()
{
    return m_fields.empty() ? m_top : m_fields.back();
}

void OVKeyedArchiver::set(const QString &key, const OVPlist &value)
{
    current().insert(key.startsWith(QLatin1Char('$')) ? QLatin1Char('$') + key : key, value);
}

void OVKeyedArchiver::encodeObject(const QVariant &object, const QString &key)
{
    const quint64 uid = reference(object);
    if (!m_failed)
        set(key, OVPlist::uid(uid));
}

void OVKeyedArchiver::encodeInt(qint64 value, const QString &key)
{
    set(key, OVPlist(static_cast<long long>(value)));
}

void OVKeyedArchiver::encodeDouble(double value, const QString &key)
{
    set(key, OVPlist(value));
}

void OVKeyedArchiver::encodeFloat(float value, const QString &key)
{
    set(key, OVPlist(double(value)));
}

void OVKeyedArchiver::encodeBool(bool value, const QString &key)
{
    set(key, OVPlist(value));
}

void OVKeyedArchiver::encodeBytes(const QByteArray &bytes, const QString &key)
{
    set(key, OVPlist(bytes));
}

void OVKeyedArchiver::encodeRect(const QRectF &rect, const QString &key)
{
    encodeObject(stringFromRect(rect), key);
}

quint64 OVKeyedArchiver::stringReference(const QString &text)
{
    // Equal strings share one entry, as they do in archives macOS writes.
    const auto found = m_strings.constFind(text);
    if (found != m_strings.cend())
        return found.value();
    m_objects.append(OVPlist(text));
    const quint64 uid = quint64(m_objects.size() - 1);
    m_strings.insert(text, uid);
    return uid;
}

quint64 OVKeyedArchiver::classReference(const QString &className, const QStringList &classes)
{
    const auto found = m_classes.constFind(className);
    if (found != m_classes.cend())
        return found.value();
    OVPlist entry = OVPlist::dictionary();
    entry.insert(QStringLiteral("$classname"), className);
    entry.insert(QStringLiteral("$classes"), classes);
    m_objects.append(entry);
    const quint64 uid = quint64(m_objects.size() - 1);
    m_classes.insert(className, uid);
    return uid;
}

quint64 OVKeyedArchiver::object(const QString &className, const QStringList &classes,
                                const std::function<void()> &fields)
{
    // The object takes its place before its members, its class entry after them.
    const quint64 uid = quint64(m_objects.size());
    m_objects.append(OVPlist());
    m_fields.emplace_back();
    fields();
    OVPlist::Dictionary dictionary = std::move(m_fields.back());
    m_fields.pop_back();
    dictionary.insert(QStringLiteral("$class"), OVPlist::uid(classReference(className, classes)));
    m_objects[uid] = OVPlist(dictionary);
    return uid;
}

quint64 OVKeyedArchiver::reference(const QVariant &value)
{
    if (m_failed || !value.isValid())
        return 0;
    const int type = value.metaType().id();
    {
        QReadLocker locker(&registryLock());
        const auto found = registry().constFind(type);
        if (found != registry().cend()) {
            const ClassEntry entry = found.value();
            locker.unlock();
            return object(entry.className, entry.classes, [&] { entry.encode(*this, value); });
        }
    }
    // Numbers and data stand in "$objects" as they are, with no class.
    auto add = [this](const OVPlist &scalar) {
        m_objects.append(scalar);
        return quint64(m_objects.size() - 1);
    };
    switch (type) {
    case QMetaType::QString:
        return stringReference(value.toString());
    case QMetaType::Bool:
        return add(OVPlist(value.toBool()));
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::SChar:
    case QMetaType::Char:
        return add(OVPlist(static_cast<long long>(value.toLongLong())));
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return add(OVPlist(static_cast<unsigned long long>(value.toULongLong())));
    case QMetaType::Double:
        return add(OVPlist(value.toDouble()));
    case QMetaType::Float:
        return add(OVPlist(double(value.toFloat())));
    case QMetaType::QByteArray:
        return add(OVPlist(value.toByteArray()));
    case QMetaType::QDateTime: {
        const double seconds = double(value.toDateTime().toMSecsSinceEpoch()) / 1000.0 - referenceDateOffsetSeconds;
        return object(QStringLiteral("NSDate"), chain("NSDate"),
                      [&] { encodeDouble(seconds, QStringLiteral("NS.time")); });
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        const QVariantList members = value.toList();
        return object(QStringLiteral("NSArray"), chain("NSArray"), [&] {
            OVPlist::Array refs;
            refs.reserve(members.size());
            for (const QVariant &member : members)
                refs.append(OVPlist::uid(reference(member)));
            set(QStringLiteral("NS.objects"), refs);
        });
    }
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash: {
        // Through QVariantMap, so that the keys come out sorted whatever the source.
        const QVariantMap entries = value.toMap();
        return object(QStringLiteral("NSDictionary"), chain("NSDictionary"), [&] {
            OVPlist::Array keys;
            OVPlist::Array objects;
            for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
                keys.append(OVPlist::uid(stringReference(it.key())));
                objects.append(OVPlist::uid(reference(it.value())));
            }
            set(QStringLiteral("NS.keys"), keys);
            set(QStringLiteral("NS.objects"), objects);
        });
    }
    case QMetaType::Nullptr:
        return object(QStringLiteral("NSNull"), chain("NSNull"), [] {});
    case QMetaType::QUrl: {
        const QString text = value.toUrl().toString(QUrl::FullyEncoded);
        return object(QStringLiteral("NSURL"), chain("NSURL"), [&] {
            encodeObject(QVariant(), QStringLiteral("NS.base"));
            encodeObject(text, QStringLiteral("NS.relative"));
        });
    }
    case QMetaType::QUuid: {
        const QByteArray bytes = value.toUuid().toRfc4122();
        return object(QStringLiteral("NSUUID"), chain("NSUUID"),
                      [&] { encodeBytes(bytes, QStringLiteral("NS.uuidbytes")); });
    }
    case QMetaType::QRectF:
    case QMetaType::QRect: {
        const QRectF rect = value.toRectF();
        return object(QStringLiteral("NSValue"), chain("NSValue"), [&] {
            encodeInt(3, QStringLiteral("NS.special"));
            encodeRect(rect, QStringLiteral("NS.rectval"));
        });
    }
    default:
        break;
    }
    if (value.metaType() == QMetaType::fromType<OVRange>()) {
        const OVRange range = value.value<OVRange>();
        return object(QStringLiteral("NSValue"), chain("NSValue"), [&] {
            encodeInt(4, QStringLiteral("NS.special"));
            set(QStringLiteral("NS.rangeval.location"), OVPlist(static_cast<unsigned long long>(range.location)));
            set(QStringLiteral("NS.rangeval.length"), OVPlist(static_cast<unsigned long long>(range.length)));
        });
    }
    failWithError(OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "An object of type %1 cannot be archived."))
                      .arg(QString::fromLatin1(value.metaType().name())));
    return 0;
}

OVPlist OVKeyedArchiver::encodedPropertyList() const
{
    if (m_failed)
        return OVPlist();
    OVPlist archive = OVPlist::dictionary();
    archive.insert(QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver"));
    archive.insert(QStringLiteral("$version"), 100000);
    archive.insert(QStringLiteral("$top"), OVPlist(m_top));
    archive.insert(QStringLiteral("$objects"), OVPlist(m_objects));
    return archive;
}

QByteArray OVKeyedArchiver::encodedData(OVPlistSerialization::Format format, OVError *error) const
{
    if (m_failed) {
        if (error)
            *error = m_error;
        return QByteArray();
    }
    return OVPlistSerialization::dataWithPropertyList(encodedPropertyList(), format, error);
}

OVPlist OVKeyedArchiver::archivedPropertyListWithRootObject(const QVariant &root, OVError *error)
{
    OVKeyedArchiver archiver;
    archiver.encodeObject(root, QStringLiteral("root"));
    if (archiver.hasError() && error)
        *error = archiver.error();
    return archiver.encodedPropertyList();
}

QByteArray OVKeyedArchiver::archivedDataWithRootObject(const QVariant &root, OVError *error,
                                                       OVPlistSerialization::Format format)
{
    OVKeyedArchiver archiver;
    archiver.encodeObject(root, QStringLiteral("root"));
    return archiver.encodedData(format, error);
}
