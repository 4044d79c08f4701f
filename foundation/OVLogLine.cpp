#include "foundation/OVLogLine.h"

#include "foundation/OVClock.h"

namespace OVExtensions {

QString logDateDescription(const QDateTime &date)
{
    // toString with a format uses the C locale's digits and names, whatever the user's locale.
    return date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + QStringLiteral(" +0000");
}

qint64 writeLogLine(QIODevice &stream, const QString &line)
{
    const QString formatted
        = logDateDescription(OVClock::currentDateTimeUtc()) + QLatin1Char(' ') + line + QLatin1Char('\n');
    const QByteArray bytes = formatted.toUtf8();
    // UTF-8 never takes fewer bytes than UTF-16 takes code units, so the length stays inside.
    return stream.write(bytes.constData(), qMin<qint64>(formatted.size(), bytes.size()));
}

} // namespace OVExtensions
