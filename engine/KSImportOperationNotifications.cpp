// The operation's seven notifications. Each is performed on the main thread while the worker
// waits, so the delegate sees events one at a time and in order, and may touch the interface.
// An error is logged before anyone is asked, so no reported error goes unlogged. The run's report
// is written before each notification that tells how the run ended, so that whoever shows the
// ending can offer it.
#include "engine/KSImportOperation.h"
#include "foundation/OVMainThread.h"
#include "foundation/OVStringFormat.h"

void KSImportOperation::informDelegateDidStart()
{
    OVPerformOnMainThreadAndWait([this] {
        if (const auto listener = delegate())
            listener->importOperationDidStart(this);
    });
}

void KSImportOperation::informDelegateWillStartImportingRecordsOfType(const QString &type)
{
    OVPerformOnMainThreadAndWait([this, &type] {
        if (const auto listener = delegate())
            listener->importOperationWillStartImportingRecordsOfType(this, type);
    });
}

void KSImportOperation::informDelegateWillStartImportingCountOfRecordsOfType(const QVariantMap &countAndType)
{
    OVPerformOnMainThreadAndWait([this, &countAndType] {
        if (const auto listener = delegate())
            listener->importOperationWillStartImportingRecordsOfType(
                this, countAndType.value(QStringLiteral("count")).toULongLong(),
                countAndType.value(QStringLiteral("type")).toString());
    });
}

void KSImportOperation::informDelegateDidImportRecordOfType(const QString &type)
{
    ++m_recordEventCount;
    OVPerformOnMainThreadAndWait([this, &type] {
        if (const auto listener = delegate())
            listener->importOperationDidImportRecordOfType(this, type);
    });
}

void KSImportOperation::informDelegateDidEncounterError(const OVError &error)
{
    m_errorReported = true;
    m_reportedErrors.append(error);
    m_reportItems.markCurrentStopped(error.localizedDescription, error.descriptionInEnglish());
    writeRunReport();
    OVPerformOnMainThreadAndWait([this, &error] {
        // The error's whole description, in English whatever the person reads.
        writeLog(OVStringWithFormat(QStringLiteral("Error: %@"), {error.wholeDescriptionInEnglish()}));
        if (const auto listener = delegate())
            listener->importOperationDidEncounterError(this, error);
    });
}

void KSImportOperation::informDelegateDidCancel()
{
    m_endingNotified = RunOutcome::Cancelled;
    writeRunReport();
    OVPerformOnMainThreadAndWait([this] {
        if (const auto listener = delegate())
            listener->importOperationDidCancel(this);
    });
}

void KSImportOperation::informDelegateDidEnd()
{
    m_endingNotified = RunOutcome::Ended;
    writeRunReport();
    OVPerformOnMainThreadAndWait([this] {
        if (const auto listener = delegate())
            listener->importOperationDidEnd(this);
    });
}

KSImportOperation::RunOutcome KSImportOperation::runOutcome() const
{
    return m_reportedErrors.isEmpty() ? m_endingNotified : RunOutcome::Failed;
}
