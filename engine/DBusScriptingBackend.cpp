// The D-Bus client of the scripting interfaces; see DBusScriptingBackend.h. Every error reply,
// vanished name or reply of an unexpected signature throws KSScriptingException naming the
// call, the object and the bus's error.
#include "engine/DBusScriptingBackend.h"

#include "engine/ApplicationLocator.h"
#include "engine/KSScriptingException.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QHash>
#include <QSet>
#include <atomic>

struct DBusScriptingState
{
    explicit DBusScriptingState(const QDBusConnection &bus)
        : connection(bus)
    { }

    QDBusConnection connection;
    std::atomic<quint64> roundTrips {0};
};

namespace {

const QString ApplicationPath = QStringLiteral("/");
const QString KastrelInterface = QStringLiteral("com.fendwick.Kastrel.Scripting");
const QString NortavelInterface = QStringLiteral("com.orvantis.Nortavel3.Scripting");

// One method call on one application, checked for an answer of the expected signature.
class DBusCaller
{
public:
    DBusCaller(std::shared_ptr<DBusScriptingState> state, QString identifier, QString interface)
        : m_state(std::move(state))
        , m_identifier(std::move(identifier))
        , m_interface(std::move(interface))
    { }

    const QString &identifier() const { return m_identifier; }

    // `about` names the object or objects the call is about, for messages.
    QVariantList call(const QString &method, const QVariantList &arguments, const QString &about,
                      const QString &expectedSignature) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(m_identifier, ApplicationPath, m_interface, method);
        message.setArguments(arguments);
        ++m_state->roundTrips;
        const QDBusMessage reply = m_state->connection.call(message, QDBus::Block);
        if (reply.type() == QDBusMessage::ErrorMessage)
            fail(method, about, QStringLiteral("%1: %2").arg(reply.errorName(), reply.errorMessage()));
        if (reply.type() != QDBusMessage::ReplyMessage)
            fail(method, about, QStringLiteral("no reply"));
        if (reply.signature() != expectedSignature)
            fail(
                method, about,
                QStringLiteral("the reply has signature \"%1\", not \"%2\"").arg(reply.signature(), expectedSignature));
        return reply.arguments();
    }

    [[noreturn]] void fail(const QString &method, const QString &about, const QString &problem) const
    {
        throw KSScriptingException(
            QStringLiteral("%1 of %2 in %3 failed: %4").arg(method, about, m_identifier, problem));
    }

private:
    std::shared_ptr<DBusScriptingState> m_state;
    QString m_identifier;
    QString m_interface;
};

QString describeObjects(const QStringList &objects)
{
    if (objects.size() == 1)
        return objects.first();
    return QStringLiteral("%1 objects from %2").arg(objects.size()).arg(objects.value(0));
}

QVariant objectPathList(const QStringList &paths)
{
    QList<QDBusObjectPath> objectPaths;
    objectPaths.reserve(paths.size());
    for (const QString &path : paths)
        objectPaths.append(QDBusObjectPath(path));
    return QVariant::fromValue(objectPaths);
}

// A value of a property dictionary in the forms the engine reads (ScriptingBackend.h); a
// nested container stays a QDBusArgument, which no reader accepts.
QVariant plainValue(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        return value.value<QDBusVariant>().variant();
    return value;
}

// Every object answers the same few property names: one shared copy of each name, instead of
// one per object, keeps the cache of a large library small.
QVariantMap plainProperties(const QVariantMap &properties, QSet<QString> *names = nullptr)
{
    QVariantMap plain;
    for (auto it = properties.constBegin(); it != properties.constEnd(); ++it) {
        if (!names) {
            plain.insert(it.key(), plainValue(it.value()));
            continue;
        }
        auto name = names->constFind(it.key());
        if (name == names->constEnd())
            name = names->insert(it.key());
        plain.insert(*name, plainValue(it.value()));
    }
    return plain;
}

class DBusKastrelScripting : public KastrelScripting
{
public:
    DBusKastrelScripting(std::shared_ptr<DBusScriptingState> state, const QString &identifier)
        : m_caller(std::move(state), identifier, KastrelInterface)
    { }

    QString identifier() const override { return m_caller.identifier(); }

    std::optional<QVariant> property(const QString &object, const QString &name) override
    {
        auto cached = m_properties.constFind(object);
        if (cached == m_properties.constEnd()) {
            fetchProperties(batchFrom(object));
            cached = m_properties.constFind(object);
        }
        const auto value = cached->constFind(name);
        if (value == cached->constEnd())
            return std::nullopt;
        return *value;
    }

    quint32 count(const QString &container, const QString &element) override
    {
        const QVariantList reply
            = m_caller.call(QStringLiteral("Count"), {QVariant::fromValue(QDBusObjectPath(container)), element},
                            describeElement(container, element), QStringLiteral("u"));
        return reply.value(0).toUInt();
    }

