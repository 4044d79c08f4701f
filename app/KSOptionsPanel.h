// The options sheet: the person chooses which kinds of source items the export includes.
// It edits a copy of the options it is given, so cancelling changes nothing, and it will
// not close with nothing chosen. Its window comes from the interface file "OptionsPanel",
// whose check boxes each name their option key in the property "optionKey".
#pragma once

#include "app/KSSheet.h"
#include "engine/KSImportOptions.h"

#include <QVariantMap>
#include <memory>

namespace Ui {
class OptionsPanel;
}
class QCheckBox;

class KSOptionsPanel : public KSSheet
{
    Q_OBJECT

public:
    explicit KSOptionsPanel(QWidget *parent = nullptr);
    ~KSOptionsPanel() override;

    // The options being edited: a copy of those last passed in, changed by the check boxes.
    const KSImportOptions &importOptions() const { return m_importOptions; }

    // Shows the sheet on `parentWindow` with a copy of `options`; `completionHandler` gets 1
    // when the choice is confirmed, 0 when the sheet is cancelled.
    void showOptionsSheetOnWindow(QWidget *parentWindow, const KSImportOptions &options,
                                  CompletionHandler completionHandler);

    // The check box of an option key, or null.
    QCheckBox *checkBoxForKey(const QString &key) const;

public slots:
    // Confirms the choice, or answers an empty one with an alert and stays open.
    void saveOptions();
    void cancelOptions();

    // Escape and the window's close button cancel.
    void reject() override;

private:
    // Sets every check box from the options being edited.
    void showOptions();

    std::unique_ptr<Ui::OptionsPanel> m_ui;
    KSImportOptions m_importOptions;
};
