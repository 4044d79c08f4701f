#include "BenchmarkLibrary.h"

#include "NoteText.h"
#include "foundation/OVPlist.h"
#include "foundation/OVPlistSerialization.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QRandomGenerator>

namespace {

class Writer
{
public:
    Writer(const QString &folder, quint32 seed)
        : m_folder(folder)
        , m_random(seed)
    { }

    bool ok() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }
    qint64 bytes() const { return m_bytes; }

    int between(int low, int high) { return NoteText::between(m_random, low, high); }

    QString words(int count) { return NoteText::words(m_random, count); }

    QByteArray randomBytes(int size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        m_random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
        return bytes;
    }

    void file(const QString &relative, const QByteArray &contents)
    {
        if (!ok())
            return;
        const QString path = QDir(m_folder).filePath(relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly) || out.write(contents) != contents.size())
            m_error = path + QStringLiteral(": ") + out.errorString();
        m_bytes += contents.size();
    }

    // RTF of about `size` bytes: paragraphs with bold, italic and coloured runs.
    QByteArray rtf(int size) { return NoteText::rtf(m_random, size); }

    // A real JPEG padded with trailing bytes, which readers ignore, to the wanted size.
    QByteArray image(int size)
    {
        if (m_baseImage.isEmpty()) {
            QImage picture(320, 200, QImage::Format_RGB32);
            QPainter painter(&picture);
            painter.fillRect(picture.rect(), QColor(40, 90, 160));
            painter.fillRect(QRect(40, 40, 120, 80), QColor(240, 200, 40));
            painter.end();
            QBuffer buffer(&m_baseImage);
            buffer.open(QIODevice::WriteOnly);
            picture.save(&buffer, "JPEG", 80);
        }
        return m_baseImage + randomBytes(qMax(0, size - int(m_baseImage.size())));
    }

    QByteArray png()
    {
        QImage picture(160, 120, QImage::Format_RGB32);
        picture.fill(QColor(between(0, 255), between(0, 255), between(0, 255)));
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        picture.save(&buffer, "PNG");
        return bytes;
    }

    // A valid PDF with the given creator whose one stream takes `size` bytes.
    QByteArray pdf(int size, const QString &creator)
    {
        const QByteArray stream = "BT /F1 12 Tf 72 712 Td (" + words(10).toLatin1() + ") Tj ET\n%"
            + randomBytes(qMax(0, size - 600)).toBase64() + "\n";
        const QList<QByteArray> objects = {
            "<< /Type /Catalog /Pages 2 0 R >>",
            "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R >>",
            "<< /Length " + QByteArray::number(stream.size()) + " >>\nstream\n" + stream + "endstream",
            "<< /Creator (" + creator.toLatin1() + ") /Producer (benchmark) >>",
        };
        QByteArray pdf = "%PDF-1.4\n";
        QList<qsizetype> offsets;
        for (int i = 0; i < objects.size(); ++i) {
            offsets.append(pdf.size());
            pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
        }
        const qsizetype xref = pdf.size();
        pdf += "xref\n0 6\n0000000000 65535 f \n";
        for (const qsizetype offset : offsets)
            pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
        pdf += "trailer\n<< /Size 6 /Root 1 0 R /Info 5 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
        return pdf;
    }

    QByteArray webArchive(int size)
    {
        OVPlist resource = OVPlist::dictionary();
        resource.insert(QStringLiteral("WebResourceData"),
                        "<html><body><p>" + words(50).toUtf8() + "</p><!--" + randomBytes(size).toBase64()
                            + "--></body></html>");
        resource.insert(QStringLiteral("WebResourceFrameName"), QString(QLatin1String("")));
        resource.insert(QStringLiteral("WebResourceMIMEType"), QStringLiteral("text/html"));
        resource.insert(QStringLiteral("WebResourceTextEncodingName"), QStringLiteral("UTF-8"));
        resource.insert(QStringLiteral("WebResourceURL"), QStringLiteral("https://example.org/") + words(1));
        OVPlist archive = OVPlist::dictionary();
        archive.insert(QStringLiteral("WebMainResource"), resource);
        return OVPlistSerialization::dataWithPropertyList(archive, OVPlistSerialization::Format::Binary);
    }

private:
    QString m_folder;
    QRandomGenerator m_random;
    QString m_error;
    qint64 m_bytes = 0;
    QByteArray m_baseImage;
};

QString itemId(int index)
{
    return QStringLiteral("ITEM-%1").arg(index, 7, 10, QLatin1Char('0'));
}

// The kind of the item at `index`: the proportions repeat every twenty items.
const char *kindAt(int index)
{
    static const char *const pattern[20]
        = {"note",  "note",  "note",       "note",       "note",         "note",     "note",
           "note",  "note",  "note",       "bookmark",   "bookmark",     "bookmark", "bookmark",
           "image", "image", "pdfArchive", "pdfArchive", "serialNumber", "password"};
    return pattern[index % 20];
}

} // namespace

