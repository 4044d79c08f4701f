// One item of the source library as the run's report lists it: what it was, what it became in
// the target, and what happened to it. The report file, the command line's summary and the
// window's end report all list items in this shape.
#pragma once

#include <QString>

struct KSReportItem
{
    // From "all is well" to "needs a look": the report lists the items that need attention first.
    enum class Outcome {
        Imported, // a record of the library file, with its file
        PassedOver, // left out on purpose (an item without a name)
        OriginalFileAttached, // arrived as a note holding its original file in place of its text
        Incomplete, // arrived without part of what it carries (a date, its label, its identifier)
        NotImported, // should have arrived and did not
    };

    QString identifier; // the source's identifier of the item
    QString name;
    QString optionKey; // the kind it was exported as ("notes", "bookmarks", ...)
    QString nortavelKind; // the target's kind of its record ("note", "webPage", ...); empty without one
    QString file; // the file it became, relative to the export folder; empty without one
    Outcome outcome = Outcome::Imported;
    // Why it has no file, or why it needs attention; empty for an item imported whole. The
    // person reads the localised one; the report file and other programs the English one.
    QString reason;
    QString englishReason;

    // Whether the person should look at the item: it did not arrive, or not whole.
    bool needsAttention() const
    {
        return outcome == Outcome::NotImported || outcome == Outcome::OriginalFileAttached
            || outcome == Outcome::Incomplete;
    }
    // The order of the report: not imported first, then attached files, incomplete items, items
    // passed over, and last the items imported whole.
    int attentionRank() const { return attentionRank(outcome); }
    static int attentionRank(Outcome outcome)
    {
        switch (outcome) {
        case Outcome::NotImported:
            return 0;
        case Outcome::OriginalFileAttached:
            return 1;
        case Outcome::Incomplete:
            return 2;
        case Outcome::PassedOver:
            return 3;
        case Outcome::Imported:
            break;
        }
        return 4;
    }
    // The stable name of an outcome, as the report file writes it ("imported", "passedOver",
    // "originalFileAttached", "incomplete", "notImported").
    static QString outcomeName(Outcome outcome)
    {
        switch (outcome) {
        case Outcome::Imported:
            return QStringLiteral("imported");
        case Outcome::PassedOver:
            return QStringLiteral("passedOver");
        case Outcome::OriginalFileAttached:
            return QStringLiteral("originalFileAttached");
        case Outcome::Incomplete:
            return QStringLiteral("incomplete");
        case Outcome::NotImported:
            break;
        }
        return QStringLiteral("notImported");
    }
};
