#include "app/KSResumeQuestion.h"

#include "app/KSAlert.h"
#include "engine/KSExportJournal.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"

#include <QDir>

std::optional<KSResumeQuestion::UnfinishedExport> KSResumeQuestion::unfinishedExport(const QString &exportFolder)
{
    if (exportFolder.isEmpty())
        return std::nullopt;
    const std::optional<KSExportJournal::Contents> journal
        = KSExportJournal::read(QDir(exportFolder).filePath(KSExportJournal::fileName));
    if (!journal)
        return std::nullopt;
    return UnfinishedExport {exportFolder, journal->entries.size(), journal->header.announcedItems,
                             KSImportOptions::fromKeys(journal->header.options)};
}

std::optional<KSResumeQuestion::UnfinishedExport> KSResumeQuestion::find()
{
    for (const QString &target : {KSImportOperation::targetIdentifier, KSImportOperation::sandboxedTargetIdentifier}) {
        if (std::optional<UnfinishedExport> unfinished
            = unfinishedExport(KSImportOperation::exportFolderForTarget(target)))
            return unfinished;
    }
    return std::nullopt;
}

QString KSResumeQuestion::questionText(qint64 recorded, qint64 announced)
{
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                               "An earlier export stopped after %1 of %2 items. Continue it, or "
                                               "start over?"))
        .arg(recorded)
        .arg(announced);
}

KSResumeQuestion::Answer KSResumeQuestion::ask(QWidget *parent, const UnfinishedExport &unfinished)
{
    KSAlert alert;
    alert.messageText = questionText(unfinished.recorded, unfinished.announced);
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
