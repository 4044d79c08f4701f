// The labels stage: every label becomes a Label record with its colour in device RGB.
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

bool KSImportOperation::importLabels()
{
    informDelegateWillStartImportingRecordsOfType(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Labels")));
    writeLog(QStringLiteral("Exporting labels"));
    m_library.beginLabels();

    const KastrelApplication source = *kastrelApp();
    for (const KastrelLabel &label : source.labels().get()) {
        if (isCancelled())
            return false;
        const QString identifier = label.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting label with identifier %@"), {identifier}));
        m_library.addLabel(identifier, label.name(), label.color());
    }
    return true;
}
