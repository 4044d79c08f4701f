// The seam between the engine and the applications it drives. The engine's classes
// (KastrelApplication and its elements, NortavelApplication) speak only to these interfaces;
// the D-Bus client serves them for real and the tests' in-memory double serves them from a
// model. Every call that cannot be answered as promised throws KSScriptingException.
//
// Values come back in the forms of the wire: QString for strings, int for integers, bool for
// truth values, double (seconds since 1970 UTC) for dates, uint for four-character codes and
// QDBusObjectPath for object references. Objects are named by their object paths.
#pragma once

#include "engine/KSScriptingException.h"

#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <optional>

// An export asked of the source whose answer has not been taken yet.
class KastrelPendingExport
{
public:
    virtual ~KastrelPendingExport() = default;

    // What KastrelScripting::exportItems() would answer, waiting for it if need be; throws as
    // it does.
    virtual QString answer() = 0;

    // Gives the answer up: the path the source wrote, once it has answered, when it was asked
    // at all; a null string otherwise. Never throws.
    virtual QString discard() = 0;
};

// One connection to one source application. Used from one thread at a time.
class KastrelScripting
{
public:
    virtual ~KastrelScripting() = default;

    // The bundle identifier the connection was made for.
    virtual QString identifier() const = 0;

    // The value of property `name` of `object`, or nothing when the object does not have it.
    virtual std::optional<QVariant> property(const QString &object, const QString &name) = 0;

    // The number of objects in element `element` of `container`.
    virtual quint32 count(const QString &container, const QString &element) = 0;

    // The objects of element `element` of `container`, in the source's order.
    virtual QStringList elements(const QString &container, const QString &element) = 0;

    // Has the source write the file of `items` (exactly one item) into `folder`; the absolute
    // path of the written file, or a null string when the source wrote nothing.
    virtual QString exportItems(const QStringList &items, const QString &folder) = 0;

    // Asks for the same export without waiting for its answer, so the source can write while
    // the caller works on something else. Exports are answered in the order they were asked.
    // By default the export is only asked for when its answer is taken.
    virtual std::unique_ptr<KastrelPendingExport> sendExport(const QStringList &items, const QString &folder);

    // The engine will not read `object` again: a connection that keeps what it read of it may
    // let it go. Reading it afterwards still works, at the cost of another call.
    virtual void releaseObject(const QString &object) { Q_UNUSED(object); }
};

// One connection to one target application.
class NortavelScripting
{
public:
    virtual ~NortavelScripting() = default;

    virtual QString identifier() const = 0;

    // The application's present properties.
    virtual QVariantMap properties() = 0;

    virtual void activate() = 0;

    // `options` holds only the arguments that are present, already in their wire types.
    virtual void importFiles(const QStringList &files, quint32 by, const QVariantMap &options) = 0;
};

// The applications of this desktop: which are installed, and connections to them.
class ScriptingBackend
{
public:
    virtual ~ScriptingBackend() = default;

    // Why no application can be reached at all (no session bus), or an empty string.
    virtual QString connectionProblem() { return QString(); }

    // The path of the installed application's desktop entry, or a null string.
    virtual QString absolutePathForAppBundleWithIdentifier(const QString &identifier) = 0;

    // A connection to the source application with `identifier`, or null when there is no such
    // application to talk to (not running and not startable).
    virtual std::shared_ptr<KastrelScripting> kastrelWithBundleIdentifier(const QString &identifier) = 0;

    // The same for a target application.
    virtual std::shared_ptr<NortavelScripting> nortavelWithBundleIdentifier(const QString &identifier) = 0;

    // What became of the application of a failed call, told once the failure ends a run: it
    // may be clear only a moment later that a refusal came from an application on its way out.
    virtual KSScriptingException::Failure settledFailure(const KSScriptingException &exception)
    {
        return exception.failure();
    }
};
