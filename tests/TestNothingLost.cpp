// Nothing of a library is lost without a word: every item either arrives in Nortavel 3 (the
// target stand-in's report lists its file) or is listed by the importer with a reason. End to
// end over the session bus against both stand-ins: names too long for a file name, items with
// equal long names, notes whose exported file is no readable text, control characters, odd
// bookmark addresses, names with a line break, a disk that fills, two exports at once, Ctrl-C,
// and a library of a thousand items with one of each of these among them.
#include "FaultHarness.h"
#include "KSImportOperationInspector.h"
#include "TestConfig.h"
#include "TestSupport.h"
#include "engine/KSExportJournal.h"
#include "engine/KSImportErrors.h"
#include "formats/NVWebBookmarkFile.h"
#include "formats/NVWebBookmarkReader.h"
#include "formats/RichTextReader.h"
#include "foundation/OVPlistSerialization.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QSet>
#include <QTextDocument>
#include <QThread>
#include <QXmlStreamReader>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>

using namespace FaultHarness;

namespace {

using Problem = KSImportOperation::ItemProblem;
using ProblemKind = KSImportOperation::ItemProblemKind;

QString importerPath()
{
    return QDir(QStringLiteral(KI_BIN_DIR)).filePath(QStringLiteral("kastrel-importer"));
}

QJsonObject manifestWithItems(const QJsonArray &items, const QJsonObject &extra = {})
{
    QJsonObject manifest = extra;
    manifest.insert(QStringLiteral("items"), items);
    return manifest;
}

// Bytes with zero bytes and every other value among them, as an exported binary file holds.
QByteArray binaryBytes(int size)
{
    QByteArray bytes(size, '\0');
    for (int index = 0; index < size; ++index)
        bytes[index] = char(index % 5 == 0 ? 0 : (index * 37 + 11) % 256);
    return bytes;
}

QString json(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

QString problemText(const QList<Problem> &problems)
{
    QStringList lines;
    for (const Problem &problem : problems)
        lines.append(QStringLiteral("%1 \"%2\" [%3] kind %4: %5")
                         .arg(problem.identifier, problem.name.left(40), problem.optionKey)
                         .arg(int(problem.kind))
                         .arg(problem.reason));
    return lines.join(QLatin1Char('\n'));
}

// The kind of the problem listed for `identifier`, if any.
std::optional<ProblemKind> problemKindOf(const QList<Problem> &problems, const QString &identifier)
{
    for (const Problem &problem : problems) {
        if (problem.identifier == identifier)
            return problem.kind;
    }
    return std::nullopt;
}

// What one export through the engine left: what it said, and what the target took in.
struct Run
{
    std::shared_ptr<RecordingDelegate> delegate;
    QList<Problem> problems;
    QList<KSImportOperation::SkippedItem> skipped;
    qint64 uncarriable = 0;
    QString handedOff;
    QJsonObject imported;

    QString describe() const
    {
        QStringList errors;
        for (const OVError &error : delegate->errors)
            errors.append(QStringLiteral("error %1: %2").arg(error.code).arg(error.localizedDescription));
        return QStringLiteral("events: %1\n%2\nproblems:\n%3\ntarget's report:\n%4")
            .arg(delegate->events.join(QLatin1Char(',')), errors.join(QLatin1Char('\n')), problemText(problems),
                 json(imported).left(4000));
    }
    bool accepted() const { return imported.value(QStringLiteral("accepted")).toBool(); }
    QJsonObject files() const { return imported.value(QStringLiteral("files")).toObject(); }
    bool arrived(const QString &identifier) const { return files().contains(identifier); }
    // Where the target keeps the item's file, or a null string when it took none.
    QString storedPath(const QString &identifier) const
    {
        if (!arrived(identifier))
            return QString();
        return QDir(imported.value(QStringLiteral("libraryFolder")).toString())
            .filePath(files().value(identifier).toString());
    }
    // The library file as handed over: the target keeps a copy of it beside the items.
    QString libraryFileCopy() const
    {
        return QDir(imported.value(QStringLiteral("libraryFolder")).toString())
            .filePath(QStringLiteral("Kastrel.nvlibxml"));
    }
    OVPlist record(const QString &identifier) const
    {
        return OVPlistSerialization::propertyListWithContentsOfFile(libraryFileCopy())
            .value(QStringLiteral("Entities"))
            .value(QStringLiteral("Item"))
            .value(identifier);
    }
    // The ids of `items` that neither arrived nor were listed (as a problem or as skipped).
    QStringList unaccounted(const QJsonArray &items) const
    {
        QSet<QString> listed;
        for (const Problem &problem : problems)
            listed.insert(problem.identifier);
        for (const KSImportOperation::SkippedItem &item : skipped)
            listed.insert(item.identifier);
        QStringList missing;
        for (const QJsonValue &item : items) {
            const QString identifier = item.toObject().value(QStringLiteral("id")).toString();
            if (!arrived(identifier) && !listed.contains(identifier))
                missing.append(identifier);
        }
        return missing;
    }
};

// Serves `items` (and `extra` tables) from the source stand-in and exports all of it into the
// target stand-in through the engine, on this thread.
Run exportLibrary(const QString &name, const QJsonArray &items, const QJsonObject &extra = {},
                  const std::function<void(const QString &)> &addFiles = {})
{
    const QString library = writeLibrary(name, manifestWithItems(items, extra));
    if (addFiles)
        addFiles(library);
    Run run;
    if (!installStandins(library)) {
        qWarning("the stand-ins could not be installed");
        run.delegate = std::make_shared<RecordingDelegate>();
        return run;
    }
    std::unique_ptr<KSImportOperation> operation;
    run.delegate = runWithAllOptions(operation);
    run.problems = operation->itemProblems();
    run.skipped = operation->skippedItems();
    run.uncarriable = operation->recordsWithUncarriableCharacters();
    run.handedOff = operation->handedOffLibraryFile();
    run.imported = lastImport();
    return run;
}

// The extension the record of `identifier` was written with ("nvnote", "webloc", ...).
QString extensionOf(const Run &run, const QString &identifier)
{
    return QFileInfo(run.record(identifier).value(QStringLiteral("filename")).toString()).suffix();
}

// Why the record of `identifier` does not name the file as written, with `extension`, within
// 255 bytes; empty when it does.
QString fileNameProblem(const Run &run, const QString &identifier, const QString &extension)
{
    const OVPlist record = run.record(identifier);
    const QString fileName = record.value(QStringLiteral("filename")).toString();
    const QString name = record.value(QStringLiteral("name")).toString();
    const QString path = record.value(QStringLiteral("absoluteFilename")).toString();
    QStringList problems;
    if (!record.isDictionary())
        return QStringLiteral("%1: no record in the library file").arg(identifier);
    if (fileName.toUtf8().size() > 255)
        problems.append(QStringLiteral("the file name has %1 bytes").arg(fileName.toUtf8().size()));
    if (!fileName.endsWith(QLatin1Char('.') + extension))
        problems.append(QStringLiteral("the file name does not end in .%1").arg(extension));
    if (QFileInfo(path).fileName() != fileName)
        problems.append(QStringLiteral("the record's file name is not that of its file %1").arg(path));
    if (!name.isEmpty() && name + QLatin1Char('.') + extension != fileName)
        problems.append(
            QStringLiteral("the record's name \"%1\" is not the file name without .%2").arg(name, extension));
    if (!run.arrived(identifier) || !QFileInfo::exists(run.storedPath(identifier)))
        problems.append(QStringLiteral("the target has no file of it"));
    if (problems.isEmpty())
        return QString();
    return QStringLiteral("%1 (\"%2\"): %3").arg(identifier, fileName, problems.join(QStringLiteral("; ")));
}

// Whether some file under `root` (a file or a package folder) holds exactly `bytes`.
bool holdsBytes(const QString &root, const QByteArray &bytes)
{
    if (QFileInfo(root).isFile())
        return TestSupport::fileContents(root) == bytes;
    QDirIterator iterator(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        if (TestSupport::fileContents(iterator.next()) == bytes)
            return true;
    }
    return false;
}

// The address in a bookmark file the target keeps.
QString bookmarkAddress(const QString &path)
{
    // A file that cannot be read has no address, which the caller's comparison then shows.
    NVWebBookmarkReader reader;
    if (!reader.read(path))
        return reader.errorString();
    return NVWebBookmarkFile::absoluteString(reader.bookmark()->URL());
}

// The note's text as the target would read it from the package it keeps.
QString noteText(const QString &package)
{
    QTextDocument document;
    RichTextReader reader;
    if (!reader.read(package, &document))
        return QStringLiteral("(unreadable: %1)").arg(reader.errorString());
    return document.toPlainText();
}

// One kastrel-importer export run as a child process, in this test's environment.
class ImporterProcess
{
public:
    explicit ImporterProcess(const QStringList &arguments = {QStringLiteral("export"), QStringLiteral("--json")},
                             std::function<void()> modifier = {})
    {
        if (modifier)
            m_process.setChildProcessModifier(modifier);
        m_process.start(importerPath(), arguments);
        m_process.waitForStarted(30000);
    }
    ~ImporterProcess()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(30000);
        }
    }

