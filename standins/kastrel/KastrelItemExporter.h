// Writes an item's file the way the source application exports it: named after the item
// ("/" becomes ":" as in a macOS file name, a taken name gets " 2", " 3", ...), notes as
// their RTF, plain text or RTFD package, serial numbers and passwords as RTF (a password item with its password),
// images, PDFs and web archives as the files they are.
#pragma once

#include "standins/kastrel/KastrelLibrary.h"

#include <QString>

namespace Standin {

namespace KastrelItemExporter {

// The absolute path written into `folder`, or an empty string when nothing was written
// (no content, a folder that does not exist, a write that failed); `error` says why.
QString exportItem(const KastrelItem &item, const QString &folder, QString *error = nullptr);

// The file name the item is exported under before any clash is resolved, without extension.
QString baseFileName(const KastrelItem &item);

// The text an item's export holds: its text, and for a password item its password too, as
// the item's content would be.
QString exportedText(const KastrelItem &item);

// A minimal RTF document in the layout macOS text views write, holding `text` in Helvetica.
QByteArray rtfDocumentForText(const QString &text);

} // namespace KastrelItemExporter

} // namespace Standin
