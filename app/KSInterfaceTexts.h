// The interface files hold their texts in English, marked untranslated, so that uic does
// not look them up under a context of its own; after loading, every text of a window is
// looked up here in the application's one string table instead. lupdate passes notr texts
// over: cmake/InterfaceTexts.cmake lists them from the .ui files for it, so they are in the
// catalogues under the same context.
#pragma once

class QWidget;

namespace KSInterfaceTexts {

// Looks up the window title, and the text of every label, button and check box inside
// `window`, replacing each by its string-table entry.
void localize(QWidget *window);

} // namespace KSInterfaceTexts
