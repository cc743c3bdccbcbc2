// Text for logs and people, the same in every locale.
#pragma once

#include <locale>
#include <sstream>

namespace lcmpdetail {

/// A string stream that an application's global locale does not reach. Where memory is lacking it throws
/// std::bad_alloc; a stream by itself would cut the text in silence.
class TextStream : public std::ostringstream {
public:
    TextStream() {
        imbue(std::locale::classic());
        exceptions(std::ios::badbit);
    }
};

}  // namespace lcmpdetail
