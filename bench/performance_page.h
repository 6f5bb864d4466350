#pragma once

#include <string>

namespace bench {

/// Writes the page for readers from a file of results and from nothing else, and its plots into the folder beside it
/// that has the page's name. Throws std::runtime_error where the one cannot be read or the other not written.
void writePage(const std::string &resultsPath, const std::string &pagePath);

} // namespace bench
