#include "util.h"

namespace util {

std::string buf2str(const void* data, std::size_t size) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    if (data == nullptr)
        return text;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) {
        if (i != 0)
            text += ' ';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0x0FU];
    }
    return text;
}

}  // namespace util
