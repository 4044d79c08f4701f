// The in-memory applications the engine's tests drive, read through the engine's own
// scripting classes: what they answer, what they refuse, and what they count.
#include "InMemoryScripting.h"
#include "ScriptingTestHelpers.h"
#include "engine/KSFourCharCode.h"
#include "engine/KSScriptingException.h"
#include "engine/KastrelApplication.h"
#include "engine/NortavelApplication.h"

#include <QDBusObjectPath>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

namespace {

const QString Kastrel4 = QStringLiteral("com.fendwick.kastrel4");
const QString Nortavel = QStringLiteral("com.orvantis.Nortavel3");

} // namespace

class TestInMemoryScripting : public QObject
{
    Q_OBJECT

private slots:
    void proxiesFollowInstallationAndReachability()
    {
        InMemoryScripting scripting;
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4));
        QVERIFY(scripting.absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());

        scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        QVERIFY(KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4));
        QVERIFY(!scripting.absolutePathForAppBundleWithIdentifier(Kastrel4).isEmpty());

        // Installed but neither running nor startable.
        scripting.setReachable(Kastrel4, false);
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4));
        QVERIFY(!scripting.absolutePathForAppBundleWithIdentifier(Kastrel4).isEmpty());

        // Reachable but not installed.
        scripting.setReachable(Kastrel4, true);
        scripting.setInstalled(Kastrel4, false);
        QVERIFY(KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4));
        QVERIFY(scripting.absolutePathForAppBundleWithIdentifier(Kastrel4).isNull());

        QCOMPARE(scripting.calls().count(QStringLiteral("proxy %1").arg(Kastrel4)), 4);
        QCOMPARE(scripting.calls().count(QStringLiteral("installed %1").arg(Kastrel4)), 4);
    }

    void applicationThatQuitFailsEveryCall()
    {
        InMemoryScripting scripting;
        scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        scripting.addNortavel(Nortavel, QStringLiteral("3.5"));
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const auto nortavel = NortavelApplication::applicationWithBundleIdentifier(scripting, Nortavel);
        QVERIFY(kastrel && nortavel);
        scripting.quit(Kastrel4);
        scripting.quit(Nortavel);
        QVERIFY(scriptingFailureOf([&] { kastrel->version(); }).contains(Kastrel4));
        QVERIFY(!scriptingFailureOf([&] { kastrel->noteItems().count(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { nortavel->activate(); }).isNull());
        QVERIFY(!KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4));
    }

    void versionIsAbsentEmptyOrText()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QString());
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        QVERIFY(kastrel->version().isNull());
        source.setVersion(QString(QLatin1String("")));
        QVERIFY(!kastrel->version().isNull());
        QVERIFY(kastrel->version().isEmpty());
        source.setVersion(QStringLiteral("1.5.2"));
        QCOMPARE(kastrel->version(), QStringLiteral("1.5.2"));
        QCOMPARE(kastrel->bundleIdentifier(), Kastrel4);
    }

    void readsCollectionsTagsAndLabels()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.3"));
        const QString group
            = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Work"), QStringLiteral("Office things"));
        source.addFolderCollection(QStringLiteral("G2"), QStringLiteral("Empty"));
        const QString collection = source.addTagCollection(QStringLiteral("T1"), QStringLiteral("Urgent"), QString(),
                                                           KSTagCollectionBehaviorMatchAll);
        source.addTagTo(collection, source.addTag(QStringLiteral("a")));
        source.addTagTo(collection, source.addTag(QStringLiteral("b,c")));
        source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("rgb 1 0 0 1"));
        source.addLabel(QStringLiteral("L2"), QStringLiteral("Odd"), QStringLiteral("no colour at all"));
        const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
        source.addMember(group, note);

        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const QList<KastrelFolderCollection> groups = kastrel->folderCollections().get();
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups[0].id(), QStringLiteral("G1"));
        QCOMPARE(groups[0].name(), QStringLiteral("Work"));
        QCOMPARE(groups[0].comments(), QStringLiteral("Office things"));
        QVERIFY(groups[1].comments().isNull());
        const QList<KastrelDatabaseItem> members = groups[0].databaseItems().get();
        QCOMPARE(members.size(), 1);
        QCOMPARE(members[0].id(), QStringLiteral("N1"));
        QCOMPARE(members[0].kind(), KastrelItemKind::Unspecified);
        QVERIFY(groups[1].databaseItems().get().isEmpty());

        const QList<KastrelTagCollection> collections = kastrel->tagCollections().get();
        QCOMPARE(collections.size(), 1);
        QCOMPARE(collections[0].tagCollectionBehavior(), std::optional<quint32>(0x5467416C));
        QCOMPARE(collections[0].tags().count(), 2u);
        const QList<KastrelTag> tags = collections[0].tags().get();
        QCOMPARE(tags[0].name(), QStringLiteral("a"));
        QCOMPARE(tags[1].name(), QStringLiteral("b,c"));

        const QList<KastrelLabel> labels = kastrel->labels().get();
        QCOMPARE(labels.size(), 2);
        QCOMPARE(labels[0].id(), QStringLiteral("L1"));
        QCOMPARE(labels[0].name(), QStringLiteral("Red"));
        QCOMPARE(labels[0].color(), QColor(Qt::red));
        QCOMPARE(labels[1].colorString(), QStringLiteral("no colour at all"));
        QVERIFY(!labels[1].color().isValid());
    }

    void readsItemsOfEveryKind()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        const QString label = source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("red"));
        const QString tag = source.addTag(QStringLiteral("home"));
        const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
        const QDateTime created(QDate(2009, 3, 1), QTime(10, 20, 30, 500), Qt::UTC);
        source.setProperty(note, QStringLiteral("creationDate"), created);
        source.setProperty(note, QStringLiteral("modificationDate"), 1.5);
        source.setProperty(note, QStringLiteral("comments"), QStringLiteral("see me"));
        source.setProperty(note, QStringLiteral("encrypted"), false);
        source.setLabel(note, label);
        source.addTagTo(note, tag);
        const QString password
            = source.addItem(KastrelItemKind::Password, QStringLiteral("P1"), QStringLiteral("Bank"));
        source.setProperty(password, QStringLiteral("password"), QStringLiteral("secret"));
        const QString bookmark
            = source.addItem(KastrelItemKind::Bookmark, QStringLiteral("B1"), QStringLiteral("Site"));
        source.setProperty(bookmark, QStringLiteral("location"), QStringLiteral("https://example.org/"));
        const QString image = source.addItem(KastrelItemKind::Image, QStringLiteral("I1"), QString());
        source.addItem(KastrelItemKind::SerialNumber, QStringLiteral("S1"), QStringLiteral("Key"));
        source.addItem(KastrelItemKind::PDFArchive, QStringLiteral("D1"), QStringLiteral("Paper"));
        source.addItem(KastrelItemKind::WebArchive, QStringLiteral("W1"), QStringLiteral("Page"));

        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const KastrelDatabaseItem noteItem = kastrel->noteItems().get().value(0);
        QCOMPARE(noteItem.kind(), KastrelItemKind::Note);
        QCOMPARE(noteItem.id(), QStringLiteral("N1"));
        QCOMPARE(noteItem.name(), QStringLiteral("Agenda"));
        QCOMPARE(noteItem.comments(), QStringLiteral("see me"));
        QCOMPARE(noteItem.creationDate(), created);
        QCOMPARE(noteItem.creationDate().timeSpec(), Qt::UTC);
        QCOMPARE(noteItem.modificationDate(), QDateTime::fromMSecsSinceEpoch(1500, Qt::UTC));
        QVERIFY(noteItem.respondsToEncrypted());
        QCOMPARE(noteItem.encrypted(), std::optional<bool>(false));
        QVERIFY(!noteItem.respondsToPassword());
        QCOMPARE(noteItem.label().value().id(), QStringLiteral("L1"));
        QCOMPARE(noteItem.label().value().color(), QColor(Qt::red));
        QCOMPARE(noteItem.tags().get().value(0).name(), QStringLiteral("home"));

        const KastrelDatabaseItem passwordItem = kastrel->passwordItems().get().value(0);
        QCOMPARE(passwordItem.kind(), KastrelItemKind::Password);
        QVERIFY(passwordItem.respondsToPassword());
        QVERIFY(!passwordItem.respondsToEncrypted());
        QCOMPARE(passwordItem.encrypted(), std::nullopt);

        const KastrelDatabaseItem bookmarkItem = kastrel->bookmarkItems().get().value(0);
        QCOMPARE(bookmarkItem.location(), QStringLiteral("https://example.org/"));

        // An item with nothing but an id: everything else is absent, not empty.
        const KastrelDatabaseItem imageItem = kastrel->imageItems().get().value(0);
        QCOMPARE(imageItem.objectPath(), image);
        QVERIFY(imageItem.name().isNull());
        QVERIFY(imageItem.comments().isNull());
        QVERIFY(imageItem.location().isNull());
        QVERIFY(imageItem.creationDate().isNull());
        QVERIFY(imageItem.modificationDate().isNull());
        QVERIFY(!imageItem.label());
        QVERIFY(imageItem.tags().get().isEmpty());

        QCOMPARE(kastrel->serialNumberItems().get().value(0).kind(), KastrelItemKind::SerialNumber);
        QCOMPARE(kastrel->pdfArchiveItems().get().value(0).kind(), KastrelItemKind::PDFArchive);
        QCOMPARE(kastrel->webArchiveItems().get().value(0).kind(), KastrelItemKind::WebArchive);
        QCOMPARE(kastrel->webArchiveItems().count(), 1u);
        QCOMPARE(kastrel->itemsOfKind(KastrelItemKind::Note).elementName(), QStringLiteral("noteItems"));
        QVERIFY(!scriptingFailureOf([&] { kastrel->itemsOfKind(KastrelItemKind::Unspecified); }).isNull());
    }

    void emptySourceGivesEmptyLists()
    {
        InMemoryScripting scripting;
        scripting.addKastrel(Kastrel4, QStringLiteral("1.5"));
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        QVERIFY(kastrel->folderCollections().get().isEmpty());
        QVERIFY(kastrel->tagCollections().get().isEmpty());
        QVERIFY(kastrel->labels().get().isEmpty());
        QCOMPARE(kastrel->noteItems().count(), 0u);
        QVERIFY(kastrel->noteItems().get().isEmpty());
    }

    void membersAndBehaviourDependOnMajorVersion_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("listsItems");
        QTest::addColumn<bool>("listsDatabaseItems");
        QTest::addColumn<bool>("hasBehavior");
        QTest::newRow("1.5") << QStringLiteral("1.5") << true << false << false;
        QTest::newRow("1.10") << QStringLiteral("1.10") << true << false << false;
        QTest::newRow("2.0") << QStringLiteral("2.0") << false << true << true;
        QTest::newRow("4.1.3") << QStringLiteral("4.1.3") << false << true << true;
        QTest::newRow("0.9") << QStringLiteral("0.9") << false << false << false;
        QTest::newRow("no version") << QString() << false << false << false;
    }

    void membersAndBehaviourDependOnMajorVersion()
    {
        QFETCH(QString, version);
        QFETCH(bool, listsItems);
        QFETCH(bool, listsDatabaseItems);
        QFETCH(bool, hasBehavior);
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, version);
        const QString group = source.addFolderCollection(QStringLiteral("G1"), QStringLiteral("Work"));
        source.addMember(group, source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("A")));
        source.addTagCollection(QStringLiteral("T1"), QStringLiteral("Urgent"), QString(), KSFourCharCode("TgAn"));

        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const KastrelFolderCollection collection = kastrel->folderCollections().get().value(0);
        const QString itemsFailure = scriptingFailureOf([&] { QCOMPARE(collection.items().get().size(), 1); });
        QCOMPARE(itemsFailure.isNull(), listsItems);
        const QString databaseItemsFailure
            = scriptingFailureOf([&] { QCOMPARE(collection.databaseItems().count(), 1u); });
        QCOMPARE(databaseItemsFailure.isNull(), listsDatabaseItems);
        if (!listsItems)
            QVERIFY2(itemsFailure.contains(QLatin1String("\"items\"")), qPrintable(itemsFailure));

        const KastrelTagCollection tags = kastrel->tagCollections().get().value(0);
        QCOMPARE(tags.tagCollectionBehavior().has_value(), hasBehavior);
    }

    void wrongTypesFailWithTheirNames()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        const QString item = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("A"));
        source.setProperty(item, QStringLiteral("name"), 42);
        source.setProperty(item, QStringLiteral("creationDate"), QStringLiteral("yesterday"));
        source.setProperty(item, QStringLiteral("modificationDate"), qInf());
        source.setProperty(item, QStringLiteral("encrypted"), 1);
        source.setProperty(item, QStringLiteral("label"), QStringLiteral("/label/1"));
        const QString collection = source.addTagCollection(QStringLiteral("T1"), QStringLiteral("T"));
        source.setProperty(collection, QStringLiteral("tagCollectionBehavior"), QStringLiteral("TgAl"));
        source.setProperty(QStringLiteral("/"), QStringLiteral("version"), 2);

        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const KastrelDatabaseItem note(kastrel->scripting(), item, KastrelItemKind::Note);
        const QString nameFailure = scriptingFailureOf([&] { note.name(); });
        QVERIFY2(nameFailure.contains(QLatin1String("\"name\"")) && nameFailure.contains(item)
                     && nameFailure.contains(Kastrel4) && nameFailure.contains(QLatin1String("an integer")),
                 qPrintable(nameFailure));
        QVERIFY(scriptingFailureOf([&] { note.creationDate(); }).contains(QLatin1String("creationDate")));
        QVERIFY(scriptingFailureOf([&] { note.modificationDate(); }).contains(QLatin1String("modificationDate")));
        QVERIFY(scriptingFailureOf([&] { note.encrypted(); }).contains(QLatin1String("encrypted")));
        QVERIFY(note.respondsToEncrypted());
        QVERIFY(scriptingFailureOf([&] { note.label(); }).contains(QLatin1String("label")));
        QVERIFY(scriptingFailureOf([&] { kastrel->version(); }).contains(QLatin1String("version")));
        const KastrelTagCollection tags(kastrel->scripting(), collection);
        QVERIFY(
            scriptingFailureOf([&] { tags.tagCollectionBehavior(); }).contains(QLatin1String("tagCollectionBehavior")));
    }

    void vanishedObjectsFail()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        const QString first = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("A"));
        const QString second = source.addItem(KastrelItemKind::Note, QStringLiteral("N2"), QStringLiteral("B"));
        const QString label = source.addLabel(QStringLiteral("L1"), QStringLiteral("Red"), QStringLiteral("red"));
        source.setLabel(first, label);
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const QList<KastrelDatabaseItem> notes = kastrel->noteItems().get();
        QCOMPARE(notes.size(), 2);

        // The second item goes away between the listing and the reading of its name.
        scripting.setCallHook([&](const QString &call) {
            if (call == QStringLiteral("property %1 name").arg(second))
                source.removeObject(second);
        });
        QCOMPARE(notes[0].name(), QStringLiteral("A"));
        const QString failure = scriptingFailureOf([&] { notes[1].name(); });
        QVERIFY2(failure.contains(second), qPrintable(failure));

        // A label that vanished fails when it is read, not when it is resolved.
        source.removeObject(label);
        const std::optional<KastrelLabel> resolved = notes[0].label();
        QVERIFY(resolved);
        QVERIFY(!scriptingFailureOf([&] { resolved->id(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { kastrel->exportTo({notes[1]}, QDir::tempPath()); }).isNull());
    }

    void exportWritesTheFileOrAnswersNothing()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
        source.setExportFile(note, QStringLiteral("Agenda.rtf"), QByteArrayLiteral("{\\rtf1 hi}"));
        const QString image = source.addItem(KastrelItemKind::Image, QStringLiteral("I1"), QStringLiteral("Sky"));
        const QString broken = source.addItem(KastrelItemKind::Image, QStringLiteral("I2"), QStringLiteral("Bad"));
        source.setExportFails(broken);
        QTemporaryDir folder;
        QVERIFY(folder.isValid());

        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        const KastrelDatabaseItem noteItem = kastrel->noteItems().get().value(0);
        const QString written = kastrel->exportTo({noteItem}, folder.path());
        QCOMPARE(written, QDir(folder.path()).absoluteFilePath(QStringLiteral("Agenda.rtf")));
        QFile file(written);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArrayLiteral("{\\rtf1 hi}"));

        const QList<KastrelDatabaseItem> images = kastrel->imageItems().get();
        QCOMPARE(kastrel->exportTo({images[0]}, folder.path()), folder.filePath(QStringLiteral("Sky")));
        QVERIFY(kastrel->exportTo({images[1]}, folder.path()).isNull());
        QCOMPARE(scripting.exportCount(), 3);
        QCOMPARE(scripting.exportedItems(), (QStringList {note, image, broken}));

        QVERIFY(!scriptingFailureOf([&] { kastrel->exportTo(images, folder.path()); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { kastrel->exportTo({}, folder.path()); }).isNull());
        QVERIFY(!scriptingFailureOf([&] {
                     kastrel->exportTo({images[0]}, folder.filePath(QStringLiteral("missing")));
                 }).isNull());
    }

    void countsWhatWasAsked()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("1.6"));
        const QString collection = source.addTagCollection(QStringLiteral("T1"), QStringLiteral("Urgent"));
        source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("A"));
        const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
        scripting.clearCalls();

        kastrel->version();
        kastrel->noteItems().count();
        const KastrelDatabaseItem note = kastrel->noteItems().get().value(0);
        note.id();
        note.id();
        kastrel->tagCollections().get().value(0).id();

        QCOMPARE(scripting.calls(),
                 (QStringList {
                     QStringLiteral("property / version"),
                     QStringLiteral("count / noteItems"),
                     QStringLiteral("elements / noteItems"),
                     QStringLiteral("property %1 id").arg(note.objectPath()),
                     QStringLiteral("property %1 id").arg(note.objectPath()),
                     QStringLiteral("elements / tagCollections"),
                     QStringLiteral("property %1 id").arg(collection),
                 }));
        QCOMPARE(scripting.propertyReads(QStringLiteral("id")), 3);
        QCOMPARE(scripting.propertyReads(note.objectPath(), QStringLiteral("id")), 2);
        QCOMPARE(scripting.propertyReads(QStringLiteral("tagCollectionBehavior")), 0);
        QCOMPARE(scripting.elementCounts(QStringLiteral("noteItems")), 1);
        QCOMPARE(scripting.elementFetches(QStringLiteral("noteItems")), 1);
        QCOMPARE(scripting.elementFetches(QStringLiteral("databaseItems")), 0);
    }

    void drivesTheTarget()
    {
        InMemoryScripting scripting;
        scripting.addNortavel(Nortavel, QStringLiteral("3.5.1"));
        scripting.addNortavel(QStringLiteral("com.orvantis.Nortavel3.mac"), QString());
        const auto nortavel = NortavelApplication::applicationWithBundleIdentifier(scripting, Nortavel);
        QVERIFY(nortavel);
        QCOMPARE(nortavel->bundleIdentifier(), Nortavel);
        QCOMPARE(nortavel->version(), QStringLiteral("3.5.1"));
        nortavel->activate();
        NortavelImportOptions options;
        options.withRating = 0;
        nortavel->importFiles({QStringLiteral("/tmp/Kastrel/Kastrel.nvlibxml")}, KSNortavelImportMethodCopy, options);

        QCOMPARE(scripting.activateCount(Nortavel), 1);
        const QList<InMemoryScripting::ImportCall> imports = scripting.importCalls();
        QCOMPARE(imports.size(), 1);
        QCOMPARE(imports[0].identifier, Nortavel);
        QCOMPARE(imports[0].files, QStringList {QStringLiteral("/tmp/Kastrel/Kastrel.nvlibxml")});
        QCOMPARE(imports[0].by, 0x54666370u);
        QCOMPARE(imports[0].options, (QVariantMap {{QStringLiteral("withRating"), 0}}));
        QCOMPARE(imports[0].options.value(QStringLiteral("withRating")).metaType(), QMetaType::fromType<int>());
        QCOMPARE(scripting.calls().mid(1),
                 (QStringList {QStringLiteral("version %1").arg(Nortavel), QStringLiteral("activate %1").arg(Nortavel),
                               QStringLiteral("importFiles %1").arg(Nortavel)}));

        const auto sandboxed = NortavelApplication::applicationWithBundleIdentifier(
            scripting, QStringLiteral("com.orvantis.Nortavel3.mac"));
        QVERIFY(sandboxed->version().isNull());
    }

    void importOptionsHoldOnlyWhatIsSet()
    {
        QVERIFY(NortavelImportOptions().toVariantMap().isEmpty());
        NortavelImportOptions options;
        options.to = QStringLiteral("Inbox");
        options.withComments = QStringLiteral("c");
        options.withLabel = QStringLiteral("l");
        options.withTags = QStringLiteral("t");
        options.withRating = 3;
        QCOMPARE(options.toVariantMap(),
                 (QVariantMap {{QStringLiteral("to"), QStringLiteral("Inbox")},
                               {QStringLiteral("withRating"), 3},
                               {QStringLiteral("withComments"), QStringLiteral("c")},
                               {QStringLiteral("withLabel"), QStringLiteral("l")},
                               {QStringLiteral("withTags"), QStringLiteral("t")}}));
    }

    void sourceAndTargetAreNotInterchangeable()
    {
        InMemoryScripting scripting;
        scripting.addNortavel(Nortavel, QStringLiteral("3.5"));
        const auto wrong = KastrelApplication::applicationWithBundleIdentifier(scripting, Nortavel);
        QVERIFY(wrong);
        QVERIFY(!scriptingFailureOf([&] { wrong->version(); }).isNull());
    }

    void objectsThatReferToNothingFail()
    {
        const KastrelDatabaseItem item;
        QVERIFY(item.isNull());
        QCOMPARE(item.kind(), KastrelItemKind::Unspecified);
        QVERIFY(!scriptingFailureOf([&] { item.name(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { item.tags().count(); }).isNull());
        const KastrelApplication application;
        QVERIFY(application.isNull());
        QVERIFY(application.bundleIdentifier().isNull());
        QVERIFY(!scriptingFailureOf([&] { application.version(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { application.labels().get(); }).isNull());
        QVERIFY(!scriptingFailureOf([&] { application.exportTo({item}, QDir::tempPath()); }).isNull());
    }

    void worksFromAWorkerThread()
    {
        InMemoryScripting scripting;
        InMemoryKastrel source = scripting.addKastrel(Kastrel4, QStringLiteral("2.0"));
        for (int i = 0; i < 100; ++i)
            source.addItem(KastrelItemKind::Note, QString::number(i), QStringLiteral("Note %1").arg(i));
        QStringList names;
        std::unique_ptr<QThread> worker(QThread::create([&] {
            const auto kastrel = KastrelApplication::applicationWithBundleIdentifier(scripting, Kastrel4);
            for (const KastrelDatabaseItem &item : kastrel->noteItems().get())
                names.append(item.name());
        }));
        worker->start();
        QVERIFY(worker->wait());
        QCOMPARE(names.size(), 100);
        QCOMPARE(names.last(), QStringLiteral("Note 99"));
    }
};

QTEST_GUILESS_MAIN(TestInMemoryScripting)
#include "TestInMemoryScripting.moc"
