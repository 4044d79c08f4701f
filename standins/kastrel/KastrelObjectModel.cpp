#include "standins/kastrel/KastrelObjectModel.h"

#include <numeric>

namespace Standin {

namespace {

struct ClassPath
{
    KastrelObjectRef::Class objectClass;
    const char *prefix;
};

const ClassPath kClassPaths[] = {
    {KastrelObjectRef::FolderCollection, "/folderCollections/"},
    {KastrelObjectRef::TagCollection, "/tagCollections/"},
    {KastrelObjectRef::Tag, "/tags/"},
    {KastrelObjectRef::Label, "/labels/"},
    {KastrelObjectRef::Item, "/items/"},
};

// The application's item elements, in the order of KastrelItemKind.
const QStringList kItemElements
    = {QStringLiteral("noteItems"),      QStringLiteral("bookmarkItems"), QStringLiteral("serialNumberItems"),
       QStringLiteral("passwordItems"),  QStringLiteral("imageItems"),    QStringLiteral("pdfArchiveItems"),
       QStringLiteral("webArchiveItems")};

QVector<int> indexesUpTo(qsizetype count)
{
    QVector<int> indexes(count);
    std::iota(indexes.begin(), indexes.end(), 0);
    return indexes;
}

bool setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

} // namespace

KastrelObjectModel::KastrelObjectModel(const KastrelLibrary &library, std::optional<QString> version)
    : m_library(library)
    , m_version(std::move(version))
    , m_majorVersion(m_version ? majorVersionOf(*m_version) : 0)
    , m_allFolderCollections(indexesUpTo(library.folderCollections().size()))
    , m_allTagCollections(indexesUpTo(library.tagCollections().size()))
    , m_allLabels(indexesUpTo(library.labels().size()))
{ }

int KastrelObjectModel::majorVersionOf(const QString &version)
{
    const QString first = version.section(QLatin1Char('.'), 0, 0).trimmed();
    int value = 0;
    for (const QChar c : first) {
        if (!c.isDigit() || value > 100000000)
            break;
        value = value * 10 + c.digitValue();
    }
    return value;
}

std::optional<KastrelObjectRef> KastrelObjectModel::resolve(const QString &path, QString *error) const
{
    if (path == QLatin1String("/"))
        return KastrelObjectRef {KastrelObjectRef::Application, 0};
    for (const ClassPath &classPath : kClassPaths) {
        const QLatin1String prefix(classPath.prefix);
        if (!path.startsWith(prefix))
            continue;
        bool ok = false;
        const QStringView number = QStringView(path).mid(prefix.size());
        const int index = number.toInt(&ok);
        // Only the path this model hands out names the object: no signs, no leading zeros.
        if (ok && index >= 0 && QString::number(index) == number) {
            qsizetype size = 0;
            switch (classPath.objectClass) {
            case KastrelObjectRef::FolderCollection:
                size = m_library.folderCollections().size();
                break;
            case KastrelObjectRef::TagCollection:
                size = m_library.tagCollections().size();
                break;
            case KastrelObjectRef::Tag:
                size = m_library.tagNames().size();
                break;
            case KastrelObjectRef::Label:
                size = m_library.labels().size();
                break;
            case KastrelObjectRef::Item:
                size = m_library.items().size();
                break;
            case KastrelObjectRef::Application:
                break;
            }
            if (index < size)
                return KastrelObjectRef {classPath.objectClass, index};
        }
        break;
    }
    setError(error, QStringLiteral("No such object: %1").arg(path));
    return std::nullopt;
}

QDBusObjectPath KastrelObjectModel::path(const KastrelObjectRef &object) const
{
    for (const ClassPath &classPath : kClassPaths) {
        if (classPath.objectClass == object.objectClass)
            return QDBusObjectPath(QLatin1String(classPath.prefix) + QString::number(object.index));
    }
    return QDBusObjectPath(QStringLiteral("/"));
}

QVariantMap KastrelObjectModel::properties(const KastrelObjectRef &object) const
{
    QVariantMap map;
    switch (object.objectClass) {
    case KastrelObjectRef::Application:
        if (m_version)
            map.insert(QStringLiteral("version"), *m_version);
        break;
    case KastrelObjectRef::FolderCollection: {
        const KastrelFolderCollection &collection = m_library.folderCollections().at(object.index);
        map.insert(QStringLiteral("id"), collection.id);
        map.insert(QStringLiteral("name"), collection.name);
        map.insert(QStringLiteral("comments"), collection.comments);
        break;
    }
    case KastrelObjectRef::TagCollection: {
        const KastrelTagCollection &collection = m_library.tagCollections().at(object.index);
        map.insert(QStringLiteral("id"), collection.id);
        map.insert(QStringLiteral("name"), collection.name);
        map.insert(QStringLiteral("comments"), collection.comments);
        if (m_majorVersion >= 2 && collection.behavior)
            map.insert(QStringLiteral("tagCollectionBehavior"), QVariant::fromValue(uint(*collection.behavior)));
        break;
    }
    case KastrelObjectRef::Tag:
        map.insert(QStringLiteral("name"), m_library.tagNames().at(object.index));
        break;
    case KastrelObjectRef::Label: {
        const KastrelLabel &label = m_library.labels().at(object.index);
        map.insert(QStringLiteral("id"), label.id);
        map.insert(QStringLiteral("name"), label.name);
        map.insert(QStringLiteral("color"), label.color);
        break;
    }
    case KastrelObjectRef::Item: {
        const KastrelItem &item = m_library.items().at(object.index);
        map.insert(QStringLiteral("id"), item.id);
        if (item.name)
            map.insert(QStringLiteral("name"), *item.name);
        map.insert(QStringLiteral("comments"), item.comments);
        if (item.creationDate)
            map.insert(QStringLiteral("creationDate"), *item.creationDate);
        if (item.modificationDate)
            map.insert(QStringLiteral("modificationDate"), *item.modificationDate);
        if (item.label >= 0)
            map.insert(QStringLiteral("label"),
                       QVariant::fromValue(path(KastrelObjectRef {KastrelObjectRef::Label, item.label})));
        if (item.encrypted)
            map.insert(QStringLiteral("encrypted"), *item.encrypted);
        if (item.password)
            map.insert(QStringLiteral("password"), *item.password);
        if (item.location)
            map.insert(QStringLiteral("location"), *item.location);
        for (auto served = item.served.cbegin(); served != item.served.cend(); ++served)
            map.insert(served.key(), served.value());
        break;
    }
    }
    return map;
}

std::optional<std::pair<KastrelObjectRef::Class, const QVector<int> *>>
KastrelObjectModel::elementIndexes(const KastrelObjectRef &container, const QString &element, QString *error) const
{
    switch (container.objectClass) {
    case KastrelObjectRef::Application: {
        if (element == QLatin1String("folderCollections"))
            return std::make_pair(KastrelObjectRef::FolderCollection, &m_allFolderCollections);
        if (element == QLatin1String("tagCollections"))
            return std::make_pair(KastrelObjectRef::TagCollection, &m_allTagCollections);
        if (element == QLatin1String("labels"))
            return std::make_pair(KastrelObjectRef::Label, &m_allLabels);
        const int kind = int(kItemElements.indexOf(element));
        if (kind >= 0)
            return std::make_pair(KastrelObjectRef::Item, &m_library.itemsOfKind(static_cast<KastrelItemKind>(kind)));
        break;
    }
    case KastrelObjectRef::FolderCollection:
        // The element was renamed with version 2: each version knows only its own name.
        if ((element == QLatin1String("items") && m_majorVersion < 2)
            || (element == QLatin1String("databaseItems") && m_majorVersion >= 2))
            return std::make_pair(KastrelObjectRef::Item, &m_library.folderCollections().at(container.index).items);
        break;
    case KastrelObjectRef::TagCollection:
        if (element == QLatin1String("tags"))
            return std::make_pair(KastrelObjectRef::Tag, &m_library.tagCollections().at(container.index).tags);
        break;
    case KastrelObjectRef::Item:
        if (element == QLatin1String("tags"))
            return std::make_pair(KastrelObjectRef::Tag, &m_library.items().at(container.index).tags);
        break;
    case KastrelObjectRef::Tag:
    case KastrelObjectRef::Label:
        break;
    }
    setError(error,
             QStringLiteral("%1 has no element \"%2\" at version %3")
                 .arg(path(container).path(), element, m_version.value_or(QStringLiteral("(none)"))));
    return std::nullopt;
}

std::optional<QList<QDBusObjectPath>> KastrelObjectModel::elements(const KastrelObjectRef &container,
                                                                   const QString &element, QString *error) const
{
    const auto indexes = elementIndexes(container, element, error);
    if (!indexes)
        return std::nullopt;
    QList<QDBusObjectPath> paths;
    paths.reserve(indexes->second->size());
    for (const int index : *indexes->second)
        paths << path(KastrelObjectRef {indexes->first, index});
    return paths;
}

std::optional<uint> KastrelObjectModel::count(const KastrelObjectRef &container, const QString &element,
                                              QString *error) const
{
    const auto indexes = elementIndexes(container, element, error);
    if (!indexes)
        return std::nullopt;
    return uint(indexes->second->size());
}

} // namespace Standin
