// The importer's own error domain and codes.
#pragma once

#include "foundation/OVError.h"

#include <QString>

inline const QString KSImportErrorDomain = QStringLiteral("Kastrel Importer Error Domain");

enum KSImportErrorCode : qint64 {
    KSSourceApplicationNotFoundError = 10001,
    KSExportFolderError = 10002,
    KSItemExportError = 10003,
    KSExceptionError = 10004,
    KSTargetApplicationNotFoundError = 10005,
    KSApplicationVersionError = 10006,
};

// An error of the importer's domain whose text is the string-table entry for `englishText`.
OVError KSImportError(KSImportErrorCode code, const char *englishText);
