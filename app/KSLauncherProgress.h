// The export's progress on the task bar or dock, where the desktop shows one: the
// com.canonical.Unity.LauncherEntry signal "Update" on the session bus, carrying the
// fraction done, whether to show it, and whether the entry wants attention. Signals need
// no listener, so on a desktop that shows none (or without a session bus) nothing happens.
// A run counts up to some 100,000 items: a signal goes out only when the whole percentage
// done changes, at most some hundred per stage.
#pragma once

#include <QString>
#include <QVariantMap>

class KSLauncherProgress
{
public:
    KSLauncherProgress() = default;
    // Takes the progress off the task bar when it is still on it.
    ~KSLauncherProgress();
    KSLauncherProgress(const KSLauncherProgress &) = delete;
    KSLauncherProgress &operator=(const KSLauncherProgress &) = delete;

    // The application the task bar's entry stands for, and the object sending the signals.
    static QString applicationUri();
    static QString objectPath();

    bool isVisible() const { return m_visible; }
    // The whole percentage done last sent, or -1.
    int percentage() const { return m_percentage; }

    // Shows `fraction` (0 to 1) done; sends only when the whole percentage done changes or the
    // progress was not shown.
    void setProgress(double fraction);
    // Asks the task bar to mark the entry (or to stop marking it).
    void setUrgent(bool urgent);
    // Takes the progress off the task bar, and the mark with it.
    void hide();

private:
    static void send(const QVariantMap &properties);

    bool m_visible = false;
    bool m_urgent = false;
    int m_percentage = -1;
};
