// The scripting object model over a loaded library: object paths for the application, its
// collections, labels, tags and items, their property dictionaries and their elements, as
// a source of the given version offers them. Paths carry the object's position, so a
// request is answered by index, never by searching.
#pragma once

#include "standins/kastrel/KastrelLibrary.h"

#include <QDBusObjectPath>
#include <QVariantMap>
#include <optional>

namespace Standin {

struct KastrelObjectRef
{
    enum Class { Application, FolderCollection, TagCollection, Tag, Label, Item };
    Class objectClass = Application;
    int index = 0;
};

class KastrelObjectModel
{
public:
    // `version` absent means the application answers no version; its major version is then 0.
    KastrelObjectModel(const KastrelLibrary &library, std::optional<QString> version);

    int majorVersion() const { return m_majorVersion; }

    // The object a path names, or nullopt (with a message) for a path that names none.
    std::optional<KastrelObjectRef> resolve(const QString &path, QString *error = nullptr) const;
    QDBusObjectPath path(const KastrelObjectRef &object) const;

    QVariantMap properties(const KastrelObjectRef &object) const;

    // The element's objects in library order, or nullopt when the container has no such
    // element at this version.
    std::optional<QList<QDBusObjectPath>> elements(const KastrelObjectRef &container, const QString &element,
                                                   QString *error = nullptr) const;
    std::optional<uint> count(const KastrelObjectRef &container, const QString &element,
                              QString *error = nullptr) const;

    // Leading digits of the text before the first "."; 0 when there are none.
    static int majorVersionOf(const QString &version);

private:
    // The indexes an element lists, and the class of the objects it lists.
    std::optional<std::pair<KastrelObjectRef::Class, const QVector<int> *>>
    elementIndexes(const KastrelObjectRef &container, const QString &element, QString *error) const;

    const KastrelLibrary &m_library;
    std::optional<QString> m_version;
    int m_majorVersion = 0;
    QVector<int> m_allFolderCollections;
    QVector<int> m_allTagCollections;
    QVector<int> m_allLabels;
};

} // namespace Standin
