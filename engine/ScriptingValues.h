// Typed reading of the values the scripting interfaces answer. An absent value stays absent;
// a value of another type than promised, or one that cannot stand for what it should (a date
// that is no date), is a failed read and throws KSScriptingValueException, whose reason names
// the value (`what`) and what was found.
#pragma once

#include "engine/KSScriptingException.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>

// A value the application did answer, but that cannot be used: the call itself went well, so
// whoever reads an optional property can go on without it.
class KSScriptingValueException : public KSScriptingException
{
public:
    using KSScriptingException::KSScriptingException;
};

namespace ScriptingValues {

// A string; a null string when absent, a non-null (possibly empty) one when present.
QString string(const std::optional<QVariant> &value, const QString &what);

std::optional<bool> truthValue(const std::optional<QVariant> &value, const QString &what);

std::optional<qint32> integer(const std::optional<QVariant> &value, const QString &what);

// A date from seconds since 1970-01-01 UTC, as a UTC date-time; null when absent. Seconds that
// are not finite or lie outside the years 1 to 9999 are no date.
QDateTime date(const std::optional<QVariant> &value, const QString &what);

std::optional<quint32> fourCharCode(const std::optional<QVariant> &value, const QString &what);

// An object reference as its object path; a null string when absent.
QString objectReference(const std::optional<QVariant> &value, const QString &what);

// The name of a value's type in the terms of the scripting contract, for messages.
QString typeName(const QVariant &value);

} // namespace ScriptingValues
