#include "app/KSExportReportDialog.h"

#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

KSExportReportDialog::Handler &installedHandler()
{
    static KSExportReportDialog::Handler handler;
    return handler;
}

} // namespace

void KSExportReportDialog::setHandler(Handler handler)
{
    installedHandler() = std::move(handler);
}

QString KSExportReportDialog::pluralKindName(const QString &kindName)
{
    static const QHash<QString, const char *> names {
        {QStringLiteral("note"), QT_TRANSLATE_NOOP("KastrelImporter", "notes")},
        {QStringLiteral("document"), QT_TRANSLATE_NOOP("KastrelImporter", "documents")},
        {QStringLiteral("image"), QT_TRANSLATE_NOOP("KastrelImporter", "images")},
        {QStringLiteral("sound"), QT_TRANSLATE_NOOP("KastrelImporter", "sounds")},
        {QStringLiteral("movie"), QT_TRANSLATE_NOOP("KastrelImporter", "movies")},
        {QStringLiteral("bookmark"), QT_TRANSLATE_NOOP("KastrelImporter", "bookmarks")},
        {QStringLiteral("webPage"), QT_TRANSLATE_NOOP("KastrelImporter", "web pages")},
    };
    return OVLocalizedString(names.value(kindName, QT_TRANSLATE_NOOP("KastrelImporter", "other items")));
}

QString KSExportReportDialog::summaryText() const
{
    QStringList kinds;
    for (auto count = report.importedByKind.cbegin(); count != report.importedByKind.cend(); ++count)
        kinds.append(QStringLiteral("%1 %2").arg(count.value()).arg(pluralKindName(count.key())));
    QString text = kinds.isEmpty()
        ? OVStringWithFormat(OVLocalizedString("%ld items reached Nortavel 3."), {report.importedTotal})
        : OVStringWithFormat(OVLocalizedString("%ld items reached Nortavel 3: %@."),
                             {report.importedTotal, kinds.join(QStringLiteral(", "))});
    if (report.missingItemCount() > 0)
        text += QLatin1Char(' ')
            + OVStringWithFormat(OVLocalizedString("%ld items did not arrive whole; they are listed below."),
                                 {qint64(report.missingItemCount())});
    if (report.incompleteItemCount() > 0)
        text += QLatin1Char(' ')
            + OVStringWithFormat(OVLocalizedString("%ld items arrived without part of what they carry."),
                                 {qint64(report.incompleteItemCount())});
    if (!report.passedOver.isEmpty())
        text += QLatin1Char(' ')
            + OVStringWithFormat(OVLocalizedString("%ld items were passed over."), {qint64(report.passedOver.size())});
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
            OVStringWithFormat(OVLocalizedString("passed over: item %@ (%@)"), {item.identifier, item.reason}));
    if (report.recordsWithUncarriableCharacters > 0)
        lines.append(
            OVStringWithFormat(OVLocalizedString("characters that XML cannot carry were left out of %ld records"),
                               {report.recordsWithUncarriableCharacters}));
    return lines;
}

QString KSExportReportDialog::logText() const
{
    if (report.logFile.isEmpty())
        return OVLocalizedString("No log was written.");
    return OVStringWithFormat(OVLocalizedString("The log is %@."), {report.logFile});
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
    dialog->setWindowTitle(OVLocalizedString("Export ended"));
    auto *layout = new QVBoxLayout(dialog.get());
    auto *summary = new QLabel(summaryText(), dialog.get());
    summary->setWordWrap(true);
    layout->addWidget(summary);
    const QStringList items = listedItems();
    if (!items.isEmpty()) {
        auto *list = new QListWidget(dialog.get());
        list->addItems(items);
        list->setMinimumSize(520, 160);
        layout->addWidget(list);
    }
    auto *log = new QLabel(logText(), dialog.get());
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
        QObject::connect(openLog, &QPushButton::clicked,
                         [folder] { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); });
    }
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog.get(), &QDialog::accept);
    layout->addWidget(buttons);
    return dialog;
}
