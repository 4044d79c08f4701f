// Bookmarks on the clipboard: what is taken for a bookmark, what is read, what is written.
#include "documents/NVBookmarkPasteboard.h"
#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

#include <QMimeData>
#include <QtTest>

using namespace NVBookmarkPasteboard;

namespace {

QUrl url(const char *text)
{
    return NVWebBookmarkFile::URLWithString(QString::fromUtf8(text));
}

void setPlist(QMimeData &mime, const char *type, const OVPlist &plist)
{
    mime.setData(QLatin1String(type),
                 OVPlistSerialization::dataWithPropertyList(plist, OVPlistSerialization::Format::Xml));
}

OVPlist plist(const QMimeData &mime, const char *type)
{
    return OVPlistSerialization::propertyListWithData(mime.data(QLatin1String(type)));
}

OVPlist webURLs(const QStringList &addresses, const OVPlist &titles)
{
    OVPlist list = OVPlist::array();
    list.append(OVPlist(addresses));
    list.append(titles);
    return list;
}

OVPlist dictionaryBookmark(const QString &label, const OVPlist &address)
{
    OVPlist dictionary = OVPlist::dictionary();
    dictionary.insert(QLatin1String(dictionaryLabelKey), label);
    dictionary.insert(QLatin1String(dictionaryAddressKey), address);
    OVPlist list = OVPlist::array();
    list.append(dictionary);
    return list;
}

} // namespace

class TestBookmarkPasteboard : public QObject
{
    Q_OBJECT

private slots:
    void typesInWritingOrder()
    {
        const QStringList expected {"WebURLsWithTitlesPboardType", "OWDictionaryBookmarkPasteboardType",
                                    "text/uri-list", "text/plain"};
        QCOMPARE(NVBookmarkPasteboard::bookmarksPasteboardTypes(), expected);
    }

    // Deciding.

    void mailMessageWithURLIsRefused_data()
    {
        QTest::addColumn<QString>("type");
        QTest::newRow("mail message") << mailMessageType;
        QTest::newRow("legacy mail message") << legacyMailMessageType;
        QTest::newRow("item link") << itemLinkType;
    }

