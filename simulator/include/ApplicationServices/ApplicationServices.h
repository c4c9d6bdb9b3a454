// The umbrella header of the application services, as far as the simulator has them.
#pragma once

#include <ColorSync/ColorSync.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
