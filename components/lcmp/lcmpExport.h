// What is visible of liblcmp.so: the classes and functions that carry this mark, and nothing else.
#pragma once

#if defined(__GNUC__)
#define LCMP_API __attribute__((visibility("default")))
#else
#define LCMP_API
#endif
