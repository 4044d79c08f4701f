// Small helpers shared by the tests: where test data lies, and fixtures that may be absent.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QProcess>
#include <QString>
#include <QtTest>

namespace TestSupport {

// Absolute path of a file under tests/data.
QString testDataPath(const QString &relativePath);

// Absolute path of a file under the shared fixtures folder, or an empty string when the
// folder is not there (a user's checkout has no shared folder beside it).
QString sharedFixturePath(const QString &relativePath);

// Whether a missing shared fixture fails the test rather than skipping it: KI_REQUIRE_SHARED=1
// in the environment, which CTest sets for every test when the build was configured with the
// CMake option KI_REQUIRE_SHARED (as CI is).
bool sharedFolderRequired();

// Absolute path of a file or folder under the shared corpus of real files from other programs
// (shared/corpus), or an empty string when it is not there.
QString sharedCorpusPath(const QString &relativePath);

// The folder an environment variable of run-isolated.sh names (XDG_DATA_HOME, TMPDIR). Stops
// the test when it is unset: the empty path would be the working directory, and tests
// remove these folders between runs.
QString isolatedFolder(const char *variable);

// Writes `contents` to a new or emptied file at `path`, making its folder when missing.
bool writeFile(const QString &path, const QByteArray &contents);
// The whole file at `path`, or nothing when it cannot be read.
QByteArray fileContents(const QString &path);
// A PNG image of one colour.
QByteArray pngBytes(int width, int height, const QColor &color);
// A one-page PDF whose document information holds `creator` and `subject` (left out when null).
QByteArray pdfBytes(const QString &creator, const QString &subject);

// Starts a stand-in application (its errors go to the test's) and waits until it prints its
// ready line, which it does once it owns its name on the bus. False when it did not start,
// went quiet for `timeoutMs`, or said something else first.
bool startStandin(QProcess &process, const QString &program, const QStringList &arguments, int timeoutMs = 30000);

} // namespace TestSupport

// Declares `variable` as the path `lookup` answers; when that is empty, skips the current test
// function cleanly, or fails it when the shared folder is required. `what` names the folder.
#define KI_REQUIRE_SHARED_PATH(variable, lookup, what, relativePath)                                                   \
    const QString variable = (lookup);                                                                                 \
    if (variable.isEmpty()) {                                                                                          \
        if (TestSupport::sharedFolderRequired())                                                                       \
            QFAIL(qPrintable(QStringLiteral("shared " what " missing, and the shared folder is required: ")            \
                             + (relativePath)));                                                                       \
        QSKIP(qPrintable(QStringLiteral("shared " what " not available: ") + (relativePath)));                         \
    }

// A file or folder under shared/fixtures.
#define KI_REQUIRE_FIXTURE(variable, relativePath)                                                                     \
    KI_REQUIRE_SHARED_PATH(variable, TestSupport::sharedFixturePath(relativePath), "fixture", relativePath)

// A file or folder under shared/corpus.
#define KI_REQUIRE_CORPUS(variable, relativePath)                                                                      \
    KI_REQUIRE_SHARED_PATH(variable, TestSupport::sharedCorpusPath(relativePath), "corpus", relativePath)
