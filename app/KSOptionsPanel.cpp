#include "app/KSOptionsPanel.h"

#include "app/KSAlert.h"
#include "app/KSInterfaceTexts.h"
#include "foundation/OVLocalization.h"
#include "ui_OptionsPanel.h"

#include <QCheckBox>

namespace {

const char *const OptionKeyProperty = "optionKey";

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
        const QString key = box->property(OptionKeyProperty).toString();
        if (key.isEmpty())
            continue;
        connect(box, &QCheckBox::toggled, this, [this, key](bool checked) { m_importOptions.insert(key, checked); });
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

void KSOptionsPanel::showOptionsSheetOnWindow(QWidget *parentWindow, const QVariantMap &options,
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
        const QString key = box->property(OptionKeyProperty).toString();
        if (key.isEmpty())
            continue;
        // Blocked, so showing a value does not store it: a key missing from the options
        // stays missing until the person ticks its box.
        const QSignalBlocker blocker(box);
        box->setChecked(m_importOptions.value(key).toBool());
    }
}

void KSOptionsPanel::saveOptions()
{
    for (auto option = m_importOptions.cbegin(); option != m_importOptions.cend(); ++option) {
        if (option.value().toBool()) {
            endSheet(1);
            return;
        }
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
