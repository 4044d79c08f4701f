// The default of asking for an export ahead: asking only when the answer is wanted.
#include "engine/ScriptingBackend.h"

namespace {

class DeferredExport : public KastrelPendingExport
{
public:
    DeferredExport(KastrelScripting &scripting, QStringList items, QString folder)
        : m_scripting(scripting)
        , m_items(std::move(items))
        , m_folder(std::move(folder))
    { }

    QString answer() override { return m_scripting.exportItems(m_items, m_folder); }

    // Never asked, so nothing was written.
    QString discard() override { return QString(); }

private:
    KastrelScripting &m_scripting;
    QStringList m_items;
    QString m_folder;
};

} // namespace

std::unique_ptr<KastrelPendingExport> KastrelScripting::sendExport(const QStringList &items, const QString &folder)
{
    return std::make_unique<DeferredExport>(*this, items, folder);
}
