// Writes the archives and property lists that check_keyed_archive.py reads with Python's own
// property-list reader: an archived string, a colour, a note attributes record, and one
// property list of every kind in each format.
#include "documents/NVNoteAttributes.h"
#include "foundation/OVKeyedArchiver.h"
#include "foundation/OVPlistSerialization.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

namespace {

bool write(const QDir &folder, const char *name, const QByteArray &bytes)
{
    QFile file(folder.filePath(QString::fromLatin1(name)));
    if (bytes.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "could not write %s\n", name);
        return false;
    }
    return true;
}

OVPlist everyKind()
{
    OVPlist root;
    root.insert(QStringLiteral("string"), QStringLiteral("Grüße <&> 日本"));
    root.insert(QStringLiteral("integer"), 42);
    root.insert(QStringLiteral("negative"), -7);
    root.insert(QStringLiteral("large"), Q_INT64_C(9000000000));
    root.insert(QStringLiteral("real"), 0.9);
    root.insert(QStringLiteral("whole real"), 1.0);
    root.insert(QStringLiteral("true"), true);
    root.insert(QStringLiteral("false"), false);
    root.insert(QStringLiteral("date"), QDateTime(QDate(2026, 11, 15), QTime(23, 27, 53), Qt::UTC));
    root.insert(QStringLiteral("data"), QByteArray(200, 'x'));
    root.insert(QStringLiteral("array"), QStringList {QStringLiteral("a"), QStringLiteral("b")});
    root.insert(QStringLiteral("empty"), OVPlist::dictionary());
    return root;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_keyed_archives FOLDER\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    NVNoteAttributes::registerClass();

    NVNoteAttributes attributes;
    attributes.setFileVersion(1500);
    attributes.setVisibleChars(OVRange {3, 40});
    attributes.setSelectedChars(OVRange {5, 2});
    attributes.setHyphenationFactor(0.1);
    attributes.setScaleFactor(1.5);
    attributes.setRulerVisible(true);
    attributes.setVisibleRect(QRectF(0, 10, 600, 400));
    attributes.setBackgroundColor(QColor::fromCmykF(0.0f, 0.5f, 1.0f, 0.0f));
    attributes.setTypingAttributes(QVariantMap {{QStringLiteral("NSColor"), QColor::fromRgbF(0, 0, 0.698f)}});

    const bool written
        = write(folder, "string.archive", OVKeyedArchiver::archivedDataWithRootObject(QStringLiteral("text")))
        && write(folder, "color.archive", OVKeyedArchiver::archivedDataWithRootObject(QColor::fromRgbF(1, 0.5f, 0)))
        && write(folder, "translucent-color.archive",
                 OVKeyedArchiver::archivedDataWithRootObject(QColor::fromRgbF(0, 0, 0.698f, 0.5f)))
        && write(folder, "note-attributes.archive", attributes.archivedData())
        && write(folder, "every-kind.xml",
                 OVPlistSerialization::dataWithPropertyList(everyKind(), OVPlistSerialization::Format::Xml))
        && write(folder, "every-kind.bplist",
                 OVPlistSerialization::dataWithPropertyList(everyKind(), OVPlistSerialization::Format::Binary));
    return written ? 0 : 1;
}
