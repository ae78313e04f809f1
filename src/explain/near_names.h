// Names that look like another one, as a slip of the fingers makes them.
#pragma once

#include <functional>
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

// Names to compare with. What they are part of must live as long.
using Candidates = std::vector<std::string_view>;

// The nearest of the candidates, at most three, the nearest first.
std::vector<std::string> near_names(std::string_view name, const Candidates &candidates);
std::vector<std::string> near_names(std::string_view name,
                                    const std::vector<std::string> &candidates);

// The same for candidates chosen from so many names, while that takes no long time: in a source
// with thousands of unknown names, as where an include is missing, the first of them get their
// guesses. `choose` gives the candidates.
std::vector<std::string> near_names_of_many(std::string_view name, size_t count,
                                            const std::function<Candidates()> &choose);

// "did you mean a, b or c?"; empty without names.
std::string did_you_mean(const std::vector<std::string> &names);
