// The string table of the person's language, chosen at start from the system locale for the
// window and the command line alike: the application's catalogue
// (kastrel-importer_<language>.qm) and Qt's own for its standard buttons. English needs a
// catalogue too, for its counts ("1 item", "2 items"): a copy of it is built into the program
// and installed under every language, so a language without a catalogue, or a catalogue that
// is not found, still reads English counts. A catalogue that is not found is quietly left
// out: the texts then stay in English.
#pragma once

#include <QLocale>
#include <QString>
#include <QStringList>

namespace KSTranslations {

// The folders looked in, in turn: share/kastrel-importer/translations beside the executable's
// folder (the build folder and any installation prefix), then the installed folder.
QStringList catalogueFolders();

// The catalogue file of `locale` in `folders`, or an empty string. The C locale reads English.
QString catalogueFor(const QLocale &locale, const QStringList &folders = catalogueFolders());

// The English counts' catalogue built into the program.
inline constexpr const char *englishFallbackCatalogue = ":/kastrel-importer/translations/kastrel-importer_en.qm";

// Installs the built-in English counts (once per application) and, for `locale`, the
// application's catalogue and Qt's own "qtbase" one, each when it is found, into the running
// application (which must exist); what is installed later comes first. Returns the
// application's catalogue file installed, or an empty string.
QString install(const QLocale &locale = QLocale::system(), const QStringList &folders = catalogueFolders());

} // namespace KSTranslations
