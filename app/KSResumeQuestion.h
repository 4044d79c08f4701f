// Before an export from the window: when an earlier export stopped unfinished and left its
// journal, asks "An earlier export stopped after N of M items. Continue it, or start over?"
// with the choices Continue, Start Over and Cancel. Through KSAlert, so tests answer it.
#pragma once

#include "engine/KSImportOptions.h"

#include <QString>
#include <optional>

class QWidget;

class KSResumeQuestion
{
public:
    enum class Answer { Continue, StartOver, Cancel };

    // How far the unfinished export in `exportFolder` got, when there is one whose journal
    // reads; *recorded and *announced get N and M.
    static bool unfinishedExport(const QString &exportFolder, qint64 *recorded, qint64 *announced);

    // The export folder of whichever edition of Nortavel 3 an export would go to that holds an
    // unfinished export, or a null string.
    static QString unfinishedExportFolder();

    // The kinds the unfinished export in `exportFolder` was made with, when its journal reads:
    // continuing it exports those, whatever the options sheet says now.
    static std::optional<KSImportOptions> unfinishedExportOptions(const QString &exportFolder);

    // Asks, when there is an unfinished export; answers StartOver without asking when there is
    // none (a run from the first item is what happens anyway).
    static Answer ask(QWidget *parent);

    // The question for `recorded` of `announced` items.
    static QString questionText(qint64 recorded, qint64 announced);
};
