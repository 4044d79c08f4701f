// The libFuzzer entry of one fuzzer; which reader it drives is compiled in as
// KI_FUZZ_TARGET (a name FuzzInputs::run knows).
#include "FuzzInputs.h"

#include <QGuiApplication>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Rich text needs fonts, and fonts need a GUI application; no display is needed.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*.debug=false;*.warning=false");
    static std::unique_ptr<QGuiApplication> application(new QGuiApplication(*argc, *argv));
    if (!FuzzInputs::targetNames().contains(QStringLiteral(KI_FUZZ_TARGET))) {
        std::fprintf(stderr, "unknown fuzz target %s\n", KI_FUZZ_TARGET);
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInputs::run(QStringLiteral(KI_FUZZ_TARGET),
                    QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    return 0;
}
