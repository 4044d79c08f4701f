// The target application as the engine drives it: its version, bringing it to the front, and
// the import command that hands it the library file. Made from a bundle identifier through a
// ScriptingBackend; a command or read that fails throws KSScriptingException.
#pragma once

#include "engine/ScriptingBackend.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <optional>

// The optional arguments of the import command; only those that are set are sent.
struct NortavelImportOptions
{
    std::optional<QString> to;
    std::optional<qint32> withRating;
    std::optional<QString> withComments;
    std::optional<QString> withLabel;
    std::optional<QString> withTags;

    // The present arguments under their command keys, in their wire types.
    QVariantMap toVariantMap() const;
};

class NortavelApplication
{
public:
    // The target application with `identifier`, or nothing when it is neither running nor
    // startable.
    static std::optional<NortavelApplication> applicationWithBundleIdentifier(ScriptingBackend &backend,
                                                                              const QString &identifier);

    explicit NortavelApplication(std::shared_ptr<NortavelScripting> scripting);

    QString bundleIdentifier() const;

    // The version, such as "3.5.1"; a null string when the application answers none.
    QString version() const;

    // Brings the application to the front.
    void activate() const;

    // Hands `files` to the application with import method `by` (a four-character code).
    void importFiles(const QStringList &files, quint32 by, const NortavelImportOptions &options) const;

private:
    std::shared_ptr<NortavelScripting> m_scripting;
};
