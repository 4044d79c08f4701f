// Method calls on one application over the bus, each checked for an answer of the expected
// signature. Every error reply, vanished name or reply of another signature throws
// KSScriptingException naming the call, the object and the bus's error.
#pragma once

#include "engine/KSScriptingException.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QVariantList>
#include <atomic>
#include <memory>
#include <optional>

// What all connections of one backend share: the bus, and the count of calls made on it, in
// all and by application and method.
struct DBusScriptingState
{
    explicit DBusScriptingState(const QDBusConnection &bus)
        : connection(bus)
    { }

    void countCall(const QString &application, const QString &method)
    {
        ++roundTrips;
        const QMutexLocker lock(&callsMutex);
        ++callsByMethod[application + QLatin1Char(' ') + method];
    }

    QDBusConnection connection;
    std::atomic<quint64> roundTrips {0};
    QMutex callsMutex;
    QMap<QString, quint64> callsByMethod; // "identifier method" -> calls
};

class DBusCaller
{
public:
    DBusCaller(std::shared_ptr<DBusScriptingState> state, QString identifier, QString interface);

    const QString &identifier() const { return m_identifier; }

    // Calls `method` and waits for its answer. `about` names the object or objects the call is
    // about, for messages.
    QVariantList call(const QString &method, const QVariantList &arguments, const QString &about,
                      const QString &expectedSignature) const;

    // The same for a method the application need not offer: nothing when it answers that it
    // does not know the method (org.freedesktop.DBus.Error.UnknownMethod).
    std::optional<QVariantList> callOptional(const QString &method, const QVariantList &arguments, const QString &about,
                                             const QString &expectedSignature) const;

    // Sends the call without waiting; its answer is checked when it is taken with answer().
    QDBusPendingCall send(const QString &method, const QVariantList &arguments) const;
    // The arguments of a sent call's answer, waiting for it if it has not come yet.
    QVariantList answer(QDBusPendingCall &pending, const QString &method, const QString &about,
                        const QString &expectedSignature) const;

    [[noreturn]] void fail(const QString &method, const QString &about, const QString &problem,
                           KSScriptingException::Failure failure = KSScriptingException::Failure::Other,
                           const QString &answeredBy = QString()) const;

private:
    QDBusMessage message(const QString &method, const QVariantList &arguments) const;
    // What an error reply (or, for an empty name, no reply at all) says of the application.
    KSScriptingException::Failure failureOf(const QString &errorName, const QString &errorMessage = QString()) const;
    QVariantList checked(const QDBusMessage &reply, const QString &method, const QString &about,
                         const QString &expectedSignature) const;

    std::shared_ptr<DBusScriptingState> m_state;
    QString m_identifier;
    QString m_interface;
};
