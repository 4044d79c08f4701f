// The note document: reading and writing note packages, and the helpers around new notes.
#include "documents/NVNoteFile.h"

#include "formats/NVFormatsLog.h"
#include "formats/NVItemType.h"
#include "formats/RichTextAttributes.h"
#include "formats/RichTextFonts.h"
#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVKeyedUnarchiver.h"
#include "foundation/OVLocalization.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QFont>
#include <QFontDatabase>
#include <QSettings>
#include <QStandardPaths>
#include <QTextDocument>
#include <QUndoCommand>
#include <QUndoStack>

const QString NVNoteFile::fontAttribute = QStringLiteral("NSFont");
const QString NVNoteFile::foregroundColorAttribute = QStringLiteral("NSColor");
const QString NVNoteFile::defaultNoteFontNameKey = QStringLiteral("DefaultNoteFontName");
const QString NVNoteFile::defaultNoteFontSizeKey = QStringLiteral("DefaultNoteFontSize");
const QString NVNoteFile::defaultNoteTextColorKey = QStringLiteral("DefaultNoteTextColor");
const QString NVNoteFile::noteAttributesFileName = QStringLiteral("NoteAttributes");

namespace {

const QString welcomeNoteName = QStringLiteral("Welcome to Nortavel");

std::shared_ptr<QTextDocument> copyOf(const std::shared_ptr<QTextDocument> &text)
{
    return text ? std::shared_ptr<QTextDocument>(text->clone()) : nullptr;
}

} // namespace

// Undoing a text change puts back the copy taken when the change was made; redoing puts the
// changed text back. The note may be gone by then; the stack may outlive it.
class NVNoteTextChange : public QUndoCommand
{
public:
    NVNoteTextChange(std::weak_ptr<NVNoteFile *> note, std::shared_ptr<QTextDocument> previous,
                     std::shared_ptr<QTextDocument> next)
        : m_note(std::move(note))
        , m_previous(std::move(previous))
        , m_next(std::move(next))
    { }

    void undo() override
    {
        if (const auto note = m_note.lock())
            (*note)->storeNoteText(m_previous);
    }
    void redo() override
    {
        // QUndoStack::push() runs redo() at once; the change has already been made then.
        if (const auto note = m_note.lock(); note && m_pushed)
            (*note)->storeNoteText(m_next);
        m_pushed = true;
    }

private:
    std::weak_ptr<NVNoteFile *> m_note;
    std::shared_ptr<QTextDocument> m_previous;
    std::shared_ptr<QTextDocument> m_next;
    bool m_pushed = false;
};

QString NVNoteFile::oldWelcomeNotePath()
{
    const QString fileName = OVExtensions::stringByAppendingPathExtension(welcomeNoteName, NVNoteDocumentFileExtension);
    const QString resource = QStringLiteral(":/") + fileName;
    if (QFileInfo::exists(resource))
        return resource;
    return QStandardPaths::locate(QStandardPaths::AppDataLocation, fileName, QStandardPaths::LocateDirectory);
}

QString NVNoteFile::nameOfNewNote()
{
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "New Note"));
}

std::unique_ptr<NVNoteFile> NVNoteFile::noteFileWithFileURL(const QUrl &url, OVError *error)
{
    auto note = std::make_unique<NVNoteFile>();
    if (!note->initWithFileURL(url, error))
        return nullptr;
    return note;
}

bool NVNoteFile::noteFileAtURLIsEmpty(const QUrl &url)
{
    // A package is a folder, and its URL may end in a slash: "New Note 3.nvnote/" is the same
    // note as "New Note 3.nvnote".
    QString path = url.path();
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    if (OVExtensions::pathExtension(name) != NVNoteDocumentFileExtension)
        return false;
    if (!OVExtensions::stringByDeletingPathExtension(name).startsWith(nameOfNewNote()))
        return false;
    const std::unique_ptr<NVNoteFile> note = noteFileWithFileURL(url);
    // An unreadable note has no text, so it counts as empty.
    const qsizetype length = note && note->noteText() ? note->noteText()->characterCount() - 1 : 0;
    return length == 0;
}

std::optional<QVariantMap> NVNoteFile::defaultNoteAttributes(OVError *error)
{
    const QSettings defaults;
    QVariantMap attributes;
    const QString fontName = defaults.value(defaultNoteFontNameKey).toString();
    const float fontSize = defaults.value(defaultNoteFontSizeKey).toFloat();
    QFont font;
    if (!fontName.isEmpty() && QFontDatabase::hasFamily(fontName)) {
        font = QFont(fontName);
        font.setPointSizeF(fontSize > 0 ? double(fontSize) : defaultFontSize);
    } else {
        font = QFont(userFontFamily());
        font.setPointSizeF(defaultFontSize);
    }
    attributes.insert(fontAttribute, font);

    NVNoteAttributes::registerClass(); // colours and fonts
    const QColor color
        = OVKeyedUnarchiver::unarchivedObjectWithData(defaults.value(defaultNoteTextColorKey).toByteArray())
              .value<QColor>();
    if (!color.isValid()) {
        OVSetError(error, QStringLiteral("NSInvalidArgumentException"), 0,
                   QStringLiteral("*** -[__NSDictionaryM setObject:forKey:]: object cannot be nil (key: %1)")
                       .arg(foregroundColorAttribute));
        return std::nullopt;
    }
    attributes.insert(foregroundColorAttribute, color);
    return attributes;
}

