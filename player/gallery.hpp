// The gallery of scenarios: a page of Markdown with a line and a picture for each. The program
// tolvaran_gallery writes it and checks that it is current.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace simulator {

/// Plays every scenario in a directory and draws what happened.
/// @return the gallery's files, contents by path below the directory: "README.md", and
///         "pictures/NAME.svg" for each NAME.json
/// @throws ScenarioError naming the file that is not a scenario
std::map<std::string, std::string> galleryOf(const std::string& directory);

/// Writes the gallery of a directory, or only checks that it is current and has no pictures of
/// scenarios that are gone.
/// @param arguments ["--check"] DIRECTORY
/// @param errors takes one line for each wrong file
/// @return the exit status: 0 for success, 1 if the check fails or a file cannot be written, 2 if
///         the arguments or a scenario are wrong
int runGallery(const std::vector<std::string>& arguments, std::ostream& errors);

}  // namespace simulator
