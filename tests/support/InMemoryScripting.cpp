// The in-memory applications of the engine's unit tests; see InMemoryScripting.h.
#include "InMemoryScripting.h"

#include "engine/KSScriptingException.h"

#include <QDBusObjectPath>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <exception>

namespace {

const QString ApplicationPath = QStringLiteral("/");
const QString ApplicationClass = QStringLiteral("application");
const QString FolderCollectionClass = QStringLiteral("folderCollection");
const QString TagCollectionClass = QStringLiteral("tagCollection");
const QString TagClass = QStringLiteral("tag");
const QString LabelClass = QStringLiteral("label");
const QString ItemClass = QStringLiteral("item");
// Where a folder collection keeps its members, whichever name the version lists them by.
const QString MembersList = QStringLiteral("members");
const QString TagsElement = QStringLiteral("tags");

struct InMemoryObject
{
    QString className;
    QVariantMap properties;
    QHash<QString, QStringList> elements;
    std::optional<QString> exportFileName;
    QByteArray exportContents;
    bool exportFails = false;
};

struct InMemoryApplication
{
    bool isSource = true;
    bool installed = true;
    bool reachable = true;
    bool running = true;
    QHash<QString, InMemoryObject> objects;
    int nextObject = 1;

    // The major version as the engine reads it: the leading digits of the first part.
    int majorVersion() const
    {
        const QString version = objects.value(ApplicationPath).properties.value(QStringLiteral("version")).toString();
        int major = 0;
        for (QChar c : version) {
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                break;
            major = major * 10 + (c.unicode() - '0');
        }
        return major;
    }
};

// A property value the set-up leaves out: no value, or a null string.
bool isAbsent(const QVariant &value)
{
    return !value.isValid() || (value.metaType() == QMetaType::fromType<QString>() && value.toString().isNull());
}

QStringList applicationElements()
{
    QStringList elements {QStringLiteral("folderCollections"), QStringLiteral("tagCollections"),
                          QStringLiteral("labels")};
    for (KastrelItemKind kind :
         {KastrelItemKind::Note, KastrelItemKind::Bookmark, KastrelItemKind::SerialNumber, KastrelItemKind::Password,
          KastrelItemKind::Image, KastrelItemKind::PDFArchive, KastrelItemKind::WebArchive})
        elements.append(KastrelElementNameForItemKind(kind));
    return elements;
}

} // namespace

struct InMemoryScriptingState
{
    mutable QMutex mutex;
    QHash<QString, InMemoryApplication> applications;
    QStringList calls;
    QStringList released;
    QList<InMemoryScripting::ImportCall> imports;
    std::function<void(const QString &)> hook;
    QList<QPair<QString, std::exception_ptr>> callFailures;

    [[noreturn]] static void fail(const QString &identifier, const QString &problem)
    {
        throw KSScriptingException(QStringLiteral("%1: %2").arg(identifier, problem));
    }

    // Records a call into `identifier` and answers its application, which must be running.
    // The hook runs first, unlocked; the caller holds `lock` afterwards.
    InMemoryApplication &enter(QMutexLocker<QMutex> &lock, const QString &identifier, const QString &call)
    {
        const std::function<void(const QString &)> callHook = hook;
        lock.unlock();
        if (callHook)
            callHook(call);
        lock.relock();
        calls.append(call);
        for (qsizetype index = 0; index < callFailures.size(); ++index) {
            if (call.startsWith(callFailures.at(index).first)) {
                const std::exception_ptr failure = callFailures.takeAt(index).second;
                std::rethrow_exception(failure);
            }
        }
        auto found = applications.find(identifier);
        if (found == applications.end() || !found->running)
            fail(identifier, QStringLiteral("the application is not running (%1)").arg(call));
        return *found;
    }

    static InMemoryObject &object(InMemoryApplication &application, const QString &identifier, const QString &path)
    {
        auto found = application.objects.find(path);
        if (found == application.objects.end())
            fail(identifier, QStringLiteral("no object %1").arg(path));
        return *found;
    }

