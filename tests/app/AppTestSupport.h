// What the window tests share: seams answered at once (alerts, termination), applications
// in memory with a small library, a clean slate of logs and export folders, and screenshots
// written into the build folder for a person to look at.
#pragma once

#include "InMemoryScripting.h"
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

inline const QString Target = QStringLiteral("com.orvantis.Nortavel3");
inline const QString Source = QStringLiteral("com.fendwick.kastrel4");

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

// No log or export folder left by an earlier test.
inline void removeEarlierRuns()
{
    QDir(qEnvironmentVariable("XDG_DATA_HOME")).removeRecursively();
    QDir(QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"))).removeRecursively();
}

// Both applications, installed and new enough; the source holds `count` images named
// "Image N" (ids "I1"...), which export without any conversion, and one note.
inline std::shared_ptr<InMemoryScripting> applicationsWithItems(int count)
{
    auto applications = std::make_shared<InMemoryScripting>();
    applications->addNortavel(Target, QStringLiteral("3.5"));
    InMemoryKastrel source = applications->addKastrel(Source, QStringLiteral("2.5"));
    for (int index = 1; index <= count; ++index)
        source.addItem(KastrelItemKind::Image, QStringLiteral("I%1").arg(index), QStringLiteral("Image %1").arg(index));
    const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
    source.setExportFile(note, QStringLiteral("Agenda.rtf"), "{\\rtf1\\ansi Monday: {\\b plan}.}");
    return applications;
}

// Writes a picture of `widget` to <build>/screenshots/<name>.png.
inline void saveScreenshot(QWidget *widget, const QString &name)
{
    const QString folder = QStringLiteral(KI_BUILD_DIR "/screenshots");
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    QVERIFY2(widget->grab().save(path), qPrintable(path));
}

} // namespace AppTestSupport
