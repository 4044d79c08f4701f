#include "foundation/OVLocalization.h"

#include <QCoreApplication>

QString OVLocalizedString(const char *englishText)
{
    return QCoreApplication::translate(OVStringTableContext, englishText);
}
