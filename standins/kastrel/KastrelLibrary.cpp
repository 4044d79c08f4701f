#include "standins/kastrel/KastrelLibrary.h"

#include <QDBusObjectPath>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMultiHash>
#include <QSet>
#include <limits>

namespace Standin {

namespace {

// What a value of an item's "served" answers on the bus; invalid when it is none of those.
QVariant servedValue(const QJsonValue &value);

const QStringList kKindNames = {QStringLiteral("note"),      QStringLiteral("bookmark"), QStringLiteral("serialNumber"),
                                QStringLiteral("password"),  QStringLiteral("image"),    QStringLiteral("pdfArchive"),
                                QStringLiteral("webArchive")};

// Reads one manifest object; the first problem met is kept with the place it was found,
// and every later read is a no-op, so a caller checks once at the end.
class ObjectReader
{
public:
    ObjectReader(const QJsonObject &object, QString place, QString *problem)
        : m_object(object)
        , m_place(std::move(place))
        , m_problem(problem)
    { }

    bool has(const QString &key) const { return m_object.contains(key); }

    QString string(const QString &key, bool required = false)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined()) {
            if (required)
                fail(QStringLiteral("\"%1\" is missing").arg(key));
            return QString();
        }
        if (!value.isString())
            fail(QStringLiteral("\"%1\" must be a string").arg(key));
        return value.toString();
    }

    std::optional<QString> optionalString(const QString &key)
    {
        if (!has(key))
            return std::nullopt;
        return string(key);
    }

    std::optional<bool> optionalBool(const QString &key)
    {
        if (!has(key))
            return std::nullopt;
        const QJsonValue value = m_object.value(key);
        if (!value.isBool())
            fail(QStringLiteral("\"%1\" must be true or false").arg(key));
        return value.toBool();
    }

    // A date as ISO 8601 text or as seconds since 1970.
    std::optional<double> optionalDate(const QString &key)
    {
        if (!has(key))
            return std::nullopt;
        const QJsonValue value = m_object.value(key);
        if (value.isDouble())
            return value.toDouble();
        const QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
        if (!value.isString() || !date.isValid()) {
            fail(QStringLiteral("\"%1\" must be an ISO 8601 date or a number of seconds").arg(key));
            return std::nullopt;
        }
        return static_cast<double>(date.toMSecsSinceEpoch()) / 1000.0;
    }

    // Property name to the value served for it: a string, a truth value or a number (a date)
    // as it is; {"date": "NaN" | "Infinity" | "-Infinity" | seconds}, {"integer": n} and
    // {"objectPath": "/..."} for the values JSON has no word for.
    QVariantMap servedValues(const QString &key)
    {
        QVariantMap served;
        const QJsonObject values = m_object.value(key).toObject();
        if (has(key) && !m_object.value(key).isObject())
            fail(QStringLiteral("\"%1\" must be an object").arg(key));
        for (auto it = values.begin(); it != values.end(); ++it) {
            const QVariant value = servedValue(it.value());
            if (!value.isValid())
                fail(QStringLiteral("\"%1\": no value to serve for \"%2\"").arg(key, it.key()));
            served.insert(it.key(), value);
        }
        return served;
    }

    QStringList stringList(const QString &key)
    {
        QStringList strings;
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined())
            return strings;
        if (!value.isArray()) {
            fail(QStringLiteral("\"%1\" must be a list of strings").arg(key));
            return strings;
        }
        for (const QJsonValue element : value.toArray()) {
            if (!element.isString())
                fail(QStringLiteral("\"%1\" must be a list of strings").arg(key));
            strings << element.toString();
        }
        return strings;
    }

    void allowOnly(const QStringList &keys)
    {
        for (auto it = m_object.begin(); it != m_object.end(); ++it) {
            if (!keys.contains(it.key()))
                fail(QStringLiteral("unknown key \"%1\"").arg(it.key()));
        }
    }

    void fail(const QString &text)
    {
        if (m_problem && m_problem->isEmpty())
            *m_problem = m_place + QStringLiteral(": ") + text;
    }

    const QJsonValue value(const QString &key) const { return m_object.value(key); }

private:
    QJsonObject m_object;
    QString m_place;
    QString *m_problem;
};

