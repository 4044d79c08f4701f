// The run itself: finding the target, the log and its framing lines, and the guard that
// turns anything thrown by a stage into error 10004 followed by the cancel notification.
#include "engine/KSImportOperation.h"

#include "engine/DBusScriptingBackend.h"
#include "engine/KSExportLock.h"
#include "engine/KSImportErrors.h"
#include "engine/KSResumedExport.h"
#include "engine/KSScriptingException.h"
#include "foundation/OVClock.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVLogLine.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFile>
#include <exception>

const QString KSImportOperation::targetIdentifier = QStringLiteral("com.orvantis.Nortavel3");
const QString KSImportOperation::sandboxedTargetIdentifier = QStringLiteral("com.orvantis.Nortavel3.mac");
const QString KSImportOperation::sourceIdentifier = QStringLiteral("com.fendwick.kastrel4");
const QString KSImportOperation::legacySourceIdentifier = QStringLiteral("com.fendwick.kastrel");

namespace {

// The support folder of the target edition: the user's own for the plain edition, the
// sandbox's container for any other.
QString supportFolderForTarget(const QString &identifier)
{
    if (identifier == KSImportOperation::targetIdentifier)
        return OVStandardPaths::applicationSupportFolder();
    return OVStandardPaths::sandboxedApplicationSupportFolder(identifier);
}

} // namespace

KSImportOperation::KSImportOperation(KSImportOptions importOptions, std::shared_ptr<KSImportOperationDelegate> delegate,
                                     std::shared_ptr<ScriptingBackend> backend)
    : m_importOptions(std::move(importOptions))
    , m_delegate(std::move(delegate))
    , m_backend(backend ? std::move(backend) : std::make_shared<DBusScriptingBackend>())
{ }

KSImportOperation::~KSImportOperation() = default;

QString KSImportOperation::logFilePathForTarget(const QString &targetIdentifier)
{
    return QDir(supportFolderForTarget(targetIdentifier))
        .filePath(
            QStringLiteral("Nortavel 3/Logs/")
            + OVExtensions::stringByAppendingPathExtension(QStringLiteral("Kastrel Export"), QStringLiteral("log")));
}

QString KSImportOperation::exportFolderForTarget(const QString &identifier, QString *reason)
{
    if (identifier == targetIdentifier) {
        const QString temporary = OVStandardPaths::perUserTemporaryFolder(reason);
        return temporary.isNull() ? QString() : QDir(temporary).filePath(QStringLiteral("Kastrel"));
    }
    return QDir(supportFolderForTarget(identifier)).filePath(QStringLiteral("Nortavel 3/LibraryImport/Kastrel"));
}

