// The records of the library file: its entity names, keys and the target's vocabulary, and
// builders for the group, smart group, rule set, rule value and label records.
#pragma once

#include "foundation/OVPlist.h"

#include <QColor>
#include <QString>
#include <QStringList>

namespace KSLibraryRecords {

inline const QString entitiesKey = QStringLiteral("Entities");
inline const QString exporterVersionKey = QStringLiteral("ExporterVersion");
inline const QString removeFileOnCompletionKey = QStringLiteral("RemoveFileOnCompletion");
inline const QString entityNameKey = QStringLiteral("com.orvantis.Nortavel.EntityName");
inline const QString identifierKey = QStringLiteral("identifier");

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

// A fresh random identifier in canonical upper-case form, 8-4-4-4-12.
QString freshIdentifier();

// A record that knows its entity and its identifier.
OVPlist record(const QString &entity, const QString &identifier);

OVPlist itemGroup(const QString &identifier, const QString &name, const QString &comments, const QStringList &items);
OVPlist smartGroup(const QString &identifier, const QString &name, const QString &comments, const QString &ruleSet);
OVPlist ruleSet(const QString &identifier, bool matchAll, const QString &smartGroup, const QStringList &ruleValues);
OVPlist ruleValue(const QString &identifier, const QString &ruleSet, const QString &tagName);
// `color` converted to device RGB; an invalid colour gives four zeros.
OVPlist label(const QString &identifier, const QString &name, const QColor &color);

} // namespace KSLibraryRecords
