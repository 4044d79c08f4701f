// Running a call on the GUI thread and waiting for it, the way the export's worker hands
// every notification and every note conversion to the user interface.
#pragma once

#include <functional>

// Runs `call` on the application's main thread and returns when it has returned. Called on
// the main thread (or with no application object at all) it simply calls, so code that runs
// the engine on the main thread, as the unit tests do, cannot deadlock.
void OVPerformOnMainThreadAndWait(const std::function<void()> &call);

// Whether the caller is on the application's main thread (true when there is no application).
bool OVIsMainThread();
