// Runs an export operation on a worker thread of its own, for whichever front end shows it
// (the progress sheet, the command line). The operation hands its notifications to the main
// thread and waits for them there, so the thread that starts the runner must go on serving
// its event loop until finished() is emitted.
#pragma once

#include "engine/KSImportOperation.h"

#include <QObject>
#include <QThread>
#include <memory>

class KSImportRunner : public QObject
{
    Q_OBJECT

public:
    explicit KSImportRunner(QObject *parent = nullptr);
    // Waits for a run still going: the operation must not outlive its thread's work.
    ~KSImportRunner() override;

    // Starts `operation`'s main() on a new worker thread. One run at a time: a runner whose run
    // has not finished waits for it first.
    void start(std::shared_ptr<KSImportOperation> operation);

    // The operation of the present or last run, or null before the first.
    const std::shared_ptr<KSImportOperation> &operation() const { return m_operation; }

    bool isRunning() const { return m_thread && !m_finished; }

    // Blocks until the worker is through (without serving notifications: only for a run that
    // was cancelled or has no delegate waiting on this thread).
    void wait();

    // Runs `operation` to its end, serving this thread's events meanwhile.
    static void runToEnd(std::shared_ptr<KSImportOperation> operation);

signals:
    // The worker is through: main() has returned and the results may be read.
    void finished();

private:
    std::shared_ptr<KSImportOperation> m_operation;
    std::unique_ptr<QThread> m_thread;
    bool m_finished = false;
};
