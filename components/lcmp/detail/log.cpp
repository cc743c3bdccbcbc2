#include "log.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

namespace lcmpdetail {

void writeLog(const LogSite& site, const char* format, ...) {
    char shortText[512];
    const char* text = shortText;
    std::unique_ptr<char[]> longText;

    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
    va_end(arguments);

    // Whole tables can stand in a line. Without memory for that the line is cut, not lost.
    if (length >= static_cast<int>(sizeof shortText)) {
        const auto size = static_cast<std::size_t>(length) + 1;
        longText.reset(new (std::nothrow) char[size]);
        if (longText) {
            va_start(arguments, format);
            std::vsnprintf(longText.get(), size, format, arguments);
            va_end(arguments);
            text = longText.get();
        }
    }
    syslog(site.priority, "[%s] %s:%d (%s) - %s", site.tag, site.file, site.line, site.operation, text);
}

}  // namespace lcmpdetail
