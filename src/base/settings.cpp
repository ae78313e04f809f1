// How the command line sets them is told in driver/command_line.

#include "base/settings.h"

Settings settings;
