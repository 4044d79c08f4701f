// The worker thread of an export; see KSImportRunner.h.
#include "engine/KSImportRunner.h"

#include <QEventLoop>

KSImportRunner::KSImportRunner(QObject *parent)
    : QObject(parent)
{ }

KSImportRunner::~KSImportRunner()
{
    wait();
}

void KSImportRunner::start(std::shared_ptr<KSImportOperation> operation)
{
    wait();
    m_operation = std::move(operation);
    const std::shared_ptr<KSImportOperation> running = m_operation;
    m_thread.reset(QThread::create([running] { running->main(); }));
    m_thread->setObjectName(QStringLiteral("Export"));
    m_finished = false;
    // Connected before the start, so the end of even the shortest run is seen.
    connect(m_thread.get(), &QThread::finished, this, [this] {
        m_finished = true;
        emit finished();
    });
    m_thread->start();
}

void KSImportRunner::wait()
{
    if (m_thread)
        m_thread->wait();
}

void KSImportRunner::runToEnd(std::shared_ptr<KSImportOperation> operation)
{
    KSImportRunner runner;
    QEventLoop loop;
    connect(&runner, &KSImportRunner::finished, &loop, &QEventLoop::quit);
    runner.start(std::move(operation));
    loop.exec();
    runner.wait();
}
