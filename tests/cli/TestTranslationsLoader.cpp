// The catalogue is chosen from the system locale at start, for the command line as for the
// window: German under a German LANG, LC_ALL or LANGUAGE, the English one (its counts only)
// under C or English, nothing for a language without a catalogue, whose counts then read
// English from the copy built into the program.
#include "TestConfig.h"
#include "foundation/KSTranslations.h"
#include "foundation/OVLocalization.h"

#include <QProcess>
#include <QtTest>

namespace {

const QStringList BuildFolders {QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations")};

struct Run
{
    int status = -1;
    QString output;
    QString error;
};

// The executable with `arguments`, under `environment` alone (no LANG of the machine's).
Run runExecutable(const QStringList &arguments, const QStringList &environment)
{
    QProcess process;
    QProcessEnvironment variables;
    variables.insert(QStringLiteral("PATH"), qEnvironmentVariable("PATH"));
    variables.insert(QStringLiteral("HOME"), qEnvironmentVariable("HOME"));
    for (const QString &setting : environment)
        variables.insert(setting.section(QLatin1Char('='), 0, 0), setting.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(variables);
    process.start(QStringLiteral(KI_BIN_DIR "/kastrel-importer"), arguments);
    if (!process.waitForFinished(30000))
        return Run {};
    return Run {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class TestTranslationsLoader : public QObject
{
    Q_OBJECT

private slots:
    void catalogueOfEachLocale_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("catalogue");
        QTest::newRow("German") << QStringLiteral("de_DE") << QStringLiteral("kastrel-importer_de.qm");
        QTest::newRow("Austrian German") << QStringLiteral("de_AT") << QStringLiteral("kastrel-importer_de.qm");
        QTest::newRow("C") << QStringLiteral("C") << QStringLiteral("kastrel-importer_en.qm");
        QTest::newRow("English") << QStringLiteral("en_GB") << QStringLiteral("kastrel-importer_en.qm");
        QTest::newRow("French") << QStringLiteral("fr_FR") << QString();
    }

    void catalogueOfEachLocale()
    {
        QFETCH(QString, locale);
        QFETCH(QString, catalogue);
        const QString found = KSTranslations::catalogueFor(QLocale(locale), BuildFolders);
        if (catalogue.isEmpty())
            QCOMPARE(found, QString());
        else
            QCOMPARE(QFileInfo(found).fileName(), catalogue);
    }

    void noFolderNoCatalogue()
    {
        QCOMPARE(KSTranslations::catalogueFor(QLocale(QStringLiteral("de_DE")), {QStringLiteral("/nonexistent")}),
                 QString());
    }

    void commandLineSpeaksTheSystemLanguage_data()
    {
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QString>("firstWord");
        QTest::newRow("LANG German") << QStringList {QStringLiteral("LANG=de_DE.UTF-8")} << QStringLiteral("Aufruf:");
        QTest::newRow("LC_ALL German") << QStringList {QStringLiteral("LANG=C"), QStringLiteral("LC_ALL=de_DE.UTF-8")}
                                       << QStringLiteral("Aufruf:");
        QTest::newRow("LANGUAGE German") << QStringList {QStringLiteral("LANGUAGE=de_DE.UTF-8")}
                                         << QStringLiteral("Aufruf:");
        QTest::newRow("no locale") << QStringList {} << QStringLiteral("Usage:");
        QTest::newRow("C") << QStringList {QStringLiteral("LANG=C"), QStringLiteral("LC_ALL=C")}
                           << QStringLiteral("Usage:");
        QTest::newRow("English") << QStringList {QStringLiteral("LANG=en_US.UTF-8")} << QStringLiteral("Usage:");
        QTest::newRow("French, no catalogue")
            << QStringList {QStringLiteral("LANG=fr_FR.UTF-8")} << QStringLiteral("Usage:");
    }

    void commandLineSpeaksTheSystemLanguage()
    {
        QFETCH(QStringList, environment);
        QFETCH(QString, firstWord);
        const Run run = runExecutable({QStringLiteral("--help")}, environment);
        QCOMPARE(run.status, 0);
        QVERIFY2(run.output.startsWith(firstWord + QLatin1Char(' ')), qPrintable(run.output));
    }

    void commandLineErrorInGerman()
    {
        const Run run = runExecutable({QStringLiteral("export"), QStringLiteral("--only"), QStringLiteral("nonsense")},
                                      {QStringLiteral("LANG=de_DE.UTF-8")});
        QCOMPARE(run.status, 64);
        QVERIFY2(run.error.contains(QStringLiteral("unbekannte Art \u201enonsense\u201c")), qPrintable(run.error));
        QVERIFY2(run.error.contains(QStringLiteral("Aufruf: kastrel-importer export")), qPrintable(run.error));
    }

    // Last: what install() puts in place stays for the rest of the run.
    void installLooksUpInTheCatalogue()
    {
        QCOMPARE(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended.")),
                 QStringLiteral("Export ended."));
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 1),
                 QStringLiteral("1 items were passed over."));
        // French has no catalogue: its counts come from the English one built into the program.
        QCOMPARE(KSTranslations::install(QLocale(QStringLiteral("fr_FR")), BuildFolders), QString());
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 1),
                 QStringLiteral("1 item was passed over."));
        QCOMPARE(OVLocalizedCountString(
                     QT_TRANSLATE_N_NOOP("KastrelImporter",
                                         "Export ended, but %n items did not arrive whole (listed above)."),
                     1),
                 QStringLiteral("Export ended, but 1 item did not arrive whole (listed above)."));
        QCOMPARE(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended.")),
                 QStringLiteral("Export ended."));
        QVERIFY(
            KSTranslations::install(QLocale(QStringLiteral("en_US")), BuildFolders).endsWith(QLatin1String("_en.qm")));
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 1),
                 QStringLiteral("1 item was passed over."));
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 2),
                 QStringLiteral("2 items were passed over."));
        QVERIFY(
            KSTranslations::install(QLocale(QStringLiteral("de_DE")), BuildFolders).endsWith(QLatin1String("_de.qm")));
        QCOMPARE(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended.")),
                 QStringLiteral("Export beendet."));
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 1),
                 QStringLiteral("1 Objekt wurde \u00fcbergangen."));
        // German keeps its own forms over the English ones installed before.
        QCOMPARE(OVLocalizedCountString(QT_TRANSLATE_N_NOOP("KastrelImporter", "%n items were passed over."), 2),
                 QStringLiteral("2 Objekte wurden \u00fcbergangen."));
        QCOMPARE(OVLocalizedCountString(
                     QT_TRANSLATE_N_NOOP("KastrelImporter",
                                         "Export ended, but %n items did not arrive whole (listed above)."),
                     1),
                 QStringLiteral(
                     "Export beendet, aber 1 Objekt ist nicht vollst\u00e4ndig angekommen (oben aufgef\u00fchrt)."));
        // Qt's own buttons in German too.
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Abbrechen"));
    }
};

QTEST_GUILESS_MAIN(TestTranslationsLoader)
#include "TestTranslationsLoader.moc"
