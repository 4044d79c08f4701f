// The source application's objects as the engine reads them: folder collections, tag
// collections, tags, labels and database items, and the element arrays that list them.
// They are light values (a connection and an object path); reading a property asks the
// connection, which answers from its cache where it can. A failed read throws
// KSScriptingException. Absent values are absent: a null QString or QDateTime, or an empty
// std::optional.
#pragma once

#include "engine/ScriptingBackend.h"

#include <QColor>
#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <type_traits>

// The kind of a database item, which follows from the element that listed it. Items listed
// by a folder collection are of no particular kind.
enum class KastrelItemKind {
    Unspecified,
    Note,
    Bookmark,
    SerialNumber,
    Password,
    Image,
    PDFArchive,
    WebArchive,
};

// The application's element that lists the items of `kind` ("noteItems", ...); a null string
// for Unspecified.
QString KastrelElementNameForItemKind(KastrelItemKind kind);

// Throws the scripting exception for a use of an object or list that refers to nothing.
[[noreturn]] void KastrelRaiseNullObject(const QString &use);

// Any object of the source application. A default-constructed object refers to nothing; every
// read of it throws.
class KastrelObject
{
public:
    KastrelObject() = default;
    KastrelObject(std::shared_ptr<KastrelScripting> scripting, QString objectPath);

    bool isNull() const { return !m_scripting; }

    const QString &objectPath() const { return m_objectPath; }
    const std::shared_ptr<KastrelScripting> &scripting() const { return m_scripting; }

    bool operator==(const KastrelObject &other) const;
    bool operator!=(const KastrelObject &other) const { return !(*this == other); }

    // Tells the connection that this object will not be read again, so that what it keeps of
    // the object can go: a large library's items need not all stay in memory.
    void release() const;

protected:
    std::optional<QVariant> property(const QString &name) const;
    QString stringProperty(const QString &name) const;
    // Describes a property of this object in failure messages.
    QString describeProperty(const QString &name) const;

    std::shared_ptr<KastrelScripting> m_scripting;
    QString m_objectPath;
};

// An object with an identifier unique in the library, and a name.
class KastrelIdentifiedObject : public KastrelObject
{
public:
    using KastrelObject::KastrelObject;

    QString id() const;
    QString name() const;
};

// An identified object that also carries the user's comments.
class KastrelCommentedObject : public KastrelIdentifiedObject
{
public:
    using KastrelIdentifiedObject::KastrelIdentifiedObject;

    QString comments() const;
};

class KastrelDatabaseItem;

// An element of an object: a list that is only asked when the engine calls count() or get().
template<typename Element> class KastrelElementArray
{
public:
    KastrelElementArray(std::shared_ptr<KastrelScripting> scripting, QString container, QString element,
                        KastrelItemKind kind = KastrelItemKind::Unspecified)
        : m_scripting(std::move(scripting))
        , m_container(std::move(container))
        , m_element(std::move(element))
        , m_kind(kind)
    { }

    const QString &elementName() const { return m_element; }

    quint32 count() const { return scripting()->count(m_container, m_element); }

    // The objects of the element, in the source's order.
    QList<Element> get() const
    {
        const QStringList paths = scripting()->elements(m_container, m_element);
        QList<Element> objects;
        objects.reserve(paths.size());
        for (const QString &path : paths) {
            if constexpr (std::is_same_v<Element, KastrelDatabaseItem>)
                objects.append(Element(m_scripting, path, m_kind));
            else
                objects.append(Element(m_scripting, path));
        }
        return objects;
    }

private:
    KastrelScripting *scripting() const
    {
        if (!m_scripting)
            KastrelRaiseNullObject(m_element);
        return m_scripting.get();
    }

    std::shared_ptr<KastrelScripting> m_scripting;
    QString m_container;
    QString m_element;
    KastrelItemKind m_kind;
};

class KastrelTag : public KastrelObject
{
public:
    using KastrelObject::KastrelObject;

    QString name() const;
};

class KastrelLabel : public KastrelIdentifiedObject
{
public:
    using KastrelIdentifiedObject::KastrelIdentifiedObject;

    // The colour converted to device RGB; an invalid QColor when the label has none or its
    // colour cannot be read.
    QColor color() const;
    // The colour as the source wrote it; a null string when absent.
    QString colorString() const;
};

class KastrelDatabaseItem : public KastrelCommentedObject
{
public:
    KastrelDatabaseItem() = default;
    KastrelDatabaseItem(std::shared_ptr<KastrelScripting> scripting, QString objectPath,
                        KastrelItemKind kind = KastrelItemKind::Unspecified);

    KastrelItemKind kind() const { return m_kind; }

    QDateTime creationDate() const;
    QDateTime modificationDate() const;

    // Resolves the item's label reference: the label, or nothing when the item has none.
    std::optional<KastrelLabel> label() const;

    KastrelElementArray<KastrelTag> tags() const;

    // Only some kinds have `encrypted`; ask respondsToEncrypted() first.
    bool respondsToEncrypted() const;
    std::optional<bool> encrypted() const;

    // Password items have a password; only whether they do is of interest.
    bool respondsToPassword() const;

    // The bookmark's address as text; a null string when absent.
    QString location() const;

private:
    KastrelItemKind m_kind = KastrelItemKind::Unspecified;
};

class KastrelFolderCollection : public KastrelCommentedObject
{
public:
    using KastrelCommentedObject::KastrelCommentedObject;

    // Members as a source of major version 1 lists them.
    KastrelElementArray<KastrelDatabaseItem> items() const;
    // Members as a source of major version 2 and later lists them.
    KastrelElementArray<KastrelDatabaseItem> databaseItems() const;
};

class KastrelTagCollection : public KastrelCommentedObject
{
public:
    using KastrelCommentedObject::KastrelCommentedObject;

    // Only sources of major version 2 and later have it.
    std::optional<quint32> tagCollectionBehavior() const;

    KastrelElementArray<KastrelTag> tags() const;
};
