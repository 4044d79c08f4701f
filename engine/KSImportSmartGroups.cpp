// The smart groups stage: every tag collection becomes a SmartGroup with one RuleSet, and
// each of its tags a RuleValue that matches items carrying a tag of that name.
#include "engine/KSFourCharCode.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

bool KSImportOperation::importSmartGroups()
{
    informDelegateWillStartImportingRecordsOfType(
        OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Smart Groups")));
    writeLog(QStringLiteral("Exporting smart groups"));
    m_library.beginSmartGroups();

    const KastrelApplication source = *kastrelApp();
    // Sources before version 2 have no behaviour: their smart groups match all their tags.
    const bool hasBehavior = majorVersion() >= 2;
    for (const KastrelTagCollection &collection : source.tagCollections().get()) {
        if (isCancelled())
            return false;
        const QString identifier = collection.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting smart group with identifier %@"), {identifier}));

        const QString ruleSetIdentifier = KSLibraryRecords::freshIdentifier();
        m_library.addSmartGroup(identifier, collection.name(), collection.comments(), ruleSetIdentifier);

        const bool matchAll
            = hasBehavior ? collection.tagCollectionBehavior() == KSTagCollectionBehaviorMatchAll : true;

        QStringList ruleValues;
        for (const KastrelTag &tag : collection.tags().get()) {
            const QString tagName = tag.name();
            writeLog(OVStringWithFormat(QStringLiteral("Adding tag %@ to smart group %@"), {tagName, identifier}));
            const QString ruleValueIdentifier = KSLibraryRecords::freshIdentifier();
            m_library.addRuleValue(ruleValueIdentifier, ruleSetIdentifier, tagName);
            ruleValues.append(ruleValueIdentifier);
        }
        m_library.addRuleSet(ruleSetIdentifier, matchAll, identifier, ruleValues);
    }
    return true;
}