QString NVNoteFile::systemFontFamily()
{
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

QString NVNoteFile::userFontFamily()
{
    // The family new rich text is written in when nothing else is said (the writer's default).
    return QStringLiteral("Helvetica");
}

NVNoteFile::NVNoteFile()
    : m_noteText(std::make_shared<QTextDocument>())
    , m_documentAttributes(QVariantMap {{RichText::DocumentTypeAttribute, RichText::RTFDDocumentType}})
    , m_noteAttributes(NVNoteAttributes())
{ }

NVNoteFile::~NVNoteFile() = default;

bool NVNoteFile::initWithFileURL(const QUrl &url, OVError *error)
{
    m_noteText.reset();
    m_documentAttributes.reset();
    m_noteAttributes.reset();
    m_noteURL.clear();
    m_undoManager.clear();

    const QString path = url.isLocalFile() ? url.toLocalFile() : url.path();
    RTFDPackage package;
    auto text = std::make_shared<QTextDocument>();
    QVariantMap readAttributes;
    if (!package.readDocument(path, text.get(), &readAttributes)) {
        if (error)
            *error = package.error();
        return false;
    }
    RichTextFonts::substituteFontFamily(text.get(), systemFontFamily(), userFontFamily());
    setNoteText(text);
    // The reader's attributes would be merged into documentAttributes, which is still null
    // here, so nothing is kept; the null stays until fileWrapper() makes the defaults.
    if (m_documentAttributes)
        m_documentAttributes->insert(readAttributes);
    if (package.contains(noteAttributesFileName)) {
        // The view state is whatever can be unarchived, none when nothing can: damaged view
        // state does not keep the text from opening, and is not the note's failure.
        m_noteAttributes = NVNoteAttributes::fromArchivedData(package.file(noteAttributesFileName));
    } else {
        m_noteAttributes = NVNoteAttributes();
    }
    return true;
}

std::unique_ptr<NVNoteFile> NVNoteFile::copy() const
{
    auto note = std::make_unique<NVNoteFile>();
    note->setNoteText(copyOf(m_noteText));
    note->m_noteAttributes
        = m_noteAttributes ? std::optional<NVNoteAttributes>(m_noteAttributes->copy()) : std::nullopt;
    return note;
}

bool NVNoteFile::addNoteAttributes(RTFDPackage &package, OVError *error)
{
    if (!m_noteAttributes)
        return true;
    OVError archiveError;
    const QByteArray archived = m_noteAttributes->archivedData(&archiveError);
    if (archived.isEmpty()) {
        if (error)
            *error = archiveError;
        return false;
    }
    package.setFile(noteAttributesFileName, archived);
    return true;
}

std::optional<RTFDPackage> NVNoteFile::fileWrapper(OVError *error)
{
    if (!m_documentAttributes) {
        QVariantMap attributes {{RichText::DocumentTypeAttribute, RichText::RTFDDocumentType}};
        if (m_noteAttributes && m_noteAttributes->backgroundColor().isValid())
            attributes.insert(RichText::BackgroundColorAttribute, m_noteAttributes->backgroundColor());
        m_documentAttributes = attributes;
    }
    if (!m_noteText) {
        RichText::setError(error, RichText::FileWriteUnknownError, QStringLiteral("The note has no text."));
        return std::nullopt;
    }
    RTFDPackage package;
    if (!package.fromDocument(m_noteText.get(), *m_documentAttributes, {noteAttributesFileName})) {
        if (error)
            *error = package.error();
        return std::nullopt;
    }
    if (!addNoteAttributes(package, error))
        return std::nullopt;
    return package;
}

bool NVNoteFile::writeFileWrapper(RTFDPackage &package, const QString &path, OVError *error)
{
    OVError failure;
    bool written = addNoteAttributes(package, &failure);
    if (written) {
        const QFileInfo existing(path);
        QDateTime creationDate;
        std::optional<bool> extensionHidden;
        if (existing.exists()) {
            creationDate = OVFileAttributes::creationDate(path);
            if (!creationDate.isValid())
                creationDate = existing.birthTime();
            extensionHidden = OVFileAttributes::isExtensionHidden(path);
        } else {
            extensionHidden = true;
        }
        written = package.writeToDirectory(path);
        failure = package.error();
        if (written) {
            if (creationDate.isValid())
                OVFileAttributes::setCreationDate(path, creationDate);
            if (extensionHidden)
                OVFileAttributes::setExtensionHidden(path, *extensionHidden);
            return true;
        }
    }
    qCWarning(lcFormats).noquote()
        << QStringLiteral("Error writing note to %1: %2").arg(path, failure.localizedDescription);
    if (error)
        *error = failure;
    return false;
}

bool NVNoteFile::writeToFile(const QString &path, OVError *error)
{
    if (!m_noteText) {
        RichText::setError(error, RichText::FileWriteUnknownError, QStringLiteral("The note has no text."));
        return false;
    }
    RTFDPackage package;
    if (!package.fromDocument(m_noteText.get(), m_documentAttributes.value_or(QVariantMap()),
                              {noteAttributesFileName})) {
        if (error)
            *error = package.error();
        return false;
    }
    return writeFileWrapper(package, path, error);
}

void NVNoteFile::setNoteText(std::shared_ptr<QTextDocument> text)
{
    if (m_undoManager)
        m_undoManager->push(new NVNoteTextChange(m_self, copyOf(m_noteText), text));
    m_noteText = std::move(text);
}