namespace BenchmarkLibrary {

bool write(const QString &folder, int items, quint32 seed, Summary *summary, QString *error)
{
    Writer writer(folder, seed);
    QJsonArray labels;
    const char *const colors[] = {"rgb 1 0 0 1", "gray 0.5 1", "cmyk 0 0.5 1 0 1", "orange", "rgb 0.2 0.4 0.8 1"};
    for (int i = 0; i < 5; ++i)
        labels.append(QJsonObject {{QStringLiteral("id"), QStringLiteral("LABEL-%1").arg(i)},
                                   {QStringLiteral("name"), writer.words(1)},
                                   {QStringLiteral("color"), QString::fromLatin1(colors[i])}});

    QStringList tagNames;
    for (int i = 0; i < 300; ++i)
        tagNames.append(writer.words(1) + QString::number(i));

    QJsonArray itemArray;
    QStringList identifiers;
    for (int index = 0; index < items; ++index) {
        QString kind = QString::fromLatin1(kindAt(index));
        // Every other password slot is a web archive, so the rest splits three ways.
        if (kind == QLatin1String("password") && (index / 20) % 2 == 1)
            kind = QStringLiteral("webArchive");
        if (kind == QLatin1String("serialNumber") && (index / 20) % 3 == 2)
            kind = QStringLiteral("webArchive");
        const QString id = itemId(index);
        identifiers.append(id);
        QJsonObject item {{QStringLiteral("kind"), kind},
                          {QStringLiteral("id"), id},
                          {QStringLiteral("name"), writer.words(writer.between(1, 4))},
                          {QStringLiteral("comments"), index % 7 == 0 ? writer.words(6) : QString()},
                          {QStringLiteral("creationDate"), 1300000000 + index * 60},
                          {QStringLiteral("modificationDate"), 1500000000 + index * 60}};
        if (index % 3 == 0)
            item.insert(QStringLiteral("label"), QStringLiteral("LABEL-%1").arg(index % 5));
        QJsonArray tags;
        for (int t = writer.between(0, 5); t > 0; --t)
            tags.append(tagNames.at(writer.between(0, int(tagNames.size()) - 1)));
        item.insert(QStringLiteral("tags"), tags);

        const QString base = QStringLiteral("content/%1/%2").arg(index / 1000).arg(id);
        if (kind == QLatin1String("note")) {
            if (index % 10 == 0) {
                const QByteArray picture = writer.png();
                writer.file(base + QStringLiteral(".rtfd/picture.png"), picture);
                writer.file(
                    base + QStringLiteral(".rtfd/TXT.rtf"),
                    writer.rtf(writer.between(2000, 20000))
                        .replace("\\cf0 ", "\\cf0 {{\\NeXTGraphic picture.png \\width2400 \\height1800\n}\xac}\\\n"));
                item.insert(QStringLiteral("file"), base + QStringLiteral(".rtfd"));
            } else {
                writer.file(base + QStringLiteral(".rtf"), writer.rtf(writer.between(2000, 20000)));
                item.insert(QStringLiteral("file"), base + QStringLiteral(".rtf"));
            }
            item.insert(QStringLiteral("encrypted"), index % 50 == 0);
        } else if (kind == QLatin1String("bookmark")) {
            item.insert(QStringLiteral("location"),
                        QStringLiteral("https://example.org/%1/%2").arg(writer.words(1)).arg(index));
        } else if (kind == QLatin1String("image")) {
            writer.file(base + QStringLiteral(".jpg"), writer.image(writer.between(50000, 500000)));
            item.insert(QStringLiteral("file"), base + QStringLiteral(".jpg"));
        } else if (kind == QLatin1String("pdfArchive")) {
            const QString creator = index % 3 == 0 ? QStringLiteral("Safari") : QStringLiteral("Writer");
            writer.file(base + QStringLiteral(".pdf"), writer.pdf(writer.between(20000, 300000), creator));
            item.insert(QStringLiteral("file"), base + QStringLiteral(".pdf"));
        } else if (kind == QLatin1String("webArchive")) {
            writer.file(base + QStringLiteral(".webarchive"), writer.webArchive(writer.between(10000, 100000)));
            item.insert(QStringLiteral("file"), base + QStringLiteral(".webarchive"));
        } else {
            item.insert(QStringLiteral("text"), writer.words(writer.between(5, 40)));
            if (kind == QLatin1String("password"))
                item.insert(QStringLiteral("password"), QStringLiteral("secret"));
        }
        itemArray.append(item);
    }

    QJsonArray groups;
    for (int g = 0; g < qMax(1, items / 20); ++g) {
        QJsonArray members;
        const int size = qMin(items, writer.between(1, 200));
        const int start = writer.between(0, qMax(0, items - size));
        for (int m = 0; m < size; ++m)
            members.append(identifiers.at(start + m));
        groups.append(QJsonObject {{QStringLiteral("id"), QStringLiteral("GROUP-%1").arg(g)},
                                   {QStringLiteral("name"), writer.words(2)},
                                   {QStringLiteral("comments"), g % 4 == 0 ? writer.words(5) : QString()},
                                   {QStringLiteral("items"), members}});
    }

    QJsonArray tagCollections;
    for (int c = 0; c < qMax(2, items / 500); ++c) {
        QJsonArray tags;
        for (int t = writer.between(0, 4); t > 0; --t)
            tags.append(tagNames.at(writer.between(0, int(tagNames.size()) - 1)));
        tagCollections.append(
            QJsonObject {{QStringLiteral("id"), QStringLiteral("TAGS-%1").arg(c)},
                         {QStringLiteral("name"), writer.words(2)},
                         {QStringLiteral("comments"), QString()},
                         {QStringLiteral("behavior"), c % 2 ? QStringLiteral("TgAl") : QStringLiteral("TgAn")},
                         {QStringLiteral("tags"), tags}});
    }

    const QJsonObject manifest {
        {QStringLiteral("labels"), labels},
        {QStringLiteral("tagCollections"), tagCollections},
        {QStringLiteral("folderCollections"), groups},
        {QStringLiteral("items"), itemArray},
        {QStringLiteral("description"), QStringLiteral("benchmark library of %1 items, seed %2").arg(items).arg(seed)}};
    writer.file(QStringLiteral("library.json"), QJsonDocument(manifest).toJson(QJsonDocument::Compact));
    if (!writer.ok()) {
        if (error)
            *error = writer.error();
        return false;
    }
    if (summary)
        *summary = Summary {items, writer.bytes()};
    return true;
}

} // namespace BenchmarkLibrary
