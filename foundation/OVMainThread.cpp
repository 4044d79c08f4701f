#include "foundation/OVMainThread.h"

#include <QCoreApplication>
#include <QThread>

bool OVIsMainThread()
{
    QCoreApplication *application = QCoreApplication::instance();
    return !application || QThread::currentThread() == application->thread();
}

void OVPerformOnMainThreadAndWait(const std::function<void()> &call)
{
    if (OVIsMainThread()) {
        call();
        return;
    }
    QMetaObject::invokeMethod(QCoreApplication::instance(), call, Qt::BlockingQueuedConnection);
}