    InMemoryApplication &application(const QString &identifier)
    {
        auto found = applications.find(identifier);
        if (found == applications.end())
            fail(identifier, QStringLiteral("no such application in the test's set-up"));
        return *found;
    }
};

namespace {

class AnsweredExport : public KastrelPendingExport
{
public:
    QString answer() override
    {
        if (failure)
            std::rethrow_exception(failure);
        return path;
    }
    QString discard() override { return failure ? QString() : path; }

    QString path;
    std::exception_ptr failure;
};

class InMemoryKastrelScripting : public KastrelScripting
{
public:
    InMemoryKastrelScripting(std::shared_ptr<InMemoryScriptingState> state, QString identifier)
        : m_state(std::move(state))
        , m_identifier(std::move(identifier))
    { }

    QString identifier() const override { return m_identifier; }

    std::optional<QVariant> property(const QString &object, const QString &name) override
    {
        QMutexLocker lock(&m_state->mutex);
        InMemoryApplication &application = source(lock, QStringLiteral("property %1 %2").arg(object, name));
        const InMemoryObject &found = InMemoryScriptingState::object(application, m_identifier, object);
        if (name == QLatin1String("tagCollectionBehavior") && application.majorVersion() < 2)
            return std::nullopt;
        const auto value = found.properties.constFind(name);
        if (value == found.properties.constEnd())
            return std::nullopt;
        return *value;
    }

    quint32 count(const QString &container, const QString &element) override
    {
        QMutexLocker lock(&m_state->mutex);
        InMemoryApplication &application = source(lock, QStringLiteral("count %1 %2").arg(container, element));
        return quint32(list(application, container, element).size());
    }

    QStringList elements(const QString &container, const QString &element) override
    {
        QMutexLocker lock(&m_state->mutex);
        InMemoryApplication &application = source(lock, QStringLiteral("elements %1 %2").arg(container, element));
        return list(application, container, element);
    }

    QString exportItems(const QStringList &items, const QString &folder) override
    {
        QMutexLocker lock(&m_state->mutex);
        InMemoryApplication &application
            = source(lock, QStringLiteral("export %1 %2").arg(items.join(QLatin1Char(',')), folder));
        if (items.size() != 1)
            InMemoryScriptingState::fail(m_identifier,
                                         QStringLiteral("Export takes one item, not %1").arg(items.size()));
        const InMemoryObject &item = InMemoryScriptingState::object(application, m_identifier, items.first());
        if (item.className != ItemClass)
            InMemoryScriptingState::fail(m_identifier, QStringLiteral("%1 is no item").arg(items.first()));
        if (!QDir::isAbsolutePath(folder) || !QFileInfo(folder).isDir())
            InMemoryScriptingState::fail(m_identifier, QStringLiteral("no folder %1").arg(folder));
        if (item.exportFails)
            return QString(QLatin1String(""));

        QString fileName = item.exportFileName.value_or(item.properties.value(QStringLiteral("name")).toString());
        if (fileName.isEmpty())
            fileName = item.properties.value(QStringLiteral("id")).toString();
        const QByteArray contents = item.exportFileName
            ? item.exportContents
            : item.properties.value(QStringLiteral("name")).toString().toUtf8();
        const QString path = QDir(folder).absoluteFilePath(fileName);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size())
            InMemoryScriptingState::fail(m_identifier, QStringLiteral("cannot write %1").arg(path));
        return path;
    }

    // Done at once, as a source that works while the caller goes on would have done it by the
    // time the answer is taken; the answer, or what the export threw, waits in the result.
    std::unique_ptr<KastrelPendingExport> sendExport(const QStringList &items, const QString &folder) override
    {
        auto pending = std::make_unique<AnsweredExport>();
        try {
            pending->path = exportItems(items, folder);
        } catch (...) {
            pending->failure = std::current_exception();
        }
        return pending;
    }

