// Files that are either as they were or whole.
#pragma once

#include <string>

namespace tool {

/// Puts the text into the file: under another name beside it first, and then in its place, with the access
/// rights that it had. What is no regular file (a pipe, a terminal) is written as it is. A Failure of status
/// `localFailure` names the file and says why not; the file is then as it was.
void saveFile(const std::string& file, const std::string& text);

}  // namespace tool
