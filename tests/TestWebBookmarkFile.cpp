// Web bookmarks: reading property-list and internet-shortcut files, writing, file names,
// extensions, icons, validation, undo and change notifications.
#include "documents/NVWebBookmarkEditing.h"
#include "formats/NVWebBookmarkFile.h"
#include "formats/NVWebBookmarkReader.h"
#include "foundation/OVFileAttributes.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"
#include "support/TestSupport.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

namespace {

// The bookmark read from the file, whether or not the read succeeded: most tests look at what a
// file gives, and those of failures check the reader itself.
NVWebBookmarkFile::Pointer readFile(const QString &path)
{
    NVWebBookmarkReader reader;
    (void)reader.read(path);
    return reader.bookmark();
}

NVWebBookmarkFile::Pointer readData(const QByteArray &data, const QString &fileName)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    NVWebBookmarkReader reader;
    (void)reader.read(&buffer, fileName);
    return reader.bookmark();
}

NVWebBookmarkFile::Pointer readTestData(const QString &name)
{
    return readFile(TestSupport::testDataPath(QStringLiteral("bookmarks/") + name));
}

QUrl url(const char *text)
{
    return NVWebBookmarkFile::URLWithString(QString::fromUtf8(text));
}

OVPlist writtenPlist(const NVWebBookmarkFile &bookmark)
{
    OVError error;
    const QByteArray data = bookmark.fileData(&error);
    if (data.isEmpty())
        qWarning("fileData failed: %s", qPrintable(error.localizedDescription));
    return OVPlistSerialization::propertyListWithData(data);
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestWebBookmarkFile : public QObject
{
    Q_OBJECT

private slots:
    // Reading the shared sample files.

    void readsSharedFixtures_data()
    {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("address");
        QTest::newRow("binary") << "webloc/binary-plist.webloc"
                                << "binary-plist"
                                << "http://www.kekaosx.com/en/";
        QTest::newRow("xml crlf") << "webloc/xml-content.webloc"
                                  << "xml-content"
                                  << "http://coffeescript.org/";
        QTest::newRow("xml finder") << "webloc/maketecheasier-xml.webloc"
                                    << "maketecheasier-xml"
                                    << "https://www.maketecheasier.com/fix-home-end-button-for-external-keyboard-mac/";
        QTest::newRow("binary template") << "webloc/peterc-oldstyle.webloc"
                                         << "peterc-oldstyle"
                                         << "https://github.com/peterc/webloc";
        QTest::newRow("xml tabs") << "webloc/peterc-pliststyle.webloc"
                                  << "peterc-pliststyle"
                                  << "https://github.com/peterc/webloc";
        QTest::newRow("shortcut blank line") << "url/EngineNine-Website.url"
                                             << "EngineNine-Website"
                                             << "http://nine.codeplex.com";
        QTest::newRow("shortcut property section first") << "url/OffiC2R-Website.url"
                                                         << "OffiC2R-Website"
                                                         << "https://msfree.su/";
        QTest::newRow("shortcut icon file") << "url/happysolver-Homepage.url"
                                            << "happysolver-Homepage"
                                            << "http://happysolver.sourceforge.net/";
        QTest::newRow("shortcut no final newline") << "url/tischda-generated-no-eol.url"
                                                   << "tischda-generated-no-eol"
                                                   << "http://www.kekaosx.com/en/";
    }

    void readsSharedFixtures()
    {
        QFETCH(QString, fixture);
        QFETCH(QString, name);
        QFETCH(QString, address);
        KI_REQUIRE_FIXTURE(path, fixture);
        const auto bookmark = readFile(path);
        QCOMPARE(bookmark->name(), name);
        QCOMPARE(NVWebBookmarkFile::absoluteString(bookmark->URL()), address);
    }

    // Reading property-list bookmarks.

    void storedNameIsReadAndCleaned()
    {
        const auto bookmark = readTestData(QStringLiteral("named-xml.webloc"));
        QCOMPARE(bookmark->name(), QStringLiteral("The Guide to Starting"));
        QCOMPARE(bookmark->URL(), url("https://www.example.org/guide/start.html"));
    }

    void numericAddressGivesNoURLAndFileName()
    {
        const auto bookmark = readTestData(QStringLiteral("number-address.webloc"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("number-address"));
    }

    void nonDictionaryPlistGivesOnlyFileName()
    {
        const auto bookmark = readTestData(QStringLiteral("array-root.webloc"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("array-root"));
    }

    void fileThatIsNoPlistGivesOnlyFileName()
    {
        const auto bookmark = readTestData(QStringLiteral("not-a-plist.webloc"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("not-a-plist"));
    }

    void missingFileGivesOnlyFileName()
    {
        const auto bookmark = readFile(QStringLiteral("/nonexistent/folder/Gone Away.ftploc"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("Gone Away"));
    }

    // The reader's verdict: a file that gives a bookmark reads true; one that does not says why.

    void readableFilesReadWithoutError()
    {
        for (const char *name : {"named-xml.webloc", "number-address.webloc"}) {
            NVWebBookmarkReader reader;
            QVERIFY2(reader.read(TestSupport::testDataPath(QStringLiteral("bookmarks/") + QLatin1String(name))),
                     qPrintable(reader.errorString()));
            QVERIFY(!reader.hasError());
        }
    }

    void failedReadsSayWhy_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("reason");
        QTest::newRow("missing file") << QStringLiteral("/nonexistent/folder/Gone Away.ftploc")
                                      << QStringLiteral("could not be opened");
        QTest::newRow("no property list") << TestSupport::testDataPath(QStringLiteral("bookmarks/not-a-plist.webloc"))
                                          << QStringLiteral("is not a property list");
        QTest::newRow("no dictionary") << TestSupport::testDataPath(QStringLiteral("bookmarks/array-root.webloc"))
                                       << QStringLiteral("holds no dictionary");
        QTest::newRow("shortcut without key")
            << TestSupport::testDataPath(QStringLiteral("bookmarks/no-key.url")) << QStringLiteral("holds no \"URL=\"");
    }

    void failedReadsSayWhy()
    {
        QFETCH(QString, path);
        QFETCH(QString, reason);
        NVWebBookmarkReader reader;
        QVERIFY(!reader.read(path));
        QVERIFY(reader.hasError());
        QVERIFY2(reader.errorString().contains(reason), qPrintable(reader.errorString()));
        QVERIFY2(reader.errorString().contains(path), qPrintable(reader.errorString()));
        QVERIFY(reader.bookmark());
    }

    void shortcutInAnotherEncodingIsRefusedButNamed()
    {
        QBuffer buffer;
        buffer.setData(QByteArray("URL=http://example.org/\xff\xfe"));
        buffer.open(QIODevice::ReadOnly);
        NVWebBookmarkReader reader;
        QVERIFY(!reader.read(&buffer, QStringLiteral("Latin.url")));
        QVERIFY(reader.errorString().contains(QStringLiteral("not UTF-8")));
        QCOMPARE(reader.bookmark()->name(), QStringLiteral("Latin"));
        QVERIFY(reader.bookmark()->URL().isEmpty());
    }

    void deviceNotOpenIsRefused()
    {
        QBuffer closed;
        NVWebBookmarkReader reader;
        QVERIFY(!reader.read(&closed, QStringLiteral("Closed.webloc")));
        QVERIFY(reader.errorString().contains(QStringLiteral("not open for reading")));
        QVERIFY(!reader.read(nullptr, QStringLiteral("Null.webloc")));
        QCOMPARE(reader.bookmark()->name(), QStringLiteral("Null"));
    }

    void unparsableAddressInPlistSetsNoURL()
    {
        OVPlist plist = OVPlist::dictionary();
        plist.insert(QStringLiteral("URL"), QStringLiteral("http://exa mple.org/<>"));
        plist.insert(QStringLiteral("public.url-name"), QStringLiteral("Kept"));
        const auto bookmark
            = readData(OVPlistSerialization::dataWithPropertyList(plist, OVPlistSerialization::Format::Binary),
                       QStringLiteral("x.webloc"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("Kept"));
    }

    void upperCaseURLExtensionIsReadAsPlist()
    {
        // Only the exact extension "url" marks an internet shortcut.
        const auto bookmark = readTestData(QStringLiteral("upper-case.URL"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("upper-case"));
    }

    // Reading internet shortcuts.

    void shortcutWithEmptyValueHasNameAndNoURL()
    {
        const auto bookmark = readTestData(QStringLiteral("only-key.url"));
        QCOMPARE(bookmark->name(), QStringLiteral("only-key"));
        QVERIFY(bookmark->URL().isEmpty());
    }

    void shortcutKeyIsFoundAnywhereInTheText()
    {
        // "IconURL=" ends in the key and comes first, so its value is taken.
        const auto bookmark = readTestData(QStringLiteral("icon-key-first.url"));
        QCOMPARE(bookmark->URL(), url("http://icons.example.org/a.ico"));
        QCOMPARE(bookmark->name(), QStringLiteral("icon-key-first"));
    }

    void blankAfterKeyGivesNoURL()
    {
        const auto bookmark = readTestData(QStringLiteral("blank-after-key.url"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("blank-after-key"));
    }

    void valueThatIsNoURLGivesNoURL()
    {
        const auto bookmark = readTestData(QStringLiteral("not-an-address.url"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), QStringLiteral("not-an-address"));
    }

    void shortcutWithoutKeyChangesNothing()
    {
        const auto bookmark = readTestData(QStringLiteral("no-key.url"));
        QVERIFY(bookmark->URL().isEmpty());
        QVERIFY(bookmark->name().isNull());
    }

    void utf16ShortcutGivesNoURL_data()
    {
        QTest::addColumn<bool>("withByteOrderMark");
        QTest::addColumn<bool>("named");
        // With a byte-order mark the text is no UTF-8 and yields the name only; without one the
        // key is not found between the zero bytes, so nothing is taken.
        QTest::newRow("byte-order mark") << true << true;
        QTest::newRow("no byte-order mark") << false << false;
    }

    void utf16ShortcutGivesNoURL()
    {
        QFETCH(bool, withByteOrderMark);
        QFETCH(bool, named);
        QStringEncoder encoder(QStringEncoder::Utf16LE,
                               withByteOrderMark ? QStringEncoder::Flag::WriteBom : QStringEncoder::Flag::Default);
        const QByteArray bytes
            = encoder.encode(QStringLiteral("[InternetShortcut]\r\nURL=http://www.example.org/\r\n"));
        const auto bookmark = readData(bytes, QStringLiteral("Wide.url"));
        QVERIFY(bookmark->URL().isEmpty());
        QCOMPARE(bookmark->name(), named ? QStringLiteral("Wide") : QString());
    }

    void hugeShortcutLineIsReadWhole()
    {
        const QByteArray tail(10 * 1024 * 1024, 'a');
        const auto bookmark = readData("[InternetShortcut]\nURL=http://www.example.org/" + tail + "\nHotKey=0\n",
                                       QStringLiteral("Long.url"));
        QCOMPARE(bookmark->name(), QStringLiteral("Long"));
        QCOMPARE(bookmark->URL().path().size(), tail.size() + 1);
    }

    void hugeLineWithoutKeyChangesNothing()
    {
        const QByteArray line(10 * 1024 * 1024, 'b');
        const auto bookmark = readData(line, QStringLiteral("Long.url"));
        QVERIFY(bookmark->name().isNull());
        QVERIFY(bookmark->URL().isEmpty());
    }

    // Writing.

    void nameFallsBackToHostButIsNotWritten()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QString(), url("http://h.example.org/page"));
        QCOMPARE(bookmark->name(), QStringLiteral("h.example.org"));
        const OVPlist plist = writtenPlist(*bookmark);
        QCOMPARE(plist.keys(), QStringList {QStringLiteral("URL")});
        QCOMPARE(plist.value(QStringLiteral("URL")).toString(), QStringLiteral("http://h.example.org/page"));
    }

    void bookmarkWithoutURLWritesEmptyString()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Nowhere"), QUrl());
        const OVPlist plist = writtenPlist(*bookmark);
        QVERIFY(plist.value(QStringLiteral("URL")).isString());
        QCOMPARE(plist.value(QStringLiteral("URL")).toString(), QString());
        QCOMPARE(plist.value(QStringLiteral("public.url-name")).toString(), QStringLiteral("Nowhere"));
    }

    void bookmarkWithNeitherNameNorURLIsWritten()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QString(), QUrl());
        QVERIFY(bookmark->name().isNull());
        QCOMPARE(writtenPlist(*bookmark).keys(), QStringList {QStringLiteral("URL")});
        QVERIFY(bookmark->suggestedFilename().isEmpty());
    }

    void fileDataIsBinaryPlist()
    {
        const auto bookmark
            = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Example"), url("ftp://ftp.example.org/pub/"));
        QVERIFY(bookmark->fileData().startsWith("bplist00"));
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        QVERIFY(bookmark->writeToDevice(&buffer));
        QCOMPARE(buffer.data(), bookmark->fileData());
    }

    void writtenFileReadsBack()
    {
        QTemporaryDir dir;
        const auto bookmark
            = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Round Trip"), url("https://www.example.org/a?b=c#d"));
        // Whatever the extension, the property-list form is written.
        for (const QString &extension : {QStringLiteral("webloc"), QStringLiteral("inetloc")}) {
            const QString path = dir.filePath(QStringLiteral("trip.") + extension);
            OVError error;
            QVERIFY2(bookmark->writeToFileAtURL(QUrl::fromLocalFile(path), &error),
                     qPrintable(error.localizedDescription));
            const auto read = readFile(path);
            QCOMPARE(read->name(), QStringLiteral("Round Trip"));
            QCOMPARE(read->URL(), bookmark->URL());
        }
    }

    void rewritingKeepsCreationDate()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("dated.webloc"));
        QVERIFY(writeBytes(path, "old"));
        const QDateTime created(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);
        if (!OVFileAttributes::setCreationDate(path, created))
            QSKIP("the temporary folder's file system keeps no extended attributes");
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Dated"), url("http://example.org/"));
        QVERIFY(bookmark->writeToFileAtURL(QUrl::fromLocalFile(path)));
        QCOMPARE(OVFileAttributes::creationDate(path), created);
        QCOMPARE(readFile(path)->name(), QStringLiteral("Dated"));
    }

    void writingIntoMissingFolderFails()
    {
        QTemporaryDir dir;
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Lost"), url("http://example.org/"));
        OVError error;
        QVERIFY(
            !bookmark->writeToFileAtURL(QUrl::fromLocalFile(dir.filePath(QStringLiteral("no/such.webloc"))), &error));
        QVERIFY(!error.domain.isEmpty());
        QVERIFY(!error.localizedDescription.isEmpty());
    }

    // File names and extensions.

    void suggestedFilenameHasNoLineBreak()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Line\nBreak\tand Tab"),
                                                                  url("http://www.example.org/"));
        QCOMPARE(bookmark->name(), QStringLiteral("Line Break and Tab"));
        QCOMPARE(bookmark->suggestedFilename(), QStringLiteral("Line Break and Tab.webloc"));
    }

    void nameStartingWithHttpGivesWayToPathComponent()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("HTTP://www.example.org/docs"),
                                                                  url("http://www.example.org/docs/index.html"));
        QCOMPARE(bookmark->suggestedFilename(), QStringLiteral("index.webloc"));
    }

    void nameStartingWithHttpsIsKept()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("https://secure"),
                                                                  url("https://www.example.org/docs/index.html"));
        QCOMPARE(bookmark->suggestedFilename(), QStringLiteral("https---secure.webloc"));
    }

    void mailtoWithoutNameIsNamedByAddress()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QString(), url("mailto:someone@example.org"));
        QVERIFY(bookmark->name().isNull());
        QCOMPARE(bookmark->suggestedFilename(), QStringLiteral("someone@example.org.mailloc"));
    }

    void shortPathComponentTakesWholeAddress_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("bare host") << "http://www.example.org"
                                   << "www.example.org.webloc";
        QTest::newRow("root path") << "http://www.example.org/"
                                   << "www.example.org.webloc";
        QTest::newRow("one character") << "https://www.example.org/a"
                                       << "www.example.org-a.webloc";
        QTest::newRow("one character before extension") << "ftp://ftp.example.org/pub/x.tar"
                                                        << "ftp.example.org-pub-x.tar.ftploc";
        QTest::newRow("long enough") << "http://www.example.org/ab"
                                     << "ab.webloc";
    }

    void shortPathComponentTakesWholeAddress()
    {
        QFETCH(QString, address);
        QFETCH(QString, fileName);
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QString(), NVWebBookmarkFile::URLWithString(address));
        QCOMPARE(bookmark->suggestedFilename(), fileName);
    }

    void emptyStoredNameIsKeptButNotUsedForFileName()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QLatin1String(""), url("http://www.example.org/"));
        QVERIFY(!bookmark->name().isNull());
        QCOMPARE(bookmark->name(), QString());
        QCOMPARE(bookmark->suggestedFilename(), QStringLiteral("www.example.org.webloc"));
        QVERIFY(!writtenPlist(*bookmark).contains(QStringLiteral("public.url-name")));
    }

    void extensionFollowsSchemePrefix_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("extension");
        QTest::newRow("http") << "http://example.org/"
                              << "webloc";
        QTest::newRow("https") << "https://example.org/"
                               << "webloc";
        QTest::newRow("upper case") << "HTTP://example.org/"
                                    << "webloc";
        QTest::newRow("ftp") << "ftp://example.org/"
                             << "ftploc";
        QTest::newRow("mailto") << "mailto:a@example.org"
                                << "mailloc";
        QTest::newRow("afp") << "afp://server/share"
                             << "afploc";
        QTest::newRow("file") << "file:///tmp/x"
                              << "fileloc";
        QTest::newRow("begins with file") << "filesystem:abc"
                                          << "fileloc";
        QTest::newRow("news") << "news:comp.lang.c"
                              << "newsloc";
        QTest::newRow("other") << "gopher://example.org/"
                               << "inetloc";
        QTest::newRow("vnc") << "vnc://example.org/"
                             << "inetloc";
        QTest::newRow("no scheme") << "relative/path"
                                   << "inetloc";
        QTest::newRow("no URL") << ""
                                << "inetloc";
    }

    void extensionFollowsSchemePrefix()
    {
        QFETCH(QString, address);
        QFETCH(QString, extension);
        QCOMPARE(NVWebBookmarkFile::fileExtensionForURL(NVWebBookmarkFile::URLWithString(address)), extension);
    }

    void fileTypesListLeavesVncOut()
    {
        const QStringList expected {"webloc", "ftploc", "mailloc", "afploc", "fileloc", "newsloc", "inetloc", "url"};
        QCOMPARE(NVWebBookmarkFile::bookmarkFileTypes(), expected);
        QVERIFY(!NVWebBookmarkFile::bookmarkFileTypes().contains(NVWebBookmarkFile::vncLocationFileType));
    }

    // Preview, icon, validation.

    void previewOnlyForWebPages()
    {
        QVERIFY(NVWebBookmarkFile::bookmarkWithName(QString(), url("http://example.org/"))->canPreviewBookmark());
        QVERIFY(NVWebBookmarkFile::bookmarkWithName(QString(), url("https://example.org/"))->canPreviewBookmark());
        QVERIFY(!NVWebBookmarkFile::bookmarkWithName(QString(), url("httpx://example.org/"))->canPreviewBookmark());
        QVERIFY(!NVWebBookmarkFile::bookmarkWithName(QString(), url("ftp://example.org/"))->canPreviewBookmark());
        QVERIFY(!NVWebBookmarkFile::bookmarkWithName(QString(), QUrl())->canPreviewBookmark());
    }

    void iconIsNeverEmpty()
    {
        for (const char *address : {"http://example.org/", "mailto:a@example.org", ""}) {
            const QImage icon
                = NVWebBookmarkEditing::iconImage(*NVWebBookmarkFile::bookmarkWithName(QString(), url(address)));
            QVERIFY(!icon.isNull());
            QCOMPARE(icon.size(), QSize(96, 96));
        }
    }

    void emptyNameIsInvalid()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("x"), QUrl());
        for (QString name : {QString(), QString(QLatin1String(""))}) {
            OVError error;
            QVERIFY(!NVWebBookmarkEditing::validateName(&name, &error));
            QCOMPARE(error.domain, QStringLiteral("NVWebBookmarkErrorDomain"));
            QCOMPARE(error.code, 10001);
            QCOMPARE(error.localizedDescription, QStringLiteral("Bookmark name must not be empty."));
        }
        QVERIFY(!NVWebBookmarkEditing::validateName(nullptr));
        QString blanks = QStringLiteral("   ");
        QVERIFY(NVWebBookmarkEditing::validateName(&blanks));
        QCOMPARE(blanks, QStringLiteral("   "));
    }

    void missingURLIsInvalid()
    {
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("x"), QUrl());
        QUrl none;
        OVError error;
        QVERIFY(!NVWebBookmarkEditing::validateURL(&none, &error));
        QCOMPARE(error.domain, QStringLiteral("NVWebBookmarkErrorDomain"));
        QCOMPARE(error.code, 10001);
        QCOMPARE(error.localizedDescription, QStringLiteral("Bookmark URL must not be empty."));
    }

    void webURLWithEmptyPathGetsSlash_data()
    {
        QTest::addColumn<QString>("proposed");
        QTest::addColumn<QString>("accepted");
        QTest::newRow("http") << "http://www.example.org"
                              << "http://www.example.org/";
        // The slash goes after the whole address, query included.
        QTest::newRow("https with query") << "https://www.example.org?q=1"
                                          << "https://www.example.org?q=1/";
        QTest::newRow("path kept") << "http://www.example.org/a"
                                   << "http://www.example.org/a";
        QTest::newRow("other scheme") << "ftp://ftp.example.org"
                                      << "ftp://ftp.example.org";
    }

    void webURLWithEmptyPathGetsSlash()
    {
        QFETCH(QString, proposed);
        QFETCH(QString, accepted);
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("x"), QUrl());
        QUrl value = NVWebBookmarkFile::URLWithString(proposed);
        QVERIFY(NVWebBookmarkEditing::validateURL(&value));
        QCOMPARE(NVWebBookmarkFile::absoluteString(value), accepted);
    }

    // Setters, undo, copies, notifications.

    void settersRegisterUndo()
    {
        QUndoStack stack;
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("First"), url("http://one.example/"));
        bookmark->setUndoManager(&stack);
        bookmark->setName(QStringLiteral("Second\nName"));
        bookmark->setURL(url("http://two.example/"));
        QCOMPARE(stack.count(), 2);
        QCOMPARE(bookmark->name(), QStringLiteral("Second Name"));

        stack.undo();
        QCOMPARE(bookmark->URL(), url("http://one.example/"));
        stack.undo();
        QCOMPARE(bookmark->name(), QStringLiteral("First"));
        stack.redo();
        QCOMPARE(bookmark->name(), QStringLiteral("Second Name"));
        QCOMPARE(stack.count(), 2);
    }

    void settingSameValueRegistersNothing()
    {
        QUndoStack stack;
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Same"), url("http://one.example/"));
        bookmark->setUndoManager(&stack);
        bookmark->setName(QStringLiteral("Same"));
        bookmark->setURL(url("http://one.example/"));
        QCOMPARE(stack.count(), 0);
        // A missing value never counts as the same.
        bookmark->setName(QString());
        bookmark->setName(QString());
        QCOMPARE(stack.count(), 2);
    }

    void undoOutlivingBookmarkDoesNothing()
    {
        QUndoStack stack;
        {
            const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QStringLiteral("A"), QUrl());
            bookmark->setUndoManager(&stack);
            bookmark->setName(QStringLiteral("B"));
        }
        stack.undo();
        QCOMPARE(stack.index(), 0);
    }

    void copyTakesStoredValuesOnly()
    {
        QUndoStack stack;
        const auto original = NVWebBookmarkFile::bookmarkWithName(QString(), url("http://host.example/x"));
        original->setUndoManager(&stack);
        original->setFileURL(QUrl::fromLocalFile(QStringLiteral("/tmp/x.webloc")));
        const auto copy = original->copy();
        QVERIFY(copy != original);
        QCOMPARE(copy->URL(), original->URL());
        QCOMPARE(copy->name(), QStringLiteral("host.example"));
        QVERIFY(copy->undoManager() == nullptr);
        QVERIFY(copy->fileURL().isEmpty());
        copy->setURL(QUrl());
        QVERIFY(copy->name().isNull()); // the host was not stored as a name
        QCOMPARE(original->URL(), url("http://host.example/x"));
    }

    void urlChangeNotifiesDependents()
    {
        QCOMPARE(NVWebBookmarkEditing::keyPathsForValuesAffectingIconImage(), QSet<QString> {QStringLiteral("URL")});
        QCOMPARE(NVWebBookmarkFile::keyPathsForValuesAffectingCanPreviewBookmark(),
                 QSet<QString> {QStringLiteral("URL")});
        NVWebBookmarkFile bookmark;
        QSignalSpy urlSpy(&bookmark, &NVWebBookmarkFile::URLChanged);
        QSignalSpy iconSpy(&bookmark, &NVWebBookmarkFile::iconImageChanged);
        QSignalSpy previewSpy(&bookmark, &NVWebBookmarkFile::canPreviewBookmarkChanged);
        QSignalSpy nameSpy(&bookmark, &NVWebBookmarkFile::nameChanged);
        bookmark.setURL(url("http://example.org/"));
        QCOMPARE(urlSpy.count(), 1);
        QCOMPARE(iconSpy.count(), 1);
        QCOMPARE(previewSpy.count(), 1);
        QCOMPARE(nameSpy.count(), 1); // the host now stands in for the name
        bookmark.setName(QStringLiteral("Named"));
        QCOMPARE(iconSpy.count(), 1);
        QCOMPARE(nameSpy.count(), 2);
    }

    void urlParsingIsStrict_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::newRow("web") << "http://www.example.org/a?b=c#d" << true;
        QTest::newRow("relative") << "ht" << true;
        QTest::newRow("mail") << "mailto:a@example.org" << true;
        QTest::newRow("blank") << "http://example.org/a b" << false;
        QTest::newRow("angle brackets") << "<http://example.org/>" << false;
        QTest::newRow("bad percent") << "http://example.org/%zz" << false;
        QTest::newRow("bad host") << "http://[bad-host/" << false;
        QTest::newRow("non-ASCII") << QString::fromUtf8("http://example.org/\xc3\xa9") << false;
        QTest::newRow("empty") << "" << false;
    }

    void urlParsingIsStrict()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QCOMPARE(!NVWebBookmarkFile::URLWithString(text).isEmpty(), valid);
    }

    // Locations from another application: what the strict reading refuses is made a URL the
    // way a browser makes one, and written in its encoded ASCII form.

    void locationBecomesEncodedURL_data()
    {
        QTest::addColumn<QString>("location");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("extension");
        QTest::newRow("international host") << QString::fromUtf8("http://b\xc3\xbc"
                                                                 "cher.example/")
                                            << "http://xn--bcher-kva.example/"
                                            << "webloc";
        QTest::newRow("blank in path") << "http://example.com/a b"
                                       << "http://example.com/a%20b"
                                       << "webloc";
        QTest::newRow("non-ASCII path") << QString::fromUtf8("https://example.com/caf\xc3\xa9")
                                        << "https://example.com/caf%C3%A9"
                                        << "webloc";
        QTest::newRow("data") << "data:text/plain,hello world"
                              << "data:text/plain,hello%20world"
                              << "inetloc";
        QTest::newRow("surrounding blanks") << "  http://example.com/x \n"
                                            << "http://example.com/x"
                                            << "webloc";
        QTest::newRow("braces and bars") << "http://example.com/{a}|b"
                                         << "http://example.com/%7Ba%7D%7Cb"
                                         << "webloc";
        QTest::newRow("second hash") << "http://example.com/a#b#c"
                                     << "http://example.com/a#b%23c"
                                     << "webloc";
        QTest::newRow("lone percent") << "ftp://example.com/100%"
                                      << "ftp://example.com/100%25"
                                      << "ftploc";
        QTest::newRow("mail") << QString::fromUtf8("mailto:j\xc3\xb6rg@example.com") << "mailto:j%C3%B6rg@example.com"
                              << "mailloc";
    }

    void locationBecomesEncodedURL()
    {
        QFETCH(QString, location);
        QFETCH(QString, written);
        QFETCH(QString, extension);
        const QUrl address = NVWebBookmarkFile::URLWithLocation(location);
        QVERIFY(address.isValid());
        QCOMPARE(NVWebBookmarkFile::absoluteString(address), written);
        QCOMPARE(address.toString(QUrl::FullyEncoded), written);
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(QString(), address);
        QCOMPARE(writtenPlist(*bookmark).value(QLatin1String(NVWebBookmarkFile::URLKey)).toString(), written);
        QVERIFY2(bookmark->suggestedFilename().endsWith(QLatin1Char('.') + extension),
                 qPrintable(bookmark->suggestedFilename()));

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("location.") + extension);
        OVError error;
        QVERIFY2(bookmark->writeToFileAtURL(QUrl::fromLocalFile(path), &error), qPrintable(error.localizedDescription));
        QCOMPARE(readFile(path)->URL(), address);
    }

    void strictLocationIsTheStrictURL_data()
    {
        QTest::addColumn<QString>("location");
        QTest::newRow("web") << "http://www.example.org/a?b=c#d";
        QTest::newRow("encoded") << "https://example.com/caf%C3%A9";
        QTest::newRow("relative") << "ht";
        QTest::newRow("mail") << "mailto:a@example.org";
    }

    void strictLocationIsTheStrictURL()
    {
        QFETCH(QString, location);
        const QUrl strict = NVWebBookmarkFile::URLWithString(location);
        QVERIFY(!strict.isEmpty());
        QCOMPARE(NVWebBookmarkFile::URLWithLocation(location), strict);
        QCOMPARE(NVWebBookmarkFile::absoluteString(NVWebBookmarkFile::URLWithLocation(location)),
                 NVWebBookmarkFile::absoluteString(strict));
    }

    void textThatIsNoURLGivesNoAddress_data()
    {
        QTest::addColumn<QString>("location");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << "   ";
        QTest::newRow("words") << "not a url at all";
        QTest::newRow("path without scheme") << "example.com/a b";
        QTest::newRow("colon first") << ":foo bar";
        QTest::newRow("scheme with blank") << "ht tp://example.com/";
        QTest::newRow("blank in host") << "http://exa mple.com";
        QTest::newRow("bad IPv6 host") << "http://[bad host]/";
    }

    void textThatIsNoURLGivesNoAddress()
    {
        QFETCH(QString, location);
        QVERIFY(NVWebBookmarkFile::URLWithLocation(location).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestWebBookmarkFile)
#include "TestWebBookmarkFile.moc"