QVariant servedValue(const QJsonValue &value)
{
    if (value.isString() || value.isBool() || value.isDouble())
        return value.toVariant();
    const QJsonObject object = value.toObject();
    if (object.size() != 1)
        return QVariant();
    const QJsonValue date = object.value(QStringLiteral("date"));
    if (date.isDouble())
        return date.toDouble();
    if (date.isString()) {
        const QString text = date.toString();
        if (text == QLatin1String("NaN"))
            return std::numeric_limits<double>::quiet_NaN();
        if (text == QLatin1String("Infinity"))
            return std::numeric_limits<double>::infinity();
        if (text == QLatin1String("-Infinity"))
            return -std::numeric_limits<double>::infinity();
        return QVariant();
    }
    if (object.value(QStringLiteral("integer")).isDouble())
        return object.value(QStringLiteral("integer")).toInt();
    if (object.value(QStringLiteral("objectPath")).isString()) {
        const QString path = object.value(QStringLiteral("objectPath")).toString();
        return QDBusObjectPath(path).path() == path && !path.isEmpty() ? QVariant::fromValue(QDBusObjectPath(path))
                                                                       : QVariant();
    }
    return QVariant();
}

bool setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

} // namespace

std::optional<KastrelItemKind> KastrelLibrary::kindFromName(const QString &name)
{
    const int index = kKindNames.indexOf(name);
    if (index < 0)
        return std::nullopt;
    return static_cast<KastrelItemKind>(index);
}

QString KastrelLibrary::kindName(KastrelItemKind kind)
{
    return kKindNames.at(static_cast<int>(kind));
}

std::optional<quint32> KastrelLibrary::fourCharCode(const QString &code)
{
    if (code.size() != 4)
        return std::nullopt;
    quint32 value = 0;
    for (const QChar c : code) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7e)
            return std::nullopt;
        value = (value << 8) | c.unicode();
    }
    return value;
}

int KastrelLibrary::tagIndex(const QString &name)
{
    const auto found = m_tagIndexByName.constFind(name);
    if (found != m_tagIndexByName.constEnd())
        return found.value();
    m_tagNames << name;
    m_tagIndexByName.insert(name, int(m_tagNames.size() - 1));
    return int(m_tagNames.size() - 1);
}

