// Properties: the typed variables of the object model. This header gives all of them.
#pragma once

#include "lcmpAddressProperty.h"
#include "lcmpNumericProperty.h"
#include "lcmpOldStyleProperty.h"
#include "lcmpPropertyBase.h"
#include "lcmpTextProperty.h"
