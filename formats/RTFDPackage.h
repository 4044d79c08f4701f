// RTFD packages: a folder holding the text as TXT.rtf beside its attachment files. The class
// is the package in memory (the members by name); it is made from a document or read from a
// folder, turned back into a document, and written to disk atomically.
#pragma once

#include "formats/RichTextError.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QTextDocument;

class RTFDPackage : public RichTextError
{
public:
    static const QString textFileName; // "TXT.rtf"

    bool isEmpty() const { return m_files.isEmpty(); }
    QStringList fileNames() const { return m_files.keys(); }
    bool contains(const QString &name) const { return m_files.contains(name); }
    QByteArray file(const QString &name) const { return m_files.value(name); }
    // Adds a member or replaces the one of the same name.
    void setFile(const QString &name, const QByteArray &contents) { m_files.insert(name, contents); }

    // Every call below answers false on failure, with the reason in errorString() and error().

    // Makes this the package of the whole document: its RTF and every attachment under a name
    // unique in the package and different from `reservedNames`.
    [[nodiscard]] bool fromDocument(const QTextDocument *document, const QVariantMap &documentAttributes = {},
                                    const QSet<QString> &reservedNames = {});

    // Loads the regular files directly inside the folder. Symbolic links and sub-folders are
    // not followed, so nothing outside the package is read.
    [[nodiscard]] bool readFromDirectory(const QString &path);

    // The text of the package with its attachments; the document type reported is RTFD.
    [[nodiscard]] bool toDocument(QTextDocument *document, QVariantMap *documentAttributes = nullptr);

    // Writes the members into a new folder beside `path` and puts it in place of whatever
    // was there in one step; on failure the old item stays.
    [[nodiscard]] bool writeToDirectory(const QString &path);

    // Shorthands for reading a package folder into a document and writing a document as one.
    [[nodiscard]] bool readDocument(const QString &path, QTextDocument *document,
                                    QVariantMap *documentAttributes = nullptr);
    [[nodiscard]] bool writeDocument(const QTextDocument *document, const QString &path,
                                     const QVariantMap &documentAttributes = {});

private:
    QMap<QString, QByteArray> m_files;
};
