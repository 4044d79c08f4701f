// Typed reading of the values the scripting interfaces answer. An absent value stays absent;
// a value of another type than promised is a failed read and throws KSScriptingException,
// whose reason names the value (`what`) and the type found.
#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>

namespace ScriptingValues {

// A string; a null string when absent, a non-null (possibly empty) one when present.
QString string(const std::optional<QVariant> &value, const QString &what);

std::optional<bool> truthValue(const std::optional<QVariant> &value, const QString &what);

std::optional<qint32> integer(const std::optional<QVariant> &value, const QString &what);

// A date from seconds since 1970-01-01 UTC, as a UTC date-time; null when absent.
QDateTime date(const std::optional<QVariant> &value, const QString &what);

std::optional<quint32> fourCharCode(const std::optional<QVariant> &value, const QString &what);

// An object reference as its object path; a null string when absent.
QString objectReference(const std::optional<QVariant> &value, const QString &what);

// The name of a value's type in the terms of the scripting contract, for messages.
QString typeName(const QVariant &value);

} // namespace ScriptingValues
