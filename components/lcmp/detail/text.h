// Text for logs and people, the same in every locale.
#pragma once

#include <locale>
#include <sstream>

namespace lcmpdetail {

/// A string stream that an application's global locale does not reach.
class TextStream : public std::ostringstream {
public:
    TextStream() { imbue(std::locale::classic()); }
};

}  // namespace lcmpdetail