    // Not a call into the application: only noted, for tests of when the engine lets go.
    void releaseObject(const QString &object) override
    {
        QMutexLocker lock(&m_state->mutex);
        m_state->released.append(object);
    }

private:
    InMemoryApplication &source(QMutexLocker<QMutex> &lock, const QString &call)
    {
        InMemoryApplication &application = m_state->enter(lock, m_identifier, call);
        if (!application.isSource)
            InMemoryScriptingState::fail(m_identifier, QStringLiteral("no source scripting interface"));
        return application;
    }

    QStringList list(InMemoryApplication &application, const QString &container, const QString &element)
    {
        const InMemoryObject &found = InMemoryScriptingState::object(application, m_identifier, container);
        const int major = application.majorVersion();
        QString stored;
        if (found.className == ApplicationClass && applicationElements().contains(element))
            stored = element;
        else if ((found.className == TagCollectionClass || found.className == ItemClass) && element == TagsElement)
            stored = element;
        else if (found.className == FolderCollectionClass
                 && ((element == QLatin1String("items") && major == 1)
                     || (element == QLatin1String("databaseItems") && major >= 2)))
            stored = MembersList;
        if (stored.isNull())
            InMemoryScriptingState::fail(m_identifier,
                                         QStringLiteral("%1 has no element \"%2\"").arg(container, element));
        return found.elements.value(stored);
    }

    std::shared_ptr<InMemoryScriptingState> m_state;
    QString m_identifier;
};

class InMemoryNortavelScripting : public NortavelScripting
{
public:
    InMemoryNortavelScripting(std::shared_ptr<InMemoryScriptingState> state, QString identifier)
        : m_state(std::move(state))
        , m_identifier(std::move(identifier))
    { }

    QString identifier() const override { return m_identifier; }

    QVariantMap properties() override
    {
        QMutexLocker lock(&m_state->mutex);
        InMemoryApplication &application = target(lock, QStringLiteral("version %1").arg(m_identifier));
        return application.objects.value(ApplicationPath).properties;
    }

    void activate() override
    {
        QMutexLocker lock(&m_state->mutex);
        target(lock, QStringLiteral("activate %1").arg(m_identifier));
    }

    void importFiles(const QStringList &files, quint32 by, const QVariantMap &options) override
    {
        QMutexLocker lock(&m_state->mutex);
        target(lock, QStringLiteral("importFiles %1").arg(m_identifier));
        m_state->imports.append(InMemoryScripting::ImportCall {m_identifier, files, by, options});
    }

private:
    InMemoryApplication &target(QMutexLocker<QMutex> &lock, const QString &call)
    {
        InMemoryApplication &application = m_state->enter(lock, m_identifier, call);
        if (application.isSource)
            InMemoryScriptingState::fail(m_identifier, QStringLiteral("no target scripting interface"));
        return application;
    }

    std::shared_ptr<InMemoryScriptingState> m_state;
    QString m_identifier;
};

void addApplication(InMemoryScriptingState &state, const QString &identifier, bool isSource, const QString &version)
{
    QMutexLocker lock(&state.mutex);
    InMemoryApplication application;
    application.isSource = isSource;
    InMemoryObject root;
    root.className = ApplicationClass;
    if (!version.isNull())
        root.properties.insert(QStringLiteral("version"), version);
    application.objects.insert(ApplicationPath, root);
    state.applications.insert(identifier, application);
}

} // namespace

InMemoryKastrel::InMemoryKastrel(std::shared_ptr<InMemoryScriptingState> state, QString identifier)
    : m_state(std::move(state))
    , m_identifier(std::move(identifier))
{ }

void InMemoryKastrel::setVersion(const QString &version)
{
    setProperty(ApplicationPath, QStringLiteral("version"), version.isNull() ? QVariant() : QVariant(version));
}

QString InMemoryKastrel::addObject(const QString &className, const QVariantMap &properties, const QString &listedIn)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryApplication &application = m_state->application(m_identifier);
    const QString path = QStringLiteral("/%1/%2").arg(className).arg(application.nextObject++);
    InMemoryObject object;
    object.className = className;
    for (auto it = properties.constBegin(); it != properties.constEnd(); ++it) {
        if (!isAbsent(it.value()))
            object.properties.insert(it.key(), it.value());
    }
    application.objects.insert(path, object);
    if (!listedIn.isNull())
        application.objects[ApplicationPath].elements[listedIn].append(path);
    return path;
}

