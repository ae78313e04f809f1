// The layouts of devices: option files NAME.layout, "_" in NAME for any one character.
#pragma once

#include <string>
#include <vector>

// The layout for a part number, which may be longer than the name of the layout that serves it.
// Looks into `directories`, then where nvlink8 is installed; the first directory with a match
// counts. Of several the longest name wins, and of these the one with the fewest "_". Empty if
// there is none.
std::string find_device(const std::vector<std::string> &directories, const std::string &part);

// The name of the layout that is nearest in writing to a part number that none serves. Empty if
// none is near.
std::string near_device(const std::vector<std::string> &directories, const std::string &part);

struct DeviceName {
    std::string name; // as part numbers are written, with "?"
    std::string path;
};

// All of them, sorted by name.
std::vector<DeviceName> list_devices(const std::vector<std::string> &directories);
