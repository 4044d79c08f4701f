// The list of a run's items: one entry per item in the order met, problems on the entry of the
// item they belong to (found by the identifier its record was kept under, not the source's),
// the worst outcome winning with every reason kept, and the item a run stopped at.
#include "engine/KSReportItemList.h"

#include <QtTest>

using Outcome = KSReportItem::Outcome;

class TestReportItemList : public QObject
{
    Q_OBJECT

private slots:
    void entriesKeepTheOrderMet()
    {
        KSReportItemList list;
        const qsizetype first = list.add(QStringLiteral("A"), QStringLiteral("Agenda"), QStringLiteral("notes"));
        list.markRecorded(first, QStringLiteral("A"), QStringLiteral("note"), QStringLiteral("Notes/Agenda.nvnote"));
        list.finishCurrent();
        const qsizetype second = list.add(QStringLiteral("B"), QString(), QStringLiteral("images"));
        list.markPassedOver(second, QStringLiteral("ohne Namen"), QStringLiteral("it has no name"));
        list.finishCurrent();
        QCOMPARE(list.items().size(), 2);
        QCOMPARE(list.items().at(0).outcome, Outcome::Imported);
        QCOMPARE(list.items().at(0).file, QStringLiteral("Notes/Agenda.nvnote"));
        QCOMPARE(list.items().at(0).nortavelKind, QStringLiteral("note"));
        QVERIFY(list.items().at(0).englishReason.isEmpty());
        QCOMPARE(list.items().at(1).outcome, Outcome::PassedOver);
        QCOMPARE(list.items().at(1).reason, QStringLiteral("ohne Namen"));
        QCOMPARE(list.items().at(1).englishReason, QStringLiteral("it has no name"));
    }

    void theWorstOutcomeWinsAndEveryReasonIsKept()
    {
        KSReportItemList list;
        const qsizetype entry = list.add(QStringLiteral("N"), QStringLiteral("Note"), QStringLiteral("notes"));
        list.addProblem(entry, Outcome::Incomplete, QStringLiteral("a"), QStringLiteral("its date"));
        list.addProblem(entry, Outcome::OriginalFileAttached, QStringLiteral("b"), QStringLiteral("its text"));
        list.addProblem(entry, Outcome::Incomplete, QStringLiteral("c"), QStringLiteral("its label"));
        QCOMPARE(list.items().at(0).outcome, Outcome::OriginalFileAttached);
        QCOMPARE(list.items().at(0).englishReason, QStringLiteral("its date; its text; its label"));
        QCOMPARE(list.items().at(0).reason, QStringLiteral("a; b; c"));
    }

    void recordsAreFoundByTheIdentifierTheyWereKeptUnder()
    {
        KSReportItemList list;
        const qsizetype first = list.add(QStringLiteral("ID"), QStringLiteral("First"), QStringLiteral("bookmarks"));
        list.markRecorded(first, QStringLiteral("ID"), QStringLiteral("bookmark"), QStringLiteral("Bookmarks/a"));
        list.finishCurrent();
        const qsizetype second = list.add(QStringLiteral("ID"), QStringLiteral("Second"), QStringLiteral("bookmarks"));
        list.markRecorded(second, QStringLiteral("ID-2"), QStringLiteral("bookmark"), QStringLiteral("Bookmarks/b"));
        list.finishCurrent();
        QCOMPARE(list.indexOfRecord(QStringLiteral("ID")), first);
        QCOMPARE(list.indexOfRecord(QStringLiteral("ID-2")), second);
        QCOMPARE(list.indexOfRecord(QStringLiteral("ID-3")), qsizetype(-1));

        list.markRecordRemoved(list.indexOfRecord(QStringLiteral("ID-2")));
        QCOMPARE(list.items().at(first).outcome, Outcome::Imported);
        QCOMPARE(list.items().at(first).file, QStringLiteral("Bookmarks/a"));
        QCOMPARE(list.items().at(second).outcome, Outcome::NotImported);
        QVERIFY(list.items().at(second).file.isEmpty());
        QVERIFY(list.items().at(second).nortavelKind.isEmpty());
    }

    void theItemARunStoppedAtIsNotImported()
    {
        KSReportItemList list;
        list.add(QStringLiteral("A"), QStringLiteral("Done"), QStringLiteral("notes"));
        list.finishCurrent();
        // An error between items belongs to none.
        list.markCurrentStopped(QStringLiteral("x"), QStringLiteral("the disk is full"));
        QCOMPARE(list.items().at(0).outcome, Outcome::Imported);

        list.add(QStringLiteral("B"), QStringLiteral("Stopped"), QStringLiteral("notes"));
        list.markCurrentStopped(QStringLiteral("Kastrel beendet"), QStringLiteral("Kastrel quit"));
        QCOMPARE(list.items().at(1).outcome, Outcome::NotImported);
        QCOMPARE(list.items().at(1).englishReason, QStringLiteral("Kastrel quit"));
        QCOMPARE(list.items().at(1).reason, QStringLiteral("Kastrel beendet"));
        // A second error is told once, on the item it stopped.
        list.markCurrentStopped(QStringLiteral("y"), QStringLiteral("again"));
        QCOMPARE(list.items().at(1).englishReason, QStringLiteral("Kastrel quit"));
    }
};

QTEST_GUILESS_MAIN(TestReportItemList)
#include "TestReportItemList.moc"
