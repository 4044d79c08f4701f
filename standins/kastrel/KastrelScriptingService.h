// The source application's scripting interface on the session bus: every object is read
// through the one interface on path "/". Requests are answered from the object model; a
// reply delay, a serial delay and the export faults of marked items let tests play a slow or
// failing source, and ElementsOfEach can be left out or made to fail.
#pragma once

#include "standins/kastrel/KastrelObjectModel.h"

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QVariantMap>

namespace Standin {

using KastrelPropertyList = QList<QVariantMap>;
using KastrelElementLists = QList<QList<QDBusObjectPath>>;

// How the optional method ElementsOfEach is answered.
enum class KastrelElementsOfEach {
    Served, // as the interface describes it
    Missing, // as by a source that does not offer it: org.freedesktop.DBus.Error.UnknownMethod
    Failing, // every call answered with org.freedesktop.DBus.Error.Failed
};

class KastrelScriptingService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.fendwick.Kastrel.Scripting")

public:
    static QString interfaceName() { return QStringLiteral("com.fendwick.Kastrel.Scripting"); }

    KastrelScriptingService(const KastrelLibrary &library, std::optional<QString> version, QObject *parent = nullptr);

    // Every reply (errors included) is sent this many milliseconds after the request came.
    void setReplyDelay(int milliseconds) { m_replyDelay = milliseconds; }

    // Every call takes at least this many milliseconds, and the next is taken up only after
    // it: calls are handled one at a time, as a real application's scripting handles them.
    void setSerialDelay(int milliseconds) { m_serialDelay = milliseconds; }
    // Every Export call appends the identifier of its item, and a line feed, to `path`.
    void setExportLog(const QString &path) { m_exportLog = path; }

    void setElementsOfEach(KastrelElementsOfEach answer) { m_elementsOfEach = answer; }

    // Registers the marshalling of the types the interface uses; call before registering.
    static void registerTypes();

public slots:
    KastrelPropertyList Properties(const QList<QDBusObjectPath> &objects);
    uint Count(const QDBusObjectPath &container, const QString &element);
    QList<QDBusObjectPath> Elements(const QDBusObjectPath &container, const QString &element);
    KastrelElementLists ElementsOfEach(const QList<QDBusObjectPath> &containers, const QString &element);
    QString Export(const QList<QDBusObjectPath> &items, const QString &folder);

private:
    // One call as the serial delay has it: taking at least the delay from its start, with the
    // reply sent after it.
    class SerialCall
    {
    public:
        explicit SerialCall(KastrelScriptingService &service);
        ~SerialCall();
        SerialCall(const SerialCall &) = delete;
        SerialCall &operator=(const SerialCall &) = delete;

    private:
        KastrelScriptingService &m_service;
    };

    // Waits until the call in hand has taken the serial delay.
    void holdSerialCall();
    template<typename T> T reply(const T &value);
    void replyError(const QString &name, const QString &text);
    // The objects of `element` of the object at `container`, or nullopt after replying an error.
    std::optional<QList<QDBusObjectPath>> elementsOf(const QDBusObjectPath &container, const QString &element);

    const KastrelLibrary &m_library;
    KastrelObjectModel m_model;
    int m_replyDelay = 0;
    int m_serialDelay = 0;
    QString m_exportLog;
    QElapsedTimer m_callClock;
    KastrelElementsOfEach m_elementsOfEach = KastrelElementsOfEach::Served;
};

} // namespace Standin

Q_DECLARE_METATYPE(Standin::KastrelPropertyList)
Q_DECLARE_METATYPE(Standin::KastrelElementLists)
