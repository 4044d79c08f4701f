// The source application object; see KastrelApplication.h.
#include "engine/KastrelApplication.h"

#include "engine/KSScriptingException.h"
#include "engine/ScriptingValues.h"

#include <QDir>

namespace {

const QString ApplicationPath = QStringLiteral("/");

} // namespace

std::optional<KastrelApplication> KastrelApplication::applicationWithBundleIdentifier(ScriptingBackend &backend,
                                                                                      const QString &identifier)
{
    std::shared_ptr<KastrelScripting> scripting = backend.kastrelWithBundleIdentifier(identifier);
    if (!scripting)
        return std::nullopt;
    return KastrelApplication(std::move(scripting));
}

KastrelApplication::KastrelApplication(std::shared_ptr<KastrelScripting> scripting)
    : KastrelObject(std::move(scripting), ApplicationPath)
{ }

QString KastrelApplication::bundleIdentifier() const
{
    return m_scripting ? m_scripting->identifier() : QString();
}

QString KastrelApplication::version() const
{
    return stringProperty(QStringLiteral("version"));
}

KastrelElementArray<KastrelFolderCollection> KastrelApplication::folderCollections() const
{
    return KastrelElementArray<KastrelFolderCollection>(m_scripting, m_objectPath, QStringLiteral("folderCollections"));
}

KastrelElementArray<KastrelTagCollection> KastrelApplication::tagCollections() const
{
    return KastrelElementArray<KastrelTagCollection>(m_scripting, m_objectPath, QStringLiteral("tagCollections"));
}

KastrelElementArray<KastrelLabel> KastrelApplication::labels() const
{
    return KastrelElementArray<KastrelLabel>(m_scripting, m_objectPath, QStringLiteral("labels"));
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::noteItems() const
{
    return itemsOfKind(KastrelItemKind::Note);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::bookmarkItems() const
{
    return itemsOfKind(KastrelItemKind::Bookmark);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::serialNumberItems() const
{
    return itemsOfKind(KastrelItemKind::SerialNumber);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::passwordItems() const
{
    return itemsOfKind(KastrelItemKind::Password);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::imageItems() const
{
    return itemsOfKind(KastrelItemKind::Image);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::pdfArchiveItems() const
{
    return itemsOfKind(KastrelItemKind::PDFArchive);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::webArchiveItems() const
{
    return itemsOfKind(KastrelItemKind::WebArchive);
}

KastrelElementArray<KastrelDatabaseItem> KastrelApplication::itemsOfKind(KastrelItemKind kind) const
{
    const QString element = KastrelElementNameForItemKind(kind);
    if (element.isNull())
        throw KSScriptingException(QStringLiteral("%1 lists no items without a kind").arg(bundleIdentifier()));
    return KastrelElementArray<KastrelDatabaseItem>(m_scripting, m_objectPath, element, kind);
}

QString KastrelApplication::exportTo(const QList<KastrelDatabaseItem> &items, const QString &folder) const
{
    if (!m_scripting)
        KastrelRaiseNullObject(QStringLiteral("Export"));
    QStringList paths;
    paths.reserve(items.size());
    for (const KastrelDatabaseItem &item : items)
        paths.append(item.objectPath());
    // The application resolves the folder in its own working directory: hand it an absolute one.
    const QString path = m_scripting->exportItems(paths, QDir(folder).absolutePath());
    return path.isEmpty() ? QString() : path;
}

std::unique_ptr<KastrelPendingExport> KastrelApplication::sendExportTo(const KastrelDatabaseItem &item,
                                                                       const QString &folder) const
{
    if (!m_scripting)
        KastrelRaiseNullObject(QStringLiteral("Export"));
    return m_scripting->sendExport({item.objectPath()}, QDir(folder).absolutePath());
}
