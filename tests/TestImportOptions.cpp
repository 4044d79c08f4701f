// The export options: the table of seven kinds and their keys, the selection, and the
// description the confirmation line prints.
#include "engine/KSImportOptions.h"

#include <QtTest>

class TestImportOptions : public QObject
{
    Q_OBJECT

private slots:
    void sevenKeysInTheirOrder()
    {
        QCOMPARE(KSImportOptions::allKeys(),
                 (QStringList {QStringLiteral("notes"), QStringLiteral("bookmarks"), QStringLiteral("serialNumbers"),
                               QStringLiteral("passwords"), QStringLiteral("images"), QStringLiteral("PDFs"),
                               QStringLiteral("webArchives")}));
        const auto &kinds = KSImportOptions::allKinds();
        for (int index = 0; index < KSImportOptions::kindCount; ++index)
            QCOMPARE(KSImportOptions::keyOf(kinds[size_t(index)]), KSImportOptions::allKeys().at(index));
    }

    void keysAreMatchedExactly()
    {
        QCOMPARE(KSImportOptions::kindForKey(QStringLiteral("PDFs")), std::optional(KSImportKind::PDFs));
        QCOMPARE(KSImportOptions::kindForKey(QStringLiteral("webArchives")), std::optional(KSImportKind::WebArchives));
        QVERIFY(!KSImportOptions::kindForKey(QStringLiteral("pdfs")));
        QVERIFY(!KSImportOptions::kindForKey(QStringLiteral(" notes")));
        QVERIFY(!KSImportOptions::kindForKey(QString()));
    }

    void everyKindIsOnByDefault()
    {
        const KSImportOptions options;
        for (const KSImportKind kind : KSImportOptions::allKinds())
            QVERIFY(options.contains(kind));
        QVERIFY(!options.isEmpty());
    }

    void noneSelectsNothingAndSetSelectsOne()
    {
        KSImportOptions options = KSImportOptions::none();
        QVERIFY(options.isEmpty());
        options.set(KSImportKind::Images, true);
        QVERIFY(options.contains(KSImportKind::Images));
        QVERIFY(!options.contains(KSImportKind::Notes));
        QVERIFY(!options.isEmpty());
        options.set(KSImportKind::Images, false);
        QVERIFY(options.isEmpty());
        QVERIFY(options == KSImportOptions::none());
        QVERIFY(options != KSImportOptions());
    }

    void selectedKeysReadBackAsTheSameOptions()
    {
        KSImportOptions options = KSImportOptions::none();
        options.set(KSImportKind::WebArchives, true);
        options.set(KSImportKind::Notes, true);
        QCOMPARE(options.selectedKeys(), (QStringList {QStringLiteral("notes"), QStringLiteral("webArchives")}));
        QCOMPARE(KSImportOptions::fromKeys(options.selectedKeys()), std::optional<KSImportOptions>(options));
        QCOMPARE(KSImportOptions().selectedKeys(), KSImportOptions::allKeys());
        QCOMPARE(KSImportOptions::fromKeys({}), std::optional<KSImportOptions>(KSImportOptions::none()));
        QVERIFY(!KSImportOptions::fromKeys({QStringLiteral("notes"), QStringLiteral("Notes")}));
    }

    void descriptionListsTheKeysAsADictionaryPrintsThem()
    {
        KSImportOptions options;
        options.set(KSImportKind::Notes, false);
        options.set(KSImportKind::Images, false);
        QCOMPARE(options.description(),
                 QStringLiteral("{\n    PDFs = 1;\n    bookmarks = 1;\n    images = 0;\n    notes = 0;\n"
                                "    passwords = 1;\n    serialNumbers = 1;\n    webArchives = 1;\n}"));
    }
};

QTEST_GUILESS_MAIN(TestImportOptions)
#include "TestImportOptions.moc"
