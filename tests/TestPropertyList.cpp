// The property-list value tree and its XML and binary reader and writer.
#include "TestSupport.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

#include <QBuffer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>
#include <clocale>
#include <cstdlib>

using Format = OVPlistSerialization::Format;

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

OVPlist everyKind()
{
    OVPlist root = OVPlist::dictionary();
    root.insert(QStringLiteral("string"), QStringLiteral("Grüße <&> \"quoted\" 日本"));
    root.insert(QStringLiteral("empty string"), QString());
    root.insert(QStringLiteral("integer"), 42);
    root.insert(QStringLiteral("negative"), -5);
    root.insert(QStringLiteral("large"), Q_INT64_C(5000000000));
    root.insert(QStringLiteral("minimum"), std::numeric_limits<qint64>::min());
    root.insert(QStringLiteral("maximum"), std::numeric_limits<qint64>::max());
    root.insert(QStringLiteral("unsigned"), std::numeric_limits<quint64>::max());
    root.insert(QStringLiteral("real"), 0.9);
    root.insert(QStringLiteral("whole real"), 1.0);
    root.insert(QStringLiteral("tiny real"), -1.5e-300);
    root.insert(QStringLiteral("negative zero"), -0.0);
    root.insert(QStringLiteral("true"), true);
    root.insert(QStringLiteral("false"), false);
    root.insert(QStringLiteral("date"), utc(2026, 11, 15, 23, 27, 53));
    root.insert(QStringLiteral("old date"), utc(1905, 3, 1, 12, 0, 0));
    root.insert(QStringLiteral("data"), QByteArray("\x00\x01\xfe\xff binary", 12));
    root.insert(QStringLiteral("empty data"), QByteArray());
    root.insert(QStringLiteral("uid"), OVPlist::uid(7));
    root.insert(QStringLiteral("empty array"), OVPlist::array());
    root.insert(QStringLiteral("empty dictionary"), OVPlist::dictionary());
    OVPlist array = OVPlist::array();
    array.append(1);
    array.append(1.0);
    array.append(true);
    array.append(QStringLiteral("1"));
    OVPlist inner = OVPlist::dictionary();
    inner.insert(QStringLiteral("b"), QStringList {QStringLiteral("x"), QStringLiteral("y")});
    array.append(inner);
    root.insert(QStringLiteral("array"), array);
    return root;
}

QByteArray readFixture(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A binary property list made by hand: objects, one reference size, the trailer.
QByteArray binaryPlist(const QList<QByteArray> &objects, quint64 top = 0, int refSize = 1)
{
    QByteArray out("bplist00");
    QList<quint64> offsets;
    for (const QByteArray &object : objects) {
        offsets.append(out.size());
        out.append(object);
    }
    const quint64 table = out.size();
    for (quint64 offset : offsets) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out.append(char((offset >> shift) & 0xFF));
    }
    QByteArray trailer(32, '\0');
    trailer[6] = 4;
    trailer[7] = char(refSize);
    for (int i = 0; i < 8; ++i) {
        trailer[8 + i] = char((quint64(objects.size()) >> (56 - 8 * i)) & 0xFF);
        trailer[16 + i] = char((top >> (56 - 8 * i)) & 0xFF);
        trailer[24 + i] = char((table >> (56 - 8 * i)) & 0xFF);
    }
    return out + trailer;
}

} // namespace

class TestPropertyList : public QObject
{
    Q_OBJECT

private slots:
    void kindsStayDistinct()
    {
        QVERIFY(OVPlist(1) != OVPlist(1.0));
        QVERIFY(OVPlist(1) != OVPlist(true));
        QVERIFY(OVPlist(QStringLiteral("1")) != OVPlist(1));
        QVERIFY(OVPlist(1).isInteger());
        QVERIFY(OVPlist(1.0).isReal());
        QVERIFY(OVPlist(utc(2020, 1, 1, 0, 0, 0)).isDate());
        QVERIFY(OVPlist::uid(3) != OVPlist(3));
        QVERIFY(!OVPlist().isValid());
        QCOMPARE(OVPlist(2.75).toInteger(), qint64(2));
        QCOMPARE(OVPlist(3).toReal(), 3.0);
        QCOMPARE(OVPlist(true).toInteger(), qint64(1));
        QCOMPARE(OVPlist(QStringLiteral("x")).toInteger(-1), qint64(-1));
    }

