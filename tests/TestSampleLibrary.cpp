// The committed sample library: it loads in the source stand-in, it holds what the demo is
// meant to show, its binary files carry what the export reads from them, and the generator
// that made them still makes the same files. And the generator's large synthetic libraries,
// served whole.
#include "TestConfig.h"
#include "TestSupport.h"
#include "foundation/OVPlistSerialization.h"
#include "standins/kastrel/KastrelLibrary.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDirIterator>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <poppler-document.h>

namespace {

QString sampleLibrary()
{
    return QStringLiteral(KI_SOURCE_DIR "/samples/kastrel-library");
}

QStringList filesUnder(const QString &folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(folder).relativeFilePath(it.next());
    files.sort();
    return files;
}

QString pdfInfo(const QString &path, const char *key)
{
    const QByteArray file = QFile::encodeName(path);
    std::unique_ptr<poppler::document> document(poppler::document::load_from_file(file.constData()));
    if (!document)
        return QStringLiteral("(unreadable)");
    const poppler::byte_array utf8 = document->info_key(key).to_utf8();
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

} // namespace

class TestSampleLibrary : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qDBusRegisterMetaType<QList<QVariantMap>>(); }

    void libraryLoads()
    {
        Standin::KastrelLibrary library;
        QString error;
        QVERIFY2(library.load(sampleLibrary(), &error), qPrintable(error));
        for (int kind = 0; kind < Standin::KastrelItemKindCount; ++kind)
            QVERIFY2(library.itemsOfKind(static_cast<Standin::KastrelItemKind>(kind)).size() >= 2,
                     qPrintable(Standin::KastrelLibrary::kindName(static_cast<Standin::KastrelItemKind>(kind))));
        QVERIFY(library.folderCollections().size() >= 3);

        QStringList colours;
        for (const Standin::KastrelLabel &label : library.labels())
            colours << label.color.section(QLatin1Char(' '), 0, 0);
        for (const char *form : {"rgb", "gray", "cmyk", "orange"})
            QVERIFY2(colours.contains(QString::fromLatin1(form)), form);

        bool allBehaviour = false;
        bool emptyCollection = false;
        for (const Standin::KastrelTagCollection &collection : library.tagCollections()) {
            allBehaviour |= collection.behavior == Standin::KastrelLibrary::fourCharCode(QStringLiteral("TgAl"));
            emptyCollection |= collection.tags.isEmpty();
        }
        QVERIFY(allBehaviour);
        QVERIFY(emptyCollection);

        int unnamed = 0;
        QSet<QString> names;
        int duplicates = 0;
        bool slashAndColon = false;
        bool nonAscii = false;
        for (const Standin::KastrelItem &item : library.items()) {
            if (!item.name || item.name->isEmpty()) {
                ++unnamed;
                continue;
            }
            const QString name = QString::number(int(item.kind)) + *item.name;
            duplicates += names.contains(name) ? 1 : 0;
            names << name;
            slashAndColon |= item.name->contains(QLatin1Char('/')) && item.name->contains(QLatin1Char(':'));
            for (const QChar c : *item.name)
                nonAscii |= c.unicode() > 0x7f;
        }
        QVERIFY(unnamed >= 3);
        QVERIFY(duplicates >= 3);
        QVERIFY(slashAndColon);
        QVERIFY(nonAscii);
    }

    void pdfsCarryTheirCreatorsAndSubjects_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("creator");
        QTest::addColumn<QString>("subject");
        QTest::newRow("Safari") << "safari.pdf"
                                << "Safari"
                                << "";
        QTest::newRow("Safari 5.1") << "safari-5.1.pdf"
                                    << "Safari 5.1"
                                    << "";
        QTest::newRow("Chrome") << "chrome.pdf"
                                << "Chrome"
                                << "";
        QTest::newRow("Nortavel 3 web page") << "nortavel-web.pdf"
                                             << "Nortavel 3"
                                             << "https://news.example.org/articles/42";
        QTest::newRow("Nortavel 3 without subject") << "nortavel-plain.pdf"
                                                    << "Nortavel 3"
                                                    << "";
        QTest::newRow("document") << "report.pdf"
                                  << "Writer"
                                  << "";
    }

    void pdfsCarryTheirCreatorsAndSubjects()
    {
        QFETCH(QString, file);
        QFETCH(QString, creator);
        QFETCH(QString, subject);
        const QString path = sampleLibrary() + QStringLiteral("/pdfs/") + file;
        QCOMPARE(pdfInfo(path, "Creator"), creator);
        QCOMPARE(pdfInfo(path, "Subject"), subject);
        QVERIFY(QFileInfo(path).size() < 16 * 1024);
    }

    void imagesAreReadable()
    {
        for (const QString &file : filesUnder(sampleLibrary() + QStringLiteral("/images"))) {
            QImageReader reader(sampleLibrary() + QStringLiteral("/images/") + file);
            QVERIFY2(!reader.read().isNull(), qPrintable(file));
        }
    }

    void webArchivesHaveTheirMainResource()
    {
        for (const QString &file : filesUnder(sampleLibrary() + QStringLiteral("/webarchives"))) {
            OVPlistSerialization::Format format = OVPlistSerialization::Format::Xml;
            const OVPlist archive = OVPlistSerialization::propertyListWithContentsOfFile(
                sampleLibrary() + QStringLiteral("/webarchives/") + file, &format);
            QCOMPARE(format, OVPlistSerialization::Format::Binary);
            const OVPlist main = archive.value(QStringLiteral("WebMainResource"));
            QVERIFY2(main.isDictionary(), qPrintable(file));
            QVERIFY(main.value(QStringLiteral("WebResourceData")).isData());
            QCOMPARE(main.value(QStringLiteral("WebResourceMIMEType")).toString(), QStringLiteral("text/html"));
            QCOMPARE(main.value(QStringLiteral("WebResourceTextEncodingName")).toString(), QStringLiteral("UTF-8"));
            QVERIFY(main.value(QStringLiteral("WebResourceURL")).toString().startsWith(QLatin1String("https://")));
            QVERIFY(main.value(QStringLiteral("WebResourceFrameName")).isString());
        }
    }

    void rtfdNoteNamesItsPicture()
    {
        QFile text(sampleLibrary() + QStringLiteral("/notes/holiday.rtfd/TXT.rtf"));
        QVERIFY(text.open(QIODevice::ReadOnly));
        QVERIFY(text.readAll().contains("{{\\NeXTGraphic harbour.png \\width"));
        QVERIFY(!QImageReader(sampleLibrary() + QStringLiteral("/notes/holiday.rtfd/harbour.png")).read().isNull());
    }

    void generatorMakesTheCommittedFiles()
    {
        QTemporaryDir folder;
        QProcess generator;
        generator.start(QStringLiteral(KI_BIN_DIR "/kastrel-sample-generator"), {folder.path()});
        QVERIFY(generator.waitForFinished(60000));
        QCOMPARE(generator.exitCode(), 0);
        QStringList committed = filesUnder(sampleLibrary());
        committed.removeAll(QStringLiteral("library.json"));
        for (const char *handWritten :
             {"notes/agenda.rtf", "notes/shopping.rtf", "notes/reading.txt", "notes/japanese.txt"})
            QVERIFY(committed.removeAll(QString::fromLatin1(handWritten)) == 1);
        QCOMPARE(filesUnder(folder.path()), committed);
        // Everything but the PDFs, which carry their creation time, comes out byte for byte.
        for (const QString &file : committed) {
            if (file.endsWith(QLatin1String(".pdf")))
                continue;
            QFile made(folder.filePath(file));
            QFile kept(sampleLibrary() + QLatin1Char('/') + file);
            QVERIFY(made.open(QIODevice::ReadOnly) && kept.open(QIODevice::ReadOnly));
            QVERIFY2(made.readAll() == kept.readAll(), qPrintable(file));
        }
    }

    void largeLibraryIsServedWhole()
    {
        QTemporaryDir folder;
        QProcess generator;
        generator.start(QStringLiteral(KI_BIN_DIR "/kastrel-sample-generator"),
                        {QStringLiteral("--items"), QStringLiteral("7000"), folder.path()});
        QVERIFY(generator.waitForFinished(60000));
        QCOMPARE(generator.exitCode(), 0);

        QProcess standin;
        QVERIFY(TestSupport::startStandin(
            standin, QStringLiteral(KI_BIN_DIR "/kastrel-standin"),
            {QStringLiteral("--library"), folder.path(), QStringLiteral("--version"), QStringLiteral("2.0")}, 60000));

        auto call = [](const QString &method, const QVariantList &arguments) {
            QDBusMessage message
                = QDBusMessage::createMethodCall(QStringLiteral("com.fendwick.kastrel4"), QStringLiteral("/"),
                                                 QStringLiteral("com.fendwick.Kastrel.Scripting"), method);
            message.setArguments(arguments);
            return QDBusConnection::sessionBus().call(message);
        };
        QList<QDBusObjectPath> all;
        for (const char *element : {"noteItems", "bookmarkItems", "serialNumberItems", "passwordItems", "imageItems",
                                    "pdfArchiveItems", "webArchiveItems"}) {
            const QDBusMessage reply = call(QStringLiteral("Elements"),
                                            {QVariant::fromValue(QDBusObjectPath("/")), QString::fromLatin1(element)});
            const auto paths = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0));
            QCOMPARE(paths.size(), 1000);
            all << paths;
        }
        // Every item in one round trip.
        const QDBusMessage reply = call(QStringLiteral("Properties"), {QVariant::fromValue(all)});
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        const auto dictionaries = qdbus_cast<QList<QVariantMap>>(reply.arguments().value(0));
        QCOMPARE(dictionaries.size(), 7000);
        QCOMPARE(dictionaries.first().value(QStringLiteral("id")).toString(), QStringLiteral("ITEM-000000"));
        QCOMPARE(dictionaries.at(1000).value(QStringLiteral("id")).toString(), QStringLiteral("ITEM-000001"));
        const QDBusMessage members
            = call(QStringLiteral("Count"),
                   {QVariant::fromValue(QDBusObjectPath("/folderCollections/99")), QStringLiteral("databaseItems")});
        QCOMPARE(members.arguments().value(0).toUInt(), 70u);
        standin.terminate();
        QVERIFY(standin.waitForFinished());
    }
};

QTEST_GUILESS_MAIN(TestSampleLibrary)
#include "TestSampleLibrary.moc"
