// What the window tests share: seams answered at once (alerts, termination), the fixtures
// the command line's tests use too (ExportFixtures.h), a whole run of the progress sheet with
// the person watching or looking away, and screenshots written into the build folder for a
// person to look at.
#pragma once

#include "ExportFixtures.h"
#include "TestConfig.h"
#include "app/KSAlert.h"
#include "app/KSApplicationTermination.h"
#include "app/KSExportReportDialog.h"
#include "app/KSImportPanel.h"
#include "engine/KSImportOptions.h"
#include "foundation/OVMainThread.h"

#include <QColor>
#include <QDir>
#include <QList>
#include <QMainWindow>
#include <QPalette>
#include <QWidget>
#include <QtTest>
#include <chrono>
#include <functional>
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

// The information window a sheet goes on, shown.
inline std::unique_ptr<QMainWindow> shownInformationWindow()
{
    auto window = std::make_unique<QMainWindow>();
    window->resize(560, 460);
    window->show();
    return window;
}

// Both applications with two images and a note, and two items that need attention: a note
// whose exported file is no text (it arrives as that file) and an image without a name
// (passed over). The warning the note causes is expected.
inline std::shared_ptr<InMemoryScripting> applicationsWithItemsNeedingAttention()
{
    auto applications = applicationsWithItems(2);
    InMemoryKastrel source = applications->kastrel(Source);
    const QString broken = source.addItem(KastrelItemKind::Note, QStringLiteral("N2"), QStringLiteral("Damaged"));
    source.setExportFile(broken, QStringLiteral("Damaged.rtf"), QByteArray("\x89PNG\r\n\x1a\n\0\0\0", 11));
    source.addItem(KastrelItemKind::Image, QStringLiteral("I9"), QString()); // passed over: no name
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Cannot write note: ")));
    return applications;
}

// Runs `action` on the main thread at the run's first call into an application, while the
// worker waits (the double calls a copy of its hook: what it remembers is shared).
inline void onFirstCall(InMemoryScripting &applications, std::function<void()> action)
{
    const auto called = std::make_shared<bool>(false);
    applications.setCallHook([called, action](const QString &) {
        if (*called)
            return;
        *called = true;
        OVPerformOnMainThreadAndWait(action);
    });
}

// Makes `window` the active window, as the person's click on it would.
inline void activate(QWidget *window)
{
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
}

// What a whole run of the progress sheet needs around it, one per test function: the
// information window, a window of something else the person may turn to, alerts and reports
// answered at once, termination counted, and the return codes the sheet ends with.
struct SheetRun
{
    // Whether the person turns to another window while the export runs.
    enum class Person { LooksAway, Stays };

    std::unique_ptr<QMainWindow> window;
    std::unique_ptr<QWidget> elsewhere;
    AlertRecorder alerts;
    TerminationRecorder termination;
    QList<int> returnCodes;

    SheetRun()
    {
        removeEarlierRuns();
        window = shownInformationWindow();
        elsewhere = std::make_unique<QWidget>();
        elsewhere->resize(200, 100);
        elsewhere->show();
    }

    // Starts a run on `applications` in a sheet that notifies runs of `minimumDuration` or
    // longer. Once the run has begun, the person looks away (another window becomes active)
    // or stays (the sheet is active), and `alsoOnFirstCall` runs.
    std::unique_ptr<KSImportPanel> start(const std::shared_ptr<InMemoryScripting> &applications,
                                         std::chrono::milliseconds minimumDuration, Person person,
                                         std::function<void(KSImportPanel &)> alsoOnFirstCall = nullptr)
    {
        auto panel = std::make_unique<KSImportPanel>(window.get(), applications);
        panel->desktopNotifier().setMinimumDuration(minimumDuration);
        KSImportPanel *sheet = panel.get();
        QWidget *away = elsewhere.get();
        onFirstCall(*applications, [=] {
            activate(person == Person::LooksAway ? away : sheet);
            QCOMPARE(sheet->isParentWindowActive(), person == Person::Stays);
            if (alsoOnFirstCall)
                alsoOnFirstCall(*sheet);
        });
        panel->showSheetOnWindow(window.get(), KSImportOptions(),
                                 [this](int returnCode) { returnCodes.append(returnCode); });
        return panel;
    }
};

// One item of a report built by hand, its reason the same in both languages.
inline KSReportItem reportItem(const QString &identifier, const QString &name, const QString &optionKey,
                               KSReportItem::Outcome outcome, const QString &reason = QString())
{
    KSReportItem item;
    item.identifier = identifier;
    item.name = name;
    item.optionKey = optionKey;
    item.outcome = outcome;
    item.reason = reason;
    item.englishReason = reason;
    return item;
}

// A dark palette as desktops ship them. Its link colour is too dark for its background on
// purpose: whatever shows links must lighten it.
inline QPalette darkPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x31, 0x36, 0x3b));
    palette.setColor(QPalette::WindowText, QColor(0xfc, 0xfc, 0xfc));
    palette.setColor(QPalette::Base, QColor(0x1b, 0x1e, 0x20));
    palette.setColor(QPalette::AlternateBase, QColor(0x23, 0x26, 0x29));
    palette.setColor(QPalette::Text, QColor(0xfc, 0xfc, 0xfc));
    palette.setColor(QPalette::Button, QColor(0x31, 0x36, 0x3b));
    palette.setColor(QPalette::ButtonText, QColor(0xfc, 0xfc, 0xfc));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0xae, 0xe9));
    palette.setColor(QPalette::HighlightedText, QColor(0xfc, 0xfc, 0xfc));
    palette.setColor(QPalette::Link, QColor(0x29, 0x80, 0xb9));
    palette.setColor(QPalette::PlaceholderText, QColor(0xa1, 0xa9, 0xb1));
    return palette;
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
