// What the fault and hostile-input tests share: libraries for the source stand-in written on
// the fly, both stand-ins installed (and restarted) on the test's private bus, a delegate
// that records what a run reports, and snapshots of folder trees that prove nothing outside
// the run's own folders was written or deleted.
#pragma once

#include "engine/KSImportOperation.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

namespace FaultHarness {

class RecordingDelegate : public KSImportOperationDelegate
{
public:
    QStringList events;
    QList<OVError> errors;
    int records = 0;
    // Called on the thread that delivers the notification (the main thread), after counting.
    std::function<void(KSImportOperation *)> onRecord;

    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type) override;
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                        const QString &type) override;
    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type) override;
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override;
    void importOperationDidCancel(KSImportOperation *) override;
    void importOperationDidEnd(KSImportOperation *) override;

    QStringList finalEvents() const; // "end", "cancel" and "error N" events, in order
};

// Every kind of item on.
QVariantMap allOptions();

// Makes `operation` with every kind on and a new recording delegate, and runs it on this thread.
std::shared_ptr<RecordingDelegate> runWithAllOptions(std::unique_ptr<KSImportOperation> &operation,
                                                     std::shared_ptr<ScriptingBackend> backend = nullptr);

// An item of the source stand-in's manifest; `extra` adds or replaces keys.
QJsonObject item(const QString &kind, const QString &id, const QJsonValue &name, const QJsonObject &extra = {});

// Writes `manifest` as library.json into a new folder `name` under the test's home, with a
// small content file for each kind ("note.rtf", "image.png", "doc.pdf", "page.webarchive")
// beside it. Answers the folder.
QString writeLibrary(const QString &name, const QJsonObject &manifest);

// Installs the source stand-in serving `library` (version 2.5) and the target stand-in
// (version 3.6) writing its report to reportPath(); stops running copies of either first, so
// the next call starts them afresh. `sourceArguments` go to the source (e.g. --reply-delay).
bool installStandins(const QString &library, const QStringList &sourceArguments = {});
QString reportPath();
// The target's report of its last import command, or an empty object when it got none.
// Waits for the target to finish ingesting first.
QJsonObject lastImport();

// The per-user temporary folder of the test and the run's export folder in it.
QString exportFolder();
QString logFilePath();
QString readLog();

// Path (relative to `root`) to a description of each entry under it (kind, size, mode,
// content digest or link target), links not followed.
QMap<QString, QString> snapshot(const QString &root);
// Lines naming what differs between two snapshots.
QStringList differences(const QMap<QString, QString> &before, const QMap<QString, QString> &after);
// A tree of files, a link and a folder to watch: created at `root`.
void plantSentinels(const QString &root);

} // namespace FaultHarness
