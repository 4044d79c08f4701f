#include "engine/KSReportFile.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSaveFile>

namespace KSReportFile {

namespace {

const QString prefix = QStringLiteral("Kastrel Export ");
const QStringList extensions {QStringLiteral("html"), QStringLiteral("json")};

// A report's name: the start time, an optional " (N)" for a later run of the same second, and
// one of the two extensions.
const QRegularExpression &reportName()
{
    static const QRegularExpression pattern(QStringLiteral(
        "^Kastrel Export (\\d{4}-\\d{2}-\\d{2} \\d{2}-\\d{2}-\\d{2})(?: \\(([1-9]\\d{0,8})\\))?\\.(html|json)$"));
    return pattern;
}

bool taken(const QDir &folder, const QString &baseName)
{
    for (const QString &extension : extensions) {
        const QFileInfo file(folder.filePath(baseName + QLatin1Char('.') + extension));
        if (file.exists() || file.isSymLink())
            return true;
    }
    return false;
}

} // namespace

QString unusedBaseName(const QString &folder, const QDateTime &start)
{
    const QDir directory(folder);
    const QString stamped = prefix + start.toString(QStringLiteral("yyyy-MM-dd HH-mm-ss"));
    QString baseName = stamped;
    for (int number = 2; taken(directory, baseName); ++number)
        baseName = QStringLiteral("%1 (%2)").arg(stamped).arg(number);
    return baseName;
}

bool write(const QString &path, const std::function<void(QIODevice &)> &writeContents, QString *problem)
{
    QSaveFile file(path);
    // A write that fails is remembered by the file, whose commit then fails.
    const bool opened = file.open(QIODevice::WriteOnly);
    if (opened)
        writeContents(file);
    if (!opened || !file.commit()) {
        if (problem)
            *problem = file.errorString();
        file.cancelWriting();
        return false;
    }
    return true;
}

QStringList removeOlderRuns(const QString &folder, int kept)
{
    // The runs by (start, number), each with its files; the map keeps them oldest first.
    QMap<std::pair<QString, int>, QStringList> runs;
    const QDir directory(folder);
    for (const QString &name : directory.entryList(QDir::Files | QDir::System | QDir::Hidden)) {
        const QRegularExpressionMatch match = reportName().match(name);
        if (match.hasMatch())
            runs[{match.captured(1), match.captured(2).isEmpty() ? 1 : match.captured(2).toInt()}].append(name);
    }
    QStringList failures;
    while (runs.size() > kept) {
        for (const QString &name : runs.first()) {
            QFile file(directory.filePath(name));
            if (!file.remove())
                failures.append(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
        }
        runs.erase(runs.begin());
    }
    return failures;
}

} // namespace KSReportFile
