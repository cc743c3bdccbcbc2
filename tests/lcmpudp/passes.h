#pragma once

#include "capturedLog.h"

/// Counts event passes by the line that each of them writes first.
class Passes {
public:
    int operator()() const {
        return m_log.count("DEBUG1", "initDone=1") + m_log.count("DEBUG1", "initDone=0");
    }

private:
    CapturedLog m_log{levelDebug1};
};
