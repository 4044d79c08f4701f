// The target application's note document: an editable rich text, the document attributes
// handed to the rich-text writer, and the per-note view state, kept on disk as a package with
// the extension "nvnote" (RTFD layout plus an optional "NoteAttributes" member). Reads such
// packages, writes them atomically while keeping the creation date and hidden-extension flag,
// and offers the class-level helpers the target needs around new notes.
#pragma once

#include "documents/NVNoteAttributes.h"
#include "formats/RTFDPackage.h"
#include "foundation/OVError.h"

#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>
#include <optional>

class QTextDocument;
class QUndoStack;

class NVNoteFile
{
public:
    // Keys of the text attributes made by defaultNoteAttributes().
    static const QString fontAttribute; // "NSFont", a QFont
    static const QString foregroundColorAttribute; // "NSColor", a QColor

    // User-default keys (QSettings) read by defaultNoteAttributes().
    static const QString defaultNoteFontNameKey; // "DefaultNoteFontName"
    static const QString defaultNoteFontSizeKey; // "DefaultNoteFontSize"
    static const QString defaultNoteTextColorKey; // "DefaultNoteTextColor", an archived colour

    static constexpr double defaultFontSize = 12.0;

    // The package member holding the archived view state.
    static const QString noteAttributesFileName; // "NoteAttributes"

    // The welcome note shipped with the application ("Welcome to Nortavel.nvnote" among the
    // application's resources or data folders), or a null string when there is none.
    static QString oldWelcomeNotePath();
    // The localised name of a new note ("New Note").
    static QString nameOfNewNote();
    // A note read from the package at `url`; null with the reading error on failure.
    static std::unique_ptr<NVNoteFile> noteFileWithFileURL(const QUrl &url, OVError *error = nullptr);
    // True for an untouched new note: the extension is exactly "nvnote", the name begins with
    // nameOfNewNote(), and the text is empty. A note that cannot be read counts as empty.
    static bool noteFileAtURLIsEmpty(const QUrl &url);
    // The text attributes of new notes: the font named in the user defaults (or the user font
    // at 12 points when there is no such font) and the archived text colour of the user
    // defaults. There is deliberately no fallback colour: when the colour is missing or cannot
    // be unarchived, the original platform raised an invalid-argument exception on inserting
    // the null colour. Here that failure is the empty result, with an error of the domain
    // "NSInvalidArgumentException" for the caller, which propagates it as it sees fit.
    static std::optional<QVariantMap> defaultNoteAttributes(OVError *error = nullptr);

    // The font families involved when a note is read: text in the system font's family is
    // put into the user font's family.
    static QString systemFontFamily();
    static QString userFontFamily();

    // An empty note: empty text, default view state, document attributes holding only the
    // RTFD document type, no URL and no undo stack.
    NVNoteFile();
    ~NVNoteFile();
    NVNoteFile(const NVNoteFile &) = delete;
    NVNoteFile &operator=(const NVNoteFile &) = delete;

    // Reads the package at `url` into this note, which starts with every field null. The
    // document attributes stay null after reading, deliberately (fileWrapper() recreates them).
    // Only an unreadable package or rich text fails; a "NoteAttributes" member that cannot be
    // unarchived leaves the view state null.
    [[nodiscard]] bool initWithFileURL(const QUrl &url, OVError *error = nullptr);

    // A new note of this class with its own copy of the text and of the view state; document
    // attributes are the defaults of a new note and no undo stack is carried over.
    std::unique_ptr<NVNoteFile> copy() const;

    // The note as a package in memory, with the archived view state as "NoteAttributes".
    // Recreates the document attributes first when they are null.
    [[nodiscard]] std::optional<RTFDPackage> fileWrapper(OVError *error = nullptr);
    // Adds the view state to `package` and writes it to `path` atomically, keeping the creation
    // date and hidden-extension flag of what was there, or hiding the extension of a new file.
    // A failure is logged ("Error writing note to <path>: <error>") and handed out.
    [[nodiscard]] bool writeFileWrapper(RTFDPackage &package, const QString &path, OVError *error = nullptr);
    // Packages the text with the document attributes as they stand (null ones included) and
    // writes it through writeFileWrapper(); false without writing if there is no text.
    [[nodiscard]] bool writeToFile(const QString &path, OVError *error = nullptr);

    // The text itself, not a copy: the setter stores the given object, after registering with
    // the undo stack an action that puts back a copy of the current text.
    std::shared_ptr<QTextDocument> noteText() const { return m_noteText; }
    void setNoteText(std::shared_ptr<QTextDocument> text);

    // Null (std::nullopt) after reading from a file until fileWrapper() is asked for.
    std::optional<QVariantMap> documentAttributes() const { return m_documentAttributes; }
    void setDocumentAttributes(const std::optional<QVariantMap> &attributes) { m_documentAttributes = attributes; }

    std::optional<NVNoteAttributes> noteAttributes() const { return m_noteAttributes; }
    void setNoteAttributes(const std::optional<NVNoteAttributes> &attributes) { m_noteAttributes = attributes; }

    QUrl noteURL() const { return m_noteURL; }
    void setNoteURL(const QUrl &url) { m_noteURL = url; }

    // The stack belongs to the window that edits the note; the note only refers to it.
    QUndoStack *undoManager() const { return m_undoManager; }
    void setUndoManager(QUndoStack *undoManager) { m_undoManager = undoManager; }

private:
    // Stores the text without registering an undo action (used by undo and redo themselves).
    friend class NVNoteTextChange;
    void storeNoteText(std::shared_ptr<QTextDocument> text) { m_noteText = std::move(text); }
    bool addNoteAttributes(RTFDPackage &package, OVError *error);

    std::shared_ptr<QTextDocument> m_noteText;
    std::optional<QVariantMap> m_documentAttributes;
    std::optional<NVNoteAttributes> m_noteAttributes;
    QUrl m_noteURL;
    QPointer<QUndoStack> m_undoManager;
    // What undo actions hold on to: it expires with the note, so actions left on a stack that
    // outlives the note do nothing.
    std::shared_ptr<NVNoteFile *> m_self = std::make_shared<NVNoteFile *>(this);
};
