// Names that look like another one, as a slip of the fingers makes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Whether the names differ in the case of letters alone.
bool differs_in_case(std::string_view name, std::string_view other);

// Characters to insert, delete, replace or swap with their neighbour to make `other` of `name`,
// without regard to case.
size_t name_distance(std::string_view name, std::string_view other);

// Whether the distance is small for names of their length.
bool is_near(std::string_view name, std::string_view other);

// The nearest of the candidates, at most three, the nearest first.
std::vector<std::string> near_names(std::string_view name,
                                    const std::vector<std::string> &candidates);

// "did you mean a, b or c?"; empty without names.
std::string did_you_mean(const std::vector<std::string> &names);
