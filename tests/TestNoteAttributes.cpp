// The note attributes record: defaults, both archive versions, the coder extensions, copying
// and the colour conversion that writing performs.
#include "documents/NVColorCoding.h"
#include "documents/NVNoteAttributes.h"
#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVKeyedUnarchiver.h"
#include "foundation/OVPlistSerialization.h"

#include <QSettings>
#include <QtTest>

namespace {

// An archive whose root is of the record's class but holds whatever fields a test writes, as
// older versions of the application (or a broken file) would.
struct HandMadeRecord
{
    std::function<void(OVKeyedArchiver &)> fill;
};

QByteArray handMadeArchive(std::function<void(OVKeyedArchiver &)> fill)
{
    return OVKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(HandMadeRecord {std::move(fill)}));
}

// The fields the record writes, from "$objects".
OVPlist writtenFields(const QByteArray &archive)
{
    const OVPlist plist = OVPlistSerialization::propertyListWithData(archive);
    return plist.value(QStringLiteral("$objects")).at(1);
}

NVNoteAttributes decoded(const QByteArray &archive)
{
    OVError error;
    const std::optional<NVNoteAttributes> record = NVNoteAttributes::fromArchivedData(archive, &error);
    if (!record)
        qWarning() << error.localizedDescription;
    return record.value_or(NVNoteAttributes());
}

NVNoteAttributes filledRecord()
{
    NVNoteAttributes record;
    record.setVisibleChars(OVRange {10, 200});
    record.setSelectedChars(OVRange {15, 3});
    QFont font(QStringLiteral("Helvetica"));
    font.setPointSizeF(13);
    record.setTypingAttributes(QVariantMap {{QStringLiteral("NSFont"), font},
                                            {QStringLiteral("NSColor"), QColor::fromRgbF(0.25f, 0.5f, 1.0f)}});
    record.setLayoutOrientation(1);
    record.setHyphenationFactor(0.5);
    record.setScaleFactor(1.25);
    record.setRulerVisible(true);
    record.setVisibleRect(QRectF(0, 120.5, 640, 480));
    record.setBackgroundColor(QColor::fromRgbF(1.0f, 0.75f, 0.5f, 1.0f));
    return record;
}

} // namespace

Q_DECLARE_METATYPE(HandMadeRecord)

