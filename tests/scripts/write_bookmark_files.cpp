// Writes a fixed set of bookmark files into the folder given as the only argument, for the
// independent reader in check_bookmark_file.py. Each file name says what the bookmark holds.
#include "formats/NVWebBookmarkFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QUrl>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: write_bookmark_files FOLDER\n");
        return 2;
    }
    const QDir folder(arguments.at(1));
    const struct
    {
        const char *fileName;
        const char *name; // nullptr: no name
        const char *address; // nullptr: no address
    } bookmarks[] = {
        {"named.webloc", "Example \xe2\x80\x93 Start\tPage", "https://www.example.org/start?lang=en#top"},
        {"host-only.webloc", nullptr, "http://host.example.org/page.html"},
        {"no-address.inetloc", "Nowhere", nullptr},
        {"nothing.inetloc", nullptr, nullptr},
        {"mail.mailloc", nullptr, "mailto:someone@example.org"},
        {"empty-name.ftploc", "", "ftp://ftp.example.org/pub/"},
    };
    int failures = 0;
    for (const auto &entry : bookmarks) {
        const QString name = entry.name ? QString::fromUtf8(entry.name) : QString();
        const QUrl url = entry.address ? NVWebBookmarkFile::URLWithString(QString::fromUtf8(entry.address)) : QUrl();
        const auto bookmark = NVWebBookmarkFile::bookmarkWithName(name, url);
        OVError error;
        const QString path = folder.filePath(QString::fromUtf8(entry.fileName));
        if (!bookmark->writeToFileAtURL(QUrl::fromLocalFile(path), &error)) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(error.localizedDescription));
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
