// What a piece of the program says when it gives up.
#pragma once

#include <functional>
#include <string>

#include "exitStatus.h"

/// "7: 'x' is ..." of the Failure that the action ends in; "none" if it does not.
inline std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const tool::Failure& failure) {
        return std::to_string(static_cast<int>(failure.status())) + ": " + failure.what();
    }
    return "none";
}
