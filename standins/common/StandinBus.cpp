#include "standins/common/StandinBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QTimer>
#include <cstdio>

namespace Standin {

namespace StandinBus {

bool publish(QObject *object, const QString &identifier, QString *error)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        if (error)
            *error = QStringLiteral("no session bus: %1").arg(bus.lastError().message());
        return false;
    }
    if (!bus.registerObject(QStringLiteral("/"), object, QDBusConnection::ExportAllSlots)) {
        if (error)
            *error = QStringLiteral("cannot register the scripting object: %1").arg(bus.lastError().message());
        return false;
    }
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = bus.interface()->registerService(
        identifier, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        if (error)
            *error
                = QStringLiteral("cannot own the name %1: %2")
                      .arg(identifier, reply.isValid() ? QStringLiteral("it has an owner") : reply.error().message());
        return false;
    }
    return true;
}

void reloadServiceFiles()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    const QDBusMessage reload = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig"));
    bus.call(reload);
}

void quitWhenBusCloses(QObject *context)
{
    // The connection reports no loss by signal; a look every second costs nothing.
    auto *timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [] {
        if (!QDBusConnection::sessionBus().isConnected())
            QCoreApplication::exit(0);
    });
    timer->start(1000);
}

int serve(QObject *object, const QString &identifier)
{
    QString error;
    if (!publish(object, identifier, &error))
        return fail(error);
    quitWhenBusCloses(object);
    std::printf("ready %s\n", qPrintable(identifier));
    std::fflush(stdout);
    return QCoreApplication::exec();
}

int fail(const QString &text)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(QCoreApplication::applicationName()), qPrintable(text));
    return 2;
}

} // namespace StandinBus

} // namespace Standin
