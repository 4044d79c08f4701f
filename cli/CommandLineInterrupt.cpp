#include "cli/CommandLineInterrupt.h"

#include "engine/KSImportOperation.h"

#include <QSocketNotifier>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// What the handler may touch: only lock-free atomics and a pipe.
std::atomic<KSImportOperation *> interruptedOperation {nullptr};
int wakeUpPipe[2] = {-1, -1};
struct sigaction previousAction;

void handleInterrupt(int)
{
    // Setting the cancelled flag is one atomic store, safe in a signal handler.
    if (KSImportOperation *operation = interruptedOperation.load())
        operation->cancel();
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeUpPipe[1], &byte, 1);
}

} // namespace

CommandLineInterrupt::CommandLineInterrupt(std::shared_ptr<KSImportOperation> operation,
                                           std::function<void()> onInterrupt)
    : m_operation(std::move(operation))
    , m_onInterrupt(std::move(onInterrupt))
{
    if (::pipe2(wakeUpPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // no pipe: Ctrl-C keeps its default action and simply ends the process
    interruptedOperation.store(m_operation.get());

    m_notifier = std::make_unique<QSocketNotifier>(wakeUpPipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(wakeUpPipe[0], &byte, 1) > 0) { }
        if (m_onInterrupt)
            m_onInterrupt();
    });

    struct sigaction action = {};
    action.sa_handler = handleInterrupt;
    sigemptyset(&action.sa_mask);
    // Back to the default after the first one: a second Ctrl-C ends the process at once.
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    sigaction(SIGINT, &action, &previousAction);
}

CommandLineInterrupt::~CommandLineInterrupt()
{
    if (!m_notifier)
        return;
    sigaction(SIGINT, &previousAction, nullptr);
    interruptedOperation.store(nullptr);
    m_notifier.reset();
    ::close(wakeUpPipe[0]);
    ::close(wakeUpPipe[1]);
    wakeUpPipe[0] = wakeUpPipe[1] = -1;
}
