// The extension helpers in one include.
#pragma once

#include "foundation/OVArrays.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLogLine.h"
#include "foundation/OVTextStrings.h"
