// The D-Bus client of the scripting interfaces; see DBusScriptingBackend.h. Every error reply,
// vanished name or reply of an unexpected signature throws KSScriptingException naming the
// call, the object and the bus's error.
#include "engine/DBusScriptingBackend.h"

#include "engine/ApplicationLocator.h"
#include "engine/DBusCaller.h"
#include "engine/KSScriptingException.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QThread>

namespace {

const QString ApplicationPath = QStringLiteral("/");
const QString KastrelInterface = QStringLiteral("com.fendwick.Kastrel.Scripting");
const QString NortavelInterface = QStringLiteral("com.orvantis.Nortavel3.Scripting");

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

// An Export call on its way: its answer waits in the bus's queue until it is taken.
class PendingExport : public KastrelPendingExport
{
public:
    PendingExport(const DBusCaller &caller, QDBusPendingCall call, QString about)
        : m_caller(caller)
        , m_call(std::move(call))
        , m_about(std::move(about))
    { }

    QString answer() override
    {
        return m_caller.answer(m_call, QStringLiteral("Export"), m_about, QStringLiteral("s")).value(0).toString();
    }

    QString discard() override
    {
        try {
            return answer();
        } catch (const KSScriptingException &) {
            return QString();
        }
    }

private:
    const DBusCaller &m_caller;
    QDBusPendingCall m_call;
    QString m_about;
};

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
        const QStringList paths = readElements(container, element);
        // Every object remembers this listing, the newest it appears in: reads of its
        // properties, and of the same element of its neighbours, follow this order.
        const auto listing = std::make_shared<const QStringList>(paths);
        for (qsizetype i = 0; i < paths.size(); ++i)
            m_listed.insert(paths.at(i), Place {listing, i});
        return paths;
    }

    QString exportItems(const QStringList &items, const QString &folder) override
    {
        const QVariantList reply = m_caller.call(QStringLiteral("Export"), {objectPathList(items), folder},
                                                 describeObjects(items), QStringLiteral("s"));
        return reply.value(0).toString();
    }

    std::unique_ptr<KastrelPendingExport> sendExport(const QStringList &items, const QString &folder) override
    {
        return std::make_unique<PendingExport>(
            m_caller, m_caller.send(QStringLiteral("Export"), {objectPathList(items), folder}), describeObjects(items));
    }

    void releaseObject(const QString &object) override
    {
        m_properties.remove(object);
        m_listed.remove(object);
        m_readAhead.remove(object);
        m_heldElements.remove(object);
    }

