// The export journal; see KSExportJournal.h.
#include "engine/KSExportJournal.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

const QString KSExportJournal::fileName = QStringLiteral("Export Journal.jsonl");

namespace {

const QString magicKey = QStringLiteral("kastrelExportJournal");

QString systemError(const QString &what)
{
    return QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(std::strerror(errno)));
}

QJsonValue dateValue(const QDateTime &date)
{
    return date.isValid() ? QJsonValue(date.toUTC().toString(Qt::ISODateWithMs)) : QJsonValue();
}

// A date as dateValue() wrote it; false for anything else.
bool readDate(const QJsonValue &value, QDateTime *date)
{
    if (value.isNull() || value.isUndefined()) {
        *date = QDateTime();
        return true;
    }
    if (!value.isString())
        return false;
    *date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    return date->isValid();
}

QJsonValue stringValue(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

// A path the journal may name: relative, and inside the export folder once cleaned.
bool isInsideFolder(const QString &path)
{
    if (path.isEmpty() || QDir::isAbsolutePath(path))
        return false;
    const QString cleaned = QDir::cleanPath(path);
    return cleaned != QLatin1String("..") && !cleaned.startsWith(QLatin1String("../")) && cleaned != QLatin1String(".");
}

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, data, size_t(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        left -= written;
    }
    return true;
}

} // namespace

KSExportJournal::KSExportJournal(std::function<qint64()> clock)
    : m_clock(std::move(clock))
{
    if (!m_clock) {
        auto timer = std::make_shared<QElapsedTimer>();
        timer->start();
        m_clock = [timer] { return timer->elapsed(); };
    }
}

KSExportJournal::~KSExportJournal()
{
    close();
}

QJsonObject KSExportJournal::entryObject(const Entry &entry)
{
    const KSItemRecord &record = entry.record;
    QJsonObject recordObject {
        {QStringLiteral("type"), record.type},
        {QStringLiteral("identifier"), record.identifier},
        {QStringLiteral("path"), record.path},
        {QStringLiteral("fileName"), record.fileName},
        {QStringLiteral("name"), stringValue(record.name)},
        {QStringLiteral("dateCreated"), dateValue(record.dateCreated)},
        {QStringLiteral("dateModified"), dateValue(record.dateModified)},
        {QStringLiteral("comments"), record.comments},
        {QStringLiteral("tags"), record.tags},
        {QStringLiteral("label"), record.label},
    };
    if (record.encrypted)
        recordObject.insert(QStringLiteral("encrypted"), *record.encrypted);
    QJsonArray groups;
    for (const OVPlist &group : record.groups)
        groups.append(group.toString());
    recordObject.insert(QStringLiteral("groups"), groups);

    QJsonArray problems;
    for (const Problem &problem : entry.problems)
        problems.append(QJsonObject {{QStringLiteral("kind"), problem.kind},
                                     {QStringLiteral("name"), problem.name},
                                     {QStringLiteral("reason"), problem.reason},
                                     {QStringLiteral("englishReason"), problem.englishReason}});
    return QJsonObject {
        {QStringLiteral("optionKey"), entry.optionKey},
        {QStringLiteral("item"), entry.itemIdentifier},
        {QStringLiteral("modified"), dateValue(entry.modificationDate)},
        {QStringLiteral("record"), recordObject},
        {QStringLiteral("size"), entry.size},
        {QStringLiteral("problems"), problems},
    };
}

std::optional<KSExportJournal::Entry> KSExportJournal::entryFromObject(const QJsonObject &object)
{
    const QJsonObject recordObject = object.value(QStringLiteral("record")).toObject();
    Entry entry;
    entry.optionKey = object.value(QStringLiteral("optionKey")).toString();
    entry.itemIdentifier = object.value(QStringLiteral("item")).toString();
    entry.size = qint64(object.value(QStringLiteral("size")).toDouble(-1));
    KSItemRecord &record = entry.record;
    record.type = qint64(recordObject.value(QStringLiteral("type")).toDouble());
    record.identifier = recordObject.value(QStringLiteral("identifier")).toString();
    record.path = recordObject.value(QStringLiteral("path")).toString();
    record.fileName = recordObject.value(QStringLiteral("fileName")).toString();
    const QJsonValue name = recordObject.value(QStringLiteral("name"));
    record.name = name.isString() ? name.toString() : QString();
    record.comments = recordObject.value(QStringLiteral("comments")).toString();
    record.tags = recordObject.value(QStringLiteral("tags")).toString();
    record.label = recordObject.value(QStringLiteral("label")).toString();
    const QJsonValue encrypted = recordObject.value(QStringLiteral("encrypted"));
    if (encrypted.isBool())
        record.encrypted = encrypted.toBool();
    for (const QJsonValue &group : recordObject.value(QStringLiteral("groups")).toArray())
        record.groups.append(OVPlist(group.toString()));
    for (const QJsonValue &value : object.value(QStringLiteral("problems")).toArray()) {
        const QJsonObject problem = value.toObject();
        entry.problems.append(Problem {problem.value(QStringLiteral("kind")).toInt(),
                                       problem.value(QStringLiteral("name")).toString(),
                                       problem.value(QStringLiteral("reason")).toString(),
                                       problem.value(QStringLiteral("englishReason")).toString()});
    }
    if (entry.optionKey.isEmpty() || entry.itemIdentifier.isEmpty() || record.identifier.isEmpty()
        || !isInsideFolder(record.path) || record.fileName != QFileInfo(record.path).fileName()
        || !readDate(object.value(QStringLiteral("modified")), &entry.modificationDate)
        || !readDate(recordObject.value(QStringLiteral("dateCreated")), &record.dateCreated)
        || !readDate(recordObject.value(QStringLiteral("dateModified")), &record.dateModified))
        return std::nullopt;
    return entry;
}

