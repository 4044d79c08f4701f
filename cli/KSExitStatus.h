// The exit statuses live with the engine, which tells them in the run's summary.
#pragma once

#include "engine/KSExitStatus.h"
