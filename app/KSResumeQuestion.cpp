#include "app/KSResumeQuestion.h"

#include "app/KSAlert.h"
#include "engine/KSExportJournal.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"

#include <QDir>

bool KSResumeQuestion::unfinishedExport(const QString &exportFolder, qint64 *recorded, qint64 *announced)
{
    if (exportFolder.isEmpty())
        return false;
    const std::optional<KSExportJournal::Contents> journal
        = KSExportJournal::read(QDir(exportFolder).filePath(KSExportJournal::fileName));
    if (!journal)
        return false;
    *recorded = journal->entries.size();
    *announced = journal->header.announcedItems;
    return true;
}

std::optional<KSImportOptions> KSResumeQuestion::unfinishedExportOptions(const QString &exportFolder)
{
    if (exportFolder.isEmpty())
        return std::nullopt;
    const std::optional<KSExportJournal::Contents> journal
        = KSExportJournal::read(QDir(exportFolder).filePath(KSExportJournal::fileName));
    if (!journal)
        return std::nullopt;
    KSImportOptions options = KSImportOptions::none();
    for (const QString &key : journal->header.options) {
        const std::optional<KSImportKind> kind = KSImportOptions::kindForKey(key);
        // A kind this program does not know: the run is refused with the reason, as it should be.
        if (!kind)
            return std::nullopt;
        options.set(*kind, true);
    }
    return options;
}

QString KSResumeQuestion::unfinishedExportFolder()
{
    qint64 recorded = 0;
    qint64 announced = 0;
    for (const QString &target : {KSImportOperation::targetIdentifier, KSImportOperation::sandboxedTargetIdentifier}) {
        const QString folder = KSImportOperation::exportFolderForTarget(target);
        if (unfinishedExport(folder, &recorded, &announced))
            return folder;
    }
    return QString();
}

QString KSResumeQuestion::questionText(qint64 recorded, qint64 announced)
{
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                               "An earlier export stopped after %1 of %2 items. Continue it, or "
                                               "start over?"))
        .arg(recorded)
        .arg(announced);
}

KSResumeQuestion::Answer KSResumeQuestion::ask(QWidget *parent)
{
    const QString folder = unfinishedExportFolder();
    qint64 recorded = 0;
    qint64 announced = 0;
    if (!unfinishedExport(folder, &recorded, &announced))
        return Answer::StartOver;
    KSAlert alert;
    alert.messageText = questionText(recorded, announced);
    alert.informativeText
        = OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                              "Continuing exports only the items that are not in the earlier "
                                              "export or that changed since; starting over exports every item "
                                              "again."));
    alert.buttons = {OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Continue")),
                     OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Start Over")),
                     OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Cancel"))};
    switch (alert.runModal(parent)) {
    case 0:
        return Answer::Continue;
    case 1:
        return Answer::StartOver;
    default:
        break;
    }
    return Answer::Cancel;
}
