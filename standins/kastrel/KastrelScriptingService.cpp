#include "standins/kastrel/KastrelScriptingService.h"

#include "standins/kastrel/KastrelItemExporter.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QTimer>
#include <cstdio>

namespace Standin {

namespace {

const QString kUnknownObject = QStringLiteral("org.freedesktop.DBus.Error.UnknownObject");
const QString kInvalidArgs = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");

} // namespace

KastrelScriptingService::KastrelScriptingService(const KastrelLibrary &library, std::optional<QString> version,
                                                 QObject *parent)
    : QObject(parent)
    , m_library(library)
    , m_model(library, std::move(version))
{ }

void KastrelScriptingService::registerTypes()
{
    qDBusRegisterMetaType<KastrelPropertyList>();
    qDBusRegisterMetaType<KastrelElementLists>();
}

template<typename T> T KastrelScriptingService::reply(const T &value)
{
    if (m_replyDelay > 0 && calledFromDBus()) {
        setDelayedReply(true);
        const QDBusMessage answer = message().createReply(QVariant::fromValue(value));
        QDBusConnection bus = connection();
        QTimer::singleShot(m_replyDelay, this, [bus, answer]() mutable { bus.send(answer); });
    }
    return value;
}

KastrelScriptingService::SerialCall::SerialCall(KastrelScriptingService &service)
    : m_service(service)
{
    m_service.m_callClock.start();
}

KastrelScriptingService::SerialCall::~SerialCall()
{
    m_service.holdSerialCall();
}

void KastrelScriptingService::holdSerialCall()
{
    // The service's only thread is held: the bus keeps the calls that come meanwhile.
    const qint64 left = m_serialDelay - m_callClock.elapsed();
    if (left > 0)
        QThread::msleep(quint64(left));
}

void KastrelScriptingService::replyError(const QString &name, const QString &text)
{
    if (!calledFromDBus())
        return;
    // An error reply leaves at once, unlike an answer: it takes the call's time first.
    holdSerialCall();
    if (m_replyDelay > 0) {
        setDelayedReply(true);
        const QDBusMessage answer = message().createErrorReply(name, text);
        QDBusConnection bus = connection();
        QTimer::singleShot(m_replyDelay, this, [bus, answer]() mutable { bus.send(answer); });
    } else {
        sendErrorReply(name, text);
    }
}

KastrelPropertyList KastrelScriptingService::Properties(const QList<QDBusObjectPath> &objects)
{
    const SerialCall serial(*this);
    KastrelPropertyList dictionaries;
    dictionaries.reserve(objects.size());
    for (const QDBusObjectPath &object : objects) {
        QString error;
        const std::optional<KastrelObjectRef> resolved = m_model.resolve(object.path(), &error);
        if (!resolved) {
            replyError(kUnknownObject, error);
            return {};
        }
        dictionaries << m_model.properties(*resolved);
    }
    return reply(dictionaries);
}

uint KastrelScriptingService::Count(const QDBusObjectPath &container, const QString &element)
{
    const SerialCall serial(*this);
    QString error;
    const std::optional<KastrelObjectRef> resolved = m_model.resolve(container.path(), &error);
    if (!resolved) {
        replyError(kUnknownObject, error);
        return 0;
    }
    const std::optional<uint> count = m_model.count(*resolved, element, &error);
    if (!count) {
        replyError(kInvalidArgs, error);
        return 0;
    }
    return reply(*count);
}

std::optional<QList<QDBusObjectPath>> KastrelScriptingService::elementsOf(const QDBusObjectPath &container,
                                                                          const QString &element)
{
    QString error;
    const std::optional<KastrelObjectRef> resolved = m_model.resolve(container.path(), &error);
    if (!resolved) {
        replyError(kUnknownObject, error);
        return std::nullopt;
    }
    std::optional<QList<QDBusObjectPath>> elements = m_model.elements(*resolved, element, &error);
    if (!elements)
        replyError(kInvalidArgs, error);
    return elements;
}

QList<QDBusObjectPath> KastrelScriptingService::Elements(const QDBusObjectPath &container, const QString &element)
{
    const SerialCall serial(*this);
    const std::optional<QList<QDBusObjectPath>> elements = elementsOf(container, element);
    return elements ? reply(*elements) : QList<QDBusObjectPath>();
}

KastrelElementLists KastrelScriptingService::ElementsOfEach(const QList<QDBusObjectPath> &containers,
                                                            const QString &element)
{
    const SerialCall serial(*this);
    switch (m_elementsOfEach) {
    case KastrelElementsOfEach::Missing:
        replyError(QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
                   QStringLiteral("No such method 'ElementsOfEach' in interface '%1' at object path '/'")
                       .arg(interfaceName()));
        return {};
    case KastrelElementsOfEach::Failing:
        replyError(
            QStringLiteral("org.freedesktop.DBus.Error.Failed"),
            QStringLiteral("the elements \"%1\" of %2 objects could not be read").arg(element).arg(containers.size()));
        return {};
    case KastrelElementsOfEach::Served:
        break;
    }
    // One unknown container or element fails the whole call, as Elements would fail for it.
    KastrelElementLists lists;
    lists.reserve(containers.size());
    for (const QDBusObjectPath &container : containers) {
        std::optional<QList<QDBusObjectPath>> elements = elementsOf(container, element);
        if (!elements)
            return {};
        lists.append(std::move(*elements));
    }
    return reply(lists);
}

QString KastrelScriptingService::Export(const QList<QDBusObjectPath> &items, const QString &folder)
{
    const SerialCall serial(*this);
    if (items.size() != 1) {
        replyError(kInvalidArgs, QStringLiteral("Export takes exactly one item, not %1").arg(items.size()));
        return QString();
    }
    if (!QFileInfo(folder).isAbsolute()) {
        replyError(kInvalidArgs, QStringLiteral("the export folder must be an absolute path: %1").arg(folder));
        return QString();
    }
    QString error;
    const std::optional<KastrelObjectRef> resolved = m_model.resolve(items.first().path(), &error);
    if (!resolved) {
        replyError(kUnknownObject, error);
        return QString();
    }
    if (resolved->objectClass != KastrelObjectRef::Item) {
        replyError(kInvalidArgs, QStringLiteral("%1 is not an item").arg(items.first().path()));
        return QString();
    }
    const KastrelItem &item = m_library.items().at(resolved->index);
    if (!m_exportLog.isEmpty()) {
        QFile log(m_exportLog);
        if (log.open(QIODevice::WriteOnly | QIODevice::Append))
            log.write(item.id.toUtf8() + '\n');
    }
    switch (item.exportBehavior) {
    case KastrelExportBehavior::Quits:
        // The application goes away in the middle of the command, leaving it unanswered.
        std::fprintf(stderr, "kastrel-standin: item %s quits the application during its export\n", qPrintable(item.id));
        std::fflush(stderr);
        setDelayedReply(true);
        QCoreApplication::exit(3);
        return QString();
    case KastrelExportBehavior::Fails:
        return reply(QString());
    case KastrelExportBehavior::Normal:
        break;
    }
    const QString path = KastrelItemExporter::exportItem(item, folder, &error);
    if (path.isEmpty())
        std::fprintf(stderr, "kastrel-standin: nothing exported for item %s: %s\n", qPrintable(item.id),
                     qPrintable(error));
    return reply(path);
}

} // namespace Standin
