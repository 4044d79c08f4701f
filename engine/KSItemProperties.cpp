// One item's bad data stays that item's: a property the source answers but that cannot be used
// (a date that is no date, a value of the wrong type, a label that is not there) leaves the
// item without that value and lists it, and an identifier that an earlier item already has
// is given one of its own, so that neither stops the run nor loses an item.
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "engine/ScriptingValues.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

bool KSImportOperation::readItemProperty(const QString &property, const std::function<void()> &read)
{
    try {
        read();
        return true;
    } catch (const KSScriptingValueException &exception) {
        if (!m_unusableItemProperties.contains(property)) {
            m_unusableItemProperties.insert(property);
            noteItemProblem(
                m_currentItemIdentifier, m_currentItemName, ItemProblemKind::Incomplete,
                OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "its \"%@\" could not be used (%@)"),
                                          {property, exception.reason()}));
        }
        return false;
    }
}

QDateTime KSImportOperation::itemCreationDate(const KastrelDatabaseItem &item)
{
    QDateTime date;
    readItemProperty(QStringLiteral("creationDate"), [&] { date = item.creationDate(); });
    return date;
}

QDateTime KSImportOperation::itemModificationDate(const KastrelDatabaseItem &item)
{
    QDateTime date;
    readItemProperty(QStringLiteral("modificationDate"), [&] { date = item.modificationDate(); });
    return date;
}

QString KSImportOperation::recordIdentifierForItem(const QString &identifier, const QString &name)
{
    const OVPlist records = m_libraryPlist.value(KSLibraryRecords::entitiesKey).value(KSLibraryRecords::itemEntity);
    if (!records.contains(identifier))
        return identifier;
    QString own;
    for (qint64 number = 2; own.isNull() || records.contains(own); ++number)
        own = QStringLiteral("%1-%2").arg(identifier).arg(number);
    noteItemProblem(identifier, name, ItemProblemKind::Incomplete,
                    OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                "its identifier is that of an earlier item: it "
                                                                "arrived as \"%@\", outside the groups that list "
                                                                "\"%@\""),
                                              {own, identifier}));
    return own;
}
