#include "cli/KSImportOptions.h"

namespace KSImportOptions {

QStringList allKeys()
{
    return {notesKey, bookmarksKey, serialNumbersKey, passwordsKey, imagesKey, PDFsKey, webArchivesKey};
}

QVariantMap allOptions(bool on)
{
    QVariantMap options;
    for (const QString &key : allKeys())
        options.insert(key, on);
    return options;
}

QString description(const QVariantMap &options)
{
    QString text = QStringLiteral("{\n");
    for (auto entry = options.cbegin(); entry != options.cend(); ++entry) {
        const QVariant &value = entry.value();
        // Booleans print as the numbers they are stored as.
        const QString shown
            = value.typeId() == QMetaType::Bool ? QString::number(value.toBool() ? 1 : 0) : value.toString();
        text += QStringLiteral("    %1 = %2;\n").arg(entry.key(), shown);
    }
    return text + QLatin1Char('}');
}

} // namespace KSImportOptions
