// The export options: which kinds of source items a run exports. The same seven keys are
// made by the application controller, edited by the options sheet and the command line's
// --only, and read by the engine's item stage.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace KSImportOptions {

inline const QString notesKey = QStringLiteral("notes");
inline const QString bookmarksKey = QStringLiteral("bookmarks");
inline const QString serialNumbersKey = QStringLiteral("serialNumbers");
inline const QString passwordsKey = QStringLiteral("passwords");
inline const QString imagesKey = QStringLiteral("images");
inline const QString PDFsKey = QStringLiteral("PDFs");
inline const QString webArchivesKey = QStringLiteral("webArchives");

// The seven keys in the order they are made.
QStringList allKeys();

// Every key mapped to `on`.
QVariantMap allOptions(bool on = true);

// The options as a dictionary's printed description, one "key = 1;" line per entry in the
// dictionary's order, the way the confirmation line shows them.
QString description(const QVariantMap &options);

} // namespace KSImportOptions
