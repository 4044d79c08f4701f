// kastrel-conversion-benchmark: the note conversion of the export on its own, without the
// bus or the disk: typical notes generated in memory are read into a QTextDocument and
// written back as package bytes, and the time of each half is printed. Instruction counts
// (valgrind --tool=callgrind) are the steadier measure on a busy machine.
//
//   kastrel-conversion-benchmark [--notes N] [--seed S] [--dump DIR] [FILE_OR_PACKAGE ...]
//
// Given files or packages, it converts those instead of generated notes. With --dump every
// resulting package is written to DIR/<number>-<name>, so the output of two builds can be
// compared byte for byte.
#include "NoteText.h"
#include "formats/RTFDPackage.h"
#include "formats/RichTextReader.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTextDocument>
#include <QTextStream>

namespace {

QTextStream out(stdout);
QTextStream err(stderr);

struct Source
{
    QString name;
    QString path; // a file or package on disk, or empty for generated text
    QByteArray text;
};

struct Totals
{
    qint64 inputBytes = 0;
    qint64 outputBytes = 0;
    qint64 readNanoseconds = 0;
    qint64 writeNanoseconds = 0;
    int failures = 0;
};

bool read(const Source &source, RichTextReader *reader, QTextDocument *document)
{
    if (source.path.isEmpty())
        return reader->readData(source.text, document, source.name);
    return reader->read(source.path, document);
}

void convert(const Source &source, const QString &dumpFolder, Totals *totals)
{
    QElapsedTimer clock;
    clock.start();
    QTextDocument document;
    RichTextReader reader;
    if (!read(source, &reader, &document)) {
        err << source.name << ": " << reader.errorString() << Qt::endl;
        ++totals->failures;
        return;
    }
    totals->readNanoseconds += clock.nsecsElapsed();
    clock.restart();
    RTFDPackage package;
    if (!package.fromDocument(&document, reader.documentAttributes())) {
        err << source.name << ": " << package.errorString() << Qt::endl;
        ++totals->failures;
        return;
    }
    totals->writeNanoseconds += clock.nsecsElapsed();
    for (const QString &member : package.fileNames())
        totals->outputBytes += package.file(member).size();
    if (!dumpFolder.isEmpty() && !package.writeToDirectory(QDir(dumpFolder).filePath(source.name))) {
        err << source.name << ": " << package.errorString() << Qt::endl;
        ++totals->failures;
    }
}

qint64 inputSize(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isDir())
        return info.size();
    qint64 size = 0;
    for (const QFileInfo &member : QDir(path).entryInfoList(QDir::Files))
        size += member.size();
    return size;
}

} // namespace

int main(int argc, char *argv[])
{
    // The export runs in a GUI application; without a display the offscreen platform does.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);

    int notes = 500;
    quint32 seed = 1;
    QString dumpFolder;
    QStringList paths;
    while (!arguments.isEmpty()) {
        const QString argument = arguments.takeFirst();
        const bool hasValue = !arguments.isEmpty();
        if (argument == QLatin1String("--notes") && hasValue) {
            notes = qMax(1, arguments.takeFirst().toInt());
        } else if (argument == QLatin1String("--seed") && hasValue) {
            seed = arguments.takeFirst().toUInt();
        } else if (argument == QLatin1String("--dump") && hasValue) {
            dumpFolder = arguments.takeFirst();
        } else if (argument.startsWith(QLatin1String("--"))) {
            err << "usage: kastrel-conversion-benchmark [--notes N] [--seed S] [--dump DIR] [FILE_OR_PACKAGE ...]"
                << Qt::endl;
            return 2;
        } else {
            paths.append(argument);
        }
    }
    if (!dumpFolder.isEmpty() && !QDir().mkpath(dumpFolder)) {
        err << "Cannot make " << dumpFolder << Qt::endl;
        return 1;
    }

    QList<Source> sources;
    Totals totals;
    if (paths.isEmpty()) {
        QRandomGenerator random(seed);
        for (int i = 0; i < notes; ++i) {
            const QByteArray text = NoteText::rtf(random, NoteText::between(random, 2000, 20000));
            totals.inputBytes += text.size();
            sources.append({QStringLiteral("%1-note.rtfd").arg(i, 5, 10, QLatin1Char('0')), QString(), text});
        }
    } else {
        for (int i = 0; i < paths.size(); ++i) {
            const QFileInfo info(paths.at(i));
            totals.inputBytes += inputSize(paths.at(i));
            sources.append({QStringLiteral("%1-%2").arg(i, 5, 10, QLatin1Char('0')).arg(info.fileName()),
                            info.absoluteFilePath(),
                            {}});
        }
    }

    for (const Source &source : std::as_const(sources))
        convert(source, dumpFolder, &totals);

    const qint64 count = sources.size();
    const double seconds = double(totals.readNanoseconds + totals.writeNanoseconds) / 1e9;
    out << "notes:           " << count << " (" << totals.inputBytes / 1024 << " KB in, " << totals.outputBytes / 1024
        << " KB out)\n";
    out << "reading:         " << QString::number(totals.readNanoseconds / 1e6, 'f', 1) << " ms\n";
    out << "writing:         " << QString::number(totals.writeNanoseconds / 1e6, 'f', 1) << " ms\n";
    out << "total:           " << QString::number(seconds * 1e3, 'f', 1) << " ms\n";
    out << "notes per second: " << QString::number(seconds > 0 ? count / seconds : 0.0, 'f', 0) << "\n";
    out.flush();
    return totals.failures == 0 ? 0 : 1;
}
