// The application's icon for its windows: the one installed with the desktop entry, found in
// the icon theme by the entry's name, so title bars and task switchers show what the
// launcher shows; the copy built into the program where no theme has it (a run from the
// build folder, a desktop without the icon installed).
#pragma once

#include <QIcon>

namespace KSApplicationIcon {

QIcon icon();

// The copy built into the program, in every size it carries.
QIcon bundledIcon();

// Sets the icon on the application (every window takes it) and tells the desktop which
// entry the windows belong to.
void install();

} // namespace KSApplicationIcon
