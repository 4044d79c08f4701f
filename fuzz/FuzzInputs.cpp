// One function per reader that takes outside bytes. Each checks the few properties that hold
// for every input (besides not crashing) and aborts when one does not, so that the fuzzer
// reports it like a crash.
#include "FuzzInputs.h"

#include "documents/NVNoteAttributes.h"
#include "engine/KSImportOperation.h"
#include "engine/ScriptingColor.h"
#include "formats/NVWebBookmarkFile.h"
#include "formats/NVWebBookmarkReader.h"
#include "formats/RTFDPackage.h"
#include "formats/RTFReader.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVKeyedUnarchiver.h"
#include "foundation/OVPlistSerialization.h"
#include "standins/nortavel/NortavelLibraryValidator.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextDocument>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>

namespace FuzzInputs {

namespace {

[[noreturn]] void broken(const char *what)
{
    std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
    std::abort();
}

void rtfReader(const QByteArray &data)
{
    RTFReader reader;
    // Any attachment the text names exists and holds a few bytes that are no image.
    reader.setAttachmentLoader([](const QString &, QByteArray *contents) {
        *contents = QByteArrayLiteral("\x89PNG not really");
        return true;
    });
    QTextDocument document;
    (void)reader.read(data, &document);
    (void)document.toPlainText();
}

// The input is the package: TXT.rtf, then for each further member a zero byte, its name, a
// zero byte and its contents.
void rtfdPackage(const QByteArray &data)
{
    const QList<QByteArray> parts = data.split('\0');
    RTFDPackage package;
    package.setFile(RTFDPackage::textFileName, parts.value(0));
    for (qsizetype index = 1; index + 1 < parts.size(); index += 2)
        package.setFile(QString::fromUtf8(parts.at(index)), parts.at(index + 1));
    QTextDocument document;
    QVariantMap attributes;
    if (!package.toDocument(&document, &attributes))
        return;
    // What was read can be packed again.
    RTFDPackage again;
    (void)again.fromDocument(&document, attributes);
}

void propertyList(const QByteArray &data)
{
    OVError error;
    const OVPlist plist = OVPlistSerialization::propertyListWithData(data, nullptr, &error);
    if (!plist.isValid())
        return;
    // What was read can be written in both formats, and what was written reads back.
    for (const auto format : {OVPlistSerialization::Format::Xml, OVPlistSerialization::Format::Binary}) {
        const QByteArray written = OVPlistSerialization::dataWithPropertyList(plist, format);
        if (!written.isEmpty() && !OVPlistSerialization::propertyListWithData(written).isValid())
            broken("a property list we wrote does not read back");
    }
}

void keyedArchive(const QByteArray &data)
{
    static const bool registered = (NVNoteAttributes::registerClass(), true);
    Q_UNUSED(registered)
    OVError error;
    (void)OVKeyedUnarchiver::unarchivedObjectWithData(data, &error);
    if (std::optional<NVNoteAttributes> attributes = NVNoteAttributes::fromArchivedData(data)) {
        // A record read from any archive can be archived again.
        (void)attributes->archivedData();
    }
}

void webBookmark(const QByteArray &data)
{
    for (const char *fileName : {"Bookmark.url", "Bookmark.webloc"}) {
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        NVWebBookmarkReader reader;
        // Hostile bytes may well be refused; a refusal must say why and still leave a bookmark.
        if (!reader.read(&buffer, QString::fromLatin1(fileName)) && reader.errorString().isEmpty())
            broken("a bookmark read failed without a reason");
        if (!reader.bookmark())
            broken("reading a bookmark gave nothing");
    }
}

// A scratch folder for the targets that need files, made once per process.
const QString &scratchFolder()
{
    static QTemporaryDir folder;
    if (!folder.isValid())
        broken("no scratch folder");
    static const QString path = folder.path();
    return path;
}

void pdfItemType(const QByteArray &data)
{
    const QString path = QDir(scratchFolder()).filePath(QStringLiteral("input.pdf"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size())
        broken("cannot write the scratch PDF");
    file.close();
    const qint64 type = KSImportOperation::itemTypeForPDFAtPath(path);
    if (type != 2 && type != 7)
        broken("a PDF is neither a document nor a web page");
}

// The first byte says how the rest is text: odd as UTF-16 (lone surrogates and all), even
// as UTF-8.
void fileNames(const QByteArray &data)
{
    if (data.isEmpty())
        return;
    const QByteArray rest = data.mid(1);
    const QString title = (data.at(0) & 1) ? QString(reinterpret_cast<const QChar *>(rest.constData()), rest.size() / 2)
                                           : QString::fromUtf8(rest);
    QString name;
    try {
        name = OVExtensions::stringSanitizedForFileName(title);
    } catch (const std::out_of_range &) {
        // Deliberate: a long name whose extension alone is over 254 units cannot be cut.
        return;
    }
    if (name.contains(QLatin1Char('/')))
        broken("a sanitised name holds a slash");
    if (name == QLatin1String(".") || name == QLatin1String(".."))
        broken("a sanitised name is a folder's own entry");
    // A long name cut to nothing but its extension keeps the dot before it: ".ext", 255 units.
    if (name.startsWith(QLatin1Char('.')) && name.size() != 255)
        broken("a sanitised name begins with a dot");
    if (name.size() > 255)
        broken("a sanitised name is longer than 255 units");
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return; // not names of a file in the folder
    // Uniquing in a folder where the name and its first numbered form are taken.
    const QString folder = QDir(scratchFolder()).filePath(QStringLiteral("names"));
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    QFile taken(QDir(folder).filePath(name));
    (void)taken.open(QIODevice::WriteOnly);
    taken.close();
    const QString unique = OVExtensions::makeFilenameUniqueInDirectoryAtURL(name, QUrl::fromLocalFile(folder));
    if (unique.contains(QLatin1Char('/')))
        broken("a unique name holds a slash");
    // The numbered form of a name of 254 units or more is cut back by the sanitiser and can
    // come out equal to the taken name: deliberate, so that is not checked.
}

void scriptingColor(const QByteArray &data)
{
    const QColor color = ScriptingColor::deviceRGBColor(QString::fromUtf8(data));
    if (color.isValid() && color.spec() != QColor::Rgb)
        broken("a scripting colour is not device RGB");
}

void libraryValidator(const QByteArray &data)
{
    Standin::NortavelLibraryValidator validator;
    validator.setChecksFiles(false);
    const bool valid = validator.validate(data);
    if (valid != validator.problems().isEmpty())
        broken("the validator's answer and its problems disagree");
}

const std::map<QString, std::function<void(const QByteArray &)>> &targets()
{
    static const std::map<QString, std::function<void(const QByteArray &)>> table {
        {QStringLiteral("rtf-reader"), rtfReader},
        {QStringLiteral("rtfd-package"), rtfdPackage},
        {QStringLiteral("property-list"), propertyList},
        {QStringLiteral("keyed-archive"), keyedArchive},
        {QStringLiteral("web-bookmark"), webBookmark},
        {QStringLiteral("pdf-item-type"), pdfItemType},
        {QStringLiteral("file-names"), fileNames},
        {QStringLiteral("scripting-color"), scriptingColor},
        {QStringLiteral("library-validator"), libraryValidator},
    };
    return table;
}

} // namespace

bool run(const QString &target, const QByteArray &data)
{
    const auto found = targets().find(target);
    if (found == targets().end())
        return false;
    found->second(data);
    return true;
}

QStringList targetNames()
{
    QStringList names;
    for (const auto &entry : targets())
        names.append(entry.first);
    return names;
}

} // namespace FuzzInputs
