#include "app/KSExportReportDialog.h"

#include "app/KSDesktopOpen.h"
#include "app/KSReportItemsModel.h"
#include "app/KSReportItemsView.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

KSExportReportDialog::Handler &installedHandler()
{
    static KSExportReportDialog::Handler handler;
    return handler;
}

QString uncarriableCharactersText(qint64 records)
{
    return OVLocalizedCountString(
        QT_TRANSLATE_N_NOOP("KastrelImporter", "characters that XML cannot carry were left out of %n records"),
        records);
}

} // namespace

void KSExportReportDialog::setHandler(Handler handler)
{
    installedHandler() = std::move(handler);
}

QString KSExportReportDialog::summaryText() const
{
    QStringList kinds;
    for (auto count = report.importedByKind.cbegin(); count != report.importedByKind.cend(); ++count)
        kinds.append(KSExportReport::kindCountText(count.key(), count.value()));
    QString text = kinds.isEmpty()
        ? OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items reached Nortavel 3."),
                                 report.importedTotal)
        : OVStringWithFormat(
            OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items reached Nortavel 3: %@."),
                                   report.importedTotal),
            {kinds.join(QStringLiteral(", "))});
    if (report.missingItemCount() > 0)
        text += QLatin1Char(' ')
            + OVLocalizedCountString(
                    QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items did not arrive whole; they are listed below."),
                    qint64(report.missingItemCount()));
    if (report.incompleteItemCount() > 0)
        text += QLatin1Char(' ')
            + OVLocalizedCountString(
                    QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items arrived without part of what they carry."),
                    qint64(report.incompleteItemCount()));
    if (!report.passedOver.isEmpty())
        text += QLatin1Char(' ')
            + OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."),
                                     qint64(report.passedOver.size()));
    return text;
}

QStringList KSExportReportDialog::listedItems() const
{
    QStringList lines;
    for (const KSImportOperation::ItemProblem &problem : report.problems)
        lines.append(QStringLiteral("%1: \u201c%2\u201d (%3)")
                         .arg(KSExportReport::problemKindDescription(problem.kind), problem.name, problem.reason));
    for (const KSImportOperation::SkippedItem &item : report.passedOver)
        lines.append(
            OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "passed over: item %@ (%@)")),
                               {item.identifier, item.reason}));
    if (report.recordsWithUncarriableCharacters > 0)
        lines.append(uncarriableCharactersText(report.recordsWithUncarriableCharacters));
    return lines;
}

QString KSExportReportDialog::logText() const
{
    if (report.logFile.isEmpty())
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "No log was written."));
    return OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "The log is %@.")),
                              {report.logFile});
}

QString KSExportReportDialog::reportFileText() const
{
    // A report that could not be written is said where the report would have been named.
    if (!canOpenReportFile())
        return report.reportProblem;
    return OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "The report is %@.")),
                              {report.reportFile});
}

bool KSExportReportDialog::canOpenReportFile() const
{
    return KSDesktopOpen::isThere(report.reportFile);
}

void KSExportReportDialog::runModal(QWidget *parent) const
{
    if (installedHandler()) {
        installedHandler()(*this);
        return;
    }
    dialog(parent)->exec();
}

std::unique_ptr<QDialog> KSExportReportDialog::dialog(QWidget *parent) const
{
    auto dialog = std::make_unique<QDialog>(parent);
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setWindowTitle(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended")));
    auto *layout = new QVBoxLayout(dialog.get());
    auto *summary = new QLabel(summaryText(), dialog.get());
    summary->setWordWrap(true);
    layout->addWidget(summary);
    if (!report.items.isEmpty()) {
        auto *table = new KSReportItemsView(new KSReportItemsModel(report.items), dialog.get());
        table->setObjectName(QStringLiteral("reportItems"));
        layout->addWidget(table, 1);
        if (report.recordsWithUncarriableCharacters > 0) {
            auto *characters
                = new QLabel(uncarriableCharactersText(report.recordsWithUncarriableCharacters), dialog.get());
            characters->setWordWrap(true);
            layout->addWidget(characters);
        }
    } else if (const QStringList items = listedItems(); !items.isEmpty()) {
        auto *list = new QListWidget(dialog.get());
        list->addItems(items);
        list->setMinimumSize(520, 160);
        layout->addWidget(list, 1);
    }
    const QString files = QStringList {logText(), reportFileText()}.join(QLatin1Char(' ')).trimmed();
    auto *log = new QLabel(files, dialog.get());
    log->setWordWrap(true);
    log->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(log);

    auto *buttons = new QDialogButtonBox(dialog.get());
    QPushButton *quit = buttons->addButton(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "&Quit")),
                                           QDialogButtonBox::AcceptRole);
    quit->setDefault(true);
    quit->setFocus(Qt::OtherFocusReason);
    if (!report.logFile.isEmpty()) {
        QPushButton *openLog = buttons->addButton(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "&Open Log Folder")), QDialogButtonBox::ActionRole);
        const QString folder = QFileInfo(report.logFile).absolutePath();
        QDialog *window = dialog.get();
        QObject::connect(openLog, &QPushButton::clicked, window,
                         [folder, window] { KSDesktopOpen::open(folder, window); });
    }
    if (canOpenReportFile()) {
        QPushButton *openReport = buttons->addButton(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Open &Report")), QDialogButtonBox::ActionRole);
        openReport->setObjectName(QStringLiteral("openReport"));
        const QString file = report.reportFile;
        QDialog *window = dialog.get();
        QObject::connect(openReport, &QPushButton::clicked, window,
                         [file, window] { KSDesktopOpen::open(file, window); });
    }
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog.get(), &QDialog::accept);
    layout->addWidget(buttons);
    return dialog;
}