private:
    // Where an object was last listed.
    struct Place
    {
        std::shared_ptr<const QStringList> listing;
        qsizetype index = 0;
    };

    // An element list asked for before it is needed.
    struct PendingElements
    {
        QString element;
        QDBusPendingCall call;
    };

    // An element list read with those of other objects, kept until it is needed.
    struct HeldElements
    {
        QString element;
        QStringList objects;
    };

    // Whether the source answers ElementsOfEach; asked once, the first time it is of use.
    enum class ListsOfMany { Untried, Offered, NotOffered };

    // How many objects ahead of the one read an element list is asked for.
    static constexpr qsizetype ReadAheadDepth = 16;
    // How many objects' lists one ElementsOfEach call asks for at most.
    static constexpr qsizetype ElementsBatchSize = 1000;

    static QString describeElement(const QString &container, const QString &element)
    {
        return QStringLiteral("element \"%1\" of %2").arg(element, container);
    }

    static QVariantList elementsArguments(const QString &container, const QString &element)
    {
        return {QVariant::fromValue(QDBusObjectPath(container)), element};
    }

    static QVariantList elementsArguments(const QStringList &containers, const QString &element)
    {
        return {objectPathList(containers), element};
    }

    // `object` and up to a batch's worth of the objects that follow it in the listing it was
    // last seen in and whose properties are not held: reading a list's objects in order costs
    // one call per thousand.
    QStringList batchFrom(const QString &object) const
    {
        return objectAndFollowers(object, DBusScriptingBackend::PropertiesBatchSize,
                                  [this](const QString &next) { return !m_properties.contains(next); });
    }

    // `object` and the objects that follow it in the listing it was last seen in (where that is
    // still their place) and that `wanted` accepts, `size` at most in all.
    template<typename Wanted> QStringList objectAndFollowers(const QString &object, qsizetype size, Wanted wanted) const
    {
        QStringList batch {object};
        const auto place = m_listed.constFind(object);
        if (place == m_listed.constEnd())
            return batch;
        const QStringList &listing = *place->listing;
        for (qsizetype index = place->index + 1; index < listing.size() && batch.size() < size; ++index) {
            const QString &next = listing.at(index);
            if (wanted(next) && isListedAt(next, place->listing, index))
                batch.append(next);
        }
        return batch;
    }

    // Whether `object` was last listed at `index` of `listing` (an object listed twice counts at
    // its later place only).
    bool isListedAt(const QString &object, const std::shared_ptr<const QStringList> &listing, qsizetype index) const
    {
        const auto place = m_listed.constFind(object);
        return place != m_listed.constEnd() && place->listing == listing && place->index == index;
    }

    static QStringList pathStrings(const QList<QDBusObjectPath> &objectPaths)
    {
        QStringList paths;
        paths.reserve(objectPaths.size());
        for (const QDBusObjectPath &objectPath : objectPaths)
            paths.append(objectPath.path());
        return paths;
    }

    // The list, from those read with others' when the source answers ElementsOfEach, and
    // otherwise as it always was: one Elements call each, the next few asked for ahead.
    QStringList readElements(const QString &container, const QString &element)
    {
        QStringList paths;
        if (takeHeldElements(container, element, &paths))
            return paths;
        if (m_listsOfMany != ListsOfMany::NotOffered) {
            const QStringList batch = elementsBatchFrom(container);
            if (batch.size() > 1 && readElementsOfEach(batch, element) && takeHeldElements(container, element, &paths))
                return paths;
        }

        const QString about = describeElement(container, element);
        QVariantList reply;
        if (!takeReadAhead(container, element, about, &reply))
            reply = m_caller.call(QStringLiteral("Elements"), elementsArguments(container, element), about,
                                  QStringLiteral("ao"));
        if (m_listsOfMany == ListsOfMany::NotOffered)
            readAhead(container, element);
        return pathStrings(qdbus_cast<QList<QDBusObjectPath>>(reply.value(0)));
    }

    bool takeHeldElements(const QString &container, const QString &element, QStringList *objects)
    {
        const auto held = m_heldElements.find(container);
        if (held == m_heldElements.end() || held->element != element)
            return false;
        *objects = std::move(held->objects);
        m_heldElements.erase(held);
        return true;
    }

    // `container` and up to a batch's worth of the objects that follow it in the listing it
    // was last seen in and whose lists are not held: reading the tags of each item in turn
    // costs one call per thousand items.
    QStringList elementsBatchFrom(const QString &container) const
    {
        return objectAndFollowers(container, ElementsBatchSize,
                                  [this](const QString &next) { return !m_heldElements.contains(next); });
    }

    // Reads the lists of `containers` in one call and holds them until they are needed; false
    // when the source does not offer the call, which is then not asked again. The objects
    // listed are read next, whatever is not held of them in one Properties call per thousand:
    // the engine reads every tag's name and every member's identifier.
    bool readElementsOfEach(const QStringList &containers, const QString &element)
    {
        const QString about = describeElement(describeObjects(containers), element);
        const std::optional<QVariantList> reply = m_caller.callOptional(
            QStringLiteral("ElementsOfEach"), elementsArguments(containers, element), about, QStringLiteral("aao"));
        if (!reply) {
            m_listsOfMany = ListsOfMany::NotOffered;
            return false;
        }
        m_listsOfMany = ListsOfMany::Offered;
        const auto lists = qdbus_cast<QList<QList<QDBusObjectPath>>>(reply->value(0));
        if (lists.size() != containers.size())
            m_caller.fail(QStringLiteral("ElementsOfEach"), about,
                          QStringLiteral("%1 lists answered for %2 objects").arg(lists.size()).arg(containers.size()));

        QStringList unread;
        QSet<QString> seen;
        for (qsizetype i = 0; i < containers.size(); ++i) {
            const QStringList objects = pathStrings(lists.at(i));
            for (const QString &object : objects) {
                if (!m_properties.contains(object) && !seen.contains(object)) {
                    seen.insert(object);
                    unread.append(object);
                }
            }
            m_heldElements.insert(containers.at(i), HeldElements {element, objects});
        }
        readPropertiesAhead(unread);
        return true;
    }

    // Reads the properties of `objects` before they are needed. A call the source refuses is
    // left unused: each object is read again when it is needed, so that a refusal is always
    // that of the read of the object that needs it. A source that quit or does not answer
    // ends the run here: asking it again would start it anew.
    void readPropertiesAhead(const QStringList &objects)
    {
        for (qsizetype start = 0; start < objects.size(); start += DBusScriptingBackend::PropertiesBatchSize) {
            try {
                fetchProperties(objects.mid(start, DBusScriptingBackend::PropertiesBatchSize));
            } catch (const KSScriptingException &exception) {
                if (exception.failure() != KSScriptingException::Failure::Other)
                    throw;
                return;
            }
        }
    }

    // Lists are read object after object in the order of their listing (the tags of each item
    // in turn), so when `element` of `container` is read, the same element of the next few
    // objects is asked for already; their answers wait in the bus's queue, and reading them
    // costs no further round trip of its own.
    void readAhead(const QString &container, const QString &element)
    {
        const auto place = m_listed.constFind(container);
        if (place == m_listed.constEnd())
            return;
        const std::shared_ptr<const QStringList> listing = place->listing;
        const qsizetype end = qMin(listing->size(), place->index + 1 + ReadAheadDepth);
        for (qsizetype index = place->index + 1; index < end; ++index) {
            const QString &next = listing->at(index);
            if (m_readAhead.contains(next) || !isListedAt(next, listing, index))
                continue;
            m_readAhead.insert(
                next,
                PendingElements {element, m_caller.send(QStringLiteral("Elements"), elementsArguments(next, element))});
        }
    }

    // The answer of a list asked for ahead. One that failed is not used: the list is asked for
    // again, so that a failure is always that of a call made when the list was needed.
    bool takeReadAhead(const QString &container, const QString &element, const QString &about, QVariantList *reply)
    {
        const auto pending = m_readAhead.find(container);
        if (pending == m_readAhead.end() || pending->element != element)
            return false;
        PendingElements taken = std::move(*pending);
        m_readAhead.erase(pending);
        try {
            *reply = m_caller.answer(taken.call, QStringLiteral("Elements"), about, QStringLiteral("ao"));
            return true;
        } catch (const KSScriptingException &) {
            return false;
        }
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
    QHash<QString, Place> m_listed;
    QHash<QString, PendingElements> m_readAhead;
    QHash<QString, HeldElements> m_heldElements;
    ListsOfMany m_listsOfMany = ListsOfMany::Untried;
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

QString DBusScriptingBackend::connectionProblem()
{
    if (m_state->connection.isConnected())
        return QString();
    const QString message = m_state->connection.lastError().message();
    return message.isEmpty() ? QStringLiteral("no session bus is running") : message;
}

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

KSScriptingException::Failure DBusScriptingBackend::settledFailure(const KSScriptingException &exception)
{
    // Only a connection's own name says which connection refused; the bus daemon answers under
    // its well-known name, and never leaves. A later call that started the application again
    // does not confuse this: the new one has another name.
    const QString sender = exception.answeredBy();
    QDBusConnectionInterface *bus = m_state->connection.interface();
    if (exception.failure() != KSScriptingException::Failure::Other || !sender.startsWith(QLatin1Char(':')) || !bus)
        return exception.failure();
    // Long enough for a loaded machine to finish closing a program, short enough not to hold
    // up the report of an application that did refuse the call.
    constexpr int waitMilliseconds = 2000;
    constexpr int stepMilliseconds = 20;
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        const QDBusReply<bool> registered = bus->isServiceRegistered(sender);
        if (!registered.isValid())
            return exception.failure();
        if (!registered.value())
            return KSScriptingException::Failure::Quit;
        if (waited.elapsed() >= waitMilliseconds)
            return exception.failure();
        QThread::msleep(stepMilliseconds);
    }
}

quint64 DBusScriptingBackend::roundTripCount() const
{
    return m_state->roundTrips.load();
}

QMap<QString, quint64> DBusScriptingBackend::roundTripsByMethod() const
{
    const QMutexLocker lock(&m_state->callsMutex);
    return m_state->callsByMethod;
}
