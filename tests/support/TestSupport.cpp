#include "TestSupport.h"

#include "TestConfig.h"

#include <QDir>
#include <QFileInfo>

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

} // namespace TestSupport
