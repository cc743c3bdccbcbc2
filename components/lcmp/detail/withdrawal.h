// How a property that is destroyed leaves the event message it waits in, without the property's floor knowing
// of messages.
#pragma once

class LcmpProperty;

namespace lcmpdetail {

/// Called with every property that is being destroyed; null until events are collected.
extern void (*withdrawProperty)(const LcmpProperty* property);

}  // namespace lcmpdetail
