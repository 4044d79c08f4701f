#include "app/KSDesktopNotifier.h"

#include "app/KSAppLog.h"
#include "foundation/AppVersion.h"
#include "foundation/OVLocalization.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>
#include <QtDebug>

namespace {

const QString NotificationService = QStringLiteral("org.freedesktop.Notifications");
const QString NotificationPath = QStringLiteral("/org/freedesktop/Notifications");

// Servers that take markup in the body would read "<" and "&" as markup: those few
// characters are written as entities, which servers without markup never see in our texts
// unless an error message carries them.
QString escapedForBody(QString text)
{
    text.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    text.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    text.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    return text;
}

} // namespace

bool KSDesktopNotifier::notify(const QString &summary, const QString &body)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        qCDebug(lcApp, "No session bus: the end of the export is not notified.");
        return false;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(NotificationService, NotificationPath, NotificationService,
                                                       QStringLiteral("Notify"));
    const QVariantMap hints {{QStringLiteral("desktop-entry"), KastrelImporter::desktopEntryName()}};
    call << KastrelImporter::applicationName() << uint(0) << KastrelImporter::desktopEntryName() << summary
         << escapedForBody(body) << QStringList() << hints << int(-1);
    // Sent without awaiting a reply: an error (no such service) or a late answer is dropped.
    if (!bus.send(call)) {
        qCDebug(lcApp) << "The end of the export could not be notified:" << bus.lastError().message();
        return false;
    }
    return true;
}

QString KSDesktopNotifier::summaryText(Ending ending)
{
    switch (ending) {
    case Ending::Ended:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended"));
    case Ending::Cancelled:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export cancelled"));
    case Ending::Failed:
        break;
    }
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export failed"));
}

QString KSDesktopNotifier::countsText(const KSExportReport &report)
{
    const QString arrived = OVLocalizedCountString(
        QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items reached Nortavel 3."), report.importedTotal);
    const qint64 needingAttention
        = qint64(report.missingItemCount() + report.incompleteItemCount() + report.passedOver.size());
    if (needingAttention == 0)
        return arrived;
    return arrived + QLatin1Char(' ')
        + OVLocalizedCountString(
               QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items need attention; the report lists them."),
               needingAttention);
}