QString InMemoryKastrel::addFolderCollection(const QString &id, const QString &name, const QString &comments)
{
    return addObject(
        FolderCollectionClass,
        {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("comments"), comments}},
        QStringLiteral("folderCollections"));
}

QString InMemoryKastrel::addTagCollection(const QString &id, const QString &name, const QString &comments,
                                          std::optional<quint32> behavior)
{
    QVariantMap properties {
        {QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("comments"), comments}};
    if (behavior)
        properties.insert(QStringLiteral("tagCollectionBehavior"), *behavior);
    return addObject(TagCollectionClass, properties, QStringLiteral("tagCollections"));
}

QString InMemoryKastrel::addLabel(const QString &id, const QString &name, const QString &color)
{
    return addObject(LabelClass,
                     {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("color"), color}},
                     QStringLiteral("labels"));
}

QString InMemoryKastrel::addItem(KastrelItemKind kind, const QString &id, const QString &name)
{
    return addObject(ItemClass, {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}},
                     KastrelElementNameForItemKind(kind));
}

QString InMemoryKastrel::addTag(const QString &name)
{
    return addObject(TagClass, {{QStringLiteral("name"), name}}, QString());
}

void InMemoryKastrel::addTagTo(const QString &container, const QString &tag)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryApplication &application = m_state->application(m_identifier);
    InMemoryScriptingState::object(application, m_identifier, container).elements[TagsElement].append(tag);
}

void InMemoryKastrel::addMember(const QString &folderCollection, const QString &item)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryApplication &application = m_state->application(m_identifier);
    InMemoryScriptingState::object(application, m_identifier, folderCollection).elements[MembersList].append(item);
}

void InMemoryKastrel::setLabel(const QString &item, const QString &label)
{
    setProperty(item, QStringLiteral("label"), QVariant::fromValue(QDBusObjectPath(label)));
}

void InMemoryKastrel::setProperty(const QString &object, const QString &name, const QVariant &value)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryApplication &application = m_state->application(m_identifier);
    QVariantMap &properties = InMemoryScriptingState::object(application, m_identifier, object).properties;
    if (isAbsent(value))
        properties.remove(name);
    else if (value.metaType() == QMetaType::fromType<QDateTime>())
        properties.insert(name, double(value.toDateTime().toMSecsSinceEpoch()) / 1000.0);
    else
        properties.insert(name, value);
}

void InMemoryKastrel::setExportFile(const QString &item, const QString &fileName, const QByteArray &contents)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryObject &object = InMemoryScriptingState::object(m_state->application(m_identifier), m_identifier, item);
    object.exportFileName = fileName;
    object.exportContents = contents;
    object.exportFails = false;
}

void InMemoryKastrel::setExportFails(const QString &item)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryScriptingState::object(m_state->application(m_identifier), m_identifier, item).exportFails = true;
}

void InMemoryKastrel::removeObject(const QString &object)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->application(m_identifier).objects.remove(object);
}

InMemoryScripting::InMemoryScripting()
    : m_state(std::make_shared<InMemoryScriptingState>())
{ }

InMemoryScripting::~InMemoryScripting() = default;

InMemoryKastrel InMemoryScripting::addKastrel(const QString &identifier, const QString &version)
{
    addApplication(*m_state, identifier, true, version);
    return InMemoryKastrel(m_state, identifier);
}

InMemoryKastrel InMemoryScripting::kastrel(const QString &identifier)
{
    return InMemoryKastrel(m_state, identifier);
}

void InMemoryScripting::addNortavel(const QString &identifier, const QString &version)
{
    addApplication(*m_state, identifier, false, version);
}

void InMemoryScripting::setInstalled(const QString &identifier, bool installed)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->application(identifier).installed = installed;
}

void InMemoryScripting::setReachable(const QString &identifier, bool reachable)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->application(identifier).reachable = reachable;
}

