// Entry point of kastrel-importer: the command line when its arguments ask for it (with no
// display needed), the export window otherwise.
#include "app/AppController.h"
#include "app/KSApplicationIcon.h"
#include "cli/CommandLine.h"
#include "foundation/AppVersion.h"
#include "foundation/KSTranslations.h"

#include <QApplication>
#include <QCoreApplication>

namespace {

QStringList argumentList(int argc, char *argv[])
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    return arguments;
}

void nameApplication()
{
    QCoreApplication::setApplicationName(KastrelImporter::applicationName());
    QCoreApplication::setApplicationVersion(KastrelImporter::applicationVersion());
}

} // namespace

int main(int argc, char *argv[])
{
    if (CommandLine::handles(argumentList(argc, argv))) {
        QCoreApplication application(argc, argv);
        nameApplication();
        KSTranslations::install();
        return CommandLine::run(QCoreApplication::arguments().mid(1));
    }

    QApplication application(argc, argv);
    nameApplication();
    KSTranslations::install();
    KSApplicationIcon::install();
    AppController controller;
    QApplication::setQuitOnLastWindowClosed(controller.applicationShouldTerminateAfterLastWindowClosed());
    controller.applicationWillFinishLaunching();
    return QApplication::exec();
}
