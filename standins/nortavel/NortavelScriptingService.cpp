#include "standins/nortavel/NortavelScriptingService.h"

#include "standins/nortavel/NortavelLibraryImporter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaType>
#include <QSaveFile>
#include <cstdio>

namespace Standin {

namespace {

const QString kInvalidArgs = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");

QString fourCharText(uint code)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const uint c = (code >> shift) & 0xff;
        text += (c >= 0x20 && c < 0x7f) ? QChar(c) : QLatin1Char('?');
    }
    return text;
}

} // namespace

NortavelScriptingService::NortavelScriptingService(std::optional<QString> version, QString dataFolder,
                                                   QString reportPath, QObject *parent)
    : QObject(parent)
    , m_version(std::move(version))
    , m_dataFolder(std::move(dataFolder))
    , m_reportPath(std::move(reportPath))
{ }

QVariantMap NortavelScriptingService::Properties()
{
    QVariantMap properties;
    if (m_version)
        properties.insert(QStringLiteral("version"), *m_version);
    return properties;
}

void NortavelScriptingService::Activate()
{
    ++m_activations;
    std::fprintf(stderr, "nortavel3-standin: activated\n");
}

void NortavelScriptingService::ImportFiles(const QStringList &files, uint by, const QVariantMap &options)
{
    // Arguments the command cannot take are refused before anything is read.
    QString malformed;
    if (files.isEmpty())
        malformed = QStringLiteral("no files to import");
    for (const QString &file : files) {
        if (!QFileInfo(file).isAbsolute())
            malformed = QStringLiteral("not an absolute path: %1").arg(file);
    }
    if (by != copyImportMethod)
        malformed = QStringLiteral("unknown import method '%1'").arg(fourCharText(by));
    const QHash<QString, int> optionTypes {{QStringLiteral("to"), QMetaType::QString},
                                           {QStringLiteral("withRating"), QMetaType::Int},
                                           {QStringLiteral("withComments"), QMetaType::QString},
                                           {QStringLiteral("withLabel"), QMetaType::QString},
                                           {QStringLiteral("withTags"), QMetaType::QString}};
    for (auto it = options.constBegin(); it != options.constEnd(); ++it) {
        if (!optionTypes.contains(it.key()))
            malformed = QStringLiteral("unknown option \"%1\"").arg(it.key());
        else if (it.value().typeId() != optionTypes.value(it.key()))
            malformed = QStringLiteral("option \"%1\" has the wrong type").arg(it.key());
    }
    if (!calledFromDBus()) {
        if (malformed.isEmpty())
            ingest(files, by, options);
        return;
    }
    if (!malformed.isEmpty()) {
        sendErrorReply(kInvalidArgs, malformed);
        return;
    }
    setDelayedReply(true);
    connection().send(message().createReply());
    ingest(files, by, options);
}

void NortavelScriptingService::ingest(const QStringList &files, uint by, const QVariantMap &options)
{
    QJsonArray imports;
    NortavelLibraryImporter importer(m_dataFolder);
    for (const QString &file : files) {
        const bool accepted = importer.importLibraryFile(file);
        QJsonObject entry = importer.report();
        entry.insert(QStringLiteral("method"), fourCharText(by));
        entry.insert(QStringLiteral("options"), QJsonObject::fromVariantMap(options));
        entry.insert(QStringLiteral("activatedBefore"), m_activations > 0);
        imports << entry;
        std::fprintf(stderr, "nortavel3-standin: %s %s\n", accepted ? "imported" : "refused", qPrintable(file));
    }
    m_activations = 0;

    const QJsonObject report {{QStringLiteral("date"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                              {QStringLiteral("imports"), imports}};
    QDir().mkpath(QFileInfo(m_reportPath).absolutePath());
    QSaveFile file(m_reportPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(report).toJson()) < 0 || !file.commit())
        std::fprintf(stderr, "nortavel3-standin: cannot write the report %s: %s\n", qPrintable(m_reportPath),
                     qPrintable(file.errorString()));
}

} // namespace Standin
