#include "foundation/KSTranslations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QPointer>
#include <QTranslator>
#include <algorithm>

namespace KSTranslations {

namespace {

const QString catalogueName = QStringLiteral("kastrel-importer");

// The locale whose languages are looked for. The C locale (no LANG at all) reads English,
// unless LANGUAGE names languages of its own.
QLocale readable(const QLocale &locale)
{
    const QStringList languages = locale.uiLanguages();
    const bool onlyC = std::all_of(languages.cbegin(), languages.cend(), [](const QString &language) {
        return language.isEmpty() || language == QLatin1String("C") || language.startsWith(QLatin1String("C."))
            || language == QLatin1String("POSIX");
    });
    return onlyC ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
}

// Loads `name` for `locale` from `folder` into a translator owned by the application.
bool installFrom(const QLocale &locale, const QString &name, const QString &folder)
{
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(locale, name, QStringLiteral("_"), folder) && QCoreApplication::installTranslator(translator))
        return true;
    delete translator;
    return false;
}

// The English counts under whatever is installed later, once: translators are asked last
// installed first, and one installed again would move ahead of the person's language.
void installEnglishFallback()
{
    static QPointer<QTranslator> fallback;
    if (fallback)
        return;
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(QString::fromLatin1(englishFallbackCatalogue))
        && QCoreApplication::installTranslator(translator))
        fallback = translator;
    else
        delete translator;
}

} // namespace

QStringList catalogueFolders()
{
    QStringList folders {QDir::cleanPath(QCoreApplication::applicationDirPath()
                                         + QStringLiteral("/../share/kastrel-importer/translations"))};
    const QString installed = QStringLiteral(KI_INSTALLED_TRANSLATIONS_DIR);
    if (!folders.contains(installed))
        folders.append(installed);
    return folders;
}

QString catalogueFor(const QLocale &locale, const QStringList &folders)
{
    for (const QString &folder : folders) {
        QTranslator translator;
        if (translator.load(readable(locale), catalogueName, QStringLiteral("_"), folder))
            return translator.filePath();
    }
    return QString();
}

QString install(const QLocale &locale, const QStringList &folders)
{
    installEnglishFallback();
    const QString catalogue = catalogueFor(locale, folders);
    if (catalogue.isEmpty())
        return QString();
    // Qt's own catalogue only with the application's: its buttons in the same language.
    installFrom(readable(locale), QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(catalogue) || !QCoreApplication::installTranslator(translator)) {
        delete translator;
        return QString();
    }
    return catalogue;
}

} // namespace KSTranslations
