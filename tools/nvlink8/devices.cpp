// Part numbers say more than a layout depends on (package, temperature range), so a layout serves
// every number that begins as its name does.
#include "nvlink8/devices.h"

#include "nvlink8/spelling.h"

#include "base/host.h"
#include "base/number.h"
#include <algorithm>
#include <filesystem>

static constexpr std::string_view EXTENSION = ".layout";

// Beside the program that runs: as installed, and as the build tree lies in the sources.
static std::vector<std::string> installed_directories()
{
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    if (unknown)
        return {NVLINK8_DATA_DIRECTORY "/devices"};
    const std::string beside = program.parent_path().string();
    return {beside + "/../share/nvasm8/devices", beside + "/../share/devices",
            NVLINK8_DATA_DIRECTORY "/devices"};
}

static std::vector<std::string> searched_directories(const std::vector<std::string> &directories)
{
    std::vector<std::string> searched = directories;
    const auto installed = installed_directories();
    searched.insert(searched.end(), installed.begin(), installed.end());
    return searched;
}

static std::vector<std::string> stems_in(const std::string &directory)
{
    auto names = matching_files(directory, "*.layout").value_or(std::vector<std::string>());
    for (std::string &name : names)
        name.resize(name.size() - EXTENSION.size());
    return names;
}

static bool serves(const std::string &stem, const std::string &part)
{
    if (stem.empty() || stem.size() > part.size())
        return false;
    for (size_t i = 0; i < stem.size(); ++i) {
        if (stem[i] != '_' && stem[i] != part[i])
            return false;
    }
    return true;
}

static bool is_closer(const std::string &stem, const std::string &other)
{
    if (stem.size() != other.size())
        return stem.size() > other.size();
    return std::count(stem.begin(), stem.end(), '_') < std::count(other.begin(), other.end(), '_');
}

static std::string file_of(const std::string &directory, const std::string &stem)
{
    return directory + (directory.ends_with('/') ? "" : "/") + stem + std::string(EXTENSION);
}

static std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), lower_case);
    return text;
}

std::string find_device(const std::vector<std::string> &directories, const std::string &part)
{
    std::string wanted = lower(part);
    std::replace(wanted.begin(), wanted.end(), '?', '_');
    for (const std::string &directory : searched_directories(directories)) {
        std::string best;
        for (const std::string &stem : stems_in(directory)) {
            if (serves(stem, wanted) && (best.empty() || is_closer(stem, best)))
                best = stem;
        }
        if (!best.empty())
            return file_of(directory, best);
    }
    return "";
}

std::vector<DeviceName> list_devices(const std::vector<std::string> &directories)
{
    std::vector<DeviceName> devices;
    for (const std::string &directory : searched_directories(directories)) {
        for (const std::string &stem : stems_in(directory)) {
            std::string name = stem;
            std::replace(name.begin(), name.end(), '_', '?');
            devices.push_back({name, file_of(directory, stem)});
        }
    }
    const auto by_name = [](const DeviceName &a, const DeviceName &b) { return a.name < b.name; };
    const auto same = [](const DeviceName &a, const DeviceName &b) { return a.name == b.name; };
    std::stable_sort(devices.begin(), devices.end(), by_name);
    devices.erase(std::unique(devices.begin(), devices.end(), same), devices.end());
    return devices;
}

// Each name as it would stand at the head of the part number: "?" is whatever is there.
std::string near_device(const std::vector<std::string> &directories, const std::string &part)
{
    const std::string wanted = lower(part);
    std::vector<std::string> heads;
    const std::vector<DeviceName> devices = list_devices(directories);
    size_t longest = 0;
    for (const DeviceName &device : devices) {
        std::string head = device.name;
        for (size_t i = 0; i < std::min(head.size(), wanted.size()); ++i)
            head[i] = head[i] == '?' ? wanted[i] : head[i];
        longest = std::max(longest, head.size());
        heads.push_back(head);
    }
    const std::vector<std::string_view> words(heads.begin(), heads.end());
    const std::string_view near = nearest_word(wanted.substr(0, longest), words);
    for (size_t i = 0; i < heads.size() && !near.empty(); ++i) {
        if (near == heads[i])
            return devices[i].name;
    }
    return "";
}
