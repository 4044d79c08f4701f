// The note document: reading packages with and without view state, atomic writing that keeps
// the creation date and hidden-extension flag, the test for untouched new notes, copies, the
// deliberate null document attributes after reading, default text attributes, font-family
// substitution and undo registration.
#include "TestSupport.h"
#include "documents/NVNoteFile.h"
#include "formats/RichTextAttributes.h"
#include "foundation/OVFileAttributes.h"
#include "foundation/OVKeyedArchiver.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextCursor>
#include <QTextDocument>
#include <QUndoStack>
#include <QtTest>

namespace {

using TestSupport::fileContents;
using TestSupport::writeFile;

// A note package written by hand: TXT.rtf only.
QString makePackage(const QString &folder, const QString &name, const QByteArray &rtf)
{
    const QString path = folder + QLatin1Char('/') + name;
    QDir().mkpath(path);
    writeFile(path + QStringLiteral("/TXT.rtf"), rtf);
    return path;
}

std::shared_ptr<QTextDocument> textDocument(const QString &text)
{
    auto document = std::make_shared<QTextDocument>();
    document->setPlainText(text);
    return document;
}

} // namespace

class TestNoteFile : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_work;
    bool m_haveAttributes = false;

private slots:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("KastrelTests"));
        QCoreApplication::setApplicationName(QStringLiteral("TestNoteFile"));
        QVERIFY(m_work.isValid());
        const QString probe = m_work.filePath(QStringLiteral("probe"));
        QVERIFY(writeFile(probe, "x"));
        m_haveAttributes = OVFileAttributes::setExtensionHidden(probe, true);
    }

    void init() { QSettings().clear(); }

    void newNoteDefaults()
    {
        NVNoteFile note;
        QVERIFY(note.noteText());
        QVERIFY(note.noteText()->isEmpty());
        QCOMPARE(note.noteAttributes(), std::optional<NVNoteAttributes>(NVNoteAttributes()));
        QCOMPARE(
            note.documentAttributes(),
            std::optional<QVariantMap>(QVariantMap {{RichText::DocumentTypeAttribute, RichText::RTFDDocumentType}}));
        QVERIFY(note.noteURL().isEmpty());
        QVERIFY(!note.undoManager());
    }

    void classHelpers()
    {
        QCOMPARE(NVNoteFile::nameOfNewNote(), QStringLiteral("New Note"));
        QVERIFY(NVNoteFile::oldWelcomeNotePath().isNull());
    }

    void packageWithoutNoteAttributesOpensWithDefaults()
    {
        const QString path = makePackage(m_work.path(), QStringLiteral("Plain.nvnote"), "{\\rtf1\\ansi Hello}");
        OVError error;
        const auto note = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path), &error);
        QVERIFY2(note, qPrintable(error.localizedDescription));
        QCOMPARE(note->noteText()->toPlainText(), QStringLiteral("Hello"));
        QCOMPARE(note->noteAttributes(), std::optional<NVNoteAttributes>(NVNoteAttributes()));
    }

    void viewStateIsWrittenAndReadBack()
    {
        NVNoteFile note;
        note.setNoteText(textDocument(QStringLiteral("with state")));
        NVNoteAttributes attributes;
        attributes.setScaleFactor(2.5);
        attributes.setRulerVisible(true);
        attributes.setSelectedChars({3, 4});
        note.setNoteAttributes(attributes);
        const QString path = m_work.filePath(QStringLiteral("State.nvnote"));
        QVERIFY(note.writeToFile(path));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("/NoteAttributes")));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("/TXT.rtf")));
        const auto back = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path));
        QVERIFY(back);
        QCOMPARE(back->noteText()->toPlainText(), QStringLiteral("with state"));
        QCOMPARE(back->noteAttributes(), note.noteAttributes());
    }

    void unreadablePackagesFail()
    {
        OVError error;
        QVERIFY(!NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(m_work.filePath(QStringLiteral("none.nvnote"))),
                                                 &error));
        QCOMPARE(error.domain, RichText::ErrorDomain);
        QCOMPARE(error.code, qint64(RichText::FileReadNoSuchFileError));
        const QString broken = makePackage(m_work.path(), QStringLiteral("Broken.nvnote"), "{\\rtf1 x");
        QDir(broken).remove(QStringLiteral("TXT.rtf"));
        QVERIFY(!NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(broken), &error));
    }

    void damagedViewStateStillOpensTheText_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::newRow("not an archive") << QByteArray("not an archive");
        QTest::newRow("empty") << QByteArray();
        NVNoteAttributes::registerClass();
        QTest::newRow("a string, not view state")
            << OVKeyedArchiver::archivedDataWithRootObject(QVariant(QStringLiteral("view state")));
    }

    void damagedViewStateStillOpensTheText()
    {
        QFETCH(QByteArray, archive);
        const QString path = makePackage(m_work.path(), QStringLiteral("Damaged.nvnote"), "{\\rtf1\\ansi Kept text}");
        QVERIFY(writeFile(path + QStringLiteral("/NoteAttributes"), archive));
        OVError error;
        const auto note = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path), &error);
        QVERIFY2(note, qPrintable(error.localizedDescription));
        QCOMPARE(note->noteText()->toPlainText(), QStringLiteral("Kept text"));
        // What the unarchiver gives: nothing.
        QVERIFY(!note->noteAttributes().has_value());
        // Written again, the note is whole: its text, and no view state that was not there.
        const QString again = m_work.filePath(QStringLiteral("Damaged again.nvnote"));
        QVERIFY(note->writeToFile(again));
        const auto reread = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(again), &error);
        QVERIFY2(reread, qPrintable(error.localizedDescription));
        QCOMPARE(reread->noteText()->toPlainText(), QStringLiteral("Kept text"));
        QDir(path).removeRecursively();
        QDir(again).removeRecursively();
    }

    void newNoteFileGetsItsExtensionHidden()
    {
        if (!m_haveAttributes)
            QSKIP("the temporary folder's file system has no extended attributes");
        NVNoteFile note;
        const QString path = m_work.filePath(QStringLiteral("Hidden.nvnote"));
        QVERIFY(note.writeToFile(path));
        QVERIFY(OVFileAttributes::isExtensionHidden(path));
    }

    void rewritingKeepsCreationDateAndHiddenFlag()
    {
        if (!m_haveAttributes)
            QSKIP("the temporary folder's file system has no extended attributes");
        NVNoteFile note;
        note.setNoteText(textDocument(QStringLiteral("first")));
        const QString path = m_work.filePath(QStringLiteral("Kept.nvnote"));
        QVERIFY(note.writeToFile(path));
        const QDateTime created(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);
        QVERIFY(OVFileAttributes::setCreationDate(path, created));
        QVERIFY(OVFileAttributes::setExtensionHidden(path, false));
        note.setNoteText(textDocument(QStringLiteral("second")));
        QVERIFY(note.writeToFile(path));
        QCOMPARE(OVFileAttributes::creationDate(path), created);
        QVERIFY(!OVFileAttributes::isExtensionHidden(path));
        const auto back = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path));
        QCOMPARE(back->noteText()->toPlainText(), QStringLiteral("second"));
        // Rewriting an existing note that was hidden keeps it hidden.
        QVERIFY(OVFileAttributes::setExtensionHidden(path, true));
        QVERIFY(note.writeToFile(path));
        QVERIFY(OVFileAttributes::isExtensionHidden(path));
        QCOMPARE(OVFileAttributes::creationDate(path), created);
    }

    void writingLeavesTheTextAlone()
    {
        NVNoteFile note;
        const auto text = textDocument(QStringLiteral("same"));
        note.setNoteText(text);
        QVERIFY(note.writeToFile(m_work.filePath(QStringLiteral("Same.nvnote"))));
        QCOMPARE(note.noteText(), text);
        QCOMPARE(text->toPlainText(), QStringLiteral("same"));
    }

    void failedWritesAreLoggedAndKeepTheOldNote()
    {
        NVNoteFile note;
        note.setNoteText(textDocument(QStringLiteral("old")));
        const QString path = m_work.filePath(QStringLiteral("Old.nvnote"));
        QVERIFY(note.writeToFile(path));
        const QByteArray before = fileContents(path + QStringLiteral("/TXT.rtf"));
        RTFDPackage bad;
        bad.setFile(QStringLiteral("TXT.rtf"), "{\\rtf1 new}");
        bad.setFile(QStringLiteral("../outside"), "x");
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("^Error writing note to .*Old\\.nvnote: .+")));
        OVError error;
        QVERIFY(!note.writeFileWrapper(bad, path, &error));
        QCOMPARE(error.domain, RichText::ErrorDomain);
        QCOMPARE(fileContents(path + QStringLiteral("/TXT.rtf")), before);

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Error writing note to .*")));
        QVERIFY(!note.writeToFile(m_work.filePath(QStringLiteral("missing/folder/N.nvnote")), &error));
        QVERIFY(!error.localizedDescription.isEmpty());
    }

    void emptyNewNotes()
    {
        const QString folder = m_work.filePath(QStringLiteral("empty"));
        const auto url = [&](const QString &name) { return QUrl::fromLocalFile(folder + QLatin1Char('/') + name); };
        makePackage(folder, QStringLiteral("New Note 3.nvnote"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("New Note 3.rtfd"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("Old New Note.nvnote"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("New Note 4.nvnote"), "{\\rtf1\\ansi text}");
        makePackage(folder, QStringLiteral("new note 5.nvnote"), "{\\rtf1\\ansi }");
        QVERIFY(NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 3.nvnote"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 3.rtfd"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("Old New Note.nvnote"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 4.nvnote"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("new note 5.nvnote"))));
        // A note that cannot be read counts as empty.
        QVERIFY(NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 9.nvnote"))));
    }

    void emptyNewNotesWithATrailingSlash()
    {
        // A package is a folder, and a folder's URL often ends in a slash.
        const QString folder = m_work.filePath(QStringLiteral("slashed"));
        const auto url = [&](const QString &name) { return QUrl::fromLocalFile(folder + QLatin1Char('/') + name); };
        makePackage(folder, QStringLiteral("New Note 3.nvnote"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("New Note 3.rtfd"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("Old New Note.nvnote"), "{\\rtf1\\ansi }");
        makePackage(folder, QStringLiteral("New Note 4.nvnote"), "{\\rtf1\\ansi text}");
        QVERIFY(NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 3.nvnote/"))));
        QVERIFY(NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 3.nvnote"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 3.rtfd/"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("Old New Note.nvnote/"))));
        QVERIFY(!NVNoteFile::noteFileAtURLIsEmpty(url(QStringLiteral("New Note 4.nvnote/"))));
    }

    void copiesShareNothingMutable()
    {
        NVNoteFile note;
        note.setNoteText(textDocument(QStringLiteral("original")));
        NVNoteAttributes attributes;
        attributes.setScaleFactor(3.0);
        note.setNoteAttributes(attributes);
        note.setDocumentAttributes(QVariantMap {{RichText::TitleAttribute, QStringLiteral("T")}});
        QUndoStack stack;
        note.setUndoManager(&stack);
        const auto copy = note.copy();
        QVERIFY(copy->noteText() != note.noteText());
        QCOMPARE(copy->noteText()->toPlainText(), QStringLiteral("original"));
        copy->noteText()->setPlainText(QStringLiteral("changed"));
        QCOMPARE(note.noteText()->toPlainText(), QStringLiteral("original"));
        QCOMPARE(copy->noteAttributes()->scaleFactor(), 3.0);
        NVNoteAttributes changed = *copy->noteAttributes();
        changed.setScaleFactor(1.0);
        copy->setNoteAttributes(changed);
        QCOMPARE(note.noteAttributes()->scaleFactor(), 3.0);
        QCOMPARE(
            copy->documentAttributes(),
            std::optional<QVariantMap>(QVariantMap {{RichText::DocumentTypeAttribute, RichText::RTFDDocumentType}}));
        QVERIFY(!copy->undoManager());
        QCOMPARE(stack.count(), 0);
    }

    void documentAttributesStayNullAfterReading()
    {
        NVNoteFile original;
        NVNoteAttributes attributes;
        attributes.setBackgroundColor(QColor(10, 200, 30));
        original.setNoteAttributes(attributes);
        original.setNoteText(textDocument(QStringLiteral("coloured")));
        const QString path = m_work.filePath(QStringLiteral("Coloured.nvnote"));
        QVERIFY(original.writeToFile(path));
        // A note made with the default constructor keeps its own attributes: no background.
        QVERIFY(!fileContents(path + QStringLiteral("/TXT.rtf")).contains("\\background"));

        auto note = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path));
        QVERIFY(note);
        QVERIFY(!note->documentAttributes().has_value());
        // Written through writeToFile: the null attributes are used as they stand.
        const QString viaWrite = m_work.filePath(QStringLiteral("ViaWrite.nvnote"));
        QVERIFY(note->writeToFile(viaWrite));
        QVERIFY(!note->documentAttributes().has_value());
        QVERIFY(!fileContents(viaWrite + QStringLiteral("/TXT.rtf")).contains("\\background"));
        // Through fileWrapper: the RTFD default is recreated, with the view state's colour.
        const std::optional<RTFDPackage> package = note->fileWrapper();
        QVERIFY(package);
        QVERIFY(note->documentAttributes().has_value());
        QCOMPARE(note->documentAttributes()->value(RichText::DocumentTypeAttribute).toString(),
                 RichText::RTFDDocumentType);
        QCOMPARE(note->documentAttributes()->value(RichText::BackgroundColorAttribute).value<QColor>(),
                 QColor(10, 200, 30));
        QVERIFY(package->file(QStringLiteral("TXT.rtf")).contains("\\background"));
        QVERIFY(package->contains(QStringLiteral("NoteAttributes")));
        RTFDPackage copy = *package;
        const QString viaWrapper = m_work.filePath(QStringLiteral("ViaWrapper.nvnote"));
        QVERIFY(note->writeFileWrapper(copy, viaWrapper));
        QTextDocument back;
        QVariantMap read;
        QVERIFY(RTFDPackage().readDocument(viaWrapper, &back, &read));
        QCOMPARE(read.value(RichText::BackgroundColorAttribute).value<QColor>(), QColor(10, 200, 30));
    }

    void systemFontFamilyBecomesTheUserFontKeepingSizeAndTraits()
    {
        const QString system = NVNoteFile::systemFontFamily();
        QVERIFY(!system.isEmpty());
        const QByteArray rtf = "{\\rtf1\\ansi{\\fonttbl\\f0\\fnil\\fcharset0 " + system.toUtf8()
            + ";\\f1\\fnil\\fcharset0 Other;}\\f0\\b\\i\\fs36 big\\f1\\b0\\i0\\fs20  other}";
        const QString path = makePackage(m_work.path(), QStringLiteral("Fonts.nvnote"), rtf);
        const auto note = NVNoteFile::noteFileWithFileURL(QUrl::fromLocalFile(path));
        QVERIFY(note);
        QTextCursor cursor(note->noteText().get());
        cursor.setPosition(1);
        QCOMPARE(cursor.charFormat().fontFamilies().toStringList(), QStringList {NVNoteFile::userFontFamily()});
        QCOMPARE(cursor.charFormat().fontPointSize(), 18.0);
        QCOMPARE(cursor.charFormat().fontWeight(), int(QFont::Bold));
        QVERIFY(cursor.charFormat().fontItalic());
        cursor.setPosition(6);
        QCOMPARE(cursor.charFormat().fontFamilies().toStringList(), QStringList {QStringLiteral("Other")});
        QCOMPARE(cursor.charFormat().fontPointSize(), 10.0);
    }

    void defaultNoteAttributesFailWithoutAColour()
    {
        OVError error;
        QVERIFY(!NVNoteFile::defaultNoteAttributes(&error).has_value());
        QCOMPARE(error.domain, QStringLiteral("NSInvalidArgumentException"));
        QVERIFY(error.localizedDescription.contains(QStringLiteral("nil")));
        QSettings().setValue(NVNoteFile::defaultNoteTextColorKey, QByteArray("garbage"));
        QVERIFY(!NVNoteFile::defaultNoteAttributes(&error).has_value());
    }

    void defaultNoteAttributesFromTheUserDefaults()
    {
        NVNoteAttributes::registerClass();
        const QByteArray colour = OVKeyedArchiver::archivedDataWithRootObject(QVariant::fromValue(QColor(0, 0, 178)));
        QVERIFY(!colour.isEmpty());
        QSettings settings;
        settings.setValue(NVNoteFile::defaultNoteTextColorKey, colour);
        // No font named: the user font at 12 points.
        std::optional<QVariantMap> attributes = NVNoteFile::defaultNoteAttributes();
        QVERIFY(attributes);
        QCOMPARE(attributes->value(NVNoteFile::foregroundColorAttribute).value<QColor>(), QColor(0, 0, 178));
        QFont font = attributes->value(NVNoteFile::fontAttribute).value<QFont>();
        QCOMPARE(font.family(), NVNoteFile::userFontFamily());
        QCOMPARE(font.pointSizeF(), 12.0);
        // A font the system does not have: the same fallback.
        settings.setValue(NVNoteFile::defaultNoteFontNameKey, QStringLiteral("No Such Font Family 1234"));
        settings.setValue(NVNoteFile::defaultNoteFontSizeKey, 17.0f);
        font = NVNoteFile::defaultNoteAttributes()->value(NVNoteFile::fontAttribute).value<QFont>();
        QCOMPARE(font.family(), NVNoteFile::userFontFamily());
        QCOMPARE(font.pointSizeF(), 12.0);
        // A font it has, at the stored size.
        const QStringList families = QFontDatabase::families();
        if (families.isEmpty())
            QSKIP("no fonts installed");
        settings.setValue(NVNoteFile::defaultNoteFontNameKey, families.first());
        font = NVNoteFile::defaultNoteAttributes()->value(NVNoteFile::fontAttribute).value<QFont>();
        QCOMPARE(font.family(), families.first());
        QCOMPARE(font.pointSizeF(), 17.0);
    }

    void settingTheTextRegistersUndo()
    {
        NVNoteFile note;
        note.setNoteText(textDocument(QStringLiteral("before")));
        QUndoStack stack;
        note.setUndoManager(&stack);
        const auto previous = note.noteText();
        const auto next = textDocument(QStringLiteral("after"));
        note.setNoteText(next);
        QCOMPARE(note.noteText(), next);
        QCOMPARE(stack.count(), 1);
        stack.undo();
        QVERIFY(note.noteText() != previous); // a copy was put back
        QCOMPARE(note.noteText()->toPlainText(), QStringLiteral("before"));
        stack.redo();
        QCOMPARE(note.noteText(), next);
        // Without a stack nothing is registered.
        NVNoteFile other;
        other.setNoteText(textDocument(QStringLiteral("x")));
        QVERIFY(!other.undoManager());
    }

    void undoAfterTheNoteIsGoneDoesNothing()
    {
        QUndoStack stack;
        {
            NVNoteFile note;
            note.setUndoManager(&stack);
            note.setNoteText(textDocument(QStringLiteral("gone")));
        }
        QCOMPARE(stack.count(), 1);
        stack.undo();
        stack.redo();
    }
};

QTEST_MAIN(TestNoteFile)
#include "TestNoteFile.moc"
