// What each record of the library file holds: its entity names, keys and the target's
// vocabulary, and builders for the item, group, smart group, rule set, rule value and label
// records. The keys are spelled here and nowhere else.
#pragma once

#include "foundation/OVPlist.h"

#include <QColor>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

// What an item record holds. Every kind sets the type, identifier, file and the attributes
// every item carries (comments, tags, label, groups); notes and database items also a name and
// their dates; the encryption flag only where the kind asks for it.
struct KSItemRecord
{
    qint64 type = 0;
    QString identifier;
    QString path; // the absolute path of the item's file
    QString fileName; // its last component
    // The file name without its extension; a null string leaves the key out (bookmarks, PDFs).
    QString name;
    // Each left out when invalid.
    QDateTime dateCreated;
    QDateTime dateModified;
    // Asks the target to encrypt the item; left out when unset.
    std::optional<bool> encrypted;
    // Each left out when empty.
    QString comments;
    QString tags; // the tag names joined by ","
    QString label; // the identifier of the item's label
    // "LibraryGroup", then the groups that list the item; always written.
    OVPlist::Array groups;
};

namespace KSLibraryRecords {

inline const QString entitiesKey = QStringLiteral("Entities");
inline const QString exporterVersionKey = QStringLiteral("ExporterVersion");
inline const QString removeFileOnCompletionKey = QStringLiteral("RemoveFileOnCompletion");
inline const QString entityNameKey = QStringLiteral("com.orvantis.Nortavel.EntityName");
inline const QString identifierKey = QStringLiteral("identifier");
// The key of an item record that names its file; the library file is read back by it.
inline const QString itemFileKey = QStringLiteral("absoluteFilename");

inline const QString itemGroupEntity = QStringLiteral("ItemGroup");
inline const QString smartGroupEntity = QStringLiteral("SmartGroup");
inline const QString ruleSetEntity = QStringLiteral("RuleSet");
inline const QString ruleValueEntity = QStringLiteral("RuleValue");
inline const QString labelEntity = QStringLiteral("Label");
inline const QString itemEntity = QStringLiteral("Item");

inline constexpr qint64 itemGroupType = 50;
inline constexpr qint64 smartGroupType = 60;
inline constexpr qint64 labelGroupType = 1020;
inline constexpr qint64 tagNameConditionType = 101;
inline constexpr qint64 stringValueType = 8;

// The node every item record's "groups" begins with; records share it.
const OVPlist &libraryGroup();

// A fresh random identifier in canonical upper-case form, 8-4-4-4-12.
QString freshIdentifier();

// A record that knows its entity and its identifier.
OVPlist record(const QString &entity, const QString &identifier);

OVPlist item(const KSItemRecord &item);
// The top-level keys the item stage sets: the layout's version and the folder the target
// deletes once it has imported the library.
void setItemStageKeys(OVPlist &library, const QString &exportFolder);
// The file an item record names, and its name or, for a record without one, `fallback`.
QString itemFile(const OVPlist &itemRecord);
QString itemName(const OVPlist &itemRecord, const QString &fallback);
qint64 itemType(const OVPlist &itemRecord);
// The members a group record lists, or an invalid value when it lists none.
OVPlist groupMembers(const OVPlist &groupRecord);

OVPlist itemGroup(const QString &identifier, const QString &name, const QString &comments, const QStringList &items);
OVPlist smartGroup(const QString &identifier, const QString &name, const QString &comments, const QString &ruleSet);
OVPlist ruleSet(const QString &identifier, bool matchAll, const QString &smartGroup, const QStringList &ruleValues);
OVPlist ruleValue(const QString &identifier, const QString &ruleSet, const QString &tagName);
// `color` converted to device RGB; an invalid colour gives four zeros.
OVPlist label(const QString &identifier, const QString &name, const QColor &color);

} // namespace KSLibraryRecords
