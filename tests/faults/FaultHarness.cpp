#include "FaultHarness.h"

#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QThread>
#include <csignal>
#include <sys/stat.h>

namespace FaultHarness {

namespace {

using TestSupport::writeFile;

const QString sourceName = QStringLiteral("com.fendwick.kastrel4");
const QString targetName = QStringLiteral("com.orvantis.Nortavel3");

bool runStandin(const QString &executable, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QDir(QStringLiteral(KI_BIN_DIR)).filePath(executable),
                  QStringList {QStringLiteral("install")} + arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// Ends the running copy of a stand-in this test's bus started, so that the next call
// activates one with the new installation.
void stopService(const QString &name)
{
    QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    const QDBusReply<uint> pid = bus->servicePid(name);
    if (!pid.isValid() || pid.value() == 0)
        return;
    ::kill(pid_t(pid.value()), SIGTERM);
    for (int attempt = 0; attempt < 500 && bus->isServiceRegistered(name).value(); ++attempt)
        QThread::msleep(10);
}

} // namespace

void RecordingDelegate::importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type)
{
    events.append(QStringLiteral("stage ") + type);
}

void RecordingDelegate::importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                                       const QString &type)
{
    events.append(QStringLiteral("count %1 %2").arg(count).arg(type));
}

void RecordingDelegate::importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &)
{
    ++records;
    if (onRecord)
        onRecord(operation);
}

void RecordingDelegate::importOperationDidEncounterError(KSImportOperation *, const OVError &error)
{
    errors.append(error);
    events.append(QStringLiteral("error %1").arg(error.code));
}

void RecordingDelegate::importOperationDidCancel(KSImportOperation *)
{
    events.append(QStringLiteral("cancel"));
}

void RecordingDelegate::importOperationDidEnd(KSImportOperation *)
{
    events.append(QStringLiteral("end"));
}

QStringList RecordingDelegate::finalEvents() const
{
    QStringList result;
    for (const QString &event : events) {
        if (event == QLatin1String("end") || event == QLatin1String("cancel")
            || event.startsWith(QLatin1String("error")))
            result.append(event);
    }
    return result;
}

QVariantMap allOptions()
{
    QVariantMap options;
    for (const char *key : {"notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives"})
        options.insert(QString::fromLatin1(key), true);
    return options;
}

std::shared_ptr<RecordingDelegate> runWithAllOptions(std::unique_ptr<KSImportOperation> &operation,
                                                     std::shared_ptr<ScriptingBackend> backend)
{
    const auto delegate = std::make_shared<RecordingDelegate>();
    operation = KSImportOperationInspector::make(allOptions(), delegate, std::move(backend));
    operation->main();
    return delegate;
}

