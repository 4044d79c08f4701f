// Ingests a library interchange file into the stand-in's own library folder: validates it,
// copies every item file into a fresh import folder (renamed into place only when complete,
// so a failed import leaves nothing behind), removes the export folder the file asks to
// remove, and describes the outcome as one entry of the import report.
#pragma once

#include "standins/nortavel/NortavelLibraryValidator.h"

#include <QJsonObject>
#include <QString>
#include <QVariantMap>

namespace Standin {

class NortavelLibraryImporter
{
public:
    // Imports land in <dataFolder>/Library/Import N.
    explicit NortavelLibraryImporter(QString dataFolder);

    static QString libraryFolderName() { return QStringLiteral("Library"); }

    // Imports one library file; answers whether it was taken. Either way report() describes
    // what happened: what was taken by table and kind, or every problem that refused it.
    bool importLibraryFile(const QString &path);

    const QJsonObject &report() const { return m_report; }

    // The folder an item of this kind is kept in inside an import folder.
    static QString folderForItemType(qint64 itemType);

private:
    bool refuse(const QList<NortavelLibraryProblem> &problems);

    QString m_dataFolder;
    QJsonObject m_report;
};

} // namespace Standin
