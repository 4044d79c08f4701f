// An in-memory stand-in for the desktop's applications, for the engine's unit tests: a test
// fills it with source and target applications (installed or not, reachable or not, of any
// version), the source's collections, tags, labels and items, exports that succeed or fail,
// objects that vanish; the engine drives it through ScriptingBackend exactly as it drives the
// real bus; afterwards the test asks what was called and how often.
//
// It keeps the contract's rules: a folder collection lists "items" only at major version 1 and
// "databaseItems" only from 2 on, "tagCollectionBehavior" exists only from 2 on, unknown
// objects and elements fail, "Export" takes exactly one item and an existing absolute folder.
// Each failure throws KSScriptingException, as a D-Bus error would.
#pragma once

#include "engine/KastrelElements.h"
#include "engine/ScriptingBackend.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

struct InMemoryScriptingState;

// Filling one source application of an InMemoryScripting. Object paths are the handles.
class InMemoryKastrel
{
public:
    InMemoryKastrel(std::shared_ptr<InMemoryScriptingState> state, QString identifier);

    const QString &identifier() const { return m_identifier; }

    // A null version removes the property.
    void setVersion(const QString &version);

    QString addFolderCollection(const QString &id, const QString &name, const QString &comments = QString());
    // `behavior` is shown only by sources of major version 2 and later.
    QString addTagCollection(const QString &id, const QString &name, const QString &comments = QString(),
                             std::optional<quint32> behavior = std::nullopt);
    QString addLabel(const QString &id, const QString &name, const QString &color);
    // An item listed by the application's element for `kind`, with `id` and `name` (a null
    // name is left out); add further properties with setProperty().
    QString addItem(KastrelItemKind kind, const QString &id, const QString &name);
    // A tag object, not yet listed anywhere.
    QString addTag(const QString &name);

    // Lists `tag` in the tags of `container` (a tag collection or an item).
    void addTagTo(const QString &container, const QString &tag);
    // Makes `item` a member of `folderCollection` (listed as "items" or "databaseItems").
    void addMember(const QString &folderCollection, const QString &item);
    void setLabel(const QString &item, const QString &label);

    // Any property, of any value (QDateTime becomes the wire's seconds, anything else is kept
    // as given, so wrong types can be tested); an invalid QVariant or a null string removes it.
    void setProperty(const QString &object, const QString &name, const QVariant &value);

    // What "Export" of `item` writes: a file `fileName` holding `contents`. Without this the
    // item exports to a file named after its name (or its id), holding its name.
    void setExportFile(const QString &item, const QString &fileName, const QByteArray &contents);
    // "Export" of `item` writes nothing and answers the empty string.
    void setExportFails(const QString &item);

    // The object vanishes: every later read of it fails. Lists that named it still do, as a
    // list fetched just before the object went away would.
    void removeObject(const QString &object);

private:
    QString addObject(const QString &className, const QVariantMap &properties, const QString &listedIn);

    std::shared_ptr<InMemoryScriptingState> m_state;
    QString m_identifier;
};

class InMemoryScripting : public ScriptingBackend
{
public:
    struct ImportCall
    {
        QString identifier;
        QStringList files;
        quint32 by = 0;
        QVariantMap options;
    };

    InMemoryScripting();
    ~InMemoryScripting() override;

    // A source application, installed and running, answering `version` (null: no version).
    InMemoryKastrel addKastrel(const QString &identifier, const QString &version);
    InMemoryKastrel kastrel(const QString &identifier);
    // A target application, installed and running.
    void addNortavel(const QString &identifier, const QString &version);

    // Whether the application's desktop entry exists.
    void setInstalled(const QString &identifier, bool installed);
    // Whether a proxy can be made (running, or startable by the bus).
    void setReachable(const QString &identifier, bool reachable);
    // The application quits: no new proxy, and every call through an existing one fails.
    void quit(const QString &identifier);

    // Called before every call into an application with the call's description (as calls()
    // records it), outside the double's lock, so it may change the model: remove an object
    // just before it is read, quit the application in the middle of a run.
    void setCallHook(std::function<void(const QString &call)> hook);

    // The next call that begins with `callPrefix` (as calls() records it) throws `exception`
    // instead of being answered: a scripting failure worded by the test, or any other exception
    // a call might raise. The call is still recorded.
    void failNextCall(const QString &callPrefix, std::exception_ptr exception);

    // ScriptingBackend
    QString absolutePathForAppBundleWithIdentifier(const QString &identifier) override;
    std::shared_ptr<KastrelScripting> kastrelWithBundleIdentifier(const QString &identifier) override;
    std::shared_ptr<NortavelScripting> nortavelWithBundleIdentifier(const QString &identifier) override;

    // What was asked. Each call is recorded as one line: "property <object> <name>",
    // "count <container> <element>", "elements <container> <element>",
    // "export <item> <folder>", "version <identifier>", "activate <identifier>",
    // "importFiles <identifier>", "installed <identifier>", "proxy <identifier>".
    QStringList calls() const;
    int propertyReads(const QString &name) const;
    int propertyReads(const QString &object, const QString &name) const;
    int elementCounts(const QString &element) const;
    int elementFetches(const QString &element) const;
    int exportCount() const;
    QStringList exportedItems() const;
    int activateCount(const QString &identifier) const;
    QList<ImportCall> importCalls() const;
    // The objects the engine said it would not read again, in order.
    QStringList releasedObjects() const;
    void clearCalls();

private:
    std::shared_ptr<InMemoryScriptingState> m_state;
};
