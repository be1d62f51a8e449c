#pragma once

// The probe outcome belongs to the network port; kept here for the engine code that includes it.
#include "platform/SelectResult.h"
