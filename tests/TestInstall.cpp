// The application as a package installs it: the build is installed into a throw-away root
// the way the Debian package lays it out, then the tree is compared with what belongs in
// it, the desktop entry and metainfo go through the desktop's own validators, and a whole
// export of the sample library runs from the installed files alone, against the installed
// stand-ins on the test's private session bus.
#include "TestConfig.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString ApplicationId = QStringLiteral("com.orvantis.KastrelImporter");
const QString Source = QStringLiteral("com.fendwick.kastrel4");
const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString TryFolder = QStringLiteral("lib/kastrel-importer/try-without-kastrel");
const QString SamplesFolder = QStringLiteral("share/kastrel-importer/samples/kastrel-library");

struct Run
{
    int exitCode = -1;
    QByteArray output;
    QByteArray error;
};

// Runs a program to its end; no time limit but the test's own.
Run run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    Run result;
    if (!process.waitForStarted(-1)) {
        result.error = process.errorString().toUtf8();
        return result;
    }
    process.waitForFinished(-1);
    result.output = process.readAllStandardOutput();
    result.error = process.readAllStandardError();
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

QStringList filesUnder(const QString &folder)
{
    QStringList files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (entries.hasNext())
        files.append(QDir(folder).relativeFilePath(entries.next()));
    files.sort();
    return files;
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestInstall : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QString m_prefix;

    QString installed(const QString &relativePath) const { return QDir(m_prefix).filePath(relativePath); }

private slots:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        m_prefix = QDir(m_root.path()).filePath(QStringLiteral("usr"));
        const Run install
            = run(QStringLiteral(KI_CMAKE_COMMAND),
                  {QStringLiteral("--install"), QStringLiteral(KI_BUILD_DIR), QStringLiteral("--prefix"), m_prefix});
        QVERIFY2(install.exitCode == 0, install.output.constData());
    }

    void installTreeHoldsExactlyWhatBelongsInIt()
    {
        QStringList expected = {
            QStringLiteral("bin/kastrel-importer"),
            TryFolder + QStringLiteral("/kastrel-standin"),
            TryFolder + QStringLiteral("/nortavel3-standin"),
            QStringLiteral("share/applications/") + ApplicationId + QStringLiteral(".desktop"),
            QStringLiteral("share/metainfo/") + ApplicationId + QStringLiteral(".metainfo.xml"),
            QStringLiteral("share/icons/hicolor/scalable/apps/") + ApplicationId + QStringLiteral(".svg"),
            QStringLiteral("share/man/man1/kastrel-importer.1.gz"),
            QStringLiteral("share/kastrel-importer/translations/kastrel-importer_de.qm"),
            QStringLiteral("share/kastrel-importer/translations/kastrel-importer_en.qm"),
        };
        for (const char *size : {"32", "48", "64", "128", "256"}) {
            expected.append(QStringLiteral("share/icons/hicolor/%1x%1/apps/").arg(QLatin1String(size)) + ApplicationId
                            + QStringLiteral(".png"));
        }
        const QString samples = QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library");
        const QStringList sampleFiles = filesUnder(samples);
        QVERIFY(sampleFiles.contains(QStringLiteral("library.json")));
        for (const QString &file : sampleFiles)
            expected.append(SamplesFolder + QLatin1Char('/') + file);
        expected.sort();
        QCOMPARE(filesUnder(m_prefix), expected);
    }

    void sampleLibraryIsCopiedByteForByte()
    {
        const QString samples = QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library");
        for (const QString &file : filesUnder(samples)) {
            QCOMPARE(contentsOf(installed(SamplesFolder + QLatin1Char('/') + file)),
                     contentsOf(QDir(samples).filePath(file)));
        }
    }

    void programsAreExecutable()
    {
        for (const QString &program :
             {QStringLiteral("bin/kastrel-importer"), TryFolder + QStringLiteral("/kastrel-standin"),
              TryFolder + QStringLiteral("/nortavel3-standin")}) {
            QVERIFY2(QFileInfo(installed(program)).isExecutable(), qPrintable(program));
        }
    }

    void installedProgramAnswersVersionAndHelp()
    {
        const Run version = run(installed(QStringLiteral("bin/kastrel-importer")), {QStringLiteral("--version")});
        QCOMPARE(version.exitCode, 0);
        QCOMPARE(version.output, QByteArray("Kastrel Importer " KI_PROJECT_VERSION "\n"));

        const Run help = run(installed(QStringLiteral("bin/kastrel-importer")),
                             {QStringLiteral("export"), QStringLiteral("--help")});
        QCOMPARE(help.exitCode, 0);
        QVERIFY(help.output.startsWith("Usage: kastrel-importer export"));
    }

    // The installed program finds its catalogues beside itself, not in the build folder.
    void installedProgramSpeaksGerman()
    {
        qputenv("LANGUAGE", "de");
        const Run help = run(installed(QStringLiteral("bin/kastrel-importer")), {QStringLiteral("--help")});
        qunsetenv("LANGUAGE");
        QCOMPARE(help.exitCode, 0);
        QVERIFY2(help.output.startsWith("Aufruf: kastrel-importer"), help.output.constData());
    }

    void desktopEntryNamesTheInstalledProgramAndIcon()
    {
        const QString entry = QString::fromUtf8(
            contentsOf(installed(QStringLiteral("share/applications/") + ApplicationId + QStringLiteral(".desktop"))));
        QVERIFY(entry.startsWith(QStringLiteral("[Desktop Entry]\n")));
        const QStringList lines = entry.split(QLatin1Char('\n'));
        QVERIFY(lines.contains(QStringLiteral("Exec=kastrel-importer")));
        QVERIFY(lines.contains(QStringLiteral("Icon=") + ApplicationId));
        QVERIFY(lines.contains(QStringLiteral("Type=Application")));
    }

    void desktopEntryValidates()
    {
        const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        if (validator.isEmpty())
            QSKIP("desktop-file-validate is not installed (Debian package desktop-file-utils)");
        const Run validation = run(
            validator, {installed(QStringLiteral("share/applications/") + ApplicationId + QStringLiteral(".desktop"))});
        // The validator exits 0 for hints too; anything it prints is a finding.
        QVERIFY2(validation.exitCode == 0 && validation.output.isEmpty() && validation.error.isEmpty(),
                 (validation.output + validation.error).constData());
    }

    void metainfoValidates()
    {
        const QString validator = QStandardPaths::findExecutable(QStringLiteral("appstreamcli"));
        if (validator.isEmpty())
            QSKIP("appstreamcli is not installed (Debian package appstream)");
        const Run file
            = run(validator,
                  {QStringLiteral("validate"), QStringLiteral("--no-net"),
                   installed(QStringLiteral("share/metainfo/") + ApplicationId + QStringLiteral(".metainfo.xml"))});
        QVERIFY2(file.exitCode == 0, (file.output + file.error).constData());
        // The tree check also finds the desktop entry and the icon that the metainfo names.
        const Run tree = run(validator, {QStringLiteral("validate-tree"), QStringLiteral("--no-net"), m_root.path()});
        QVERIFY2(tree.exitCode == 0, (tree.output + tree.error).constData());
    }

    void metainfoNamesTheCurrentReleaseFirst()
    {
        const QString metainfo = QString::fromUtf8(
            contentsOf(installed(QStringLiteral("share/metainfo/") + ApplicationId + QStringLiteral(".metainfo.xml"))));
        const QRegularExpressionMatch release
            = QRegularExpression(QStringLiteral("<release version=\"([^\"]+)\"")).match(metainfo);
        QVERIFY(release.hasMatch());
        QCOMPARE(release.captured(1), QStringLiteral(KI_PROJECT_VERSION));
    }

    void manualPageRenders()
    {
        const QString man = QStandardPaths::findExecutable(QStringLiteral("man"));
        if (man.isEmpty())
            QSKIP("man is not installed");
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MANWIDTH"), QStringLiteral("80"));
        environment.insert(QStringLiteral("MAN_KEEP_FORMATTING"), QStringLiteral("0"));
        process.setProcessEnvironment(environment);
        process.start(man,
                      {QStringLiteral("-l"), QStringLiteral("-Tutf8"),
                       installed(QStringLiteral("share/man/man1/kastrel-importer.1.gz"))});
        QVERIFY(process.waitForStarted(-1));
        process.waitForFinished(-1);
        QCOMPARE(process.exitCode(), 0);
        // Overstrike formatting removed, the page reads as plain text.
        const QString page
            = QString::fromUtf8(process.readAllStandardOutput()).remove(QRegularExpression(QStringLiteral(".\b")));
        for (const char *expected :
             {"NAME", "SYNOPSIS", "EXIT STATUS", "FILES", "kastrel-importer export", "--only", "--json",
              "Nortavel 3/Logs/Kastrel Export.log", "$TMPDIR/Kastrel", "/tmp/kastrel-importer-UID/Kastrel",
              "try-without-kastrel", "Kastrel Importer " KI_PROJECT_VERSION}) {
            QVERIFY2(page.contains(QString::fromUtf8(expected)), expected);
        }
        const QString warnings = QString::fromUtf8(process.readAllStandardError());
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings));
    }

    // Everything from the installed tree: the stand-ins register themselves from there, so
    // the bus starts the installed copies, which serve the installed sample library.
    void installedExportRunsAgainstTheInstalledStandins()
    {
        const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
        const QString temporary = qEnvironmentVariable("TMPDIR");
        QVERIFY(!dataHome.isEmpty() && !temporary.isEmpty());
        const QString nortavelData = QDir(m_root.path()).filePath(QStringLiteral("nortavel"));
        const QString report = QDir(nortavelData).filePath(QStringLiteral("import-report.json"));

        const Run source
            = run(installed(TryFolder + QStringLiteral("/kastrel-standin")),
                  {QStringLiteral("install"), QStringLiteral("--library"), installed(SamplesFolder),
                   QStringLiteral("--identifier"), Source, QStringLiteral("--version"), QStringLiteral("2.5")});
        QVERIFY2(source.exitCode == 0, source.error.constData());
        const Run target
            = run(installed(TryFolder + QStringLiteral("/nortavel3-standin")),
                  {QStringLiteral("install"), QStringLiteral("--identifier"), Target, QStringLiteral("--version"),
                   QStringLiteral("3.6"), QStringLiteral("--data"), nortavelData, QStringLiteral("--report"), report});
        QVERIFY2(target.exitCode == 0, target.error.constData());
        for (const QString &identifier : {Source, Target}) {
            const QByteArray service = contentsOf(
                QDir(dataHome).filePath(QStringLiteral("dbus-1/services/") + identifier + QStringLiteral(".service")));
            QVERIFY2(service.contains(QFile::encodeName(installed(TryFolder))), service.constData());
        }

        const Run exportRun = run(installed(QStringLiteral("bin/kastrel-importer")),
                                  {QStringLiteral("export"), QStringLiteral("--json")});
        QVERIFY2(exportRun.exitCode == 0, exportRun.error.constData());
        const QJsonObject summary = QJsonDocument::fromJson(exportRun.output).object();
        QVERIFY2(summary.value(QStringLiteral("errors")).toArray().isEmpty(), exportRun.output.constData());
        const QString logFile = QDir(dataHome).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
        QCOMPARE(summary.value(QStringLiteral("logFile")).toString(), logFile);
        QVERIFY(QFileInfo(logFile).isFile());
        QCOMPARE(summary.value(QStringLiteral("exportFolder")).toString(),
                 QDir(temporary).filePath(QStringLiteral("Kastrel")));
        QVERIFY(summary.value(QStringLiteral("exportedTotal")).toInt() > 0);

        // A later call is answered only once the stand-in has taken the library in.
        const QDBusMessage barrier = QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            Target, QStringLiteral("/"), QStringLiteral("com.orvantis.Nortavel3.Scripting"),
            QStringLiteral("Properties")));
        QCOMPARE(barrier.type(), QDBusMessage::ReplyMessage);
        const QJsonArray imports
            = QJsonDocument::fromJson(contentsOf(report)).object().value(QStringLiteral("imports")).toArray();
        QCOMPARE(imports.size(), 1);
        const QJsonObject taken = imports.first().toObject();
        QVERIFY2(taken.value(QStringLiteral("accepted")).toBool(), QJsonDocument(taken).toJson().constData());
        const QJsonObject tables
            = taken.value(QStringLiteral("taken")).toObject().value(QStringLiteral("tables")).toObject();
        QCOMPARE(tables.value(QStringLiteral("Item")).toInt(), summary.value(QStringLiteral("exportedTotal")).toInt());
    }
};

QTEST_GUILESS_MAIN(TestInstall)
#include "TestInstall.moc"
