#include "app/KSOptionsPanel.h"

#include "app/KSAlert.h"
#include "app/KSInterfaceTexts.h"
#include "foundation/OVLocalization.h"
#include "ui_OptionsPanel.h"

#include <QCheckBox>

namespace {

const char *const OptionKeyProperty = "optionKey";

std::optional<KSImportKind> kindOfBox(const QCheckBox *box)
{
    return KSImportOptions::kindForKey(box->property(OptionKeyProperty).toString());
}

} // namespace

KSOptionsPanel::KSOptionsPanel(QWidget *parent)
    : KSSheet(parent)
    , m_ui(std::make_unique<Ui::OptionsPanel>())
{
    m_ui->setupUi(this);
    KSInterfaceTexts::localize(this);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &KSOptionsPanel::saveOptions);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &KSOptionsPanel::cancelOptions);

    // Each box stores a boolean under its key as soon as it is ticked or cleared.
    const auto boxes = findChildren<QCheckBox *>();
    for (QCheckBox *box : boxes) {
        const std::optional<KSImportKind> kind = kindOfBox(box);
        if (!kind)
            continue;
        connect(box, &QCheckBox::toggled, this, [this, kind](bool checked) { m_importOptions.set(*kind, checked); });
    }
}

KSOptionsPanel::~KSOptionsPanel() = default;

QCheckBox *KSOptionsPanel::checkBoxForKey(const QString &key) const
{
    const auto boxes = findChildren<QCheckBox *>();
    for (QCheckBox *box : boxes) {
        if (box->property(OptionKeyProperty).toString() == key)
            return box;
    }
    return nullptr;
}

void KSOptionsPanel::showOptionsSheetOnWindow(QWidget *parentWindow, const KSImportOptions &options,
                                              CompletionHandler completionHandler)
{
    m_importOptions = options;
    showOptions();
    beginSheet(parentWindow, std::move(completionHandler));
}

void KSOptionsPanel::showOptions()
{
    const auto boxes = findChildren<QCheckBox *>();
    for (QCheckBox *box : boxes) {
        const std::optional<KSImportKind> kind = kindOfBox(box);
        if (!kind)
            continue;
        const QSignalBlocker blocker(box);
        box->setChecked(m_importOptions.contains(*kind));
    }
}

void KSOptionsPanel::saveOptions()
{
    if (!m_importOptions.isEmpty()) {
        endSheet(1);
        return;
    }
    KSAlert alert;
    alert.messageText = OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "No types selected!"));
    alert.informativeText = OVLocalizedString(
        QT_TRANSLATE_NOOP("KastrelImporter", "Select at least one type of Kastrel item to import and try again."));
    alert.runModal(this);
}

void KSOptionsPanel::cancelOptions()
{
    endSheet(0);
}

void KSOptionsPanel::reject()
{
    cancelOptions();
}
