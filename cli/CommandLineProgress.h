// How the command line follows an export: it receives the engine's notifications like the
// progress sheet does, and prints them to the error channel (a bar redrawn in place on a
// terminal, one line per stage otherwise, every error as "error CODE: TEXT"). The summary and
// the exit status come from the operation itself (KSRunSummary).
#pragma once

#include "engine/KSImportOperationDelegate.h"

#include <QString>

class CommandLineProgress : public KSImportOperationDelegate
{
public:
    // `liveBar`: redraw one line with a bar, as on a terminal.
    explicit CommandLineProgress(bool liveBar);

    // The person asked to stop (Ctrl-C): says so and keeps the bar from being overwritten.
    void cancelRequested();

    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, const QString &type) override;
    void importOperationWillStartImportingRecordsOfType(KSImportOperation *operation, quint64 count,
                                                        const QString &type) override;
    void importOperationDidImportRecordOfType(KSImportOperation *operation, const QString &type) override;
    void importOperationDidEncounterError(KSImportOperation *operation, const OVError &error) override;
    void importOperationDidCancel(KSImportOperation *operation) override;
    void importOperationDidEnd(KSImportOperation *operation) override;

private:
    // Begins a new line of its own, ending the bar's line if one is showing.
    void printLine(const QString &line);
    void drawBar();
    // Writes the count of a counted stage once it is over (plain output only).
    void finishCountedStage();

    bool m_liveBar;
    bool m_barShowing = false;
    bool m_inCountedStage = false;
    double m_maximum = 0.0;
    double m_value = 0.0;
};