    QProcess &process() { return m_process; }
    // The exit code, or -1 when the process did not end by itself within `milliseconds`.
    int wait(int milliseconds = 240000)
    {
        if (!m_process.waitForFinished(milliseconds) || m_process.exitStatus() != QProcess::NormalExit)
            return -1;
        collect();
        return m_process.exitCode();
    }
    QString errorText()
    {
        collect();
        return m_error;
    }
    QJsonObject summary()
    {
        collect();
        return QJsonDocument::fromJson(m_output).object();
    }
    QString lastErrorLine()
    {
        const QStringList lines = errorText().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        return lines.isEmpty() ? QString() : lines.last();
    }
    QString describe()
    {
        collect();
        return QStringLiteral("exit %1\nstandard error:\n%2\nstandard output:\n%3")
            .arg(m_process.exitCode())
            .arg(m_error.right(6000), QString::fromUtf8(m_output).left(6000));
    }

private:
    void collect()
    {
        m_output += m_process.readAllStandardOutput();
        m_error += QString::fromUtf8(m_process.readAllStandardError());
    }

    QProcess m_process;
    QByteArray m_output;
    QString m_error;
};

// Waits until `condition` holds, for at most `milliseconds`.
bool waitFor(const std::function<bool()> &condition, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QTest::qWait(20);
    }
    return true;
}

