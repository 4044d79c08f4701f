#include "TestSupport.h"

#include "TestConfig.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>

namespace TestSupport {

QString testDataPath(const QString &relativePath)
{
    return QDir(QString::fromUtf8(KI_TEST_DATA_DIR)).filePath(relativePath);
}

namespace {
QString sharedPath(const QString &folder, const QString &relativePath)
{
    const QString path = QDir(QString::fromUtf8(KI_SHARED_DIR)).filePath(folder + QLatin1Char('/') + relativePath);
    return QFileInfo::exists(path) ? QFileInfo(path).absoluteFilePath() : QString();
}
} // namespace

QString sharedFixturePath(const QString &relativePath)
{
    return sharedPath(QStringLiteral("fixtures"), relativePath);
}

QString sharedCorpusPath(const QString &relativePath)
{
    return sharedPath(QStringLiteral("corpus"), relativePath);
}

bool sharedFolderRequired()
{
    return qEnvironmentVariableIntValue("KI_REQUIRE_SHARED") == 1;
}

QString isolatedFolder(const char *variable)
{
    const QString folder = qEnvironmentVariable(variable);
    if (folder.isEmpty())
        qFatal("%s is not set: run the test through tests/run-isolated.sh", variable);
    return folder;
}

bool writeFile(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(contents) == contents.size();
}

QByteArray fileContents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray pngBytes(int width, int height, const QColor &color)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray pdfBytes(const QString &creator, const QString &subject)
{
    QByteArray info = "<<";
    if (!creator.isNull())
        info += " /Creator (" + creator.toLatin1() + ")";
    if (!subject.isNull())
        info += " /Subject (" + subject.toLatin1() + ")";
    info += " >>";
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >>",
        info,
    };
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (int i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) + " /Root 1 0 R /Info 4 0 R >>\nstartxref\n"
        + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

bool startStandin(QProcess &process, const QString &program, const QStringList &arguments, int timeoutMs)
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForStarted())
        return false;
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(timeoutMs))
            return false;
    }
    return process.readLine().startsWith("ready");
}

} // namespace TestSupport
