// Whether AddressSanitizer watches this build.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define FUZZ_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_ADDRESS_SANITIZER 1
#endif
#endif
