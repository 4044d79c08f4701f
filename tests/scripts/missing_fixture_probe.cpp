// A test program whose one test asks for a shared fixture that never exists; SharedFolder.cmake
// runs it with and without KI_REQUIRE_SHARED to see it skip and fail.
#include "TestSupport.h"

#include <QtTest>

class MissingFixtureProbe : public QObject
{
    Q_OBJECT

private slots:
    void asksForAMissingFixture()
    {
        KI_REQUIRE_FIXTURE(path, QStringLiteral("no-such-folder/no-such-fixture.rtf"));
        QVERIFY(!path.isEmpty());
    }
};

QTEST_GUILESS_MAIN(MissingFixtureProbe)
#include "missing_fixture_probe.moc"
