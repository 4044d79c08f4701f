// The target application object; see NortavelApplication.h.
#include "engine/NortavelApplication.h"

#include "engine/ScriptingValues.h"

QVariantMap NortavelImportOptions::toVariantMap() const
{
    QVariantMap options;
    if (to)
        options.insert(QStringLiteral("to"), *to);
    if (withRating)
        options.insert(QStringLiteral("withRating"), qint32(*withRating));
    if (withComments)
        options.insert(QStringLiteral("withComments"), *withComments);
    if (withLabel)
        options.insert(QStringLiteral("withLabel"), *withLabel);
    if (withTags)
        options.insert(QStringLiteral("withTags"), *withTags);
    return options;
}

std::optional<NortavelApplication> NortavelApplication::applicationWithBundleIdentifier(ScriptingBackend &backend,
                                                                                        const QString &identifier)
{
    std::shared_ptr<NortavelScripting> scripting = backend.nortavelWithBundleIdentifier(identifier);
    if (!scripting)
        return std::nullopt;
    return NortavelApplication(std::move(scripting));
}

NortavelApplication::NortavelApplication(std::shared_ptr<NortavelScripting> scripting)
    : m_scripting(std::move(scripting))
{ }

QString NortavelApplication::bundleIdentifier() const
{
    return m_scripting->identifier();
}

QString NortavelApplication::version() const
{
    const QString key = QStringLiteral("version");
    const QVariantMap properties = m_scripting->properties();
    const auto found = properties.constFind(key);
    const std::optional<QVariant> value = found == properties.constEnd() ? std::nullopt : std::optional(*found);
    return ScriptingValues::string(value, QStringLiteral("Property \"%1\" of %2").arg(key, m_scripting->identifier()));
}

void NortavelApplication::activate() const
{
    m_scripting->activate();
}

void NortavelApplication::importFiles(const QStringList &files, quint32 by, const NortavelImportOptions &options) const
{
    m_scripting->importFiles(files, by, options.toVariantMap());
}