class TestNoteAttributes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Orvantis"));
        QCoreApplication::setApplicationName(QStringLiteral("NoteAttributesTest"));
        QSettings().clear();
        NVNoteAttributes::registerClass();
        OVKeyedArchiver::registerClass(
            QMetaType::fromType<HandMadeRecord>(), QStringLiteral("NVNoteAttributes"),
            {QStringLiteral("NVNoteAttributes"), QStringLiteral("NSObject")},
            [](OVKeyedArchiver &coder, const QVariant &object) { object.value<HandMadeRecord>().fill(coder); });
    }

    void cleanup() { QSettings().clear(); }

    void freshRecordWithoutDefaultsHasZeroScaleAndNoRuler()
    {
        const NVNoteAttributes record;
        QCOMPARE(record.scaleFactor(), 0.0);
        QCOMPARE(record.rulerVisible(), false);
        QCOMPARE(record.fileVersion(), qint64(2000));
        QCOMPARE(record.visibleChars(), (OVRange {0, 0}));
        QCOMPARE(record.selectedChars(), (OVRange {0, 0}));
        QVERIFY(!record.typingAttributes().has_value());
        QCOMPARE(record.layoutOrientation(), qint64(0));
        QCOMPARE(record.hyphenationFactor(), 0.0);
        QCOMPARE(record.visibleRect(), QRectF());
        QVERIFY(!record.backgroundColor().isValid());
    }

    void freshRecordTakesZoomAndRulerFromUserDefaults()
    {
        QSettings settings;
        settings.setValue(NVNoteAttributes::defaultScaleFactorKey(), 1.1);
        settings.setValue(NVNoteAttributes::showRulerKey(), true);
        const NVNoteAttributes record;
        QCOMPARE(record.scaleFactor(), double(1.1f)); // read as a 32-bit float, then widened
        QCOMPARE(record.rulerVisible(), true);
    }

    void everyFieldRoundTrips()
    {
        NVNoteAttributes record = filledRecord();
        OVError error;
        const QByteArray archive = record.archivedData(&error);
        QVERIFY2(archive.startsWith("bplist00"), qPrintable(error.localizedDescription));
        const NVNoteAttributes back = decoded(archive);
        QCOMPARE(back.fileVersion(), qint64(2000));
        QCOMPARE(back.visibleChars(), (OVRange {10, 200}));
        QCOMPARE(back.selectedChars(), (OVRange {15, 3}));
        QCOMPARE(back.layoutOrientation(), qint64(1));
        QCOMPARE(back.hyphenationFactor(), 0.5);
        QCOMPARE(back.scaleFactor(), 1.25);
        QCOMPARE(back.rulerVisible(), true);
        QCOMPARE(back.visibleRect(), QRectF(0, 120.5, 640, 480));
        QCOMPARE(back.backgroundColor(), QColor::fromRgbF(1.0f, 0.75f, 0.5f, 1.0f));
        const QVariantMap typing = back.typingAttributes().value_or(QVariantMap());
        QCOMPARE(typing.value(QStringLiteral("NSFont")).value<QFont>().family(), QStringLiteral("Helvetica"));
        QCOMPARE(typing.value(QStringLiteral("NSFont")).value<QFont>().pointSizeF(), 13.0);
        QCOMPARE(typing.value(QStringLiteral("NSColor")).value<QColor>(), QColor::fromRgbF(0.25f, 0.5f, 1.0f));
        QCOMPARE(back, record);
    }

    void theArchiveHasTheKeysAndFormsTheTargetReads()
    {
        NVNoteAttributes record = filledRecord();
        const OVPlist archive = OVPlistSerialization::propertyListWithData(record.archivedData());
        QCOMPARE(archive.value(QStringLiteral("$archiver")), OVPlist(QStringLiteral("NSKeyedArchiver")));
        QCOMPARE(archive.value(QStringLiteral("$top")).value(QStringLiteral("root")), OVPlist::uid(1));
        const OVPlist::Array objects = archive.value(QStringLiteral("$objects")).toArray();
        const OVPlist fields = objects.at(1);
        const OVPlist classEntry = objects.at(qsizetype(fields.value(QStringLiteral("$class")).toUid()));
        QCOMPARE(classEntry.value(QStringLiteral("$classname")), OVPlist(QStringLiteral("NVNoteAttributes")));
        QCOMPARE(fields.value(QStringLiteral("fileVersion")), OVPlist(2000));
        QCOMPARE(fields.value(QStringLiteral("visibleChars.location")), OVPlist(10));
        QCOMPARE(fields.value(QStringLiteral("visibleChars.length")), OVPlist(200));
        QCOMPARE(fields.value(QStringLiteral("selectedChars.location")), OVPlist(15));
        QCOMPARE(fields.value(QStringLiteral("visibleCGRect.origin.y")), OVPlist(120.5));
        QCOMPARE(fields.value(QStringLiteral("visibleCGRect.size.width")), OVPlist(640.0));
        QCOMPARE(fields.value(QStringLiteral("hyphenationFactor")), OVPlist(0.5));
        QCOMPARE(fields.value(QStringLiteral("scaleFactor")), OVPlist(1.25));
        QCOMPARE(fields.value(QStringLiteral("rulerVisible")), OVPlist(true));
        QCOMPARE(fields.value(QStringLiteral("layoutOrientation")), OVPlist(1));
        QVERIFY(fields.value(QStringLiteral("typingAttributes")).isUid());
        QVERIFY(!fields.contains(QStringLiteral("visibleRect")));
        QVERIFY(!fields.contains(QStringLiteral("backgroundColor")));
        const OVPlist components
            = objects.at(qsizetype(fields.value(QStringLiteral("backgroundColorComponents")).toUid()));
        const OVPlist::Array keys = components.value(QStringLiteral("NS.keys")).toArray();
        QStringList names;
        for (const OVPlist &key : keys)
            names.append(objects.at(qsizetype(key.toUid())).toString());
        names.sort();
        QCOMPARE(names,
                 (QStringList {QStringLiteral("alpha"), QStringLiteral("blue"), QStringLiteral("green"),
                               QStringLiteral("red")}));
    }

    void writingVersion1500WritesAndReadsBack2000()
    {
        NVNoteAttributes record;
        record.setFileVersion(1500);
        const QByteArray archive = record.archivedData();
        QCOMPARE(writtenFields(archive).value(QStringLiteral("fileVersion")), OVPlist(2000));
        QCOMPARE(record.fileVersion(), qint64(1500));
        QCOMPARE(decoded(archive).fileVersion(), qint64(2000));
    }

    void oldArchivesTakeVisibleRectAndBackgroundColor_data()
    {
        QTest::addColumn<bool>("hasVersion");
        QTest::addColumn<qint64>("version");
        QTest::addColumn<bool>("oldPath");
        QTest::newRow("1999") << true << qint64(1999) << true;
        QTest::newRow("no version decodes as 0") << false << qint64(0) << true;
        QTest::newRow("negative") << true << qint64(-5) << true;
        QTest::newRow("2000") << true << qint64(2000) << false;
        QTest::newRow("2500") << true << qint64(2500) << false;
    }

    void oldArchivesTakeVisibleRectAndBackgroundColor()
    {
        QFETCH(bool, hasVersion);
        QFETCH(qint64, version);
        QFETCH(bool, oldPath);
        const QByteArray archive = handMadeArchive([&](OVKeyedArchiver &coder) {
            if (hasVersion)
                coder.encodeInt(version, QStringLiteral("fileVersion"));
            coder.encodeRect(QRectF(1, 2, 3, 4), QStringLiteral("visibleRect"));
            coder.encodeObject(QColor(Qt::red), QStringLiteral("backgroundColor"));
            encodeCGRectInNortavel(coder, QRectF(10, 20, 30, 40), QStringLiteral("visibleCGRect"));
            coder.encodeObject(QVariantMap {{QStringLiteral("red"), 0.0f},
                                            {QStringLiteral("green"), 0.0f},
                                            {QStringLiteral("blue"), 1.0f},
                                            {QStringLiteral("alpha"), 1.0f}},
                               QStringLiteral("backgroundColorComponents"));
        });
        const NVNoteAttributes record = decoded(archive);
        QCOMPARE(record.fileVersion(), version); // kept as decoded
        QCOMPARE(record.visibleRect(), oldPath ? QRectF(1, 2, 3, 4) : QRectF(10, 20, 30, 40));
        QCOMPARE(record.backgroundColor(), oldPath ? QColor(Qt::red) : QColor(Qt::blue));
    }

    void missingKeysGiveZeroNullAndFalseWithoutDefaults()
    {
        QSettings().setValue(NVNoteAttributes::defaultScaleFactorKey(), 2.0);
        QSettings().setValue(NVNoteAttributes::showRulerKey(), true);
        const NVNoteAttributes record = decoded(handMadeArchive([](OVKeyedArchiver &) {}));
        QCOMPARE(record.fileVersion(), qint64(0));
        QCOMPARE(record.scaleFactor(), 0.0);
        QCOMPARE(record.rulerVisible(), false);
        QVERIFY(!record.typingAttributes().has_value());
        QVERIFY(!record.backgroundColor().isValid());
        QCOMPARE(record.visibleRect(), QRectF());
    }

    void missingColorComponentsCountAsZero()
    {
        const QByteArray archive = handMadeArchive([](OVKeyedArchiver &coder) {
            coder.encodeInt(2000, QStringLiteral("fileVersion"));
            coder.encodeObject(QVariantMap {{QStringLiteral("green"), 1.0f}},
                               QStringLiteral("backgroundColorComponents"));
        });
        const QColor color = decoded(archive).backgroundColor();
        QVERIFY(color.isValid());
        QCOMPARE(color, QColor::fromRgbF(0.0f, 1.0f, 0.0f, 0.0f));
    }

    void recordWithoutColorWritesNoComponents()
    {
        NVNoteAttributes record;
        const QByteArray archive = record.archivedData();
        QVERIFY(!writtenFields(archive).contains(QStringLiteral("backgroundColorComponents")));
        QVERIFY(!writtenFields(archive).contains(QStringLiteral("typingAttributes"))); // null is left out
        QVERIFY(!decoded(archive).backgroundColor().isValid());
    }

    void writingConvertsTheColorToDeviceRgb_data()
    {
        QTest::addColumn<QColor>("color");
        QTest::newRow("cmyk") << QColor::fromCmykF(0.1f, 0.2f, 0.3f, 0.4f);
        QTest::newRow("hsv") << QColor::fromHsvF(0.5f, 0.5f, 0.5f);
        QTest::newRow("hsl") << QColor::fromHslF(0.25f, 1.0f, 0.5f, 0.5f);
    }

    void writingConvertsTheColorToDeviceRgb()
    {
        QFETCH(QColor, color);
        NVNoteAttributes record;
        record.setBackgroundColor(color);
        const QByteArray archive = record.archivedData();
        QCOMPARE(record.backgroundColor().spec(), QColor::Rgb);
        QCOMPARE(record.backgroundColor(), color.toRgb());
        QCOMPARE(decoded(archive).backgroundColor(), color.toRgb());

        // Through the coder call as well.
        NVNoteAttributes other;
        other.setBackgroundColor(color);
        OVKeyedArchiver coder;
        other.encodeWithCoder(coder);
        QCOMPARE(other.backgroundColor().spec(), QColor::Rgb);
        const OVPlist components = coder.encodedPropertyList().value(QStringLiteral("$top"));
        QVERIFY(components.contains(QStringLiteral("backgroundColorComponents")));
    }

    void hyphenationFactorComesBackAsAFloat()
    {
        NVNoteAttributes record;
        record.setHyphenationFactor(0.1);
        const NVNoteAttributes back = decoded(record.archivedData());
        QCOMPARE(back.hyphenationFactor(), double(0.1f));
        QVERIFY(back.hyphenationFactor() != 0.1);
    }

    void copyKeepsEveryFieldAndSharesObjects()
    {
        QSettings().setValue(NVNoteAttributes::defaultScaleFactorKey(), 3.0);
        NVNoteAttributes record = filledRecord();
        record.setFileVersion(1500);
        record.setScaleFactor(0.75);
        record.setRulerVisible(false);
        const NVNoteAttributes copy = record.copy();
        QCOMPARE(copy.fileVersion(), qint64(1500));
        QCOMPARE(copy.scaleFactor(), 0.75); // not the user default
        QCOMPARE(copy.rulerVisible(), false);
        QCOMPARE(copy, record);
        QCOMPARE(*copy.typingAttributes(), *record.typingAttributes());
        QCOMPARE(copy.backgroundColor(), record.backgroundColor());
    }

    void rangeAndRectExtensionsRoundTrip()
    {
        OVKeyedArchiver coder;
        encodeRangeInNortavel(coder, OVRange {std::numeric_limits<quint64>::max(), 7}, QStringLiteral("r"));
        encodeCGRectInNortavel(coder, QRectF(-1.5, 2.25, 1e6, 0.125), QStringLiteral("$rect"));
        const OVPlist top = coder.encodedPropertyList().value(QStringLiteral("$top"));
        QVERIFY(top.contains(QStringLiteral("r.location")));
        QVERIFY(top.contains(QStringLiteral("$$rect.origin.x")));
        OVKeyedUnarchiver reader(coder.encodedPropertyList());
        QCOMPARE(decodeRangeInNortavel(reader, QStringLiteral("r")),
                 (OVRange {std::numeric_limits<quint64>::max(), 7}));
        QCOMPARE(decodeCGRectInNortavel(reader, QStringLiteral("$rect")), QRectF(-1.5, 2.25, 1e6, 0.125));
        QVERIFY(!reader.hasError());
    }

    void xmlArchivesAreReadToo()
    {
        NVNoteAttributes record = filledRecord();
        QVERIFY(!record.archivedData().isEmpty()); // converts the colour, as writing does
        const QByteArray xml = OVKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(record), nullptr,
                                                                           OVPlistSerialization::Format::Xml);
        QVERIFY(xml.startsWith("<?xml"));
        QCOMPARE(decoded(xml), record);
    }

    void brokenArchivesGiveErrors()
    {
        OVError error;
        QVERIFY(!NVNoteAttributes::fromArchivedData(QByteArray("not an archive"), &error));
        QVERIFY(!error.localizedDescription.isEmpty());
        QVERIFY(!NVNoteAttributes::fromArchivedData(OVKeyedArchiver::archivedDataWithRootObject(QStringLiteral("x")),
                                                    &error));
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeWrongClassError));
        // A field of the wrong kind under a known key follows the coder's rules: an error.
        const QByteArray wrongKind = handMadeArchive(
            [](OVKeyedArchiver &coder) { coder.encodeObject(QStringLiteral("2000"), QStringLiteral("fileVersion")); });
        QVERIFY(!NVNoteAttributes::fromArchivedData(wrongKind, &error));
        QCOMPARE(error.code, qint64(OVKeyedUnarchiver::DecodeCorruptError));
    }
};

QTEST_GUILESS_MAIN(TestNoteAttributes)
#include "TestNoteAttributes.moc"
