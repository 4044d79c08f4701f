// The log and the library file are read by programs: they stay in English while the person
// reads German. A run under the German catalogue tells its delegate in German and writes the
// same English log lines and the same library file as a run without it.
#include "InMemoryScripting.h"
#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "engine/KSImportOperation.h"

#include <QDir>
#include <QFile>
#include <QTranslator>
#include <QtTest>

namespace {

const QString Target = QStringLiteral("com.orvantis.Nortavel3");
const QString Source = QStringLiteral("com.fendwick.kastrel4");

class ErrorDelegate : public KSImportOperationDelegate
{
public:
    QList<OVError> errors;
    void importOperationDidEncounterError(KSImportOperation *, const OVError &error) override { errors.append(error); }
};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString logPath()
{
    return QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Nortavel 3/Logs/Kastrel Export.log"));
}

QString libraryPath()
{
    return QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel/Kastrel.nvlibxml"));
}

// The log's lines without their date stamps.
QStringList logTexts()
{
    QStringList texts;
    const QStringList lines = QString::fromUtf8(readAll(logPath())).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines)
        texts.append(line.mid(26));
    return texts;
}

// The kinds the library below holds.
const QVariantMap Options {{QStringLiteral("images"), true}, {QStringLiteral("bookmarks"), true}};

void removeEarlierRuns()
{
    QDir(qEnvironmentVariable("XDG_DATA_HOME")).removeRecursively();
    QDir(QDir(qEnvironmentVariable("TMPDIR")).filePath(QStringLiteral("Kastrel"))).removeRecursively();
}

// A library with an item without a name (passed over) and a bookmark whose address is none
// (listed as incomplete): both have a reason, and both reasons are translated.
std::shared_ptr<InMemoryScripting> applicationsWithReasons()
{
    auto applications = std::make_shared<InMemoryScripting>();
    applications->addNortavel(Target, QStringLiteral("3.5"));
    InMemoryKastrel source = applications->addKastrel(Source, QStringLiteral("2.5"));
    source.addItem(KastrelItemKind::Image, QStringLiteral("I1"), QStringLiteral("Photo"));
    source.addItem(KastrelItemKind::Image, QStringLiteral("I2"), QStringLiteral(""));
    const QString bookmark = source.addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
    source.setProperty(bookmark, QStringLiteral("location"), QStringLiteral("not a url"));
    return applications;
}

} // namespace

class TestLogLanguage : public QObject
{
    Q_OBJECT

    QTranslator m_german;

    void speakGerman(bool german)
    {
        if (german)
            QVERIFY(QCoreApplication::installTranslator(&m_german));
        else
            QCoreApplication::removeTranslator(&m_german);
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(
            m_german.load(QStringLiteral(KI_BUILD_DIR "/share/kastrel-importer/translations/kastrel-importer_de.qm")),
            "the German catalogue is built with the executable");
    }

    void cleanup() { speakGerman(false); }

    void errorIsGermanForThePersonAndEnglishInTheLog()
    {
        removeEarlierRuns();
        auto applications = std::make_shared<InMemoryScripting>();
        applications->addNortavel(Target, QStringLiteral("3.5"));
        auto delegate = std::make_shared<ErrorDelegate>();
        speakGerman(true);
        KSImportOperationInspector::make({}, delegate, applications)->main();

        QCOMPARE(delegate->errors.size(), 1);
        QCOMPARE(delegate->errors.first().localizedDescription,
                 QStringLiteral("Das Programm Kastrel wurde nicht gefunden."));
        QCOMPARE(delegate->errors.first().descriptionInEnglish(),
                 QStringLiteral("Unable to locate the Kastrel application."));
        QVERIFY2(logTexts().contains(QStringLiteral("Error: Error Domain=Kastrel Importer Error Domain Code=10001 "
                                                    "\"Unable to locate the Kastrel application.\" "
                                                    "UserInfo={NSLocalizedDescription=Unable to locate the Kastrel "
                                                    "application.}")),
                 qPrintable(logTexts().join(QLatin1Char('\n'))));
    }

    void wholeDescriptionOfAnErrorIsInEnglish()
    {
        const OVError error {QStringLiteral("Kastrel Importer Error Domain"), 10003,
                             QStringLiteral("Die Datenbankeinheit \u201eA\u201c konnte nicht exportiert werden."),
                             QStringLiteral("Unable to export database item with name \"A\".")};
        QCOMPARE(error.wholeDescriptionInEnglish(),
                 QStringLiteral("Error Domain=Kastrel Importer Error Domain Code=10003 \"Unable to export database "
                                "item with name \"A\".\" UserInfo={NSLocalizedDescription=Unable to export database "
                                "item with name \"A\".}"));
        // Text that looks like a placeholder is taken as it is.
        const OVError untranslated {QStringLiteral("D"), -1, QStringLiteral("100% %1 %2")};
        QCOMPARE(untranslated.wholeDescriptionInEnglish(),
                 QStringLiteral("Error Domain=D Code=-1 \"100% %1 %2\" UserInfo={NSLocalizedDescription=100% %1 %2}"));
    }

    void reasonsAreGermanForThePersonAndEnglishInTheLog()
    {
        removeEarlierRuns();
        speakGerman(true);
        const auto operation = KSImportOperationInspector::make(Options, nullptr, applicationsWithReasons());
        operation->main();

        QCOMPARE(operation->skippedItems().size(), 1);
        QCOMPARE(operation->skippedItems().first().reason, QStringLiteral("es hat keinen Namen"));
        QCOMPARE(operation->skippedItems().first().englishReason, QStringLiteral("it has no name"));
        QCOMPARE(operation->itemProblems().size(), 1);
        QCOMPARE(operation->itemProblems().first().reason,
                 QStringLiteral("seine Adresse \u201enot a url\u201c ist keine Webadresse"));
        QCOMPARE(operation->itemProblems().first().englishReason,
                 QStringLiteral("its address \"not a url\" is not a web address"));
        QVERIFY2(logTexts().contains(QStringLiteral("Item with identifier B1 (\"Site\") was not fully imported: its "
                                                    "address \"not a url\" is not a web address")),
                 qPrintable(logTexts().join(QLatin1Char('\n'))));
    }

    // Everything the log and the library file hold is the same in German as in English: each
    // run's log, and the library file but for what differs from run to run anyway.
    void logAndLibraryFileAreTheSameInGerman()
    {
        QStringList logs[2];
        QByteArray libraries[2];
        for (const bool german : {false, true}) {
            removeEarlierRuns();
            speakGerman(german);
            KSImportOperationInspector::make(Options, nullptr, applicationsWithReasons())->main();
            logs[german] = logTexts();
            libraries[german] = readAll(libraryPath());
        }
        QVERIFY(!logs[0].isEmpty());
        QCOMPARE(logs[1], logs[0]);
        QVERIFY(!libraries[0].isEmpty());
        QCOMPARE(libraries[1], libraries[0]);
    }
};

QTEST_GUILESS_MAIN(TestLogLanguage)
#include "TestLogLanguage.moc"
