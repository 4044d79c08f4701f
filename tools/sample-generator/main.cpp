// kastrel-sample-generator FOLDER: writes the binary content files of the sample library
// into FOLDER (images, PDFs, web archives, the RTFD note's picture). The library's manifest
// and its text notes are written by hand and live beside them.
// kastrel-sample-generator --items N FOLDER: writes a whole synthetic library of N items
// into FOLDER instead, for load and speed tests.
#include "LargeLibrary.h"
#include "SamplePdf.h"
#include "SampleWebArchive.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <cstdio>

namespace {

bool write(const QString &path, const QByteArray &bytes)
{
    if (bytes.isEmpty() || !QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "kastrel-sample-generator: cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

// A small picture: a two-colour gradient with a disc, different for every seed colour.
QImage picture(int width, int height, const QColor &from, const QColor &to)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, width, height);
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(image.rect(), gradient);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(255, 255, 255, 160));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPoint(width * 2 / 3, height / 3), height / 5, height / 5);
    return image;
}

QByteArray encoded(const QImage &image, const char *format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, quality);
    return bytes;
}

// An RTFD package whose text shows one attached picture, laid out as macOS writes it.
bool writeRtfdWithPicture(const QString &package, const QImage &image)
{
    const QByteArray png = encoded(image, "png");
    const QByteArray twips
        = QByteArray::number(image.width() * 20) + " \\height" + QByteArray::number(image.height() * 20);
    const QByteArray rtf
        = QByteArrayLiteral("{\\rtf1\\ansi\\ansicpg1252\\cocoartf2761\n"
                            "\\cocoatextscaling0\\cocoaplatform0{\\fonttbl\\f0\\fswiss\\fcharset0 "
                            "Helvetica;\\f1\\fswiss\\fcharset0 Helvetica-Bold;}\n"
                            "{\\colortbl;\\red255\\green255\\blue255;\\red0\\green0\\blue0;}\n"
                            "{\\*\\expandedcolortbl;;\\cssrgb\\c0\\c0\\c0;}\n"
                            "\\paperw11900\\paperh16840\\margl1440\\margr1440\\vieww11520\\viewh8400"
                            "\\viewkind0\n"
                            "\\pard\\tx566\\tx1133\\tx1700\\tx2267\\pardirnatural\\partightenfactor0\n\n"
                            "\\f1\\b\\fs28 \\cf2 Holiday snapshot\\\n"
                            "\\f0\\b0\\fs24 The view from the harbour, the evening we arrived:\\\n"
                            "{{\\NeXTGraphic harbour.png \\width")
        + twips
        + QByteArrayLiteral(" \\appleattachmentpadding0 \\appleembedtype0 \\appleaqc\n}\xac}\\\n"
                            "Taken with the old camera.}");
    return write(package + QStringLiteral("/TXT.rtf"), rtf) && write(package + QStringLiteral("/harbour.png"), png);
}

struct PdfSample
{
    const char *file;
    const char *title;
    const char *creator;
    const char *subject;
};

} // namespace

int main(int argc, char *argv[])
{
    // Drawing text needs a platform; none is shown.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments.at(1) == QLatin1String("--items")) {
        bool countOk = false;
        const int count = arguments.at(2).toInt(&countOk);
        if (countOk && count >= 0)
            return LargeLibrary::write(arguments.at(3), count) ? 0 : 1;
    }
    if (arguments.size() != 2) {
        std::fprintf(stderr,
                     "usage: kastrel-sample-generator FOLDER\n"
                     "       kastrel-sample-generator --items N FOLDER\n");
        return 2;
    }
    const QDir out(arguments.at(1));
    bool ok = true;

    ok &= write(out.filePath(QStringLiteral("images/sunset.png")),
                encoded(picture(96, 64, QColor(250, 120, 40), QColor(90, 30, 120)), "png"));
    ok &= write(out.filePath(QStringLiteral("images/harbour.jpg")),
                encoded(picture(96, 64, QColor(30, 90, 160), QColor(200, 220, 240)), "jpg", 70));
    ok &= write(out.filePath(QStringLiteral("images/before-after.png")),
                encoded(picture(64, 64, QColor(40, 160, 80), QColor(240, 240, 200)), "png"));
    ok &= write(out.filePath(QStringLiteral("images/untitled.png")),
                encoded(picture(32, 32, QColor(128, 128, 128), QColor(20, 20, 20)), "png"));
    ok &= writeRtfdWithPicture(out.filePath(QStringLiteral("notes/holiday.rtfd")),
                               picture(48, 32, QColor(30, 90, 160), QColor(200, 220, 240)));

    const PdfSample pdfs[] = {
        {"pdfs/safari.pdf", "Weather this week", "Safari", ""},
        {"pdfs/safari-5.1.pdf", "Train timetable", "Safari 5.1", ""},
        {"pdfs/chrome.pdf", "Search results", "Chrome", ""},
        {"pdfs/nortavel-web.pdf", "Clipped article", "Nortavel 3", "https://news.example.org/articles/42"},
        {"pdfs/nortavel-plain.pdf", "Printed note", "Nortavel 3", ""},
        {"pdfs/report.pdf", "Annual report", "Writer", ""},
        {"pdfs/invoice-march.pdf", "Invoice March", "Pages", ""},
        {"pdfs/invoice-april.pdf", "Invoice April", "Pages", ""},
    };
    for (const PdfSample &sample : pdfs) {
        const QString body = QStringLiteral("A sample document of the Kastrel sample library, made by %1.")
                                 .arg(QString::fromUtf8(sample.creator));
        ok &= write(out.filePath(QString::fromUtf8(sample.file)),
                    SamplePdf::document(QString::fromUtf8(sample.title), body, QString::fromUtf8(sample.creator),
                                        QString::fromUtf8(sample.subject)));
    }

    const QByteArray logo = encoded(picture(24, 24, QColor(200, 40, 40), QColor(250, 200, 60)), "png");
    ok &= write(out.filePath(QStringLiteral("webarchives/recipe.webarchive")),
                SampleWebArchive::archive(
                    QStringLiteral("https://recipes.example.com/apple-pie"),
                    QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Apple pie</title></head>"
                                   "<body><img src=\"logo.png\"><h1>Apple pie</h1><p>Crème fraîche on the side."
                                   "</p></body></html>"),
                    {{QStringLiteral("https://recipes.example.com/logo.png"), QStringLiteral("image/png"), logo}}));
    ok &= write(out.filePath(QStringLiteral("webarchives/news.webarchive")),
                SampleWebArchive::archive(QStringLiteral("https://news.example.org/"),
                                          QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\">"
                                                         "<title>Front page</title></head><body><h1>Today</h1>"
                                                         "<p>Nothing happened.</p></body></html>")));
    return ok ? 0 : 1;
}
