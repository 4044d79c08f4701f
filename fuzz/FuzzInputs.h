// The readers that take bytes from outside (files other programs wrote, answers of the source
// application), each wrapped as one function of a byte string. The fuzzers feed them
// generated inputs; the ordinary test suite feeds them the inputs that once broke them.
// A function returns normally for any input; a crash, a sanitizer report or a broken
// invariant (which aborts) is a bug.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace FuzzInputs {

// Runs the reader named `target` on `data`. Answers false for an unknown name.
bool run(const QString &target, const QByteArray &data);

// The names run() knows, one per fuzzer: "rtf-reader", "rtfd-package", "property-list",
// "keyed-archive", "web-bookmark", "pdf-item-type", "file-names", "scripting-color",
// "library-validator".
QStringList targetNames();

} // namespace FuzzInputs
