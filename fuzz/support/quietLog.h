// The library's log lines, composed as ever and kept in the process.
#pragma once

namespace fuzz {

/// While it lives, the library logs at DEBUG3, or nothing. Every line is held against invariant 13.
class QuietLog {
public:
    explicit QuietLog(bool everything);
    ~QuietLog();
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};

}  // namespace fuzz
