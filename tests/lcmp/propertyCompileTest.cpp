// Compiled once for each case, with the case's code as SNIPPET.
#include "lcmpProperty.h"

void snippet(LcmpProperty& property, TypeProperty<int>& number) {
    SNIPPET;
    (void)property;
    (void)number;
}