QJsonArray slowNotes(int count)
{
    QJsonArray items;
    for (int index = 0; index < count; ++index)
        items.append(
            item(QStringLiteral("note"), QStringLiteral("S%1").arg(index), QStringLiteral("Slow %1").arg(index)));
    return items;
}

const QString han = QStringLiteral("\u6f22");
const QString smile = QString::fromUcs4(U"\U0001F600");

// Long names: 100 and 200 CJK characters and 100 emoji, for notes, serial numbers, passwords
// and http bookmarks; and pairs of names that agree in their first 300 characters.
QJsonArray longNameItems(const QString &prefix)
{
    QJsonArray items;
    const QList<QPair<QString, QString>> names {{QStringLiteral("han100"), han.repeated(100)},
                                                {QStringLiteral("han200"), han.repeated(200)},
                                                {QStringLiteral("emoji100"), smile.repeated(100)}};
    for (const char *kind : {"note", "serialNumber", "password", "bookmark"}) {
        const QString kindName = QString::fromLatin1(kind);
        for (const auto &name : names)
            items.append(item(kindName, prefix + kindName + QLatin1Char('-') + name.first, name.second));
    }
    const QString shared(300, QLatin1Char('x'));
    for (const char *kind : {"note", "serialNumber", "bookmark", "pdfArchive"}) {
        const QString kindName = QString::fromLatin1(kind);
        items.append(item(kindName, prefix + kindName + QStringLiteral("-pair1"), shared + QStringLiteral(" first")));
        items.append(item(kindName, prefix + kindName + QStringLiteral("-pair2"), shared + QStringLiteral(" second")));
    }
    return items;
}

// Notes whose exported file is no readable text: a binary file, a .txt with zero bytes, and
// an .rtfd folder without its text.
const QByteArray binaryNote = binaryBytes(3000);
const QByteArray textWithZeros = QByteArray("Scanned text\0with zero\0bytes\n", 29);
const QByteArray rtfdPicture = binaryBytes(700);

QJsonArray unreadableNoteItems(const QString &prefix)
{
    return QJsonArray {item(QStringLiteral("note"), prefix + QStringLiteral("binary"), QStringLiteral("Binary note"),
                            {{QStringLiteral("file"), QStringLiteral("extra/blob.bin")}}),
                       item(QStringLiteral("note"), prefix + QStringLiteral("zeros"), QStringLiteral("Zero bytes"),
                            {{QStringLiteral("file"), QStringLiteral("extra/zeros.txt")}}),
                       item(QStringLiteral("note"), prefix + QStringLiteral("rtfd"), QStringLiteral("Broken package"),
                            {{QStringLiteral("file"), QStringLiteral("extra/Broken.rtfd")}})};
}

void writeUnreadableNoteFiles(const QString &library)
{
    TestSupport::writeFile(QDir(library).filePath(QStringLiteral("extra/blob.bin")), binaryNote);
    TestSupport::writeFile(QDir(library).filePath(QStringLiteral("extra/zeros.txt")), textWithZeros);
    TestSupport::writeFile(QDir(library).filePath(QStringLiteral("extra/Broken.rtfd/picture.png")), rtfdPicture);
}

