// The groups stage: every folder collection of the source becomes an ItemGroup record
// listing its members' identifiers.
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

bool KSImportOperation::importGroups()
{
    informDelegateWillStartImportingRecordsOfType(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Groups")));
    writeLog(QStringLiteral("Exporting groups"));
    m_library.beginGroups();

    const KastrelApplication source = *kastrelApp();
    // Sources before version 2 list a collection's members as "items", later ones as "databaseItems".
    const bool listsItems = majorVersion() < 2;
    for (const KastrelFolderCollection &collection : source.folderCollections().get()) {
        if (isCancelled())
            return false;
        const QString identifier = collection.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting group with identifier %@"), {identifier}));

        const QList<KastrelDatabaseItem> members
            = listsItems ? collection.items().get() : collection.databaseItems().get();
        QStringList memberIdentifiers;
        memberIdentifiers.reserve(members.size());
        for (const KastrelDatabaseItem &member : members)
            memberIdentifiers.append(member.id());

        m_library.addGroup(identifier, collection.name(), collection.comments(), memberIdentifiers);
    }
    return true;
}