void KSImportOperation::main()
{
    // Without a bus nothing can be reached, and "not found" would send the person looking
    // for an installation that is fine.
    const QString busProblem = m_backend->connectionProblem();
    if (!busProblem.isEmpty()) {
        informDelegateDidEncounterError(OVMakeError(
            KSImportErrorDomain, KSTargetApplicationNotFoundError,
            OVLocalizedTextWithFormat(
                QT_TRANSLATE_NOOP("KastrelImporter",
                                  "Kastrel Importer cannot reach Kastrel and Nortavel 3: there is no D-Bus session "
                                  "bus (%@). Run it from your desktop session, or start both applications and the "
                                  "importer under one \"dbus-run-session\"."),
                {busProblem})));
        return;
    }

    // A second export would empty the first one's folder and write into its log.
    KSExportLock exportLock;
    bool otherExportRunning = false;
    QString lockProblem;
    if (!exportLock.tryLock(&otherExportRunning, &lockProblem) && otherExportRunning) {
        informDelegateDidEncounterError(KSImportError(KSExportFolderError,
                                                      QT_TRANSLATE_NOOP("KastrelImporter",
                                                                        "Another export is running. Wait until it has "
                                                                        "ended, then export again.")));
        return;
    }

    QString identifier;
    for (const QString &candidate : {targetIdentifier, sandboxedTargetIdentifier}) {
        if (!m_backend->absolutePathForAppBundleWithIdentifier(candidate).isNull()) {
            identifier = candidate;
            break;
        }
    }
    if (identifier.isNull()) {
        // Nothing is logged: without a target there is no folder to log into.
        informDelegateDidEncounterError(KSImportError(KSTargetApplicationNotFoundError,
                                                      QT_TRANSLATE_NOOP("KastrelImporter", "Nortavel app not found.")));
        return;
    }

    const QString logPath = logFilePathForTarget(identifier);
    QDir().mkpath(QFileInfo(logPath).absolutePath());
    auto log = std::make_shared<QFile>(logPath);
    // Unbuffered, so every line is on disk when written, even if the run dies afterwards. A log
    // that cannot be opened is not an error: the run goes on and its lines are lost.
    log->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered);
    m_logStream = log;
    m_logFilePath = QFileInfo(logPath).absoluteFilePath();
    if (!lockProblem.isEmpty())
        writeLog(OVStringWithFormat(QStringLiteral("Exporting without the lock against a second export: %@"),
                                    {lockProblem}));

    // An exception ends the run as a cancelled one, after its error.
    std::optional<OVError> abort;
    try {
        m_startTime = OVClock::currentDateTimeUtc().toLocalTime();
        writeLog(QStringLiteral("*** Export started"));
        performImportWithAppIdentifier(identifier);
        if (isCancelled())
            writeLog(QStringLiteral("Export cancelled"));
        removeUnusedExportFolder();
        writeLog(QStringLiteral("*** Export ended"));
        if (isCancelled())
            informDelegateDidCancel();
        else
            informDelegateDidEnd();
    } catch (const ItemScriptingException &exception) {
        writeLog(OVStringWithFormat(QStringLiteral("Scripting failure: %@"), {exception.reason()}));
        abort = OVMakeError(KSImportErrorDomain, KSExceptionError,
                            describe(exception, m_backend->settledFailure(exception), exception.itemName()));
    } catch (const KSScriptingException &exception) {
        writeLog(OVStringWithFormat(QStringLiteral("Scripting failure: %@"), {exception.reason()}));
        abort = OVMakeError(KSImportErrorDomain, KSExceptionError,
                            describe(exception, m_backend->settledFailure(exception), QString()));
    } catch (const std::exception &exception) {
        abort = OVMakeError(KSImportErrorDomain, KSExceptionError,
                            OVText::untranslated(QString::fromUtf8(exception.what())));
    } catch (...) {
        abort = OVMakeError(KSImportErrorDomain, KSExceptionError,
                            OVText::untranslated(QStringLiteral("Unknown exception")));
    }
    if (abort) {
        informDelegateDidEncounterError(*abort);
        removeUnusedExportFolder();
        informDelegateDidCancel();
    }
    log->close();
}

OVText KSImportOperation::describe(const KSScriptingException &exception, KSScriptingException::Failure failure,
                                   const QString &itemName) const
{
    const bool fromTarget
        = exception.application() == targetIdentifier || exception.application() == sandboxedTargetIdentifier;
    const QString application = fromTarget ? QStringLiteral("Nortavel 3") : QStringLiteral("Kastrel");
    OVText what;
    switch (failure) {
    case KSScriptingException::Failure::Quit:
        what = OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "%@ quit"), {application});
        break;
    case KSScriptingException::Failure::NoAnswer:
        what = OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "%@ stopped answering"), {application});
        break;
    case KSScriptingException::Failure::Other:
        what = OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "%@ did not answer as expected"),
                                         {application});
        break;
    }
    if (itemName.isEmpty())
        return OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                           "%@ during the export. Nothing was handed to Nortavel 3; "
                                                           "the details are in the log."),
                                         {QVariant::fromValue(what)});
    return OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter",
                                                       "%@ while \"%@\" was being exported. Nothing was handed to "
                                                       "Nortavel 3; the details are in the log."),
                                     {QVariant::fromValue(what), itemName});
}

void KSImportOperation::removeUnusedExportFolder()
{
    // A finished export's folder belongs to the target now; an unfinished one is of no use to
    // anybody, and may sit in memory, unless its journal lets the next run continue it.
    if (!m_createdExportFolder || !handedOffLibraryFile().isNull() || (!isCancelled() && !m_errorReported))
        return;
    if (keepUnfinishedExportFolder())
        return;
    const QString folder = filesPath();
    QString reason;
    if (OVStandardPaths::removeItemAtPath(folder, &reason))
        writeLog(OVStringWithFormat(QStringLiteral("Removed the unfinished export folder %@"), {folder}));
    else
        writeLog(OVStringWithFormat(QStringLiteral("Unable to remove the unfinished export folder %@: %@"),
                                    {folder, reason}));
    m_createdExportFolder = false;
}

void KSImportOperation::writeLog(const QString &line)
{
    if (m_logStream && m_logStream->isOpen())
        OVExtensions::writeLogLine(*m_logStream, line);
}

QMap<qint64, qint64> KSImportOperation::recordedItemCountsByType() const
{
    return m_library.itemCountsByType();
}
