// The body of a run: checking the source and the target and their versions, preparing an
// empty export folder, running the stages in order, writing the library file and handing it
// to the target.
#include "engine/KSFourCharCode.h"
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/KSResumedExport.h"
#include "engine/NortavelApplication.h"
#include "foundation/OVPlistSerialization.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <stdexcept>

namespace {

const char *const exportFolderErrorText
    = QT_TRANSLATE_NOOP("KastrelImporter", "Unable to create the temporary directory to export files.");

// The leading integer of a version part, as a number object reads it: blanks skipped, an
// optional sign, the digits that follow; no number at all reads as 0.
qint64 leadingInteger(const QString &text)
{
    qsizetype index = 0;
    while (index < text.size() && text.at(index).isSpace())
        ++index;
    bool negative = false;
    if (index < text.size() && (text.at(index) == QLatin1Char('-') || text.at(index) == QLatin1Char('+'))) {
        negative = text.at(index) == QLatin1Char('-');
        ++index;
    }
    qint64 value = 0;
    for (; index < text.size() && text.at(index) >= QLatin1Char('0') && text.at(index) <= QLatin1Char('9'); ++index) {
        if (value < (std::numeric_limits<qint32>::max() - 9) / 10)
            value = value * 10 + (text.at(index).unicode() - u'0');
    }
    return negative ? -value : value;
}

struct Version
{
    qint64 major = 0;
    qint64 minor = 0;
};

// Major and minor of a "."-separated version. An absent version reads as 0.0, as asking
// nothing for its parts answers zeros. A version without a second part cannot be read and
// throws, which ends the run like any other failed read.
Version readVersion(const QString &version, const char *whose)
{
    if (version.isNull())
        return Version();
    const QStringList parts = version.split(QLatin1Char('.'));
    if (parts.size() < 2)
        throw std::out_of_range(
            QStringLiteral("The %1 version \"%2\" has no minor part").arg(QLatin1String(whose), version).toStdString());
    Version result {leadingInteger(parts.at(0)), leadingInteger(parts.at(1))};
    if (parts.size() >= 3)
        leadingInteger(parts.at(2)); // read and ignored: the patch level does not matter
    return result;
}

} // namespace

bool KSImportOperation::performImportWithAppIdentifier(const QString &identifier)
{
    // Source look-up, in identifier order.
    std::optional<KastrelApplication> source
        = KastrelApplication::applicationWithBundleIdentifier(scriptingBackend(), sourceIdentifier);
    if (!source)
        source = KastrelApplication::applicationWithBundleIdentifier(scriptingBackend(), legacySourceIdentifier);
    m_kastrelApp = source;
    m_foundSourceIdentifier = source ? source->bundleIdentifier() : QString();
    if (!source) {
        informDelegateDidEncounterError(
            KSImportError(KSSourceApplicationNotFoundError,
                          QT_TRANSLATE_NOOP("KastrelImporter", "Unable to locate the Kastrel application.")));
        return false;
    }

    // Only major version 1 is looked at: 0.x and 2.x and later all pass.
    m_sourceVersion = source->version();
    const Version sourceVersion = readVersion(m_sourceVersion, "source");
    if (sourceVersion.major == 1 && sourceVersion.minor <= 4) {
        informDelegateDidEncounterError(KSImportError(
            KSApplicationVersionError, QT_TRANSLATE_NOOP("KastrelImporter", "Kastrel 1.5 or later is required.")));
        return false;
    }
    m_majorVersion = quint64(sourceVersion.major);

    const std::optional<NortavelApplication> target
        = NortavelApplication::applicationWithBundleIdentifier(scriptingBackend(), identifier);
    if (!target) {
        informDelegateDidEncounterError(KSImportError(
            KSTargetApplicationNotFoundError, QT_TRANSLATE_NOOP("KastrelImporter", "Unable to launch Nortavel.")));
        return false;
    }
    const Version targetVersion = readVersion(target->version(), "target");
    if (!(targetVersion.major > 3 || (targetVersion.major == 3 && targetVersion.minor >= 5))) {
        informDelegateDidEncounterError(KSImportError(
            KSApplicationVersionError, QT_TRANSLATE_NOOP("KastrelImporter", "Nortavel 3.5 or later is required.")));
        return false;
    }

    // The export folder, emptied: whatever a previous run left there goes.
    const QString folder = exportFolderForTarget(identifier);
    m_filesPath = folder;
    writeLog(OVStringWithFormat(QStringLiteral("Exporting to directory: %@"), {folder}));

    QString reason;
    if (identifier == targetIdentifier && OVStandardPaths::perUserTemporaryFolder(&reason).isNull()) {
        informDelegateDidEncounterError(KSImportError(KSExportFolderError, exportFolderErrorText));
        writeLog(OVStringWithFormat(QStringLiteral("Unable to create directory %@: %@"), {folder, reason}));
        return false;
    }
    // A run that continues an earlier one keeps its folder; any other empties it.
    if (m_resume && !prepareToContinue(folder))
        return false;
    if (!m_resumed && (QFileInfo(folder).exists() || QFileInfo(folder).isSymLink())) {
        if (!OVStandardPaths::removeItemAtPath(folder, &reason)) {
            informDelegateDidEncounterError(KSImportError(KSExportFolderError, exportFolderErrorText));
            writeLog(OVStringWithFormat(QStringLiteral("Unable to remove directory %@: %@"), {folder, reason}));
            return false;
        }
    }
    if (!OVStandardPaths::createFolderWithIntermediates(folder, &reason)) {
        informDelegateDidEncounterError(KSImportError(KSExportFolderError, exportFolderErrorText));
        writeLog(OVStringWithFormat(QStringLiteral("Unable to create directory %@: %@"), {folder, reason}));
        return false;
    }
    m_createdExportFolder = true;

    m_library.begin();

    if (!importGroups() || !importSmartGroups() || !importLabels() || !importItems())
        return false;

    // Records whose file is missing go before the file is written; the file is read back
    // before the target sees it, and a file that does not read back is never handed over.
    // A record whose file went missing is listed under the kind exported last, the one the
    // item stage ended with.
    QString lastKind;
    for (const KSImportKind kind : KSImportOptions::allKinds()) {
        if (importOptions().contains(kind))
            lastKind = KSImportOptions::keyOf(kind);
    }
    const QSet<QString> itemFiles = removeRecordsWithoutFiles(lastKind);
    const QString libraryFile = QDir(folder).filePath(QStringLiteral("Kastrel.nvlibxml"));
    if (!writeLibraryFile(libraryFile, itemFiles))
        return false;
    removeJournal();

    target->activate();
    NortavelImportOptions options;
    options.withRating = 0;
    target->importFiles({libraryFile}, KSNortavelImportMethodCopy, options);
    m_handedOffLibraryFile = libraryFile;
    return true;
}
