// The item kinds table: codes by encrypted-file extension, and display names.
#include "formats/NVItemType.h"

#include <QtTest>

class TestItemTypes : public QObject
{
    Q_OBJECT

private slots:
    void extensionsGiveTheirPositions_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<qint64>("code");
        QTest::newRow("note") << QStringLiteral("nvencryptnote") << qint64(1);
        QTest::newRow("document") << QStringLiteral("nvencryptdocument") << qint64(2);
        QTest::newRow("image") << QStringLiteral("nvencryptimage") << qint64(3);
        QTest::newRow("movie sits at 4") << QStringLiteral("nvencryptmovie") << qint64(4);
        QTest::newRow("sound sits at 5") << QStringLiteral("nvencryptsound") << qint64(5);
        QTest::newRow("bookmark") << QStringLiteral("nvencryptbookmark") << qint64(6);
        QTest::newRow("web page") << QStringLiteral("nvencryptwebpage") << qint64(7);
        QTest::newRow("unknown marker") << QStringLiteral("__UNKNOWN__") << qint64(0);
    }

    void extensionsGiveTheirPositions()
    {
        QFETCH(QString, extension);
        QFETCH(qint64, code);
        QCOMPARE(NVItemTypeForEncryptedFileExtension(extension), code);
    }

    void unknownExtensionsFallBackToDocument_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::newRow("upper case") << QStringLiteral("NVENCRYPTNOTE");
        QTest::newRow("empty") << QString(QLatin1String(""));
        QTest::newRow("null") << QString();
        QTest::newRow("note document") << QStringLiteral("nvnote");
        QTest::newRow("other") << QStringLiteral("pdf");
        QTest::newRow("blank around") << QStringLiteral(" nvencryptnote");
    }

    void unknownExtensionsFallBackToDocument()
    {
        QFETCH(QString, extension);
        QCOMPARE(NVItemTypeForEncryptedFileExtension(extension), NVItemTypeDocument);
    }

    void displayNames()
    {
        QCOMPARE(NVDisplayNameForItemType(1), QStringLiteral("Note"));
        QCOMPARE(NVDisplayNameForItemType(2), QStringLiteral("Document"));
        QCOMPARE(NVDisplayNameForItemType(3), QStringLiteral("Image"));
        QCOMPARE(NVDisplayNameForItemType(4), QStringLiteral("Sound"));
        QCOMPARE(NVDisplayNameForItemType(5), QStringLiteral("Movie"));
        QCOMPARE(NVDisplayNameForItemType(6), QStringLiteral("Bookmark"));
        QCOMPARE(NVDisplayNameForItemType(7), QStringLiteral("Web Page"));
    }

    void displayNameOutsideTheTableIsNull()
    {
        QVERIFY(NVDisplayNameForItemType(0).isNull());
        QVERIFY(NVDisplayNameForItemType(8).isNull());
        QVERIFY(NVDisplayNameForItemType(-1).isNull());
    }

    void noteDocumentConstants()
    {
        QCOMPARE(NVNoteDocumentFileExtension, QStringLiteral("nvnote"));
        QCOMPARE(NVNoteDocumentTypeIdentifier, QStringLiteral("com.orvantis.nortavel.note"));
    }
};

QTEST_GUILESS_MAIN(TestItemTypes)
#include "TestItemTypes.moc"
