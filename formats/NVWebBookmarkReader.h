// Reads one web bookmark from a file: a property-list bookmark file (".webloc" and its
// siblings, in any property-list encoding) or a ".url" internet shortcut, told apart by the
// exact extension "url".
#pragma once

#include "formats/NVWebBookmarkFile.h"

#include <QString>

class QIODevice;

class NVWebBookmarkReader
{
public:
    // Reads the file at `path`. False, with the reason in errorString(), when the file cannot
    // be opened or holds no bookmark; bookmark() then keeps what could be taken (for most
    // failures the name made from the file name).
    [[nodiscard]] bool read(const QString &path);
    // The same from a device open for reading; `fileName` picks the format and gives the
    // fallback name.
    [[nodiscard]] bool read(QIODevice *device, const QString &fileName);

    // The bookmark of the last read; never null.
    NVWebBookmarkFile::Pointer bookmark() const { return m_bookmark; }
    bool hasError() const { return !m_errorString.isEmpty(); }
    QString errorString() const { return m_errorString; }

private:
    bool readPropertyList(const QByteArray &data, const QString &fileName);
    bool readInternetShortcut(const QByteArray &data, const QString &fileName);
    bool fail(const QString &reason);

    NVWebBookmarkFile::Pointer m_bookmark = std::make_shared<NVWebBookmarkFile>();
    QString m_errorString;
};
