// System calls of opening and closing a socket that fail on command, and a count of what is open. Links into
// a program as System does, which has the calls of a socket that is open already.
#pragma once

#include <string>

/// The next call of this name fails with this error; those behind it go through. A close that fails has
/// closed all the same, as the system's does. One at a time.
class CallFault {
public:
    CallFault(const std::string& call, int error);
    ~CallFault();
    CallFault(const CallFault&) = delete;
    CallFault& operator=(const CallFault&) = delete;

    /// Whether the call has been made.
    bool happened() const { return m_happened; }

    /// For the calls: the error to fail with, or 0.
    int take(const std::string& call);

private:
    std::string m_call;
    int m_error;
    bool m_happened = false;
};

/// The file descriptors that this process has open.
int openDescriptors();
