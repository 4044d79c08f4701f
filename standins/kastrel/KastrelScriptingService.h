// The source application's scripting interface on the session bus: every object is read
// through the one interface on path "/". Requests are answered from the object model; a
// reply delay and the export faults of marked items let tests play a slow or failing source.
#pragma once

#include "standins/kastrel/KastrelObjectModel.h"

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QVariantMap>

namespace Standin {

using KastrelPropertyList = QList<QVariantMap>;

class KastrelScriptingService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.fendwick.Kastrel.Scripting")

public:
    static QString interfaceName() { return QStringLiteral("com.fendwick.Kastrel.Scripting"); }

    KastrelScriptingService(const KastrelLibrary &library, std::optional<QString> version, QObject *parent = nullptr);

    // Every reply (errors included) is sent this many milliseconds after the request came.
    void setReplyDelay(int milliseconds) { m_replyDelay = milliseconds; }

    // Registers the marshalling of the types the interface uses; call before registering.
    static void registerTypes();

public slots:
    KastrelPropertyList Properties(const QList<QDBusObjectPath> &objects);
    uint Count(const QDBusObjectPath &container, const QString &element);
    QList<QDBusObjectPath> Elements(const QDBusObjectPath &container, const QString &element);
    QString Export(const QList<QDBusObjectPath> &items, const QString &folder);

private:
    template<typename T> T reply(const T &value);
    void replyError(const QString &name, const QString &text);

    const KastrelLibrary &m_library;
    KastrelObjectModel m_model;
    int m_replyDelay = 0;
};

} // namespace Standin

Q_DECLARE_METATYPE(Standin::KastrelPropertyList)
