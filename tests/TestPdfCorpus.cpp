// Real PDFs written by other programs (shared/corpus/pdf, listed in SOURCES.tsv): each one,
// broken, encrypted and truncated ones included, is classified as the PDF stage classifies
// it, as a web page or a document, without crashing or hanging. The index's description
// gives each file's creator as pdfinfo read it, so every file's class is checked against it.
#include "KSImportOperationInspector.h"
#include "TestSupport.h"
#include "formats/NVItemType.h"

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

namespace {

struct CorpusPdf
{
    QString path;
    QString creator; // as pdfinfo reported it; empty when it reported none
};

// The PDF rows of the corpus index.
QList<CorpusPdf> corpusPdfs(const QString &indexPath)
{
    QList<CorpusPdf> pdfs;
    QFile index(indexPath);
    if (!index.open(QIODevice::ReadOnly))
        return pdfs;
    const QString corpus = QFileInfo(indexPath).absolutePath();
    static const QRegularExpression creatorPattern(QStringLiteral("^Creator='(.*?)';"));
    index.readLine(); // the header
    while (!index.atEnd()) {
        const QStringList columns = QString::fromUtf8(index.readLine()).split(QLatin1Char('\t'));
        if (columns.size() < 6 || !columns.at(0).startsWith(QLatin1String("pdf/")))
            continue;
        const QRegularExpressionMatch match = creatorPattern.match(columns.at(5));
        const QString creator = match.hasMatch() ? match.captured(1) : QString();
        pdfs.append({corpus + QLatin1Char('/') + columns.at(0), creator == QLatin1String("-") ? QString() : creator});
    }
    return pdfs;
}

} // namespace

class TestPdfCorpus : public QObject
{
    Q_OBJECT

private slots:
    void everyPdfIsClassified()
    {
        KI_REQUIRE_CORPUS(index, QStringLiteral("SOURCES.tsv"));
        const QList<CorpusPdf> pdfs = corpusPdfs(index);
        QVERIFY2(pdfs.size() >= 100, qPrintable(QStringLiteral("only %1 PDFs in the index").arg(pdfs.size())));

        const QStringList browsers {QStringLiteral("Safari"),  QStringLiteral("firefox-bin"), QStringLiteral("Camino"),
                                    QStringLiteral("OmniWeb"), QStringLiteral("Shiira"),      QStringLiteral("Opera"),
                                    QStringLiteral("Chrome"),  QStringLiteral("flock-bin")};
        int classified = 0;
        QStringList wrong;
        for (const CorpusPdf &pdf : pdfs) {
            QVERIFY2(QFileInfo::exists(pdf.path), qPrintable(pdf.path));
            // No corpus PDF says it was made by the target; with one, its subject would count too.
            QVERIFY2(!pdf.creator.startsWith(QLatin1String("Nortavel")), qPrintable(pdf.path));
            const qint64 type = KSImportOperationInspector::itemTypeForPDFAtPath(pdf.path);
            if (type == NVItemTypeDocument || type == NVItemTypeWebPage)
                ++classified;
            const qint64 expected = browsers.contains(pdf.creator) ? NVItemTypeWebPage : NVItemTypeDocument;
            if (type != expected)
                wrong.append(
                    QStringLiteral("%1: %2, expected %3").arg(QFileInfo(pdf.path).fileName()).arg(type).arg(expected));
        }
        QCOMPARE(classified, pdfs.size());
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
    }

    // Files whose metadata was looked at with pdfinfo: near misses of browser creator names,
    // a password-protected file whose attributes cannot be read, and a five-byte fragment.
    void classificationOfCheckedFiles_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<qint64>("type");
        // Creator "Chromium": not exactly "Chrome".
        QTest::newRow("Chromium") << QStringLiteral("pdfjs__issue7878.pdf") << qint64(NVItemTypeDocument);
        // Creator "Firefox": the name looked for is "firefox-bin".
        QTest::newRow("Firefox") << QStringLiteral("tika__testPDF.pdf") << qint64(NVItemTypeDocument);
        // Creator is a whole user agent string naming Chrome and Safari.
        QTest::newRow("user agent") << QStringLiteral("pdfjs__find_all.pdf") << qint64(NVItemTypeDocument);
        // Creator "PDF.js", producer "Firefox": only the creator counts.
        QTest::newRow("producer Firefox")
            << QStringLiteral("pdfjs__three_pages_with_number.pdf") << qint64(NVItemTypeDocument);
        // Encrypted with a user password: pdfinfo cannot open it either.
        QTest::newRow("user password") << QStringLiteral("docwire__password_protected.pdf")
                                       << qint64(NVItemTypeDocument);
        // Encrypted with an empty user password: readable, creator "WPS Writer".
        QTest::newRow("empty password") << QStringLiteral("pypdf__r2-empty-password.pdf") << qint64(NVItemTypeDocument);
        // Five bytes, no trailer.
        QTest::newRow("fragment") << QStringLiteral("qpdf__bad1.pdf") << qint64(NVItemTypeDocument);
    }

    void classificationOfCheckedFiles()
    {
        QFETCH(QString, file);
        QFETCH(qint64, type);
        KI_REQUIRE_CORPUS(path, QStringLiteral("pdf/") + file);
        QCOMPARE(KSImportOperationInspector::itemTypeForPDFAtPath(path), type);
    }
};

QTEST_MAIN(TestPdfCorpus)
#include "TestPdfCorpus.moc"
