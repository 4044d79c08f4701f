#include "cli/CommandLineProgress.h"

#include "cli/CommandLineOutput.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int BarWidth = 30;

QString recordsExportedText(double value, double maximum)
{
    return OVStringWithFormat(
        OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "%1$.0lf of %2$.0lf records exported")),
        {value, maximum});
}

} // namespace

CommandLineProgress::CommandLineProgress(bool liveBar)
    : m_liveBar(liveBar)
{ }

void CommandLineProgress::printLine(const QString &line)
{
    if (m_barShowing) {
        CommandLineOutput::writeError(QStringLiteral("\n"));
        m_barShowing = false;
    }
    CommandLineOutput::writeError(line + QLatin1Char('\n'));
}

void CommandLineProgress::drawBar()
{
    const double fraction = m_maximum > 0.0 ? std::clamp(m_value / m_maximum, 0.0, 1.0) : 0.0;
    const int filled = int(std::lround(fraction * BarWidth));
    const QString bar = QString(filled, QLatin1Char('#')) + QString(BarWidth - filled, QLatin1Char('-'));
    // Carriage return and "erase to end of line": the bar replaces itself.
    CommandLineOutput::writeError(QStringLiteral("\r\033[K[%1] %2").arg(bar, recordsExportedText(m_value, m_maximum)));
    m_barShowing = true;
}

void CommandLineProgress::finishCountedStage()
{
    if (m_inCountedStage && !m_liveBar)
        printLine(recordsExportedText(m_value, m_maximum));
    m_inCountedStage = false;
}

void CommandLineProgress::cancelRequested()
{
    printLine(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Cancelling...")));
}

void CommandLineProgress::importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type)
{
    finishCountedStage();
    printLine(OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Exporting %@")), {type}));
}

void CommandLineProgress::importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                                         const QString &type)
{
    finishCountedStage();
    printLine(OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Exporting %@")), {type}));
    m_inCountedStage = true;
    m_maximum = double(count);
    m_value = 0.0;
    if (m_liveBar)
        drawBar();
}

void CommandLineProgress::importOperationDidImportRecordOfType(KSImportOperation *, const QString &)
{
    m_value += 1.0;
    if (m_liveBar)
        drawBar();
}

void CommandLineProgress::importOperationDidEncounterError(KSImportOperation *, const OVError &error)
{
    const QString text = error.localizedDescription.isEmpty()
        ? OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "An unknown error occurred."))
        : error.localizedDescription;
    printLine(QStringLiteral("error %1: %2").arg(error.code).arg(text));
    if (m_liveBar && m_inCountedStage)
        drawBar();
}

void CommandLineProgress::importOperationDidCancel(KSImportOperation *)
{
    finishCountedStage();
    printLine(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export cancelled.")));
}

void CommandLineProgress::importOperationDidEnd(KSImportOperation *)
{
    finishCountedStage();
    // The verdict comes last, once the items that did not arrive whole are known.
    if (m_barShowing) {
        CommandLineOutput::writeError(QStringLiteral("\n"));
        m_barShowing = false;
    }
}
