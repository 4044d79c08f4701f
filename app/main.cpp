// Entry point of kastrel-importer. The windows and the export command come with the
// application shell; until then the executable answers --version and --help only.
#include "app/AppVersion.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(KastrelImporter::applicationName());
    QCoreApplication::setApplicationVersion(KastrelImporter::applicationVersion());

    QTextStream out(stdout);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.contains(QLatin1String("--version"))) {
        out << QCoreApplication::applicationName() << ' ' << QCoreApplication::applicationVersion() << '\n';
        return 0;
    }
    out << "Usage: kastrel-importer [--version]\n"
           "The export window and the export command are not built yet.\n";
    return arguments.contains(QLatin1String("--help")) ? 0 : 2;
}
