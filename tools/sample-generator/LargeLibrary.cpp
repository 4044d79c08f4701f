#include "LargeLibrary.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

constexpr int kGroups = 100;
constexpr int kTags = 50;
constexpr int kLabels = 5;

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly)
        && file.write(bytes) == bytes.size() && file.commit();
}

QString itemId(int index)
{
    return QStringLiteral("ITEM-%1").arg(index, 6, 10, QLatin1Char('0'));
}

} // namespace

namespace LargeLibrary {

bool write(const QString &folder, int count)
{
    const QDir out(folder);
    // Content shared by all items of a kind; the stand-in copies it under each item's name.
    bool ok
        = writeFile(out.filePath(QStringLiteral("content/note.rtf")),
                    "{\\rtf1\\ansi{\\fonttbl\\f0\\fswiss Helvetica;}\\f0\\fs24 A note of the large library.}")
        && writeFile(
              out.filePath(QStringLiteral("content/image.png")),
              QByteArray::fromBase64(
                  "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg=="))
        && writeFile(out.filePath(QStringLiteral("content/document.pdf")),
                     "%PDF-1.4\n1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n"
                     "2 0 obj << /Type /Pages /Kids [] /Count 0 >> endobj\ntrailer << /Root 1 0 R >>\n%%EOF\n")
        && writeFile(out.filePath(QStringLiteral("content/page.webarchive")),
                     "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                     "\t<key>WebMainResource</key>\n\t<dict>\n"
                     "\t\t<key>WebResourceData</key>\n\t\t<data>PGh0bWw+PC9odG1sPg==</data>\n"
                     "\t\t<key>WebResourceFrameName</key>\n\t\t<string></string>\n"
                     "\t\t<key>WebResourceMIMEType</key>\n\t\t<string>text/html</string>\n"
                     "\t\t<key>WebResourceTextEncodingName</key>\n\t\t<string>UTF-8</string>\n"
                     "\t\t<key>WebResourceURL</key>\n\t\t<string>https://example.com/</string>\n"
                     "\t</dict>\n</dict>\n</plist>\n");
    if (!ok)
        return false;

    static const char *const kinds[]
        = {"note", "bookmark", "serialNumber", "password", "image", "pdfArchive", "webArchive"};
    QJsonArray items;
    for (int index = 0; index < count; ++index) {
        const QString kind = QString::fromLatin1(kinds[index % 7]);
        QJsonObject item {{QStringLiteral("kind"), kind},
                          {QStringLiteral("id"), itemId(index)},
                          {QStringLiteral("name"), QStringLiteral("Item %1").arg(index)},
                          {QStringLiteral("creationDate"), 1500000000.0 + index},
                          {QStringLiteral("modificationDate"), 1600000000.0 + index},
                          {QStringLiteral("label"), QStringLiteral("LABEL-%1").arg(index % kLabels)},
                          {QStringLiteral("tags"),
                           QJsonArray {QStringLiteral("tag %1").arg(index % kTags), QStringLiteral("everything")}}};
        if (index % 3 == 0)
            item.insert(QStringLiteral("comments"), QStringLiteral("Comments of item %1").arg(index));
        if (kind == QLatin1String("note")) {
            item.insert(QStringLiteral("file"), QStringLiteral("content/note.rtf"));
            item.insert(QStringLiteral("encrypted"), index % 2 == 0);
        } else if (kind == QLatin1String("bookmark")) {
            item.insert(QStringLiteral("location"), QStringLiteral("https://example.com/%1").arg(index));
        } else if (kind == QLatin1String("serialNumber")) {
            item.insert(QStringLiteral("text"), QStringLiteral("Serial: %1").arg(index));
        } else if (kind == QLatin1String("password")) {
            item.insert(QStringLiteral("password"), QStringLiteral("secret"));
            item.insert(QStringLiteral("text"), QStringLiteral("Password: secret"));
        } else if (kind == QLatin1String("image")) {
            item.insert(QStringLiteral("file"), QStringLiteral("content/image.png"));
        } else if (kind == QLatin1String("pdfArchive")) {
            item.insert(QStringLiteral("file"), QStringLiteral("content/document.pdf"));
        } else {
            item.insert(QStringLiteral("file"), QStringLiteral("content/page.webarchive"));
        }
        items << item;
    }

    QJsonArray groups;
    for (int group = 0; group < kGroups; ++group) {
        QJsonArray members;
        for (int index = group; index < count; index += kGroups)
            members << itemId(index);
        groups << QJsonObject {{QStringLiteral("id"), QStringLiteral("GROUP-%1").arg(group)},
                               {QStringLiteral("name"), QStringLiteral("Group %1").arg(group)},
                               {QStringLiteral("items"), members}};
    }
    QJsonArray labels;
    for (int label = 0; label < kLabels; ++label)
        labels << QJsonObject {{QStringLiteral("id"), QStringLiteral("LABEL-%1").arg(label)},
                               {QStringLiteral("name"), QStringLiteral("Label %1").arg(label)},
                               {QStringLiteral("color"), QStringLiteral("gray %1 1").arg(label / double(kLabels))}};
    const QJsonArray tagCollections {
        QJsonObject {{QStringLiteral("id"), QStringLiteral("TAGS-ALL")},
                     {QStringLiteral("name"), QStringLiteral("Everything")},
                     {QStringLiteral("behavior"), QStringLiteral("TgAl")},
                     {QStringLiteral("tags"), QJsonArray {QStringLiteral("everything"), QStringLiteral("tag 1")}}},
        QJsonObject {{QStringLiteral("id"), QStringLiteral("TAGS-ANY")},
                     {QStringLiteral("name"), QStringLiteral("Some")},
                     {QStringLiteral("behavior"), QStringLiteral("TgAn")},
                     {QStringLiteral("tags"), QJsonArray {QStringLiteral("tag 2"), QStringLiteral("tag 3")}}}};

    const QJsonObject library {
        {QStringLiteral("description"), QStringLiteral("Synthetic library of %1 items").arg(count)},
        {QStringLiteral("labels"), labels},
        {QStringLiteral("tagCollections"), tagCollections},
        {QStringLiteral("folderCollections"), groups},
        {QStringLiteral("items"), items}};
    return writeFile(out.filePath(QStringLiteral("library.json")),
                     QJsonDocument(library).toJson(QJsonDocument::Compact));
}

} // namespace LargeLibrary
