// Small helpers shared by the tests: where test data lies, and fixtures that may be absent.
#pragma once

#include <QString>
#include <QtTest>

namespace TestSupport {

// Absolute path of a file under tests/data.
QString testDataPath(const QString &relativePath);

// Absolute path of a file under the shared fixtures folder, or an empty string when the
// folder is not there (a user's checkout has no shared folder beside it).
QString sharedFixturePath(const QString &relativePath);

} // namespace TestSupport

// Skips the current test function cleanly when a shared fixture is not available.
#define KI_REQUIRE_FIXTURE(variable, relativePath)                                                                     \
    const QString variable = TestSupport::sharedFixturePath(relativePath);                                             \
    if (variable.isEmpty())                                                                                            \
        QSKIP(qPrintable(QStringLiteral("shared fixture not available: ") + (relativePath)));