void InMemoryScripting::quit(const QString &identifier)
{
    QMutexLocker lock(&m_state->mutex);
    InMemoryApplication &application = m_state->application(identifier);
    application.running = false;
    application.reachable = false;
}

void InMemoryScripting::setCallHook(std::function<void(const QString &)> hook)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->hook = std::move(hook);
}

void InMemoryScripting::failNextCall(const QString &callPrefix, std::exception_ptr exception)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->callFailures.append({callPrefix, std::move(exception)});
}

QString InMemoryScripting::absolutePathForAppBundleWithIdentifier(const QString &identifier)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->calls.append(QStringLiteral("installed %1").arg(identifier));
    const auto found = m_state->applications.constFind(identifier);
    if (found == m_state->applications.constEnd() || !found->installed)
        return QString();
    return QStringLiteral("/usr/share/applications/%1.desktop").arg(identifier);
}

std::shared_ptr<KastrelScripting> InMemoryScripting::kastrelWithBundleIdentifier(const QString &identifier)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->calls.append(QStringLiteral("proxy %1").arg(identifier));
    const auto found = m_state->applications.constFind(identifier);
    if (found == m_state->applications.constEnd() || !found->reachable)
        return nullptr;
    return std::make_shared<InMemoryKastrelScripting>(m_state, identifier);
}

std::shared_ptr<NortavelScripting> InMemoryScripting::nortavelWithBundleIdentifier(const QString &identifier)
{
    QMutexLocker lock(&m_state->mutex);
    m_state->calls.append(QStringLiteral("proxy %1").arg(identifier));
    const auto found = m_state->applications.constFind(identifier);
    if (found == m_state->applications.constEnd() || !found->reachable)
        return nullptr;
    return std::make_shared<InMemoryNortavelScripting>(m_state, identifier);
}

QStringList InMemoryScripting::calls() const
{
    QMutexLocker lock(&m_state->mutex);
    return m_state->calls;
}

namespace {

int countCalls(const QStringList &calls, const std::function<bool(const QStringList &words)> &matches)
{
    int found = 0;
    for (const QString &call : calls) {
        if (matches(call.split(QLatin1Char(' '))))
            ++found;
    }
    return found;
}

} // namespace

int InMemoryScripting::propertyReads(const QString &name) const
{
    return countCalls(calls(), [&](const QStringList &words) {
        return words.size() == 3 && words[0] == QLatin1String("property") && words[2] == name;
    });
}

int InMemoryScripting::propertyReads(const QString &object, const QString &name) const
{
    return countCalls(calls(), [&](const QStringList &words) {
        return words.size() == 3 && words[0] == QLatin1String("property") && words[1] == object && words[2] == name;
    });
}

int InMemoryScripting::elementCounts(const QString &element) const
{
    return countCalls(calls(), [&](const QStringList &words) {
        return words.size() == 3 && words[0] == QLatin1String("count") && words[2] == element;
    });
}

int InMemoryScripting::elementFetches(const QString &element) const
{
    return countCalls(calls(), [&](const QStringList &words) {
        return words.size() == 3 && words[0] == QLatin1String("elements") && words[2] == element;
    });
}

int InMemoryScripting::exportCount() const
{
    return exportedItems().size();
}

QStringList InMemoryScripting::exportedItems() const
{
    QStringList items;
    for (const QString &call : calls()) {
        if (call.startsWith(QLatin1String("export ")))
            items.append(call.section(QLatin1Char(' '), 1, 1));
    }
    return items;
}

int InMemoryScripting::activateCount(const QString &identifier) const
{
    return int(calls().count(QStringLiteral("activate %1").arg(identifier)));
}

QList<InMemoryScripting::ImportCall> InMemoryScripting::importCalls() const
{
    QMutexLocker lock(&m_state->mutex);
    return m_state->imports;
}

QStringList InMemoryScripting::releasedObjects() const
{
    QMutexLocker lock(&m_state->mutex);
    return m_state->released;
}

void InMemoryScripting::clearCalls()
{
    QMutexLocker lock(&m_state->mutex);
    m_state->calls.clear();
    m_state->released.clear();
    m_state->imports.clear();
}
