#include "engine/KSReportHtml.h"

#include "engine/KSExportReport.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QIODevice>
#include <QStringList>
#include <algorithm>

namespace KSReportHtml {

namespace {

const char *const styleSheet = R"(:root { color-scheme: light dark; }
body { font: 15px/1.45 system-ui, sans-serif; margin: 2em auto; max-width: 70em; padding: 0 1em;
       color: #1d1d1f; background: #ffffff; }
h1 { font-size: 1.6em; }
h2 { font-size: 1.2em; margin-top: 2em; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .35em .6em; border-bottom: 1px solid #d8d8dc; }
th { background: #f2f2f5; }
.error { color: #b3261e; }
tr.notImported td:nth-child(3) { color: #b3261e; }
tr.originalFileAttached td:nth-child(3), tr.incomplete td:nth-child(3) { color: #8a5a00; }
@media (prefers-color-scheme: dark) {
  body { color: #e6e6e9; background: #1c1c1e; }
  th { background: #2c2c2e; }
  th, td { border-bottom-color: #3a3a3c; }
  .error, tr.notImported td:nth-child(3) { color: #ff8a80; }
  tr.originalFileAttached td:nth-child(3), tr.incomplete td:nth-child(3) { color: #ffcc66; }
}
)";

QString escaped(const QString &text)
{
    return text.toHtmlEscaped();
}

QString paragraph(const QString &text, const char *className = nullptr)
{
    if (className)
        return QStringLiteral("<p class=\"%1\">%2</p>\n").arg(QLatin1String(className), escaped(text));
    return QStringLiteral("<p>%1</p>\n").arg(escaped(text));
}

QString heading(KSImportOperation::RunOutcome outcome)
{
    switch (outcome) {
    case KSImportOperation::RunOutcome::Cancelled:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export cancelled."));
    case KSImportOperation::RunOutcome::Failed:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export failed."));
    case KSImportOperation::RunOutcome::Running:
    case KSImportOperation::RunOutcome::Ended:
        break;
    }
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended."));
}

// What the run came to: the records per kind, then the items that need a look and those passed
// over, each a sentence of its own.
QString counts(const KSExportReport &report, bool handedOff)
{
    QStringList lines;
    if (handedOff)
        lines.append(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items reached Nortavel 3."),
                                            report.importedTotal));
    for (auto count = report.importedByKind.cbegin(); count != report.importedByKind.cend(); ++count)
        lines.append(KSExportReport::kindCountText(count.key(), count.value()));
    if (report.missingItemCount() > 0)
        lines.append(OVLocalizedCountString(
            QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items did not arrive whole; they are listed below."),
            qint64(report.missingItemCount())));
    if (report.incompleteItemCount() > 0)
        lines.append(OVLocalizedCountString(
            QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items arrived without part of what they carry."),
            qint64(report.incompleteItemCount())));
    if (!report.passedOver.isEmpty())
        lines.append(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."),
                                            qint64(report.passedOver.size())));
    if (lines.isEmpty())
        return QString();
    QString list = QStringLiteral("<ul>\n");
    for (const QString &line : std::as_const(lines))
        list += QStringLiteral("<li>%1</li>\n").arg(escaped(line));
    return list + QStringLiteral("</ul>\n");
}

QString row(const KSReportItem &item)
{
    QString cells;
    for (const QString &cell :
         {item.name, KSExportReport::itemKindDescription(item.optionKey),
          KSExportReport::outcomeDescription(item.outcome), item.reason, item.file, item.identifier})
        cells += QStringLiteral("<td>%1</td>").arg(escaped(cell));
    return QStringLiteral("<tr class=\"%1\">%2</tr>\n").arg(KSReportItem::outcomeName(item.outcome), cells);
}

// The table is written row by row: a large library's page is never held whole.
void writeTable(QIODevice &device, const QList<KSReportItem> &items)
{
    QString html = QStringLiteral("<table>\n<thead><tr>");
    for (const char *column :
         {QT_TRANSLATE_NOOP("KastrelImporter", "Name"), QT_TRANSLATE_NOOP("KastrelImporter", "Kind"),
          QT_TRANSLATE_NOOP("KastrelImporter", "What happened"), QT_TRANSLATE_NOOP("KastrelImporter", "Why"),
          QT_TRANSLATE_NOOP("KastrelImporter", "File"), QT_TRANSLATE_NOOP("KastrelImporter", "Identifier")})
        html += QStringLiteral("<th>%1</th>").arg(escaped(OVLocalizedString(column)));
    html += QStringLiteral("</tr></thead>\n<tbody>\n");
    device.write(html.toUtf8());
    for (const KSReportItem &item : items)
        device.write(row(item).toUtf8());
    device.write("</tbody>\n</table>\n");
}

} // namespace

void write(QIODevice &device, const KSImportOperation &operation, const KSExportReport &report, const QString &title)
{
    const KSImportOperation::RunOutcome outcome = operation.runOutcome();
    const bool handedOff = !operation.handedOffLibraryFile().isNull();
    QString html = QStringLiteral("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
    html += QStringLiteral("<title>%1</title>\n<style>\n%2</style>\n</head>\n<body>\n")
                .arg(escaped(title), QString::fromUtf8(styleSheet));
    html += QStringLiteral("<h1>%1</h1>\n").arg(escaped(heading(outcome)));
    for (const OVError &error : operation.reportedErrors())
        html += paragraph(error.localizedDescription, "error");
    if (outcome == KSImportOperation::RunOutcome::Cancelled || outcome == KSImportOperation::RunOutcome::Failed) {
        html += paragraph(
            OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "The export came to %1 of %n items."),
                                   report.itemsAnnounced)
                .arg(report.items.size()));
        if (!handedOff)
            html += paragraph(
                OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Nothing was handed to Nortavel 3.")));
    }
    if (!report.keptExportFolder.isEmpty())
        html += paragraph(report.keptExportFolderText());
    if (report.resumedItems > 0)
        html += paragraph(OVLocalizedCountString(
            QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were taken from the earlier export."),
            report.resumedItems));
    html += counts(report, handedOff);

    // The items that need a look, the worst first; items of the same outcome in the run's order.
    QList<KSReportItem> attention;
    for (const KSReportItem &item : report.items) {
        if (item.needsAttention())
            attention.append(item);
    }
    std::stable_sort(attention.begin(), attention.end(), [](const KSReportItem &left, const KSReportItem &right) {
        return left.attentionRank() < right.attentionRank();
    });
    if (!attention.isEmpty()) {
        html += QStringLiteral("<h2>%1</h2>\n")
                    .arg(escaped(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Items that need a look"))));
        device.write(html.toUtf8());
        html.clear();
        writeTable(device, attention);
    }
    html += QStringLiteral("<h2>%1</h2>\n")
                .arg(escaped(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "All items"))));
    device.write(html.toUtf8());
    html.clear();
    writeTable(device, report.items);
    if (!report.logFile.isEmpty())
        html += paragraph(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "log file: %1")).arg(report.logFile));
    html += QStringLiteral("</body>\n</html>\n");
    device.write(html.toUtf8());
}

} // namespace KSReportHtml
