// The part of a continued export taken from the journal; see KSResumedExport.h.
#include "engine/KSResumedExport.h"

#include "engine/ScriptingValues.h"
#include "foundation/OVStandardPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

KSResumedExport::KSResumedExport(KSExportJournal::Contents journal, QString exportFolder)
    : m_journal(std::move(journal))
    , m_folder(std::move(exportFolder))
{ }

QString KSResumedExport::absolutePath(const KSExportJournal::Entry &entry) const
{
    return QDir::cleanPath(QDir(m_folder).filePath(entry.record.path));
}

int KSResumedExport::prepareFolder(const QStringList &subFolders, const QString &stagingFolder)
{
    int removedCount = 0;
    QList<KSExportJournal::Entry> kept;
    QSet<QString> keptFiles;
    for (const KSExportJournal::Entry &entry : std::as_const(m_journal.entries)) {
        const QString path = absolutePath(entry);
        // An entry names each file once: a second entry for one file cannot be trusted.
        if (entry.size >= 0 && !keptFiles.contains(path) && KSExportJournal::sizeOnDisk(path) == entry.size) {
            kept.append(entry);
            keptFiles.insert(path);
        }
    }
    for (const QString &subFolder : subFolders) {
        const QFileInfoList children
            = QDir(subFolder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo &child : children) {
            const QString path = QDir::cleanPath(child.absoluteFilePath());
            if (keptFiles.contains(path))
                continue;
            OVStandardPaths::removeItemAtPath(path);
            ++removedCount;
        }
    }
    const QFileInfoList staged = stagingFolder.isEmpty()
        ? QFileInfoList()
        : QDir(stagingFolder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &child : staged) {
        OVStandardPaths::removeItemAtPath(child.absoluteFilePath());
        ++removedCount;
    }

    m_journal.entries = kept;
    m_waiting.clear();
    m_settled.clear();
    for (qsizetype index = 0; index < kept.size(); ++index)
        m_waiting[kept.at(index).itemIdentifier].append(index);
    return removedCount;
}

QDateTime KSResumedExport::modificationDate(const KastrelDatabaseItem &item)
{
    try {
        return item.modificationDate();
    } catch (const KSScriptingValueException &) {
        return QDateTime();
    }
}

const KSExportJournal::Entry *KSResumedExport::entryFor(const KastrelDatabaseItem &item, const QString &optionKey)
{
    const auto settled = m_settled.constFind(item.objectPath());
    if (settled != m_settled.constEnd())
        return *settled < 0 ? nullptr : &m_journal.entries.at(*settled);

    qsizetype found = -1;
    const QString identifier = item.id();
    auto waiting = m_waiting.find(identifier);
    if (waiting != m_waiting.end()) {
        // Several items may share an identifier: each takes the next entry made for one of them.
        for (qsizetype position = 0; position < waiting->size(); ++position) {
            const KSExportJournal::Entry &entry = m_journal.entries.at(waiting->at(position));
            if (entry.optionKey != optionKey)
                continue;
            const qsizetype index = waiting->takeAt(position);
            if (entry.modificationDate == modificationDate(item))
                found = index;
            else
                OVStandardPaths::removeItemAtPath(absolutePath(entry));
            break;
        }
    }
    m_settled.insert(item.objectPath(), found);
    return found < 0 ? nullptr : &m_journal.entries.at(found);
}
