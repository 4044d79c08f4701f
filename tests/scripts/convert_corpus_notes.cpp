// Turns files into note packages exactly as the note stage does, for check_corpus_notes.py.
// Reads one request a line from standard input, "SOURCE<TAB>NOTE PATH", converts SOURCE (a
// rich-text file or an RTFD package) into the note package NOTE PATH, and answers one line
// per request, "OUTCOME<TAB>REASON", flushed at once, so that the caller knows which input
// was being read if this program crashes or hangs.
#include "KSImportOperationInspector.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <cstdio>
#include <iostream>
#include <string>

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    auto operation = KSImportOperationInspector::make();

    std::string line;
    while (std::getline(std::cin, line)) {
        const QString request = QString::fromStdString(line);
        const qsizetype tab = request.indexOf(QLatin1Char('\t'));
        if (tab <= 0) {
            std::printf("badRequest\t%s\n", line.c_str());
            std::fflush(stdout);
            continue;
        }
        const QString source = request.left(tab);
        const QString notePath = request.mid(tab + 1);
        const auto result = KSImportOperationInspector::convertFileToNote(*operation, source, notePath,
                                                                          QFileInfo(source).completeBaseName());
        QString reason = result.reason;
        reason.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\t'), QLatin1Char(' '));
        std::printf("%s\t%s\n", qPrintable(result.outcome), reason.toUtf8().constData());
        std::fflush(stdout);
    }
    return 0;
}
