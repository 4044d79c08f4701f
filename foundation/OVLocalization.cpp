#include "foundation/OVLocalization.h"

#include "foundation/OVStringFormat.h"

#include <QCoreApplication>
#include <climits>

namespace {

// The arguments as one side of the texts among them sees them.
QVariantList side(const QVariantList &arguments, QString OVText::*language)
{
    QVariantList filled;
    filled.reserve(arguments.size());
    for (const QVariant &argument : arguments)
        filled.append(argument.metaType() == QMetaType::fromType<OVText>()
                          ? QVariant(argument.value<OVText>().*language)
                          : argument);
    return filled;
}

} // namespace

QString OVLocalizedString(const char *englishText)
{
    return QCoreApplication::translate(OVStringTableContext, englishText);
}

QString OVLocalizedCountString(const char *englishText, qint64 count)
{
    return QCoreApplication::translate(OVStringTableContext, englishText, nullptr,
                                       int(qBound(qint64(INT_MIN), count, qint64(INT_MAX))));
}

OVText OVLocalizedText(const char *englishText)
{
    return OVText {QString::fromUtf8(englishText), OVLocalizedString(englishText)};
}

OVText OVLocalizedTextWithFormat(const char *englishFormat, const QVariantList &arguments)
{
    return OVText {OVStringWithFormat(QString::fromUtf8(englishFormat), side(arguments, &OVText::english)),
                   OVStringWithFormat(OVLocalizedString(englishFormat), side(arguments, &OVText::localized))};
}
