#include "app/KSLauncherProgress.h"

#include "app/KSAppLog.h"
#include "foundation/AppVersion.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QtDebug>
#include <cmath>

KSLauncherProgress::~KSLauncherProgress()
{
    hide();
}

QString KSLauncherProgress::applicationUri()
{
    return QStringLiteral("application://") + KastrelImporter::desktopEntryName() + QStringLiteral(".desktop");
}

QString KSLauncherProgress::objectPath()
{
    return QStringLiteral("/com/canonical/unity/launcherentry/KastrelImporter");
}

void KSLauncherProgress::setProgress(double fraction)
{
    fraction = std::isfinite(fraction) ? qBound(0.0, fraction, 1.0) : 0.0;
    // Whole percentages done, so that 100 is sent only when all is done.
    const int percentage = int(std::floor(fraction * 100.0));
    if (m_visible && percentage == m_percentage)
        return;
    m_visible = true;
    m_percentage = percentage;
    send({{QStringLiteral("progress"), fraction}, {QStringLiteral("progress-visible"), true}});
}

void KSLauncherProgress::setUrgent(bool urgent)
{
    if (urgent == m_urgent)
        return;
    m_urgent = urgent;
    send({{QStringLiteral("urgent"), urgent}});
}

void KSLauncherProgress::hide()
{
    if (!m_visible && !m_urgent)
        return;
    m_visible = false;
    m_urgent = false;
    m_percentage = -1;
    send({{QStringLiteral("progress-visible"), false}, {QStringLiteral("urgent"), false}});
}

void KSLauncherProgress::send(const QVariantMap &properties)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return; // no session bus, no task bar to tell
    QDBusMessage update = QDBusMessage::createSignal(objectPath(), QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                                     QStringLiteral("Update"));
    update << applicationUri() << properties;
    if (!bus.send(update))
        qCDebug(lcApp, "The task bar's progress could not be sent.");
}
