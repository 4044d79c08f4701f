// The scripting interfaces served over the D-Bus session bus: each application's bundle
// identifier is its well-known name, its objects are read through one interface on path "/".
//
// The source connection reads with as few bus round trips as it can: when an element list is
// fetched, the properties of all its objects not yet known are fetched with it, in one call
// per thousand objects, and every object's properties are kept for the life of the
// connection (one run), so tags and labels that recur across items are read once. Calls
// block, on whichever thread makes them; no time-out is set, the bus's default applies.
#pragma once

#include "engine/ScriptingBackend.h"

#include <QDBusConnection>
#include <memory>

struct DBusScriptingState;

class DBusScriptingBackend : public ScriptingBackend
{
public:
    explicit DBusScriptingBackend(const QDBusConnection &connection = QDBusConnection::sessionBus());

    QString absolutePathForAppBundleWithIdentifier(const QString &identifier) override;
    std::shared_ptr<KastrelScripting> kastrelWithBundleIdentifier(const QString &identifier) override;
    std::shared_ptr<NortavelScripting> nortavelWithBundleIdentifier(const QString &identifier) override;

    // Calls made to the applications through this backend's connections so far (each one bus
    // round trip), from any thread.
    quint64 roundTripCount() const;

    // How many objects one Properties call asks for at most.
    static constexpr int PropertiesBatchSize = 1000;

private:
    std::shared_ptr<DBusScriptingState> m_state;
};
