// Filled by driver/command_line.

#include "base/settings.h"

Settings settings;
