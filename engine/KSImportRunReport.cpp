// The run's report files: written beside the log once the run has reached its items, before
// each notification that tells how the run ended, so that whoever shows the ending can offer
// them; a later ending rewrites the same pair. A report that cannot be written is logged and
// kept in reportProblem(), and never changes how the run ends.
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"
#include "engine/KSReportFile.h"
#include "engine/KSReportHtml.h"
#include "engine/KSRunSummary.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

void KSImportOperation::writeRunReport()
{
    if (!m_reachedItemStage || m_logFilePath.isEmpty())
        return;
    const QString folder = QFileInfo(m_logFilePath).absolutePath();
    // The names are chosen once, at the first writing: a rewrite replaces the same pair.
    const bool first = m_reportFilePath.isEmpty() && m_jsonReportFilePath.isEmpty();
    QString baseName
        = QFileInfo(m_reportFilePath.isEmpty() ? m_jsonReportFilePath : m_reportFilePath).completeBaseName();
    if (first)
        baseName = KSReportFile::unusedBaseName(folder, m_startTime);
    const QString html = QDir(folder).filePath(baseName + QStringLiteral(".html"));
    const QString json = QDir(folder).filePath(baseName + QStringLiteral(".json"));

    KSExportReport report = KSExportReport::ofOperation(*this);
    report.reportFile = html;
    report.jsonReportFile = json;
    report.reportProblem.clear();
    report.englishReportProblem.clear();
    const QJsonObject summary = KSRunSummary::summary(*this, report);

    QString problem;
    const bool written
        = QDir().mkpath(folder)
        && KSReportFile::write(
              json, [&](QIODevice &device) { KSRunSummary::writeWithItems(device, summary, report); }, &problem)
        && KSReportFile::write(
              html, [&](QIODevice &device) { KSReportHtml::write(device, *this, report, baseName); }, &problem);
    if (!written) {
        // A first pair is whole or not there: a later writing starts afresh.
        if (first)
            QFile::remove(json);
        if (problem.isEmpty())
            problem = QStringLiteral("the folder %1 cannot be made").arg(folder);
        m_reportProblem = OVLocalizedTextWithFormat(
            QT_TRANSLATE_NOOP("KastrelImporter", "The report of this run could not be written to %@ (%@)."),
            {folder, problem});
        writeLog(m_reportProblem.english);
        m_reportFilePath.clear();
        m_jsonReportFilePath.clear();
        return;
    }
    m_reportProblem = OVText();
    m_reportFilePath = html;
    m_jsonReportFilePath = json;
    if (first) {
        for (const QString &failure : KSReportFile::removeOlderRuns(folder))
            writeLog(OVStringWithFormat(QStringLiteral("Unable to remove an older report: %@"), {failure}));
    }
}