const QString rtfLookingText = QStringLiteral("{\\rtf1\\ansi This only looks like rich text}");

// A note without a file: the source exports its text as a .txt file.
QJsonObject looksRichNote(const QString &identifier)
{
    QJsonObject note = item(QStringLiteral("note"), identifier, QStringLiteral("Looks rich"),
                            {{QStringLiteral("text"), rtfLookingText}});
    note.remove(QStringLiteral("file"));
    return note;
}

// Every control character XML 1.0 cannot carry, and the two non-characters.
QString controlCharacters()
{
    QString text;
    for (char16_t code = 1; code < 0x20; ++code) {
        if (code != u'\t' && code != u'\n' && code != u'\r')
            text.append(QChar(code));
    }
    return text + QChar(0xFFFE) + QChar(0xFFFF);
}

QJsonArray controlCharacterItems(const QString &prefix)
{
    const QString odd = controlCharacters();
    QJsonArray items;
    for (const char *kind : {"note", "bookmark", "serialNumber", "password", "image", "pdfArchive", "webArchive"}) {
        items.append(item(QString::fromLatin1(kind), prefix + QString::fromLatin1(kind),
                          QStringLiteral("Odd") + odd + QStringLiteral("name"),
                          {{QStringLiteral("comments"), QStringLiteral("comment") + odd},
                           {QStringLiteral("tags"), QJsonArray {QStringLiteral("tag") + odd, QStringLiteral("plain")}},
                           {QStringLiteral("label"), QStringLiteral("Lodd")}}));
    }
    return items;
}

QJsonObject controlCharacterTables(const QString &prefix)
{
    const QString odd = controlCharacters();
    return QJsonObject {
        {QStringLiteral("labels"),
         QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("Lodd")},
                                  {QStringLiteral("name"), QStringLiteral("Label") + odd},
                                  {QStringLiteral("color"), QStringLiteral("rgb 1 0 0 1")}}}},
        {QStringLiteral("tagCollections"),
         QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("Todd")},
                                  {QStringLiteral("name"), QStringLiteral("Tags") + odd},
                                  {QStringLiteral("comments"), QStringLiteral("about") + odd},
                                  {QStringLiteral("tags"), QJsonArray {QStringLiteral("tag") + odd}}}}},
        {QStringLiteral("folderCollections"),
         QJsonArray {QJsonObject {{QStringLiteral("id"), QStringLiteral("Godd")},
                                  {QStringLiteral("name"), QStringLiteral("Group") + odd},
                                  {QStringLiteral("comments"), QStringLiteral("about") + odd},
                                  {QStringLiteral("items"), QJsonArray {prefix + QStringLiteral("note")}}}}}};
}

// Bookmarks whose locations are odd but addresses all the same, and one that is none.
QJsonArray oddBookmarkItems(const QString &prefix)
{
    const QList<QPair<QString, QString>> locations {
        {QStringLiteral("idn"), QStringLiteral("http://b\u00fccher.example/")},
        {QStringLiteral("space"), QStringLiteral("http://example.org/two words")},
        {QStringLiteral("path"), QStringLiteral("https://example.org/st\u00e4dte/\u6f22\u5b57")},
        {QStringLiteral("data"), QStringLiteral("data:text/plain,hello")},
        {QStringLiteral("nourl"), QStringLiteral("not a url")}};
    QJsonArray items;
    for (const auto &location : locations)
        items.append(item(QStringLiteral("bookmark"), prefix + location.first,
                          QStringLiteral("Bookmark ") + location.first,
                          {{QStringLiteral("location"), location.second}}));
    return items;
}

const QStringList itemKinds {QStringLiteral("note"),      QStringLiteral("bookmark"), QStringLiteral("serialNumber"),
                             QStringLiteral("password"),  QStringLiteral("image"),    QStringLiteral("pdfArchive"),
                             QStringLiteral("webArchive")};

QJsonArray lineBreakItems(const QString &prefix)
{
    QJsonArray items;
    for (const QString &kind : itemKinds)
        items.append(item(kind, prefix + kind, QStringLiteral("First\nSecond")));
    return items;
}

// One item of each kind with a plain name: what each kind's file is called.
QJsonArray referenceItems()
{
    QJsonArray items;
    for (const QString &kind : itemKinds)
        items.append(item(kind, QStringLiteral("ref-") + kind, QStringLiteral("Plain ") + kind));
    return items;
}