QJsonObject item(const QString &kind, const QString &id, const QJsonValue &name, const QJsonObject &extra)
{
    QJsonObject object {{QStringLiteral("kind"), kind}, {QStringLiteral("id"), id}};
    if (!name.isUndefined())
        object.insert(QStringLiteral("name"), name);
    static const QMap<QString, QString> files {
        {QStringLiteral("note"), QStringLiteral("note.rtf")},
        {QStringLiteral("image"), QStringLiteral("image.png")},
        {QStringLiteral("pdfArchive"), QStringLiteral("doc.pdf")},
        {QStringLiteral("webArchive"), QStringLiteral("page.webarchive")},
    };
    if (files.contains(kind))
        object.insert(QStringLiteral("file"), files.value(kind));
    else if (kind == QLatin1String("bookmark"))
        object.insert(QStringLiteral("location"), QStringLiteral("https://example.org/"));
    else
        object.insert(QStringLiteral("text"), QStringLiteral("secret text"));
    for (auto entry = extra.constBegin(); entry != extra.constEnd(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

QString writeLibrary(const QString &name, const QJsonObject &manifest)
{
    const QString folder = QDir(QDir::homePath()).filePath(name);
    QDir(folder).removeRecursively();
    writeFile(QDir(folder).filePath(QStringLiteral("library.json")), QJsonDocument(manifest).toJson());
    writeFile(QDir(folder).filePath(QStringLiteral("note.rtf")), "{\\rtf1\\ansi Hello {\\b world}.}");
    writeFile(QDir(folder).filePath(QStringLiteral("image.png")),
              QByteArray::fromBase64(
                  "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg=="));
    writeFile(QDir(folder).filePath(QStringLiteral("doc.pdf")),
              "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[]/Count 0>>endobj\n"
              "trailer<</Root 1 0 R>>\n%%EOF\n");
    writeFile(QDir(folder).filePath(QStringLiteral("page.webarchive")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict/></plist>\n");
    return folder;
}

QString reportPath()
{
    return QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("nortavel-data/import-report.json"));
}

bool installStandins(const QString &library, const QStringList &sourceArguments)
{
    stopService(sourceName);
    stopService(targetName);
    QFile::remove(reportPath());
    return runStandin(QStringLiteral("kastrel-standin"),
                      QStringList {QStringLiteral("--library"), library, QStringLiteral("--identifier"), sourceName,
                                   QStringLiteral("--version"), QStringLiteral("2.5")}
                          + sourceArguments)
        && runStandin(QStringLiteral("nortavel3-standin"),
                      {QStringLiteral("--identifier"), targetName, QStringLiteral("--version"), QStringLiteral("3.6"),
                       QStringLiteral("--data"), QFileInfo(reportPath()).absolutePath(), QStringLiteral("--report"),
                       reportPath()});
}

QJsonObject lastImport()
{
    if (QDBusConnection::sessionBus().interface()->isServiceRegistered(targetName).value()) {
        // A later call is answered only when the ingestion is over.
        QDBusInterface nortavel(targetName, QStringLiteral("/"), QStringLiteral("com.orvantis.Nortavel3.Scripting"));
        nortavel.call(QStringLiteral("Properties"));
    }
    QFile file(reportPath());
    if (!file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.readAll())
        .object()
        .value(QStringLiteral("imports"))
        .toArray()
        .first()
        .toObject();
}

QString exportFolder()
{
    return QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"));
}

QString logFilePath()
{
    return KSImportOperation::logFilePathForTarget(KSImportOperation::targetIdentifier);
}

QString readLog()
{
    QFile file(logFilePath());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QMap<QString, QString> snapshot(const QString &root)
{
    QMap<QString, QString> entries;
    QDirIterator iterator(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        struct stat status;
        if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
            continue;
        QString description = QStringLiteral("mode %1 size %2").arg(status.st_mode, 0, 8).arg(status.st_size);
        if (S_ISLNK(status.st_mode)) {
            description += QStringLiteral(" link ") + QFileInfo(path).symLinkTarget();
        } else if (S_ISREG(status.st_mode)) {
            QFile file(path);
            if (file.open(QIODevice::ReadOnly))
                description += QStringLiteral(" sha1 ")
                    + QString::fromLatin1(QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1).toHex());
        }
        entries.insert(QDir(root).relativeFilePath(path), description);
    }
    return entries;
}

QStringList differences(const QMap<QString, QString> &before, const QMap<QString, QString> &after)
{
    QStringList lines;
    for (auto entry = before.constBegin(); entry != before.constEnd(); ++entry) {
        if (!after.contains(entry.key()))
            lines.append(QStringLiteral("deleted ") + entry.key());
        else if (after.value(entry.key()) != entry.value())
            lines.append(QStringLiteral("changed ") + entry.key());
    }
    for (auto entry = after.constBegin(); entry != after.constEnd(); ++entry) {
        if (!before.contains(entry.key()))
            lines.append(QStringLiteral("created ") + entry.key());
    }
    return lines;
}

void plantSentinels(const QString &root)
{
    writeFile(QDir(root).filePath(QStringLiteral("sentinel.txt")), "keep me\n");
    writeFile(QDir(root).filePath(QStringLiteral("etc/passwd")), "keep me too\n");
    writeFile(QDir(root).filePath(QStringLiteral("Notes/Agenda.nvnote/TXT.rtf")), "{\\rtf1 keep}");
    QFile::link(QDir(root).filePath(QStringLiteral("sentinel.txt")), QDir(root).filePath(QStringLiteral("link")));
    QDir().mkpath(QDir(root).filePath(QStringLiteral("empty folder")));
}

} // namespace FaultHarness
