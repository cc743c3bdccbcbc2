#include "traceObject.h"

TraceObject* g_traceObject = nullptr;
