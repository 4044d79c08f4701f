// The target application's scripting interface on the session bus: its version, "activate",
// and the import command, which hands each library file to the importer and writes the
// import report. The command is answered at once and the ingestion follows right after it,
// so a long import never runs into the caller's reply time-out; any later call is answered
// only once the ingestion is over, which makes a second call a reliable barrier.
#pragma once

#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <optional>

namespace Standin {

class NortavelScriptingService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvantis.Nortavel3.Scripting")

public:
    static QString interfaceName() { return QStringLiteral("com.orvantis.Nortavel3.Scripting"); }
    static constexpr uint copyImportMethod = 0x54666370; // 'Tfcp'

    NortavelScriptingService(std::optional<QString> version, QString dataFolder, QString reportPath,
                             QObject *parent = nullptr);

public slots:
    QVariantMap Properties();
    void Activate();
    void ImportFiles(const QStringList &files, uint by, const QVariantMap &options);

private:
    void ingest(const QStringList &files, uint by, const QVariantMap &options);

    std::optional<QString> m_version;
    QString m_dataFolder;
    QString m_reportPath;
    int m_activations = 0;
};

} // namespace Standin
