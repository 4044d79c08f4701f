// The exports asked ahead; see KSExportWindow.h.
#include "engine/KSExportWindow.h"

#include "foundation/OVStandardPaths.h"

#include <QDir>
#include <QFileInfo>
#include <optional>
#include <stdexcept>

KSExportWindow::KSExportWindow(const KastrelApplication &source, const QList<KastrelDatabaseItem> &items, int size,
                               std::function<bool(const KastrelDatabaseItem &)> isExported,
                               std::function<QString(int slot)> folderForSlot, std::function<QSet<QString>()> keptFiles)
    : m_source(source)
    , m_items(items)
    , m_size(qMax(1, size))
    , m_isExported(std::move(isExported))
    , m_folderForSlot(std::move(folderForSlot))
    , m_keptFiles(std::move(keptFiles))
{ }

KSExportWindow::~KSExportWindow()
{
    discard();
}

void KSExportWindow::fill()
{
    // The slot of an export is free again once the export asked `m_size` exports before it has
    // been taken and its item recorded: that is when its folder is empty again.
    while (!m_failed && qsizetype(m_inFlight.size()) < m_size && m_nextIndex < m_items.size()) {
        const qsizetype index = m_nextIndex++;
        InFlight entry;
        entry.index = index;
        try {
            if (!m_isExported(m_items.at(index)))
                continue;
            entry.folder = m_folderForSlot(int(m_sent++ % quint64(m_size)));
            entry.pending = m_source.sendExportTo(m_items.at(index), entry.folder);
        } catch (...) {
            // Told when it is this item's turn, as it would have been without asking ahead.
            entry.failure = std::current_exception();
            m_failed = true;
        }
        m_inFlight.push_back(std::move(entry));
    }
}

QString KSExportWindow::take(qsizetype index, QString *folder)
{
    // Items before `index` that were never taken (the run stopped at one) are given up.
    while (!m_inFlight.empty() && m_inFlight.front().index < index) {
        if (m_inFlight.front().pending)
            m_inFlight.front().pending->discard();
        m_inFlight.pop_front();
    }
    if (m_inFlight.empty() && m_nextIndex <= index)
        m_nextIndex = index;
    fill();
    if (m_inFlight.empty() || m_inFlight.front().index != index)
        throw std::logic_error("an export was taken out of item order");
    InFlight entry = std::move(m_inFlight.front());
    m_inFlight.pop_front();
    if (folder)
        *folder = entry.folder;
    if (entry.failure)
        std::rethrow_exception(entry.failure);
    const QString path = entry.pending->answer();
    return path.isEmpty() ? QString() : path;
}

void KSExportWindow::discard()
{
    m_nextIndex = m_items.size();
    std::optional<QSet<QString>> kept;
    while (!m_inFlight.empty()) {
        InFlight entry = std::move(m_inFlight.front());
        m_inFlight.pop_front();
        if (!entry.pending)
            continue;
        const QString path = entry.pending->discard();
        if (path.isEmpty())
            continue;
        // Only a file the source wrote straight into the folder it was given is removed.
        const QFileInfo written(path);
        if (!written.isAbsolute() || QDir::cleanPath(written.absolutePath()) != QDir::cleanPath(entry.folder)
            || written.fileName() == QLatin1String("..") || written.fileName() == QLatin1String("."))
            continue;
        if (!kept) {
            try {
                kept = m_keptFiles ? m_keptFiles() : QSet<QString>();
            } catch (...) {
                return; // without knowing what to keep, nothing is removed
            }
        }
        if (!kept->contains(QDir::cleanPath(path)))
            OVStandardPaths::removeItemAtPath(QDir::cleanPath(path));
    }
}
