// The engine and the source stand-in both model the source's library and name their types
// alike (KastrelItemKind, KastrelFolderCollection, ...). The stand-in's live in the Standin
// namespace, so that a program linking both, as the sample library's test does, holds two
// distinct sets of types instead of two different definitions of one name. This test
// includes both in one translation unit and uses them side by side.
#include "engine/KastrelElements.h"
#include "standins/kastrel/KastrelLibrary.h"

#include <QtTest>
#include <type_traits>

static_assert(!std::is_same_v<KastrelItemKind, Standin::KastrelItemKind>);
static_assert(!std::is_same_v<KastrelFolderCollection, Standin::KastrelFolderCollection>);
static_assert(!std::is_same_v<KastrelTagCollection, Standin::KastrelTagCollection>);
static_assert(!std::is_same_v<KastrelLabel, Standin::KastrelLabel>);

class TestStandinNamespace : public QObject
{
    Q_OBJECT

private slots:
    void theEngineAndTheStandinHaveTypesOfTheirOwn()
    {
        QVERIFY(!(std::is_same_v<KastrelItemKind, Standin::KastrelItemKind>));
        QVERIFY(!(std::is_same_v<KastrelFolderCollection, Standin::KastrelFolderCollection>));
        QVERIFY(!(std::is_same_v<KastrelTagCollection, Standin::KastrelTagCollection>));
        QVERIFY(!(std::is_same_v<KastrelLabel, Standin::KastrelLabel>));
    }

    // Every kind the stand-in serves is listed by the element the engine asks for that kind.
    void everyStandinKindHasTheEnginesElement()
    {
        const QList<KastrelItemKind> engineKinds {
            KastrelItemKind::Note,       KastrelItemKind::Bookmark, KastrelItemKind::SerialNumber,
            KastrelItemKind::Password,   KastrelItemKind::Image,    KastrelItemKind::PDFArchive,
            KastrelItemKind::WebArchive,
        };
        QCOMPARE(engineKinds.size(), qsizetype(Standin::KastrelItemKindCount));
        for (int index = 0; index < Standin::KastrelItemKindCount; ++index) {
            const auto standinKind = static_cast<Standin::KastrelItemKind>(index);
            const QString element = Standin::KastrelLibrary::kindName(standinKind) + QStringLiteral("Items");
            int matches = 0;
            for (const KastrelItemKind engineKind : engineKinds)
                matches += KastrelElementNameForItemKind(engineKind) == element ? 1 : 0;
            QVERIFY2(matches == 1, qPrintable(element));
        }
    }

    void bothCollectionsInOneScope()
    {
        const QByteArray manifest = R"({
            "labels": [{"id": "L1", "name": "Urgent", "color": "rgb 1 0 0 1"}],
            "items": [{"kind": "note", "id": "N1", "name": "First", "label": "L1", "tags": ["red"]}],
            "folderCollections": [{"id": "F1", "name": "Inbox", "items": ["N1"]}],
            "tagCollections": [{"id": "T1", "name": "Colours", "behavior": "TgAl", "tags": ["red"]}]
        })";
        Standin::KastrelLibrary library;
        QString error;
        QVERIFY2(library.load(manifest, QDir::tempPath(), &error), qPrintable(error));
        QCOMPARE(library.folderCollections().size(), 1);
        const Standin::KastrelFolderCollection &standinFolder = library.folderCollections().first();
        const Standin::KastrelTagCollection &standinTags = library.tagCollections().first();
        const Standin::KastrelLabel &standinLabel = library.labels().first();
        QCOMPARE(standinFolder.name, QStringLiteral("Inbox"));
        QCOMPARE(standinTags.behavior, Standin::KastrelLibrary::fourCharCode(QStringLiteral("TgAl")));
        QCOMPARE(standinLabel.name, QStringLiteral("Urgent"));
        QCOMPARE(library.items().first().kind, Standin::KastrelItemKind::Note);

        // The engine's objects of the same names refer to nothing until a connection hands
        // them out.
        const KastrelFolderCollection engineFolder;
        const KastrelTagCollection engineTags;
        const KastrelLabel engineLabel;
        QVERIFY(engineFolder.isNull());
        QVERIFY(engineTags.isNull());
        QVERIFY(engineLabel.isNull());
        QCOMPARE(KastrelDatabaseItem().kind(), KastrelItemKind::Unspecified);
    }
};

QTEST_GUILESS_MAIN(TestStandinNamespace)
#include "TestStandinNamespace.moc"
