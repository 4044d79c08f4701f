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

    // An export that stopped unfinished, as its journal tells it.
    struct UnfinishedExport
    {
        QString folder;
        qint64 recorded = 0; // N
        qint64 announced = 0; // M
        // The kinds it exports; continuing it exports those, whatever the options sheet says
        // now. Nothing when its journal names a kind this program does not know.
        std::optional<KSImportOptions> options;
    };

    // The unfinished export in `exportFolder`, when there is one whose journal reads.
    static std::optional<UnfinishedExport> unfinishedExport(const QString &exportFolder);

    // The unfinished export of whichever edition of Nortavel 3 an export would go to, if any.
    // Its journal is read once, here: a large library's journal is long.
    static std::optional<UnfinishedExport> find();

    // Asks about `unfinished`.
    static Answer ask(QWidget *parent, const UnfinishedExport &unfinished);

    // The question for `recorded` of `announced` items.
    static QString questionText(qint64 recorded, qint64 announced);
};
