#include "SamplePdf.h"

#include <QBuffer>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QRegularExpression>

namespace {

// A PDF text string in UTF-16BE with its byte-order mark, written in hex so that no
// character needs escaping.
QByteArray pdfTextString(const QString &text)
{
    QByteArray bytes("\xFE\xFF", 2);
    for (const QChar c : text) {
        bytes += char(c.unicode() >> 8);
        bytes += char(c.unicode() & 0xff);
    }
    return '<' + bytes.toHex().toUpper() + '>';
}

} // namespace

namespace SamplePdf {

QByteArray document(const QString &title, const QString &body, const QString &creator, const QString &subject)
{
    QByteArray pdf;
    QBuffer buffer(&pdf);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(title);
        writer.setCreator(creator);
        writer.setPageSize(QPageSize(QPageSize::A6));
        writer.setResolution(72);
        // Text goes in as outlines: no font is embedded, which keeps each file a few KB.
        QPainter painter(&writer);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        QFont font(QStringLiteral("Helvetica"));
        font.setPixelSize(16);
        font.setBold(true);
        QPainterPath text;
        text.addText(20, 40, font, title);
        painter.drawPath(text);
        painter.setBrush(QColor(230, 120, 40));
        // The body is suggested by grey lines; written out it would take most of the file.
        painter.drawRect(QRect(20, 52, 120, 4));
        painter.setBrush(QColor(190, 190, 190));
        for (int line = 0; line < qMin(12, int(body.size() / 20) + 1); ++line)
            painter.drawRect(QRect(20, 70 + line * 12, line % 4 == 3 ? 150 : 240, 5));
    }
    buffer.close();
    if (subject.isEmpty())
        return pdf;
    // The writer has no subject of its own: it is added by an update, as editors do.
    return withDocumentInformation(pdf, title, creator, subject);
}

QByteArray withDocumentInformation(const QByteArray &pdf, const QString &title, const QString &creator,
                                   const QString &subject)
{
    static const QRegularExpression trailerPattern(
        QStringLiteral("trailer\\s*<<(.*?)>>\\s*startxref\\s*(\\d+)\\s*%%EOF\\s*$"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression sizePattern(QStringLiteral("/Size\\s+(\\d+)"));
    static const QRegularExpression rootPattern(QStringLiteral("/Root\\s+(\\d+\\s+\\d+\\s+R)"));
    const QString text = QString::fromLatin1(pdf);
    const QRegularExpressionMatch trailer = trailerPattern.match(text);
    if (!trailer.hasMatch())
        return QByteArray();
    const QString dictionary = trailer.captured(1);
    const QRegularExpressionMatch size = sizePattern.match(dictionary);
    const QRegularExpressionMatch root = rootPattern.match(dictionary);
    if (!size.hasMatch() || !root.hasMatch())
        return QByteArray();
    const int object = size.captured(1).toInt();

    QByteArray updated = pdf;
    if (!updated.endsWith('\n'))
        updated += '\n';
    const qsizetype objectOffset = updated.size();
    updated += QByteArray::number(object) + " 0 obj\n<<";
    if (!title.isEmpty())
        updated += " /Title " + pdfTextString(title);
    if (!creator.isEmpty())
        updated += " /Creator " + pdfTextString(creator);
    if (!subject.isEmpty())
        updated += " /Subject " + pdfTextString(subject);
    updated += " >>\nendobj\n";
    const qsizetype xrefOffset = updated.size();
    updated += "xref\n" + QByteArray::number(object) + " 1\n" + QByteArray::number(objectOffset).rightJustified(10, '0')
        + " 00000 n \n";
    updated += "trailer\n<< /Size " + QByteArray::number(object + 1) + " /Root " + root.captured(1).toLatin1()
        + " /Info " + QByteArray::number(object) + " 0 R /Prev " + trailer.captured(2).toLatin1() + " >>\n";
    updated += "startxref\n" + QByteArray::number(xrefOffset) + "\n%%EOF\n";
    return updated;
}

} // namespace SamplePdf