void append(QJsonArray &items, const QJsonArray &more)
{
    for (const QJsonValue &value : more)
        items.append(value);
}

// The environment variable that makes a child of this test program fill its disk.
const char *const fileSizeLimit = "KI_NOTHING_LOST_FILE_SIZE_LIMIT";

} // namespace

class TestNothingLost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const char *name : {"kastrel-importer", "kastrel-standin", "nortavel3-standin"}) {
            if (!QFileInfo(QDir(QStringLiteral(KI_BIN_DIR)).filePath(QString::fromLatin1(name))).isExecutable())
                QSKIP(qPrintable(QStringLiteral("%1 is not built").arg(QString::fromLatin1(name))));
        }
    }

    void longNamesAreFittedAndKeepTheirExtension()
    {
        QJsonArray items = referenceItems();
        append(items, longNameItems(QStringLiteral("long-")));
        const Run run = exportLibrary(QStringLiteral("long-names"), items);

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.accepted(), qPrintable(run.describe()));
        QVERIFY2(run.problems.isEmpty(), qPrintable(run.describe()));
        QStringList wrong;
        for (const QJsonValue &value : items) {
            const QString identifier = value.toObject().value(QStringLiteral("id")).toString();
            const QString kind = value.toObject().value(QStringLiteral("kind")).toString();
            const QString extension = extensionOf(run, QStringLiteral("ref-") + kind);
            const QString problem = fileNameProblem(run, identifier, extension);
            if (!problem.isEmpty())
                wrong.append(problem);
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
        QCOMPARE(extensionOf(run, QStringLiteral("ref-note")), QStringLiteral("nvnote"));
        QCOMPARE(extensionOf(run, QStringLiteral("ref-bookmark")), QStringLiteral("webloc"));

        // Names that agree in their first 300 characters are two files.
        for (const char *kind : {"note", "serialNumber", "bookmark", "pdfArchive"}) {
            const QString base = QStringLiteral("long-") + QString::fromLatin1(kind);
            const QString first
                = run.record(base + QStringLiteral("-pair1")).value(QStringLiteral("absoluteFilename")).toString();
            const QString second
                = run.record(base + QStringLiteral("-pair2")).value(QStringLiteral("absoluteFilename")).toString();
            QVERIFY2(!first.isEmpty() && first != second,
                     qPrintable(QStringLiteral("%1: one file for two items: %2 and %3").arg(base, first, second)));
            QVERIFY2(run.storedPath(base + QStringLiteral("-pair1")) != run.storedPath(base + QStringLiteral("-pair2")),
                     qPrintable(base));
        }
    }

    void unreadableNoteFilesArriveAttached()
    {
        QJsonArray items = unreadableNoteItems(QStringLiteral("bad-"));
        items.append(item(QStringLiteral("note"), QStringLiteral("fine"), QStringLiteral("Fine note")));
        const QString library = writeLibrary(QStringLiteral("unreadable"), manifestWithItems(items));
        writeUnreadableNoteFiles(library);
        QVERIFY(installStandins(library));

        ImporterProcess importer;
        const int status = importer.wait();
        QVERIFY2(status == 3, qPrintable(importer.describe()));
        QVERIFY2(importer.lastErrorLine() != QStringLiteral("Export ended."), qPrintable(importer.describe()));
        const QJsonObject summary = importer.summary();
        QCOMPARE(summary.value(QStringLiteral("exitStatus")).toInt(), 3);

        QMap<QString, QString> kinds;
        for (const QJsonValue &problem : summary.value(QStringLiteral("problems")).toArray())
            kinds.insert(problem.toObject().value(QStringLiteral("identifier")).toString(),
                         problem.toObject().value(QStringLiteral("kind")).toString());
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.value(QStringLiteral("accepted")).toBool(), qPrintable(json(imported)));
        const QJsonObject files = imported.value(QStringLiteral("files")).toObject();
        const QDir folder(imported.value(QStringLiteral("libraryFolder")).toString());
        const QList<QPair<QString, QByteArray>> originals {{QStringLiteral("bad-binary"), binaryNote},
                                                           {QStringLiteral("bad-zeros"), textWithZeros},
                                                           {QStringLiteral("bad-rtfd"), rtfdPicture}};
        for (const auto &original : originals) {
            QVERIFY2(
                kinds.value(original.first) == QStringLiteral("originalFileAttached"),
                qPrintable(original.first + QStringLiteral(" is not listed as attached:\n") + importer.describe()));
            QVERIFY2(files.contains(original.first), qPrintable(original.first + QStringLiteral(" did not arrive")));
            const QString package = folder.filePath(files.value(original.first).toString());
            QVERIFY2(package.endsWith(QStringLiteral(".nvnote")) && QFileInfo(package).isDir(), qPrintable(package));
            QVERIFY2(holdsBytes(package, original.second),
                     qPrintable(original.first + QStringLiteral(": the original file is not in ") + package));
        }
        QVERIFY2(files.contains(QStringLiteral("fine")) && !kinds.contains(QStringLiteral("fine")),
                 qPrintable(importer.describe()));
    }

    void plainTextThatLooksLikeRichTextArrivesAsText()
    {
        const Run run
            = exportLibrary(QStringLiteral("looks-rich"), QJsonArray {looksRichNote(QStringLiteral("looks-rich"))});

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.problems.isEmpty(), qPrintable(run.describe()));
        QVERIFY2(run.arrived(QStringLiteral("looks-rich")), qPrintable(run.describe()));
        QCOMPARE(noteText(run.storedPath(QStringLiteral("looks-rich"))).trimmed(), rtfLookingText);
    }

    void controlCharactersLeaveTheLibraryFileValid()
    {
        const QJsonArray items = controlCharacterItems(QStringLiteral("odd-"));
        const Run run = exportLibrary(QStringLiteral("control"), items, controlCharacterTables(QStringLiteral("odd-")));

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.accepted(), qPrintable(run.describe()));
        const QStringList missing = run.unaccounted(items);
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char(',')) + QLatin1Char('\n') + run.describe()));

        const QByteArray bytes = TestSupport::fileContents(run.libraryFileCopy());
        QVERIFY2(!bytes.isEmpty(), qPrintable(run.libraryFileCopy()));
        QXmlStreamReader reader(bytes);
        while (!reader.atEnd())
            reader.readNext();
        QVERIFY2(!reader.hasError(),
                 qPrintable(QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString())));
        OVError error;
        const OVPlist library = OVPlistSerialization::propertyListWithData(bytes, nullptr, &error);
        QVERIFY2(library.isDictionary(), qPrintable(error.localizedDescription));
        QVERIFY2(library.value(QStringLiteral("Entities")).value(QStringLiteral("Item")).size() > 0,
                 qPrintable(QString::fromUtf8(bytes.left(2000))));
        QVERIFY2(run.uncarriable > 0, qPrintable(QStringLiteral("%1 records counted").arg(run.uncarriable)));
    }

    void oddBookmarkLocationsKeepAnAddress()
    {
        const QJsonArray items = oddBookmarkItems(QStringLiteral("bm-"));
        const Run run = exportLibrary(QStringLiteral("bookmarks"), items);

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.accepted(), qPrintable(run.describe()));
        for (const char *name : {"idn", "space", "path", "data"}) {
            const QString identifier = QStringLiteral("bm-") + QString::fromLatin1(name);
            QVERIFY2(run.arrived(identifier),
                     qPrintable(identifier + QStringLiteral(" did not arrive\n") + run.describe()));
            const QString address = bookmarkAddress(run.storedPath(identifier));
            QVERIFY2(!address.isEmpty(),
                     qPrintable(QStringLiteral("%1 has no address in %2:\n%3")
                                    .arg(identifier, run.storedPath(identifier),
                                         QString::fromUtf8(TestSupport::fileContents(run.storedPath(identifier))))));
            QVERIFY2(!problemKindOf(run.problems, identifier).has_value(), qPrintable(run.describe()));
        }
        QVERIFY2(problemKindOf(run.problems, QStringLiteral("bm-nourl")) == ProblemKind::Incomplete,
                 qPrintable(QStringLiteral("\"not a url\" is not listed as incomplete\n") + run.describe()));
    }

    void lineBreakInANameKeepsTheExtension()
    {
        QJsonArray items = referenceItems();
        append(items, lineBreakItems(QStringLiteral("lines-")));
        const Run run = exportLibrary(QStringLiteral("line-breaks"), items);

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.accepted(), qPrintable(run.describe()));
        QStringList wrong;
        for (const QString &kind : itemKinds) {
            const QString identifier = QStringLiteral("lines-") + kind;
            const QString extension = extensionOf(run, QStringLiteral("ref-") + kind);
            const QString fileName = run.record(identifier).value(QStringLiteral("filename")).toString();
            if (extension.isEmpty() || !fileName.endsWith(QLatin1Char('.') + extension) || !run.arrived(identifier))
                wrong.append(QStringLiteral("%1: \"%2\" (.%3 expected)%4")
                                 .arg(identifier, fileName, extension,
                                      run.arrived(identifier) ? QString() : QStringLiteral(", did not arrive")));
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n')) + QLatin1Char('\n') + run.describe()));
    }

    void fullDiskStopsWithAnErrorAndHandsNothingOver()
    {
        QJsonArray items;
        for (int index = 0; index < 40; ++index)
            items.append(item(QStringLiteral("note"), QStringLiteral("N%1").arg(index),
                              QStringLiteral("Note number %1").arg(index),
                              {{QStringLiteral("comments"), QString(200, QLatin1Char('c'))}}));
        items.append(item(QStringLiteral("serialNumber"), QStringLiteral("big"), QStringLiteral("Big"),
                          {{QStringLiteral("text"), QString(100000, QLatin1Char('x'))}}));
        QVERIFY(installStandins(writeLibrary(QStringLiteral("filling"), manifestWithItems(items))));

        // Files are limited to 16 KB; a write past the limit fails with EFBIG, the signal it
        // would raise being ignored as a careful launcher's would be.
        ImporterProcess importer({QStringLiteral("export"), QStringLiteral("--json")}, [] {
            ::signal(SIGXFSZ, SIG_IGN);
            const struct rlimit limit
            {
                16384, 16384
            };
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
        const int status = importer.wait();
        QVERIFY2(status == 1, qPrintable(importer.describe()));
        const QJsonObject summary = importer.summary();
        bool named = false;
        for (const QJsonValue &error : summary.value(QStringLiteral("errors")).toArray()) {
            if (error.toObject().value(QStringLiteral("code")).toInt() == 10002
                && error.toObject().value(QStringLiteral("text")).toString().contains(exportFolder()))
                named = true;
        }
        QVERIFY2(named,
                 qPrintable(QStringLiteral("no error 10002 naming %1\n").arg(exportFolder()) + importer.describe()));
        QVERIFY2(summary.value(QStringLiteral("libraryFile")).isNull(), qPrintable(importer.describe()));
        QVERIFY2(importer.lastErrorLine() != QStringLiteral("Export ended."), qPrintable(importer.describe()));
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.isEmpty(), qPrintable(json(imported)));
    }

    void secondExportEndsAtOnce()
    {
        QVERIFY(installStandins(writeLibrary(QStringLiteral("concurrent"), manifestWithItems(slowNotes(12))),
                                {QStringLiteral("--reply-delay"), QStringLiteral("150")}));
        QFile::remove(logFilePath());

        ImporterProcess first;
        QVERIFY2(waitFor([] { return readLog().contains(QStringLiteral("*** Export started")); }, 60000),
                 qPrintable(first.describe()));
        QVERIFY2(first.process().state() == QProcess::Running, qPrintable(first.describe()));

        QElapsedTimer timer;
        timer.start();
        ImporterProcess second;
        const int secondStatus = second.wait(60000);
        const qint64 secondTook = timer.elapsed();
        QVERIFY2(first.process().state() == QProcess::Running,
                 qPrintable(QStringLiteral("the first export ended before the second did:\n") + first.describe()));
        QVERIFY2(secondStatus == 1, qPrintable(second.describe()));
        QVERIFY2(second.errorText().contains(QStringLiteral("Another export is running")),
                 qPrintable(second.describe()));
        QVERIFY2(secondTook < 15000, qPrintable(QStringLiteral("the second export took %1 ms").arg(secondTook)));

        const int firstStatus = first.wait();
        QVERIFY2(firstStatus == 0, qPrintable(first.describe()));
        QVERIFY2(first.lastErrorLine() == QStringLiteral("Export ended."), qPrintable(first.describe()));
        const QString log = readLog();
        QVERIFY2(log.count(QStringLiteral("*** Export started")) == 1, qPrintable(log));
        QVERIFY2(log.count(QStringLiteral("*** Export ended")) == 1, qPrintable(log));
        QVERIFY2(!log.contains(QStringLiteral("Another export")), qPrintable(log));
        QVERIFY2(lastImport().value(QStringLiteral("accepted")).toBool(), qPrintable(json(lastImport())));
    }

    void interruptCancelsAndKeepsTheExportFolder()
    {
        QVERIFY(installStandins(writeLibrary(QStringLiteral("interrupted"), manifestWithItems(slowNotes(30))),
                                {QStringLiteral("--reply-delay"), QStringLiteral("100")}));
        QFile::remove(logFilePath());
        QDir(exportFolder()).removeRecursively();

        ImporterProcess importer;
        // Once the item stage keeps its journal, a stopped run keeps its folder.
        QVERIFY2(
            waitFor([] { return QFileInfo::exists(QDir(exportFolder()).filePath(KSExportJournal::fileName)); }, 120000),
            qPrintable(importer.describe()));
        QVERIFY2(importer.process().state() == QProcess::Running, qPrintable(importer.describe()));
        ::kill(pid_t(importer.process().processId()), SIGINT);
        const int status = importer.wait();
        QVERIFY2(status == 2, qPrintable(importer.describe()));

        const QString log = readLog();
        const qsizetype cancelled = log.indexOf(QStringLiteral("Export cancelled"));
        QVERIFY2(cancelled >= 0 && cancelled < log.lastIndexOf(QStringLiteral("*** Export ended")), qPrintable(log));
        QVERIFY2(log.contains(QStringLiteral("Kept the unfinished export folder")), qPrintable(log));
        QVERIFY2(QFileInfo::exists(exportFolder()), qPrintable(exportFolder()));
        const QJsonObject summary = importer.summary();
        QVERIFY2(summary.value(QStringLiteral("libraryFile")).isNull(), qPrintable(importer.describe()));
        QCOMPARE(summary.value(QStringLiteral("keptExportFolder")).toString(), QDir::cleanPath(exportFolder()));
        const QJsonObject imported = lastImport();
        QVERIFY2(imported.isEmpty(), qPrintable(json(imported)));
    }

    void everyItemOfALargeLibraryIsAccountedFor()
    {
        QJsonArray items;
        for (int index = 0; index < 1000; ++index) {
            const QString kind = itemKinds.at(index % itemKinds.size());
            items.append(item(kind, QStringLiteral("item-%1").arg(index), QStringLiteral("Item %1").arg(index),
                              {{QStringLiteral("tags"), QJsonArray {QStringLiteral("tag %1").arg(index % 13)}},
                               {QStringLiteral("comments"), QStringLiteral("Comment %1").arg(index)}}));
        }
        append(items, longNameItems(QStringLiteral("case-long-")));
        append(items, unreadableNoteItems(QStringLiteral("case-bad-")));
        append(items, controlCharacterItems(QStringLiteral("case-odd-")));
        append(items, oddBookmarkItems(QStringLiteral("case-bm-")));
        append(items, lineBreakItems(QStringLiteral("case-lines-")));
        items.append(looksRichNote(QStringLiteral("case-looks-rich")));
        items.append(item(QStringLiteral("note"), QStringLiteral("case-unnamed"), QStringLiteral("")));
        items.append(item(QStringLiteral("image"), QStringLiteral("case-nameless"), QJsonValue::Undefined));

        const Run run = exportLibrary(QStringLiteral("large"), items,
                                      controlCharacterTables(QStringLiteral("case-odd-")), writeUnreadableNoteFiles);

        QVERIFY2(run.delegate->finalEvents() == QStringList {QStringLiteral("end")}, qPrintable(run.describe()));
        QVERIFY2(run.accepted(), qPrintable(run.describe()));
        const QStringList missing = run.unaccounted(items);
        QVERIFY2(missing.isEmpty(),
                 qPrintable(QStringLiteral("%1 items neither arrived nor are listed: %2\n")
                                .arg(missing.size())
                                .arg(missing.mid(0, 50).join(QLatin1Char(',')))
                            + run.describe()));
        // The ordinary items all arrived, and nothing arrived that is not in the library.
        QStringList lost;
        QSet<QString> identifiers;
        for (const QJsonValue &value : items) {
            const QString identifier = value.toObject().value(QStringLiteral("id")).toString();
            identifiers.insert(identifier);
            if (identifier.startsWith(QStringLiteral("item-")) && !run.arrived(identifier))
                lost.append(identifier);
        }
        QVERIFY2(lost.isEmpty(), qPrintable(lost.join(QLatin1Char(','))));
        QStringList strangers;
        for (const QString &identifier : run.files().keys()) {
            if (!identifiers.contains(identifier))
                strangers.append(identifier);
        }
        QVERIFY2(strangers.isEmpty(), qPrintable(strangers.join(QLatin1Char(','))));
        // The unnamed items are passed over on purpose, and said so.
        QSet<QString> skipped;
        for (const KSImportOperation::SkippedItem &item : run.skipped)
            skipped.insert(item.identifier);
        QVERIFY2(skipped.contains(QStringLiteral("case-unnamed")) || run.arrived(QStringLiteral("case-unnamed")),
                 qPrintable(run.describe()));
    }
};

QTEST_MAIN(TestNothingLost)
#include "TestNothingLost.moc"