bool KastrelLibrary::load(const QString &folder, QString *error)
{
    QFile file(QDir(folder).filePath(manifestFileName()));
    if (!file.open(QIODevice::ReadOnly))
        return setError(error, QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
    return load(file.readAll(), folder, error);
}

bool KastrelLibrary::load(const QByteArray &manifest, const QString &folder, QString *error)
{
    *this = KastrelLibrary();
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(manifest, &parseError);
    if (document.isNull())
        return setError(error, QStringLiteral("library manifest is no JSON: %1").arg(parseError.errorString()));
    if (!document.isObject())
        return setError(error, QStringLiteral("library manifest must be a JSON object"));
    const QJsonObject root = document.object();
    QString problem;
    ObjectReader(root, QStringLiteral("library"), &problem)
        .allowOnly({QStringLiteral("folderCollections"), QStringLiteral("tagCollections"), QStringLiteral("labels"),
                    QStringLiteral("items"), QStringLiteral("description")});
    const QDir base(folder);

    auto arrayOf = [&](const QString &key) {
        const QJsonValue value = root.value(key);
        if (!value.isUndefined() && !value.isArray() && problem.isEmpty())
            problem = QStringLiteral("\"%1\" must be a list").arg(key);
        return value.toArray();
    };

    // Labels first: items point at them by id.
    QHash<QString, int> labelById;
    const QJsonArray labels = arrayOf(QStringLiteral("labels"));
    for (qsizetype i = 0; i < labels.size() && problem.isEmpty(); ++i) {
        ObjectReader reader(labels.at(i).toObject(), QStringLiteral("labels[%1]").arg(i), &problem);
        reader.allowOnly({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("color")});
        KastrelLabel label {reader.string(QStringLiteral("id"), true), reader.string(QStringLiteral("name")),
                            reader.string(QStringLiteral("color"))};
        labelById.insert(label.id, int(m_labels.size()));
        m_labels << label;
    }

    QMultiHash<QString, int> itemsById;
    const QJsonArray items = arrayOf(QStringLiteral("items"));
    m_items.reserve(items.size());
    for (qsizetype i = 0; i < items.size() && problem.isEmpty(); ++i) {
        ObjectReader reader(items.at(i).toObject(), QStringLiteral("items[%1]").arg(i), &problem);
        reader.allowOnly({QStringLiteral("kind"), QStringLiteral("id"), QStringLiteral("name"),
                          QStringLiteral("comments"), QStringLiteral("creationDate"),
                          QStringLiteral("modificationDate"), QStringLiteral("label"), QStringLiteral("tags"),
                          QStringLiteral("encrypted"), QStringLiteral("password"), QStringLiteral("location"),
                          QStringLiteral("file"), QStringLiteral("text"), QStringLiteral("export"),
                          QStringLiteral("served")});
        KastrelItem item;
        const QString kindText = reader.string(QStringLiteral("kind"), true);
        const std::optional<KastrelItemKind> kind = kindFromName(kindText);
        if (!kind)
            reader.fail(QStringLiteral("unknown kind \"%1\"").arg(kindText));
        item.kind = kind.value_or(KastrelItemKind::Note);
        item.id = reader.string(QStringLiteral("id"), true);
        item.name = reader.optionalString(QStringLiteral("name"));
        item.comments = reader.string(QStringLiteral("comments"));
        item.creationDate = reader.optionalDate(QStringLiteral("creationDate"));
        item.modificationDate = reader.optionalDate(QStringLiteral("modificationDate"));
        if (reader.has(QStringLiteral("label"))) {
            const QString labelId = reader.string(QStringLiteral("label"));
            const auto found = labelById.constFind(labelId);
            if (found == labelById.constEnd())
                reader.fail(QStringLiteral("unknown label \"%1\"").arg(labelId));
            else
                item.label = found.value();
        }
        for (const QString &tag : reader.stringList(QStringLiteral("tags")))
            item.tags << tagIndex(tag);
        item.encrypted = reader.optionalBool(QStringLiteral("encrypted"));
        item.password = reader.optionalString(QStringLiteral("password"));
        item.location = reader.optionalString(QStringLiteral("location"));
        const QString file = reader.string(QStringLiteral("file"));
        if (!file.isEmpty()) {
            item.file = QDir::cleanPath(base.absoluteFilePath(file));
            if (!QFileInfo::exists(item.file))
                reader.fail(QStringLiteral("content file %1 does not exist").arg(item.file));
        }
        item.text = reader.string(QStringLiteral("text"));
        item.served = reader.servedValues(QStringLiteral("served"));
        const QString behavior = reader.string(QStringLiteral("export"));
        if (behavior == QLatin1String("fails"))
            item.exportBehavior = KastrelExportBehavior::Fails;
        else if (behavior == QLatin1String("quits"))
            item.exportBehavior = KastrelExportBehavior::Quits;
        else if (!behavior.isEmpty())
            reader.fail(QStringLiteral("\"export\" must be \"fails\" or \"quits\""));
        const int index = int(m_items.size());
        itemsById.insert(item.id, index);
        m_itemsByKind[static_cast<int>(item.kind)] << index;
        m_items << item;
    }

    const QJsonArray folders = arrayOf(QStringLiteral("folderCollections"));
    for (qsizetype i = 0; i < folders.size() && problem.isEmpty(); ++i) {
        ObjectReader reader(folders.at(i).toObject(), QStringLiteral("folderCollections[%1]").arg(i), &problem);
        reader.allowOnly(
            {QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("comments"), QStringLiteral("items")});
        KastrelFolderCollection folderCollection {reader.string(QStringLiteral("id"), true),
                                                  reader.string(QStringLiteral("name")),
                                                  reader.string(QStringLiteral("comments")),
                                                  {}};
        for (const QString &itemId : reader.stringList(QStringLiteral("items"))) {
            // An id shared by several items names all of them, in library order.
            QList<int> members = itemsById.values(itemId);
            if (members.isEmpty())
                reader.fail(QStringLiteral("unknown item \"%1\"").arg(itemId));
            std::sort(members.begin(), members.end());
            folderCollection.items << members;
        }
        m_folderCollections << folderCollection;
    }

    const QJsonArray tagCollections = arrayOf(QStringLiteral("tagCollections"));
    for (qsizetype i = 0; i < tagCollections.size() && problem.isEmpty(); ++i) {
        ObjectReader reader(tagCollections.at(i).toObject(), QStringLiteral("tagCollections[%1]").arg(i), &problem);
        reader.allowOnly({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("comments"),
                          QStringLiteral("behavior"), QStringLiteral("tags")});
        KastrelTagCollection collection {reader.string(QStringLiteral("id"), true),
                                         reader.string(QStringLiteral("name")),
                                         reader.string(QStringLiteral("comments")),
                                         std::nullopt,
                                         {}};
        const QJsonValue behavior = reader.value(QStringLiteral("behavior"));
        if (behavior.isString()) {
            collection.behavior = fourCharCode(behavior.toString());
            if (!collection.behavior)
                reader.fail(QStringLiteral("\"behavior\" must be four ASCII characters"));
        } else if (behavior.isDouble()) {
            collection.behavior = quint32(behavior.toDouble());
        } else if (!behavior.isUndefined()) {
            reader.fail(QStringLiteral("\"behavior\" must be a four-character code or a number"));
        }
        for (const QString &tag : reader.stringList(QStringLiteral("tags")))
            collection.tags << tagIndex(tag);
        m_tagCollections << collection;
    }

    if (!problem.isEmpty()) {
        *this = KastrelLibrary();
        return setError(error, QStringLiteral("library manifest: ") + problem);
    }
    return true;
}

} // namespace Standin
