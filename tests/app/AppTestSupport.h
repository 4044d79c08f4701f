// What the window tests share: seams answered at once (alerts, termination), the fixtures
// the command line's tests use too (ExportFixtures.h), and screenshots written into the
// build folder for a person to look at.
#pragma once

#include "ExportFixtures.h"
#include "TestConfig.h"
#include "app/KSAlert.h"
#include "app/KSApplicationTermination.h"
#include "app/KSExportReportDialog.h"

#include <QDir>
#include <QList>
#include <QWidget>
#include <QtTest>
#include <memory>

namespace AppTestSupport {

using ExportFixtures::applicationsWithItems;
using ExportFixtures::removeEarlierRuns;
using ExportFixtures::Source;
using ExportFixtures::Target;

// Answers every alert at once with its first button, closes every end-of-export report at
// once, and keeps what each one said.
class AlertRecorder
{
public:
    QList<KSAlert> alerts;
    QList<KSExportReportDialog> reports;

    AlertRecorder()
    {
        KSAlert::setHandler([this](const KSAlert &alert) {
            alerts.append(alert);
            return 0;
        });
        KSExportReportDialog::setHandler([this](const KSExportReportDialog &report) { reports.append(report); });
    }
    ~AlertRecorder()
    {
        KSAlert::setHandler(nullptr);
        KSExportReportDialog::setHandler(nullptr);
    }
};

// Counts the requests to terminate the application instead of ending anything.
class TerminationRecorder
{
public:
    int count = 0;

    TerminationRecorder()
    {
        KSApplicationTermination::setHandler([this] { ++count; });
    }
    ~TerminationRecorder() { KSApplicationTermination::setHandler(nullptr); }
};

// Writes a picture of `widget` to <build>/screenshots/<name>.png.
inline void saveScreenshot(QWidget *widget, const QString &name)
{
    const QString folder = QStringLiteral(KI_BUILD_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    QVERIFY2(widget->grab().save(path), qPrintable(path));
}

} // namespace AppTestSupport
