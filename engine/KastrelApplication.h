// The source application as the engine drives it: its version, the element arrays of its
// collections, labels and items, and the command that exports one item's file. Made from a
// bundle identifier through a ScriptingBackend; every read that fails throws
// KSScriptingException.
#pragma once

#include "engine/KastrelElements.h"
#include "engine/ScriptingBackend.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>

class KastrelApplication : public KastrelObject
{
public:
    // The source application with `identifier`, or nothing when it is neither running nor
    // startable. Making the proxy does not start the application; the first read does.
    static std::optional<KastrelApplication> applicationWithBundleIdentifier(ScriptingBackend &backend,
                                                                             const QString &identifier);

    // An application that refers to nothing (isNull()); every read of it throws.
    KastrelApplication() = default;
    explicit KastrelApplication(std::shared_ptr<KastrelScripting> scripting);

    // A null string for an application that refers to nothing.
    QString bundleIdentifier() const;

    // The version, such as "2.1.3"; a null string when the application answers none, an
    // empty (non-null) one when it answers an empty string.
    QString version() const;

    KastrelElementArray<KastrelFolderCollection> folderCollections() const;
    KastrelElementArray<KastrelTagCollection> tagCollections() const;
    KastrelElementArray<KastrelLabel> labels() const;

    KastrelElementArray<KastrelDatabaseItem> noteItems() const;
    KastrelElementArray<KastrelDatabaseItem> bookmarkItems() const;
    KastrelElementArray<KastrelDatabaseItem> serialNumberItems() const;
    KastrelElementArray<KastrelDatabaseItem> passwordItems() const;
    KastrelElementArray<KastrelDatabaseItem> imageItems() const;
    KastrelElementArray<KastrelDatabaseItem> pdfArchiveItems() const;
    KastrelElementArray<KastrelDatabaseItem> webArchiveItems() const;
    // The array of items of `kind`; Unspecified is not a kind the application lists.
    KastrelElementArray<KastrelDatabaseItem> itemsOfKind(KastrelItemKind kind) const;

    // Asks the application to write the file of `items` (one item) into `folder`, an existing
    // folder. The absolute path of the written file, or a null string when it wrote nothing.
    QString exportTo(const QList<KastrelDatabaseItem> &items, const QString &folder) const;
    // The same for one item, without waiting: the answer is taken from what this returns.
    std::unique_ptr<KastrelPendingExport> sendExportTo(const KastrelDatabaseItem &item, const QString &folder) const;
};
