// What the export tells whoever follows it (the progress sheet, the command line). Every
// method is optional: the defaults do nothing, so a delegate overrides only what it shows.
// All of them are called on the main thread while the export's worker waits.
#pragma once

#include "foundation/OVError.h"

#include <QString>

class KSImportOperation;

class KSImportOperationDelegate
{
public:
    virtual ~KSImportOperationDelegate() = default;

    // Never sent by a run; kept so a delegate written against it still compiles.
    virtual void importOperationDidStart(KSImportOperation *operation) { Q_UNUSED(operation) }
    // A stage of unknown length begins ("Groups", "Smart Groups", "Labels").
    virtual void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, const QString &type)
    {
        Q_UNUSED(operation)
        Q_UNUSED(type)
    }
    // A stage of known length begins ("Items" with the number of items).
    virtual void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, quint64 count,
                                                                const QString &type)
    {
        Q_UNUSED(operation)
        Q_UNUSED(count)
        Q_UNUSED(type)
    }
    // One record was written. The type is empty for every kind: only the count matters.
    virtual void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type)
    {
        Q_UNUSED(operation)
        Q_UNUSED(type)
    }
    virtual void importOperationDidEncounterError(KSImportOperation *operation, const OVError &error)
    {
        Q_UNUSED(operation)
        Q_UNUSED(error)
    }
    // The run finished because it was cancelled, or aborted by an exception.
    virtual void importOperationDidCancel(KSImportOperation *operation) { Q_UNUSED(operation) }
    // The run finished without being cancelled, also after a reported error.
    virtual void importOperationDidEnd(KSImportOperation *operation) { Q_UNUSED(operation) }
};
