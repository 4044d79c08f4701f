// PDFs: the source writes each into the staging folder; the PDF's own creator and subject
// tell a page saved from a browser (a web page) from any other document, and it moves into
// "Web Pages" or "Documents" under a free name.
#include "engine/KSImportOperation.h"
#include "formats/NVItemType.h"
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <memory>
#include <poppler-document.h>
#include <poppler-global.h>

namespace {

// The creators browsers write into the PDFs they save, compared exactly.
const char *const browserCreators[]
    = {"Safari", "firefox-bin", "Camino", "OmniWeb", "Shiira", "Opera", "Chrome", "flock-bin"};

QString infoText(const poppler::document &document, const char *key)
{
    const poppler::ustring value = document.info_key(key);
    const poppler::byte_array utf8 = value.to_utf8();
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

// Poppler reports every oddity of a damaged PDF on standard error; here a PDF it cannot
// read is simply a document, so its messages are not wanted.
void ignorePopplerMessage(const std::string &, void *) { }

// Poppler sets up its global state (fonts, encodings) when the first document is opened and
// tears it down when the last one closes: one small document kept open for the life of the
// process spares every PDF of a large export that set-up.
void keepPopplerReady()
{
    static const std::unique_ptr<poppler::document> keeper = [] {
        const QList<QByteArray> objects
            = {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 10 10] >>"};
        QByteArray pdf = "%PDF-1.4\n";
        QByteArray offsets;
        for (int i = 0; i < objects.size(); ++i) {
            offsets += QByteArray::number(pdf.size()).rightJustified(10, '0') + " 00000 n \n";
            pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
        }
        const qsizetype xref = pdf.size();
        pdf += "xref\n0 4\n0000000000 65535 f \n" + offsets + "trailer\n<< /Size 4 /Root 1 0 R >>\nstartxref\n"
            + QByteArray::number(xref) + "\n%%EOF\n";
        static QByteArray bytes; // the document reads from these bytes for as long as it lives
        bytes = pdf;
        return std::unique_ptr<poppler::document>(
            poppler::document::load_from_raw_data(bytes.constData(), int(bytes.size())));
    }();
    Q_UNUSED(keeper)
}

} // namespace

qint64 KSImportOperation::itemTypeForPDFAtPath(const QString &path)
{
    static const bool quiet = (poppler::set_debug_error_function(ignorePopplerMessage, nullptr), true);
    Q_UNUSED(quiet)
    keepPopplerReady();
    QString creator;
    QString subject;
    const QByteArray encoded = QFile::encodeName(path);
    // A PDF that cannot be opened has no attributes, and so is a document.
    const std::unique_ptr<poppler::document> document(poppler::document::load_from_file(encoded.toStdString()));
    if (document) {
        creator = infoText(*document, "Creator");
        subject = infoText(*document, "Subject");
    }
    if (creator.startsWith(QLatin1String("Nortavel")) && subject.startsWith(QLatin1String("http")))
        return NVItemTypeWebPage;
    for (const char *browser : browserCreators) {
        if (creator == QLatin1String(browser))
            return NVItemTypeWebPage;
    }
    return NVItemTypeDocument;
}

bool KSImportOperation::importPDFs(const QString &optionKey)
{
    const QString documentsFolder = QDir(m_filesPath).filePath(QStringLiteral("Documents"));
    const QString webPagesFolder = QDir(m_filesPath).filePath(QStringLiteral("Web Pages"));
    const char *const failureText = QT_TRANSLATE_NOOP("KastrelImporter", "Unable to export PDF item with name \"%@\".");

    // PDFs are not looked at for a name: every one is exported.
    ItemKindSteps steps;
    steps.optionKey = optionKey;
    steps.exportFolder = [this](int slot) { return stagingFolder(slot); };
    steps.skipsItemsWithoutName = false;
    steps.exportFailureText = failureText;
    steps.logFormat = QStringLiteral("Exporting item with identifier: %@");

    // The staged PDF is classified and moved into "Documents" or "Web Pages".
    steps.placeFile = [&](ExportedItem &item, const QString &stagedPath) -> std::optional<PlacedFile> {
        const qint64 type = itemTypeForPDFAtPath(stagedPath);
        const QString folder = type == NVItemTypeDocument ? documentsFolder : webPagesFolder;
        // The source's own name is kept when it is free; it is not sanitised. Only what the
        // file system or the library file could not take is fitted, so that a numbered name
        // ('Name 1.pdf') of a long name still fits and never lands on another PDF.
        const QString fileName = OVExtensions::makeFittedFilenameUniqueInDirectory(
            OVExtensions::fileNameFittedToFolder(QFileInfo(stagedPath).fileName(), folder), folder);
        // Not QDir::filePath(): it answers a name beginning with ":" (a resource path) unchanged.
        const QString destination = folder + QLatin1Char('/') + fileName;
        QFile staged(stagedPath);
        if (!staged.rename(destination)) {
            writeLog(OVStringWithFormat(QStringLiteral("Unable to move PDF file from %@ to %@: %@"),
                                        {stagedPath, destination, staged.errorString()}));
            informDelegateDidEncounterError(itemExportError(failureText, item.name));
            return std::nullopt;
        }
        setOnlyCopyOfFileDates(destination, item);
        return PlacedFile {type, destination, fileName};
    };

    // Dates live on the file only: the record has neither them nor a name.
    steps.completeRecord = [](ExportedItem &, KSItemRecord &) {};
    return exportEachItem(m_kastrelApp->pdfArchiveItems().get(), steps);
}
