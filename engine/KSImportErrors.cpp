#include "engine/KSImportErrors.h"

#include "foundation/OVLocalization.h"

OVError KSImportError(KSImportErrorCode code, const char *englishText)
{
    return OVMakeError(KSImportErrorDomain, code, OVLocalizedText(englishText));
}