    void unsignedValuesAboveTheSignedRangeStayUnsigned()
    {
        const OVPlist big(std::numeric_limits<quint64>::max());
        QVERIFY(big.isUnsignedInteger());
        QCOMPARE(big.toUnsignedInteger(), std::numeric_limits<quint64>::max());
        QVERIFY(!OVPlist(quint64(5)).isUnsignedInteger());
        QVERIFY(big != OVPlist(-1));
    }

    void sharedSmallValuesStayIndependent()
    {
        // Truth values and small integers share their nodes; making one unsigned, or changing
        // a container that holds one, touches no other value.
        const OVPlist three(3);
        const OVPlist flaggedThree = OVPlist::unsignedInteger(3);
        QVERIFY(flaggedThree.isUnsignedInteger());
        QVERIFY(!three.isUnsignedInteger());
        QVERIFY(!OVPlist(3).isUnsignedInteger());
        QCOMPARE(OVPlist(15).toInteger(), 15);
        QCOMPARE(OVPlist(16).toInteger(), 16);
        QCOMPARE(OVPlist(-1).toInteger(), -1);
        OVPlist array = OVPlist::array();
        array.append(OVPlist(true));
        array.append(OVPlist(false));
        QVERIFY(array.toArray().at(0).toBool());
        QVERIFY(!array.toArray().at(1).toBool());
        QVERIFY(OVPlist(true).isBoolean() && OVPlist(true).toBool());
        QVERIFY(OVPlist(false).isBoolean() && !OVPlist(false).toBool());
        QVERIFY(OVPlist(true) != OVPlist(1));
    }

    void dictionariesKeepSortedKeysAndChangeInPlace()
    {
        OVPlist root;
        root.insert(QStringLiteral("b"), 1);
        root.insert(QStringLiteral("a"), 2);
        root.insert(QStringLiteral("B"), 3);
        root.insert(QStringLiteral("_"), 4);
        QCOMPARE(root.keys(),
                 (QStringList {QStringLiteral("B"), QStringLiteral("_"), QStringLiteral("a"), QStringLiteral("b")}));
        root[QStringLiteral("Entities")][QStringLiteral("Item")].insert(QStringLiteral("id"), QStringLiteral("v"));
        QCOMPARE(root.value(QStringLiteral("Entities")).value(QStringLiteral("Item")).value(QStringLiteral("id")),
                 OVPlist(QStringLiteral("v")));
        OVPlist copy = root;
        root.find(QStringLiteral("a"))->append(1); // not an array: nothing happens
        *root.find(QStringLiteral("b")) = 10;
        QCOMPARE(copy.value(QStringLiteral("b")).toInteger(), qint64(1));
        QCOMPARE(root.value(QStringLiteral("b")).toInteger(), qint64(10));
        QVERIFY(!root.find(QStringLiteral("missing")));
        root.remove(QStringLiteral("b"));
        QVERIFY(!root.contains(QStringLiteral("b")));
        QVERIFY(!root.value(QStringLiteral("missing")).isValid());
    }

