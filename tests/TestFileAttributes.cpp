// File dates and the hidden-extension flag kept in extended attributes.
#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <sys/xattr.h>

class TestFileAttributes : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_file;

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_file = m_dir->filePath(QStringLiteral("Report.pdf"));
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("x");
    }

    void modificationDate()
    {
        const QDateTime date(QDate(2021, 3, 4), QTime(5, 6, 7), Qt::UTC);
        QVERIFY(OVFileAttributes::setModificationDate(m_file, date));
        QCOMPARE(OVFileAttributes::modificationDate(m_file), date);
        QVERIFY(!OVFileAttributes::setModificationDate(m_file, QDateTime()));
        QVERIFY(!OVFileAttributes::setModificationDate(m_dir->filePath(QStringLiteral("missing")), date));
    }

    void creationDateAndHiddenExtension()
    {
        const QDateTime date(QDate(2019, 12, 31), QTime(23, 59, 58, 250), Qt::UTC);
        if (!OVFileAttributes::setCreationDate(m_file, date))
            QSKIP("this file system keeps no user extended attributes");
        QCOMPARE(OVFileAttributes::creationDate(m_file), date);
        char value[64] = {};
        const ssize_t size
            = ::getxattr(QFile::encodeName(m_file).constData(), "user.nortavel.creationDate", value, sizeof value - 1);
        QCOMPARE(QByteArray(value, int(size)), QByteArray("2019-12-31T23:59:58.250Z"));

        QVERIFY(!OVFileAttributes::isExtensionHidden(m_file));
        QCOMPARE(OVExtensions::fileDisplayName(m_file), QStringLiteral("Report.pdf"));
        QVERIFY(OVFileAttributes::setExtensionHidden(m_file, true));
        QVERIFY(OVFileAttributes::isExtensionHidden(m_file));
        QCOMPARE(OVExtensions::fileDisplayName(m_file), QStringLiteral("Report"));
        QVERIFY(OVFileAttributes::setExtensionHidden(m_file, false));
        QVERIFY(!OVFileAttributes::isExtensionHidden(m_file));
    }

    void absentValues()
    {
        QVERIFY(!OVFileAttributes::creationDate(m_file).isValid());
        QVERIFY(!OVFileAttributes::creationDate(m_dir->filePath(QStringLiteral("missing"))).isValid());
        QVERIFY(!OVFileAttributes::isExtensionHidden(m_dir->filePath(QStringLiteral("missing"))));
    }
};

QTEST_GUILESS_MAIN(TestFileAttributes)
#include "TestFileAttributes.moc"
