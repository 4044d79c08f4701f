// What the front ends' tests share, windows or command line: the applications' identifiers,
// applications in memory with a small library, and a clean slate of logs and export folders.
// No widgets, so that the command line's tests need none.
#pragma once

#include "InMemoryScripting.h"
#include "TestSupport.h"

#include <QDir>
#include <QString>
#include <memory>

namespace ExportFixtures {

inline const QString Target = QStringLiteral("com.orvantis.Nortavel3");
inline const QString Source = QStringLiteral("com.fendwick.kastrel4");

// No log or export folder left by an earlier test.
inline void removeEarlierRuns()
{
    QDir(TestSupport::isolatedFolder("XDG_DATA_HOME")).removeRecursively();
    QDir(QDir(TestSupport::isolatedFolder("TMPDIR")).filePath(QStringLiteral("Kastrel"))).removeRecursively();
}

// Both applications, installed and new enough; the source holds `count` images named
// "Image N" (ids "I1"...), which export without any conversion, and one note.
inline std::shared_ptr<InMemoryScripting> applicationsWithItems(int count)
{
    auto applications = std::make_shared<InMemoryScripting>();
    applications->addNortavel(Target, QStringLiteral("3.5"));
    InMemoryKastrel source = applications->addKastrel(Source, QStringLiteral("2.5"));
    for (int index = 1; index <= count; ++index)
        source.addItem(KastrelItemKind::Image, QStringLiteral("I%1").arg(index), QStringLiteral("Image %1").arg(index));
    const QString note = source.addItem(KastrelItemKind::Note, QStringLiteral("N1"), QStringLiteral("Agenda"));
    source.setExportFile(note, QStringLiteral("Agenda.rtf"), "{\\rtf1\\ansi Monday: {\\b plan}.}");
    return applications;
}

} // namespace ExportFixtures