    void mailMessageWithURLIsRefused()
    {
        QFETCH(QString, type);
        QMimeData mime;
        mime.setUrls({url("http://www.example.org/")});
        mime.setText(QStringLiteral("http://www.example.org/"));
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&mime));
        mime.setData(type, "message");
        QVERIFY(!NVBookmarkPasteboard::canInitWithPasteboard(&mime));
    }

    void messageSchemesAreRefused_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("message") << "message:%3C1234@mail.example.org%3E";
        QTest::newRow("postbox") << "x-postbox-message:abc";
    }

    void messageSchemesAreRefused()
    {
        QFETCH(QString, address);
        QMimeData mime;
        mime.setUrls({NVWebBookmarkFile::URLWithString(address)});
        QVERIFY(!NVBookmarkPasteboard::canInitWithPasteboard(&mime));
    }

    void urlTypesAreAccepted()
    {
        QMimeData uris;
        uris.setUrls({url("ftp://ftp.example.org/")});
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&uris));
        QMimeData web;
        setPlist(web, webURLsWithTitlesType, webURLs({"http://a.example/"}, OVPlist(QStringList {"A"})));
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&web));
    }

    void dictionaryBookmarksNeedAnAddress_data()
    {
        QTest::addColumn<OVPlist>("list");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("address") << dictionaryBookmark("A", "http://a.example/") << true;
        QTest::newRow("empty address") << dictionaryBookmark("A", "") << false;
        QTest::newRow("number address") << dictionaryBookmark("A", 7) << false;
        QTest::newRow("empty list") << OVPlist::array() << false;
        QTest::newRow("not a list") << OVPlist("text") << false;
    }

    void dictionaryBookmarksNeedAnAddress()
    {
        QFETCH(OVPlist, list);
        QFETCH(bool, accepted);
        QMimeData mime;
        setPlist(mime, dictionaryBookmarkType, list);
        // Decided by the dictionary list alone, even when text follows.
        mime.setText(QStringLiteral("http://www.example.org/"));
        QCOMPARE(NVBookmarkPasteboard::canInitWithPasteboard(&mime), accepted);
    }

    void textMustLookLikeAnAddress_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("web address") << "http://www.example.org/" << true;
        QTest::newRow("mail address") << "someone@example.org" << true;
        QTest::newRow("words joined by separator") << "two ://words" << false;
        QTest::newRow("mail address with blank") << "some one@example.org" << false;
        QTest::newRow("plain word") << "example.org" << false;
        QTest::newRow("separator but no URL") << "http://<bad>" << false;
        QTest::newRow("empty") << "" << false;
    }

    void textMustLookLikeAnAddress()
    {
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QMimeData mime;
        mime.setText(text);
        QCOMPARE(NVBookmarkPasteboard::canInitWithPasteboard(&mime), accepted);
    }

    void emptyPasteboardIsRefused()
    {
        QMimeData mime;
        QVERIFY(!NVBookmarkPasteboard::canInitWithPasteboard(&mime));
        QVERIFY(!NVBookmarkPasteboard::canInitWithPasteboard(nullptr));
        QVERIFY(NVBookmarkPasteboard::bookmarksWithPasteboard(&mime).isEmpty());
        QVERIFY(NVBookmarkPasteboard::bookmarksWithPasteboard(nullptr).isEmpty());
    }

    // Reading.

    void bareMailAddressBecomesMailtoWithoutName()
    {
        QMimeData mime;
        mime.setText(QStringLiteral("someone@example.org"));
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), 1);
        QCOMPARE(bookmarks.first()->URL().scheme(), QStringLiteral("mailto"));
        QCOMPARE(NVWebBookmarkFile::absoluteString(bookmarks.first()->URL()),
                 QStringLiteral("mailto:someone@example.org"));
        QVERIFY(bookmarks.first()->name().isNull());
    }

    void textAddressGetsHostAsName()
    {
        QMimeData mime;
        mime.setText(QStringLiteral("https://www.example.org/page"));
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), 1);
        QCOMPARE(bookmarks.first()->name(), QStringLiteral("www.example.org"));
        QCOMPARE(bookmarks.first()->URL(), url("https://www.example.org/page"));
    }

    void urlIsReadWithItsName()
    {
        QMimeData mime;
        mime.setUrls({url("http://www.example.org/x")});
        mime.setData(QLatin1String(URLNameType), QStringLiteral("Caf\u00e9 page").toUtf8());
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), 1);
        QCOMPARE(bookmarks.first()->name(), QStringLiteral("Caf\u00e9 page"));
        QCOMPARE(bookmarks.first()->URL(), url("http://www.example.org/x"));
    }

    void unreadableURLStillGivesOneBookmark()
    {
        QMimeData mime;
        mime.setData(QLatin1String(URLType), "http://exa mple.org/<>\r\n");
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), 1);
        QVERIFY(bookmarks.first()->URL().isEmpty());
    }

    void webURLsAreReadIndexByIndex()
    {
        QMimeData mime;
        setPlist(
            mime, webURLsWithTitlesType,
            webURLs({"http://a.example/", "http://b.example/with blank", "http://x.example/%zz", "http://c.example/"},
                    OVPlist(QStringList {"A", "B", "skipped", "C"})));
        mime.setText(QStringLiteral("http://ignored.example/"));
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), 3);
        QCOMPARE(bookmarks.at(0)->name(), QStringLiteral("A"));
        // A blank is percent-encoded rather than the entry dropped.
        QCOMPARE(NVWebBookmarkFile::absoluteString(bookmarks.at(1)->URL()),
                 QStringLiteral("http://b.example/with%20blank"));
        QCOMPARE(bookmarks.at(1)->name(), QStringLiteral("B"));
        QCOMPARE(bookmarks.at(2)->name(), QStringLiteral("C"));
    }

    void malformedWebURLsDoNotCrash_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("names");

        OVPlist fewerTitles = webURLs({"http://a.example/", "http://b.example/"}, OVPlist(QStringList {"A"}));
        QTest::newRow("fewer titles") << OVPlistSerialization::dataWithPropertyList(fewerTitles,
                                                                                    OVPlistSerialization::Format::Xml)
                                      << 2 << QStringList {"A", "b.example"};

        OVPlist wrongTypes = OVPlist::array();
        OVPlist addresses = OVPlist::array();
        addresses.append(12);
        addresses.append("http://d.example/");
        wrongTypes.append(addresses);
        OVPlist titles = OVPlist::array();
        titles.append("twelve");
        titles.append(OVPlist::dictionary());
        wrongTypes.append(titles);
        QTest::newRow("wrong entry types")
            << OVPlistSerialization::dataWithPropertyList(wrongTypes, OVPlistSerialization::Format::Xml) << 1
            << QStringList {"d.example"};

        QTest::newRow("dictionary root") << OVPlistSerialization::dataWithPropertyList(
            OVPlist::dictionary(), OVPlistSerialization::Format::Xml)
                                         << 0 << QStringList();
        QTest::newRow("only addresses") << OVPlistSerialization::dataWithPropertyList(
            OVPlist::Array {OVPlist(QStringList {"http://e.example/"})}, OVPlistSerialization::Format::Binary)
                                        << 1 << QStringList {"e.example"};
        QTest::newRow("no property list") << QByteArray("garbage\0\1\2", 10) << 0 << QStringList();
        QTest::newRow("empty") << QByteArray() << 0 << QStringList();
    }

    void malformedWebURLsDoNotCrash()
    {
        QFETCH(QByteArray, data);
        QFETCH(int, count);
        QFETCH(QStringList, names);
        QMimeData mime;
        mime.setData(QLatin1String(webURLsWithTitlesType), data);
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&mime));
        const auto bookmarks = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(bookmarks.size(), count);
        QStringList read;
        for (const auto &bookmark : bookmarks)
            read.append(bookmark->name());
        QCOMPARE(read, names);
    }

    void dictionaryBookmarksAreAcceptedButNotRead()
    {
        QMimeData mime;
        setPlist(mime, dictionaryBookmarkType, dictionaryBookmark("A", "http://a.example/"));
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&mime));
        QVERIFY(NVBookmarkPasteboard::bookmarksWithPasteboard(&mime).isEmpty());
    }

    // Writing.

    void twoBookmarksFillBothListsButOneURL()
    {
        QMimeData mime;
        const QList<NVWebBookmarkFile::Pointer> bookmarks {
            NVWebBookmarkFile::bookmarkWithName(QStringLiteral("First"), url("http://one.example/a")),
            NVWebBookmarkFile::bookmarkWithName(QString(), url("https://two.example/b")),
        };
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles(bookmarks, &mime));

        const OVPlist web = plist(mime, webURLsWithTitlesType);
        QCOMPARE(web.size(), 2);
        QCOMPARE(web.at(0).toStringList(), (QStringList {"http://one.example/a", "https://two.example/b"}));
        QCOMPARE(web.at(1).toStringList(), (QStringList {"First", "two.example"}));

        const OVPlist dictionaries = plist(mime, dictionaryBookmarkType);
        QCOMPARE(dictionaries.size(), 2);
        QCOMPARE(dictionaries.at(1).value(QStringLiteral("label")).toString(), QStringLiteral("two.example"));
        QCOMPARE(dictionaries.at(1).value(QStringLiteral("address")).toString(),
                 QStringLiteral("https://two.example/b"));
        QCOMPARE(dictionaries.at(0).keys(), (QStringList {"address", "label"}));

        QCOMPARE(mime.urls(), QList<QUrl> {url("http://one.example/a")});
        QCOMPARE(mime.text(), QStringLiteral("http://one.example/a"));
    }

    void emptyListWritesEmptyListsAndNoURL()
    {
        QMimeData mime;
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles({}, &mime));
        const OVPlist web = plist(mime, webURLsWithTitlesType);
        QCOMPARE(web.size(), 2);
        QVERIFY(web.at(0).isArray() && web.at(0).isEmpty());
        QVERIFY(web.at(1).isArray() && web.at(1).isEmpty());
        const OVPlist dictionaries = plist(mime, dictionaryBookmarkType);
        QVERIFY(dictionaries.isArray() && dictionaries.isEmpty());
        QVERIFY(!mime.hasUrls());
        QVERIFY(!mime.hasText());
    }

    void missingAddressIsWrittenAsPlaceholder()
    {
        QMimeData mime;
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles(
            {NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Nowhere"), QUrl())}, &mime));
        QCOMPARE(plist(mime, webURLsWithTitlesType).at(0).toStringList(), QStringList {placeholderURLString});
        QCOMPARE(plist(mime, dictionaryBookmarkType).at(0).value(QStringLiteral("address")).toString(),
                 QLatin1String(placeholderURLString));
        QVERIFY(!mime.hasUrls());
        QVERIFY(!mime.hasText());
    }

    void bookmarkWithoutAnyNameIsRefused()
    {
        QMimeData mime;
        mime.setText(QStringLiteral("before"));
        OVError error;
        QVERIFY(!NVBookmarkPasteboard::writeBookmarkFiles(
            {NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Fine"), url("http://a.example/")),
             NVWebBookmarkFile::bookmarkWithName(QString(), url("mailto:someone@example.org"))},
            &mime, &error));
        QCOMPARE(error.domain, QLatin1String(invalidArgumentErrorDomain));
        QCOMPARE(error.code, nameMissingError);
        QVERIFY(!error.localizedDescription.isEmpty());
        QCOMPARE(mime.formats(), QStringList {"text/plain"});
        QCOMPARE(mime.text(), QStringLiteral("before"));
    }

    void withoutAClipboardWritingStillAnswersTrue()
    {
        OVError error {QStringLiteral("untouched"), 7, QStringLiteral("untouched")};
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles(
            {NVWebBookmarkFile::bookmarkWithName(QStringLiteral("One"), url("http://one.example/"))}, nullptr, &error));
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles({}, nullptr, &error));
        QCOMPARE(error.domain, QStringLiteral("untouched"));
        QCOMPARE(error.code, qint64(7));
    }

    void withoutAClipboardABookmarkWithoutAnyNameIsStillRefused()
    {
        OVError error;
        QVERIFY(!NVBookmarkPasteboard::writeBookmarkFiles(
            {NVWebBookmarkFile::bookmarkWithName(QString(), url("mailto:someone@example.org"))}, nullptr, &error));
        QCOMPARE(error.domain, QLatin1String(invalidArgumentErrorDomain));
        QCOMPARE(error.code, nameMissingError);
        QVERIFY(!error.localizedDescription.isEmpty());
    }

    void writtenBookmarksReadBack()
    {
        QMimeData mime;
        const QList<NVWebBookmarkFile::Pointer> written {
            NVWebBookmarkFile::bookmarkWithName(QStringLiteral("One"), url("http://one.example/")),
            NVWebBookmarkFile::bookmarkWithName(QStringLiteral("Two"), url("ftp://two.example/pub")),
        };
        QVERIFY(NVBookmarkPasteboard::writeBookmarkFiles(written, &mime));
        QVERIFY(NVBookmarkPasteboard::canInitWithPasteboard(&mime));
        const auto read = NVBookmarkPasteboard::bookmarksWithPasteboard(&mime);
        QCOMPARE(read.size(), 2);
        for (int index = 0; index < 2; ++index) {
            QCOMPARE(read.at(index)->name(), written.at(index)->name());
            QCOMPARE(read.at(index)->URL(), written.at(index)->URL());
        }
    }
};

QTEST_GUILESS_MAIN(TestBookmarkPasteboard)
#include "TestBookmarkPasteboard.moc"
