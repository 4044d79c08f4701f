// The source application's element classes; see KastrelElements.h.
#include "engine/KastrelElements.h"

#include "engine/KSScriptingException.h"
#include "engine/ScriptingColor.h"
#include "engine/ScriptingValues.h"

namespace {

const QString IdKey = QStringLiteral("id");
const QString NameKey = QStringLiteral("name");
const QString CommentsKey = QStringLiteral("comments");
const QString TagsElement = QStringLiteral("tags");

} // namespace

QString KastrelElementNameForItemKind(KastrelItemKind kind)
{
    switch (kind) {
    case KastrelItemKind::Note:
        return QStringLiteral("noteItems");
    case KastrelItemKind::Bookmark:
        return QStringLiteral("bookmarkItems");
    case KastrelItemKind::SerialNumber:
        return QStringLiteral("serialNumberItems");
    case KastrelItemKind::Password:
        return QStringLiteral("passwordItems");
    case KastrelItemKind::Image:
        return QStringLiteral("imageItems");
    case KastrelItemKind::PDFArchive:
        return QStringLiteral("pdfArchiveItems");
    case KastrelItemKind::WebArchive:
        return QStringLiteral("webArchiveItems");
    case KastrelItemKind::Unspecified:
        break;
    }
    return QString();
}

void KastrelRaiseNullObject(const QString &use)
{
    throw KSScriptingException(QStringLiteral("%1 of an object that refers to nothing").arg(use));
}

KastrelObject::KastrelObject(std::shared_ptr<KastrelScripting> scripting, QString objectPath)
    : m_scripting(std::move(scripting))
    , m_objectPath(std::move(objectPath))
{ }

bool KastrelObject::operator==(const KastrelObject &other) const
{
    return m_scripting == other.m_scripting && m_objectPath == other.m_objectPath;
}

void KastrelObject::release() const
{
    if (m_scripting)
        m_scripting->releaseObject(m_objectPath);
}

std::optional<QVariant> KastrelObject::property(const QString &name) const
{
    if (!m_scripting)
        KastrelRaiseNullObject(QStringLiteral("Property \"%1\"").arg(name));
    return m_scripting->property(m_objectPath, name);
}

QString KastrelObject::stringProperty(const QString &name) const
{
    return ScriptingValues::string(property(name), describeProperty(name));
}

QString KastrelObject::describeProperty(const QString &name) const
{
    const QString application = m_scripting ? m_scripting->identifier() : QStringLiteral("no application");
    return QStringLiteral("Property \"%1\" of %2 in %3").arg(name, m_objectPath, application);
}

QString KastrelIdentifiedObject::id() const
{
    return stringProperty(IdKey);
}

QString KastrelIdentifiedObject::name() const
{
    return stringProperty(NameKey);
}

QString KastrelCommentedObject::comments() const
{
    return stringProperty(CommentsKey);
}

QString KastrelTag::name() const
{
    return stringProperty(NameKey);
}

QColor KastrelLabel::color() const
{
    const QString text = colorString();
    return text.isNull() ? QColor() : ScriptingColor::deviceRGBColor(text);
}

QString KastrelLabel::colorString() const
{
    return stringProperty(QStringLiteral("color"));
}

KastrelDatabaseItem::KastrelDatabaseItem(std::shared_ptr<KastrelScripting> scripting, QString objectPath,
                                         KastrelItemKind kind)
    : KastrelCommentedObject(std::move(scripting), std::move(objectPath))
    , m_kind(kind)
{ }

QDateTime KastrelDatabaseItem::creationDate() const
{
    const QString key = QStringLiteral("creationDate");
    return ScriptingValues::date(property(key), describeProperty(key));
}

QDateTime KastrelDatabaseItem::modificationDate() const
{
    const QString key = QStringLiteral("modificationDate");
    return ScriptingValues::date(property(key), describeProperty(key));
}

std::optional<KastrelLabel> KastrelDatabaseItem::label() const
{
    const QString key = QStringLiteral("label");
    const QString path = ScriptingValues::objectReference(property(key), describeProperty(key));
    if (path.isNull())
        return std::nullopt;
    return KastrelLabel(m_scripting, path);
}

KastrelElementArray<KastrelTag> KastrelDatabaseItem::tags() const
{
    return KastrelElementArray<KastrelTag>(m_scripting, m_objectPath, TagsElement);
}

bool KastrelDatabaseItem::respondsToEncrypted() const
{
    return property(QStringLiteral("encrypted")).has_value();
}

std::optional<bool> KastrelDatabaseItem::encrypted() const
{
    const QString key = QStringLiteral("encrypted");
    return ScriptingValues::truthValue(property(key), describeProperty(key));
}

bool KastrelDatabaseItem::respondsToPassword() const
{
    return property(QStringLiteral("password")).has_value();
}

QString KastrelDatabaseItem::location() const
{
    return stringProperty(QStringLiteral("location"));
}

KastrelElementArray<KastrelDatabaseItem> KastrelFolderCollection::items() const
{
    return KastrelElementArray<KastrelDatabaseItem>(m_scripting, m_objectPath, QStringLiteral("items"));
}

KastrelElementArray<KastrelDatabaseItem> KastrelFolderCollection::databaseItems() const
{
    return KastrelElementArray<KastrelDatabaseItem>(m_scripting, m_objectPath, QStringLiteral("databaseItems"));
}

std::optional<quint32> KastrelTagCollection::tagCollectionBehavior() const
{
    const QString key = QStringLiteral("tagCollectionBehavior");
    return ScriptingValues::fourCharCode(property(key), describeProperty(key));
}

KastrelElementArray<KastrelTag> KastrelTagCollection::tags() const
{
    return KastrelElementArray<KastrelTag>(m_scripting, m_objectPath, TagsElement);
}
