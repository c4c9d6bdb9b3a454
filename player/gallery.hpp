// The gallery of scenarios: a page of Markdown with one line and one picture for each. The program
// tolvaran_gallery writes it, and checks that it is current.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace simulator {

/// Plays every scenario of a directory, and draws what it did.
/// @return what the gallery consists of: contents by the path below the directory; "README.md" and
///         "pictures/NAME.svg" for each NAME.json
/// @throws ScenarioError naming the file that is not a scenario
std::map<std::string, std::string> galleryOf(const std::string& directory);

/// Writes the gallery of a directory, or only looks whether it is there as it would be written;
/// pictures of scenarios that are gone do not belong there.
/// @param arguments ["--check"] DIRECTORY
/// @param errors takes one line for each file that is not as it should be
/// @return the exit status: 0 if all is well, 1 if the check fails or a file cannot be written,
///         2 if the arguments or a scenario are wrong
int runGallery(const std::vector<std::string>& arguments, std::ostream& errors);

}  // namespace simulator
