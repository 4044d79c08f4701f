// Typed reading of scripting values; see ScriptingValues.h.
#include "engine/ScriptingValues.h"

#include "engine/KSScriptingException.h"

#include <QDBusObjectPath>
#include <cmath>

namespace ScriptingValues {

namespace {

[[noreturn]] void raiseWrongType(const QString &what, const char *expected, const QVariant &value)
{
    throw KSScriptingValueException(
        QStringLiteral("%1 is %2, not %3").arg(what, typeName(value), QLatin1String(expected)));
}

bool holds(const QVariant &value, QMetaType::Type type)
{
    return value.metaType().id() == type;
}

// A value of one plain type, read as it is.
template<typename T>
std::optional<T> plain(const std::optional<QVariant> &value, const QString &what, QMetaType::Type type,
                       const char *expected)
{
    if (!value)
        return std::nullopt;
    if (!holds(*value, type))
        raiseWrongType(what, expected, *value);
    return value->value<T>();
}

// 0001-01-01T00:00:00Z and the second after 9999-12-31T23:59:59Z: dates outside these years
// are not dates anyone stored, and the library file cannot carry them.
constexpr double EndOfDatesSeconds = 253402300800.0;
constexpr double EarliestDateSeconds = -62135596800.0;

} // namespace

QString typeName(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::QString:
        return QStringLiteral("a string");
    case QMetaType::Int:
        return QStringLiteral("an integer");
    case QMetaType::UInt:
        return QStringLiteral("a four-character code");
    case QMetaType::Bool:
        return QStringLiteral("a truth value");
    case QMetaType::Double:
        return QStringLiteral("a date");
    case QMetaType::UnknownType:
        return QStringLiteral("no value");
    default:
        break;
    }
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return QStringLiteral("an object reference");
    return QStringLiteral("a value of type %1").arg(QLatin1String(value.metaType().name()));
}

QString string(const std::optional<QVariant> &value, const QString &what)
{
    if (!value)
        return QString();
    if (!holds(*value, QMetaType::QString))
        raiseWrongType(what, "a string", *value);
    const QString text = value->toString();
    return text.isNull() ? QString(QLatin1String("")) : text;
}

std::optional<bool> truthValue(const std::optional<QVariant> &value, const QString &what)
{
    return plain<bool>(value, what, QMetaType::Bool, "a truth value");
}

std::optional<qint32> integer(const std::optional<QVariant> &value, const QString &what)
{
    return plain<qint32>(value, what, QMetaType::Int, "an integer");
}

QDateTime date(const std::optional<QVariant> &value, const QString &what)
{
    if (!value)
        return QDateTime();
    if (!holds(*value, QMetaType::Double))
        raiseWrongType(what, "a date", *value);
    const double seconds = value->toDouble();
    // Compared in whole milliseconds, as the date keeps it: a moment before the year 10000 that
    // rounds into it is no date either.
    const double milliseconds = std::round(seconds * 1000.0);
    if (!std::isfinite(seconds) || milliseconds >= EndOfDatesSeconds * 1000.0
        || milliseconds < EarliestDateSeconds * 1000.0)
        throw KSScriptingValueException(
            QStringLiteral("%1 is no date of the years 1 to 9999 (%2 seconds)").arg(what).arg(seconds));
    return QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC);
}

std::optional<quint32> fourCharCode(const std::optional<QVariant> &value, const QString &what)
{
    return plain<quint32>(value, what, QMetaType::UInt, "a four-character code");
}

QString objectReference(const std::optional<QVariant> &value, const QString &what)
{
    if (!value)
        return QString();
    if (value->metaType() != QMetaType::fromType<QDBusObjectPath>())
        raiseWrongType(what, "an object reference", *value);
    return value->value<QDBusObjectPath>().path();
}

} // namespace ScriptingValues
