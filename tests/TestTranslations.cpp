// The German catalogue keeps up with the code: lupdate reads the sources (and the texts of
// the interface files) into a fresh catalogue, and every text found there must have a
// finished German translation in translations/kastrel-importer_de.ts that keeps its
// placeholders, and every count its English forms in kastrel-importer_en.ts. A failure
// names the text; `cmake --build build --target update_translations` brings the catalogues
// up to date, then the new entries want translating.
#include "TestConfig.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

struct Entry
{
    bool numerus = false;
    bool finished = false;
    QStringList translations;
};

// The messages of a .ts file by source text, and an error message when it cannot be read.
QMap<QString, Entry> readCatalogue(const QString &path, QString *problem)
{
    QMap<QString, Entry> entries;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *problem = QStringLiteral("cannot read %1").arg(path);
        return entries;
    }
    QXmlStreamReader reader(&file);
    QString source;
    Entry entry;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == QLatin1String("message")) {
            source.clear();
            entry = Entry {reader.attributes().value(QLatin1String("numerus")) == QLatin1String("yes"), false, {}};
        } else if (reader.isStartElement() && reader.name() == QLatin1String("source")) {
            source = reader.readElementText();
        } else if (reader.isStartElement() && reader.name() == QLatin1String("translation")) {
            const QStringView type = reader.attributes().value(QLatin1String("type"));
            entry.finished = type.isEmpty();
            if (!entry.numerus)
                entry.translations.append(reader.readElementText());
        } else if (reader.isStartElement() && reader.name() == QLatin1String("numerusform")) {
            entry.translations.append(reader.readElementText());
        } else if (reader.isEndElement() && reader.name() == QLatin1String("message")) {
            entries.insert(source, entry);
        }
    }
    if (reader.hasError())
        *problem = QStringLiteral("%1: %2").arg(path, reader.errorString());
    return entries;
}

// The placeholders of a text, sorted: %@, %ld, %1$.0lf, %1, %n and the like; %% is none.
QStringList placeholders(const QString &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("%%|%(?:\\d+\\$)?[-0]*\\d*(?:\\.\\d+)?(?:@|ll[diux]|l[diuxf]|[diuxXfegs])|%L?n|%\\d+"));
    QStringList found;
    auto matches = pattern.globalMatch(text);
    while (matches.hasNext()) {
        const QString match = matches.next().captured();
        if (match != QLatin1String("%%"))
            found.append(match);
    }
    found.sort();
    return found;
}

QString catalogue(const char *language)
{
    return QStringLiteral(KI_SOURCE_DIR "/translations/kastrel-importer_%1.ts").arg(QLatin1String(language));
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    QMap<QString, Entry> m_sourceTexts;

private slots:
    void initTestCase()
    {
        const QString lupdate = QStringLiteral(KI_LUPDATE);
        if (lupdate.isEmpty() || !QFileInfo(lupdate).isExecutable())
            QSKIP("lupdate is not installed (Debian: qt6-l10n-tools; scripts/setup installs it)");
        QVERIFY2(QFileInfo::exists(QStringLiteral(KI_INTERFACE_TEXTS)),
                 "the interface texts are built (target interface_texts)");
        QVERIFY(m_folder.isValid());

        const QString fresh = m_folder.filePath(QStringLiteral("fresh.ts"));
        QStringList arguments {QStringLiteral("-extensions"), QStringLiteral("cpp,h"), QStringLiteral("-locations"),
                               QStringLiteral("none"), QStringLiteral("-silent")};
        const QStringList folders = QStringLiteral(KI_TRANSLATED_FOLDERS).split(QLatin1Char(','));
        for (const QString &folder : folders)
            arguments.append(QStringLiteral(KI_SOURCE_DIR "/") + folder);
        arguments << QStringLiteral(KI_INTERFACE_TEXTS) << QStringLiteral("-ts") << fresh;
        QProcess process;
        process.start(lupdate, arguments);
        QVERIFY(process.waitForFinished(120000));
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
                 process.readAllStandardError().constData());

        QString problem;
        m_sourceTexts = readCatalogue(fresh, &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY2(m_sourceTexts.size() > 100, "lupdate found the texts of the sources");
    }

    void everyTextHasAFinishedGermanTranslation()
    {
        QString problem;
        const QMap<QString, Entry> german = readCatalogue(catalogue("de"), &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QStringList failures;
        for (auto text = m_sourceTexts.cbegin(); text != m_sourceTexts.cend(); ++text) {
            const auto translated = german.constFind(text.key());
            if (translated == german.cend()) {
                failures.append(QStringLiteral("not in the German catalogue: \"%1\"").arg(text.key()));
                continue;
            }
            const int forms = text->numerus ? 2 : 1;
            if (!translated->finished || translated->translations.size() != forms
                || std::any_of(translated->translations.cbegin(), translated->translations.cend(),
                               [](const QString &form) { return form.isEmpty(); }))
                failures.append(QStringLiteral("no finished German translation: \"%1\"").arg(text.key()));
        }
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
    }

    void translationsKeepTheirPlaceholders()
    {
        QStringList failures;
        for (const char *language : {"de", "en"}) {
            QString problem;
            const QMap<QString, Entry> entries = readCatalogue(catalogue(language), &problem);
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
                QStringList expected = placeholders(entry.key());
                for (const QString &form : entry->translations) {
                    // A singular may say "one" without its number; every other placeholder stays.
                    QStringList found = placeholders(form);
                    if (entry->numerus && !found.contains(QLatin1String("%n"))) {
                        found.append(QStringLiteral("%n"));
                        found.sort();
                    }
                    if (found != expected)
                        failures.append(QStringLiteral("%1: \"%2\" has %3 but \"%4\" has %5")
                                            .arg(QLatin1String(language), form, found.join(QLatin1Char(' ')),
                                                 entry.key(), expected.join(QLatin1Char(' '))));
                }
            }
        }
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
    }

    void everyCountHasItsEnglishForms()
    {
        QString problem;
        const QMap<QString, Entry> english = readCatalogue(catalogue("en"), &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QStringList failures;
        for (auto text = m_sourceTexts.cbegin(); text != m_sourceTexts.cend(); ++text) {
            if (!text->numerus)
                continue;
            const auto forms = english.constFind(text.key());
            if (forms == english.cend() || !forms->finished || forms->translations.size() != 2
                || forms->translations.contains(QString()))
                failures.append(QStringLiteral("no finished English forms: \"%1\"").arg(text.key()));
        }
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
    }

    // Entries whose text left the code are harmless, but the catalogue should lose them.
    void noTextIsLeftOver()
    {
        QString problem;
        const QMap<QString, Entry> german = readCatalogue(catalogue("de"), &problem);
        QStringList leftOver;
        for (auto entry = german.cbegin(); entry != german.cend(); ++entry) {
            if (!m_sourceTexts.contains(entry.key()))
                leftOver.append(QStringLiteral("no longer in the code: \"%1\"").arg(entry.key()));
        }
        if (!leftOver.isEmpty())
            qWarning().noquote() << leftOver.join(QLatin1Char('\n'));
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "TestTranslations.moc"
