// A whole export of the bundled sample library over the session bus: the Kastrel stand-in
// serves it, the importer exports it, and the Nortavel 3 stand-in validates and ingests the
// library file. The file is also read back by Python's plistlib, independently of our reader.
#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVPlistSerialization.h"

#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

namespace {

class CountingDelegate : public KSImportOperationDelegate
{
public:
    QStringList events;
    quint64 announced = 0;
    int records = 0;
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, const QString &type) override
    {
        events.append(type);
    }
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *, quint64 count,
                                                        const QString &type) override
    {
        announced = count;
        events.append(type);
    }
    void importOperationDidImportRecordOfType(KSImportOperation *, const QString &) override { ++records; }
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override
    {
        events.append(QStringLiteral("error %1 %2").arg(error.code).arg(error.localizedDescription));
    }
    void importOperationDidCancel(KSImportOperation *) override { events.append(QStringLiteral("cancel")); }
    void importOperationDidEnd(KSImportOperation *) override { events.append(QStringLiteral("end")); }
};

bool install(const QString &executable, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QDir(QStringLiteral(KI_BIN_DIR)).filePath(executable),
                  QStringList {QStringLiteral("install")} + arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

class TestExportThroughBus : public QObject
{
    Q_OBJECT

private slots:
    void sampleLibraryIsExportedAndIngested()
    {
        const QString data = QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("nortavel-data"));
        const QString report = QDir(data).filePath(QStringLiteral("import-report.json"));
        QVERIFY(install(QStringLiteral("kastrel-standin"),
                        {QStringLiteral("--library"), QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library"),
                         QStringLiteral("--identifier"), QStringLiteral("com.fendwick.kastrel4"),
                         QStringLiteral("--version"), QStringLiteral("2.5")}));
        QVERIFY(install(QStringLiteral("nortavel3-standin"),
                        {QStringLiteral("--identifier"), QStringLiteral("com.orvantis.Nortavel3"),
                         QStringLiteral("--version"), QStringLiteral("3.6"), QStringLiteral("--data"), data,
                         QStringLiteral("--report"), report}));

        QVariantMap options;
        for (const char *key : {"notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives"})
            options.insert(QString::fromLatin1(key), true);
        const auto delegate = std::make_shared<CountingDelegate>();
        const auto operation = KSImportOperationInspector::make(options, delegate);
        operation->main();

        QCOMPARE(delegate->events.first(), QStringLiteral("Groups"));
        QCOMPARE(delegate->events.last(), QStringLiteral("end"));
        QVERIFY2(delegate->events.filter(QStringLiteral("error")).isEmpty(),
                 qPrintable(delegate->events.join(QLatin1Char('\n'))));
        QCOMPARE(delegate->announced, quint64(39));
        QCOMPARE(quint64(delegate->records), delegate->announced);
        const OVPlist items = KSImportOperationInspector::libraryPlist(*operation)
                                  .value(QStringLiteral("Entities"))
                                  .value(QStringLiteral("Item"));
        QCOMPARE(items.size(), 36); // three notes and images have no name and are skipped

        // A later call is answered only when the ingestion is over.
        QDBusInterface nortavel(QStringLiteral("com.orvantis.Nortavel3"), QStringLiteral("/"),
                                QStringLiteral("com.orvantis.Nortavel3.Scripting"));
        const QDBusReply<QVariantMap> properties = nortavel.call(QStringLiteral("Properties"));
        QVERIFY2(properties.isValid(), qPrintable(properties.error().message()));

        QFile reportFile(report);
        QVERIFY2(reportFile.open(QIODevice::ReadOnly), qPrintable(report));
        const QJsonObject imported = QJsonDocument::fromJson(reportFile.readAll())
                                         .object()
                                         .value(QStringLiteral("imports"))
                                         .toArray()
                                         .first()
                                         .toObject();
        QVERIFY2(imported.value(QStringLiteral("accepted")).toBool(),
                 QJsonDocument(imported.value(QStringLiteral("problems")).toArray()).toJson().constData());
        QCOMPARE(imported.value(QStringLiteral("problems")).toArray().size(), 0);
        QCOMPARE(imported.value(QStringLiteral("taken"))
                     .toObject()
                     .value(QStringLiteral("tables"))
                     .toObject()
                     .value(QStringLiteral("Item"))
                     .toInt(),
                 36);
        QCOMPARE(imported.value(QStringLiteral("method")).toString(), QStringLiteral("Tfcp"));
        QVERIFY(imported.value(QStringLiteral("activatedBefore")).toBool());
        // The target removed the export folder, as the file asked.
        QCOMPARE(imported.value(QStringLiteral("removed")).toString(), operation->filesPath());
        QVERIFY(!QFileInfo::exists(operation->filesPath()));

        const QString copy = QDir(imported.value(QStringLiteral("libraryFolder")).toString())
                                 .filePath(QStringLiteral("Kastrel.nvlibxml"));
        QVERIFY2(QFileInfo::exists(copy), qPrintable(copy));
        // Comments that Kastrel answers as "" are left out, as absent ones are.
        OVError error;
        const OVPlist library = OVPlistSerialization::propertyListWithContentsOfFile(copy, nullptr, &error);
        QVERIFY2(library.isDictionary(), qPrintable(error.localizedDescription));
        const OVPlist entities = library.value(QStringLiteral("Entities"));
        const OVPlist personal = entities.value(QStringLiteral("ItemGroup")).value(QStringLiteral("GRP-PERSONAL"));
        QVERIFY(personal.isDictionary());
        QVERIFY(!personal.contains(QStringLiteral("comments")));
        QCOMPARE(entities.value(QStringLiteral("ItemGroup"))
                     .value(QStringLiteral("GRP-WORK"))
                     .value(QStringLiteral("comments"))
                     .toString(),
                 QStringLiteral("Office, clients and invoices"));
        const OVPlist empty = entities.value(QStringLiteral("SmartGroup")).value(QStringLiteral("TC-EMPTY"));
        QVERIFY(empty.isDictionary());
        QVERIFY(!empty.contains(QStringLiteral("comments")));
        QProcess python;
        python.setProcessChannelMode(QProcess::MergedChannels);
        python.start(
            QStringLiteral("/usr/bin/python3"),
            {QStringLiteral(KI_SOURCE_DIR "/tests/scripts/check_library_file.py"), copy, QStringLiteral("36")});
        QVERIFY(python.waitForFinished(60000));
        QVERIFY2(python.exitCode() == 0, python.readAll().constData());
    }
};

QTEST_GUILESS_MAIN(TestExportThroughBus)
#include "TestExportThroughBus.moc"