std::optional<KSExportJournal::Contents> KSExportJournal::read(const QString &path, QString *problem)
{
    const auto fail = [problem](const QString &why) -> std::optional<Contents> {
        if (problem)
            *problem = why;
        return std::nullopt;
    };
    QFile file(path);
    if (!file.exists())
        return fail(QStringLiteral("there is no journal of an earlier export"));
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("the journal cannot be read (%1)").arg(file.errorString()));
    QList<QByteArray> lines = file.readAll().split('\n');
    // The last piece is what follows the last line feed: empty after a whole line.
    Contents contents;
    if (!lines.isEmpty() && !lines.last().isEmpty())
        contents.droppedTornLine = true;
    if (!lines.isEmpty())
        lines.removeLast();

    const QJsonObject header = lines.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(lines.first()).object();
    if (!header.contains(magicKey))
        return fail(QStringLiteral("the journal has no readable header"));
    if (header.value(magicKey).toInt() != formatVersion)
        return fail(QStringLiteral("the journal is of format %1, not %2")
                        .arg(header.value(magicKey).toVariant().toString())
                        .arg(formatVersion));
    contents.header.sourceIdentifier = header.value(QStringLiteral("sourceIdentifier")).toString();
    contents.header.sourceVersion = header.value(QStringLiteral("sourceVersion")).toString();
    contents.header.announcedItems = qint64(header.value(QStringLiteral("announcedItems")).toDouble());
    for (const QJsonValue &option : header.value(QStringLiteral("options")).toArray())
        contents.header.options.append(option.toString());

    for (qsizetype index = 1; index < lines.size(); ++index) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(lines.at(index), &error);
        std::optional<Entry> entry;
        if (error.error == QJsonParseError::NoError && document.isObject())
            entry = entryFromObject(document.object());
        if (!entry)
            return fail(QStringLiteral("line %1 of the journal does not read").arg(index + 1));
        contents.entries.append(*entry);
    }
    return contents;
}

qint64 KSExportJournal::sizeOnDisk(const QString &path)
{
    const QFileInfo info(path);
    if (info.isSymLink() || !info.exists())
        return -1;
    if (!info.isDir())
        return info.size();
    qint64 size = 0;
    QDirIterator files(path, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        size += files.fileInfo().size();
    }
    return size;
}

bool KSExportJournal::begin(const QString &path, const Header &header, const QList<Entry> &entries, QString *problem)
{
    close();
    const QByteArray temporary = QFile::encodeName(path + QStringLiteral(".new"));
    m_fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (m_fd < 0) {
        if (problem)
            *problem = systemError(QString::fromLocal8Bit(temporary));
        return false;
    }
    QJsonArray options;
    for (const QString &option : header.options)
        options.append(option);
    bool written = writeLine(QJsonObject {{magicKey, formatVersion},
                                          {QStringLiteral("sourceIdentifier"), header.sourceIdentifier},
                                          {QStringLiteral("sourceVersion"), header.sourceVersion},
                                          {QStringLiteral("options"), options},
                                          {QStringLiteral("announcedItems"), header.announcedItems}},
                             problem);
    for (qsizetype index = 0; written && index < entries.size(); ++index)
        written = writeLine(entryObject(entries.at(index)), problem);
    // The new journal replaces the old one only once it is whole on the disk.
    if (!written || !sync(problem) || ::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0) {
        if (problem && problem->isEmpty())
            *problem = systemError(path);
        ::close(m_fd);
        m_fd = -1;
        ::unlink(temporary.constData());
        return false;
    }
    return true;
}

bool KSExportJournal::writeLine(const QJsonObject &object, QString *problem)
{
    if (m_fd < 0) {
        if (problem)
            *problem = QStringLiteral("the journal is not open");
        return false;
    }
    if (!writeAll(m_fd, QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n')) {
        if (problem)
            *problem = systemError(QStringLiteral("writing the journal"));
        return false;
    }
    if (m_unsynced++ == 0)
        m_oldestUnsynced = m_clock();
    return true;
}

bool KSExportJournal::append(const Entry &entry, QString *problem)
{
    if (!writeLine(entryObject(entry), problem))
        return false;
    if (m_unsynced >= syncEveryItems)
        return sync(problem);
    return syncIfDue(problem);
}

bool KSExportJournal::syncIfDue(QString *problem)
{
    if (m_unsynced == 0 || m_clock() - m_oldestUnsynced < syncEveryMilliseconds)
        return true;
    return sync(problem);
}

bool KSExportJournal::sync(QString *problem)
{
    if (m_fd < 0)
        return false;
    QElapsedTimer waited;
    waited.start();
    const int synced = ::fdatasync(m_fd);
    m_syncNanoseconds += waited.nsecsElapsed();
    if (synced != 0) {
        if (problem)
            *problem = systemError(QStringLiteral("syncing the journal"));
        return false;
    }
    m_unsynced = 0;
    return true;
}

void KSExportJournal::close()
{
    if (m_fd < 0)
        return;
    sync(nullptr);
    ::close(m_fd);
    m_fd = -1;
}
