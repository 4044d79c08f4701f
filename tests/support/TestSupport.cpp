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

QString sharedFixturePath(const QString &relativePath)
{
    const QString path = QDir(QString::fromUtf8(KI_SHARED_DIR)).filePath(QStringLiteral("fixtures/") + relativePath);
    return QFileInfo::exists(path) ? QFileInfo(path).absoluteFilePath() : QString();
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
