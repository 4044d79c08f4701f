// One item's bad data stays that item's: a property the source answers but that cannot be used
// (a date that is no date, a value of the wrong type, a label that is not there) leaves the
// item without that value and lists it, and an identifier that an earlier item already has
// is given one of its own, so that neither stops the run nor loses an item.
#include "engine/KSImportOperation.h"
#include "engine/ScriptingValues.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

bool KSImportOperation::readItemProperty(ExportedItem &item, const QString &property, const std::function<void()> &read)
{
    try {
        read();
        return true;
    } catch (const KSScriptingValueException &exception) {
        if (!item.unusableProperties.contains(property)) {
            item.unusableProperties.insert(property);
            noteItemProblem(
                item, ItemProblemKind::Incomplete,
                OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "its \"%@\" could not be used (%@)"),
                                          {property, exception.reason()}));
        }
        return false;
    }
}

QDateTime KSImportOperation::itemCreationDate(ExportedItem &item)
{
    QDateTime date;
    readItemProperty(item, QStringLiteral("creationDate"), [&] { date = item.item.creationDate(); });
    return date;
}

QDateTime KSImportOperation::itemModificationDate(ExportedItem &item)
{
    QDateTime date;
    readItemProperty(item, QStringLiteral("modificationDate"), [&] { date = item.item.modificationDate(); });
    return date;
}

QString KSImportOperation::recordIdentifierForItem(const ExportedItem &item)
{
    const QString &identifier = item.identifier;
    if (!m_library.containsItem(identifier))
        return identifier;
    QString own;
    for (qint64 number = 2; own.isNull() || m_library.containsItem(own); ++number)
        own = QStringLiteral("%1-%2").arg(identifier).arg(number);
    noteItemProblem(item, ItemProblemKind::Incomplete,
                    OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                "its identifier is that of an earlier item: it "
                                                                "arrived as \"%@\", outside the groups that list "
                                                                "\"%@\""),
                                              {own, identifier}));
    return own;
}
