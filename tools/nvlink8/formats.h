// Images as files.
#pragma once

#include "nvlink8/image.h"
#include <optional>
#include <string>

// `entry` is where the program starts, if that is known; `fill` stands between segments in a
// binary.
std::string format_image(const Image &image, ImageFormat format, std::optional<uint32_t> entry,
                         uint8_t fill);