    QStringList elements(const QString &container, const QString &element) override
    {
        const QString about = describeElement(container, element);
        const QVariantList reply
            = m_caller.call(QStringLiteral("Elements"), {QVariant::fromValue(QDBusObjectPath(container)), element},
                            about, QStringLiteral("ao"));
        const QList<QDBusObjectPath> objectPaths = qdbus_cast<QList<QDBusObjectPath>>(reply.value(0));
        QStringList paths;
        paths.reserve(objectPaths.size());
        for (const QDBusObjectPath &objectPath : objectPaths)
            paths.append(objectPath.path());
        // Objects not read yet remember this listing, the newest they appear in: the first read
        // of one fetches it together with the unread objects that follow it here.
        const auto listing = std::make_shared<const QStringList>(paths);
        for (qsizetype i = 0; i < paths.size(); ++i) {
            if (!m_properties.contains(paths.at(i)))
                m_unread.insert(paths.at(i), Place {listing, i});
        }
        return paths;
    }

    QString exportItems(const QStringList &items, const QString &folder) override
    {
        const QVariantList reply = m_caller.call(QStringLiteral("Export"), {objectPathList(items), folder},
                                                 describeObjects(items), QStringLiteral("s"));
        return reply.value(0).toString();
    }

    void releaseObject(const QString &object) override
    {
        m_properties.remove(object);
        m_unread.remove(object);
    }

private:
    // Where an object not read yet was last listed.
    struct Place
    {
        std::shared_ptr<const QStringList> listing;
        qsizetype index = 0;
    };

    // `object` and up to a batch's worth of the unread objects that follow it in the listing it
    // was last seen in: reading a list's objects in order costs one call per thousand.
    QStringList batchFrom(const QString &object)
    {
        QStringList batch {object};
        const auto place = m_unread.constFind(object);
        if (place == m_unread.constEnd())
            return batch;
        const std::shared_ptr<const QStringList> listing = place->listing;
        qsizetype index = place->index;
        m_unread.erase(place);
        while (++index < listing->size() && batch.size() < DBusScriptingBackend::PropertiesBatchSize) {
            const auto next = m_unread.constFind(listing->at(index));
            if (next != m_unread.constEnd()) {
                batch.append(next.key());
                m_unread.erase(next);
            }
        }
        return batch;
    }

    static QString describeElement(const QString &container, const QString &element)
    {
        return QStringLiteral("element \"%1\" of %2").arg(element, container);
    }

    void fetchProperties(const QStringList &objects)
    {
        const QString about = describeObjects(objects);
        const QVariantList reply
            = m_caller.call(QStringLiteral("Properties"), {objectPathList(objects)}, about, QStringLiteral("aa{sv}"));
        const QDBusArgument argument = reply.value(0).value<QDBusArgument>();
        QList<QVariantMap> dictionaries;
        argument.beginArray();
        while (!argument.atEnd()) {
            QVariantMap dictionary;
            argument >> dictionary;
            dictionaries.append(dictionary);
        }
        argument.endArray();
        if (dictionaries.size() != objects.size())
            m_caller.fail(
                QStringLiteral("Properties"), about,
                QStringLiteral("%1 dictionaries answered for %2 objects").arg(dictionaries.size()).arg(objects.size()));
        for (qsizetype i = 0; i < objects.size(); ++i)
            m_properties.insert(objects.at(i), plainProperties(dictionaries.at(i), &m_propertyNames));
    }

    DBusCaller m_caller;
    QHash<QString, QVariantMap> m_properties;
    QHash<QString, Place> m_unread;
    QSet<QString> m_propertyNames;
};

class DBusNortavelScripting : public NortavelScripting
{
public:
    DBusNortavelScripting(std::shared_ptr<DBusScriptingState> state, const QString &identifier)
        : m_caller(std::move(state), identifier, NortavelInterface)
    { }

    QString identifier() const override { return m_caller.identifier(); }

    QVariantMap properties() override
    {
        const QVariantList reply
            = m_caller.call(QStringLiteral("Properties"), {}, ApplicationPath, QStringLiteral("a{sv}"));
        const QVariant answer = reply.value(0);
        if (answer.metaType() == QMetaType::fromType<QVariantMap>())
            return plainProperties(answer.toMap());
        return plainProperties(qdbus_cast<QVariantMap>(answer));
    }

    void activate() override { m_caller.call(QStringLiteral("Activate"), {}, ApplicationPath, QString()); }

    void importFiles(const QStringList &files, quint32 by, const QVariantMap &options) override
    {
        m_caller.call(QStringLiteral("ImportFiles"), {files, by, options}, ApplicationPath, QString());
    }

private:
    DBusCaller m_caller;
};

} // namespace

DBusScriptingBackend::DBusScriptingBackend(const QDBusConnection &connection)
    : m_state(std::make_shared<DBusScriptingState>(connection))
{ }

QString DBusScriptingBackend::absolutePathForAppBundleWithIdentifier(const QString &identifier)
{
    return ApplicationLocator::absolutePathForAppBundleWithIdentifier(identifier);
}

std::shared_ptr<KastrelScripting> DBusScriptingBackend::kastrelWithBundleIdentifier(const QString &identifier)
{
    if (!ApplicationLocator::hasProxy(m_state->connection, identifier))
        return nullptr;
    return std::make_shared<DBusKastrelScripting>(m_state, identifier);
}

std::shared_ptr<NortavelScripting> DBusScriptingBackend::nortavelWithBundleIdentifier(const QString &identifier)
{
    if (!ApplicationLocator::hasProxy(m_state->connection, identifier))
        return nullptr;
    return std::make_shared<DBusNortavelScripting>(m_state, identifier);
}

quint64 DBusScriptingBackend::roundTripCount() const
{
    return m_state->roundTrips.load();
}
