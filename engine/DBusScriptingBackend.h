// The scripting interfaces served over the D-Bus session bus: each application's bundle
// identifier is its well-known name, its objects are read through one interface on path "/".
//
// The source connection reads with as few bus round trips as it can: the first read of an
// object's property fetches the properties of that object and of the unread objects that
// follow it in the element list it was last seen in, in one call for up to a thousand
// objects. What was read is kept until the engine releases the object (items, once recorded),
// so tags and labels that recur across items are read once, and memory holds about one batch
// of items rather than the whole library. Element lists are read the same way: the first
// read of an object's list (an item's tags, a group's members) asks ElementsOfEach for the
// lists of that object and of up to a thousand that follow it in its listing, holds them
// until they are read, and fetches the properties of the objects they list that are not held
// in one more call. A source that answers that it does not know ElementsOfEach is asked it
// once; its lists are then read one Elements call each, asked ahead: when an object's list
// is read, the same list of the next objects of its listing is asked for without waiting. A
// list read ahead whose answer is an error is asked for again when it is needed. Calls block,
// on whichever thread makes them; no time-out is set, the bus's default applies.
#pragma once

#include "engine/ScriptingBackend.h"

#include <QDBusConnection>
#include <QMap>
#include <memory>

struct DBusScriptingState;

class DBusScriptingBackend : public ScriptingBackend
{
public:
    explicit DBusScriptingBackend(const QDBusConnection &connection = QDBusConnection::sessionBus());

    QString connectionProblem() override;
    QString absolutePathForAppBundleWithIdentifier(const QString &identifier) override;
    std::shared_ptr<KastrelScripting> kastrelWithBundleIdentifier(const QString &identifier) override;
    std::shared_ptr<NortavelScripting> nortavelWithBundleIdentifier(const QString &identifier) override;
    // A refusal counts as a quit when the connection that refused leaves the bus within two
    // seconds: an application on its way out takes its objects off the bus before it leaves
    // it, and refuses the calls that come in between as calls to an object that is not there.
    KSScriptingException::Failure settledFailure(const KSScriptingException &exception) override;

    // Calls made to the applications through this backend's connections so far (each one bus
    // round trip), from any thread.
    quint64 roundTripCount() const;
    // The same calls by application and method, under "identifier method".
    QMap<QString, quint64> roundTripsByMethod() const;

    // How many objects one Properties call asks for at most.
    static constexpr int PropertiesBatchSize = 1000;

private:
    std::shared_ptr<DBusScriptingState> m_state;
};
