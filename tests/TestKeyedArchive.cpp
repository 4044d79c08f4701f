// The keyed archiver and unarchiver: archive layout, built-in classes, registered classes,
// colours and fonts, archives written by other programs, and broken archives.
#include "TestSupport.h"
#include "documents/NVColorCoding.h"
#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVKeyedUnarchiver.h"
#include "foundation/OVPlistSerialization.h"

#include <QDateTime>
#include <QPointF>
#include <QUrl>
#include <QUuid>
#include <QtTest>

using Format = OVPlistSerialization::Format;

namespace {

// A class of the tests' own, with a field whose name needs escaping.
struct Sample
{
    QString title;
    qint64 count = 0;
    bool active = false;
    double ratio = 0;
    float narrow = 0;
    QByteArray bytes;
    QString dollar;
    QVariant child;
};

OVPlist readFixture(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return OVPlist();
    return OVPlistSerialization::propertyListWithData(file.readAll());
}

QByteArray fixtureBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// An archive made by hand from its "$objects" and root UID.
OVPlist archive(const OVPlist::Array &objects, const OVPlist &root = OVPlist::uid(1))
{
    OVPlist result;
    result.insert(QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver"));
    result.insert(QStringLiteral("$version"), 100000);
    OVPlist top = OVPlist::dictionary();
    if (root.isValid())
        top.insert(QStringLiteral("root"), root);
    result.insert(QStringLiteral("$top"), top);
    OVPlist::Array all {OVPlist(QStringLiteral("$null"))};
    all += objects;
    result.insert(QStringLiteral("$objects"), all);
    return result;
}

OVPlist classEntry(const QString &name)
{
    OVPlist entry;
    entry.insert(QStringLiteral("$classname"), name);
    entry.insert(QStringLiteral("$classes"), QStringList {name, QStringLiteral("NSObject")});
    return entry;
}

OVPlist instance(quint64 classUid, const OVPlist::Dictionary &fields = {})
{
    OVPlist object(fields);
    object.insert(QStringLiteral("$class"), OVPlist::uid(classUid));
    return object;
}

OVPlist uids(std::initializer_list<quint64> values)
{
    OVPlist array = OVPlist::array();
    for (const quint64 value : values)
        array.append(OVPlist::uid(value));
    return array;
}

} // namespace

Q_DECLARE_METATYPE(Sample)

class TestKeyedArchive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        NVColorCoding::registerClasses();
        OVKeyedArchiver::registerClass(QMetaType::fromType<Sample>(), QStringLiteral("KSSample"),
                                       {QStringLiteral("KSSample"), QStringLiteral("NSObject")},
                                       [](OVKeyedArchiver &coder, const QVariant &v) {
                                           const Sample sample = v.value<Sample>();
                                           coder.encodeObject(sample.title, QStringLiteral("title"));
                                           coder.encodeInt(sample.count, QStringLiteral("count"));
                                           coder.encodeBool(sample.active, QStringLiteral("active"));
                                           coder.encodeDouble(sample.ratio, QStringLiteral("ratio"));
                                           coder.encodeFloat(sample.narrow, QStringLiteral("narrow"));
                                           coder.encodeBytes(sample.bytes, QStringLiteral("bytes"));
                                           coder.encodeObject(sample.dollar, QStringLiteral("$dollar"));
                                           coder.encodeObject(sample.child, QStringLiteral("child"));
                                       });
        OVKeyedUnarchiver::registerClass(QStringLiteral("KSSample"), [](OVKeyedUnarchiver &coder) {
            Sample sample;
            sample.title = coder.decodeObject(QStringLiteral("title")).toString();
            sample.count = coder.decodeInt(QStringLiteral("count"));
            sample.active = coder.decodeBool(QStringLiteral("active"));
            sample.ratio = coder.decodeDouble(QStringLiteral("ratio"));
            sample.narrow = coder.decodeFloat(QStringLiteral("narrow"));
            sample.bytes = coder.decodeBytes(QStringLiteral("bytes"));
            sample.dollar = coder.decodeObject(QStringLiteral("$dollar")).toString();
            sample.child = coder.decodeObject(QStringLiteral("child"));
            return QVariant::fromValue(sample);
        });
        // The class of a third-party archive: fields gathered into a map.
        OVKeyedUnarchiver::registerClass(QStringLiteral("crap.Foo"), [](OVKeyedUnarchiver &coder) {
            QVariantMap fields;
            fields.insert(QStringLiteral("title"), coder.decodeObject(QStringLiteral("title")));
            fields.insert(QStringLiteral("count"), coder.decodeInt(QStringLiteral("count")));
            fields.insert(QStringLiteral("active"), coder.decodeBool(QStringLiteral("active")));
            fields.insert(QStringLiteral("class"), coder.className());
            return QVariant(fields);
        });
    }

    void aStringRootIsTheOnlyObjectAfterNull()
    {
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(QStringLiteral("text"));
        QCOMPARE(archived.value(QStringLiteral("$archiver")), OVPlist(QStringLiteral("NSKeyedArchiver")));
        QCOMPARE(archived.value(QStringLiteral("$version")), OVPlist(100000));
        QCOMPARE(archived.value(QStringLiteral("$top")).value(QStringLiteral("root")), OVPlist::uid(1));
        QCOMPARE(archived.value(QStringLiteral("$objects")),
                 OVPlist(QStringList {QStringLiteral("$null"), QStringLiteral("text")}));
        QCOMPARE(archived.size(), qsizetype(4));

        const QByteArray data = OVKeyedArchiver::archivedDataWithRootObject(QStringLiteral("text"));
        QVERIFY(data.startsWith("bplist00"));
        QCOMPARE(OVKeyedUnarchiver::unarchivedObjectWithData(data), QVariant(QStringLiteral("text")));
        QCOMPARE(OVKeyedUnarchiver::unarchivedObjectOfClass<QString>(data), QStringLiteral("text"));
    }

    void builtInObjectsRoundTrip_data()
    {
        QTest::addColumn<QVariant>("object");
        QTest::addColumn<int>("format");
        QVariantList list {QStringLiteral("a"), 1, 2.5, true, QVariant(), QByteArray("x")};
        QVariantMap map {{QStringLiteral("b"), QVariantList {1, 2}}, {QStringLiteral("$a"), QStringLiteral("dollar")}};
        const QList<QPair<const char *, QVariant>> objects {
            {"string", QStringLiteral("Grüße 日本")},
            {"empty string", QString(QLatin1String(""))},
            {"integer", QVariant(qint64(-42))},
            {"large unsigned", QVariant(std::numeric_limits<quint64>::max())},
            {"double", QVariant(0.1)},
            {"bool", QVariant(true)},
            {"data", QVariant(QByteArray("\x00\x01\x02", 3))},
            {"date", QVariant(QDateTime(QDate(2026, 11, 15), QTime(23, 27, 53, 250), Qt::UTC))},
            {"list", QVariant(list)},
            {"map", QVariant(map)},
            {"null object", QVariant::fromValue(nullptr)},
            {"url", QVariant(QUrl(QStringLiteral("https://example.com/a%20b?q=1")))},
            {"uuid", QVariant(QUuid(QStringLiteral("{71dc068e-3420-45ff-919e-3a267d55ec22}")))},
            {"range", QVariant::fromValue(OVRange {5, 7})},
            {"rect", QVariant(QRectF(1.5, -2, 300, 0.25))},
        };
        for (const auto &entry : objects) {
            QTest::addRow("binary %s", entry.first) << entry.second << int(Format::Binary);
            QTest::addRow("xml %s", entry.first) << entry.second << int(Format::Xml);
        }
    }

    void builtInObjectsRoundTrip()
    {
        QFETCH(QVariant, object);
        QFETCH(int, format);
        OVError error;
        const QByteArray data = OVKeyedArchiver::archivedDataWithRootObject(object, &error, Format(format));
        QVERIFY2(!data.isEmpty(), qPrintable(error.localizedDescription));
        const QVariant back = OVKeyedUnarchiver::unarchivedObjectWithData(data, &error);
        QVERIFY2(back.isValid(), qPrintable(error.localizedDescription));
        if (object.metaType() == QMetaType::fromType<qint64>())
            QCOMPARE(back.toLongLong(), object.toLongLong());
        else if (object.metaType() == QMetaType::fromType<OVRange>())
            QCOMPARE(back.value<OVRange>(), object.value<OVRange>());
        else if (object.metaType() == QMetaType::fromType<std::nullptr_t>())
            QCOMPARE(back.metaType(), object.metaType());
        else
            QCOMPARE(back, object);
    }

    void registeredClassesRoundTripWithEscapedKeys()
    {
        Sample inner;
        inner.title = QStringLiteral("inner");
        Sample sample;
        sample.title = QStringLiteral("yo");
        sample.count = 42;
        sample.active = true;
        sample.ratio = 0.1;
        sample.narrow = 0.1f;
        sample.bytes = QByteArray("\xff\x00", 2);
        sample.dollar = QStringLiteral("kept");
        sample.child = QVariant::fromValue(inner);
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(QVariant::fromValue(sample));
        const OVPlist::Array objects = archived.value(QStringLiteral("$objects")).toArray();
        const OVPlist root = objects.at(1);
        QCOMPARE(root.value(QStringLiteral("count")), OVPlist(42));
        QCOMPARE(root.value(QStringLiteral("active")), OVPlist(true));
        QCOMPARE(root.value(QStringLiteral("narrow")), OVPlist(double(0.1f)));
        QVERIFY(root.contains(QStringLiteral("$$dollar")));
        QVERIFY(!root.contains(QStringLiteral("$dollar")));
        const OVPlist classEntry = objects.at(qsizetype(root.value(QStringLiteral("$class")).toUid()));
        QCOMPARE(classEntry.value(QStringLiteral("$classname")), OVPlist(QStringLiteral("KSSample")));
        QCOMPARE(classEntry.value(QStringLiteral("$classes")),
                 OVPlist(QStringList {QStringLiteral("KSSample"), QStringLiteral("NSObject")}));
        // One class entry serves both samples.
        const OVPlist child = objects.at(qsizetype(root.value(QStringLiteral("child")).toUid()));
        QCOMPARE(child.value(QStringLiteral("$class")), root.value(QStringLiteral("$class")));

        OVError error;
        const auto back = OVKeyedUnarchiver::unarchivedObjectOfClass<Sample>(
            OVKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(sample)), &error);
        QVERIFY2(back.has_value(), qPrintable(error.localizedDescription));
        QCOMPARE(back->title, sample.title);
        QCOMPARE(back->count, sample.count);
        QCOMPARE(back->active, true);
        QCOMPARE(back->ratio, 0.1);
        QCOMPARE(back->narrow, 0.1f);
        QCOMPARE(back->bytes, sample.bytes);
        QCOMPARE(back->dollar, QStringLiteral("kept"));
        QCOMPARE(back->child.value<Sample>().title, QStringLiteral("inner"));
        QVERIFY(!back->child.value<Sample>().child.isValid());
    }

    void equalStringsAreStoredOnce()
    {
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(
            QVariantList {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")});
        const OVPlist objects = archived.value(QStringLiteral("$objects"));
        QCOMPARE(objects.toStringList().count(QStringLiteral("a")), 1);
        QCOMPARE(objects.toStringList().first(), QStringLiteral("$null"));
    }

    void unknownTypesAreNotArchived()
    {
        OVError error;
        QVERIFY(OVKeyedArchiver::archivedDataWithRootObject(QVariant(QPointF(1, 2)), &error).isEmpty());
        QCOMPARE(error.domain, OVKeyedArchiver::errorDomain());
        QCOMPARE(error.code, qint64(OVKeyedArchiver::EncodeUnknownClassError));
    }

    void colorsRoundTrip_data()
    {
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QByteArray>("components");
        QTest::newRow("opaque") << QColor::fromRgbF(1.0f, 0.5f, 0.0f) << QByteArray("1 0.5 0\0", 8);
        QTest::newRow("translucent") << QColor::fromRgbF(0.0f, 0.0f, 0.698f, 0.5f) << QByteArray("0 0 0.698 0.5\0", 14);
    }

    void colorsRoundTrip()
    {
        QFETCH(QColor, color);
        QFETCH(QByteArray, components);
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(color);
        const OVPlist fields = archived.value(QStringLiteral("$objects")).at(1);
        QCOMPARE(fields.value(QStringLiteral("NSColorSpace")), OVPlist(2));
        QCOMPARE(fields.value(QStringLiteral("NSRGB")).toData(), components);
        const auto back
            = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(OVKeyedArchiver::archivedDataWithRootObject(color));
        QVERIFY(back.has_value());
        QCOMPARE(back->rgba64(), color.rgba64());
    }

    void colorSpacesAreWrittenAndRead()
    {
        struct Case
        {
            NVColorCoding::ColorSpace space;
            const char *key;
        };
        for (const Case &c :
             {Case {NVColorCoding::CalibratedRGB, "NSRGB"}, Case {NVColorCoding::DeviceWhite, "NSWhite"},
              Case {NVColorCoding::CalibratedWhite, "NSWhite"}, Case {NVColorCoding::DeviceCMYK, "NSCMYK"}}) {
            // The fields land in "$top" of an archiver used directly; they become an object below.
            OVKeyedArchiver scratch;
            NVColorCoding::encodeColor(scratch, QColor::fromRgbF(1, 1, 1), c.space);
            OVPlist fields = scratch.encodedPropertyList().value(QStringLiteral("$top"));
            QCOMPARE(fields.value(QStringLiteral("NSColorSpace")), OVPlist(int(c.space)));
            QVERIFY(fields.value(QString::fromLatin1(c.key)).toData().endsWith('\0'));
            fields.insert(QStringLiteral("$class"), OVPlist::uid(2));
            const QVariant back = OVKeyedUnarchiver::unarchivedObjectWithPropertyList(
                archive({fields, classEntry(QStringLiteral("NSColor"))}));
            QCOMPARE(back.value<QColor>().toRgb().rgba64(), QColor(Qt::white).rgba64());
        }
    }

    void cmykColorsAreWrittenAsCmyk()
    {
        const QColor cmyk = QColor::fromCmykF(0.1f, 0.2f, 0.3f, 0.4f);
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(cmyk);
        const OVPlist fields = archived.value(QStringLiteral("$objects")).at(1);
        QCOMPARE(fields.value(QStringLiteral("NSColorSpace")), OVPlist(5));
        const auto back
            = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(OVKeyedArchiver::archivedDataWithRootObject(cmyk));
        QCOMPARE(back->spec(), QColor::Cmyk);
        QCOMPARE(back->cyanF(), cmyk.cyanF());
    }

    void namedColorsUseTheirFallback()
    {
        OVPlist named = instance(3);
        named.insert(QStringLiteral("NSColorSpace"), 6);
        named.insert(QStringLiteral("NSCatalogName"), OVPlist::uid(4));
        named.insert(QStringLiteral("NSColorName"), OVPlist::uid(5));
        named.insert(QStringLiteral("NSColor"), OVPlist::uid(2));
        OVPlist fallback = instance(3);
        fallback.insert(QStringLiteral("NSColorSpace"), 3);
        fallback.insert(QStringLiteral("NSWhite"), QByteArray("0\0", 2));
        const QVariant color = OVKeyedUnarchiver::unarchivedObjectWithPropertyList(
            archive({named, fallback, classEntry(QStringLiteral("NSColor")), OVPlist(QStringLiteral("System")),
                     OVPlist(QStringLiteral("textColor"))}));
        QCOMPARE(color.value<QColor>(), QColor(Qt::black));
    }

    void fontsRoundTrip()
    {
        QFont font(QStringLiteral("Menlo"));
        font.setStyleName(QStringLiteral("Regular"));
        font.setPointSizeF(14);
        const OVPlist archived = OVKeyedArchiver::archivedPropertyListWithRootObject(font);
        const OVPlist objects = archived.value(QStringLiteral("$objects"));
        QCOMPARE(objects.at(2), OVPlist(QStringLiteral("Menlo-Regular")));
        QCOMPARE(objects.at(1).value(QStringLiteral("NSSize")), OVPlist(14.0));
        QCOMPARE(objects.at(1).value(QStringLiteral("NSfFlags")), OVPlist(16));
        const auto back
            = OVKeyedUnarchiver::unarchivedObjectOfClass<QFont>(OVKeyedArchiver::archivedDataWithRootObject(font));
        QVERIFY(back.has_value());
        QCOMPARE(back->family(), QStringLiteral("Menlo"));
        QCOMPARE(back->pointSizeF(), 14.0);
        QCOMPARE(NVColorCoding::postScriptName(*back), QStringLiteral("Menlo-Regular"));

        QFont bold(QStringLiteral("Helvetica Neue"));
        bold.setBold(true);
        QCOMPARE(NVColorCoding::postScriptName(bold), QStringLiteral("HelveticaNeue-Bold"));
        QCOMPARE(NVColorCoding::postScriptName(QFont(QStringLiteral("Helvetica"))), QStringLiteral("Helvetica"));
    }

    // ---- archives written by other programs -----------------------------------------------

    void deviceRgbColorFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/nscolor-devicergb-ManPage-BackgroundColor.bplist"));
        OVError error;
        const auto color = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(fixtureBytes(path), &error);
        QVERIFY2(color.has_value(), qPrintable(error.localizedDescription));
        QCOMPARE(color->rgba64(), QColor::fromRgbF(0.9960784316f, 0.9568627477f, 0.611764729f).rgba64());
    }

    void calibratedWhiteColorFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/nscolor-calibratedwhite-Renault-TextBoldColor.bplist"));
        const auto color = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(fixtureBytes(path));
        QVERIFY(color.has_value());
        QCOMPARE(color->rgba64(), QColor(Qt::white).rgba64());
    }

    void srgbColorWithComponentsFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/nscolor-srgb-icc-Alucard-ANSIBlueColor.bplist"));
        OVError error;
        const auto color = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(fixtureBytes(path), &error);
        QVERIFY2(color.has_value(), qPrintable(error.localizedDescription));
        // QColor holds 16 bits a channel.
        QCOMPARE(color->rgba64(), QColor::fromRgbF(0.1973060291f, 0.5129697036f, 1.0f, 1.0f).rgba64());
    }

    void fontFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/nsfont-Menlo-Regular-14-Alucard-Font.bplist"));
        OVError error;
        const auto font = OVKeyedUnarchiver::unarchivedObjectOfClass<QFont>(fixtureBytes(path), &error);
        QVERIFY2(font.has_value(), qPrintable(error.localizedDescription));
        QCOMPARE(font->family(), QStringLiteral("Menlo"));
        QCOMPARE(font->styleName(), QStringLiteral("Regular"));
        QCOMPARE(font->pointSizeF(), 14.0);
    }

    void complexFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/swift-NSKeyedUnarchiver-ComplexTest.bplist"));
        OVError error;
        const QVariant root = OVKeyedUnarchiver::unarchivedObjectWithData(fixtureBytes(path), &error);
        QVERIFY2(root.isValid(), qPrintable(error.localizedDescription));
        const QVariantMap map = root.toMap();
        QCOMPARE(map.keys(),
                 (QStringList {QStringLiteral("array"), QStringLiteral("string"), QStringLiteral("url"),
                               QStringLiteral("uuid")}));
        const QVariantList array = map.value(QStringLiteral("array")).toList();
        QCOMPARE(array.size(), 4);
        QCOMPARE(array.at(0).metaType(), QMetaType::fromType<std::nullptr_t>());
        QCOMPARE(array.at(1), QVariant(QStringLiteral("hello")));
        QCOMPARE(array.at(2).toLongLong(), qint64(34545));
        QCOMPARE(array.at(3).toMap(), (QVariantMap {{QStringLiteral("key"), QStringLiteral("val")}}));
        QCOMPARE(map.value(QStringLiteral("string")), QVariant(QStringLiteral("hello")));
        QCOMPARE(map.value(QStringLiteral("url")).toUrl(), QUrl(QStringLiteral("https://www.swift.org/index.xml")));
        QCOMPARE(map.value(QStringLiteral("uuid")).toUuid(),
                 QUuid::fromRfc4122(QByteArray::fromHex("71dc068e342045ff919e3a267d55ec22")));
    }

    void rangeFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/swift-NSKeyedUnarchiver-RangeTest.plist"));
        const auto range = OVKeyedUnarchiver::unarchivedObjectOfClass<OVRange>(fixtureBytes(path));
        QVERIFY(range.has_value());
        QCOMPARE(range->location, quint64(97345));
        QCOMPARE(range->length, quint64(98345));
    }

    void rectFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/swift-NSKeyedUnarchiver-RectTest.plist"));
        const auto rect = OVKeyedUnarchiver::unarchivedObjectOfClass<QRectF>(fixtureBytes(path));
        QVERIFY(rect.has_value());
        QCOMPARE(*rect, QRectF(400, 300, 200, 300));
    }

    void thirdPartyClassFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("keyedarchive/bpylist2-simple_archive.bplist"));
        const OVPlist plist = readFixture(path);
        QCOMPARE(plist.value(QStringLiteral("$top")).value(QStringLiteral("root")), OVPlist::uid(1));
        OVError error;
        const QVariant root = OVKeyedUnarchiver::unarchivedObjectWithPropertyList(plist, &error);
        QVERIFY2(root.isValid(), qPrintable(error.localizedDescription));
        const QVariantMap fields = root.toMap();
        QCOMPARE(fields.value(QStringLiteral("title")), QVariant(QStringLiteral("yo")));
        QCOMPARE(fields.value(QStringLiteral("count")).toLongLong(), qint64(42));
        QCOMPARE(fields.value(QStringLiteral("active")), QVariant(true));
        QCOMPARE(fields.value(QStringLiteral("class")), QVariant(QStringLiteral("crap.Foo")));
    }

    void archivesInTerminalProfilesDecode()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("plist/Alucard.terminal"));
        const OVPlist profile = readFixture(path);
        int colors = 0;
        for (const QString &key : profile.keys()) {
            if (!key.endsWith(QLatin1String("Color")))
                continue;
            OVError error;
            const auto color = OVKeyedUnarchiver::unarchivedObjectOfClass<QColor>(profile.value(key).toData(), &error);
            QVERIFY2(color.has_value() && color->isValid(),
                     qPrintable(key + QLatin1Char(' ') + error.localizedDescription));
            ++colors;
        }
        QVERIFY(colors >= 16);
    }

    // ---- broken archives ----------------------------------------------------------------------

    void brokenArchivesGiveErrors_data()
    {
        QTest::addColumn<OVPlist>("plist");
        QTest::addColumn<int>("code");
        const OVPlist array = classEntry(QStringLiteral("NSArray"));
        const OVPlist dictionary = classEntry(QStringLiteral("NSDictionary"));
        const int corrupt = OVKeyedUnarchiver::DecodeCorruptError;
        QTest::newRow("not a dictionary") << OVPlist(1) << corrupt;
        QTest::newRow("no objects") << [] {
            OVPlist plist;
            plist.insert(QStringLiteral("$top"), OVPlist::dictionary());
            return plist;
        }() << corrupt;
        QTest::newRow("top without root") << archive({OVPlist(QStringLiteral("x"))}, OVPlist()) << corrupt;
        QTest::newRow("root outside objects") << archive({OVPlist(QStringLiteral("x"))}, OVPlist::uid(99)) << corrupt;
        QTest::newRow("root is not a UID") << archive({OVPlist(QStringLiteral("x"))}, OVPlist(1)) << corrupt;
        QTest::newRow("member outside objects")
            << archive({instance(2, {{QStringLiteral("NS.objects"), uids({7})}}), array}) << corrupt;
        QTest::newRow("class outside objects") << archive({instance(9)}) << corrupt;
        QTest::newRow("array holds itself")
            << archive({instance(2, {{QStringLiteral("NS.objects"), uids({1})}}), array}) << corrupt;
        QTest::newRow("two arrays hold each other")
            << archive({instance(3, {{QStringLiteral("NS.objects"), uids({2})}}),
                        instance(3, {{QStringLiteral("NS.objects"), uids({1})}}), array})
            << corrupt;
        QTest::newRow("dictionary halves differ") << archive(
            {instance(2, {{QStringLiteral("NS.keys"), uids({3, 3})}, {QStringLiteral("NS.objects"), uids({3})}}),
             dictionary, OVPlist(QStringLiteral("k"))})
                                                  << corrupt;
        QTest::newRow("dictionary key not a string") << archive(
            {instance(2, {{QStringLiteral("NS.keys"), uids({3})}, {QStringLiteral("NS.objects"), uids({3})}}),
             dictionary, OVPlist(5)}) << corrupt;
        QTest::newRow("unknown class") << archive({instance(2), classEntry(QStringLiteral("NSWindow"))})
                                       << int(OVKeyedUnarchiver::DecodeUnknownClassError);
        QTest::newRow("number field holds a string")
            << archive({instance(2, {{QStringLiteral("NS.special"), OVPlist(QStringLiteral("4"))}}),
                        classEntry(QStringLiteral("NSValue"))})
            << corrupt;
        QTest::newRow("object field holds a number")
            << archive({instance(2, {{QStringLiteral("NS.objects"), OVPlist(3)}}), array}) << corrupt;
        QTest::newRow("raw array in objects") << archive({OVPlist::array()}) << corrupt;
    }

    void brokenArchivesGiveErrors()
    {
        QFETCH(OVPlist, plist);
        QFETCH(int, code);
        OVError error;
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectWithPropertyList(plist, &error).isValid());
        QCOMPARE(error.domain, OVKeyedUnarchiver::errorDomain());
        QCOMPARE(error.code, qint64(code));
        QVERIFY(!error.localizedDescription.isEmpty());
        // The same through bytes.
        const QByteArray data = OVPlistSerialization::dataWithPropertyList(plist, Format::Binary);
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectWithData(data, &error).isValid());
    }

    void garbageAndTruncatedArchivesGiveErrors()
    {
        OVError error;
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectWithData(QByteArray("garbage"), &error).isValid());
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeCorruptError));
        const QByteArray whole = OVKeyedArchiver::archivedDataWithRootObject(
            QVariantMap {{QStringLiteral("a"), QVariantList {1, QStringLiteral("b")}}});
        for (qsizetype length = 0; length < whole.size(); ++length)
            QVERIFY(!OVKeyedUnarchiver::unarchivedObjectWithData(whole.left(length)).isValid());
    }

    void rootOfTheWrongClassIsRefused()
    {
        const QByteArray data = OVKeyedArchiver::archivedDataWithRootObject(QVariantList {1, 2});
        OVError error;
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectOfClass<QString>(data, &error).has_value());
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeWrongClassError));
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectOfClass<Sample>(data, &error).has_value());
        const QByteArray null = OVKeyedArchiver::archivedDataWithRootObject(QVariant());
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectOfClass<QString>(null, &error).has_value());
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeWrongClassError));
    }

    void deepNestingIsRefused()
    {
        QVariant nested = QStringLiteral("core");
        for (int i = 0; i < OVKeyedUnarchiver::maximumDepth + 10; ++i)
            nested = QVariantList {nested};
        const QByteArray data = OVKeyedArchiver::archivedDataWithRootObject(nested);
        OVError error;
        QVERIFY(!OVKeyedUnarchiver::unarchivedObjectWithData(data, &error).isValid());
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeCorruptError));
    }

    void sharedObjectsAreDecodedOnce()
    {
        // Sixty arrays, each holding the next one twice: 2^60 paths, sixty objects.
        OVPlist::Array objects;
        for (quint64 i = 0; i < 60; ++i)
            objects.append(instance(62, {{QStringLiteral("NS.objects"), uids({i + 2, i + 2})}}));
        objects.append(OVPlist(QStringLiteral("leaf")));
        objects.append(classEntry(QStringLiteral("NSArray")));
        OVError error;
        const QVariant root = OVKeyedUnarchiver::unarchivedObjectWithPropertyList(archive(objects), &error);
        QVERIFY2(root.isValid(), qPrintable(error.localizedDescription));
        QVariant walk = root;
        for (int i = 0; i < 60; ++i)
            walk = walk.toList().at(1);
        QCOMPARE(walk, QVariant(QStringLiteral("leaf")));
    }

    void hundredMegabyteBlobIsDecoded()
    {
        QByteArray blob(100 * 1024 * 1024, 'k');
        blob[blob.size() - 1] = 'z';
        OVError error;
        const QByteArray data = OVKeyedArchiver::archivedDataWithRootObject(QVariantList {blob, 1}, &error);
        QVERIFY2(!data.isEmpty(), qPrintable(error.localizedDescription));
        const QVariant back = OVKeyedUnarchiver::unarchivedObjectWithData(data, &error);
        QVERIFY2(back.isValid(), qPrintable(error.localizedDescription));
        QCOMPARE(back.toList().at(0).toByteArray().size(), blob.size());
        QVERIFY(back.toList().at(0).toByteArray().endsWith('z'));
    }
};

QTEST_GUILESS_MAIN(TestKeyedArchive)
#include "TestKeyedArchive.moc"