    void xmlHasTheLayoutMacOSWrites()
    {
        OVPlist root;
        root.insert(QStringLiteral("zeta"), 0.9);
        root.insert(QStringLiteral("alpha"), true);
        root.insert(QStringLiteral("one"), 1.0);
        root.insert(QStringLiteral("half"), 0.5);
        root.insert(QStringLiteral("when"), utc(2026, 11, 15, 23, 27, 53).addMSecs(900));
        root.insert(QStringLiteral("text"), QStringLiteral("a<b>&\"c' é"));
        root.insert(QStringLiteral("list"), OVPlist::array());
        root.insert(QStringLiteral("none"), OVPlist::dictionary());
        OVPlist nested = OVPlist::array();
        nested.append(QByteArray(60, 'x'));
        nested.append(-3);
        root.insert(QStringLiteral("nested"), nested);
        root.insert(QStringLiteral("blob"), QByteArray(60, 'x'));

        const QByteArray expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                    "<plist version=\"1.0\">\n"
                                    "<dict>\n"
                                    "\t<key>alpha</key>\n"
                                    "\t<true/>\n"
                                    "\t<key>blob</key>\n"
                                    "\t<data>\n"
                                    "\teHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4\n"
                                    "\teHh4eHh4eHh4\n"
                                    "\t</data>\n"
                                    "\t<key>half</key>\n"
                                    "\t<real>0.5</real>\n"
                                    "\t<key>list</key>\n"
                                    "\t<array/>\n"
                                    "\t<key>nested</key>\n"
                                    "\t<array>\n"
                                    "\t\t<data>\n"
                                    "\t\teHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4\n"
                                    "\t\teHh4eHh4eHh4eHh4eHh4\n"
                                    "\t\t</data>\n"
                                    "\t\t<integer>-3</integer>\n"
                                    "\t</array>\n"
                                    "\t<key>none</key>\n"
                                    "\t<dict/>\n"
                                    "\t<key>one</key>\n"
                                    "\t<real>1</real>\n"
                                    "\t<key>text</key>\n"
                                    "\t<string>a&lt;b&gt;&amp;\"c' \xc3\xa9</string>\n"
                                    "\t<key>when</key>\n"
                                    "\t<date>2026-11-15T23:27:53Z</date>\n"
                                    "\t<key>zeta</key>\n"
                                    "\t<real>0.90000000000000002</real>\n"
                                    "</dict>\n"
                                    "</plist>\n";
        OVError error;
        const QByteArray written = OVPlistSerialization::dataWithPropertyList(root, Format::Xml, &error);
        QCOMPARE(written, expected);
    }

    void xmlRealsArePrintedLikePrintf()
    {
        // %.17g rounds an exact halfway expansion to even, and keeps the sign of zero.
        const OVPlist reals(OVPlist::Array {-105996628471306.625, -0.0, 1e-5, 1e21, 5e-324});
        const QByteArray xml = OVPlistSerialization::dataWithPropertyList(reals, Format::Xml);
        QVERIFY(xml.contains("<real>-105996628471306.62</real>"));
        QVERIFY(xml.contains("<real>-0</real>"));
        QVERIFY(xml.contains("<real>1.0000000000000001e-05</real>"));
        QVERIFY(xml.contains("<real>1e+21</real>"));
        QVERIFY(xml.contains("<real>4.9406564584124654e-324</real>"));
    }

    void xmlWritesUidsAsCFUIDDictionaries()
    {
        const QByteArray written = OVPlistSerialization::dataWithPropertyList(OVPlist::uid(12), Format::Xml);
        QVERIFY(written.contains("<dict>\n\t<key>CF$UID</key>\n\t<integer>12</integer>\n</dict>\n"));
    }

