// The command line alone: a program built from the command-line library and nothing else, with
// every library that library's link interface names loaded whether used or not, so that
// check_without_widgets.cmake sees all it brings along.
#include "cli/CommandLine.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    return CommandLine::run(QCoreApplication::arguments().mid(1));
}
