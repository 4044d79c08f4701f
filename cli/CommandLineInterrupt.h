// Ctrl-C during a command-line export: the first one cancels the run the way the sheet's
// Cancel button does, and tells the main thread so it can say so; the second one ends the
// process at once (the default action is back in place by then).
#pragma once

#include <QObject>
#include <functional>
#include <memory>

class KSImportOperation;
class QSocketNotifier;

class CommandLineInterrupt : public QObject
{
    Q_OBJECT

public:
    // Catches SIGINT for `operation` while this object lives; `onInterrupt` runs on the
    // main thread after the first one.
    CommandLineInterrupt(std::shared_ptr<KSImportOperation> operation, std::function<void()> onInterrupt);
    ~CommandLineInterrupt() override;

    CommandLineInterrupt(const CommandLineInterrupt &) = delete;
    CommandLineInterrupt &operator=(const CommandLineInterrupt &) = delete;

private:
    std::shared_ptr<KSImportOperation> m_operation;
    std::function<void()> m_onInterrupt;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
