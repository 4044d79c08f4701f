// Method calls on one application; see DBusCaller.h.
#include "engine/DBusCaller.h"

#include "engine/KSScriptingException.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>

namespace {

const QString ApplicationPath = QStringLiteral("/");

} // namespace

DBusCaller::DBusCaller(std::shared_ptr<DBusScriptingState> state, QString identifier, QString interface)
    : m_state(std::move(state))
    , m_identifier(std::move(identifier))
    , m_interface(std::move(interface))
{ }

QDBusMessage DBusCaller::message(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_identifier, ApplicationPath, m_interface, method);
    message.setArguments(arguments);
    m_state->countCall(m_identifier, method);
    return message;
}

QVariantList DBusCaller::call(const QString &method, const QVariantList &arguments, const QString &about,
                              const QString &expectedSignature) const
{
    const QDBusMessage reply = m_state->connection.call(message(method, arguments), QDBus::Block);
    return checked(reply, method, about, expectedSignature);
}

std::optional<QVariantList> DBusCaller::callOptional(const QString &method, const QVariantList &arguments,
                                                     const QString &about, const QString &expectedSignature) const
{
    const QDBusMessage reply = m_state->connection.call(message(method, arguments), QDBus::Block);
    if (reply.type() == QDBusMessage::ErrorMessage
        && reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod"))
        return std::nullopt;
    return checked(reply, method, about, expectedSignature);
}

QDBusPendingCall DBusCaller::send(const QString &method, const QVariantList &arguments) const
{
    return m_state->connection.asyncCall(message(method, arguments));
}

QVariantList DBusCaller::answer(QDBusPendingCall &pending, const QString &method, const QString &about,
                                const QString &expectedSignature) const
{
    pending.waitForFinished();
    return checked(pending.reply(), method, about, expectedSignature);
}

QVariantList DBusCaller::checked(const QDBusMessage &reply, const QString &method, const QString &about,
                                 const QString &expectedSignature) const
{
    if (reply.type() == QDBusMessage::ErrorMessage)
        fail(method, about, QStringLiteral("%1: %2").arg(reply.errorName(), reply.errorMessage()),
             failureOf(reply.errorName(), reply.errorMessage()), reply.service());
    if (reply.type() != QDBusMessage::ReplyMessage)
        fail(method, about, QStringLiteral("no reply"), failureOf(QString()));
    if (reply.signature() != expectedSignature)
        fail(method, about,
             QStringLiteral("the reply has signature \"%1\", not \"%2\"").arg(reply.signature(), expectedSignature));
    return reply.arguments();
}

KSScriptingException::Failure DBusCaller::failureOf(const QString &errorName, const QString &errorMessage) const
{
    static const QStringList gone = {QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"),
                                     QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
                                     QStringLiteral("org.freedesktop.DBus.Error.Disconnected")};
    static const QStringList silent
        = {QStringLiteral("org.freedesktop.DBus.Error.NoReply"), QStringLiteral("org.freedesktop.DBus.Error.Timeout"),
           QStringLiteral("org.freedesktop.DBus.Error.TimedOut")};
    if (gone.contains(errorName))
        return KSScriptingException::Failure::Quit;
    // The bus says so when the application left it with the call unanswered. Asking the bus
    // afterwards would not do: a later call may have started the application again.
    if (errorName == QLatin1String("org.freedesktop.DBus.Error.NoReply")
        && errorMessage.contains(QLatin1String("disconnected"), Qt::CaseInsensitive))
        return KSScriptingException::Failure::Quit;
    if (!errorName.isEmpty() && !silent.contains(errorName))
        return KSScriptingException::Failure::Other;
    // No answer: an application that left the bus meanwhile quit; one still there hangs.
    QDBusConnectionInterface *bus = m_state->connection.interface();
    if (bus && !bus->isServiceRegistered(m_identifier).value())
        return KSScriptingException::Failure::Quit;
    return KSScriptingException::Failure::NoAnswer;
}

void DBusCaller::fail(const QString &method, const QString &about, const QString &problem,
                      KSScriptingException::Failure failure, const QString &answeredBy) const
{
    throw KSScriptingException(QStringLiteral("%1 of %2 in %3 failed: %4").arg(method, about, m_identifier, problem),
                               failure, m_identifier, answeredBy);
}
