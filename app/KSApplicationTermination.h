// Asking the application to terminate, behind a seam. The windows ask for it after every
// export and after an error alert; a test replaces it to see that it was asked, because
// ending a test program's event loop would end nothing worth checking.
#pragma once

#include <functional>

namespace KSApplicationTermination {

// Ends the application's main event loop (without asking the windows first: a sheet
// that is still up must not be able to refuse).
void terminate();

// Replaces what terminate() does; an empty handler restores the default.
void setHandler(std::function<void()> handler);

} // namespace KSApplicationTermination