    void xmlLeavesOutCharactersXmlCannotCarry()
    {
        // Item names from the source application may hold control characters; one of them
        // written as it is would make every XML reader refuse the whole library file.
        const QString bad = QString(QChar(0x0001)) + QChar(0x0008) + QChar(0x000B) + QChar(0x001F) + QChar(0xFFFE)
            + QChar(0xFFFF) + QChar(0xD83D);
        const QString kept = QStringLiteral("tab\tline\nreturn\r emoji \U0001F600");
        OVPlist root;
        root.insert(QStringLiteral("name") + bad, QStringLiteral("Title") + bad + QStringLiteral(" end"));
        root.insert(QStringLiteral("kept") + QChar(0x0001), kept);
        OVPlist names = OVPlist::array();
        names.append(bad + QStringLiteral("inside") + bad);
        root.insert(QStringLiteral("names"), names);

        OVError error;
        const QByteArray xml = OVPlistSerialization::dataWithPropertyList(root, Format::Xml, &error);
        QVERIFY2(!xml.isEmpty(), qPrintable(error.localizedDescription));

        QXmlStreamReader reader(xml);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));

        OVPlist expected;
        expected.insert(QStringLiteral("name"), QStringLiteral("Title end"));
        expected.insert(QStringLiteral("kept"), kept);
        OVPlist expectedNames = OVPlist::array();
        expectedNames.append(QStringLiteral("inside"));
        expected.insert(QStringLiteral("names"), expectedNames);
        const OVPlist back = OVPlistSerialization::propertyListWithData(xml, nullptr, &error);
        QVERIFY2(back.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(back, expected);
        QCOMPARE(back.value(QStringLiteral("kept")).toString(), kept);
    }

    void xmlWritesCarriageReturnsSoThatReadersKeepThem()
    {
        // A reader hands back a carriage return written as it is as a line feed (and CR LF as
        // one line feed): a path holding one would name another file.
        const QString path = QStringLiteral("/tmp/Kastrel/Images/carriage\rreturn\r\nline\n.png");
        OVPlist root;
        root.insert(QStringLiteral("key\r"), path);
        OVError error;
        const QByteArray xml = OVPlistSerialization::dataWithPropertyList(root, Format::Xml, &error);
        QVERIFY2(!xml.isEmpty(), qPrintable(error.localizedDescription));
        QVERIFY2(!xml.contains('\r'), xml.constData());
        QVERIFY2(xml.contains("carriage&#13;return&#13;\nline\n.png"), xml.constData());
        QVERIFY2(xml.contains("<key>key&#13;</key>"), xml.constData());

        QXmlStreamReader reader(xml);
        QStringList texts;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement
                && (reader.name() == QLatin1String("key") || reader.name() == QLatin1String("string")))
                texts.append(reader.readElementText());
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(texts, QStringList({QStringLiteral("key\r"), path}));
        QCOMPARE(OVPlistSerialization::propertyListWithData(xml, nullptr, &error), root);
    }

    void rewritingTerminalProfileGivesTheSameBytes()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("plist/Alucard.terminal"));
        const QByteArray original = readFixture(path);
        OVError error;
        Format format = Format::Binary;
        const OVPlist plist = OVPlistSerialization::propertyListWithData(original, &format, &error);
        QVERIFY2(plist.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(format, Format::Xml);
        QCOMPARE(OVPlistSerialization::dataWithPropertyList(plist, Format::Xml), original);
    }

    void terminalProfilesDecodeToTheirValues()
    {
        KI_REQUIRE_FIXTURE(alucardPath, QStringLiteral("plist/Alucard.terminal"));
        KI_REQUIRE_FIXTURE(manPagePath, QStringLiteral("plist/ManPage.terminal"));
        const OVPlist alucard = OVPlistSerialization::propertyListWithContentsOfFile(alucardPath);
        QCOMPARE(alucard.value(QStringLiteral("ProfileCurrentVersion")), OVPlist(2.0499999999999998));
        QCOMPARE(alucard.value(QStringLiteral("Bell")), OVPlist(false));
        QCOMPARE(alucard.value(QStringLiteral("CursorBlink")), OVPlist(true));
        QCOMPARE(alucard.value(QStringLiteral("CursorType")), OVPlist(2));
        QCOMPARE(alucard.value(QStringLiteral("columnCount")), OVPlist(79));
        QCOMPARE(alucard.value(QStringLiteral("name")), OVPlist(QStringLiteral("Alucard")));
        QVERIFY(alucard.value(QStringLiteral("Font")).toData().startsWith("bplist00"));

        const OVPlist manPage = OVPlistSerialization::propertyListWithContentsOfFile(manPagePath);
        QCOMPARE(manPage.value(QStringLiteral("ProfileCurrentVersion")), OVPlist(2.04));
        QCOMPARE(manPage.value(QStringLiteral("columnCount")), OVPlist(90));
        QCOMPARE(manPage.value(QStringLiteral("rowCount")), OVPlist(50));
        QCOMPARE(manPage.value(QStringLiteral("name")), OVPlist(QStringLiteral("Man Page")));
        QCOMPARE(manPage.value(QStringLiteral("type")), OVPlist(QStringLiteral("Window Settings")));
        QCOMPARE(manPage.size(), qsizetype(26));
        // An embedded archive: the colour's component string survives the base64 unwrapping.
        const QByteArray background = manPage.value(QStringLiteral("BackgroundColor")).toData();
        const OVPlist archive = OVPlistSerialization::propertyListWithData(background);
        QCOMPARE(archive.value(QStringLiteral("$archiver")), OVPlist(QStringLiteral("NSKeyedArchiver")));
        QCOMPARE(archive.value(QStringLiteral("$top")).value(QStringLiteral("root")), OVPlist::uid(1));
    }

    void everyKindRoundTrips_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("xml") << int(Format::Xml);
        QTest::newRow("binary") << int(Format::Binary);
    }

    void everyKindRoundTrips()
    {
        QFETCH(int, format);
        const OVPlist original = everyKind();
        OVError error;
        const QByteArray bytes = OVPlistSerialization::dataWithPropertyList(original, Format(format), &error);
        QVERIFY2(!bytes.isEmpty(), qPrintable(error.localizedDescription));
        Format detected = Format(1 - format);
        const OVPlist back = OVPlistSerialization::propertyListWithData(bytes, &detected, &error);
        QVERIFY2(back.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(int(detected), format);
        QCOMPARE(back, original);
        for (const QString &key : original.keys())
            QCOMPARE(back.value(key).type(), original.value(key).type());
    }

    void everyKindSurvivesOnItsOwn_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<OVPlist>("value");
        const OVPlist source = everyKind();
        for (const QString &key : source.keys()) {
            QTest::addRow("xml %s", qPrintable(key)) << int(Format::Xml) << source.value(key);
            QTest::addRow("binary %s", qPrintable(key)) << int(Format::Binary) << source.value(key);
        }
    }

    void everyKindSurvivesOnItsOwn()
    {
        QFETCH(int, format);
        QFETCH(OVPlist, value);
        const QByteArray bytes = OVPlistSerialization::dataWithPropertyList(value, Format(format));
        QCOMPARE(OVPlistSerialization::propertyListWithData(bytes), value);
    }

    void binaryMatchesWhatPythonWrites()
    {
        // plistlib.dumps({"URL": "http://example.com/"}, fmt=FMT_BINARY)
        const QByteArray python = QByteArray::fromHex("62706c6973743030d101025355524c5f1013687474703a2f2f6578616d706c65"
                                                      "2e636f6d2f080b0f00000000000001010000000000000003000000"
                                                      "00000000000000000000000025");
        OVPlist bookmark;
        bookmark.insert(QStringLiteral("URL"), QStringLiteral("http://example.com/"));
        QCOMPARE(OVPlistSerialization::propertyListWithData(python), bookmark);
        QCOMPARE(OVPlistSerialization::dataWithPropertyList(bookmark, Format::Binary), python);
    }

    void largeLibraryRoundTrips()
    {
        OVPlist items;
        for (int i = 0; i < 100000; ++i) {
            OVPlist record;
            const QString identifier = QStringLiteral("item-%1").arg(i, 6, 10, QLatin1Char('0'));
            record.insert(QStringLiteral("identifier"), identifier);
            record.insert(QStringLiteral("type"), i % 8);
            record.insert(QStringLiteral("flag"), i % 2 == 0);
            items.insert(identifier, record);
        }
        OVPlist root;
        root[QStringLiteral("Entities")].insert(QStringLiteral("Item"), items);
        for (const Format format : {Format::Xml, Format::Binary}) {
            OVError error;
            const QByteArray bytes = OVPlistSerialization::dataWithPropertyList(root, format, &error);
            QVERIFY2(!bytes.isEmpty(), qPrintable(error.localizedDescription));
            QCOMPARE(OVPlistSerialization::propertyListWithData(bytes, nullptr, &error), root);
        }
    }

    void hundredMegabyteDataRoundTrips()
    {
        QByteArray blob(100 * 1024 * 1024, '\0');
        for (qsizetype i = 0; i < blob.size(); i += 4096)
            blob[i] = char(i / 4096);
        OVPlist root;
        root.insert(QStringLiteral("blob"), blob);
        OVError error;
        QByteArray bytes = OVPlistSerialization::dataWithPropertyList(root, Format::Binary, &error);
        QVERIFY(bytes.size() > blob.size());
        const OVPlist back = OVPlistSerialization::propertyListWithData(bytes, nullptr, &error);
        QVERIFY2(back.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(back.value(QStringLiteral("blob")).toData().size(), blob.size());
        QVERIFY(back.value(QStringLiteral("blob")).toData() == blob);
        // The same blob claimed by a file cut short.
        bytes.chop(bytes.size() / 2);
        QVERIFY(!OVPlistSerialization::propertyListWithData(bytes, nullptr, &error).isValid());
        QCOMPARE(error.domain, OVPlistSerialization::errorDomain());
    }

    void realsAreReadInTheCLocaleWhateverLCNumericSays()
    {
        const QString localedef = QStandardPaths::findExecutable(QStringLiteral("localedef"));
        if (localedef.isEmpty())
            QSKIP("localedef is not available to build a comma locale");
        QTemporaryDir locales;
        QProcess build;
        build.start(localedef,
                    {QStringLiteral("-i"), QStringLiteral("de_DE"), QStringLiteral("-f"), QStringLiteral("UTF-8"),
                     locales.filePath(QStringLiteral("de_DE.UTF-8"))});
        if (!build.waitForFinished(120000) || !QFileInfo::exists(locales.filePath(QStringLiteral("de_DE.UTF-8"))))
            QSKIP("the German locale could not be built here");
        const QByteArray previousPath = qgetenv("LOCPATH");
        qputenv("LOCPATH", QFile::encodeName(locales.path()));
        const QByteArray previous = std::setlocale(LC_NUMERIC, nullptr);
        if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
            QSKIP("the German locale cannot be selected");
        QCOMPARE(std::atof("2.5"), 2.0); // the locale really is in force

        OVPlist root;
        root.insert(QStringLiteral("r"), 2.5);
        root.insert(QStringLiteral("s"), 0.9);
        const QByteArray xml = OVPlistSerialization::dataWithPropertyList(root, Format::Xml);
        const OVPlist back = OVPlistSerialization::propertyListWithData(xml);
        std::setlocale(LC_NUMERIC, previous.constData());
        if (previousPath.isNull())
            qunsetenv("LOCPATH");
        else
            qputenv("LOCPATH", previousPath);
        QVERIFY(xml.contains("<real>2.5</real>"));
        QVERIFY(!xml.contains(','));
        QVERIFY(!xml.contains(','));
        QVERIFY(xml.contains("<real>0.90000000000000002</real>"));
        QCOMPARE(back, root);
    }

    void filesAreWrittenAtomicallyAndRead()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Library.plist"));
        OVError error;
        QVERIFY(OVPlistSerialization::writePropertyListToFile(everyKind(), path, Format::Xml, &error));
        QVERIFY(OVPlistSerialization::writePropertyListToFile(OVPlist(1), path, Format::Binary, &error));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList {QStringLiteral("Library.plist")});
        Format format = Format::Xml;
        QCOMPARE(OVPlistSerialization::propertyListWithContentsOfFile(path, &format, &error), OVPlist(1));
        QCOMPARE(format, Format::Binary);

        QVERIFY(!OVPlistSerialization::writePropertyListToFile(OVPlist(1), dir.filePath(QStringLiteral("no/such")),
                                                               Format::Xml, &error));
        QCOMPARE(error.code, qint64(OVPlistSerialization::FileWriteError));
        QVERIFY(!OVPlistSerialization::propertyListWithContentsOfFile(dir.filePath(QStringLiteral("absent")), nullptr,
                                                                      &error)
                     .isValid());
        QCOMPARE(error.code, qint64(OVPlistSerialization::FileReadError));
    }

    void devicesAreReadAndWritten()
    {
        QBuffer buffer;
        buffer.open(QIODevice::ReadWrite);
        QVERIFY(OVPlistSerialization::writePropertyList(everyKind(), &buffer, Format::Binary));
        buffer.seek(0);
        QCOMPARE(OVPlistSerialization::propertyListWithDevice(&buffer), everyKind());
        // A sequential device, read in pieces.
        QProcess cat;
        cat.start(QStringLiteral("cat"), {});
        QVERIFY(cat.waitForStarted());
        cat.write(OVPlistSerialization::dataWithPropertyList(everyKind(), Format::Xml));
        cat.closeWriteChannel();
        QVERIFY(cat.waitForFinished());
        QVERIFY(cat.isSequential());
        QCOMPARE(OVPlistSerialization::propertyListWithDevice(&cat), everyKind());
        QBuffer closed;
        OVError error;
        QVERIFY(!OVPlistSerialization::writePropertyList(everyKind(), &closed, Format::Xml, &error));
        QVERIFY(!OVPlistSerialization::propertyListWithDevice(nullptr, nullptr, &error).isValid());
    }

    void invalidOrTooDeepValuesAreNotWritten()
    {
        OVPlist holed;
        holed.insert(QStringLiteral("hole"), OVPlist());
        OVPlist deep = OVPlist::array();
        for (int i = 0; i < OVPlistSerialization::maximumDepth + 5; ++i)
            deep = OVPlist(OVPlist::Array {deep});
        for (const OVPlist &value : {holed, deep}) {
            for (const Format format : {Format::Xml, Format::Binary}) {
                OVError error;
                QVERIFY(OVPlistSerialization::dataWithPropertyList(value, format, &error).isEmpty());
                QCOMPARE(error.code, qint64(OVPlistSerialization::WriteInvalidError));
                QVERIFY(!error.localizedDescription.isEmpty());
            }
        }
    }

    void garbageGivesAnError_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("hello, world");
        QTest::newRow("unclosed xml") << QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a</key>");
        QTest::newRow("xml key with a NUL entity")
            << QByteArray("<plist version=\"1.0\"><dict><key>a&#0;b</key><true/></dict></plist>");
        QTest::newRow("binary key with a NUL byte")
            << binaryPlist({QByteArray("\xD1\x01\x02", 3), QByteArray("\x53\x61\x00\x62", 4), QByteArray("\x09", 1)});
        QTest::newRow("binary key that is a number")
            << binaryPlist({QByteArray("\xD1\x01\x02", 3), QByteArray("\x10\x01", 2), QByteArray("\x09", 1)});
        QTest::newRow("bplist header only") << QByteArray("bplist00");
        QTest::newRow("other binary version") << QByteArray("bplist15") + QByteArray(40, '\0');
        QTest::newRow("zero trailer") << QByteArray("bplist00") + QByteArray(40, '\0');
        QTest::newRow("reference out of range") << binaryPlist({QByteArray("\xA1\x05", 2)});
        QTest::newRow("offset out of range") << binaryPlist({QByteArray("\x09", 1)}).replace(9, 4, "\xff\xff\xff\xff");
        QTest::newRow("huge count") << binaryPlist({QByteArray("\xAF\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 10)});
    }

    void garbageGivesAnError()
    {
        QFETCH(QByteArray, bytes);
        OVError error;
        QVERIFY(!OVPlistSerialization::propertyListWithData(bytes, nullptr, &error).isValid());
        QCOMPARE(error.domain, OVPlistSerialization::errorDomain());
        QVERIFY(!error.localizedDescription.isEmpty());
    }

    void aNulByteInAnXmlKeyIsTolerated()
    {
        // libplist reads such a key up to the NUL; what matters is an answer, not a crash.
        const QByteArray xml("<plist version=\"1.0\"><dict><key>a\0b</key><true/></dict></plist>", 63);
        const OVPlist value = OVPlistSerialization::propertyListWithData(xml);
        QVERIFY(!value.isValid() || value.isDictionary());
    }

    void everyTruncationIsHandled()
    {
        for (const Format format : {Format::Xml, Format::Binary}) {
            const QByteArray whole = OVPlistSerialization::dataWithPropertyList(everyKind(), format);
            for (qsizetype length = 0; length < whole.size(); ++length) {
                OVError error;
                const OVPlist partial = OVPlistSerialization::propertyListWithData(whole.left(length), nullptr, &error);
                if (!partial.isValid())
                    QVERIFY(!error.localizedDescription.isEmpty());
            }
        }
    }

    void randomBytesAreHandled()
    {
        QRandomGenerator random(20261115);
        const QByteArray sample = OVPlistSerialization::dataWithPropertyList(everyKind(), Format::Binary);
        for (int round = 0; round < 2000; ++round) {
            QByteArray bytes = sample;
            for (int flips = 0; flips < 4; ++flips)
                bytes[random.bounded(int(bytes.size()))] = char(random.bounded(256));
            (void)OVPlistSerialization::propertyListWithData(bytes);
        }
    }

    void deepNestingIsRefused()
    {
        const int depth = 100000;
        const QByteArray xml = "<?xml version=\"1.0\"?><plist version=\"1.0\">" + QByteArray("<array>").repeated(depth)
            + QByteArray("</array>").repeated(depth) + "</plist>";
        OVError error;
        QVERIFY(!OVPlistSerialization::propertyListWithData(xml, nullptr, &error).isValid());
        QCOMPARE(error.code, qint64(OVPlistSerialization::ReadTooDeepError));

        QList<QByteArray> chain;
        for (int i = 0; i < depth; ++i) {
            if (i == depth - 1) {
                chain.append(QByteArray("\xA0", 1));
            } else {
                QByteArray object("\xA1");
                for (int shift = 24; shift >= 0; shift -= 8)
                    object.append(char(((i + 1) >> shift) & 0xFF));
                chain.append(object);
            }
        }
        QVERIFY(!OVPlistSerialization::propertyListWithData(binaryPlist(chain, 0, 4), nullptr, &error).isValid());
        QCOMPARE(error.code, qint64(OVPlistSerialization::ReadTooDeepError));

        // Nesting within the limit is fine.
        const QByteArray shallow = "<plist version=\"1.0\">" + QByteArray("<array>").repeated(100)
            + QByteArray("</array>").repeated(100) + "</plist>";
        QVERIFY(OVPlistSerialization::propertyListWithData(shallow, nullptr, &error).isValid());
    }

    void binaryCyclesAndSharedExplosionsAreRefused()
    {
        OVError error;
        // An array that holds itself.
        QVERIFY(!OVPlistSerialization::propertyListWithData(binaryPlist({QByteArray("\xA1\x00", 2)}), nullptr, &error)
                     .isValid());
        QCOMPARE(error.code, qint64(OVPlistSerialization::ReadTooDeepError));
        // Sixty levels of [x, x]: tiny on disk, 2^60 nodes once expanded.
        QList<QByteArray> levels;
        for (int i = 0; i < 60; ++i)
            levels.append(QByteArray("\xA2") + char(i + 1) + char(i + 1));
        levels.append(QByteArray("\x09", 1));
        QVERIFY(!OVPlistSerialization::propertyListWithData(binaryPlist(levels), nullptr, &error).isValid());
        // A little sharing, as writers that unique containers produce, is fine.
        const QByteArray shared
            = binaryPlist({QByteArray("\xA2\x01\x01", 3), QByteArray("\xA1\x02", 2), QByteArray("\x10\x07", 2)});
        const OVPlist value = OVPlistSerialization::propertyListWithData(shared, nullptr, &error);
        QVERIFY2(value.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(value.at(1).at(0), OVPlist(7));
    }

    void xmlUidDictionariesBecomeUids()
    {
        const QByteArray xml = "<plist version=\"1.0\"><array><dict><key>CF$UID</key><integer>4</integer></dict>"
                               "<dict><key>CF$UID</key><string>4</string></dict></array></plist>";
        const OVPlist value = OVPlistSerialization::propertyListWithData(xml);
        QCOMPARE(value.at(0), OVPlist::uid(4));
        QVERIFY(value.at(1).isDictionary());
    }
};

QTEST_GUILESS_MAIN(TestPropertyList)
#include "TestPropertyList.moc"
